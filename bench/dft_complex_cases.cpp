// Complex DFT family: qvngDFT{Fwd,Inv}_CToC_<N>_{32fc,64fc} against FFTW's
// one-dimensional complex plans of the same length and sign.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

#include "bench.h"
#include "fftw_api.h"
#include "libraries.h"
#include "qvncore.h"
#include "qvngen.h"

namespace qvnbench {
namespace {

template <class Elem>
using Entry = Status(QVN_API*)(const Elem*, Elem*, ScaleFlag);

// The entries are looked up by name in every library the run times.
template <class Elem>
struct EntryPair {
    int n;
    const char *fwdName, *invName;
};

#define QVNB_PAIR(N, P) {N, "qvngDFTFwd_CToC_" #N "_" #P, "qvngDFTInv_CToC_" #N "_" #P},
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
    ComplexDftCase(int len, bool inverse, const char* name, const Options& opt, std::uint64_t seed)
        : Case("dft-c", 8 * sizeof(Real), inverse ? "inv" : "fwd", len),
          entry_(name), name_(name), trials_(opt.errTrials > 0 ? opt.errTrials : 1) {
        const int bytes = static_cast<int>(n * sizeof(Elem));
        src_ = static_cast<Elem*>(qvnMalloc(bytes));
        dst_ = static_cast<Elem*>(qvnMalloc(bytes));
        in_ = F::AllocCpx(n);
        out_ = F::AllocCpx(n);
        if (!src_ || !dst_ || !in_ || !out_) throw std::bad_alloc();
        Random rng(seed);
        input_.resize(static_cast<size_t>(trials_) * 2 * n);
        for (Real& v : input_) v = static_cast<Real>(rng.Next());
        want_.resize(input_.size());
        for (int t = 0; t < trials_; ++t)
            ReferenceDft(&input_[2 * n * t], n, inverse ? +1 : -1, &want_[2 * n * t]);

        plan_ = FastestPlan<F>(
            opt.refPlans, [&] { return F::Dft(n, in_, out_, inverse ? FFTW_BACKWARD : FFTW_FORWARD); },
            [&] { Load(0); });
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

    PerLibrary<Entry<Elem>> entry_;
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
                e.n, inverse, inverse ? e.invName : e.fwdName, opt,
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
