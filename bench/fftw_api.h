// FFTW's double and single precision interfaces behind one name, for the
// benchmark's reference timings: Fftw<double> calls fftw_*, Fftw<float>
// fftwf_*. Every plan is made with FFTW_PATIENT (plus the caller's flags).
#pragma once

#include <fftw3.h>

#include <stdexcept>

#include "bench.h"

namespace qvnbench {

template <class Real>
struct Fftw;

#define QVNB_FFTW_API(Real, X)                                                                             \
    template <>                                                                                            \
    struct Fftw<Real> {                                                                                    \
        using Cpx = X##_complex;                                                                           \
        using Plan = X##_plan;                                                                             \
        static Real* AllocReal(int n) { return X##_alloc_real(n); }                                        \
        static Cpx* AllocCpx(int n) { return X##_alloc_complex(n); }                                       \
        static void Free(void* p) { X##_free(p); }                                                         \
        static Plan Dft(int n, Cpx* in, Cpx* out, int sign) {                                              \
            return X##_plan_dft_1d(n, in, out, sign, FFTW_PATIENT);                                        \
        }                                                                                                  \
        static Plan R2c(int n, Real* in, Cpx* out) { return X##_plan_dft_r2c_1d(n, in, out, FFTW_PATIENT); } \
        static Plan C2r(int n, Cpx* in, Real* out, unsigned flags) {                                       \
            return X##_plan_dft_c2r_1d(n, in, out, FFTW_PATIENT | flags);                                  \
        }                                                                                                  \
        static Plan R2r(int n, Real* in, Real* out, fftw_r2r_kind kind) {                                  \
            return X##_plan_r2r_1d(n, in, out, kind, FFTW_PATIENT);                                        \
        }                                                                                                  \
        static Plan R2r(int rank, const int* dims, Real* in, Real* out, const fftw_r2r_kind* kinds) {      \
            return X##_plan_r2r(rank, dims, in, out, kinds, FFTW_PATIENT);                                 \
        }                                                                                                  \
        static void Execute(Plan p) { X##_execute(p); }                                                    \
        static void Destroy(Plan p) { X##_destroy_plan(p); }                                               \
        static void ForgetWisdom() { X##_forget_wisdom(); }                                                \
    };
QVNB_FFTW_API(double, fftw)
QVNB_FFTW_API(float, fftwf)
#undef QVNB_FFTW_API

// FFTW's patient planner chooses between algorithms by timing them, so on a
// busy machine a single plan can be far from its best, and two runs can
// differ by a factor of two. Plans `tries` times afresh, without the wisdom
// of the previous try, and keeps the plan under which `call(plan)` runs
// fastest. Planning overwrites the arrays, so `reload` puts the input back
// before any timing. Null when FFTW could not make the plan at all.
template <class F, class Make, class Reload, class Call>
typename F::Plan FastestPlan(int tries, Make make, Reload reload, Call call) {
    typename F::Plan kept = nullptr;
    double best = 0;
    for (int p = 0; p < tries; ++p) {
        F::ForgetWisdom();
        typename F::Plan cand = make();
        reload();
        if (!cand) continue;
        const double t = tries == 1 ? 0 : QuickNsPerCall([&](long calls) {
            for (long i = 0; i < calls; ++i) call(cand);
        });
        if (!kept || t < best) {
            if (kept) F::Destroy(kept);
            kept = cand;
            best = t;
        } else {
            F::Destroy(cand);
        }
    }
    reload();
    return kept;
}

// The same with the plan simply executed; throws when FFTW cannot plan.
template <class F, class Make, class Reload>
typename F::Plan FastestPlan(int tries, Make make, Reload reload) {
    typename F::Plan plan = FastestPlan<F>(tries, make, reload, [](typename F::Plan p) { F::Execute(p); });
    if (!plan) throw std::runtime_error("FFTW could not plan a transform");
    return plan;
}

}  // namespace qvnbench
