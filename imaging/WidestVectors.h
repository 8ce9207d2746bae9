#pragma once

// For plain loops of arithmetic that carry most of a render (the blur's
// running sums, the power curves): built three times, for AVX-512 (the
// x86-64-v4 level), for AVX2 and for any x86-64, and chosen when the program
// starts. AVX2 does four doubles or eight floats at a time where SSE2 does
// two or four; AVX-512 adds masks (selects in one instruction) and 64-bit
// multiplies, which the varying blur's whole-number sums use.
// The x86-64-v4 level has FMA, but the build never contracts a multiply and
// an add into one (-ffp-contract=off), so every build rounds every operation
// alike and gives the same samples. (A select whose sides cost a lot must be
// written with masks, as fastPow does: this compiler turns it into a branch
// in the AVX2 build, and the loop then does not vectorise.)
// Not under the sanitizers: the loader runs the chooser before their runtime
// is up, and their instrumented chooser crashes.
#if defined(__x86_64__) && !defined(__clang__) && !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
#define WIDEST_VECTORS __attribute__((target_clones("arch=x86-64-v4", "avx2", "default")))
#else
#define WIDEST_VECTORS
#endif

// body(i) for i in 0..n, in a loop built for the widest vectors: for a body
// that is a plain vectorisable step (out[i] = rule(in[i]), say). An int
// index keeps arithmetic on it (a column, x0 + i) a plain stride.
template <typename Index, typename Body>
WIDEST_VECTORS void widestLoop(Index n, Body const& body)
{
    for (Index i = 0; i < n; ++i)
        body(i);
}
