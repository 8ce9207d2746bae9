#include "extension/ImageModRegistry.h"

#include "mods/basic/ImageModBlur.h"
#include "mods/basic/ImageModBrightness.h"
#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModContrastAndSaturation.h"
#include "mods/basic/ImageModDynamics.h"
#include "mods/basic/ImageModExposure.h"
#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModLuminanceContrast.h"
#include "mods/basic/ImageModMultiTool.h"
#include "mods/basic/ImageModNoise.h"
#include "mods/basic/ImageModRadialBlur.h"
#include "mods/basic/ImageModSaturation.h"
#include "mods/basic/ImageModSharpen.h"
#include "mods/basic/ImageModVignette.h"
#include "mods/colour/ColorBalanceFilters.h"
#include "mods/colour/ColorOverlayFilters.h"
#include "mods/colour/ImageModColorTemperature.h"
#include "mods/colour/ColorizeFilters.h"
#include "mods/colour/HueCurveFilters.h"
#include "mods/colour/ImageModRGBSwap.h"
#include "mods/colour/ImageModSelectiveColor.h"
#include "mods/colour/TonalColorFilters.h"
#include "mods/curves/ImageModExposureCurve.h"
#include "mods/curves/ToneRegionFilters.h"
#include "mods/curves/ImageModLabCurves.h"
#include "mods/curves/ChannelCurveFilters.h"
#include "mods/curves/ToneCurveFilters.h"
#include "mods/mono/ChannelMixerFilters.h"
#include "mods/mono/DiscolorFilters.h"
#include "mods/mono/ImageModFilteredBW.h"
#include "mods/output/ImageModCrop.h"
#include "mods/output/ImageModImageOverlay.h"
#include "mods/output/ImageModSize2.h"
#include "mods/styles/ImageMod1958.h"
#include "mods/styles/ImageMod1962.h"
#include "mods/styles/ImageMod1974.h"
#include "mods/styles/ImageMod1983.h"
#include "mods/styles/ImageModAutochrome.h"
#include "mods/styles/ImageModColorcross.h"
#include "mods/styles/ImageModHelga.h"
#include "mods/styles/ImageModHipster.h"
#include "mods/styles/ImageModInstant.h"
#include "mods/styles/ImageModItaliano.h"
#include "mods/styles/ImageModLolo.h"
#include "mods/styles/ImageModMagazine.h"
#include "mods/styles/ImageModMatte.h"
#include "mods/styles/ImageModMono.h"
#include "mods/styles/ImageModPlastic.h"
#include "mods/styles/ImageModPoolside.h"
#include "mods/styles/ImageModSaloon.h"
#include "mods/styles/ImageModSilver.h"
#include "mods/styles/ImageModSkater.h"
#include "mods/styles/ImageModWedding.h"

GrowArray<ImageMod*> createPrototypeRegistry()
{
    GrowArray<ImageMod*> r;
    // Tone
    r.add(new ImageModBrightness(1.0f));
    r.add(new ImageModContrast(1.0f, 127.5f));
    r.add(new ImageModLuminanceContrast(1.0f, 127.5f));
    r.add(new ImageModContrastAndSaturation());
    r.add(new ImageModExposure(1.0f));
    r.add(new ImageModGammaLegacy(1.0f));
    r.add(new ImageModSaturation(1.0f, 2));
    r.add(new ImageModMultiTool(2));
    // Spatial
    r.add(new ImageModBlur(0.0f, 100.0f, 0));
    r.add(new ImageModRadialBlur(0.0f, 50.0f, 1.0f, 0));
    r.add(new ImageModSharpen(0.0f));
    r.add(new ImageModNoise(0.0f, 50.0f, 0.0f, 4));
    r.add(new ImageModVignette(0.0f, 50.0f, 1.0f));
    r.add(new ImageModDynamics(0.0f, 50.0f, ImageModDynamics::Overlay));
    // Curves
    r.add(new ImageModToneCurve(1.0f, "0 0 1 1", 0));
    r.add(new ImageModExposureCurve(1.0f, "0 .5 1 .5"));
    r.add(new ImageModLuminanceCurve(1.0f, "0 0 1 1"));
    r.add(new ImageModRGBCombinedCurve(1.0f, "0 0 1 1"));
    r.add(new ImageModRGBCurves());
    r.add(new ImageModComponentCurve("0 0 1 1", ImageModComponentCurve::Red));
    r.add(new ImageModLabCurves());
    r.add(new ImageModHighlights());
    r.add(new ImageModShadows());
    // Colour
    r.add(new ImageModTint(0.0f));
    r.add(new ImageModColorize(0.0f));
    r.add(new ImageModColorFilter(0.0f));
    r.add(new ImageModDye(0.0f));
    r.add(new ImageModRGBSwap());
    r.add(new ImageModWhiteBalance());
    r.add(new ImageModColorBalance());
    r.add(new ImageModColorCorrector());
    r.add(new ImageModColorTemperature());
    r.add(new ImageModSelectiveColor());
    r.add(new ImageModSplitTone());
    r.add(new ImageModHueShift("0 .5 .16667 .5 .33333 .5 .5 .65 .66667 .5 .83333 .5 1 .5"));
    r.add(new ImageModHueBrightness("0 .5 .16667 .5 .33333 .5 .5 .8 .66667 .5 .83333 .5 1 .5"));
    r.add(new ImageModSaturationCurve("0 .5 .16667 .5 .33333 .5 .5 .8 .66667 .5 .83333 .5 1 .5"));
    r.add(new ImageModColorizeCurve("0 .5 .5 .6 1 .5"));
    r.add(new ImageModColorizeNoCurve());
    // Monochrome and channel mixing
    r.add(new ImageModChannelMixer());
    r.add(new ImageModChannelMixerGreyscale());
    r.add(new ImageModFilteredBW());
    r.add(new ImageModDiscolor());
    r.add(new ImageModLightleak());
    // Camera styles, in catalogue order, each at its newest recipe
    r.add(new ImageModSaloon());
    r.add(new ImageModPlastic());
    r.add(new ImageModHipster());
    r.add(new ImageModWedding());
    r.add(new ImageModSkater());
    r.add(new ImageModSilver());
    r.add(new ImageModPoolside());
    r.add(new ImageModMono());
    r.add(new ImageModMatte());
    r.add(new ImageModMagazine());
    r.add(new ImageModLolo());
    r.add(new ImageModItaliano());
    r.add(new ImageModInstant());
    r.add(new ImageModHelga());
    r.add(new ImageModColorcross());
    r.add(new ImageModAutochrome());
    r.add(new ImageMod1983());
    r.add(new ImageMod1974());
    r.add(new ImageMod1962());
    r.add(new ImageMod1958());
    // Geometry and output
    r.add(new ImageModCrop());
    r.add(new ImageModConstrainSize());
    r.add(new ImageModExactSize());
    r.add(new ImageModImageOverlay());
    return r;
}

ImageMod* findPrototype(GrowArray<ImageMod*> const& prototypes, GrowString const& name)
{
    for (ImageMod* mod : prototypes)
        if (mod && mod->name == name)
            return mod;
    return nullptr;
}

void deleteMods(GrowArray<ImageMod*>& mods)
{
    for (ImageMod* mod : mods)
        delete mod;
    mods.release();
}
