#pragma once

// The saturation factor of a 0..2 slider: the lower half maps linearly onto
// 0..1, the upper half onto 1..100000, steeply (the slider is capped just
// below 2 so the factor stays finite).
inline double saturationFactor(float amount)
{
    double a = amount > 1.99999f ? 1.99999f : amount;
    if (a > 1.0)
        a = 1.0 / (2.0 - a);
    return a;
}
