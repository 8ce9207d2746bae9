// Brightens a grey picture with the engine and checks the result: the
// smallest real use of the installed libraries and headers.
#include <cstdio>

#include "extension/ImageModRegistry.h"
#include "imaging/FlexImage.h"
#include "mods/ImageModderMulti.h"

int main()
{
    GrowArray<ImageMod*> prototypes = createPrototypeRegistry();
    ImageMod* prototype = findPrototype(prototypes, "Brightness");
    if (!prototype) {
        std::puts("no Brightness filter");
        return 1;
    }
    ImageMod* brightness = prototype->createCopy();
    *brightness = *prototype;
    brightness->setFloatVar(0, 2.0f);

    FlexImage<float> picture;
    picture.reshape(8, 8, 3);
    for (size_t i = 0; i < picture.sampleCount(); ++i)
        picture.pixels[i] = 50.0f;
    GrowArray<ImageMod*> chain;
    chain.add(brightness);
    ImageModderMulti renderer;
    renderer.applyMods(chain, &picture, nullptr);
    std::printf("%d filters; grey 50 brightened to %g\n", prototypes.count, double(picture.pixels[0]));
    delete brightness;
    deleteMods(prototypes);
    return picture.pixels[0] > 50.0f ? 0 : 1;
}
