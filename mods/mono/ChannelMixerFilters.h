#pragma once

#include "mods/ImageModTemplate.h"

// Channel mixing: the colour mixer (ImageModChannelMixer) and the greyscale
// mixer (ImageModChannelMixerGreyscale).

// A full 3 x 3 channel mixer. The nine weights are stored as variables so a
// preset keeps the whole matrix; the three visible sliders show the row of
// the output channel chosen in "Output Channel".
class ImageModChannelMixer : public ImageModTemplate<ImageModChannelMixer>
{
public:
    enum { FirstSlider = 0, OutputChannel = 3, FirstWeight = 4 };

    ImageModChannelMixer();

    // A slider writes into its weight of the chosen row; choosing another
    // output channel shows that row on the sliders.
    void notifyVarChanged(int index) override;

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);

    // Weight of input channel `in` in output channel `out`, in percent.
    float weight(int out, int in) const { return floatVar(FirstWeight + out * 3 + in); }
    void setWeight(int out, int in, float percent);
};

// Greyscale from a weighted sum of red, green and blue (in percent).
class ImageModChannelMixerGreyscale : public ImageModTemplate<ImageModChannelMixerGreyscale>
{
public:
    explicit ImageModChannelMixerGreyscale(float red = 30.0f, float green = 59.0f, float blue = 11.0f);

    template <typename T>
    void templateMod(FlexImage<T>* image, ImageModChunkInfo* info);
};

