// KFR's C interface (libkfr_capi, built with clang outside this tree; see
// bench/README.md) behind one name per precision, for the benchmark's
// reference timings: Kfr<float> calls kfr_*_f32, Kfr<double> kfr_*_f64.
// Only the C header is compiled here, never KFR's C++ templates, so what is
// timed is KFR's own clang build. QVNB_HAVE_KFR is defined when the build
// was given QVNGEN_KFR_DIR; without it kHaveKfr is false and nothing below
// it exists.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#ifdef QVNB_HAVE_KFR
// Complex values as interleaved (re, im) pairs of the real type, the layout
// of Complex32f / Complex64f and of FFTW's arrays, instead of C99 _Complex.
#define KFR_NO_C_COMPLEX_TYPES 1
#include <kfr/capi.h>
#endif

namespace qvnbench {

#ifdef QVNB_HAVE_KFR
constexpr bool kHaveKfr = true;

template <class Real>
struct Kfr;

// S names KFR's plan types, s its functions. The plan calls take and
// return interleaved complex arrays as Real*.
#define QVNB_KFR_API(Real, S, s)                                                                              \
    template <>                                                                                            \
    struct Kfr<Real> {                                                                                     \
        using Plan = KFR_DFT_PLAN_##S;                                                                     \
        using RealPlan = KFR_DFT_REAL_PLAN_##S;                                                            \
        static Plan* Dft(int n) { return kfr_dft_create_plan_##s(n); }                                     \
        static std::size_t TempBytes(Plan* p) { return kfr_dft_get_temp_size_##s(p); }                     \
        static void Forward(Plan* p, Real* out, const Real* in, std::uint8_t* temp) {                      \
            kfr_dft_execute_##s(p, out, in, temp);                                                         \
        }                                                                                                  \
        static void Inverse(Plan* p, Real* out, const Real* in, std::uint8_t* temp) {                      \
            kfr_dft_execute_inverse_##s(p, out, in, temp);                                                 \
        }                                                                                                  \
        static void Destroy(Plan* p) { kfr_dft_delete_plan_##s(p); }                                       \
        /* Real plans: N real values to N/2 + 1 complex ones (CCs) and back. */                            \
        static RealPlan* RealDft(int n) { return kfr_dft_real_create_plan_##s(n, CCs); }                   \
        static std::size_t TempBytes(RealPlan* p) { return kfr_dft_real_get_temp_size_##s(p); }            \
        static void Forward(RealPlan* p, Real* out, const Real* in, std::uint8_t* temp) {                  \
            kfr_dft_real_execute_##s(p, out, in, temp);                                                    \
        }                                                                                                  \
        static void Inverse(RealPlan* p, Real* out, const Real* in, std::uint8_t* temp) {                  \
            kfr_dft_real_execute_inverse_##s(p, out, in, temp);                                            \
        }                                                                                                  \
        static void Destroy(RealPlan* p) { kfr_dft_real_delete_plan_##s(p); }                              \
    };
QVNB_KFR_API(float, F32, f32)
QVNB_KFR_API(double, F64, f64)
#undef QVNB_KFR_API

// Arrays aligned to a cache line, like FFTW's and qvnMalloc's.
inline void* KfrAlloc(std::size_t bytes) { return kfr_allocate_aligned(bytes, 64); }
inline void KfrFree(void* p) { kfr_deallocate(p); }
#else
constexpr bool kHaveKfr = false;
#endif

// KFR's version string (version, instruction sets compiled in, compiler)
// and the widest instruction set it detects on this processor, e.g.
// "KFR 7.0.1 avx512 64-bit (clang-19.1.7/linux) ...; processor: avx512";
// printed once per run, so that a table can be checked to time KFR's widest
// code. Empty without KFR.
std::string KfrDescription();

}  // namespace qvnbench
