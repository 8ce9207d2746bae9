#include "mods/styles/ImageModMono.h"

#include "mods/common/SampleLoop.h"
#include "mods/styles/StylePipeline.h"

ImageModMono::ImageModMono(float amount, float variation, int version)
    : ImageModTemplate("Mono", "Mono Camera")
{
    description = "Smoothly filtered black and white, for those times when less is more.";
    addStyleVars(amount, variation, version);
}

void ImageModMono::lensWeights(double variation, double* weights)
{
    double const lensHue = wave(variation, 35.0, 30.0, 0.044673449142009804, 0.4) * M_PI / 180.0;
    double const luma[3] = {0.299, 0.587, 0.114};
    double total = 0.0;
    for (int c = 0; c < 3; ++c) {
        double const channelHue = c * 2.0 * M_PI / 3.0;
        weights[c] = luma[c] * (0.6 + 0.4 * std::cos(channelHue - lensHue));
        total += weights[c];
    }
    for (int c = 0; c < 3; ++c)
        weights[c] /= total;
}

double ImageModMono::smoothing(double variation)
{
    return wave(variation, 0.3, 0.12, 0.06000441866188032, 1.1);
}

template <typename T>
void ImageModMono::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = amount();
    if (a == 0.0f || image->channels < 3)
        return;
    double w[3];
    lensWeights(variation(), w);
    float const s = float(smoothing(variation()));
    float const weights[3] = {float(w[0]), float(w[1]), float(w[2])};
    forEachColourTriple(image, [&weights, s, a](float& red, float& green, float& blue) {
        float const grey = red * weights[0] + green * weights[1] + blue * weights[2];
        float const x = clamp255(grey) / 255.0f;
        float const rolled = 255.0f * (x + s * (x * x * (3.0f - 2.0f * x) - x));
        red = clamp255(red + a * (rolled - red));
        green = clamp255(green + a * (rolled - green));
        blue = clamp255(blue + a * (rolled - blue));
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModMono);
