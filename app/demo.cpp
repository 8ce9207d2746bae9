// Shows that the engine links and works: a tone curve built from a preset-style
// string, and a colour converted to HSV and back.
#include <cstdio>
#include <initializer_list>

#include "imaging/OVRGBColor.h"
#include "imaging/ToneCurve.h"

int main()
{
    ToneCurve curve;
    curve.setControlPoints(GrowString("0 .25 1 .75"));
    std::printf("Curve \"0 .25 1 .75\":\n");
    for (float v : {0.0f, 0.25f, 0.5f, 0.75f, 1.0f})
        std::printf("  %.2f -> %.6f\n", v, curve.lookup(v));

    OVRGBColor skin(224.0f, 172.0f, 140.0f);
    float h, s, v;
    skin.getAsHSV(&h, &s, &v);
    std::printf("Colour (224, 172, 140): hue %.2f, saturation %.4f, value %.4f\n", h, s, v);
    return 0;
}
