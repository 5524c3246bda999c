// Complex DFT family: qvngDFT{Fwd,Inv}_CToC_<N>_{32fc,64fc} against FFTW's
// one-dimensional complex plans of the same length and sign and, when the
// build was given KFR (QVNGEN_KFR_DIR), against KFR's complex DFT plans in a
// second table. All three compute the unnormalised transform both ways: our
// inverse with kScaleNone, FFTW_BACKWARD and KFR's execute_inverse are each
// sum_j x[j] e^(+2 pi i jk/N), which the error columns check against the same
// exact values.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>

#include "bench.h"
#include "fftw_api.h"
#include "kfr_api.h"
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

// The references, each owning its arrays and plan: In() takes the input,
// Execute() writes Out(). Both work out of place on aligned arrays. `fill`
// puts the timing input into an array (planning may overwrite it).
template <class Real>
class FftwDft {
    using F = Fftw<Real>;

public:
    FftwDft(int n, bool inverse, const Options& opt, const std::function<void(Real*)>& fill)
        : in_(F::AllocCpx(n)), out_(F::AllocCpx(n)) {
        if (!in_ || !out_) throw std::bad_alloc();
        plan_ = FastestPlan<F>(
            opt.refPlans, [&] { return F::Dft(n, in_, out_, inverse ? FFTW_BACKWARD : FFTW_FORWARD); },
            [&] { fill(In()); });
    }
    ~FftwDft() {
        if (plan_) F::Destroy(plan_);
        F::Free(in_);
        F::Free(out_);
    }
    FftwDft(const FftwDft&) = delete;
    FftwDft& operator=(const FftwDft&) = delete;

    Real* In() { return reinterpret_cast<Real*>(in_); }
    const Real* Out() const { return reinterpret_cast<const Real*>(out_); }
    void Execute() { F::Execute(plan_); }

private:
    typename F::Cpx* in_;
    typename F::Cpx* out_;
    typename F::Plan plan_ = nullptr;
};

#ifdef QVNB_HAVE_KFR
// KFR's plan is made once; its scratch buffer is allocated here too, so a
// timed call neither plans nor allocates. KFR has no planner choices to
// time, so --fftw-plans does not apply.
template <class Real>
class KfrDft {
    using K = Kfr<Real>;

public:
    KfrDft(int n, bool inverse, const Options&, const std::function<void(Real*)>&)
        : inverse_(inverse), plan_(K::Dft(n)) {
        if (!plan_) throw std::runtime_error("KFR could not plan a complex DFT of length " + std::to_string(n));
        in_ = static_cast<Real*>(KfrAlloc(2 * n * sizeof(Real)));
        out_ = static_cast<Real*>(KfrAlloc(2 * n * sizeof(Real)));
        temp_ = static_cast<std::uint8_t*>(KfrAlloc(K::TempBytes(plan_) + 64));
        if (!in_ || !out_ || !temp_) throw std::bad_alloc();
    }
    ~KfrDft() {
        K::Destroy(plan_);
        KfrFree(in_);
        KfrFree(out_);
        KfrFree(temp_);
    }
    KfrDft(const KfrDft&) = delete;
    KfrDft& operator=(const KfrDft&) = delete;

    Real* In() { return in_; }
    const Real* Out() const { return out_; }
    void Execute() {
        if (inverse_) K::Inverse(plan_, out_, in_, temp_);
        else K::Forward(plan_, out_, in_, temp_);
    }

private:
    bool inverse_;
    typename K::Plan* plan_;
    Real* in_ = nullptr;
    Real* out_ = nullptr;
    std::uint8_t* temp_ = nullptr;
};
#endif

template <class Real, class Elem, template <class> class Ref>
class ComplexDftCase final : public Case {
public:
    ComplexDftCase(int len, bool inverse, const char* name, const Options& opt, std::uint64_t seed)
        : Case("dft-c", 8 * sizeof(Real), inverse ? "inv" : "fwd", len),
          entry_(name), name_(name), trials_(opt.errTrials > 0 ? opt.errTrials : 1) {
        const int bytes = static_cast<int>(n * sizeof(Elem));
        src_ = static_cast<Elem*>(qvnMalloc(bytes));
        dst_ = static_cast<Elem*>(qvnMalloc(bytes));
        if (!src_ || !dst_) throw std::bad_alloc();
        Random rng(seed);
        input_.resize(static_cast<size_t>(trials_) * 2 * n);
        for (Real& v : input_) v = static_cast<Real>(rng.Next());
        want_.resize(input_.size());
        for (int t = 0; t < trials_; ++t)
            ReferenceDft(&input_[2 * n * t], n, inverse ? +1 : -1, &want_[2 * n * t]);
        ref_ = std::make_unique<Ref<Real>>(
            n, inverse, opt, [&](Real* in) { std::memcpy(in, input_.data(), n * sizeof(Elem)); });
        Load(0);
    }

    ~ComplexDftCase() override {
        ref_.reset();
        qvnFree(src_);
        qvnFree(dst_);
    }

    // Both implementations keep the first trial's input in their source
    // arrays between batches (neither writes to its source). The calls go
    // through pointers into shared libraries, so the compiler cannot drop
    // or merge them; Consume keeps the output live as well.
    void RunOurs(long calls) override {
        for (long i = 0; i < calls; ++i) entry_(src_, dst_, kScaleNone);
        Consume(dst_[n - 1].im);
    }

    void RunRef(long calls) override {
        Ref<Real>& ref = *ref_;
        for (long i = 0; i < calls; ++i) ref.Execute();
        Consume(ref.Out()[2 * n - 1]);
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
            trials_, [&](int t) { Load(t); }, [&] { ref_->Execute(); return true; },
            [&](int t, ErrorAccumulator& acc) { Compare(ref_->Out(), t, acc); });
    }

private:
    void Load(int t) {
        const Real* x = &input_[2 * n * t];
        std::memcpy(src_, x, n * sizeof(Elem));
        std::memcpy(ref_->In(), x, n * sizeof(Elem));
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
    std::unique_ptr<Ref<Real>> ref_;
    std::vector<Real> input_;
    std::vector<long double> want_;
};

template <template <class> class Ref, class Real, class Elem, size_t K>
void AddCases(const EntryPair<Elem> (&table)[K], const Options& opt, CaseList& out) {
    const int prec = 8 * sizeof(Real);
    for (const char* dir : {"fwd", "inv"}) {
        const bool inverse = dir[0] == 'i';
        for (const EntryPair<Elem>& e : table) {
            if (!opt.Wants(e.n, prec, dir)) continue;
            // The seed depends only on the length, so both directions, both
            // precisions and every reference see the same input values.
            out.push_back(std::make_unique<ComplexDftCase<Real, Elem, Ref>>(
                e.n, inverse, inverse ? e.invName : e.fwdName, opt,
                0x51ed27u + static_cast<std::uint64_t>(e.n)));
        }
    }
}

}  // namespace

void MakeComplexDftCases(const Options& opt, CaseList& out) {
    AddCases<FftwDft, float>(kEntries32, opt, out);
    AddCases<FftwDft, double>(kEntries64, opt, out);
}

void MakeComplexDftKfrCases(const Options& opt, CaseList& out) {
#ifdef QVNB_HAVE_KFR
    std::fprintf(stderr, "KFR reference: %s\n", KfrDescription().c_str());
    AddCases<KfrDft, float>(kEntries32, opt, out);
    AddCases<KfrDft, double>(kEntries64, opt, out);
#else
    (void)opt;
    (void)out;
#endif
}

}  // namespace qvnbench
