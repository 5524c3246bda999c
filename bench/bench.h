// Shared pieces of qvngen-bench: the case interface every transform family
// implements, the family registry entry, and small helpers (random input,
// error accumulation, keeping results alive).
#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace qvnbench {

struct Options {
    std::vector<int> sizes;     // empty: every length a family has
    int precision = 0;          // 32 or 64; 0 for both
    std::string direction;      // "fwd" or "inv"; empty for both
    std::string family;         // empty for every family
    int batches = 31;           // timed batches per implementation
    double batchMicros = 40.0;  // wall time one batch aims at
    int errTrials = 8;          // random input vectors for the error figure
    int refPlans = 3;           // reference plans made per case; the fastest is kept
    bool csv = false;
    std::string reportDir;      // --report: where the report is written; empty for none
    std::string libraries = "all";  // --lib: the qvngen builds timed (libraries.h)

    bool Wants(int n, int prec, const std::string& dir) const;
};

// One transform of one family, precision, direction and length, paired with
// the reference implementation it is compared with. The constructor does all
// setup, reference planning included, so nothing but the transforms
// themselves runs between two clock reads.
class Case {
public:
    Case(std::string fam, int prec, std::string dir, int len)
        : family(std::move(fam)), precision(prec), direction(std::move(dir)), n(len) {}
    virtual ~Case() = default;

    // `calls` back-to-back transforms of the timing input. "Ours" is the
    // qvngen library selected with SelectLibrary (libraries.h).
    virtual void RunOurs(long calls) = 0;
    virtual void RunRef(long calls) = 0;
    // Relative RMS error against an exact (long double) evaluation; NaN when
    // our entry reported an error status.
    virtual double ErrOurs() = 0;
    virtual double ErrRef() = 0;
    // The form of the reference the case settled on, when it chooses between
    // several (empty otherwise); printed beside the reference's figures.
    virtual std::string RefForm() const { return {}; }

    const std::string family;
    const int precision;
    const std::string direction;
    const int n;
};

using CaseList = std::vector<std::unique_ptr<Case>>;

struct Family {
    const char* name;   // --family value and first csv column
    const char* title;  // table heading
    const char* reference;  // what the reference column holds
    void (*make)(const Options& opt, CaseList& out);
};

// Fastest time per call of `run(calls)` over a few short batches; for
// choosing between candidate reference plans while setting a case up.
double QuickNsPerCall(const std::function<void(long calls)>& run);

// Folds a value into a volatile sink, so the results of a timed batch are
// observable and no call can be treated as dead.
void Consume(double v);

// Reproducible uniform numbers in [-1, 1).
class Random {
public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}
    double Next() { return dist_(engine_); }

private:
    std::mt19937_64 engine_;
    std::uniform_real_distribution<double> dist_{-1.0, 1.0};
};

// sqrt(sum |got - want|^2 / sum |want|^2) over every component added.
class ErrorAccumulator {
public:
    void Add(long double got, long double want) {
        long double d = got - want;
        num_ += d * d;
        den_ += want * want;
    }
    double Value() const;

private:
    long double num_ = 0, den_ = 0;
};

// Relative RMS error over `trials` inputs: load(t) puts input t in place,
// run() transforms it (false when the implementation reported an error, which
// makes the result NaN), compare(t, acc) adds the output. Input 0, the timing
// input, is put back afterwards.
template <class Load, class Run, class CompareFn>
double ErrorOverTrials(int trials, Load load, Run run, CompareFn compare) {
    ErrorAccumulator acc;
    bool failed = false;
    for (int t = 0; t < trials && !failed; ++t) {
        load(t);
        failed = !run();
        if (!failed) compare(t, acc);
    }
    load(0);
    return failed ? std::numeric_limits<double>::quiet_NaN() : acc.Value();
}

long double Pi();

// cos and sin of 2 pi m / N, m = 0 .. N-1, in long double, for the exact
// O(N^2) references. Each angle is split in integers into a whole number of
// quarter turns and a rest of at most an eighth of a turn, so the quarter
// points come out as exact 0 and +-1 and every other value as accurate as
// cosl and sinl of a small argument. Callers reduce k*j modulo N in integers
// (Index) before the look-up, so no angle is ever larger than a full turn.
class ExactTwiddles {
public:
    explicit ExactTwiddles(int n);
    int Index(int k, int j) const { return static_cast<int>(static_cast<long>(k) * j % n_); }
    long double Cos(int m) const { return cos_[m]; }
    long double Sin(int m) const { return sin_[m]; }

private:
    int n_;
    std::vector<long double> cos_, sin_;
};

// The plain radix-2 Walsh-Hadamard loop (wht_loop.cpp, built at -O3) that
// the generated kernels are compared with; out of place, 2^order values.
void WhtLoop(const float* src, float* dst, int order);
void WhtLoop(const double* src, double* dst, int order);

// Families.
void MakeComplexDftCases(const Options& opt, CaseList& out);
void MakeWhtFftwCases(const Options& opt, CaseList& out);
void MakeWhtLoopCases(const Options& opt, CaseList& out);
void MakeDct4Cases(const Options& opt, CaseList& out);
void MakeRealFwdCases(const Options& opt, CaseList& out);
void MakeRealInvCases(const Options& opt, CaseList& out);
void MakeHartleyCases(const Options& opt, CaseList& out);

}  // namespace qvnbench
