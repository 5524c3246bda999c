// KFR (built with clang outside this tree; see bench/README.md) behind one
// name per precision, for the benchmark's reference timings: Kfr<float>
// makes and runs single-precision plans, Kfr<double> double ones. The timed
// calls go to KFR's C++ plans through kfr_direct.cpp, a small library built
// with clang (QVNB_KFR_DIRECT), or, without a clang, through KFR's C
// interface, libkfr_capi, which costs a little more per call. Only C
// declarations are compiled here, never KFR's C++ templates. QVNB_HAVE_KFR
// is defined when the build was given QVNGEN_KFR_DIR; without it kHaveKfr is
// false and nothing below it exists.
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

#ifdef QVNB_KFR_DIRECT
// KFR's C++ plans through kfr_direct.cpp (built with clang); plans are
// opaque pointers there.
#define QVNB_KFR_DIRECT_DECL(T, s)                                                                         \
    void* qvnb_kfr_dft_create_##s(int n);                                                                  \
    std::size_t qvnb_kfr_dft_temp_##s(void* p);                                                            \
    void qvnb_kfr_dft_forward_##s(void* p, T* out, const T* in, std::uint8_t* temp);                       \
    void qvnb_kfr_dft_inverse_##s(void* p, T* out, const T* in, std::uint8_t* temp);                       \
    void qvnb_kfr_dft_destroy_##s(void* p);                                                                \
    void* qvnb_kfr_real_create_##s(int n);                                                                 \
    std::size_t qvnb_kfr_real_temp_##s(void* p);                                                           \
    void qvnb_kfr_real_forward_##s(void* p, T* out, const T* in, std::uint8_t* temp);                      \
    void qvnb_kfr_real_inverse_##s(void* p, T* out, const T* in, std::uint8_t* temp);                      \
    void qvnb_kfr_real_destroy_##s(void* p);
extern "C" {
QVNB_KFR_DIRECT_DECL(float, f32)
QVNB_KFR_DIRECT_DECL(double, f64)
}
#undef QVNB_KFR_DIRECT_DECL

template <class Real>
struct Kfr;

// Distinct plan types for the complex and the real plans, so that the
// overloads below pick the right functions.
struct KfrComplexPlan;
struct KfrRealPlan_;

#define QVNB_KFR_API(Real, s)                                                                              \
    template <>                                                                                            \
    struct Kfr<Real> {                                                                                     \
        using Plan = KfrComplexPlan;                                                                       \
        using RealPlan = KfrRealPlan_;                                                                     \
        static constexpr const char* kRoute = "C++ plans (kfr_direct.cpp)";                                \
        static Plan* Dft(int n) { return static_cast<Plan*>(qvnb_kfr_dft_create_##s(n)); }                 \
        static std::size_t TempBytes(Plan* p) { return qvnb_kfr_dft_temp_##s(p); }                         \
        static void Forward(Plan* p, Real* out, const Real* in, std::uint8_t* temp) {                      \
            qvnb_kfr_dft_forward_##s(p, out, in, temp);                                                    \
        }                                                                                                  \
        static void Inverse(Plan* p, Real* out, const Real* in, std::uint8_t* temp) {                      \
            qvnb_kfr_dft_inverse_##s(p, out, in, temp);                                                    \
        }                                                                                                  \
        static void Destroy(Plan* p) { qvnb_kfr_dft_destroy_##s(p); }                                      \
        static RealPlan* RealDft(int n) { return static_cast<RealPlan*>(qvnb_kfr_real_create_##s(n)); }    \
        static std::size_t TempBytes(RealPlan* p) { return qvnb_kfr_real_temp_##s(p); }                    \
        static void Forward(RealPlan* p, Real* out, const Real* in, std::uint8_t* temp) {                  \
            qvnb_kfr_real_forward_##s(p, out, in, temp);                                                   \
        }                                                                                                  \
        static void Inverse(RealPlan* p, Real* out, const Real* in, std::uint8_t* temp) {                  \
            qvnb_kfr_real_inverse_##s(p, out, in, temp);                                                   \
        }                                                                                                  \
        static void Destroy(RealPlan* p) { qvnb_kfr_real_destroy_##s(p); }                                 \
    };
QVNB_KFR_API(float, f32)
QVNB_KFR_API(double, f64)
#undef QVNB_KFR_API
#else
// S names KFR's C interface's plan types, s its functions. The plan calls
// take and return interleaved complex arrays as Real*.
#define QVNB_KFR_API(Real, S, s)                                                                           \
    template <>                                                                                            \
    struct Kfr<Real> {                                                                                     \
        using Plan = KFR_DFT_PLAN_##S;                                                                     \
        using RealPlan = KFR_DFT_REAL_PLAN_##S;                                                            \
        static constexpr const char* kRoute = "C interface (libkfr_capi)";                                 \
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
template <class Real>
struct Kfr;
QVNB_KFR_API(float, F32, f32)
QVNB_KFR_API(double, F64, f64)
#undef QVNB_KFR_API
#endif

// Arrays aligned to a cache line, like FFTW's and qvnMalloc's.
inline void* KfrAlloc(std::size_t bytes) { return kfr_allocate_aligned(bytes, 64); }
inline void KfrFree(void* p) { kfr_deallocate(p); }
#else
constexpr bool kHaveKfr = false;
#endif

// KFR's version string (version, the instruction sets of a multi-arch
// build, compiler), the widest instruction set KFR detects on this
// processor and the route of the timed calls, e.g. "KFR 7.0.1 optimized
// 64-bit (clang-19.1.7/linux) +in +ve; processor: avx512; timed through
// C++ plans (kfr_direct.cpp)"; printed once per run. Empty without KFR.
std::string KfrDescription();

}  // namespace qvnbench
