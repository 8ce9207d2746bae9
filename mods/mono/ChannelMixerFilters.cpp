#include "mods/mono/ChannelMixerFilters.h"

#include "mods/common/SampleLoop.h"

namespace {

char const* const weightNames[9] = {"RedR", "GreenR", "BlueR", "RedG", "GreenG", "BlueG", "RedB", "GreenB", "BlueB"};

void addMixerVar(ImageMod* mod, ImageModVariable const& v)
{
    mod->addVar(v)->floatData()->setDisplayRange(-200.0f, 200.0f);
}

} // namespace

ImageModChannelMixer::ImageModChannelMixer()
    : ImageModTemplate("Color Mixer", "")
{
    addMixerVar(this, ImageModVariable::makeFloat("Red", 100.0f, -200.0f, 200.0f));
    addMixerVar(this, ImageModVariable::makeFloat("Green", 0.0f, -200.0f, 200.0f));
    addMixerVar(this, ImageModVariable::makeFloat("Blue", 0.0f, -200.0f, 200.0f));
    addVar(ImageModVariable::makeChoice("Output Channel", labelList({"Red", "Green", "Blue"}), 0));
    for (int i = 0; i < 9; ++i)
        addMixerVar(this, ImageModVariable::makeFloat(weightNames[i], i % 4 == 0 ? 100.0f : 0.0f, -200.0f, 200.0f));
    description = "Determine how to calculate the output values of the red, green, and blue channels.";
    setDefaultVarsToCurrent();
}

void ImageModChannelMixer::setWeight(int out, int in, float percent)
{
    if (ImageModVariableDataFloat* f = vars[FirstWeight + out * 3 + in]->floatData())
        f->value = percent;
}

void ImageModChannelMixer::notifyVarChanged(int index)
{
    int const out = choiceVar(OutputChannel, 0);
    if (out < 0 || out > 2 || vars.count < FirstWeight + 9)
        return;
    if (index >= FirstSlider && index < FirstSlider + 3) {
        setWeight(out, index - FirstSlider, floatVar(index));
    } else if (index == OutputChannel) {
        for (int in = 0; in < 3; ++in)
            if (ImageModVariableDataFloat* f = vars[FirstSlider + in]->floatData())
                f->value = weight(out, in);
    }
}

// A weighted sum with weights in percent. Summed first and divided once, in
// double: whole-number weights that add up to 100 give exactly 255 for
// white, where multiplying each by 0.01 would leave 254.99998.
inline double percentMix(double const* samples, double const* percents)
{
    return (samples[0] * percents[0] + samples[1] * percents[1] + samples[2] * percents[2]) / 100.0;
}

template <typename T>
void ImageModChannelMixer::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    double m[3][3];
    bool identity = true;
    for (int out = 0; out < 3; ++out)
        for (int in = 0; in < 3; ++in) {
            float const w = weight(out, in);
            identity = identity && w == (out == in ? 100.0f : 0.0f);
            m[out][in] = w;
        }
    if (identity || image->channels < 3)
        return;
    forEachPixel(image, [&](T* p, int) {
        double const in[3] = {double(p[0]), double(p[1]), double(p[2])};
        for (int out = 0; out < 3; ++out)
            p[out] = FlexImage<T>::storeSample(clamp255(float(percentMix(in, m[out]))));
    });
}

ImageModChannelMixerGreyscale::ImageModChannelMixerGreyscale(float red, float green, float blue)
    : ImageModTemplate("Greyscale Channel Mixer", "Greyscale Mixer")
{
    addMixerVar(this, ImageModVariable::makeFloat("Red", red, -200.0f, 200.0f));
    addMixerVar(this, ImageModVariable::makeFloat("Green", green, -200.0f, 200.0f));
    addMixerVar(this, ImageModVariable::makeFloat("Blue", blue, -200.0f, 200.0f));
    description = "Create a greyscale image based on the weighted input of the red, green, and blue image components.";
    setDefaultVarsToCurrent();
}

template <typename T>
void ImageModChannelMixerGreyscale::templateMod(FlexImage<T>* image, ImageModChunkInfo*)
{
    double const weights[3] = {floatVar(0), floatVar(1), floatVar(2)};
    if (image->channels < 3)
        return;
    // Negative weights can push the sum below 0; it is limited there too.
    forEachColourTriple(image, [&weights](float& red, float& green, float& blue) {
        double const in[3] = {double(red), double(green), double(blue)};
        red = green = blue = clamp255(float(percentMix(in, weights)));
    });
}

INSTANTIATE_TEMPLATE_MOD(ImageModChannelMixer);
INSTANTIATE_TEMPLATE_MOD(ImageModChannelMixerGreyscale);
