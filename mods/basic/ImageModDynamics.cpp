#include "mods/basic/ImageModDynamics.h"

#include <cmath>

#include "imaging/Luminance.h"

ImageModDynamics::ImageModDynamics(float amount, float radius, int method)
    : ImageModTemplate("Dynamics", "")
{
    addVar(ImageModVariable::makeFloat("Amount", amount, 0.0f, 100.0f));
    addVar(ImageModVariable::makeFloat("Radius", radius, 0.0f, 100.0f));
    addVar(ImageModVariable::makeChoice("Method", labelList({"Overlay", "Luminance"}), method));
    description = "Adjust the dynamic range of shadows and highlights relative to pixels within a given radius.";
    setDefaultVarsToCurrent();
    updateBlurMod();
}

ImageModDynamics& ImageModDynamics::operator=(ImageMod const& other)
{
    ImageMod::operator=(other);
    if (auto const* dynamics = dynamic_cast<ImageModDynamics const*>(&other))
        blurMod = dynamics->blurMod;
    return *this;
}

void ImageModDynamics::updateBlurMod()
{
    if (blurMod.vars.count == 0)
        return;
    ImageModVariable* amount = blurMod.vars[0];
    if (!amount->floatData())
        amount->setData(new ImageModVariableDataFloat(0.0f, 0.0f, 1.0f));
    amount->floatData()->value = floatVarInRange(1);
}

void ImageModDynamics::notifyVarChanged(int index)
{
    ImageMod::notifyVarChanged(index);
    updateBlurMod();
}

int ImageModDynamics::getExtraPixelRadiusRequired(int width, int height, float scale)
{
    return blurMod.getExtraPixelRadiusRequired(width, height, scale);
}

float ImageModDynamics::overlay(float c, float surroundings, float a)
{
    float const m = (surroundings - 127.5f) * a;
    if (c >= 127.5f)
        return 255.0f - std::floor(2.0f * (255.0f - c) * (m + 127.5f) / 255.0f);
    return std::floor(2.0f * c * (127.5f - m) / 255.0f);
}

template <typename T>
void ImageModDynamics::templateMod(FlexImage<T>* image, ImageModChunkInfo* info)
{
    float const a = floatVarInRange(0) * 0.01f;
    if (a == 0.0f)
        return;
    FlexImage<T> blurred;
    blurred.copyFromImage(*image, true);
    blurMod.applyMod(&blurred, info);
    bool const luminanceMethod = choiceVar(2, Overlay) == Luminance;
    int const channels = image->channels;
    int const colours = channels < 3 ? channels : 3;
    size_t const pixelCount = size_t(image->width) * image->height;
    for (size_t i = 0; i < pixelCount; ++i) {
        T* p = image->pixels + i * channels;
        float const surroundings = float(pixelLuminance(blurred.pixels + i * channels, channels));
        if (luminanceMethod) {
            FlexImage<T>::luminanceContrast(p, colours, 1.0f + a, surroundings);
            continue;
        }
        for (int c = 0; c < colours; ++c)
            p[c] = FlexImage<T>::storeSample(overlay(float(p[c]), surroundings, a));
    }
}

INSTANTIATE_TEMPLATE_MOD(ImageModDynamics);
