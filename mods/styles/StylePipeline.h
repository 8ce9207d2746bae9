#pragma once

#include <cmath>
#include <memory>
#include <mutex>
#include <utility>

#include "mods/ImageModStyle.h"
#include "mods/ImageModTemplate.h"
#include "mods/UsedRegion.h"

// The filters a style runs, in order, each built for one Amount and one
// Variation. They only read their variables while they run, so one set
// serves every tile of a render at once.
class StyleSteps
{
public:
    StyleSteps() = default;
    StyleSteps(StyleSteps const&) = delete;
    StyleSteps& operator=(StyleSteps const&) = delete;
    ~StyleSteps()
    {
        for (ImageMod* step : steps)
            delete step;
    }

    // Builds the next step and returns it, for any setting its constructor
    // does not take.
    template <typename Filter, typename... Arguments>
    Filter* add(Arguments&&... arguments)
    {
        auto* step = new Filter(std::forward<Arguments>(arguments)...);
        steps.add(step);
        return step;
    }

    template <typename T>
    void apply(FlexImage<T>* image, ImageModChunkInfo* info) const
    {
        UsedRegion::applyInTurn(steps, image, info);
    }

private:
    GrowArray<ImageMod*> steps;
};

// A style whose look is a pipeline of ordinary filters. buildSteps makes the
// pipeline for an Amount and a Variation; it is built once, on the first tile
// of a render, and shared by all the others (building curves and kernels per
// tile would cost more than some steps themselves). Amount 0 runs nothing.
class ImageModStylePipeline : public ImageModStyle
{
public:
    using ImageModStyle::ImageModStyle;

    // A copy starts without prepared steps.
    ImageMod& operator=(ImageMod const& other) override
    {
        ImageMod::operator=(other);
        std::lock_guard<std::mutex> guard(preparing);
        prepared.reset();
        return *this;
    }

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
    {
        if (amount() == 0.0f)
            return;
        preparedSteps()->apply(image, info);
    }

protected:
    // Appends the look's steps for strength a and variation v, in order.
    virtual void buildSteps(float a, double v, StyleSteps* steps) const = 0;

private:
    std::mutex preparing;
    std::shared_ptr<StyleSteps const> prepared;
    float preparedAmount = 0.0f;
    double preparedVariation = 0.0;
    int preparedVersion = 0;

    std::shared_ptr<StyleSteps const> preparedSteps()
    {
        float const a = amount();
        double const v = variation();
        std::lock_guard<std::mutex> guard(preparing);
        if (!prepared || preparedAmount != a || preparedVariation != v || preparedVersion != version) {
            auto steps = std::make_shared<StyleSteps>();
            buildSteps(a, v, steps.get());
            prepared = steps;
            preparedAmount = a;
            preparedVariation = v;
            preparedVersion = version;
        }
        return prepared;
    }
};

// A value that moves with the variation: base + amplitude x cos(v x
// frequency + phase), the cosine in double. Each varied setting of a style
// has its own frequency and phase, so the look wanders smoothly and does
// not soon repeat.
inline double wave(double v, double base, double amplitude, double frequency, double phase = 0.0)
{
    return base + amplitude * std::cos(v * frequency + phase);
}

// The extra radius a style's blur step of amount b (0..100, Gaussian)
// needs in a picture whose longer side is longestSide.
inline int blurRadiusFor(double b, int longestSide)
{
    return int(std::ceil(double(longestSide) * 0.03 * (b * 0.01) * (b * 0.01)));
}

// A colour from hue (degrees), saturation and value (0..1).
inline OVRGBColor colourFromHSV(double hue, double saturation, double value)
{
    OVRGBColor colour;
    colour.setFromHSV(float(hue), float(saturation), float(value));
    return colour;
}
