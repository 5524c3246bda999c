// KFR's DFT plans called through its C++ interface, for the benchmark's KFR
// reference. This file is compiled with the clang that built KFR and linked
// with KFR's static DFT library into a shared library of its own
// (bench/CMakeLists.txt, QVNGEN_KFR_CXX), never with the compiler of the
// rest of the benchmark, so the KFR code timed is KFR's own clang build.
// It exists because KFR's C interface adds work to every call (an exception
// guard, clearing a thread-local error string, a virtual call), which at
// N = 16 is about a quarter of the call's time; a C++ caller of KFR pays
// none of it. Each function is one call into KFR.
#include <kfr/dft.hpp>

#include <cstddef>
#include <cstdint>
#include <new>

#define QVNB_KFR_DIRECT_API(T, s)                                                                          \
    extern "C" __attribute__((visibility("default"))) void* qvnb_kfr_dft_create_##s(int n) {               \
        try {                                                                                              \
            return new kfr::dft_plan<T>(static_cast<std::size_t>(n));                                      \
        } catch (...) {                                                                                    \
            return nullptr;                                                                                \
        }                                                                                                  \
    }                                                                                                      \
    extern "C" __attribute__((visibility("default"))) std::size_t qvnb_kfr_dft_temp_##s(void* p) {         \
        return static_cast<kfr::dft_plan<T>*>(p)->temp_size;                                               \
    }                                                                                                      \
    extern "C" __attribute__((visibility("default"))) void qvnb_kfr_dft_forward_##s(                       \
        void* p, T* out, const T* in, std::uint8_t* temp) {                                                \
        static_cast<kfr::dft_plan<T>*>(p)->execute(reinterpret_cast<kfr::complex<T>*>(out),                \
                                                   reinterpret_cast<const kfr::complex<T>*>(in), temp,     \
                                                   kfr::cfalse);                                           \
    }                                                                                                      \
    extern "C" __attribute__((visibility("default"))) void qvnb_kfr_dft_inverse_##s(                       \
        void* p, T* out, const T* in, std::uint8_t* temp) {                                                \
        static_cast<kfr::dft_plan<T>*>(p)->execute(reinterpret_cast<kfr::complex<T>*>(out),                \
                                                   reinterpret_cast<const kfr::complex<T>*>(in), temp,     \
                                                   kfr::ctrue);                                            \
    }                                                                                                      \
    extern "C" __attribute__((visibility("default"))) void qvnb_kfr_dft_destroy_##s(void* p) {             \
        delete static_cast<kfr::dft_plan<T>*>(p);                                                          \
    }                                                                                                      \
    /* Real plans in CCs format: N/2 + 1 bins. */                                                          \
    extern "C" __attribute__((visibility("default"))) void* qvnb_kfr_real_create_##s(int n) {              \
        try {                                                                                              \
            return new kfr::dft_plan_real<T>(static_cast<std::size_t>(n), kfr::dft_pack_format::CCs);      \
        } catch (...) {                                                                                    \
            return nullptr;                                                                                \
        }                                                                                                  \
    }                                                                                                      \
    extern "C" __attribute__((visibility("default"))) std::size_t qvnb_kfr_real_temp_##s(void* p) {        \
        return static_cast<kfr::dft_plan_real<T>*>(p)->temp_size;                                          \
    }                                                                                                      \
    extern "C" __attribute__((visibility("default"))) void qvnb_kfr_real_forward_##s(                      \
        void* p, T* out, const T* in, std::uint8_t* temp) {                                                \
        static_cast<kfr::dft_plan_real<T>*>(p)->execute(reinterpret_cast<kfr::complex<T>*>(out), in, temp, \
                                                        kfr::cdirect_t{});                                 \
    }                                                                                                      \
    extern "C" __attribute__((visibility("default"))) void qvnb_kfr_real_inverse_##s(                      \
        void* p, T* out, const T* in, std::uint8_t* temp) {                                                \
        static_cast<kfr::dft_plan_real<T>*>(p)->execute(out, reinterpret_cast<const kfr::complex<T>*>(in), \
                                                        temp, kfr::cinvert_t{});                           \
    }                                                                                                      \
    extern "C" __attribute__((visibility("default"))) void qvnb_kfr_real_destroy_##s(void* p) {            \
        delete static_cast<kfr::dft_plan_real<T>*>(p);                                                     \
    }

QVNB_KFR_DIRECT_API(float, f32)
QVNB_KFR_DIRECT_API(double, f64)
