// qvngen-bench: times every fixed-length entry against FFTW and compares the
// accuracy of both with an exact long-double evaluation.
//
// Each case alternates batches of our entry and of the reference; a batch is
// as many back-to-back calls as fill about --batch-us microseconds, and the
// figure reported is the median over all batches, in ns per call. After the
// tables and their summaries comes the time of every 32-bit entry over its
// 64-bit twin, length by length, for the families run in both precisions.
// With several qvngen libraries (--lib: the baseline and its wider-vector
// variants), each is timed in the same interleaved batches and gets its own
// columns, each named by the library's processor-target code.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "bench.h"
#include "census_floor.h"
#include "libraries.h"
#include "placements.h"
#include "report.h"

namespace qvnbench {
void MakeWhtFfhtCases(const Options& opt, CaseList& out);  // wht_cases.cpp
void MakeComplexDftKfrCases(const Options& opt, CaseList& out);  // dft_complex_cases.cpp
void MakeRealFwdKfrCases(const Options& opt, CaseList& out);     // dft_real_cases.cpp
void MakeRealInvKfrCases(const Options& opt, CaseList& out);
namespace {

// Adding a transform family is one line here plus its Make function.
const Family kFamilies[] = {
    {"dft-c", "complex DFT", "FFTW", MakeComplexDftCases},
    // A second table when the build has KFR (QVNGEN_KFR_DIR).
    {"dft-c", "complex DFT vs KFR", "KFR", MakeComplexDftKfrCases},
    {"rfwd", "real DFT, R to CCS", "FFTW", MakeRealFwdCases},
    {"rfwd", "real DFT, R to CCS vs KFR", "KFR", MakeRealFwdKfrCases},
    // The reference is whichever of two c2r plans is faster; the table
    // names the one kept (see dft_real_cases.cpp).
    {"rinv", "real DFT, CCS to R", "FFTW", MakeRealInvCases},
    {"rinv", "real DFT, CCS to R vs KFR", "KFR", MakeRealInvKfrCases},
    {"hartley", "discrete Hartley", "FFTW", MakeHartleyCases},
    // Three tables under one name: against FFTW, a plain loop and FFHT.
    {"wht", "Walsh-Hadamard vs FFTW rank-k size-2 R2HC", "FFTW", MakeWhtFftwCases},
    {"wht", "Walsh-Hadamard vs radix-2 loop at -O3", "loop", MakeWhtLoopCases},
    {"wht", "Walsh-Hadamard vs FFHT (AVX)", "FFHT", MakeWhtFfhtCases},
    {"dct4", "type-IV DCT", "FFTW", MakeDct4Cases},
};

volatile double g_sink;

}  // namespace

void Consume(double v) { g_sink = g_sink + v; }

long double Pi() { return 3.141592653589793238462643383279502884L; }

ExactTwiddles::ExactTwiddles(int n) : n_(n), cos_(n), sin_(n) {
    for (int m = 0; m < n; ++m) {
        // 2 pi m / N = q pi/2 + pi r / (2N): q is the nearest whole number of
        // quarter turns and r = 4m - qN, so |r| <= N/2 and the rest is at
        // most pi/4.
        const int q = (4 * m + n / 2) / n;
        const int r = 4 * m - q * n;
        const long double a = Pi() * r / (2.0L * n);
        const long double c = cosl(a), s = sinl(a);
        switch (q % 4) {
            case 0: cos_[m] = c, sin_[m] = s; break;
            case 1: cos_[m] = -s, sin_[m] = c; break;
            case 2: cos_[m] = -c, sin_[m] = -s; break;
            default: cos_[m] = s, sin_[m] = -c; break;
        }
    }
}

double ErrorAccumulator::Value() const {
    return den_ > 0 ? static_cast<double>(sqrtl(num_ / den_)) : static_cast<double>(sqrtl(num_));
}

bool Options::Wants(int n, int prec, const std::string& dir) const {
    if (precision != 0 && precision != prec) return false;
    if (!direction.empty() && direction != dir) return false;
    return sizes.empty() || std::find(sizes.begin(), sizes.end(), n) != sizes.end();
}

namespace {

using Clock = std::chrono::steady_clock;

const char kUsage[] =
    "usage: qvngen-bench [options]\n"
    "Times every qvngen entry against FFTW (FFTW_PATIENT plans) and reports the\n"
    "relative RMS error of both against an exact long-double DFT. The ratio is\n"
    "qvngen time / FFTW time: below 1, qvngen is faster.\n"
    "Run it pinned to one otherwise idle core, e.g.  taskset -c 1 qvngen-bench\n"
    "\n"
    "  --n LIST          lengths to run: 16 | 16,17,32 | 2-16 (default all)\n"
    "  --precision P     32 or 64 (default both)\n"
    "  --direction D     fwd or inv (default both)\n"
    "  --family F        transform family (default all; known: dft-c, rfwd, rinv,\n"
    "                    hartley, wht, dct4)\n"
    "  --batches K       timed batches per implementation (default 31)\n"
    "  --batch-us T      target length of one batch in microseconds (default 40)\n"
    "  --err-trials K    random input vectors behind the error figure (default 8)\n"
    "  --fftw-plans K    FFTW plans made per case, the fastest kept (default 3)\n"
    "  --lib LIST        qvngen libraries to time side by side, named in the output\n"
    "                    by their processor-target code: base (the linked one),\n"
    "                    x86-64-v3 or x86-64-v4 (the variants this build made),\n"
    "                    a path to a libqvngenz3.so.7, or all (default: base and\n"
    "                    every variant this processor runs)\n"
    "  --quick           7 batches of 20 us, one FFTW plan per case: for trying\n"
    "                    things out, not for numbers\n"
    "  --csv             machine-readable rows instead of tables\n"
    "  --report DIR      also write DIR/report.md (summary table and charts of time,\n"
    "                    ratio to FFTW and error against N) and DIR/results.csv\n"
    "  --placements      instead of the tables: time every chosen entry of every\n"
    "                    library at 320 placements of source, destination and stack\n"
    "                    (destination at the source's page offset, 64 B after or\n"
    "                    before it, 2 KB apart, in place; source at 8 offsets in\n"
    "                    its page, half of them 16 B past a line; stack pointer at\n"
    "                    8 offsets from the source) and report each entry's spread,\n"
    "                    slowest over fastest; fastest of 9 batches of ~20 us per\n"
    "                    placement unless --batches/--batch-us say otherwise; with\n"
    "                    --report, DIR/placements.md\n"
    "  --stack-steps K   with --placements: K stack pointer offsets per page instead\n"
    "                    of 8 (a power of two up to 256)\n"
    "  --pages K         with --placements: then time each entry at its fastest\n"
    "                    alias placement with the source moved over K pages (same\n"
    "                    offset, destination and stack fixed) and report the share\n"
    "                    of pages over 1.3 times the fastest one\n"
    "\n"
    "After the tables, the time of each 32-bit entry over its 64-bit twin is listed\n"
    "per family and length, for every length run in both precisions, then each\n"
    "entry's time over its census floor: the port cycles of the instructions the\n"
    "generator's census counts for it (generator/census*.txt of this source tree,\n"
    "on a Zen 4 model) at the core clock measured at the start of the run.\n";

[[noreturn]] void Usage(int code) {
    std::fputs(kUsage, code == 0 ? stdout : stderr);
    std::exit(code);
}

int ToInt(const char* s) {
    char* end = nullptr;
    long v = std::strtol(s, &end, 10);
    if (end == s || *end != '\0' || v < 0 || v > 1000000) Usage(2);
    return static_cast<int>(v);
}

void ParseSizes(const std::string& list, std::vector<int>& out) {
    size_t pos = 0;
    while (pos <= list.size()) {
        size_t comma = std::min(list.find(',', pos), list.size());
        std::string item = list.substr(pos, comma - pos);
        size_t dash = item.find('-');
        int lo = ToInt(item.substr(0, dash).c_str());
        int hi = dash == std::string::npos ? lo : ToInt(item.substr(dash + 1).c_str());
        for (int n = lo; n <= hi; ++n) out.push_back(n);
        pos = comma + 1;
    }
}

struct CommandLine {
    Options options;
    bool placements = false;  // --placements: the spread over placements instead of the tables
    int stackSteps = 8;       // --stack-steps: stack pointer offsets per page with --placements
    int pages = 0;            // --pages: source pages swept per entry with --placements
};

CommandLine Parse(int argc, char** argv) {
    CommandLine line;
    Options& o = line.options;
    bool batchesGiven = false, batchLengthGiven = false;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        auto value = [&]() -> const char* {
            if (i + 1 >= argc) Usage(2);
            return argv[++i];
        };
        if (a == "--help" || a == "-h") Usage(0);
        else if (a == "--n") ParseSizes(value(), o.sizes);
        else if (a == "--precision") o.precision = ToInt(value());
        else if (a == "--direction") o.direction = value();
        else if (a == "--family") o.family = value();
        else if (a == "--batches") o.batches = ToInt(value()), batchesGiven = true;
        else if (a == "--batch-us") o.batchMicros = ToInt(value()), batchLengthGiven = true;
        else if (a == "--err-trials") o.errTrials = ToInt(value());
        else if (a == "--fftw-plans") o.refPlans = ToInt(value());
        else if (a == "--quick") o.batches = 7, o.batchMicros = 20, o.refPlans = 1, batchesGiven = batchLengthGiven = true;
        else if (a == "--csv") o.csv = true;
        else if (a == "--report") o.reportDir = value();
        else if (a == "--lib") o.libraries = value();
        else if (a == "--placements") line.placements = true;
        else if (a == "--stack-steps") line.stackSteps = ToInt(value());
        else if (a == "--pages") line.pages = ToInt(value());
        else Usage(2);
    }
    // 320 placements per entry: shorter runs per placement than the tables..
    if (line.placements && !batchesGiven) o.batches = 9;
    if (line.placements && !batchLengthGiven) o.batchMicros = 20;
    const bool badDirection = !o.direction.empty() && o.direction != "fwd" && o.direction != "inv";
    if ((o.precision != 0 && o.precision != 32 && o.precision != 64) || badDirection ||
        o.batches < 1 || o.batchMicros < 1 || o.refPlans < 1)
        Usage(2);
    return line;
}

using Runner = std::function<void(long calls)>;

double NsPerCall(const Runner& run, long calls) {
    auto t0 = Clock::now();
    run(calls);
    auto t1 = Clock::now();
    return std::chrono::duration<double, std::nano>(t1 - t0).count() / calls;
}

// Number of calls that fill about `targetNs`: doubled until a batch takes a
// quarter of the target, then scaled to it. Each step keeps the fastest of
// three tries, so a preempted try cannot stop the search early; a batch of
// one or two calls would be dominated by the clock reads (about 50 ns on a
// virtual machine).
long CallsPerBatch(const Runner& run, double targetNs) {
    for (long calls = 1;; calls *= 2) {
        double total = 1e300;
        for (int t = 0; t < 3; ++t) total = std::min(total, NsPerCall(run, calls) * calls);
        if (total >= targetNs / 4 || calls >= (1L << 26))
            return std::max(16L, static_cast<long>(calls * targetNs / std::max(total, 1.0)));
    }
}

double Median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    size_t h = v.size() / 2;
    return v.size() % 2 ? v[h] : 0.5 * (v[h - 1] + v[h]);
}

// Keeps the core busy for a while so that frequency scaling has settled
// before the first case is timed.
void SpinUp(double ms) {
    auto end = Clock::now() + std::chrono::duration<double, std::milli>(ms);
    double x = 1;
    while (Clock::now() < end)
        for (int i = 0; i < 1000; ++i) x = x * 1.0000001 + 1e-9;
    Consume(x);
}

// One case: the reference and every library (index k, as in libraries.h).
struct Result {
    const Family* fam;
    int precision;
    std::string direction;
    int n;
    std::vector<double> nsOurs, errOurs;
    double nsRef, errRef;
    std::string refForm;  // which form of the reference was timed, if it varies
    std::vector<double> floorNs;  // each library's census floor (census_floor.h); NaN where none
    double Ratio(int k) const { return nsOurs[k] / nsRef; }
    double ErrRatio(int k) const {
        if (errRef > 0) return errOurs[k] / errRef;
        return errOurs[k] == 0 ? 1.0 : INFINITY;
    }
};

// Batches of every library and of the reference take turns, so a slow
// stretch of the machine touches all of them alike.
Result Measure(const Family& fam, Case& c, const Options& o) {
    const int libs = LibraryCount();
    Result r{&fam, c.precision, c.direction, c.n, std::vector<double>(libs), std::vector<double>(libs), 0,
             c.ErrRef(), c.RefForm(), {}};
    const Runner runOurs = [&c](long calls) { c.RunOurs(calls); };
    const Runner runRef = [&c](long calls) { c.RunRef(calls); };
    const double target = o.batchMicros * 1000.0;
    std::vector<long> callsOurs(libs);
    for (int k = 0; k < libs; ++k) {
        SelectLibrary(k);
        r.errOurs[k] = c.ErrOurs();
        callsOurs[k] = CallsPerBatch(runOurs, target);
    }
    const long callsRef = CallsPerBatch(runRef, target);
    std::vector<std::vector<double>> ours(libs);
    std::vector<double> ref;
    for (int b = -3; b < o.batches; ++b) {  // three warm-up rounds first
        for (int k = 0; k < libs; ++k) {
            SelectLibrary(k);
            const double ns = NsPerCall(runOurs, callsOurs[k]);
            if (b >= 0) ours[k].push_back(ns);
        }
        const double ns = NsPerCall(runRef, callsRef);
        if (b >= 0) ref.push_back(ns);
    }
    for (int k = 0; k < libs; ++k) r.nsOurs[k] = Median(ours[k]);
    r.nsRef = Median(ref);
    SelectLibrary(0);
    return r;
}

// Lengths whose largest prime factor is at least 17: they cannot be split
// into small radices, which makes them the hardest to make fast.
bool LargePrimeFactor(int n) {
    int largest = 1;
    for (int p = 2; p <= n; ++p)
        while (n % p == 0) n /= p, largest = p;
    return largest >= 17;
}

bool SameTable(const Result& a, const Result& b) {
    return a.fam == b.fam && a.precision == b.precision && a.direction == b.direction;
}

const char* DirectionWord(const std::string& dir) { return dir == "fwd" ? "forward" : "inverse"; }

void PrintTable(const std::vector<Result>& rs, const Options& o) {
    bool forms = false;  // whether this table has a column naming the reference's form
    for (size_t i = 0; i < rs.size(); ++i) {
        const Result& r = rs[i];
        if (i == 0 || !SameTable(r, rs[i - 1])) {
            forms = false;
            for (size_t j = i; j < rs.size() && SameTable(rs[j], r); ++j)
                forms |= !rs[j].refForm.empty();
            std::printf("\n%s, %d-bit, %s  (ns per call, median of %d batches of ~%g us)\n",
                        r.fam->title, r.precision, DirectionWord(r.direction), o.batches,
                        o.batchMicros);
            // ns of each library, ns of the reference, the ratio of each,
            // the error of each, the reference's error.
            std::printf("%4s", "N");
            for (int k = 0; k < LibraryCount(); ++k) std::printf(" %10s", ("qvngen " + LibraryCode(k)).c_str());
            std::printf(" %10s", r.fam->reference);
            for (int k = 0; k < LibraryCount(); ++k) std::printf(" %8s", ("ratio " + LibraryCode(k)).c_str());
            for (int k = 0; k < LibraryCount(); ++k) std::printf(" %12s", ("err " + LibraryCode(k)).c_str());
            std::printf(" %12s%s\n", (std::string("err ") + r.fam->reference).c_str(),
                        forms ? "  reference form" : "");
        }
        std::printf("%4d", r.n);
        for (double ns : r.nsOurs) std::printf(" %10.2f", ns);
        std::printf(" %10.2f", r.nsRef);
        for (int k = 0; k < LibraryCount(); ++k) std::printf(" %8.3f", r.Ratio(k));
        for (double err : r.errOurs) std::printf(" %12.2e", err);
        std::printf(" %12.2e", r.errRef);
        if (forms) std::printf("  %s", r.refForm.c_str());
        std::printf("\n");
    }
}

// One summary per family, precision and library.
void PrintSummary(const std::vector<Result>& all, int k) {
    std::map<std::pair<const Family*, int>, std::vector<const Result*>> groups;
    for (const Result& r : all) groups[{r.fam, r.precision}].push_back(&r);
    for (const auto& [key, rs] : groups) {
        double logSum = 0;
        const Result *worst = rs[0], *worstErr = rs[0];
        std::string slower, dirs;  // dirs: order of the ratios in each length's cell
        int slowCount = 0;
        std::map<int, std::string> large;  // length -> its ratios, one per direction
        for (const Result* r : rs) {
            logSum += std::log(r->Ratio(k));
            if (r->Ratio(k) > worst->Ratio(k)) worst = r;
            if (!(r->ErrRatio(k) <= worstErr->ErrRatio(k))) worstErr = r;  // NaN wins
            char buf[48];
            if (r->Ratio(k) > 1) {
                std::snprintf(buf, sizeof buf, "%s%4d %s %-6.2f", slowCount++ % 6 ? "" : "\n    ",
                              r->n, r->direction.c_str(), r->Ratio(k));
                slower += buf;
            }
            if (LargePrimeFactor(r->n)) {
                std::string& cell = large[r->n];
                std::snprintf(buf, sizeof buf, "%s%.2f", cell.empty() ? "" : "/", r->Ratio(k));
                cell += buf;
                if (dirs.find(r->direction) == std::string::npos)
                    dirs += (dirs.empty() ? "" : "/") + r->direction;
            }
        }
        std::printf("\n%s, %d-bit, qvngen %s: summary over %zu cases\n", key.first->title, key.second,
                    LibraryCode(k).c_str(), rs.size());
        std::printf("  geometric mean of ratios   %.3f\n", std::exp(logSum / rs.size()));
        std::printf("  worst ratio                %.3f (N=%d %s)\n", worst->Ratio(k), worst->n,
                    worst->direction.c_str());
        std::printf("  ratio > 1 (%d)%s\n", slowCount, slower.c_str());
        std::printf("  large prime factor sizes (%s)", large.empty() ? "none run" : dirs.c_str());
        int col = 0;
        for (const auto& [n, cell] : large)
            std::printf("%s%4d: %-12s", col++ % 5 == 0 ? "\n   " : "", n, cell.c_str());
        std::printf("\n");
        std::printf("  worst error ratio          %.3g (N=%d %s: %.2e vs %.2e)\n",
                    worstErr->ErrRatio(k), worstErr->n, worstErr->direction.c_str(),
                    worstErr->errOurs[k], worstErr->errRef);
    }
}

// Time of every 32-bit entry over its 64-bit twin, per family, direction and
// length, for the lengths run in both precisions; the geometric mean of the
// same ratio for the reference shows what the machine alone makes of the
// change of precision. For library k.
void PrintPrecisionRatios(const std::vector<Result>& all, int k) {
    struct Twins {
        const Result* single = nullptr;
        const Result* dbl = nullptr;
    };
    std::map<std::pair<const Family*, std::string>, std::map<int, Twins>> groups;
    for (const Result& r : all) {
        Twins& t = groups[{r.fam, r.direction}][r.n];
        (r.precision == 32 ? t.single : t.dbl) = &r;
    }
    bool first = true;
    for (const auto& [key, byLength] : groups) {
        double logOurs = 0, logRef = 0;
        std::string cells;
        int count = 0;
        for (const auto& [n, t] : byLength) {
            if (!t.single || !t.dbl) continue;
            const double ratio = t.single->nsOurs[k] / t.dbl->nsOurs[k];
            logOurs += std::log(ratio);
            logRef += std::log(t.single->nsRef / t.dbl->nsRef);
            char buf[32];
            std::snprintf(buf, sizeof buf, "%s%4d %5.2f", count++ % 10 ? "  " : "\n   ", n, ratio);
            cells += buf;
        }
        if (count == 0) continue;
        if (first)
            std::printf("\nns 32-bit / ns 64-bit of the same entry of qvngen %s, per length\n",
                        LibraryCode(k).c_str());
        first = false;
        std::printf("%s, %s: geometric mean %.3f (%s %.3f)%s\n", key.first->title,
                    DirectionWord(key.second), std::exp(logOurs / count), key.first->reference,
                    std::exp(logRef / count), cells.c_str());
    }
}

// Each entry's time over its census floor (census_floor.h), per family,
// precision and library: the geometric mean, the entry closest to its floor
// and the five of N >= 16 farthest above it (below 16 the fixed cost of a
// call outweighs the kernel). An entry timed in several tables (against
// FFTW and KFR) counts once.
void PrintFloorSummary(const std::vector<Result>& all, int k, double ghz) {
    std::map<std::pair<std::string, int>, std::map<std::pair<int, std::string>, const Result*>> groups;
    for (const Result& r : all)
        if (std::isfinite(r.floorNs[k]))
            groups[{r.fam->name, r.precision}].emplace(std::make_pair(r.n, r.direction), &r);
    if (groups.empty()) return;
    std::printf("\nns over the census floor of qvngen %s (port cycles of the kernel's own instructions at %.2f GHz)\n",
                LibraryCode(k).c_str(), ghz);
    for (const auto& [key, entries] : groups) {
        std::vector<std::pair<double, const Result*>> over;
        double logSum = 0;
        for (const auto& [id, r] : entries) {
            over.emplace_back(r->nsOurs[k] / r->floorNs[k], r);
            logSum += std::log(over.back().first);
        }
        std::sort(over.begin(), over.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
        std::vector<std::pair<double, const Result*>> large;
        for (const auto& item : over)
            if (item.second->n >= 16) large.push_back(item);
        std::printf("%s, %d-bit: geometric mean %.2f, closest %.2f (N=%d %s), farthest", key.first.c_str(),
                    key.second, std::exp(logSum / over.size()), over.front().first, over.front().second->n,
                    over.front().second->direction.c_str());
        if (large.empty()) std::printf(" (none of N >= 16)");
        for (size_t i = 0; i < std::min<size_t>(5, large.size()); ++i) {
            const auto& [ratio, r] = large[large.size() - 1 - i];
            std::printf("%s %.2f (N=%d %s)", i ? "," : "", ratio, r->n, r->direction.c_str());
        }
        std::printf("\n");
    }
}

// One row per case and library; `library` is the library's processor-target
// code, and the reference's figures repeat on each of a case's rows.
void PrintCsv(const std::vector<Result>& rs, std::FILE* out) {
    std::fprintf(out, "family,reference,precision,direction,n,ns_qvngen,ns_reference,ratio,err_qvngen,"
                      "err_reference,reference_form,library,floor_ns\n");
    for (const Result& r : rs)
        for (int k = 0; k < LibraryCount(); ++k) {
            char floorNs[32] = "";  // empty where no census covers the entry
            if (std::isfinite(r.floorNs[k])) std::snprintf(floorNs, sizeof floorNs, "%.3f", r.floorNs[k]);
            std::fprintf(out, "%s,%s,%d,%s,%d,%.3f,%.3f,%.4f,%.4e,%.4e,%s,%s,%s\n", r.fam->name, r.fam->reference,
                         r.precision, r.direction.c_str(), r.n, r.nsOurs[k], r.nsRef, r.Ratio(k), r.errOurs[k],
                         r.errRef, r.refForm.c_str(), LibraryCode(k).c_str(), floorNs);
        }
}

}  // namespace

double QuickNsPerCall(const Runner& run) {
    const long calls = CallsPerBatch(run, 20000.0);
    double best = 1e300;
    for (int b = 0; b < 9; ++b) best = std::min(best, NsPerCall(run, calls));
    return best;
}

namespace {

int Run(const Options& opt, const std::string& commandLine) {
    LoadLibraries(opt.libraries);
    std::fprintf(stderr, "timing qvngen");
    for (int k = 0; k < LibraryCount(); ++k) std::fprintf(stderr, " %s", LibraryCode(k).c_str());
    std::fprintf(stderr, "\n");
    // All setup, FFTW planning included, happens before the first timing.
    std::vector<std::pair<const Family*, CaseList>> work;
    size_t total = 0;
    for (const Family& f : kFamilies) {
        if (!opt.family.empty() && opt.family != f.name) continue;
        std::fprintf(stderr, "setting up %s cases (reference planning takes a while)...\n",
                     f.name);
        work.emplace_back(&f, CaseList{});
        f.make(opt, work.back().second);
        total += work.back().second.size();
    }
    if (total == 0) {
        std::fprintf(stderr, "qvngen-bench: nothing matches the options\n");
        return 2;
    }
    std::fprintf(stderr, "timing %zu cases...\n", total);
    SpinUp(300);
    const CensusFloors floors(QVNB_CENSUS_DIR, QVNB_CPU_CODES);
    const double ghz = MeasureCoreGhz();
    std::vector<Result> results;
    bool failed = false;
    ProgressLine progress(total);
    for (auto& [fam, cases] : work) {
        for (auto& c : cases) {
            progress.Next(fam->title, *c);
            results.push_back(Measure(*fam, *c, opt));
            for (int k = 0; k < LibraryCount(); ++k)
                results.back().floorNs.push_back(
                    floors.Cycles(LibraryCode(k), c->family, c->precision, c->direction, c->n) / ghz);
            for (double err : results.back().errOurs) failed |= !std::isfinite(err);
        }
    }
    progress.Done();
    if (!opt.reportDir.empty() &&
        WriteReport(opt.reportDir, commandLine, [&](std::FILE* out) { PrintCsv(results, out); }) != 0)
        failed = true;
    if (opt.csv) {
        PrintCsv(results, stdout);
    } else {
        PrintTable(results, opt);
        for (int k = 0; k < LibraryCount(); ++k) PrintSummary(results, k);
        PrintBestOfReferences([&](std::FILE* out) { PrintCsv(results, out); });
        for (int k = 0; k < LibraryCount(); ++k) PrintPrecisionRatios(results, k);
        for (int k = 0; k < LibraryCount(); ++k) PrintFloorSummary(results, k, ghz);
    }
    if (failed) std::fprintf(stderr, "qvngen-bench: some entries reported an error status\n");
    return failed ? 1 : 0;
}

}  // namespace
}  // namespace qvnbench

int main(int argc, char** argv) {
    try {
        std::string commandLine = "qvngen-bench";
        for (int i = 1; i < argc; ++i) commandLine += std::string(" ") + argv[i];
        const auto line = qvnbench::Parse(argc, argv);
        if (line.placements) return qvnbench::RunPlacements(line.options, line.stackSteps, line.pages, commandLine);
        return qvnbench::Run(line.options, commandLine);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "qvngen-bench: %s\n", e.what());
        return 1;
    }
}
