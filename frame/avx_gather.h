// Four inputs from scattered addresses into one register, for the 256-bit
// real DFT and Hartley kernels (x86-64-v3 and x86-64-v4 builds).
//
// The prime-factor kernels read their inputs in a permuted order, so most
// registers are filled from four unrelated addresses. Joining single loads
// with unpacks, inserts or 128-bit inserts takes three shuffles per register,
// and these kernels are already limited by the one port that runs shuffles.
// A broadcast from memory is a plain load, and a blend runs on any vector
// port: four broadcasts and three blends fill the register without a
// shuffle. The empty asm hides where a broadcast came from; otherwise the
// compiler folds the broadcast and blend back into an insert, a shuffle.
#pragma once

#include <immintrin.h>

#include <cstring>

namespace qvn {
namespace gather_detail {

inline __m128 BroadcastFloat(const float* p) {
    __m128 v = _mm_broadcast_ss(p);
    asm("" : "+x"(v));
    return v;
}
// Two neighbouring floats in both halves.
inline __m128 BroadcastFloatPair(const float* p) {
    double both;
    std::memcpy(&both, p, sizeof both);
    __m128 v = _mm_castpd_ps(_mm_set1_pd(both));
    asm("" : "+x"(v));
    return v;
}
inline __m256d BroadcastDouble(const double* p) {
    __m256d v = _mm256_broadcast_sd(p);
    asm("" : "+x"(v));
    return v;
}

}  // namespace gather_detail

// (*p0, *p1, *p2, *p3)
inline __m128 GatherFloats(const float* p0, const float* p1, const float* p2, const float* p3) {
    using gather_detail::BroadcastFloat;
    const __m128 low = _mm_blend_ps(BroadcastFloat(p0), BroadcastFloat(p1), 0x2);
    const __m128 high = _mm_blend_ps(BroadcastFloat(p2), BroadcastFloat(p3), 0x8);
    return _mm_blend_ps(low, high, 0xC);
}
inline __m256d GatherDoubles(const double* p0, const double* p1, const double* p2, const double* p3) {
    using gather_detail::BroadcastDouble;
    const __m256d low = _mm256_blend_pd(BroadcastDouble(p0), BroadcastDouble(p1), 0x2);
    const __m256d high = _mm256_blend_pd(BroadcastDouble(p2), BroadcastDouble(p3), 0x8);
    return _mm256_blend_pd(low, high, 0xC);
}

// (lo[0], lo[1], hi[0], hi[1])
inline __m128 GatherFloatPairs(const float* lo, const float* hi) {
    using gather_detail::BroadcastFloatPair;
    return _mm_blend_ps(BroadcastFloatPair(lo), BroadcastFloatPair(hi), 0xC);
}
inline __m256d GatherDoublePairs(const double* lo, const double* hi) { return _mm256_loadu2_m128d(hi, lo); }

}  // namespace qvn
