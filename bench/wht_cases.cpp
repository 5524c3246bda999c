// Walsh-Hadamard family: qvngWHT_<k>_{32f,64f}, k = 1..13, timed against
// three references. FFTW has no Walsh-Hadamard transform, but a rank-k
// real-to-real transform of size 2 in every dimension with kind R2HC is one:
// a size-2 R2HC is the butterfly (a + b, a - b), and applying it along every
// bit of the index is the transform in natural order. The second reference is
// the plain radix-2 loop of wht_loop.cpp, built at -O3. The third is FFHT
// (wht_ffht.cpp), when the build was given one (QVNGEN_FFHT_DIR): it computes
// the same unnormalised transform in natural order, in place, and its
// out-of-place call copies the source first. Each reference is its own
// registry entry (all answer to --family wht), so each gets its own table;
// the reference column of the table holds the reference of its title.
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <vector>

#include "bench.h"
#include "fftw_api.h"
#include "qvncore.h"
#include "libraries.h"
#include "qvngen.h"

namespace qvnbench {

// FFHT's out-of-place calls (wht_ffht.cpp); they do nothing without FFHT.
void WhtFfht(float* src, float* dst, int order);
void WhtFfht(double* src, double* dst, int order);

namespace {

#ifdef QVNB_HAVE_FFHT
constexpr bool kHaveFfht = true;
#else
constexpr bool kHaveFfht = false;
#endif

enum class Reference { kFftw, kLoop, kFfht };

template <class Real>
using Entry = Status(QVN_API*)(const Real*, Real*, ScaleFlag, uint8_t*);

// qvngWHT_<order>_32f or _64f, looked up in every library the run times.
template <class Real>
std::string EntryName(int order) {
    return "qvngWHT_" + std::to_string(order) + (sizeof(Real) == 4 ? "_32f" : "_64f");
}

template <class Real>
class WhtCase final : public Case {
    using F = Fftw<Real>;

public:
    WhtCase(int order, Reference ref, const Options& opt)
        : Case("wht", 8 * sizeof(Real), "fwd", 1 << order), order_(order), ref_(ref),
          trials_(opt.errTrials > 0 ? opt.errTrials : 1), entry_(EntryName<Real>(order).c_str()) {
        int32_t bufferBytes = 0;
        if ((sizeof(Real) == 4 ? qvngWHTGetBufferSize_32f : qvngWHTGetBufferSize_64f)(order, &bufferBytes) != kStatusOk)
            throw std::runtime_error("qvngWHTGetBufferSize failed");
        src_ = static_cast<Real*>(qvnMalloc(n * sizeof(Real)));
        dst_ = static_cast<Real*>(qvnMalloc(n * sizeof(Real)));
        buffer_ = static_cast<uint8_t*>(qvnMalloc(bufferBytes));  // null for orders 1..7
        in_ = static_cast<Real*>(qvnMalloc(n * sizeof(Real)));
        out_ = static_cast<Real*>(qvnMalloc(n * sizeof(Real)));
        if (!src_ || !dst_ || (bufferBytes > 0 && !buffer_) || !in_ || !out_) throw std::bad_alloc();

        // Random input, the same for both references and both precisions,
        // and its transform in long double: exact for float input, within a
        // few units of 2^-64 for double.
        Random rng(0x3a7d1u + static_cast<std::uint64_t>(order));
        input_.resize(static_cast<size_t>(trials_) * n);
        for (Real& v : input_) v = static_cast<Real>(rng.Next());
        want_.assign(input_.begin(), input_.end());
        for (int t = 0; t < trials_; ++t) {
            long double* y = &want_[static_cast<size_t>(n) * t];
            for (int h = 1; h < n; h *= 2)
                for (int i = 0; i < n; i += 2 * h)
                    for (int j = i; j < i + h; ++j) {
                        const long double a = y[j], b = y[j + h];
                        y[j] = a + b, y[j + h] = a - b;
                    }
        }

        // As for the DFT cases: plan afresh a few times, keep the fastest.
        if (ref_ == Reference::kFftw) {
            const std::vector<int> dims(order, 2);
            const std::vector<fftw_r2r_kind> kinds(order, FFTW_R2HC);
            plan_ = FastestPlan<F>(
                opt.refPlans, [&] { return F::R2r(order, dims.data(), in_, out_, kinds.data()); }, [] {});
        }
        Load(0);  // planning overwrote the arrays
    }

    ~WhtCase() override {
        if (plan_) F::Destroy(plan_);
        for (void* p : {static_cast<void*>(src_), static_cast<void*>(dst_), static_cast<void*>(buffer_),
                        static_cast<void*>(in_), static_cast<void*>(out_)})
            qvnFree(p);
    }

    // All of them work out of place on aligned arrays and leave their source
    // alone, so every call of a batch sees the first trial's input.
    void RunOurs(long calls) override {
        for (long i = 0; i < calls; ++i) entry_(src_, dst_, kScaleNone, buffer_);
        Consume(dst_[n - 1]);
    }

    void RunRef(long calls) override {
        switch (ref_) {
            case Reference::kFftw:
                for (long i = 0; i < calls; ++i) F::Execute(plan_);
                break;
            case Reference::kLoop:
                for (long i = 0; i < calls; ++i) WhtLoop(in_, out_, order_);
                break;
            case Reference::kFfht:
                for (long i = 0; i < calls; ++i) WhtFfht(in_, out_, order_);
                break;
        }
        Consume(out_[n - 1]);
    }

    double ErrOurs() override {
        return ErrorOverTrials(
            trials_, [&](int t) { Load(t); },
            [&] {
                Status st = entry_(src_, dst_, kScaleNone, buffer_);
                if (st != kStatusOk)
                    std::fprintf(stderr, "qvngWHT_%d_%df returned status %d\n", order_, precision, static_cast<int>(st));
                return st == kStatusOk;
            },
            [&](int t, ErrorAccumulator& acc) { Compare(dst_, t, acc); });
    }

    double ErrRef() override {
        return ErrorOverTrials(
            trials_, [&](int t) { Load(t); }, [&] { RunRef(1); return true; },
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

    int order_;
    Reference ref_;
    int trials_;
    PerLibrary<Entry<Real>> entry_;
    Real* src_ = nullptr;
    Real* dst_ = nullptr;
    uint8_t* buffer_ = nullptr;
    Real* in_ = nullptr;
    Real* out_ = nullptr;
    typename F::Plan plan_ = nullptr;
    std::vector<Real> input_;
    std::vector<long double> want_;
};

void AddCases(Reference ref, const Options& opt, CaseList& out) {
    for (int prec : {32, 64}) {
        for (int order = 1; order <= 13; ++order) {
            if (!opt.Wants(1 << order, prec, "fwd")) continue;
            if (prec == 32) out.push_back(std::make_unique<WhtCase<float>>(order, ref, opt));
            else out.push_back(std::make_unique<WhtCase<double>>(order, ref, opt));
        }
    }
}

}  // namespace

void MakeWhtFftwCases(const Options& opt, CaseList& out) { AddCases(Reference::kFftw, opt, out); }
void MakeWhtLoopCases(const Options& opt, CaseList& out) { AddCases(Reference::kLoop, opt, out); }
void MakeWhtFfhtCases(const Options& opt, CaseList& out) {
    if (!kHaveFfht) {
        std::fprintf(stderr, "qvngen-bench: built without FFHT (QVNGEN_FFHT_DIR), no Walsh-Hadamard table against it\n");
        return;
    }
    AddCases(Reference::kFfht, opt, out);
}

}  // namespace qvnbench
