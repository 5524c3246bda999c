// Memory access and sign masks of the generated 256-bit complex kernels
// (x86-64-v3 and x86-64-v4 builds). Loads and stores are unaligned: on these
// processors an unaligned access to aligned data costs nothing extra, and
// one that only crosses a cache line costs little. One that crosses a 4 KB
// page boundary costs tens of cycles, so every body is instantiated twice:
// with whole 256-bit accesses, and with each access cut into 128-bit halves,
// which never cross a page on a 16-byte-aligned array. The entry takes the
// second only for an array that crosses a page (frame/entry.h).
#pragma once

#include <immintrin.h>

namespace qvn {

struct Unaligned256 {
    static constexpr int kWidest = 32;  // bytes of the widest single access
    static __m256 Load(const float* p) { return _mm256_loadu_ps(p); }
    static void Store(float* p, __m256 v) { _mm256_storeu_ps(p, v); }
    static __m256d Load(const double* p) { return _mm256_loadu_pd(p); }
    static void Store(double* p, __m256d v) { _mm256_storeu_pd(p, v); }
};

// The same values through 128-bit accesses: the high half goes in with an
// insert from memory (a load and a non-shuffle operation) and out with an
// extract to memory (a plain store).
struct PageSafe256 {
    static constexpr int kWidest = 16;
    static __m256 Load(const float* p) {
        return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(p)), _mm_loadu_ps(p + 4), 1);
    }
    static void Store(float* p, __m256 v) {
        _mm_storeu_ps(p, _mm256_castps256_ps128(v));
        _mm_storeu_ps(p + 4, _mm256_extractf128_ps(v, 1));
    }
    static __m256d Load(const double* p) {
        return _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(p)), _mm_loadu_pd(p + 2), 1);
    }
    static void Store(double* p, __m256d v) {
        _mm_storeu_pd(p, _mm256_castpd256_pd128(v));
        _mm_storeu_pd(p + 2, _mm256_extractf128_pd(v, 1));
    }
};

// One complex double in the low 128-bit half (the high half zero), and one
// half of a register stored as one complex double.
inline __m256d LoadComplexLow(const double* p) { return _mm256_zextpd128_pd256(_mm_loadu_pd(p)); }
// Two complex doubles from anywhere, into the low and the high half; one
// complex double into both halves (a broadcast from memory is a plain load).
inline __m256d LoadComplexPair(const double* lo, const double* hi) {
    return _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_loadu_pd(lo)), _mm_loadu_pd(hi), 1);
}
inline __m256d LoadComplexBoth(const double* p) { return _mm256_broadcast_pd(reinterpret_cast<const __m128d*>(p)); }
inline void StoreComplexLow(double* p, __m256d v) { _mm_storeu_pd(p, _mm256_castpd256_pd128(v)); }
inline void StoreComplexHigh(double* p, __m256d v) { _mm_storeu_pd(p, _mm256_extractf128_pd(v, 1)); }

// The first `Count` (1..3) complex floats at p in the low slots of a
// register, the rest zero; and the low `Count` slots stored.
template <int Count>
inline __m256 LoadComplexesLow(const float* p) {
    if constexpr (Count == 1) return _mm256_zextps128_ps256(_mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(p))));
    const __m256 low = _mm256_zextps128_ps256(_mm_loadu_ps(p));
    if constexpr (Count == 3)
        return _mm256_insertf128_ps(low, _mm_castpd_ps(_mm_load_sd(reinterpret_cast<const double*>(p + 4))), 1);
    return low;
}
template <int Count>
inline void StoreComplexesLow(float* p, __m256 v) {
    const __m128 low = _mm256_castps256_ps128(v);
    if constexpr (Count == 1) {
        _mm_store_sd(reinterpret_cast<double*>(p), _mm_castps_pd(low));
    } else {
        _mm_storeu_ps(p, low);
    }
    if constexpr (Count == 3) _mm_store_sd(reinterpret_cast<double*>(p + 4), _mm_castps_pd(_mm256_extractf128_ps(v, 1)));
}

// Sign masks: xor flips the sign of the lanes (low lane first) marked true.
inline __m256d SignMask256Pd(bool l0, bool l1, bool l2, bool l3) {
    const long long s = static_cast<long long>(0x8000000000000000ull);
    return _mm256_castsi256_pd(_mm256_set_epi64x(l3 ? s : 0, l2 ? s : 0, l1 ? s : 0, l0 ? s : 0));
}
inline __m256 SignMask256Ps(bool l0, bool l1, bool l2, bool l3, bool l4, bool l5, bool l6, bool l7) {
    const int s = static_cast<int>(0x80000000u);
    return _mm256_castsi256_ps(_mm256_set_epi32(l7 ? s : 0, l6 ? s : 0, l5 ? s : 0, l4 ? s : 0, l3 ? s : 0,
                                                l2 ? s : 0, l1 ? s : 0, l0 ? s : 0));
}

}  // namespace qvn
