#include <gtest/gtest.h>

#include <memory>

#include "mods/ImageModCompound.h"
#include "mods/ImageModStyle.h"
#include "mods/ImageModTemplate.h"
#include "mods/basic/ImageModBrightness.h"
#include "mods/basic/ImageModContrast.h"

namespace {

// Adds a constant to every sample: easy to reason about in blends.
class AddConstant : public ImageModTemplate<AddConstant>
{
public:
    explicit AddConstant(float amount = 100.0f) : ImageModTemplate("Add Constant", "")
    {
        addVar(ImageModVariable::makeFloat("Amount", amount, -255.0f, 255.0f));
        setDefaultVarsToCurrent();
    }
    int getExtraPixelRadiusRequired(int, int, float) override { return int(floatVar(0)); }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo*)
    {
        ++calls;
        for (size_t i = 0; i < image->sampleCount(); ++i)
            image->pixels[i] = T(float(image->pixels[i]) + floatVar(0));
    }
    int calls = 0;
};

// A style with no variables, as the bare base would be.
class EmptyStyle : public ImageModStyle
{
public:
    EmptyStyle(char const* name, char const* shown) : ImageModStyle(name, shown) {}
    ImageMod* createCopy() const override { return nullptr; }
};

template <typename T>
FlexImage<T>* flatImage(T value)
{
    auto* image = new FlexImage<T>(2, 2, 3);
    std::fill(image->pixels, image->pixels + image->sampleCount(), value);
    return image;
}

} // namespace

TEST(ImageModVariable, PayloadEqualityComparesValuesNotPresentation)
{
    ImageModVariableDataFloat a(0.5f, 0.0f, 1.0f), b(0.5f, -5.0f, 5.0f);
    EXPECT_TRUE(a.isEqualTo(&b)) << "ranges do not count";

    ImageModVariableDataChoice c1(labelList({"A", "B"}), 1), c2(labelList({"X", "Y"}), 1);
    EXPECT_TRUE(c1.isEqualTo(&c2));

    ImageModVariableDataCurve curve;
    EXPECT_FALSE(a.isEqualTo(&curve));
    EXPECT_FALSE(curve.isEqualTo(&a));

    ImageModVariableDataCurve other;
    other.curve.hueOffset = 90.0f;
    EXPECT_FALSE(curve.isEqualTo(&other)) << "the hue offset counts";
}

TEST(ImageModVariable, CopiesAreDeepAndCarryDisplayNames)
{
    ImageModVariable named = ImageModVariable::makeFloat("Center", 90.0f, 0.0f, 255.0f);
    named.setDisplayName("Contrast Origin");
    ImageModVariable plain = ImageModVariable::makeFloat("Center", 90.0f, 0.0f, 255.0f);
    named = plain;
    EXPECT_EQ(named.displayName, nullptr) << "copying a variable without display name removes it";

    ImageModVariable copy(plain);
    copy.floatData()->value = 3.0f;
    EXPECT_EQ(plain.floatData()->value, 90.0f);

    copy.ensureCurveVariable();
    ASSERT_NE(copy.curveData(), nullptr);
    EXPECT_TRUE(copy.curveData()->curve.isIdentity());
    ToneCurve bent;
    bent.setControlPoints(GrowString("0 0 .5 .7 1 1"));
    copy.makeCurveVariable(bent);
    copy.ensureCurveVariable();
    EXPECT_FALSE(copy.curveData()->curve.isIdentity()) << "an existing curve is kept";
}

TEST(ImageMod, NamesComparisonAndDefaults)
{
    EmptyStyle nameless("Blur", "");
    EXPECT_STREQ(nameless.displayName.c_str(), "Blur");
    EmptyStyle style("1958", "1958 Camera");
    EXPECT_STREQ(style.displayName.c_str(), "1958 Camera");
    EXPECT_EQ(style.getMainVariable(), nullptr);
    EXPECT_EQ(style.getAmountVar(), nullptr);
    EXPECT_TRUE(style.isAtDefaultVars());
    EXPECT_EQ(style.getRemixVars().count, 0);
    EXPECT_EQ(style.getModCategory(), ImageMod::CategoryStyle);

    ImageModContrast a(1.2f, 90.0f), b(1.2f, 90.0f);
    EXPECT_TRUE(a == b);
    b.description = "another description";
    EXPECT_TRUE(a == b) << "descriptions are not compared";
    b.enabled = 0;
    EXPECT_FALSE(a == b);
    b.enabled = 1;
    b.setVersion(5);
    EXPECT_FALSE(a == b);

    a.setFloatVar(0, 1.7f);
    EXPECT_FALSE(a.isAtDefaultVars());
    a.applyDefaultVars();
    EXPECT_TRUE(a.isAtDefaultVars());
    EXPECT_EQ(a.floatVar(0), 1.2f);

    a = a;
    EXPECT_EQ(a.vars.count, 2) << "self-assignment keeps the variables";
}

TEST(ImageMod, RemixVariableIsFoundByItsInternalName)
{
    AddConstant mod;
    ImageModVariable remix = ImageModVariable::makeFloat(remixVariableName, 0.0f, 0.0f, 1.0f);
    remix.setDisplayName(remixDisplayName);
    mod.addVar(remix);
    GrowArray<ImageModVariable*> const found = mod.getRemixVars();
    ASSERT_EQ(found.count, 1);
    EXPECT_STREQ(found[0]->shownName().c_str(), "Remix");
}

TEST(ImageModCompound, BlendsWithTheInputByAmount)
{
    ImageModCompound compound("Mix");
    compound.addSubMod(new AddConstant(100.0f));
    compound.setFloatVar(0, 0.5f);

    std::unique_ptr<FlexImage<float>> floats(flatImage(50.0f));
    compound.applyMod(floats.get(), nullptr);
    EXPECT_FLOAT_EQ(floats->pixels[0], 100.0f);

    std::unique_ptr<FlexImage<unsigned char>> bytes(flatImage<unsigned char>(50));
    compound.applyMod(bytes.get(), nullptr);
    EXPECT_EQ(bytes->pixels[0], 100);

    // 0.3 of the way from 50 to 150 is 80; as bytes 50*0.7 + 150*0.3 = 80 (truncated).
    compound.setFloatVar(0, 0.3f);
    std::unique_ptr<FlexImage<unsigned char>> third(flatImage<unsigned char>(50));
    compound.applyMod(third.get(), nullptr);
    EXPECT_NEAR(third->pixels[0], 80, 1);

    compound.setFloatVar(0, 0.0f);
    auto* add = static_cast<AddConstant*>(compound.subMods[0]);
    int const callsBefore = add->calls;
    compound.applyMod(floats.get(), nullptr);
    EXPECT_EQ(add->calls, callsBefore) << "amount 0 calls no sub-filter";
}

TEST(ImageModCompound, NestsAndSkipsDisabledSubFilters)
{
    auto* inner = new ImageModCompound("Inner");
    inner->addSubMod(new AddConstant(10.0f));
    auto* disabled = new AddConstant(1000.0f);
    disabled->enabled = 0;
    inner->addSubMod(disabled);

    ImageModCompound outer("Outer");
    outer.addSubMod(new AddConstant(5.0f));
    outer.addSubMod(inner);
    std::unique_ptr<FlexImage<float>> image(flatImage(20.0f));
    outer.applyMod(image.get(), nullptr);
    EXPECT_FLOAT_EQ(image->pixels[0], 35.0f);

    EXPECT_EQ(outer.getExtraPixelRadiusRequired(100, 100, 1.0f), 1000) << "maximum, enabled or not";
}

TEST(ImageModCompound, CreateCopyThenAssignGivesAFullCopy)
{
    ImageModCompound source("Saloon");
    source.setName("Saloon", "Saloon Camera");
    source.addSubMod(new ImageModBrightness(1.3f));
    source.setFloatVar(0, 0.4f);
    source.sourceFile = "/presets/Saloon.qmf";

    std::unique_ptr<ImageMod> copy(source.createCopy());
    EXPECT_STREQ(copy->name.c_str(), "Saloon");
    EXPECT_STREQ(copy->displayName.c_str(), "Saloon");
    EXPECT_EQ(copy->floatVar(0), 1.0f);
    EXPECT_STREQ(copy->getSourceFile().c_str(), "/presets/Saloon.qmf");

    *copy = source;
    EXPECT_EQ(copy->floatVar(0), 0.4f);
    EXPECT_STREQ(copy->displayName.c_str(), "Saloon Camera");
    EXPECT_TRUE(*copy == source);

    static_cast<ImageModCompound&>(*copy).subMods[0]->setFloatVar(0, 1.9f);
    EXPECT_FALSE(*copy == source);
    EXPECT_EQ(source.subMods[0]->floatVar(0), 1.3f) << "sub-filters are deep copies";

    ImageModBrightness plain;
    EXPECT_FALSE(source == plain);
}
