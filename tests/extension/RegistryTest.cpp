#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <set>
#include <string>

#include "extension/ImageModRegistry.h"
#include "support/TestImages.h"

namespace {

class Registry : public ::testing::Test
{
protected:
    void SetUp() override { prototypes = createPrototypeRegistry(); }
    void TearDown() override { deleteMods(prototypes); }
    GrowArray<ImageMod*> prototypes;
};

} // namespace

TEST_F(Registry, EveryFilterDescribesItself)
{
    ASSERT_GT(prototypes.count, 0);
    std::set<std::string> names;
    for (ImageMod* mod : prototypes) {
        SCOPED_TRACE(mod->name.c_str());
        EXPECT_TRUE(names.insert(mod->name.c_str()).second) << "internal names are unique";
        EXPECT_FALSE(mod->displayName.isEmpty());
        EXPECT_FALSE(mod->description.isEmpty());
        ASSERT_GT(mod->vars.count, 0);
        EXPECT_EQ(mod->getMainVariable(), mod->vars[0]);
        EXPECT_TRUE(mod->isAtDefaultVars());
        EXPECT_EQ(mod->vars.count, mod->defaultVars.count);
        EXPECT_EQ(mod->vars.count, mod->auxVars.count);
    }
}

TEST_F(Registry, CopiesAreEqualAndIndependent)
{
    for (ImageMod* mod : prototypes) {
        SCOPED_TRACE(mod->name.c_str());
        std::unique_ptr<ImageMod> copy(mod->createCopy());
        EXPECT_TRUE(*copy == *mod);
        EXPECT_STREQ(copy->displayName.c_str(), mod->displayName.c_str());
        EXPECT_EQ(copy->version, mod->version);

        moveMainVariable(copy.get());
        EXPECT_FALSE(*copy == *mod) << "a changed copy differs";
        EXPECT_TRUE(mod->isAtDefaultVars()) << "the original is untouched";
    }
}

TEST_F(Registry, ByteAndFloatImagesAgreeWithinTruncation)
{
    for (ImageMod* prototype : prototypes) {
        SCOPED_TRACE(prototype->name.c_str());
        std::unique_ptr<ImageMod> mod(prototype->createCopy());
        *mod = *prototype;
        moveMainVariable(mod.get());

        FlexImage<unsigned char> bytes(23, 17, 3);
        fillTestPattern(bytes, 7);
        FlexImage<float> floats(23, 17, 3);
        for (size_t i = 0; i < bytes.sampleCount(); ++i)
            floats.pixels[i] = bytes.pixels[i];

        mod->applyMod(&bytes, nullptr);
        mod->applyMod(&floats, nullptr);
        int worst = 0;
        double total = 0.0;
        for (size_t i = 0; i < bytes.sampleCount(); ++i) {
            int const difference = std::abs(int(bytes.pixels[i]) - int(floats.pixels[i]));
            worst = std::max(worst, difference);
            total += difference;
        }
        // One truncation per chained step, amplified by at most the steepest
        // slope a step applies; a camera style chains up to a dozen steps.
        bool const style = prototype->getModCategory() == ImageMod::CategoryStyle;
        EXPECT_LE(worst, style ? 16 : 3);
        EXPECT_LE(total / double(bytes.sampleCount()), style ? 6.0 : 1.0);
    }
}

// A filter added to a chain with its default settings changes nothing,
// except the filters whose defaults are themselves a look.
TEST_F(Registry, PrototypesLeaveTheImageBitIdentical)
{
    std::set<std::string> const looks = {"Selective Saturation", "Hue Shift",     "Hue Brightness", "Saturation Curve",
                                         "Greyscale Channel Mixer", "Filtered B+W", "Lightleak"};
    for (ImageMod* mod : prototypes) {
        SCOPED_TRACE(mod->name.c_str());
        // A camera style's default is its full look.
        if (looks.count(mod->name.c_str()) || mod->getModCategory() == ImageMod::CategoryStyle)
            continue;
        FlexImage<float> image(31, 9, 3);
        fillTestPattern(image, 3);
        for (size_t i = 0; i < image.sampleCount(); i += 7)
            image.pixels[i] += 0.37f; // fractions must survive too
        FlexImage<float> before;
        before.copyFromImage(image, true);
        mod->applyMod(&image, nullptr);
        EXPECT_EQ(0, std::memcmp(image.pixels, before.pixels, image.sampleCount() * sizeof(float)));
    }
}
