#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

// x^y for the per-sample tone rules, written only with arithmetic, bit
// operations and selects, so that a loop over samples vectorises (the C
// library's powf is a call per sample). log2 and exp2 come from short
// polynomials: the result is within a few parts in 10^7 of powf for the
// exponents the rules use, far inside what a float sample needs.
namespace fastPow {

inline uint32_t bitsOf(float v)
{
    uint32_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    return bits;
}

inline float fromBits(uint32_t bits)
{
    float v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}

// log2 of a positive normal x: its exponent plus log2 of its mantissa m,
// taken in [sqrt 1/2, sqrt 2) so that x near 1 keeps its small logarithm
// (no cancellation against the exponent), from 2 atanh(t) / ln 2 with
// t = (m - 1) / (m + 1), |t| < 0.172: four odd terms, fitted to that range
// (their largest relative error is 7e-10, where the series cut at four
// terms would be off by 2e-8). The exponent is counted from the bits
// of sqrt 1/2 rather than of 1, so that m falls in that range with no
// select (a select here has the compiler work out the series twice).
inline float log2Positive(float x)
{
    int32_t const fromSqrtHalf = int32_t(bitsOf(x)) - int32_t(0x3f3504f3);
    int32_t const exponentBits = fromSqrtHalf & int32_t(0xff800000u);
    float const exponent = float(exponentBits >> 23);
    float const m = fromBits(bitsOf(x) - uint32_t(exponentBits));
    float const t = (m - 1.0f) / (m + 1.0f);
    float const t2 = t * t;
    float const series = t * (2.8853900798f + t2 * (0.9617988508f + t2 * (0.5767141423f + t2 * 0.4317411023f)));
    return exponent + series;
}

// whenTrue if condition holds, else whenFalse, by masks: given a select
// whose sides cost a lot, the compiler may branch around them instead, and
// the loop no longer vectorises with AVX.
inline float pick(bool condition, float whenTrue, float whenFalse)
{
    uint32_t const mask = condition ? 0xffffffffu : 0u;
    return fromBits((bitsOf(whenTrue) & mask) | (bitsOf(whenFalse) & ~mask));
}

// 2^y: 2^n for the nearest whole n, built from its bits, times 2^f for f in
// [-0.5, 0.5] from a polynomial of degree 5 fitted to that range (relative
// error below 1e-7, with 1 at f = 0 exactly, so whole powers of two stay
// exact): one degree less than the Taylor series in f ln 2 for the same
// accuracy, and no multiply by ln 2. Below 2^-126 the answer is 0 (what a
// sample needs; denormals would only slow the loop), above 2^127 it stays
// at 2^127. What is not a number comes from 1^inf (inf x log2 1), which is
// 1. The nearest whole number comes from adding 1.5 x 2^23, which leaves
// it in the low bits of the sum and rounds y there: no conversion and no
// select, where a floor would take both.
inline float exp2Bounded(float y)
{
    bool const isNumber = y == y;
    bool const inRange = y > -126.0f;
    // Plain comparisons, not fmin/fmax: those stay library calls.
    float const below = y < 127.0f ? y : 127.0f;
    float const bounded = below > -126.0f ? below : -126.0f;
    constexpr float roundingShift = 12582912.0f; // 1.5 x 2^23
    float const shifted = bounded + roundingShift;
    float const whole = shifted - roundingShift;
    int32_t const n = int32_t(bitsOf(shifted) - bitsOf(roundingShift));
    float const f = bounded - whole;
    float const series =
        1.0f + f * (0.6931469776f + f * (0.2402224208f + f * (0.0555073373f + f * (0.0096715127f + f * 0.0013264732f))));
    float const scaled = series * fromBits(uint32_t(n + 127) << 23);
    return pick(inRange, scaled, pick(isNumber, 0.0f, 1.0f));
}

// x^y for x >= 0 (0^y is 0 for y > 0, 1 for y = 0).
inline float power(float x, float y)
{
    float const result = exp2Bounded(y * log2Positive(x > 1.0e-30f ? x : 1.0e-30f));
    float const ofZero = y > 0.0f ? 0.0f : 1.0f; // 0^y (0^-y is never asked for)
    return pick(x > 0.0f, result, ofZero);
}

} // namespace fastPow

// pow for a rule applied to every sample in one loop (forEachSample): 8-bit
// samples keep the C library's pow (their results fill 256-entry tables and
// stay exactly as they were), float samples take the vectorisable one. A
// rule over whole pixels, whose loop cannot vectorise, keeps std::pow: one
// call of it costs less than the polynomial done one sample at a time.
template <typename T>
inline float samplePow(float x, float y)
{
    if constexpr (std::is_same_v<T, unsigned char>)
        return std::pow(x, y);
    else
        return fastPow::power(x, y);
}
