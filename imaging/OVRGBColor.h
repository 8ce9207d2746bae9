#pragma once

#include <cmath>

// Hue, saturation and value of a colour: hue in degrees [0, 360), red at 0;
// saturation and value in [0, 1].
struct HSV
{
    float h = 0.0f;
    float s = 0.0f;
    float v = 0.0f;
};

// A colour on the 0..255 scale (not clamped), with HSV conversions. Filters
// call the static forms per pixel, so they are inline.
class OVRGBColor
{
public:
    float red = 0.0f;
    float green = 0.0f;
    float blue = 0.0f;
    float alpha = 255.0f;

    OVRGBColor() = default;
    OVRGBColor(float r, float g, float b, float a = 255.0f) : red(r), green(g), blue(b), alpha(a) {}

    bool operator==(OVRGBColor const& o) const
    {
        return same(red, o.red) && same(green, o.green) && same(blue, o.blue) && same(alpha, o.alpha);
    }
    bool operator!=(OVRGBColor const& o) const { return !(*this == o); }
    bool isFinite() const
    {
        return std::isfinite(red) && std::isfinite(green) && std::isfinite(blue) && std::isfinite(alpha);
    }

    void getAsHSV(float* h, float* s, float* v) const
    {
        HSV const hsv = toHSV(red, green, blue);
        *h = hsv.h;
        *s = hsv.s;
        *v = hsv.v;
    }

    void setFromHSV(float h, float s, float v) { fromHSV(wrapHue(h), s, v, &red, &green, &blue); }

    void setHue(float h)
    {
        HSV const hsv = toHSV(red, green, blue);
        fromHSV(wrapHue(h), hsv.s, hsv.v, &red, &green, &blue);
    }

    void setSaturation(float s)
    {
        HSV const hsv = toHSV(red, green, blue);
        fromHSV(wrapHue(hsv.h), s, hsv.v, &red, &green, &blue);
    }

    // RGB on 0..255 to HSV. Ties between red and another channel take the
    // red formula; a green-blue tie takes the green formula.
    static HSV toHSV(float red, float green, float blue)
    {
        float const r = float(double(red) * (1.0 / 255.0));
        float const g = float(double(green) * (1.0 / 255.0));
        float const b = float(double(blue) * (1.0 / 255.0));
        return toHSVUnit(r, g, b);
    }

    // The same from components already on 0..1.
    static HSV toHSVUnit(float r, float g, float b)
    {
        float const max = std::fmax(r, std::fmax(g, b));
        float const min = std::fmin(r, std::fmin(g, b));
        float const d = max - min;
        HSV hsv;
        hsv.v = max;
        if (d != 0.0f) {
            hsv.s = d / max;
            if (r == max)
                hsv.h = (g - b) * 60.0f / d;
            else if (g != max)
                hsv.h = (r - g) * 60.0f / d + 240.0f;
            else
                hsv.h = (b - r) * 60.0f / d + 120.0f;
        }
        if (hsv.h < 0.0f)
            hsv.h += 360.0f;
        if (hsv.h >= 360.0f)
            hsv.h -= 360.0f;
        return hsv;
    }

    // Any real hue into [0, 360).
    static float wrapHue(float h)
    {
        constexpr double perTurn = 0.002777777777777778;
        if (h < 0.0f)
            h += float(360.0 * (std::trunc(double(h) * -perTurn) + 1.0));
        if (h >= 360.0f)
            h -= float(360.0 * std::trunc(double(h) * perTurn));
        return h;
    }

    // HSV (hue already wrapped) to components on 0..1.
    static void fromHSVUnit(float h, float s, float v, float* r, float* g, float* b)
    {
        if (s == 0.0f) {
            *r = *g = *b = v;
            return;
        }
        float const x = float(double(h) * (1.0 / 360.0)) * 6.0f;
        float const sector = std::floor(x);
        float const f = x - sector;
        float const p = (1.0f - s) * v;
        float const q = (1.0f - f * s) * v;
        float const t = ((f - 1.0f) * s + 1.0f) * v;
        switch (int(sector)) {
        case 0: *r = v; *g = t; *b = p; break;
        case 1: *r = q; *g = v; *b = p; break;
        case 2: *r = p; *g = v; *b = t; break;
        case 3: *r = p; *g = q; *b = v; break;
        case 4: *r = t; *g = p; *b = v; break;
        default: *r = v; *g = p; *b = q; break;
        }
    }

    // HSV (hue already wrapped) to components on 0..255.
    static void fromHSV(float h, float s, float v, float* red, float* green, float* blue)
    {
        fromHSVUnit(h, s, v, red, green, blue);
        *red *= 255.0f;
        *green *= 255.0f;
        *blue *= 255.0f;
    }

    // RGB on 0..1 to hue (0..1, a sixth per sector), saturation and
    // lightness; grey and black have hue and saturation 0.
    static void toHSLUnit(float r, float g, float b, float* h, float* s, float* l)
    {
        float const max = std::fmax(r, std::fmax(g, b));
        float const min = std::fmin(r, std::fmin(g, b));
        float const d = max - min;
        *l = (max + min) * 0.5f;
        *h = *s = 0.0f;
        if (!(*l > 0.0f) || !(d > 0.0f))
            return;
        *s = *l <= 0.5f ? d / (max + min) : d / (2.0f - max - min);
        float sector;
        if (r == max)
            sector = (g - b) / d + (g < b ? 6.0f : 0.0f);
        else if (g == max)
            sector = (b - r) / d + 2.0f;
        else
            sector = (r - g) / d + 4.0f;
        *h = sector / 6.0f;
    }

    // Hue (0..1), saturation and lightness back to RGB on 0..1.
    static void fromHSLUnit(float h, float s, float l, float* r, float* g, float* b)
    {
        if (s == 0.0f) {
            *r = *g = *b = l;
            return;
        }
        float const q = l < 0.5f ? l * (1.0f + s) : l + s - l * s;
        float const p = 2.0f * l - q;
        *r = hueToChannel(p, q, h + 1.0f / 3.0f);
        *g = hueToChannel(p, q, h);
        *b = hueToChannel(p, q, h - 1.0f / 3.0f);
    }

private:
    static float hueToChannel(float p, float q, float t)
    {
        if (t < 0.0f)
            t += 1.0f;
        if (t > 1.0f)
            t -= 1.0f;
        if (t < 1.0f / 6.0f)
            return p + (q - p) * 6.0f * t;
        if (t < 0.5f)
            return q;
        if (t < 2.0f / 3.0f)
            return p + (q - p) * (2.0f / 3.0f - t) * 6.0f;
        return p;
    }

    static bool same(float a, float b) { return !(a < b) && !(a > b); }
};
