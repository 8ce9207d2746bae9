#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "core/XmlNode.h"
#include "mods/ImageModCompound.h"
#include "extension/ImageModRegistry.h"
#include "mods/ImageModXML.h"

namespace {

// Parses a document and builds the filters of its "filter" element.
class PresetReader : public ::testing::Test
{
protected:
    void SetUp() override { prototypes = createPrototypeRegistry(); }
    void TearDown() override
    {
        deleteMods(built);
        deleteMods(compounds);
        deleteMods(prototypes);
    }

    GrowArray<ImageMod*>& read(std::string const& body)
    {
        std::string const text = "<filter version=\"1\">\n" + body + "</filter>\n";
        XmlNode root;
        root.loadSubnodesFromBuffer(text.data(), long(text.size()));
        XmlNode* filter = root.findSubnode("filter");
        EXPECT_NE(filter, nullptr);
        deleteMods(built);
        report = PresetReadReport();
        built = createModsFromXML(filter, &compounds, prototypes, &error, &report);
        return built;
    }

    GrowArray<ImageMod*> prototypes;
    GrowArray<ImageMod*> compounds;
    GrowArray<ImageMod*> built;
    PresetReadReport report;
    int error = 0;
};

} // namespace

TEST_F(PresetReader, ReadsEveryVariableKind)
{
    auto& mods = read("<mod name=\"Blur\">\n"
                      "  <var name=\"Amount\" type=\"float\">25</var>\n"
                      "  <var name=\"Blur Method\" type=\"choice\">Box</var>\n"
                      "  <var name=\"Mix\" type=\"file\">/tmp/grain.png</var>\n"
                      "</mod>\n"
                      "<mod name=\"Tint\">\n"
                      "  <var name=\"Color\" type=\"color\">10 20 30 40</var>\n"
                      "</mod>\n"
                      "<mod name=\"Hue Shift\">\n"
                      "  <var name=\"Hue Region\" type=\"curve\" hueOffset=\"90\">0 0.5 0.5 0.7 1 0.5</var>\n"
                      "</mod>\n"
                      "<mod name=\"Component Curve\">\n"
                      "  <var name=\"Components\" type=\"choice\">GB</var>\n"
                      "</mod>\n");
    ASSERT_EQ(mods.count, 4);
    EXPECT_EQ(mods[0]->floatVar(0), 25.0f);
    EXPECT_EQ(mods[0]->choiceVar(2, -1), 1);
    ASSERT_NE(mods[0]->vars[1]->fileData(), nullptr);
    EXPECT_STREQ(mods[0]->vars[1]->fileData()->path.c_str(), "/tmp/grain.png");
    EXPECT_EQ(mods[1]->colorVar(1), OVRGBColor(10.0f, 20.0f, 30.0f, 255.0f));
    ToneCurve const* curve = mods[2]->curveVar(1);
    ASSERT_NE(curve, nullptr);
    EXPECT_EQ(curve->getControlPoints().count, 3);
    EXPECT_EQ(curve->getControlPoints()[1].y, 0.7f);
    EXPECT_EQ(curve->hueOffset, 90.0f);
    EXPECT_EQ(mods[3]->choiceVar(2, -1), 4); // the short labels are a second list
    EXPECT_EQ(error, 0);
}

TEST_F(PresetReader, IgnoresValuesItCannotUse)
{
    auto& mods = read("<mod name=\"Tint\">\n"
                      "  <var name=\"Color\" type=\"color\">10 20</var>\n"
                      "  <var name=\"Nothing\" type=\"float\">3</var>\n"
                      "  <var name=\"Amount\" type=\"percent\">0.5</var>\n"
                      "</mod>\n"
                      "<mod name=\"Tone Curve\">\n"
                      "  <var name=\"Curve\" type=\"curve\">0 0 1</var>\n"
                      "  <var name=\"Amount\" type=\"float\">0.5x</var>\n"
                      "</mod>\n"
                      "<mod name=\"RGB Curve\">\n"
                      "  <var name=\"Curve\" type=\"curve\">0 0 1 1</var>\n"
                      "  <var name=\"Amount\" type=\"float\">abc</var>\n"
                      "</mod>\n");
    ASSERT_EQ(mods.count, 3);
    EXPECT_EQ(mods[0]->colorVar(1), OVRGBColor(255.0f, 200.0f, 150.0f));
    EXPECT_EQ(mods[0]->floatVar(0), 0.0f);
    EXPECT_EQ(mods[1]->curveVar(1)->getControlPoints().count, 2); // the odd point had no partner
    EXPECT_EQ(mods[1]->floatVar(0), 0.5f);
    EXPECT_TRUE(mods[2]->curveVar(1)->isIdentity());
    EXPECT_EQ(mods[2]->floatVar(0), 0.0f);
}

TEST_F(PresetReader, UnknownFiltersAreSkippedAndReported)
{
    auto& mods = read("<mod name=\"Brightness\" />\n<mod name=\"Teleport\" />\n<mod version=\"2\" />\n"
                      "<mod name=\"Sharpen\"></mod>\n");
    ASSERT_EQ(mods.count, 2);
    EXPECT_STREQ(mods[0]->name.c_str(), "Brightness");
    EXPECT_STREQ(mods[1]->name.c_str(), "Sharpen");
    EXPECT_EQ(error, 2);
    ASSERT_EQ(report.unknownFilters.count, 2) << "each skipped step is named for the caller to report";
    EXPECT_STREQ(report.unknownFilters[0].c_str(), "Teleport");
    EXPECT_STREQ(report.unknownFilters[1].c_str(), "");
}

// The exposure curve is named after its rule: "Gamma Curve" is version 2,
// "Exposure Curve" every other version. A preset naming either gets the
// rule it names; an explicit version wins and renames the filter.
TEST_F(PresetReader, AFilterNamedAfterItsVersionLoadsTheRuleItNames)
{
    auto& mods = read("<mod name=\"Exposure Curve\" />\n<mod name=\"Gamma Curve\" />\n"
                      "<mod name=\"Gamma Curve\" version=\"1\" />\n<mod name=\"Exposure Curve\" version=\"2\" />\n");
    ASSERT_EQ(mods.count, 4);
    EXPECT_EQ(mods[0]->version, 1);
    EXPECT_STREQ(mods[0]->name.c_str(), "Exposure Curve");
    EXPECT_EQ(mods[1]->version, 2);
    EXPECT_STREQ(mods[1]->name.c_str(), "Gamma Curve");
    EXPECT_EQ(mods[2]->version, 1);
    EXPECT_STREQ(mods[2]->name.c_str(), "Exposure Curve");
    EXPECT_EQ(mods[3]->version, 2);
    EXPECT_STREQ(mods[3]->name.c_str(), "Gamma Curve");
    EXPECT_EQ(error, 0);
}

TEST_F(PresetReader, VersionEnabledAndAttributes)
{
    auto& mods = read("<mod name=\"Saturation\" version=\"2.9\" enabled=\"0\">\n"
                      "  <attr name=\"note\">first</attr>\n"
                      "  <attr name=\"other\">x</attr>\n"
                      "  <attr name=\"note\">second</attr>\n"
                      "</mod>\n"
                      "<mod name=\"Saturation\" enabled=\"0.5\" />\n");
    ASSERT_EQ(mods.count, 2);
    EXPECT_EQ(mods[0]->version, 2);
    EXPECT_EQ(mods[0]->enabled, 0);
    ASSERT_EQ(mods[0]->stringListA.count, 2);
    EXPECT_STREQ(mods[0]->stringListB[0].c_str(), "second");
    EXPECT_EQ(mods[1]->version, 1);
    EXPECT_EQ(mods[1]->enabled, 1);
}

TEST_F(PresetReader, SubmodsBecomeNamedCompoundsUsedByCopy)
{
    auto& mods = read("<submod name=\"Sharpen\">\n"
                      "  <mod name=\"Brightness\"><var name=\"Amount\" type=\"float\">1.2</var></mod>\n"
                      "  <mod name=\"Vignette\" />\n"
                      "</submod>\n"
                      "<mod name=\"Sharpen\" />\n"
                      "<mod name=\"Sharpen\"><var name=\"Amount\" type=\"float\">0.5</var></mod>\n");
    ASSERT_EQ(compounds.count, 1);
    ASSERT_EQ(mods.count, 2);
    // The compound's name wins over the prototype of the same name.
    auto* first = dynamic_cast<ImageModCompound*>(mods[0]);
    auto* second = dynamic_cast<ImageModCompound*>(mods[1]);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, compounds[0]);
    ASSERT_EQ(first->subMods.count, 2);
    EXPECT_EQ(first->subMods[0]->floatVar(0), 1.2f);
    EXPECT_EQ(second->floatVar(0), 0.5f);
    EXPECT_EQ(first->floatVar(0), 1.0f);
}

// The reader takes what the format says, and tells the author when that is
// not what the filter can use.
TEST_F(PresetReader, ValuesTheFilterCannotUseAreNoted)
{
    auto& mods = read("<mod name=\"Brightness\"><var name=\"Amount\" type=\"color\">1 2 3</var></mod>\n"
                      "<mod name=\"Blur\">\n"
                      "  <var name=\"Amount\" type=\"float\">1000000</var>\n"
                      "  <var name=\"Mix\" type=\"float\">nan</var>\n"
                      "  <var name=\"Amont\" type=\"float\">3</var>\n"
                      "  <var name=\"Blur Method\" type=\"choice\">Boxy</var>\n"
                      "</mod>\n"
                      "<mod name=\"Vignette\"><var name=\"Amount\" type=\"float\">-2</var></mod>\n");
    ASSERT_EQ(mods.count, 3);
    EXPECT_NE(mods[0]->vars[0]->colorData(), nullptr) << "the format replaces the kind";
    std::vector<std::string> mistakes, warnings;
    for (GrowString const& m : report.mistakes)
        mistakes.push_back(m.c_str());
    for (GrowString const& w : report.warnings)
        warnings.push_back(w.c_str());
    EXPECT_EQ(mistakes, (std::vector<std::string>{
                            "Brightness: \"Amount\" holds a number, but the preset gives a color",
                            "Blur: no variable \"Amont\"; it is ignored",
                            "Blur: \"Blur Method\" has no option \"Boxy\"",
                        }));
    EXPECT_EQ(warnings, (std::vector<std::string>{
                            "Blur: Amount 1000000 is outside 0-100",
                            "Blur: Mix nan is not a number; the default is used",
                            "Vignette: Amount -2 is outside -1 to 1",
                        }));
}

TEST_F(PresetReader, CurvesKeepTheirPointsAsWritten)
{
    auto& mods = read("<mod name=\"RGB Curve\"><var name=\"Curve\" type=\"curve\">0.2 0 0.8 1</var></mod>\n");
    ASSERT_EQ(mods.count, 1);
    GrowArray<Point2D> const& points = mods[0]->curveVar(1)->getControlPoints();
    ASSERT_EQ(points.count, 2);
    EXPECT_EQ(points[0].x, 0.2f);
    EXPECT_EQ(points[1].x, 0.8f);
    // Flat before the first point: an input of 0.1 reads the first y.
    EXPECT_EQ(mods[0]->curveVar(1)->lookup(0.1f), 0.0f);

    std::string many;
    for (int i = 0; i <= 300; ++i)
        many += std::to_string(i / 300.0) + " " + std::to_string(i / 300.0) + " ";
    auto& rejected = read("<mod name=\"RGB Curve\"><var name=\"Curve\" type=\"curve\">" + many + "</var></mod>\n");
    ASSERT_EQ(rejected.count, 1);
    EXPECT_TRUE(rejected[0]->curveVar(1)->isIdentity()) << "a curve of 301 points is not read";
    ASSERT_EQ(report.mistakes.count, 1);
    EXPECT_STREQ(report.mistakes[0].c_str(), "RGB Curve: \"Curve\" has more than 256 points; it is ignored");
}

// Twenty compounds that each use the one before twice would expand to a
// million filters; the reader stops at its bound instead.
TEST_F(PresetReader, ExpansionIsBounded)
{
    std::string body = "<submod name=\"L0\"><mod name=\"Brightness\" /></submod>\n";
    for (int level = 1; level <= 20; ++level)
        body += "<submod name=\"L" + std::to_string(level) + "\"><mod name=\"L" + std::to_string(level - 1) +
                "\" /><mod name=\"L" + std::to_string(level - 1) + "\" /></submod>\n";
    body += "<mod name=\"L20\" />\n<mod name=\"Sharpen\" />\n";
    auto& mods = read(body);
    EXPECT_EQ(mods.count, 0) << "nothing is built once the bound is reached";
    EXPECT_EQ(error, 3);
    EXPECT_STREQ(report.refusal.c_str(), "more than 1000 filters once its compounds are expanded");
    EXPECT_LE(report.filtersBuilt, 1000);

    std::string chain = "<submod name=\"C0\"><mod name=\"Brightness\" /></submod>\n";
    for (int level = 1; level <= 20; ++level)
        chain += "<submod name=\"C" + std::to_string(level) + "\"><mod name=\"C" + std::to_string(level - 1) +
                 "\" /></submod>\n";
    read(chain + "<mod name=\"C20\" />\n");
    EXPECT_STREQ(report.refusal.c_str(), "compounds nested more than 16 deep");
}

TEST_F(PresetReader, AVersionThatIsNotANumberIsVersionOne)
{
    auto& mods = read("<mod name=\"Saturation\" version=\"nan\" />\n<mod name=\"Saturation\" version=\"1e20\" />\n"
                      "<mod name=\"Saturation\" version=\"-3.7\" />\n");
    ASSERT_EQ(mods.count, 3);
    EXPECT_EQ(mods[0]->version, 1);
    EXPECT_EQ(mods[1]->version, 1);
    EXPECT_EQ(mods[2]->version, -3);
}
