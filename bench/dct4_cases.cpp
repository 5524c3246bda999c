// Type-IV DCT family: qvngDCT4_{32f,64f} with a specification from
// qvngDCT4InitAlloc, for every power of two N = 2..8192, against FFTW's
// one-dimensional real-to-real plan of kind REDFT11.
//
// REDFT11 computes y[k] = 2 * sum_n x[n] cos(pi/N (n + 1/2)(k + 1/2)), twice
// our transform. Its output is halved (exactly, a power of two) before it is
// compared, so both error figures are relative to the same exact values.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench.h"
#include "fftw_api.h"
#include "qvncore.h"
#include "libraries.h"
#include "qvngen.h"

namespace qvnbench {
namespace {

constexpr int kMaxOrder = 13;  // N = 2 .. 8192

// Our double and single precision DCT-IV entries behind one name, looked
// up in every library the run times.
template <class Real>
struct Api {
    using InitAllocFn = Status(QVN_API*)(DCT4Spec**, int32_t);
    using FreeFn = Status(QVN_API*)(DCT4Spec*);
    using TransformFn = Status(QVN_API*)(const Real*, Real*, DCT4Spec*);
    static constexpr const char* kEntryName = sizeof(Real) == 4 ? "qvngDCT4_32f" : "qvngDCT4_64f";
    PerLibrary<InitAllocFn> initAlloc{sizeof(Real) == 4 ? "qvngDCT4InitAlloc_32f" : "qvngDCT4InitAlloc_64f"};
    PerLibrary<FreeFn> free{sizeof(Real) == 4 ? "qvngDCT4Free_32f" : "qvngDCT4Free_64f"};
    PerLibrary<TransformFn> transform{kEntryName};
};

// O(N^2) type-IV DCT in long double:
//   y[k] = sum_n x[n] cos(pi (2n + 1)(2k + 1) / (4N)).
// The numerator (2n + 1)(2k + 1) is reduced modulo 8N (one full period) in
// integers, so every term comes from one table of cosl(pi m / (4N)),
// m = 0 .. 8N - 1, and no angle is ever larger than 2 pi.
class ExactDct4 {
public:
    explicit ExactDct4(int n) : n_(n), cos_(static_cast<size_t>(8) * n) {
        for (int m = 0; m < 8 * n; ++m) cos_[m] = cosl(Pi() * m / (4.0L * n));
    }

    template <class Real>
    void Apply(const Real* x, long double* y) const {
        const long period = 8L * n_;
        for (int k = 0; k < n_; ++k) {
            const long step = 2L * (2 * k + 1);  // the numerator grows by this per n
            long m = 2 * k + 1;                  // numerator for n = 0
            long double sum = 0;
            for (int j = 0; j < n_; ++j) {
                sum += static_cast<long double>(x[j]) * cos_[m];
                m += step;
                if (m >= period) m -= period;  // step < 4N < period: one subtraction does
            }
            y[k] = sum;
        }
    }

private:
    int n_;
    std::vector<long double> cos_;
};

// Error trials for length n. The exact transform costs N^2 multiply-adds per
// trial (67 million at N = 8192), so above N = 512 the count shrinks in
// proportion to N to keep a full run short; at large N one input vector has
// enough outputs for a stable RMS figure anyway.
int TrialsFor(int n, const Options& opt) {
    const int trials = opt.errTrials > 0 ? opt.errTrials : 1;
    if (n <= 512) return trials;
    return std::max(1, static_cast<int>(static_cast<long>(trials) * 512 / n));
}

template <class Real>
class Dct4Case final : public Case {
    using A = Api<Real>;
    using F = Fftw<Real>;

public:
    Dct4Case(int len, const Options& opt, std::uint64_t seed)
        : Case("dct4", 8 * sizeof(Real), "fwd", len), trials_(TrialsFor(len, opt)) {
        // A specification of every library, each built by its own InitAlloc.
        for (int k = 0; k < LibraryCount(); ++k) {
            DCT4Spec* spec = nullptr;
            const Status st = api_.initAlloc.Get(k)(&spec, n);
            if (st != kStatusOk || !spec)
                throw std::runtime_error(std::string(A::kEntryName) + ": InitAlloc failed for N = " +
                                         std::to_string(n) + ", status " +
                                         std::to_string(static_cast<int>(st)));
            spec_.Set(k, spec);
        }
        src_ = static_cast<Real*>(qvnMalloc(static_cast<int>(n * sizeof(Real))));
        dst_ = static_cast<Real*>(qvnMalloc(static_cast<int>(n * sizeof(Real))));
        in_ = F::AllocReal(n);
        out_ = F::AllocReal(n);
        if (!src_ || !dst_ || !in_ || !out_) throw std::bad_alloc();

        Random rng(seed);
        input_.resize(static_cast<size_t>(trials_) * n);
        for (Real& v : input_) v = static_cast<Real>(rng.Next());
        want_.resize(input_.size());
        const ExactDct4 exact(n);
        for (int t = 0; t < trials_; ++t)
            exact.Apply(&input_[static_cast<size_t>(n) * t], &want_[static_cast<size_t>(n) * t]);

        plan_ = FastestPlan<F>(opt.refPlans, [&] { return F::R2r(n, in_, out_, FFTW_REDFT11); }, [&] { Load(0); });
    }

    ~Dct4Case() override {
        if (plan_) F::Destroy(plan_);
        if (in_) F::Free(in_);
        if (out_) F::Free(out_);
        qvnFree(src_);
        qvnFree(dst_);
        for (int k = 0; k < LibraryCount(); ++k)
            if (spec_.Get(k)) api_.free.Get(k)(spec_.Get(k));
    }

    // Both work out of place on aligned arrays and leave their source alone,
    // so every call of a batch transforms the first trial's input.
    void RunOurs(long calls) override {
        for (long i = 0; i < calls; ++i) api_.transform(src_, dst_, spec_.Current());
        Consume(dst_[n - 1]);
    }

    void RunRef(long calls) override {
        for (long i = 0; i < calls; ++i) F::Execute(plan_);
        Consume(out_[n - 1]);
    }

    double ErrOurs() override {
        return ErrorOverTrials(
            trials_, [&](int t) { Load(t); },
            [&] {
                const Status st = api_.transform(src_, dst_, spec_.Current());
                if (st != kStatusOk)
                    std::fprintf(stderr, "%s (N = %d) returned status %d\n", A::kEntryName, n,
                                 static_cast<int>(st));
                return st == kStatusOk;
            },
            [&](int t, ErrorAccumulator& acc) { Compare(dst_, 1.0L, t, acc); });
    }

    double ErrRef() override {
        return ErrorOverTrials(
            trials_, [&](int t) { Load(t); }, [&] { F::Execute(plan_); return true; },
            [&](int t, ErrorAccumulator& acc) { Compare(out_, 0.5L, t, acc); });
    }

private:
    void Load(int t) {
        const Real* x = &input_[static_cast<size_t>(n) * t];
        std::memcpy(src_, x, n * sizeof(Real));
        std::memcpy(in_, x, n * sizeof(Real));
    }

    // `scale` brings the output to our normalisation: 1 for ours, 1/2 for
    // REDFT11.
    void Compare(const Real* got, long double scale, int t, ErrorAccumulator& acc) const {
        const long double* want = &want_[static_cast<size_t>(n) * t];
        for (int i = 0; i < n; ++i) acc.Add(scale * got[i], want[i]);
    }

    int trials_;
    A api_;
    PerLibrary<DCT4Spec*> spec_;
    Real* src_ = nullptr;
    Real* dst_ = nullptr;
    Real* in_ = nullptr;
    Real* out_ = nullptr;
    typename F::Plan plan_ = nullptr;
    std::vector<Real> input_;
    std::vector<long double> want_;
};

}  // namespace

void MakeDct4Cases(const Options& opt, CaseList& out) {
    for (int prec : {32, 64}) {
        for (int order = 1; order <= kMaxOrder; ++order) {
            const int n = 1 << order;
            if (!opt.Wants(n, prec, "fwd")) continue;
            // The seed depends only on the length, so both precisions see the
            // same input values.
            const std::uint64_t seed = 0xd4c7u + static_cast<std::uint64_t>(n);
            if (prec == 32) out.push_back(std::make_unique<Dct4Case<float>>(n, opt, seed));
            else out.push_back(std::make_unique<Dct4Case<double>>(n, opt, seed));
        }
    }
}

}  // namespace qvnbench
