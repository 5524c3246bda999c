// qvngen-bench --placements: how much an entry's time depends on where its
// data and its stack frame happen to lie.
//
// Every entry of the chosen families is timed, for every library of the run,
// at each combination of
//   - where the destination lies relative to the source: the same offset
//     modulo 4096, so that the load of a source element and an earlier store
//     of the destination can be taken for the same address (4K aliasing);
//     64 bytes or 2 KB apart in that sense; in place;
//   - where the source starts in its page, in eight steps of 512 bytes, every
//     other one 16 bytes past a cache line, as a plain malloc can place it;
//     this moves the data against the kernel's constant tables;
//   - the stack pointer at the call relative to the source, in steps over a
//     page (8 steps of 512 bytes unless --stack-steps says otherwise), which
//     moves the spill slots of a kernel against its data. The calls go
//     through a frame that allocates the difference.
// The buffers are carved from one page-aligned arena, so each placement is
// exact and the same from run to run. All placements of an entry take turns
// batch by batch, in a new order each round, and each keeps its fastest
// batch: noise only adds time, a placement's penalty is there in every batch.
// The slowest placement of an entry whose spread comes out above 1.3 is
// timed again at the end of the run, up to three times, before the figure
// is kept.
//
// With --pages K, each entry is then timed at its fastest `alias` placement
// (where source and destination lines share cache sets) with the source
// moved over K consecutive pages, at the same offset in each, the
// destination and the stack pointer where they were: which pages a
// caller's buffers occupy changes from run to run with the heap and stack
// addresses, and some pages are slow for reasons of the core's caches (the
// L1's way prediction by a hash of the address above the page offset) that
// the offsets alone do not show. Pages above 1.3 times the fastest page are
// timed again in turns with it before they count.
//
// The spread of an entry is its slowest out-of-place placement's time over
// its fastest. In place is reported apart, as its fastest time over the
// fastest out of place: there each call's loads wait for the previous call's
// stores to the same addresses, a dependence the caller chose and that no
// layout of the data removes, so it is not counted as bad luck. The table
// lists every entry with its spread per library and the placement behind
// the slow end; the summary gives the worst spread per family, precision and
// library and the entries above 1.3. --report DIR writes the same as
// DIR/placements.md.
#include "placements.h"

#include <alloca.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "bench.h"
#include "libraries.h"
#include "qvngen.h"

namespace qvnbench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kPage = 4096;
constexpr double kSpreadLimit = 1.3;

// Destination relative to source, modulo a page.
struct Relation {
    const char* name;
    long dstMinusSrc;  // modulo a page; ignored in place
    bool inPlace;
};
const Relation kRelations[] = {
    {"apart", 2048, false},   // half a page between them: the benign case
    {"alias", 0, false},      // same offset in their pages (4K aliasing)
    {"dst+64", 64, false},    // destination one line after the source
    {"dst-64", -64, false},   // destination one line before the source
    {"in-place", 0, true},
};
constexpr int kRelationCount = sizeof kRelations / sizeof kRelations[0];
// Where the source starts in its page: 0, 512, ... 3584, the odd steps 16
// bytes past a cache line (as a plain malloc can place an array), where
// vectors of 32 or 64 bytes straddle two lines.
constexpr int kSourceSlots = 8;
std::size_t SourceOffset(int slot) { return slot * (kPage / kSourceSlots) + (slot % 2 ? 16 : 0); }
constexpr int kDataCount = kRelationCount * kSourceSlots;
const Relation& RelationOf(int d) { return kRelations[d / kSourceSlots]; }

// Stack pointer - source = 0, step, 2 step, ... modulo a page (RunPlacements).
int g_stackCount = 8;
std::size_t StackStep() { return kPage / g_stackCount; }
int Placements() { return kDataCount * g_stackCount; }

std::string PlacementName(int p) {
    const int d = p / g_stackCount;
    return std::string(RelationOf(d).name) + " src" + std::to_string(SourceOffset(d % kSourceSlots)) + " sp" +
           std::to_string((p % g_stackCount) * StackStep());
}

// The bottom of the last CallsBelow frame: the stack pointer its calls start
// from.
std::uintptr_t g_frameBottom;

// `calls` calls of fn(args...) from a frame whose stack pointer lies `pad`
// bytes (a multiple of 16) below where it would be without. Not inlined, so
// the allocation really moves the frame of every call made from here.
template <class Fn, class... Args>
__attribute__((noinline)) void CallsBelow(std::size_t pad, long calls, Fn fn, Args... args) {
    auto* block = static_cast<volatile char*>(alloca(pad + 16));
    block[0] = 0;
    for (long i = 0; i < calls; ++i) fn(args...);
    asm volatile("" : : "r"(block) : "memory");
    g_frameBottom = reinterpret_cast<std::uintptr_t>(block);
}

// One entry of one library, called on given buffers.
class Target {
public:
    virtual ~Target() = default;
    virtual void Run(std::size_t pad, long calls, void* src, void* dst) = 0;
    // One call, for its status.
    virtual Status Once(void* src, void* dst) = 0;
};

// Entries of the form (src, dst, flag). Every placement calls them with the
// flag that scales by 1/sqrt(N), so an in-place series of calls keeps its
// values in range.
template <class T>
class FlagTarget final : public Target {
public:
    explicit FlagTarget(void* fn) : fn_(reinterpret_cast<Fn>(fn)) {}
    void Run(std::size_t pad, long calls, void* src, void* dst) override {
        CallsBelow(pad, calls, fn_, static_cast<const T*>(src), static_cast<T*>(dst), ScaleFlag{kScaleBySqrtN});
    }
    Status Once(void* src, void* dst) override {
        return fn_(static_cast<const T*>(src), static_cast<T*>(dst), kScaleBySqrtN);
    }

private:
    using Fn = Status(QVN_API*)(const T*, T*, ScaleFlag);
    Fn fn_;
};

template <class Real>
class WhtTarget final : public Target {
public:
    WhtTarget(void* fn, uint8_t* buffer) : fn_(reinterpret_cast<Fn>(fn)), buffer_(buffer) {}
    void Run(std::size_t pad, long calls, void* src, void* dst) override {
        CallsBelow(pad, calls, fn_, static_cast<const Real*>(src), static_cast<Real*>(dst),
                   ScaleFlag{kScaleBySqrtN}, buffer_);
    }
    Status Once(void* src, void* dst) override {
        return fn_(static_cast<const Real*>(src), static_cast<Real*>(dst), kScaleBySqrtN, buffer_);
    }

private:
    using Fn = Status(QVN_API*)(const Real*, Real*, ScaleFlag, uint8_t*);
    Fn fn_;
    uint8_t* buffer_;
};

template <class Real>
class Dct4Target final : public Target {
public:
    Dct4Target(int k, int n) {
        using InitAlloc = Status(QVN_API*)(DCT4Spec**, int32_t);
        const bool single = sizeof(Real) == 4;
        auto init = reinterpret_cast<InitAlloc>(
            LibrarySymbol(k, single ? "qvngDCT4InitAlloc_32f" : "qvngDCT4InitAlloc_64f"));
        free_ = reinterpret_cast<Free>(LibrarySymbol(k, single ? "qvngDCT4Free_32f" : "qvngDCT4Free_64f"));
        fn_ = reinterpret_cast<Fn>(LibrarySymbol(k, single ? "qvngDCT4_32f" : "qvngDCT4_64f"));
        if (init(&spec_, n) != kStatusOk) throw std::runtime_error("DCT-IV InitAlloc failed for N = " + std::to_string(n));
    }
    ~Dct4Target() override { free_(spec_); }
    void Run(std::size_t pad, long calls, void* src, void* dst) override {
        CallsBelow(pad, calls, fn_, static_cast<const Real*>(src), static_cast<Real*>(dst), spec_);
    }
    Status Once(void* src, void* dst) override {
        return fn_(static_cast<const Real*>(src), static_cast<Real*>(dst), spec_);
    }

private:
    using Fn = Status(QVN_API*)(const Real*, Real*, DCT4Spec*);
    using Free = Status(QVN_API*)(DCT4Spec*);
    Fn fn_ = nullptr;
    Free free_ = nullptr;
    DCT4Spec* spec_ = nullptr;
};

struct Entry {
    std::string family;  // as --family names it
    int precision;
    std::string direction;
    int n;                   // length (2^order for the WHT)
    std::size_t bytes;       // of the larger of source and destination
    std::size_t realSize;    // 4 or 8
    std::vector<std::unique_ptr<Target>> targets;  // one per library
};

struct OwnedBuffer {
    void* p = nullptr;
    explicit OwnedBuffer(std::size_t bytes) : p(bytes ? std::aligned_alloc(kPage, (bytes + kPage - 1) / kPage * kPage) : nullptr) {
        if (bytes && !p) throw std::bad_alloc();
    }
    ~OwnedBuffer() { std::free(p); }
    OwnedBuffer(const OwnedBuffer&) = delete;
    OwnedBuffer& operator=(const OwnedBuffer&) = delete;
};

bool Chosen(const Options& o, const char* family) { return o.family.empty() || o.family == family; }

// The entries the options choose, each with one target per library.
void MakeEntries(const Options& o, std::vector<Entry>& out, std::vector<std::unique_ptr<OwnedBuffer>>& keep) {
    const int libs = LibraryCount();
    auto add = [&](Entry e, auto makeTarget) {
        for (int k = 0; k < libs; ++k) e.targets.push_back(makeTarget(k));
        out.push_back(std::move(e));
    };
    for (int prec : {32, 64}) {
        const std::size_t real = prec / 8;
        const char* p = prec == 32 ? "32" : "64";
        for (int n = 2; n <= 64; ++n) {
            for (const char* dir : {"fwd", "inv"}) {
                if (!o.Wants(n, prec, dir)) continue;
                const std::string d = dir[0] == 'f' ? "Fwd" : "Inv";
                if (Chosen(o, "dft-c")) {
                    const std::string name = "qvngDFT" + d + "_CToC_" + std::to_string(n) + "_" + p + "fc";
                    add({"dft-c", prec, dir, n, 2 * n * real, real, {}}, [&](int k) -> std::unique_ptr<Target> {
                        void* fn = LibrarySymbol(k, name.c_str());
                        if (prec == 32) return std::make_unique<FlagTarget<Complex32f>>(fn);
                        return std::make_unique<FlagTarget<Complex64f>>(fn);
                    });
                }
                const char* realFamily = dir[0] == 'f' ? "rfwd" : "rinv";
                if (Chosen(o, realFamily)) {
                    const std::string name = dir[0] == 'f' ? "qvngDFTFwd_RToCCS_" + std::to_string(n) + "_" + p + "f"
                                                           : "qvngDFTInv_CCSToR_" + std::to_string(n) + "_" + p + "f";
                    add({realFamily, prec, dir, n, (n + 2) * real, real, {}}, [&](int k) -> std::unique_ptr<Target> {
                        void* fn = LibrarySymbol(k, name.c_str());
                        if (prec == 32) return std::make_unique<FlagTarget<float>>(fn);
                        return std::make_unique<FlagTarget<double>>(fn);
                    });
                }
            }
            if (o.Wants(n, prec, "fwd") && Chosen(o, "hartley")) {
                const std::string name = "qvngHartley_" + std::to_string(n) + "_" + p + "f";
                add({"hartley", prec, "fwd", n, n * real, real, {}}, [&](int k) -> std::unique_ptr<Target> {
                    void* fn = LibrarySymbol(k, name.c_str());
                    if (prec == 32) return std::make_unique<FlagTarget<float>>(fn);
                    return std::make_unique<FlagTarget<double>>(fn);
                });
            }
        }
        for (int order = 1; order <= 13; ++order) {
            const int n = 1 << order;
            if (o.Wants(n, prec, "fwd") && Chosen(o, "wht")) {
                const std::string name = "qvngWHT_" + std::to_string(order) + "_" + p + "f";
                int32_t size = 0;
                (prec == 32 ? qvngWHTGetBufferSize_32f : qvngWHTGetBufferSize_64f)(order, &size);
                keep.push_back(std::make_unique<OwnedBuffer>(static_cast<std::size_t>(size)));
                auto* buffer = static_cast<uint8_t*>(keep.back()->p);
                add({"wht", prec, "fwd", n, n * real, real, {}}, [&](int k) -> std::unique_ptr<Target> {
                    void* fn = LibrarySymbol(k, name.c_str());
                    if (prec == 32) return std::make_unique<WhtTarget<float>>(fn, buffer);
                    return std::make_unique<WhtTarget<double>>(fn, buffer);
                });
            }
            if (o.Wants(n, prec, "fwd") && Chosen(o, "dct4")) {
                add({"dct4", prec, "fwd", n, n * real, real, {}}, [&](int k) -> std::unique_ptr<Target> {
                    if (prec == 32) return std::make_unique<Dct4Target<float>>(k, n);
                    return std::make_unique<Dct4Target<double>>(k, n);
                });
            }
        }
    }
}

double NsPerCall(Target& t, std::size_t pad, long calls, void* src, void* dst) {
    const auto t0 = Clock::now();
    t.Run(pad, calls, src, dst);
    const auto t1 = Clock::now();
    return std::chrono::duration<double, std::nano>(t1 - t0).count() / calls;
}

// Result of one entry and library: the fastest batch of every placement.
struct Spread {
    std::vector<double> ns;  // per placement
    int fastest = 0, slowest = 0;  // out of place
    int fastestInPlace = 0;
    long calls = 0;                 // per batch
    std::uintptr_t spAtZero = 0;    // the stack pointer of the target's calls without a pad
    double Value() const { return ns[slowest] / ns[fastest]; }
    double InPlace() const { return ns[fastestInPlace] / ns[fastest]; }
    void FindEnds() {
        fastest = slowest = 0;
        fastestInPlace = -1;
        for (int p = 0; p < static_cast<int>(ns.size()); ++p) {
            if (RelationOf(p / g_stackCount).inPlace) {
                if (fastestInPlace < 0 || ns[p] < ns[fastestInPlace]) fastestInPlace = p;
                continue;
            }
            if (ns[p] < ns[fastest]) fastest = p;
            if (ns[p] > ns[slowest]) slowest = p;
        }
    }
};

// --pages: the fastest batch with the source in each of K pages.
struct PageSweep {
    std::vector<double> ns;  // per page
    int fastest = 0, slowest = 0;
    double Value() const { return ns[slowest] / ns[fastest]; }
    int SlowPages() const {
        const double limit = kSpreadLimit * ns[fastest];
        return static_cast<int>(std::count_if(ns.begin(), ns.end(), [&](double t) { return t > limit; }));
    }
    void FindEnds() {
        fastest = static_cast<int>(std::min_element(ns.begin(), ns.end()) - ns.begin());
        slowest = static_cast<int>(std::max_element(ns.begin(), ns.end()) - ns.begin());
    }
};

struct EntryResult {
    const Entry* entry;
    std::vector<Spread> perLibrary;
    std::vector<PageSweep> pages;  // per library, with --pages
};

class Arena {
public:
    explicit Arena(std::size_t maxBytes)
        : half_((maxBytes + 2 * kPage + kPage - 1) / kPage * kPage), memory_(2 * half_ + kPage) {}
    // Source and destination of data placement d; the destination lies in
    // the second half, whole pages after the source.
    char* Src(int d) const { return Base() + SourceOffset(d % kSourceSlots); }
    char* Dst(int d) const {
        const Relation& r = RelationOf(d);
        if (r.inPlace) return Src(d);
        return Src(d) + half_ + r.dstMinusSrc;
    }

private:
    char* Base() const { return static_cast<char*>(memory_.p); }
    std::size_t half_;
    OwnedBuffer memory_;
};

// `bytes` of values in [-1, 1) of the entry's real type at p.
void FillValues(char* p, std::size_t bytes, const Entry& e, std::uint64_t seed) {
    Random rng(seed);
    const std::size_t count = bytes / e.realSize;
    for (std::size_t i = 0; i < count; ++i) {
        const double v = rng.Next();
        if (e.realSize == 4) {
            const float f = static_cast<float>(v);
            std::memcpy(p + 4 * i, &f, 4);
        } else {
            std::memcpy(p + 8 * i, &v, 8);
        }
    }
}

void Fill(char* p, const Entry& e, std::uint64_t seed) { FillValues(p, e.bytes, e, seed); }

std::string Label(const Entry& e) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%s %d %s %d", e.family.c_str(), e.precision, e.direction.c_str(), e.n);
    return buf;
}

// The pad that puts CallsBelow's stack pointer `want` bytes above `src`
// modulo a page.
std::size_t PadFor(const char* src, std::size_t want, std::uintptr_t spAtZero) {
    const std::uintptr_t target = (reinterpret_cast<std::uintptr_t>(src) + want) % kPage;
    return (spAtZero - target) % kPage;
}

// One batch at placement p.
double TimeAt(const Entry& e, Target& t, const Arena& arena, const Spread& s, int p) {
    const int d = p / g_stackCount;
    char* src = arena.Src(d);
    Fill(src, e, 1);
    const std::size_t pad = PadFor(src, (p % g_stackCount) * StackStep(), s.spAtZero);
    return NsPerCall(t, pad, s.calls, src, arena.Dst(d));
}

// Times `slow` again in turns with `fast`, for three times as many batches
// as the first time, each keeping its lower figure: noise that hit one of
// them goes away, a real penalty stays. `time(i)` is one batch at i.
template <class TimeFn>
void RetimeInTurns(std::vector<double>& ns, int slow, int fast, const Options& o, TimeFn time) {
    for (int round = 0; round < 3 * o.batches; ++round) {
        ns[slow] = std::min(ns[slow], time(slow));
        ns[fast] = std::min(ns[fast], time(fast));
    }
}

// Checks a spread above the limit: its slowest placement is timed again in
// turns with the fastest. Repeated while another placement becomes the
// slowest one, a few times at most.
void Confirm(const Entry& e, Target& t, const Arena& arena, const Options& o, Spread& s) {
    for (int check = 0; check < 8 && s.Value() > kSpreadLimit; ++check) {
        const int slow = s.slowest;
        RetimeInTurns(s.ns, slow, s.fastest, o, [&](int p) { return TimeAt(e, t, arena, s, p); });
        s.FindEnds();
        if (s.slowest == slow) break;  // confirmed
    }
}

Spread MeasureOne(const Entry& e, Target& t, const Arena& arena, const Options& o) {
    // Where this target's frame puts the stack pointer without a pad; each
    // instance of CallsBelow has a frame of its own size.
    Fill(arena.Src(0), e, 1);
    t.Run(0, 1, arena.Src(0), arena.Dst(0));
    const std::uintptr_t spAtZero = g_frameBottom;
    // Calls per batch from the first placement: the batches of every
    // placement then hold the same number of calls.
    const double targetNs = o.batchMicros * 1000.0;
    long calls = 1;
    for (;; calls *= 2) {
        Fill(arena.Src(0), e, 1);
        const double ns = NsPerCall(t, 0, calls, arena.Src(0), arena.Dst(0)) * calls;
        if (ns >= targetNs / 4 || calls >= (1L << 24)) {
            calls = std::max(8L, static_cast<long>(calls * targetNs / std::max(ns, 1.0)));
            break;
        }
    }
    // An entry that refuses the call would time its argument check.
    for (int d = 0; d < kDataCount; ++d) {
        Fill(arena.Src(d), e, 1);
        if (const Status st = t.Once(arena.Src(d), arena.Dst(d)); st != kStatusOk)
            throw std::runtime_error(Label(e) + ": status " + std::to_string(st) + " at placement " +
                                     PlacementName(d * g_stackCount));
    }
    Spread s;
    s.calls = calls;
    s.spAtZero = spAtZero;
    s.ns.assign(Placements(), INFINITY);
    // Each round visits the placements in a new order, so that none is always
    // the one timed right after the setup or after a given neighbour.
    std::vector<int> order(Placements());
    for (int p = 0; p < Placements(); ++p) order[p] = p;
    std::mt19937 shuffle(12345);
    for (int round = -1; round < o.batches; ++round) {  // one warm-up round
        std::shuffle(order.begin(), order.end(), shuffle);
        for (const int p : order) {
            const double ns = TimeAt(e, t, arena, s, p);
            if (round >= 0) s.ns[p] = std::min(s.ns[p], ns);
        }
    }
    s.FindEnds();
    return s;
}

// The entry at its fastest `alias` placement in `s` with the source in each
// of `pages` pages from `sweep` (filled with values), same offset, same
// destination and stack pointer. Pages above the limit are timed again in
// turns with the fastest one (RetimeInTurns).
PageSweep SweepPages(Target& t, const Arena& arena, const Spread& s, char* sweep, int pages, const Options& o) {
    int at = -1;
    for (int p = 0; p < Placements(); ++p) {
        const Relation& r = RelationOf(p / g_stackCount);
        if (!r.inPlace && r.dstMinusSrc == 0 && (at < 0 || s.ns[p] < s.ns[at])) at = p;
    }
    const int d = at / g_stackCount;
    const std::size_t offset = SourceOffset(d % kSourceSlots);
    char* const dst = arena.Dst(d);
    const std::size_t pad = PadFor(sweep + offset, (at % g_stackCount) * StackStep(), s.spAtZero);
    auto time = [&](int page) { return NsPerCall(t, pad, s.calls, sweep + page * kPage + offset, dst); };
    PageSweep r;
    r.ns.assign(pages, INFINITY);
    for (int round = -1; round < o.batches; ++round)  // one warm-up round
        for (int page = 0; page < pages; ++page) {
            const double ns = time(page);
            if (round >= 0) r.ns[page] = std::min(r.ns[page], ns);
        }
    r.FindEnds();
    for (int page = 0; page < pages; ++page)
        if (r.ns[page] > kSpreadLimit * r.ns[r.fastest]) RetimeInTurns(r.ns, page, r.fastest, o, time);
    r.FindEnds();
    return r;
}

// The --pages summary: per family, precision and library, the entries with
// a slow page, the share of slow pages over all entries and the worst.
void PrintPageSweeps(std::FILE* out, const std::vector<EntryResult>& results, int pages, bool markdown) {
    std::map<std::tuple<std::string, int, int>, std::vector<const EntryResult*>> groups;
    for (const EntryResult& r : results)
        for (int k = 0; k < static_cast<int>(r.pages.size()); ++k)
            groups[{r.entry->family, r.entry->precision, k}].push_back(&r);
    if (groups.empty()) return;
    const char* title = "Source moved over %d pages at its fastest alias placement (destination and stack fixed)";
    if (markdown) {
        std::fprintf(out, "\n## ");
        std::fprintf(out, title, pages);
        std::fprintf(out, "\n\n| family | bits | build | entries | with a page > %.1f | slow pages | worst | entry |"
                          "\n|---|---|---|---|---|---|---|---|\n", kSpreadLimit);
    } else {
        std::fprintf(out, "\n");
        std::fprintf(out, title, pages);
        std::fprintf(out, "\n%-8s %4s %5s %7s %14s %10s %8s  %s\n", "family", "bits", "build", "entries",
                     "with slow page", "slow pages", "worst", "entry");
    }
    for (const auto& [key, rs] : groups) {
        const int k = std::get<2>(key);
        const EntryResult* worst = rs[0];
        int entriesSlow = 0, slowPages = 0;
        for (const EntryResult* r : rs) {
            const PageSweep& p = r->pages[k];
            if (p.Value() > worst->pages[k].Value()) worst = r;
            entriesSlow += p.SlowPages() > 0;
            slowPages += p.SlowPages();
        }
        const double share = 100.0 * slowPages / (static_cast<double>(rs.size()) * pages);
        std::fprintf(out, markdown ? "| %s | %d | %s | %zu | %d | %.2f%% | %.2f | %s |\n"
                                   : "%-8s %4d %5s %7zu %14d %9.2f%% %8.2f  %s\n",
                     std::get<0>(key).c_str(), std::get<1>(key), LibraryCode(k).c_str(), rs.size(), entriesSlow,
                     share, worst->pages[k].Value(), Label(*worst->entry).c_str());
    }
}

// Writes the table and the summary to `out`, as plain text or as Markdown.
void Print(std::FILE* out, const std::vector<EntryResult>& results, const Options& o, bool markdown,
           const std::string& commandLine) {
    const int libs = LibraryCount();
    if (markdown) {
        std::fprintf(out, "# Time against buffer and stack placement\n\n`%s`\n\n", commandLine.c_str());
        std::fprintf(out,
                     "Each entry timed at %d placements: %d data placements (destination relative to the "
                     "source modulo 4096: `apart` 2048 B, `alias` 0, `dst+64`, `dst-64`, `in-place`; `srcX`: "
                     "the source X bytes into its page) times %d stack pointers (`spX`: stack pointer - "
                     "source = X modulo 4096). Fastest of %d batches of ~%g us per placement, ns per call. Spread = "
                     "slowest out-of-place placement / fastest; in place = fastest in place / fastest out "
                     "of place (back-to-back calls in place wait for each other's stores, so it is not "
                     "part of the spread).\n",
                     Placements(), kDataCount, g_stackCount, o.batches, o.batchMicros);
    } else {
        std::fprintf(out,
                     "\nTime against placement (%d data x %d stack placements; fastest of %d batches of ~%g us "
                     "each, ns per call; spread = slowest / fastest out of place; inpl = fastest in place / "
                     "fastest out of place)\n",
                     kDataCount, g_stackCount, o.batches, o.batchMicros);
    }

    // Summary first: worst spread per family, precision and library.
    std::map<std::tuple<std::string, int, int>, std::vector<const EntryResult*>> groups;
    for (const EntryResult& r : results)
        for (int k = 0; k < libs; ++k) groups[{r.entry->family, r.entry->precision, k}].push_back(&r);
    if (markdown) {
        std::fprintf(out, "\n## Worst spread per family and build\n\n"
                          "| family | bits | build | entries | worst spread | entry | slowest placement | "
                          "fastest placement | > %.1f |\n|---|---|---|---|---|---|---|---|---|\n",
                     kSpreadLimit);
    } else {
        std::fprintf(out, "\n%-8s %4s %5s %7s %8s  %-22s %-24s %-24s %s\n", "family", "bits", "build", "entries",
                     "worst", "entry", "slowest at", "fastest at", "entries > 1.3");
    }
    for (const auto& [key, rs] : groups) {
        const int k = std::get<2>(key);
        const EntryResult* worst = rs[0];
        int over = 0;
        for (const EntryResult* r : rs) {
            if (r->perLibrary[k].Value() > worst->perLibrary[k].Value()) worst = r;
            over += r->perLibrary[k].Value() > kSpreadLimit;
        }
        const Spread& s = worst->perLibrary[k];
        std::fprintf(out, markdown ? "| %s | %d | %s | %zu | %.2f | %s | %s | %s | %d |\n"
                                   : "%-8s %4d %5s %7zu %8.2f  %-22s %-24s %-24s %d\n",
                     std::get<0>(key).c_str(), std::get<1>(key), LibraryCode(k).c_str(), rs.size(), s.Value(),
                     Label(*worst->entry).c_str(), PlacementName(s.slowest).c_str(),
                     PlacementName(s.fastest).c_str(), over);
    }

    // Every entry: fastest and slowest time and the spread, per library.
    if (markdown) {
        std::fprintf(out, "\n## Every entry\n\n| entry |");
        for (int k = 0; k < libs; ++k)
            std::fprintf(out, " min %s | max %s | spread %s | slowest at %s | in place %s |",
                         LibraryCode(k).c_str(), LibraryCode(k).c_str(), LibraryCode(k).c_str(),
                         LibraryCode(k).c_str(), LibraryCode(k).c_str());
        std::fprintf(out, "\n|---|");
        for (int k = 0; k < libs; ++k) std::fprintf(out, "---|---|---|---|---|");
        std::fprintf(out, "\n");
    } else {
        std::fprintf(out, "\n%-22s", "entry");
        for (int k = 0; k < libs; ++k) {
            const std::string c = LibraryCode(k);
            std::fprintf(out, " %9s %9s %7s %-24s %7s", ("min " + c).c_str(), ("max " + c).c_str(),
                         ("spr " + c).c_str(), ("slowest " + c).c_str(), ("inpl " + c).c_str());
        }
        std::fprintf(out, "\n");
    }
    for (const EntryResult& r : results) {
        std::fprintf(out, markdown ? "| %s |" : "%-22s", Label(*r.entry).c_str());
        for (const Spread& s : r.perLibrary) {
            const bool high = s.Value() > kSpreadLimit;
            if (markdown)
                std::fprintf(out, " %.2f | %.2f | %s%.2f%s | %s | %.2f |", s.ns[s.fastest], s.ns[s.slowest],
                             high ? "**" : "", s.Value(), high ? "**" : "", PlacementName(s.slowest).c_str(),
                             s.InPlace());
            else
                std::fprintf(out, " %9.2f %9.2f %6.2f%s %-24s %7.2f", s.ns[s.fastest], s.ns[s.slowest],
                             s.Value(), high ? "*" : " ", PlacementName(s.slowest).c_str(), s.InPlace());
        }
        std::fprintf(out, "\n");
    }
}

}  // namespace

int RunPlacements(const Options& opt, int stackSteps, int pages, const std::string& commandLine) {
    if (stackSteps < 1 || stackSteps > 256 || kPage % stackSteps != 0 || kPage / stackSteps % 16 != 0)
        throw std::runtime_error("--stack-steps: a power of two from 1 to 256");
    g_stackCount = stackSteps;
    LoadLibraries(opt.libraries);
    std::vector<Entry> entries;
    std::vector<std::unique_ptr<OwnedBuffer>> buffers;
    MakeEntries(opt, entries, buffers);
    if (entries.empty()) {
        std::fprintf(stderr, "qvngen-bench: nothing matches the options\n");
        return 2;
    }
    std::size_t maxBytes = 0;
    for (const Entry& e : entries) maxBytes = std::max(maxBytes, e.bytes);
    const Arena arena(maxBytes);

    std::fprintf(stderr, "timing %zu entries of qvngen", entries.size());
    for (int k = 0; k < LibraryCount(); ++k) std::fprintf(stderr, " %s", LibraryCode(k).c_str());
    std::fprintf(stderr, " at %d placements each...\n", Placements());
    std::vector<EntryResult> results;
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const Entry& e = entries[i];
        if (i * 10 / entries.size() != (i + 1) * 10 / entries.size())
            std::fprintf(stderr, "[%zu/%zu] %s\n", i + 1, entries.size(), Label(e).c_str());
        EntryResult r{&e, {}, {}};
        for (int k = 0; k < LibraryCount(); ++k)
            r.perLibrary.push_back(MeasureOne(e, *e.targets[k], arena, opt));
        results.push_back(std::move(r));
    }
    // Spreads above the limit are checked once the whole run is through,
    // minutes after their first timing, so that a burst of load on the
    // machine does not hit both; those still above it are checked again
    // after the others had their turn, up to three passes, since a burst
    // can outlast one check. The figures only ever come down to what a
    // placement takes when nothing else runs, so a real penalty stays.
    int checked = 0;
    for (int pass = 0; pass < 3; ++pass) {
        int above = 0;
        for (EntryResult& r : results)
            for (int k = 0; k < LibraryCount(); ++k)
                if (r.perLibrary[k].Value() > kSpreadLimit) {
                    Confirm(*r.entry, *r.entry->targets[k], arena, opt, r.perLibrary[k]);
                    ++checked, ++above;
                }
        if (above == 0) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(500));  // let a burst of load pass
    }
    if (checked > 0) std::fprintf(stderr, "timed spreads above %.1f again %d times\n", kSpreadLimit, checked);
    if (pages > 0) {
        std::fprintf(stderr, "moving each source over %d pages...\n", pages);
        const OwnedBuffer sweep(static_cast<std::size_t>(pages) * kPage + maxBytes + kPage);
        for (EntryResult& r : results) {
            FillValues(static_cast<char*>(sweep.p), static_cast<std::size_t>(pages) * kPage + maxBytes, *r.entry, 1);
            for (int k = 0; k < LibraryCount(); ++k)
                r.pages.push_back(SweepPages(*r.entry->targets[k], arena, r.perLibrary[k],
                                             static_cast<char*>(sweep.p), pages, opt));
        }
    }

    Print(stdout, results, opt, false, commandLine);
    PrintPageSweeps(stdout, results, pages, false);
    if (!opt.reportDir.empty()) {
        std::error_code ec;
        std::filesystem::create_directories(opt.reportDir, ec);
        const std::string path = (std::filesystem::path(opt.reportDir) / "placements.md").string();
        std::FILE* out = std::fopen(path.c_str(), "w");
        if (out == nullptr) {
            std::fprintf(stderr, "qvngen-bench: cannot write %s\n", path.c_str());
            return 1;
        }
        Print(out, results, opt, true, commandLine);
        PrintPageSweeps(out, results, pages, true);
        if (std::fclose(out) != 0) return 1;
        std::fprintf(stderr, "wrote %s\n", path.c_str());
    }
    return 0;
}

}  // namespace qvnbench
