// Every filter stays safe for every value a preset can put in a variable:
// nan, infinities, huge and negative numbers, the ends of the range and just
// beyond. Safe means: no crash or undefined behaviour (this test runs under
// the address and undefined-behaviour sanitizers too), a halo no larger than
// the picture, and float results that are finite numbers.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "extension/ImageModRegistry.h"
#include "mods/ImageModderMulti.h"
#include "support/TestImages.h"

namespace {

float const inf = std::numeric_limits<float>::infinity();
float const nan = std::numeric_limits<float>::quiet_NaN();

std::vector<float> hostileNumbers(ImageModVariableDataFloat const& f)
{
    float const step = std::max(1.0f, 0.01f * std::fabs(f.max - f.min));
    return {nan, inf, -inf, -1e30f, 1e30f, -1e4f, 1e6f, -1.0f, 0.0f, f.min, f.max, f.min - step, f.max + step};
}

std::vector<float> hostileComponents()
{
    return {nan, inf, -inf, -1e30f, 1e30f, -1.0f, 256.0f, 1e6f};
}

// A picture of 64 x 48 seen through a 19 x 13 tile at (5, 7).
ImageModChunkInfo tileOfSmallPicture()
{
    ImageModChunkInfo info;
    info.fullWidth = 64;
    info.fullHeight = 48;
    info.chunkX = 5;
    info.chunkY = 7;
    return info;
}

template <typename T>
void expectSafeOnTile(ImageMod* mod, int channels, ImageModChunkInfo* info)
{
    FlexImage<T> image(19, 13, channels);
    fillTestPattern(image, 11);
    mod->applyMod(&image, info);
    if constexpr (std::is_same_v<T, float>) {
        for (size_t i = 0; i < image.sampleCount(); ++i)
            if (!std::isfinite(image.pixels[i])) {
                ADD_FAILURE() << "sample " << i << " is " << image.pixels[i];
                return;
            }
    }
}

void expectSafeRendered(ImageMod* mod)
{
    FlexImage<float> image(64, 48, 3);
    fillTestPattern(image, 5);
    GrowArray<ImageMod*> chain;
    chain.add(mod);
    ImageModderMulti renderer;
    renderer.setTileSize(16);
    renderer.applyMods(chain, &image, nullptr);
    for (size_t i = 0; i < image.sampleCount(); ++i)
        if (!std::isfinite(image.pixels[i])) {
            ADD_FAILURE() << "rendered sample " << i << " is " << image.pixels[i];
            return;
        }
}

void expectSafe(ImageMod* mod)
{
    for (auto [w, h, scale] : {std::tuple{6000, 4000, 1.0f}, {64, 48, 1.0f}, {64, 48, 0.25f}, {1, 1, 1e-6f}}) {
        int const radius = mod->getExtraPixelRadiusRequired(w, h, scale);
        EXPECT_GE(radius, 0) << w << "x" << h;
        EXPECT_LE(radius, std::max(w, h)) << w << "x" << h << ": a halo wider than the picture";
    }
    ImageModChunkInfo info = tileOfSmallPicture();
    for (int channels : {3, 4}) {
        expectSafeOnTile<float>(mod, channels, &info);
        expectSafeOnTile<unsigned char>(mod, channels, &info);
    }
    expectSafeOnTile<float>(mod, 3, nullptr);
    expectSafeRendered(mod);
}

// Runs check on a fresh copy of prototype after change has set its variable
// index, telling the reader what was set.
void withChangedCopy(ImageMod* prototype, int index, std::string const& what,
                     std::function<void(ImageModVariable*)> const& change,
                     std::function<void(ImageMod*)> const& check = expectSafe)
{
    SCOPED_TRACE(std::string(prototype->name.c_str()) + " \"" + prototype->vars[index]->name.c_str() + "\" = " + what);
    std::unique_ptr<ImageMod> mod(prototype->createCopy());
    *mod = *prototype;
    change(mod->vars[index]);
    mod->notifyVarChanged(index);
    check(mod.get());
}

class RegistrySafety : public ::testing::Test
{
protected:
    void SetUp() override { prototypes = createPrototypeRegistry(); }
    void TearDown() override { deleteMods(prototypes); }
    GrowArray<ImageMod*> prototypes;
};

} // namespace

TEST_F(RegistrySafety, EveryNumberAFilterCanHoldIsSafe)
{
    for (ImageMod* prototype : prototypes)
        for (int i = 0; i < prototype->vars.count; ++i) {
            ImageModVariableDataFloat const* f = prototype->vars[i]->floatData();
            if (!f)
                continue;
            for (float value : hostileNumbers(*f))
                withChangedCopy(prototype, i, std::to_string(value),
                                [value](ImageModVariable* v) { v->floatData()->value = value; });
        }
}

TEST_F(RegistrySafety, EveryColourAFilterCanHoldIsSafe)
{
    for (ImageMod* prototype : prototypes)
        for (int i = 0; i < prototype->vars.count; ++i) {
            if (!prototype->vars[i]->colorData())
                continue;
            for (float value : hostileComponents()) {
                withChangedCopy(prototype, i, "red " + std::to_string(value),
                                [value](ImageModVariable* v) { v->colorData()->color.red = value; });
                withChangedCopy(prototype, i, "grey " + std::to_string(value), [value](ImageModVariable* v) {
                    v->colorData()->color = OVRGBColor(value, value, value);
                });
            }
        }
}

TEST_F(RegistrySafety, EveryCurveAFilterCanHoldIsSafe)
{
    for (ImageMod* prototype : prototypes)
        for (int i = 0; i < prototype->vars.count; ++i) {
            if (!prototype->vars[i]->curveData())
                continue;
            for (float value : hostileComponents()) {
                withChangedCopy(prototype, i, "middle y " + std::to_string(value), [value](ImageModVariable* v) {
                    GrowArray<Point2D> points;
                    points.add(Point2D{0.0f, 0.0f});
                    points.add(Point2D{0.5f, value});
                    points.add(Point2D{1.0f, 1.0f});
                    v->curveData()->curve.setControlPoints(points);
                });
                withChangedCopy(prototype, i, "middle x " + std::to_string(value), [value](ImageModVariable* v) {
                    GrowArray<Point2D> points;
                    points.add(Point2D{0.0f, 0.2f});
                    points.add(Point2D{value, 0.7f});
                    points.add(Point2D{1.0f, 0.9f});
                    v->curveData()->curve.setControlPoints(points);
                });
            }
        }
}

TEST_F(RegistrySafety, EveryChoiceIndexIsSafe)
{
    for (ImageMod* prototype : prototypes)
        for (int i = 0; i < prototype->vars.count; ++i) {
            if (!prototype->vars[i]->choiceData())
                continue;
            for (int selected : {-1, 3, 12, 1000000, INT_MIN, INT_MAX})
                withChangedCopy(prototype, i, "option " + std::to_string(selected),
                                [selected](ImageModVariable* v) { v->choiceData()->selected = selected; });
        }
}

// An earlier filter may leave samples far outside 0..255 (a curve through a
// point at 235, say): every filter, at its defaults and with each number at
// either end of its range, keeps such samples finite.
TEST_F(RegistrySafety, SamplesFarOutsideTheRangeStayFinite)
{
    auto const expectFinite = [](ImageMod* mod) {
        ImageModChunkInfo info = tileOfSmallPicture();
        FlexImage<float> image(19, 13, 4);
        for (size_t i = 0; i < image.sampleCount(); ++i)
            image.pixels[i] = float(int(i * 7919 % 1201) - 600) * 100.0f;
        mod->applyMod(&image, &info);
        for (size_t i = 0; i < image.sampleCount(); ++i)
            if (!std::isfinite(image.pixels[i])) {
                ADD_FAILURE() << "sample " << i << " is " << image.pixels[i];
                return;
            }
    };
    for (ImageMod* prototype : prototypes) {
        SCOPED_TRACE(prototype->name.c_str());
        expectFinite(prototype);
        for (int i = 0; i < prototype->vars.count; ++i) {
            ImageModVariableDataFloat const* f = prototype->vars[i]->floatData();
            if (!f)
                continue;
            for (float end : {f->min, f->max})
                withChangedCopy(
                    prototype, i, std::to_string(end), [&](ImageModVariable* v) { v->floatData()->value = end; },
                    expectFinite);
        }
    }
}
