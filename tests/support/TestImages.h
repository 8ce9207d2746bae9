#pragma once

#include <cstdint>

#include "imaging/FlexImage.h"
#include "mods/ImageMod.h"

// A deterministic mix of smooth ramps and noise over the whole 0..255 range,
// with pure black and white pixels included.
template <typename T>
void fillTestPattern(FlexImage<T>& image, uint32_t seed)
{
    uint32_t state = seed * 2654435761u + 1u;
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) {
            T* p = image.pixelAt(x, y);
            for (int c = 0; c < image.channels; ++c) {
                state = state * 1664525u + 1013904223u;
                int const ramp = (x * 7 + y * 3 + c * 50) % 256;
                int const noise = int(state >> 24);
                p[c] = T((x + y) % 5 == 0 ? noise : ramp);
            }
            if ((x * 31 + y * 17) % 41 == 0)
                for (int c = 0; c < image.channels; ++c)
                    p[c] = T((x & 1) ? 255 : 0);
        }
}

// Moves variable index of a filter away from its default so that the filter
// actually does something: a float to 70% of its range, a curve to a bend, a
// colour to an orange, a choice to its next option.
inline void moveVariable(ImageMod* mod, int index)
{
    if (index < 0 || index >= mod->vars.count)
        return;
    ImageModVariable* v = mod->vars[index];
    if (ImageModVariableDataFloat* f = v->floatData()) {
        float moved = f->min + 0.7f * (f->max - f->min);
        if (moved == f->value)
            moved = f->min + 0.3f * (f->max - f->min);
        f->value = moved;
    } else if (ImageModVariableDataCurve* c = v->curveData()) {
        c->curve.setControlPoints(GrowString("0 0.1 0.4 0.55 1 0.9"));
    } else if (ImageModVariableDataColor* c = v->colorData()) {
        c->color = OVRGBColor(230.0f, 140.0f, 60.0f);
    } else if (ImageModVariableDataChoice* c = v->choiceData()) {
        c->selected = c->selected + 1;
    } else if (ImageModVariableDataFile* f = v->fileData()) {
        f->path = GrowString("moved.png");
    }
    mod->notifyVarChanged(index);
}

inline void moveMainVariable(ImageMod* mod)
{
    moveVariable(mod, 0);
}
