#include "mods/ImageModRegistry.h"

#include "mods/basic/ImageModBrightness.h"
#include "mods/basic/ImageModContrast.h"
#include "mods/basic/ImageModContrastAndSaturation.h"
#include "mods/basic/ImageModExposure.h"
#include "mods/basic/ImageModGammaLegacy.h"
#include "mods/basic/ImageModLuminanceContrast.h"
#include "mods/basic/ImageModMultiTool.h"
#include "mods/basic/ImageModSaturation.h"

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
