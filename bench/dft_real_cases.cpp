// Real DFT families, N = 2..64, unscaled (kScaleNone):
//   rfwd  qvngDFTFwd_RToCCS_<N>_{32f,64f} against FFTW's r2c plan;
//   rinv  qvngDFTInv_CCSToR_<N>_{32f,64f} against FFTW's c2r plan;
// and, when the build has KFR (QVNGEN_KFR_DIR), each against KFR's real DFT
// plans in CCs format (N/2 + 1 bins, the same layout) in a table of its own,
// for the even lengths (KFR's real plans take no others). KFR's inverse is
// unscaled too and leaves its input alone.
//
// A CCS spectrum, N/2 + 1 pairs (Re k, Im k), has exactly the shape of the
// half-complex array of FFTW's r2c and c2r transforms, so both sides read and
// write arrays of the same shape and are compared element for element. The
// forward error runs over every component of bins 0..N/2 (the imaginary
// parts of bin 0 and, for even N, bin N/2 are exact zeros in the reference).
//
// FFTW's c2r plans overwrite their input unless made with
// FFTW_PRESERVE_INPUT, which may force a slower algorithm; a caller who
// needs the spectrum afterwards (ours leaves it alone) would instead copy it
// before every call of a destroying plan. Each inverse case makes both and
// keeps whichever runs faster, the copy counted in the time; the table and
// the csv name the one kept.
#include <cstdio>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench.h"
#include "fftw_api.h"
#include "kfr_api.h"
#include "qvncore.h"
#include "libraries.h"
#include "qvngen.h"

namespace qvnbench {
namespace {

template <class Real>
using Entry = Status(QVN_API*)(const Real*, Real*, ScaleFlag);

// The entries are looked up by name in every library the run times.
template <class Real>
struct EntryPair {
    int n;
    const char *fwdName, *invName;
};

#define QVNB_PAIR(N, P) {N, "qvngDFTFwd_RToCCS_" #N "_" #P, "qvngDFTInv_CCSToR_" #N "_" #P},
#define QVNB_PAIR32(N) QVNB_PAIR(N, 32f)
#define QVNB_PAIR64(N) QVNB_PAIR(N, 64f)
const EntryPair<float> kEntries32[] = {QVNG_FOR_EACH_LENGTH(QVNB_PAIR32)};
const EntryPair<double> kEntries64[] = {QVNG_FOR_EACH_LENGTH(QVNB_PAIR64)};
#undef QVNB_PAIR32
#undef QVNB_PAIR64
#undef QVNB_PAIR

// Bins 0..N/2 of the forward DFT (negative exponent) of N real samples, in
// long double, stored as CCS: Re k at 2k, Im k at 2k+1.
template <class Real>
void ExactRealDft(const ExactTwiddles& w, const Real* x, int n, long double* y) {
    for (int k = 0; k <= n / 2; ++k) {
        long double re = 0, im = 0;
        for (int j = 0; j < n; ++j) {
            const int m = w.Index(k, j);
            re += x[j] * w.Cos(m);
            im -= x[j] * w.Sin(m);
        }
        y[2 * k] = re;
        y[2 * k + 1] = im;
    }
}

// N real samples of the unscaled inverse DFT of the conjugate-symmetric
// spectrum whose bins 0..N/2 the CCS array X holds; the imaginary parts of
// bin 0 and, for even N, bin N/2 are not read:
//   y[j] = Re 0 + 2 sum_{k=1}^{ceil(N/2)-1} (Re k cos - Im k sin)(2 pi k j / N)
//          [+ (-1)^j Re N/2 for even N].
template <class Real>
void ExactRealInverse(const ExactTwiddles& w, const Real* X, int n, long double* y) {
    for (int j = 0; j < n; ++j) {
        long double pairs = 0;
        for (int k = 1; k <= (n - 1) / 2; ++k) {
            const int m = w.Index(k, j);
            pairs += X[2 * k] * w.Cos(m) - X[2 * k + 1] * w.Sin(m);
        }
        long double sum = X[0] + 2 * pairs;
        if (n % 2 == 0) sum += (j % 2 ? -1.0L : 1.0L) * X[n];
        y[j] = sum;
    }
}

// Arrays and input values common to both directions: our source and
// destination (aligned, from qvnMalloc), FFTW's input and output (from
// fftw_malloc), and `trials` random inputs with their exact transforms.
template <class Real>
class RealDftCaseBase : public Case {
protected:
    using F = Fftw<Real>;

    RealDftCaseBase(const char* fam, const char* dir, int len, const char* name, const Options& opt)
        : Case(fam, 8 * sizeof(Real), dir, len), entry_(name), name_(name),
          trials_(opt.errTrials > 0 ? opt.errTrials : 1), bins_(len / 2 + 1) {}

    ~RealDftCaseBase() override {
        qvnFree(src_);
        qvnFree(dst_);
    }

    // Our entry over the trials, compared through `compare(t, acc)`; NaN if
    // the entry returns an error status.
    template <class Load, class CompareFn>
    double OursOverTrials(Load load, CompareFn compare) {
        return ErrorOverTrials(
            trials_, load,
            [&] {
                const Status st = entry_(src_, dst_, kScaleNone);
                if (st != kStatusOk)
                    std::fprintf(stderr, "%s returned status %d\n", name_, static_cast<int>(st));
                return st == kStatusOk;
            },
            compare);
    }

    // The inverse's inputs: random bins, except the imaginary parts of bin 0
    // and of the Nyquist bin, which no side reads and which are zero; and
    // their exact inverse transforms.
    void MakeSpectra(std::uint64_t seed) {
        const size_t spectrum = 2 * static_cast<size_t>(bins_);
        Random rng(seed);
        input_.resize(static_cast<size_t>(trials_) * spectrum);
        for (Real& v : input_) v = static_cast<Real>(rng.Next());
        want_.resize(static_cast<size_t>(trials_) * n);
        const ExactTwiddles w(n);
        for (int t = 0; t < trials_; ++t) {
            Real* X = &input_[spectrum * t];
            X[1] = 0;
            if (n % 2 == 0) X[n + 1] = 0;
            ExactRealInverse(w, X, n, &want_[static_cast<size_t>(n) * t]);
        }
    }

    static void Accumulate(const Real* got, const long double* want, int count,
                           ErrorAccumulator& acc) {
        for (int i = 0; i < count; ++i) acc.Add(got[i], want[i]);
    }

    PerLibrary<Entry<Real>> entry_;
    const char* name_;
    int trials_;
    int bins_;  // N/2 + 1
    Real* src_ = nullptr;
    Real* dst_ = nullptr;
    std::vector<Real> input_;
    std::vector<long double> want_;
};

// The forward references: In() takes N real samples, Execute() writes the
// N/2 + 1 bins to Out() as (re, im) pairs; both out of place. `fill` puts
// the timing input in place (planning may overwrite it).
template <class Real>
class FftwR2c {
    using F = Fftw<Real>;

public:
    FftwR2c(int n, const Options& opt, const std::function<void(Real*)>& fill)
        : in_(F::AllocReal(n)), out_(F::AllocCpx(n / 2 + 1)) {
        if (!in_ || !out_) throw std::bad_alloc();
        plan_ = FastestPlan<F>(
            opt.refPlans, [&] { return F::R2c(n, in_, out_); }, [&] { fill(in_); },
            [](typename F::Plan p) { F::Execute(p); });
        if (!plan_) throw std::runtime_error("FFTW could not plan an r2c transform");
    }
    ~FftwR2c() {
        F::Destroy(plan_);
        F::Free(in_);
        F::Free(out_);
    }
    FftwR2c(const FftwR2c&) = delete;
    FftwR2c& operator=(const FftwR2c&) = delete;

    Real* In() { return in_; }
    const Real* Out() const { return reinterpret_cast<const Real*>(out_); }
    void Execute() { F::Execute(plan_); }

private:
    Real* in_;
    typename F::Cpx* out_;
    typename F::Plan plan_ = nullptr;
};

#ifdef QVNB_HAVE_KFR
// KFR's real plan in CCs format, with its scratch buffer allocated here.
template <class Real>
class KfrRealPlan {
    using K = Kfr<Real>;

public:
    KfrRealPlan(int n, int inElems, int outElems) : plan_(K::RealDft(n)) {
        if (!plan_) throw std::runtime_error("KFR could not plan a real DFT of length " + std::to_string(n));
        in_ = static_cast<Real*>(KfrAlloc(inElems * sizeof(Real)));
        out_ = static_cast<Real*>(KfrAlloc(outElems * sizeof(Real)));
        temp_ = static_cast<std::uint8_t*>(KfrAlloc(K::TempBytes(plan_) + 64));
        if (!in_ || !out_ || !temp_) throw std::bad_alloc();
    }
    ~KfrRealPlan() {
        K::Destroy(plan_);
        KfrFree(in_);
        KfrFree(out_);
        KfrFree(temp_);
    }
    KfrRealPlan(const KfrRealPlan&) = delete;
    KfrRealPlan& operator=(const KfrRealPlan&) = delete;

    Real* In() { return in_; }
    const Real* Out() const { return out_; }
    void Forward() { K::Forward(plan_, out_, in_, temp_); }
    void Inverse() { K::Inverse(plan_, out_, in_, temp_); }

private:
    typename K::RealPlan* plan_;
    Real* in_ = nullptr;
    Real* out_ = nullptr;
    std::uint8_t* temp_ = nullptr;
};

template <class Real>
class KfrR2c {
public:
    KfrR2c(int n, const Options&, const std::function<void(Real*)>&) : plan_(n, n, 2 * (n / 2 + 1)) {}
    Real* In() { return plan_.In(); }
    const Real* Out() const { return plan_.Out(); }
    void Execute() { plan_.Forward(); }

private:
    KfrRealPlan<Real> plan_;
};
#endif

template <class Real, template <class> class Ref>
class RealFwdCase final : public RealDftCaseBase<Real> {
    using Base = RealDftCaseBase<Real>;
    using Base::n, Base::trials_, Base::bins_, Base::src_, Base::dst_, Base::input_, Base::want_;

public:
    RealFwdCase(const EntryPair<Real>& e, const Options& opt, std::uint64_t seed)
        : Base("rfwd", "fwd", e.n, e.fwdName, opt) {
        src_ = static_cast<Real*>(qvnMalloc(static_cast<int>(n * sizeof(Real))));
        dst_ = static_cast<Real*>(qvnMalloc(static_cast<int>(2 * bins_ * sizeof(Real))));
        if (!src_ || !dst_) throw std::bad_alloc();

        Random rng(seed);
        input_.resize(static_cast<size_t>(trials_) * n);
        for (Real& v : input_) v = static_cast<Real>(rng.Next());
        want_.resize(static_cast<size_t>(trials_) * 2 * bins_);
        const ExactTwiddles w(n);
        for (int t = 0; t < trials_; ++t)
            ExactRealDft(w, &input_[static_cast<size_t>(n) * t], n, &want_[2 * bins_ * t]);

        ref_ = std::make_unique<Ref<Real>>(
            n, opt, [&](Real* in) { std::memcpy(in, input_.data(), n * sizeof(Real)); });
        Load(0);
    }

    // Both work out of place and leave their source alone (an r2c plan
    // preserves its input), so every call of a batch transforms the first
    // trial's input.
    void RunOurs(long calls) override {
        for (long i = 0; i < calls; ++i) this->entry_(src_, dst_, kScaleNone);
        Consume(dst_[2 * bins_ - 2]);
    }

    void RunRef(long calls) override {
        Ref<Real>& ref = *ref_;
        for (long i = 0; i < calls; ++i) ref.Execute();
        Consume(ref.Out()[2 * bins_ - 2]);
    }

    double ErrOurs() override {
        return this->OursOverTrials([&](int t) { Load(t); },
                                    [&](int t, ErrorAccumulator& acc) { Compare(dst_, t, acc); });
    }

    double ErrRef() override {
        return ErrorOverTrials(
            trials_, [&](int t) { Load(t); }, [&] { ref_->Execute(); return true; },
            [&](int t, ErrorAccumulator& acc) { Compare(ref_->Out(), t, acc); });
    }

private:
    void Load(int t) {
        const Real* x = &input_[static_cast<size_t>(n) * t];
        std::memcpy(src_, x, n * sizeof(Real));
        std::memcpy(ref_->In(), x, n * sizeof(Real));
    }

    void Compare(const Real* got, int t, ErrorAccumulator& acc) const {
        Base::Accumulate(got, &want_[static_cast<size_t>(2 * bins_) * t], 2 * bins_, acc);
    }

    std::unique_ptr<Ref<Real>> ref_;
};

template <class Real>
class RealInvCase final : public RealDftCaseBase<Real> {
    using Base = RealDftCaseBase<Real>;
    using F = typename Base::F;
    using Plan = typename F::Plan;
    using Base::n, Base::trials_, Base::bins_, Base::src_, Base::dst_, Base::input_, Base::want_;

public:
    RealInvCase(const EntryPair<Real>& e, const Options& opt, std::uint64_t seed)
        : Base("rinv", "inv", e.n, e.invName, opt) {
        const size_t spectrum = 2 * static_cast<size_t>(bins_);  // Real elements of a CCS array
        src_ = static_cast<Real*>(qvnMalloc(static_cast<int>(spectrum * sizeof(Real))));
        dst_ = static_cast<Real*>(qvnMalloc(static_cast<int>(n * sizeof(Real))));
        in_ = F::AllocCpx(bins_);
        kept_ = F::AllocCpx(bins_);
        out_ = F::AllocReal(n);
        if (!src_ || !dst_ || !in_ || !kept_ || !out_) throw std::bad_alloc();

        this->MakeSpectra(seed);

        const auto reload = [&] { Load(0); };
        const auto execute = [](Plan p) { F::Execute(p); };
        const auto copyThenExecute = [this](Plan p) { RestoreInput(); F::Execute(p); };
        Plan preserving = FastestPlan<F>(
            opt.refPlans, [&] { return F::C2r(n, in_, out_, FFTW_PRESERVE_INPUT); }, reload,
            execute);
        Plan destroying = FastestPlan<F>(
            opt.refPlans, [&] { return F::C2r(n, in_, out_, FFTW_DESTROY_INPUT); }, reload,
            copyThenExecute);
        if (!preserving && !destroying) throw std::runtime_error("FFTW could not plan a c2r transform");

        // Keep the faster of the two, each timed as RunRef would run it. A
        // destroying plan leaves garbage in its input, so the input is put
        // back before each measurement.
        double nsPreserving = std::numeric_limits<double>::infinity();
        double nsDestroying = std::numeric_limits<double>::infinity();
        if (preserving) {
            Load(0);
            nsPreserving = QuickNsPerCall([&](long calls) {
                for (long i = 0; i < calls; ++i) execute(preserving);
            });
        }
        if (destroying) {
            Load(0);
            nsDestroying = QuickNsPerCall([&](long calls) {
                for (long i = 0; i < calls; ++i) copyThenExecute(destroying);
            });
        }
        copyInput_ = nsDestroying < nsPreserving;
        plan_ = copyInput_ ? destroying : preserving;
        if (Plan other = copyInput_ ? preserving : destroying) F::Destroy(other);
        Load(0);
    }

    ~RealInvCase() override {
        if (plan_) F::Destroy(plan_);
        F::Free(in_);
        F::Free(kept_);
        F::Free(out_);
    }

    // Ours leaves its source alone; the reference either does too or gets
    // its input back from `kept_` before every call, as a caller keeping the
    // spectrum would have to do.
    void RunOurs(long calls) override {
        for (long i = 0; i < calls; ++i) this->entry_(src_, dst_, kScaleNone);
        Consume(dst_[n - 1]);
    }

    void RunRef(long calls) override {
        if (copyInput_) {
            for (long i = 0; i < calls; ++i) {
                RestoreInput();
                F::Execute(plan_);
            }
        } else {
            for (long i = 0; i < calls; ++i) F::Execute(plan_);
        }
        Consume(out_[n - 1]);
    }

    double ErrOurs() override {
        return this->OursOverTrials([&](int t) { Load(t); },
                                    [&](int t, ErrorAccumulator& acc) { Compare(dst_, t, acc); });
    }

    double ErrRef() override {
        return ErrorOverTrials(
            trials_, [&](int t) { Load(t); }, [&] { RunRef(1); return true; },
            [&](int t, ErrorAccumulator& acc) { Compare(out_, t, acc); });
    }

    std::string RefForm() const override {
        return copyInput_ ? "destroy+copy" : "preserve";
    }

private:
    void Load(int t) {
        const Real* X = &input_[static_cast<size_t>(2 * bins_) * t];
        const size_t bytes = 2 * static_cast<size_t>(bins_) * sizeof(Real);
        std::memcpy(src_, X, bytes);
        std::memcpy(kept_, X, bytes);
        std::memcpy(in_, X, bytes);
    }

    void RestoreInput() { std::memcpy(in_, kept_, 2 * static_cast<size_t>(bins_) * sizeof(Real)); }

    void Compare(const Real* got, int t, ErrorAccumulator& acc) const {
        Base::Accumulate(got, &want_[static_cast<size_t>(n) * t], n, acc);
    }

    typename F::Cpx* in_ = nullptr;
    typename F::Cpx* kept_ = nullptr;  // the spectrum a destroying plan gets back
    Real* out_ = nullptr;
    Plan plan_ = nullptr;
    bool copyInput_ = false;
};

#ifdef QVNB_HAVE_KFR
// KFR's inverse reads its spectrum without changing it, so unlike FFTW's
// c2r plans it needs no copy of the input.
template <class Real>
class KfrRealInvCase final : public RealDftCaseBase<Real> {
    using Base = RealDftCaseBase<Real>;
    using Base::n, Base::trials_, Base::bins_, Base::src_, Base::dst_, Base::input_, Base::want_;

public:
    KfrRealInvCase(const EntryPair<Real>& e, const Options& opt, std::uint64_t seed)
        : Base("rinv", "inv", e.n, e.invName, opt), kfr_(e.n, 2 * (e.n / 2 + 1), e.n) {
        src_ = static_cast<Real*>(qvnMalloc(static_cast<int>(2 * bins_ * sizeof(Real))));
        dst_ = static_cast<Real*>(qvnMalloc(static_cast<int>(n * sizeof(Real))));
        if (!src_ || !dst_) throw std::bad_alloc();
        this->MakeSpectra(seed);
        Load(0);
    }

    void RunOurs(long calls) override {
        for (long i = 0; i < calls; ++i) this->entry_(src_, dst_, kScaleNone);
        Consume(dst_[n - 1]);
    }

    void RunRef(long calls) override {
        for (long i = 0; i < calls; ++i) kfr_.Inverse();
        Consume(kfr_.Out()[n - 1]);
    }

    double ErrOurs() override {
        return this->OursOverTrials([&](int t) { Load(t); },
                                    [&](int t, ErrorAccumulator& acc) { Compare(dst_, t, acc); });
    }

    double ErrRef() override {
        return ErrorOverTrials(
            trials_, [&](int t) { Load(t); }, [&] { kfr_.Inverse(); return true; },
            [&](int t, ErrorAccumulator& acc) { Compare(kfr_.Out(), t, acc); });
    }

private:
    void Load(int t) {
        const Real* X = &input_[static_cast<size_t>(2 * bins_) * t];
        std::memcpy(src_, X, 2 * bins_ * sizeof(Real));
        std::memcpy(kfr_.In(), X, 2 * bins_ * sizeof(Real));
    }

    void Compare(const Real* got, int t, ErrorAccumulator& acc) const {
        Base::Accumulate(got, &want_[static_cast<size_t>(n) * t], n, acc);
    }

    KfrRealPlan<Real> kfr_;
};

template <class Real>
using KfrRealFwdCase = RealFwdCase<Real, KfrR2c>;
#endif

template <class Real>
using FftwRealFwdCase = RealFwdCase<Real, FftwR2c>;

template <template <class> class CaseT, class Real, size_t K>
void AddCases(const EntryPair<Real> (&table)[K], const char* dir, std::uint64_t seedBase,
              const Options& opt, CaseList& out, bool evenOnly = false) {
    for (const EntryPair<Real>& e : table) {
        if (!opt.Wants(e.n, 8 * sizeof(Real), dir) || (evenOnly && e.n % 2 != 0)) continue;
        // The seed depends only on the length, so both precisions see the
        // same input values.
        out.push_back(std::make_unique<CaseT<Real>>(e, opt, seedBase + static_cast<std::uint64_t>(e.n)));
    }
}

}  // namespace

void MakeRealFwdCases(const Options& opt, CaseList& out) {
    AddCases<FftwRealFwdCase>(kEntries32, "fwd", 0x7e1f0u, opt, out);
    AddCases<FftwRealFwdCase>(kEntries64, "fwd", 0x7e1f0u, opt, out);
}

void MakeRealInvCases(const Options& opt, CaseList& out) {
    AddCases<RealInvCase>(kEntries32, "inv", 0x7e1b0u, opt, out);
    AddCases<RealInvCase>(kEntries64, "inv", 0x7e1b0u, opt, out);
}

// The same inputs (same seeds) against KFR, even lengths only.
void MakeRealFwdKfrCases(const Options& opt, CaseList& out) {
#ifdef QVNB_HAVE_KFR
    AddCases<KfrRealFwdCase>(kEntries32, "fwd", 0x7e1f0u, opt, out, true);
    AddCases<KfrRealFwdCase>(kEntries64, "fwd", 0x7e1f0u, opt, out, true);
#else
    (void)opt;
    (void)out;
#endif
}

void MakeRealInvKfrCases(const Options& opt, CaseList& out) {
#ifdef QVNB_HAVE_KFR
    AddCases<KfrRealInvCase>(kEntries32, "inv", 0x7e1b0u, opt, out, true);
    AddCases<KfrRealInvCase>(kEntries64, "inv", 0x7e1b0u, opt, out, true);
#else
    (void)opt;
    (void)out;
#endif
}

}  // namespace qvnbench
