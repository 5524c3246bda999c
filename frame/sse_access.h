// Load/store policies of the generated SSE2 kernels. A kernel body is one
// template instantiated twice, so the aligned and unaligned bodies share the
// same schedule and cannot drift apart.
#pragma once

#include <emmintrin.h>

namespace qvn {

struct AlignedAccess {
    static __m128 Load(const float* p) { return _mm_load_ps(p); }
    static void Store(float* p, __m128 v) { _mm_store_ps(p, v); }
    static __m128d Load(const double* p) { return _mm_load_pd(p); }
    static void Store(double* p, __m128d v) { _mm_store_pd(p, v); }
};

struct UnalignedAccess {
    static __m128 Load(const float* p) { return _mm_loadu_ps(p); }
    static void Store(float* p, __m128 v) { _mm_storeu_ps(p, v); }
    static __m128d Load(const double* p) { return _mm_loadu_pd(p); }
    static void Store(double* p, __m128d v) { _mm_storeu_pd(p, v); }
};

// One complex float (8 bytes) in the low half of a vector; needs no alignment.
inline __m128 LoadLowComplex(const float* p) {
    return _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(p)));
}
inline void StoreLowComplex(float* p, __m128 v) {
    _mm_store_sd(reinterpret_cast<double*>(p), _mm_castps_pd(v));
}
inline void StoreHighComplex(float* p, __m128 v) {
    _mm_storeh_pd(reinterpret_cast<double*>(p), _mm_castps_pd(v));
}

// Two floats (8 bytes) in the low half of a vector, at any address: the
// packed real kernels move neighbouring single-precision values this way.
// The store is movlps: the 64-bit integer store GCC makes of _mm_storeu_si64
// often takes the value through a general register first (movq to rax,
// then mov to memory), an extra transfer per store.
inline __m128 LoadTwoFloats(const float* p) { return _mm_castsi128_ps(_mm_loadu_si64(p)); }
inline void StoreTwoFloats(float* p, __m128 v) { _mm_storel_pi(reinterpret_cast<__m64*>(p), v); }

// Sign masks: xor flips the sign of the lanes that hold -0.0.
inline __m128d SignMaskPd(bool lo, bool hi) {
    return _mm_castsi128_pd(_mm_set_epi64x(hi ? (long long)0x8000000000000000ull : 0,
                                           lo ? (long long)0x8000000000000000ull : 0));
}
inline __m128 SignMaskPs(bool l0, bool l1, bool l2, bool l3) {
    return _mm_castsi128_ps(_mm_set_epi32(l3 ? (int)0x80000000u : 0, l2 ? (int)0x80000000u : 0,
                                          l1 ? (int)0x80000000u : 0, l0 ? (int)0x80000000u : 0));
}

// (a[I], b[J]) in the low two lanes, from two different vectors: the pair
// shuffle of the packed real kernels when no single shuffle does it.
template <int I, int J>
inline __m128 TakeLanes(__m128 a, __m128 b) {
    const __m128 t = _mm_shuffle_ps(a, b, _MM_SHUFFLE(0, J, 0, I));
    return _mm_shuffle_ps(t, t, _MM_SHUFFLE(3, 3, 2, 0));
}

}  // namespace qvn
