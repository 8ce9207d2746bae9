#include "mods/styles/ImageModColorcross.h"

#include "mods/common/SampleLoop.h"
#include "mods/styles/StylePipeline.h"

namespace {

// The chemistry for one variation: per-channel curves, then a turn of the
// hues about the grey axis (the matrix that keeps grey grey).
struct Chemistry
{
    float redContrast;
    float greenGamma;
    float blueFloor;
    float blueCeiling;
    float turn[3][3];

    explicit Chemistry(double v)
        : redContrast(float(wave(v, 0.4, 0.15, 0.06000441866188032, 0.2))),
          greenGamma(float(wave(v, 0.93, 0.05, 0.08105308810215502, 1.7))),
          blueFloor(float(wave(v, 32.0, 12.0, 0.044673449142009804, 0.6))),
          blueCeiling(float(wave(v, 215.0, 15.0, 0.029405306921233814, 2.1)))
    {
        double const angle = wave(v, 10.0, 9.0, 0.033740705144660564, 0.9) * M_PI / 180.0;
        double const c = std::cos(angle);
        double const s = std::sin(angle);
        double const third = 1.0 / 3.0;
        double const root = std::sqrt(third);
        // Rotation by angle about the axis (1, 1, 1) / sqrt(3).
        double const diagonal = c + (1.0 - c) * third;
        double const plus = (1.0 - c) * third + root * s;
        double const minus = (1.0 - c) * third - root * s;
        double const rotation[3][3] = {{diagonal, minus, plus}, {plus, diagonal, minus}, {minus, plus, diagonal}};
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                turn[i][j] = float(rotation[i][j]);
    }

    template <typename T>
    void develop(float const* in, float* out) const
    {
        float const r = clamp255(in[0]) / 255.0f;
        float const curvedRed = 255.0f * (r + redContrast * (r * r * (3.0f - 2.0f * r) - r));
        float const curvedGreen = 255.0f * samplePow<T>(clamp255(in[1]) / 255.0f, greenGamma);
        float const curvedBlue = blueFloor + clamp255(in[2]) * (blueCeiling - blueFloor) / 255.0f;
        float const curved[3] = {curvedRed, curvedGreen, curvedBlue};
        for (int i = 0; i < 3; ++i)
            out[i] = clamp255(turn[i][0] * curved[0] + turn[i][1] * curved[1] + turn[i][2] * curved[2]);
    }
};

} // namespace

ImageModColorcross::ImageModColorcross(float amount, float variation, int version)
    : ImageModTemplate("Colorcross", "Colorcross Camera")
{
    description = "Chemical color-swapping straight from the darkroom. ";
    addStyleVars(amount, variation, version);
}

template <typename T>
void ImageModColorcross::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    float const a = amount();
    if (a == 0.0f || image->channels < 3)
        return;
    Chemistry const chemistry(variation());
    forEachColourTriple(image, [&chemistry, a](float& red, float& green, float& blue) {
        float const in[3] = {red, green, blue};
        float developed[3];
        chemistry.develop<T>(in, developed);
        red = in[0] + a * (developed[0] - in[0]);
        green = in[1] + a * (developed[1] - in[1]);
        blue = in[2] + a * (developed[2] - in[2]);
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModColorcross);
