#pragma once

// For plain loops of arithmetic on doubles that carry most of a render (the
// blur's running sums): built twice, for AVX2 and for any x86-64, and chosen
// when the program starts. AVX2 does four doubles at a time where SSE2 does
// two.
// FMA is not asked for, so both builds round every operation alike and give
// the same samples. (Loops with selects, like the power curves, gain
// nothing: this compiler keeps their branches in the AVX2 build.)
// Not under the sanitizers: the loader runs the chooser before their runtime
// is up, and their instrumented chooser crashes.
#if defined(__x86_64__) && !defined(__clang__) && !defined(__SANITIZE_THREAD__) && !defined(__SANITIZE_ADDRESS__)
#define WIDEST_VECTORS __attribute__((target_clones("avx2", "default")))
#else
#define WIDEST_VECTORS
#endif
