#include <gtest/gtest.h>

#include <memory>
#include <string>

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
        skipped.release();
        built = createModsFromXML(filter, &compounds, prototypes, &error, &skipped);
        return built;
    }

    GrowArray<ImageMod*> prototypes;
    GrowArray<ImageMod*> compounds;
    GrowArray<ImageMod*> built;
    GrowArray<GrowString> skipped;
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
    ASSERT_EQ(skipped.count, 2) << "each skipped step is named for the caller to report";
    EXPECT_STREQ(skipped[0].c_str(), "Teleport");
    EXPECT_STREQ(skipped[1].c_str(), "");
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
