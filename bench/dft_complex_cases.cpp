// Complex DFT family: qvngDFT{Fwd,Inv}_CToC_<N>_{32fc,64fc} against FFTW's
// one-dimensional complex plans of the same length and sign.
#include <fftw3.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

#include "bench.h"
#include "qvncore.h"
#include "qvngen.h"

namespace qvnbench {
namespace {

// The double and single precision FFTW interfaces behind one name.
template <class Real>
struct Fftw;

template <>
struct Fftw<double> {
    using Cpx = fftw_complex;
    using Plan = fftw_plan;
    static Cpx* Alloc(int n) { return fftw_alloc_complex(n); }
    static void Free(Cpx* p) { fftw_free(p); }
    static Plan Make(int n, Cpx* in, Cpx* out, int sign) {
        return fftw_plan_dft_1d(n, in, out, sign, FFTW_PATIENT);
    }
    static void Execute(Plan p) { fftw_execute(p); }
    static void Destroy(Plan p) { fftw_destroy_plan(p); }
    static void ForgetWisdom() { fftw_forget_wisdom(); }
};

template <>
struct Fftw<float> {
    using Cpx = fftwf_complex;
    using Plan = fftwf_plan;
    static Cpx* Alloc(int n) { return fftwf_alloc_complex(n); }
    static void Free(Cpx* p) { fftwf_free(p); }
    static Plan Make(int n, Cpx* in, Cpx* out, int sign) {
        return fftwf_plan_dft_1d(n, in, out, sign, FFTW_PATIENT);
    }
    static void Execute(Plan p) { fftwf_execute(p); }
    static void Destroy(Plan p) { fftwf_destroy_plan(p); }
    static void ForgetWisdom() { fftwf_forget_wisdom(); }
};

template <class Elem>
using Entry = Status(QVN_API*)(const Elem*, Elem*, ScaleFlag);

template <class Elem>
struct EntryPair {
    int n;
    Entry<Elem> fwd, inv;
    const char *fwdName, *invName;
};

#define QVNB_PAIR(N, P)                                                     \
    {N, qvngDFTFwd_CToC_##N##_##P, qvngDFTInv_CToC_##N##_##P,               \
     "qvngDFTFwd_CToC_" #N "_" #P, "qvngDFTInv_CToC_" #N "_" #P},
#define QVNB_PAIR32(N) QVNB_PAIR(N, 32fc)
#define QVNB_PAIR64(N) QVNB_PAIR(N, 64fc)
const EntryPair<Complex32f> kEntries32[] = {QVNG_FOR_EACH_LENGTH(QVNB_PAIR32)};
const EntryPair<Complex64f> kEntries64[] = {QVNG_FOR_EACH_LENGTH(QVNB_PAIR64)};
#undef QVNB_PAIR32
#undef QVNB_PAIR64
#undef QVNB_PAIR

// O(N^2) DFT of interleaved (re, im) input in long double. The twiddle index
// j*k is reduced modulo N exactly before the table look-up, so every angle
// stays below 2*pi and the table is as accurate as cosl/sinl.
template <class Real>
void ReferenceDft(const Real* x, int n, int sign, long double* y) {
    std::vector<long double> c(n), s(n);
    for (int m = 0; m < n; ++m) {
        long double angle = 2 * Pi() * m / n;
        c[m] = cosl(angle);
        s[m] = sign * sinl(angle);
    }
    for (int k = 0; k < n; ++k) {
        long double re = 0, im = 0;
        for (int j = 0; j < n; ++j) {
            int m = static_cast<int>((static_cast<long>(j) * k) % n);
            long double xr = x[2 * j], xi = x[2 * j + 1];
            re += xr * c[m] - xi * s[m];
            im += xr * s[m] + xi * c[m];
        }
        y[2 * k] = re;
        y[2 * k + 1] = im;
    }
}

template <class Real, class Elem>
class ComplexDftCase final : public Case {
    using F = Fftw<Real>;

public:
    ComplexDftCase(int len, bool inverse, Entry<Elem> entry, const char* name,
                   const Options& opt, std::uint64_t seed)
        : Case("dft-c", 8 * sizeof(Real), inverse ? "inv" : "fwd", len),
          entry_(entry), name_(name), trials_(opt.errTrials > 0 ? opt.errTrials : 1) {
        const int bytes = static_cast<int>(n * sizeof(Elem));
        src_ = static_cast<Elem*>(qvnMalloc(bytes));
        dst_ = static_cast<Elem*>(qvnMalloc(bytes));
        in_ = F::Alloc(n);
        out_ = F::Alloc(n);
        if (!src_ || !dst_ || !in_ || !out_) throw std::bad_alloc();
        Random rng(seed);
        input_.resize(static_cast<size_t>(trials_) * 2 * n);
        for (Real& v : input_) v = static_cast<Real>(rng.Next());
        want_.resize(input_.size());
        for (int t = 0; t < trials_; ++t)
            ReferenceDft(&input_[2 * n * t], n, inverse ? +1 : -1, &want_[2 * n * t]);

        // FFTW's patient planner chooses between algorithms by timing them,
        // so on a busy machine it can settle on a slow plan, and two runs can
        // differ by a factor of two. Planning afresh a few times (without the
        // wisdom of the previous try) and keeping the plan that runs fastest
        // makes the reference stable, and as strong as FFTW gets.
        double best = 0;
        for (int p = 0; p < opt.refPlans; ++p) {
            F::ForgetWisdom();
            typename F::Plan cand = F::Make(n, in_, out_, inverse ? FFTW_BACKWARD : FFTW_FORWARD);
            if (!cand) throw std::runtime_error("FFTW could not plan a transform");
            Load(0);  // planning overwrote the arrays
            double t = opt.refPlans == 1 ? 0 : QuickNsPerCall([cand](long calls) {
                for (long i = 0; i < calls; ++i) F::Execute(cand);
            });
            if (!plan_ || t < best) {
                if (plan_) F::Destroy(plan_);
                plan_ = cand;
                best = t;
            } else {
                F::Destroy(cand);
            }
        }
    }

    ~ComplexDftCase() override {
        F::Destroy(plan_);
        F::Free(in_);
        F::Free(out_);
        qvnFree(src_);
        qvnFree(dst_);
    }

    // Both implementations work out of place on aligned arrays that keep the
    // first trial's input between batches (neither writes to its source).
    // The calls go through pointers into shared libraries, so the compiler
    // cannot drop or merge them; Consume keeps the output live as well.
    void RunOurs(long calls) override {
        for (long i = 0; i < calls; ++i) entry_(src_, dst_, kScaleNone);
        Consume(dst_[n - 1].im);
    }

    void RunRef(long calls) override {
        for (long i = 0; i < calls; ++i) F::Execute(plan_);
        Consume(out_[n - 1][1]);
    }

    double ErrOurs() override {
        return ErrorOverTrials(
            trials_, [&](int t) { Load(t); },
            [&] {
                Status st = entry_(src_, dst_, kScaleNone);
                if (st != kStatusOk) std::fprintf(stderr, "%s returned status %d\n", name_, static_cast<int>(st));
                return st == kStatusOk;
            },
            [&](int t, ErrorAccumulator& acc) { Compare(reinterpret_cast<const Real*>(dst_), t, acc); });
    }

    double ErrRef() override {
        return ErrorOverTrials(
            trials_, [&](int t) { Load(t); }, [&] { F::Execute(plan_); return true; },
            [&](int t, ErrorAccumulator& acc) { Compare(reinterpret_cast<const Real*>(out_), t, acc); });
    }

private:
    void Load(int t) {
        const Real* x = &input_[2 * n * t];
        std::memcpy(src_, x, n * sizeof(Elem));
        std::memcpy(in_, x, n * sizeof(Elem));
    }

    void Compare(const Real* got, int t, ErrorAccumulator& acc) const {
        const long double* want = &want_[2 * n * t];
        for (int i = 0; i < 2 * n; ++i) acc.Add(got[i], want[i]);
    }

    Entry<Elem> entry_;
    const char* name_;
    int trials_;
    Elem* src_ = nullptr;
    Elem* dst_ = nullptr;
    typename F::Cpx* in_ = nullptr;
    typename F::Cpx* out_ = nullptr;
    typename F::Plan plan_ = nullptr;
    std::vector<Real> input_;
    std::vector<long double> want_;
};

template <class Real, class Elem, size_t K>
void AddCases(const EntryPair<Elem> (&table)[K], const Options& opt, CaseList& out) {
    const int prec = 8 * sizeof(Real);
    for (const char* dir : {"fwd", "inv"}) {
        const bool inverse = dir[0] == 'i';
        for (const EntryPair<Elem>& e : table) {
            if (!opt.Wants(e.n, prec, dir)) continue;
            // The seed depends only on the length, so both directions and
            // both precisions see the same input values.
            out.push_back(std::make_unique<ComplexDftCase<Real, Elem>>(
                e.n, inverse, inverse ? e.inv : e.fwd, inverse ? e.invName : e.fwdName, opt,
                0x51ed27u + static_cast<std::uint64_t>(e.n)));
        }
    }
}

}  // namespace

void MakeComplexDftCases(const Options& opt, CaseList& out) {
    AddCases<float>(kEntries32, opt, out);
    AddCases<double>(kEntries64, opt, out);
}

}  // namespace qvnbench
