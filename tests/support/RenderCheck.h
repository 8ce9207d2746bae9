#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <memory>
#include <type_traits>

#include "mods/ImageModderMulti.h"
#include "support/TestImages.h"

// Whether two images hold the same red, green and blue, bit for bit.
template <typename T>
bool sameColours(FlexImage<T> const& a, FlexImage<T> const& b)
{
    if (a.width != b.width || a.height != b.height)
        return false;
    for (int y = 0; y < a.height; ++y)
        for (int x = 0; x < a.width; ++x)
            for (int c = 0; c < 3; ++c)
                if (std::memcmp(&a.pixelAt(x, y)[c], &b.pixelAt(x, y)[c], sizeof(T)) != 0)
                    return false;
    return true;
}

template <typename T>
std::unique_ptr<FlexImage<T>> patternImage(int w, int h, int channels, uint32_t seed = 11)
{
    auto image = std::make_unique<FlexImage<T>>(w, h, channels);
    fillTestPattern(*image, seed);
    return image;
}

inline GrowArray<ImageMod*> chainOf(std::initializer_list<ImageMod*> mods)
{
    GrowArray<ImageMod*> chain;
    for (ImageMod* m : mods)
        chain.add(m);
    return chain;
}

// Renders through the tiled renderer and compares with one whole-image apply.
template <typename T>
void expectTiledEqualsWhole(ImageMod* mod, int w, int h, int channels, bool inPlace, int tileSize)
{
    SCOPED_TRACE(testing::Message() << mod->name.c_str() << " " << w << "x" << h << "x" << channels
                                    << (inPlace ? " in place" : " separate") << " tiles " << tileSize);
    auto source = patternImage<T>(w, h, channels);
    // Tiles are float whatever the image, so the reference is the float
    // whole-image result, stored the way the grid stores it.
    FlexImage<float> wholeFloat(w, h, channels);
    for (size_t i = 0; i < source->sampleCount(); ++i)
        wholeFloat.pixels[i] = float(source->pixels[i]);
    mod->applyMod(&wholeFloat, nullptr);
    FlexImage<T> whole(w, h, channels);
    for (size_t i = 0; i < whole.sampleCount(); ++i)
        whole.pixels[i] = std::is_same_v<T, float> ? T(wholeFloat.pixels[i])
                                                   : T(static_cast<unsigned char>(int(wholeFloat.pixels[i])));

    ImageModderMulti renderer;
    renderer.setTileSize(tileSize);
    GrowArray<ImageMod*> chain = chainOf({mod});
    if (inPlace) {
        renderer.applyMods(chain, source.get(), nullptr);
        EXPECT_TRUE(sameColours(*source, whole));
    } else {
        FlexImage<T> out;
        renderer.applyMods(chain, source.get(), &out);
        EXPECT_TRUE(sameColours(out, whole));
    }
}

