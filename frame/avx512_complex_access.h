// Memory access, lane picks and sign masks of the generated 512-bit complex
// kernels (x86-64-v4 build). As in the 256-bit kernels accesses are
// unaligned; every body has a second instantiation in 256-bit halves for
// arrays on a 32-byte boundary that cross a 4 KB page (frame/entry.h). A
// complex double fills one 128-bit lane of a __m512d.
#pragma once

#include <immintrin.h>

namespace qvn {

struct Unaligned512 {
    static constexpr int kWidest = 64;  // bytes of the widest single access
    static __m512 Load(const float* p) { return _mm512_loadu_ps(p); }
    static void Store(float* p, __m512 v) { _mm512_storeu_ps(p, v); }
    static __m512d Load(const double* p) { return _mm512_loadu_pd(p); }
    static void Store(double* p, __m512d v) { _mm512_storeu_pd(p, v); }
};

// The same values through two 256-bit halves, for arrays on a 32-byte
// boundary (every access of these bodies sits at a multiple of 32 bytes from
// the array's start, so no half crosses a page). Measured as fast as whole
// accesses.
struct Halves512 {
    static constexpr int kWidest = 32;
    static __m512d Load(const double* p) {
        return _mm512_insertf64x4(_mm512_castpd256_pd512(_mm256_loadu_pd(p)), _mm256_loadu_pd(p + 4), 1);
    }
    static void Store(double* p, __m512d v) {
        _mm256_storeu_pd(p, _mm512_castpd512_pd256(v));
        _mm256_storeu_pd(p + 4, _mm512_extractf64x4_pd(v, 1));
    }
};

// The first `Count` (1..3) complex doubles at p in the low lanes, the rest
// zero; and the low `Count` lanes stored. With whole accesses one and two
// values are plain 128-bit and 256-bit accesses and three take a masked
// access, which touches no memory past the third value; the halves policy
// splits three values into 256 and 128 bits.
template <int Count, class Mem = Unaligned512>
inline __m512d LoadComplexesLow512(const double* p) {
    if constexpr (Count == 1) return _mm512_zextpd128_pd512(_mm_loadu_pd(p));
    if constexpr (Count == 2) return _mm512_zextpd256_pd512(_mm256_loadu_pd(p));
    if constexpr (Mem::kWidest == 32)
        return _mm512_insertf64x2(_mm512_zextpd256_pd512(_mm256_loadu_pd(p)), _mm_loadu_pd(p + 4), 2);
    return _mm512_maskz_loadu_pd(static_cast<__mmask8>((1u << (2 * Count)) - 1), p);
}
template <int Count, class Mem = Unaligned512>
inline void StoreComplexesLow512(double* p, __m512d v) {
    if constexpr (Count == 1) {
        _mm_storeu_pd(p, _mm512_castpd512_pd128(v));
    } else if constexpr (Count == 2) {
        _mm256_storeu_pd(p, _mm512_castpd512_pd256(v));
    } else if constexpr (Mem::kWidest == 32) {
        _mm256_storeu_pd(p, _mm512_castpd512_pd256(v));
        _mm_storeu_pd(p + 4, _mm512_extractf64x2_pd(v, 2));
    } else {
        _mm512_mask_storeu_pd(p, static_cast<__mmask8>((1u << (2 * Count)) - 1), v);
    }
}

// Index vector of _mm512_permutex2var_pd taking whole complex values: result
// lane k is lane l_k of the two sources together (0..3 the first, 4..7 the
// second).
inline __m512i LanePick512(int l0, int l1, int l2, int l3) {
    return _mm512_setr_epi64(2 * l0, 2 * l0 + 1, 2 * l1, 2 * l1 + 1, 2 * l2, 2 * l2 + 1, 2 * l3, 2 * l3 + 1);
}

// Sign mask: xor flips the sign of the lanes (low lane first) marked true.
inline __m512d SignMask512Pd(bool l0, bool l1, bool l2, bool l3, bool l4, bool l5, bool l6, bool l7) {
    const long long s = static_cast<long long>(0x8000000000000000ull);
    return _mm512_castsi512_pd(_mm512_setr_epi64(l0 ? s : 0, l1 ? s : 0, l2 ? s : 0, l3 ? s : 0, l4 ? s : 0,
                                                 l5 ? s : 0, l6 ? s : 0, l7 ? s : 0));
}

}  // namespace qvn
