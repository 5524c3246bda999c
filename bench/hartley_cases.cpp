// Hartley family: qvngHartley_<N>_{32f,64f}, N = 2..64, unscaled
// (kScaleNone), against FFTW's one-dimensional real-to-real plan of kind
// FFTW_DHT. Both compute H[k] = sum_n x[n] cas(2 pi k n / N) with
// cas = cos + sin and no scale factor, so the outputs are compared as they
// are. The transform has one direction; the cases are filed under "fwd".
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

#include "bench.h"
#include "fftw_api.h"
#include "qvncore.h"
#include "libraries.h"
#include "qvngen.h"

namespace qvnbench {
namespace {

template <class Real>
using Entry = Status(QVN_API*)(const Real*, Real*, ScaleFlag);

// The entries are looked up by name in every library the run times.
template <class Real>
struct NamedEntry {
    int n;
    const char* name;
};

#define QVNB_ENTRY32(N) {N, "qvngHartley_" #N "_32f"},
#define QVNB_ENTRY64(N) {N, "qvngHartley_" #N "_64f"},
const NamedEntry<float> kEntries32[] = {QVNG_FOR_EACH_LENGTH(QVNB_ENTRY32)};
const NamedEntry<double> kEntries64[] = {QVNG_FOR_EACH_LENGTH(QVNB_ENTRY64)};
#undef QVNB_ENTRY32
#undef QVNB_ENTRY64

// O(N^2) discrete Hartley transform in long double, the cosine and sine sums
// kept apart and added once at the end.
template <class Real>
void ExactHartley(const ExactTwiddles& w, const Real* x, int n, long double* y) {
    for (int k = 0; k < n; ++k) {
        long double c = 0, s = 0;
        for (int j = 0; j < n; ++j) {
            const int m = w.Index(k, j);
            c += x[j] * w.Cos(m);
            s += x[j] * w.Sin(m);
        }
        y[k] = c + s;
    }
}

template <class Real>
class HartleyCase final : public Case {
    using F = Fftw<Real>;

public:
    HartleyCase(const NamedEntry<Real>& e, const Options& opt, std::uint64_t seed)
        : Case("hartley", 8 * sizeof(Real), "fwd", e.n), entry_(e.name), name_(e.name),
          trials_(opt.errTrials > 0 ? opt.errTrials : 1) {
        src_ = static_cast<Real*>(qvnMalloc(static_cast<int>(n * sizeof(Real))));
        dst_ = static_cast<Real*>(qvnMalloc(static_cast<int>(n * sizeof(Real))));
        in_ = F::AllocReal(n);
        out_ = F::AllocReal(n);
        if (!src_ || !dst_ || !in_ || !out_) throw std::bad_alloc();

        Random rng(seed);
        input_.resize(static_cast<size_t>(trials_) * n);
        for (Real& v : input_) v = static_cast<Real>(rng.Next());
        want_.resize(input_.size());
        const ExactTwiddles w(n);
        for (int t = 0; t < trials_; ++t)
            ExactHartley(w, &input_[static_cast<size_t>(n) * t], n, &want_[static_cast<size_t>(n) * t]);

        plan_ = FastestPlan<F>(opt.refPlans, [&] { return F::R2r(n, in_, out_, FFTW_DHT); }, [&] { Load(0); });
    }

    ~HartleyCase() override {
        if (plan_) F::Destroy(plan_);
        if (in_) F::Free(in_);
        if (out_) F::Free(out_);
        qvnFree(src_);
        qvnFree(dst_);
    }

    // Both work out of place and leave their source alone, so every call of
    // a batch transforms the first trial's input.
    void RunOurs(long calls) override {
        for (long i = 0; i < calls; ++i) entry_(src_, dst_, kScaleNone);
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
                const Status st = entry_(src_, dst_, kScaleNone);
                if (st != kStatusOk)
                    std::fprintf(stderr, "%s returned status %d\n", name_, static_cast<int>(st));
                return st == kStatusOk;
            },
            [&](int t, ErrorAccumulator& acc) { Compare(dst_, t, acc); });
    }

    double ErrRef() override {
        return ErrorOverTrials(
            trials_, [&](int t) { Load(t); }, [&] { F::Execute(plan_); return true; },
            [&](int t, ErrorAccumulator& acc) { Compare(out_, t, acc); });
    }

private:
    void Load(int t) {
        const Real* x = &input_[static_cast<size_t>(n) * t];
        std::memcpy(src_, x, n * sizeof(Real));
        std::memcpy(in_, x, n * sizeof(Real));
    }

    void Compare(const Real* got, int t, ErrorAccumulator& acc) const {
        const long double* want = &want_[static_cast<size_t>(n) * t];
        for (int i = 0; i < n; ++i) acc.Add(got[i], want[i]);
    }

    PerLibrary<Entry<Real>> entry_;
    const char* name_;
    int trials_;
    Real* src_ = nullptr;
    Real* dst_ = nullptr;
    Real* in_ = nullptr;
    Real* out_ = nullptr;
    typename F::Plan plan_ = nullptr;
    std::vector<Real> input_;
    std::vector<long double> want_;
};

template <class Real, size_t K>
void AddCases(const NamedEntry<Real> (&table)[K], const Options& opt, CaseList& out) {
    for (const NamedEntry<Real>& e : table) {
        if (!opt.Wants(e.n, 8 * sizeof(Real), "fwd")) continue;
        // The seed depends only on the length, so both precisions see the
        // same input values.
        out.push_back(std::make_unique<HartleyCase<Real>>(e, opt, 0x4a27e1u + static_cast<std::uint64_t>(e.n)));
    }
}

}  // namespace

void MakeHartleyCases(const Options& opt, CaseList& out) {
    AddCases(kEntries32, opt, out);
    AddCases(kEntries64, opt, out);
}

}  // namespace qvnbench
