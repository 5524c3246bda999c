#include "real_dft_file.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <stdexcept>

#include "emit_real.h"
#include "frame/packed_layout.h"
#include "real_accuracy.h"
#include "real_transforms.h"
#include "recipe.h"
#include "target_isa.h"

namespace gen {
namespace {

constexpr qvn::Layout kLayouts[] = {qvn::Layout::kCCS, qvn::Layout::kPack, qvn::Layout::kPerm};

const RealDftRow& RealRowFor(int n) {
    for (const auto& row : kRealDftTable)
        if (row.n == n) return row;
    throw std::runtime_error("no real recipe for length " + std::to_string(n));
}

Recipe ParseFor(int n, const std::string& text) {
    Recipe r = ParseRecipe(text);
    if (r.length != n) throw std::runtime_error("recipe \"" + text + "\" is not of length " + std::to_string(n));
    return r;
}

// The kernels address their arrays through the layout maps; check once per
// length that every layout gives each kept part its own place inside the
// array, so no store can overwrite another and none can leave it.
void CheckLayouts(int n) {
    for (qvn::Layout l : kLayouts) {
        std::set<int> used;
        auto place = [&](int at) {
            if (at < 0) return;
            if (at >= qvn::PackedCount(l, n) || !used.insert(at).second)
                throw std::runtime_error(std::string("layout ") + qvn::LayoutName(l) + " of length " +
                                         std::to_string(n) + " places two parts at element " + std::to_string(at));
        };
        for (int k = 0; 2 * k <= n; ++k) {
            place(qvn::ReAt(l, n, k));
            place(qvn::ImAt(l, n, k));
        }
        if (static_cast<int>(used.size()) != qvn::PackedCount(l, n))
            throw std::runtime_error(std::string("layout ") + qvn::LayoutName(l) + " leaves a gap");
    }
}

std::string Part(const char* map, int n, int k) {
    return std::string("qvn::") + map + "(L, " + std::to_string(n) + ", " + std::to_string(k) + ")";
}

const char* ElemName(bool single) { return single ? "float" : "double"; }
std::string Precision(bool single) { return single ? "32f" : "64f"; }
std::string Arithmetic(bool single) {
    return single ? "sums in float, products with constants in double, rounded once;\n// a product by a float "
                    "constant such as 0.5 is exact in double, so a float multiply gives its bits"
                  : "double precision";
}

// Position of an input slot or output part (Re k at 2k, Im k at 2k + 1) in
// layout L, or -1 where the layout keeps none.
int PartAt(qvn::Layout l, int n, int slot) {
    return slot % 2 == 0 ? qvn::ReAt(l, n, slot / 2) : qvn::ImAt(l, n, slot / 2);
}
bool PartsAdjacent(int n, int slot, int next_slot) {
    for (qvn::Layout l : kLayouts) {
        const int a = PartAt(l, n, slot), b = PartAt(l, n, next_slot);
        if (a < 0 || b != a + 1) return false;
    }
    return true;
}
bool Consecutive(int i, int j) { return j == i + 1; }

// Cycles a body needs at least on a core like the one these builds are
// tuned on: three vector ports, p0 and p1 multiply, p1 and p5 add, p5 alone
// shuffles; a conversion is one micro-operation on p0 and one on p5; sign
// flips and blends go to any of the three; three loads and two stores per
// cycle. Each bound is the work that must go to a set of ports over its size.
int PortCycles(const RealCensus& c) {
    auto over = [](int work, int ports) { return (work + ports - 1) / ports; };
    const int shuffles = c.shuffles - c.bitwise;
    const int all = c.adds + c.muls + 2 * c.converts + shuffles + c.bitwise;
    return std::max({shuffles + c.converts,                    // p5
                     over(c.adds + shuffles + c.converts, 2),  // p1, p5
                     over(c.muls + c.converts, 2),             // p0, p1
                     over(shuffles + 2 * c.converts, 2),       // p0, p5
                     over(all, 3), over(c.loads, 3), over(c.stores, 2)});
}

// The packed SSE2 body where it takes fewer instructions than the scalar
// one (all compute the same bits). The scalar census leaves the scale
// multiplications out; they are added here for a fair count. The wider
// targets also try the 256-bit fusions of each packed body, and the body
// itself with their cheaper single-width takes, and keep the one with the
// fewest port cycles, then instructions. In a long kernel they keep the one
// whose longer of port cycles and dependency chain is shortest: there a
// fused body whose pairs wait on each other's chains can lose to a narrower
// one (single-precision 19 forward took 1.3 times as long by port cycles
// alone), while short kernels of calls in a row overlap in the core's
// reorder window and only the ports count (by the longer of the two, 5 and
// 10 took up to 1.35 times as long).
constexpr int kChainsMatter = 300;  // scalar instructions

// The ways of pairing operations the chooser tries; each wins somewhere.
// Seeding from the outputs' operands lets the Hartley transform pair Re X[k]
// with Im X[k] as the forward body does (47: 0.7 times the port cycles);
// crossed twins pair the inverse's sub-transforms of the real and the
// imaginary half of a conjugate-symmetric input.
using Seeds = RealPairing::Seeds;
const RealPairing kPairings[] = {
    {.twins = false, .limit = 1},
    {.twins = false, .limit = 2},
    {.twins = true, .limit = 1},
    {.twins = true, .limit = 2},
    {.twins = true, .limit = 1, .seeds = Seeds::kNeighbouringOutputs},
    {.twins = false, .limit = 1, .seeds = Seeds::kNeighbouringOutputs},
    {.twins = true, .limit = 1, .seeds = Seeds::kOutputOperands},
    {.twins = false, .limit = 1, .seeds = Seeds::kOutputOperands},
    {.twins = true, .limit = 1, .crossed_twins = true},
    {.twins = true, .limit = 1, .seeds = Seeds::kNeighbouringOutputs, .crossed_twins = true},
};

RealKernelText CheapestPairing(const RealKernelInput& input, const std::string& table, Isa isa) {
    const bool wide = isa != Isa::kX86_64;
    // The baseline's double-precision two-lane bodies keep their live values
    // within the register file (0.97-0.99 of the time); single precision,
    // whose values live in two forms, ran 1-3% slower with any such limit.
    RealKernelInput in = input;
    if (!wide && !in.single) in.registers = BodyRegisters(isa);
    RealKernelText best = EmitReal(in);
    RealKernelText scalar = best;
    for (const RealStore& s : in.stores) scalar.census.muls += s.value.IsZero() ? 0 : 1;
    const bool long_body = scalar.census.Instructions() > kChainsMatter;
    auto cost = [&](const RealKernelText& t) {
        const RealCensus& c = t.census;
        if (!wide) return c.Instructions();
        return (long_body ? std::max(PortCycles(c), t.critical_path) : PortCycles(c)) * 10000 + c.Instructions();
    };
    int best_cost = cost(scalar);
    // The baseline also tries each pairing with exact products kept apart;
    // the wider targets, which try every fusion of every body, do not (it
    // would double the generator's time for a few shuffles).
    std::vector<RealPairing> pairings(std::begin(kPairings), std::end(kPairings));
    if (!wide && !ExactProducts(in).empty())
        for (RealPairing p : kPairings) {
            p.exact_products_apart = true;
            pairings.push_back(p);
        }
    for (const RealPairing& pairing : pairings) {
        std::vector<RealFusion> fusions;
        if (wide) {
            fusions.push_back(RealFusion{false, 0, isa == Isa::kX86_64_v4, false});
            for (int min_score : {2, 3, 4})
                for (bool in_place : {false, true})
                    fusions.push_back(RealFusion{true, min_score, isa == Isa::kX86_64_v4, in_place});
        }
        std::vector<RealKernelText> bodies = EmitRealPacked(in, table, pairing, fusions);
        for (RealKernelText& body : bodies) {
            if (cost(body) < best_cost) {
                best_cost = cost(body);
                best = std::move(body);
            }
        }
    }
    return best;
}

// The wider targets' port count takes float products (emit_real_sse.cpp)
// also where the pairing they need lengthens the dependency chain, and such
// bodies ran slower than the port count says: single precision forward 13
// and inverse 37 took 1.27 and 1.26 times as long as without float products
// (x86-64-v4). There the body with them is kept only where neither its port
// cycles nor its chain exceed those of the best body without them.
RealKernelText CheapestWide(const RealKernelInput& input, const std::string& table, Isa isa) {
    RealKernelText with = CheapestPairing(input, table, isa);
    if (ExactProducts(input).empty()) return with;  // nothing to leave out
    RealKernelInput plain = input;
    plain.float_products = false;
    RealKernelText without = CheapestPairing(plain, table, isa);
    const bool better = PortCycles(with.census) <= PortCycles(without.census) &&
                        with.critical_path <= without.critical_path;
    return better ? with : without;
}

// In single precision a wider body moves its products through 256-bit
// conversions, which take longer than the 128-bit ones, and lines the floats
// up for them with more shuffles, so its chain grows where its port count
// falls. Where the chain grows by more than the ports save, the baseline's
// two-lane body ran faster on the same core: forward 9, inverse 11 and
// Hartley 9 took 1.54, 1.41 and 1.40 times as long as it (x86-64-v4; about
// 20 of the 189 single-precision real and Hartley kernels over 1.1 in each
// of the two builds). So the wider targets weigh a body by its port cycles
// + 0.7 x its chain and take the baseline's body where that is lower.
// Against those measurements the rule picks the baseline's body for 33
// kernels of x86-64-v4, 31 of which had run slower wide, and 32 of
// x86-64-v3 (25; five of the others within 3%); weights from 0.5 to 1.0 did
// about as well. In double precision, without conversions, it would have
// picked 59 kernels, 54 of which ran faster wide: there the port count
// alone decides. With the chain counting the measured conversion latencies
// (program.cpp) the rule takes the baseline's body for 12 more kernels in
// each build; among them forward 11, inverse 9 and Hartley 31 and 33 ran
// 0.81-0.89 of their wide time, and none ran more than 5% slower.
int WeighedCycles(const RealKernelText& t) { return 10 * PortCycles(t.census) + 7 * t.critical_path; }

RealKernelText Cheapest(const RealKernelInput& input, const std::string& table, Isa isa) {
    if (isa == Isa::kX86_64) return CheapestPairing(input, table, isa);
    RealKernelText wide = CheapestWide(input, table, isa);
    if (!input.single) return wide;
    RealKernelText baseline = CheapestPairing(input, table, Isa::kX86_64);
    return WeighedCycles(baseline) < WeighedCycles(wide) ? baseline : wide;
}

// The kernels built with their product chains folded (RealDag::
// FoldProductChains), by family and precision. Folding drops a product and
// a rounding from each chain it shortens, but where the inner product has
// other users it adds one and changes how the values pair, so whether it
// pays had to be timed: the kernels it changes (at 17 lengths), against the
// plain ones, in all three builds (pinned, both orders). These ran at
// most 0.97 of their plain time over the three builds (geometric mean),
// none of them more than 2% slower in any build: forward 64f 19 and 38
// 0.83-0.89 in the wider builds, Hartley 32f 39 0.88-0.94, most others
// 0.93-0.97. Forward 9 and 13 ran 1.1-1.46 times as long folded, inverse 13
// 1.03-1.08.
struct ChainFolds {
    RealFamily family;
    bool single;
    std::vector<int> lengths;
};
const ChainFolds kProductChainsFolded[] = {
    {RealFamily::kForward, true, {38, 39, 52}},
    {RealFamily::kForward, false, {19, 27, 38, 39, 52, 57}},
    {RealFamily::kInverse, true, {38}},
    {RealFamily::kInverse, false, {26}},
    {RealFamily::kHartley, true, {13, 39}},
    {RealFamily::kHartley, false, {26, 27, 39, 52, 57}},
};

struct Kernel {
    RealKernelText text;
    int products = 0;
    bool folded = false;  // products of doubled sums take the sum's operand
    bool chains_folded = false;  // products of products take the inner operand
    // Products with constants, then the body's instructions.
    std::string Summary() const {
        return std::to_string(products) + " products; " + (text.wide ? "AVX " : text.packed ? "SSE2 " : "scalar ") +
               text.census.Text() + (folded ? "; doubled sums folded" : "") +
               (chains_folded ? "; product chains folded" : "");
    }
};

// A kernel's body from the DAG with or without its doubled sums folded into
// their products (RealDag::FoldDoubledSums), its product chains folded or
// not (RealDag::FoldProductChains).
Kernel ForwardBody(int n, bool single, const Recipe& recipe, bool fold, bool chains, Isa target) {
    ForwardRealDag f = BuildForwardReal(recipe, fold, chains);
    RealKernelInput in{f.dag, [](int slot) { return std::to_string(slot); }, {}, single};
    in.sources_adjacent = Consecutive;
    // Store 2k is Re k and store 2k + 1 is Im k, as the input slots of the
    // inverse.
    in.stores_adjacent = [n](int store, int next) { return PartsAdjacent(n, store, next); };
    std::vector<RealValue> values;
    for (int k = 0; 2 * k <= n; ++k) {
        in.stores.push_back({Part("ReAt", n, k), f.bins[k].re, ""});
        // Im 0 and Im N/2: an explicit +0.0 where the layout has a place.
        if (qvn::ImagIsZero(n, k))
            in.stores.push_back({Part("ImAt", n, k), RealValue{}, "L == qvn::Layout::kCCS"});
        else
            in.stores.push_back({Part("ImAt", n, k), f.bins[k].im, ""});
        values.push_back(f.bins[k].re);
        values.push_back(f.bins[k].im);
    }
    return {Cheapest(in, "kForwardC", target), CountProducts(f.dag, values)};
}

Kernel InverseBody(int n, bool single, const Recipe& recipe, bool fold, bool chains, Isa target) {
    RealOutputsDag inv = BuildInverseReal(recipe, fold, chains);
    auto source = [n](int slot) { return Part(slot % 2 == 0 ? "ReAt" : "ImAt", n, slot / 2); };
    RealKernelInput in{inv.dag, source, {}, single};
    in.sources_adjacent = [n](int slot, int next) { return PartsAdjacent(n, slot, next); };
    in.stores_adjacent = Consecutive;
    for (int j = 0; j < n; ++j) in.stores.push_back({std::to_string(j), inv.outputs[j], ""});
    return {Cheapest(in, "kInverseC", target), CountProducts(inv.dag, inv.outputs)};
}

Kernel HartleyBody(int n, bool single, const Recipe& recipe, bool fold, bool chains, Isa target) {
    RealOutputsDag h = BuildHartley(recipe, fold, chains);
    RealKernelInput in{h.dag, [](int slot) { return std::to_string(slot); }, {}, single};
    in.sources_adjacent = Consecutive;
    in.stores_adjacent = Consecutive;
    for (int k = 0; k < n; ++k) in.stores.push_back({std::to_string(k), h.outputs[k], ""});
    return {Cheapest(in, "kHartleyC", target), CountProducts(h.dag, h.outputs)};
}

Kernel Body(RealFamily family, int n, bool single, const Recipe& recipe, bool fold, Isa target) {
    const bool chains = FoldsProductChains(family, n, single);
    Kernel k = family == RealFamily::kForward   ? ForwardBody(n, single, recipe, fold, chains, target)
               : family == RealFamily::kInverse ? InverseBody(n, single, recipe, fold, chains, target)
                                                : HartleyBody(n, single, recipe, fold, chains, target);
    k.chains_folded = chains;
    return k;
}

// Folding shortens chains (inverse 9, single: 0.87 of the time) but can cost
// the pairing where the sum has other users: the product then pairs with
// another value (inverse 5 and 7, double: two and three more loads, 1.17
// times as long). So a kernel takes the folded DAG where that gives the
// smaller baseline body, and every build takes the same DAG, so the builds
// keep the same bits even where x + x would overflow.
//
// The single-precision kernels in real_fold_losses.inc are the exceptions:
// the fold shrinks their baseline bodies, but their x86-64-v3 and
// x86-64-v4 bodies together weigh at least kWiderFoldLoss times as much
// with it (WeighedCycles, the wider chooser's measure), because their
// 256-bit pairing comes out with longer chains (inverse 48: 78 to 107
// cycles). Timed, the weighed cycles tracked large changes (inverse 48:
// 1.15-1.21 predicted, 1.14-1.18 measured; 9: 0.83 against 0.81-0.88) but
// not small ones: with all 19 kernels that weigh more at all kept plain,
// forward 29 ran 1.12 times as long in x86-64-v3 instead of faster. And
// keeping the plain DAG costs the baseline: inverse 48 took 1.08 times as
// long, 54 1.03, against 0.85 and 0.81-0.83 in the wider builds. Weighing
// both DAGs in both wider builds on every run would triple the generator's
// time, so the outcome is a list, which `qvngen-gen fold-check` writes
// again after changes to the emitters or schemes. Double precision is left
// out: its wider bodies took 0.975 of the time with the fold (inverse,
// geometric mean), none over 1.05 when timed in both orders.
// The bar was 1.10 until the products took the signs of the differences
// (emit_real_sse.cpp): inverse 54 then weighed 1.08 times as much folded,
// and folded it ran 1.06 times as long in x86-64-v3 and 1.19-1.22 in
// x86-64-v4. At 1.08 the list is inverse 48 and 54 again, no other kernel.
constexpr double kWiderFoldLoss = 1.08;

const char* SchemeOf(const RealDftRow& row, RealFamily family) {
    return family == RealFamily::kForward ? row.forward : family == RealFamily::kInverse ? row.inverse : row.hartley;
}

struct FoldLoss {
    RealFamily family;
    int n;
};
const std::vector<FoldLoss> kWiderBodiesLoseFold = {
#include "real_fold_losses.inc"
};

// A row of real_fold_losses.inc.
std::string FoldLossRow(RealFamily family, int n) {
    static const char* const kNames[] = {"kForward", "kInverse", "kHartley"};
    return "{RealFamily::" + std::string(kNames[static_cast<int>(family)]) + ", " + std::to_string(n) + "},";
}

bool WiderBodiesLoseFold(RealFamily family, int n, bool single) {
    return single && std::any_of(kWiderBodiesLoseFold.begin(), kWiderBodiesLoseFold.end(),
                                 [&](const FoldLoss& l) { return l.family == family && l.n == n; });
}

bool FoldShrinksBaseline(RealFamily family, int n, bool single, const Recipe& recipe, Kernel* plain, Kernel* folded) {
    *plain = Body(family, n, single, recipe, false, Isa::kX86_64);
    *folded = Body(family, n, single, recipe, true, Isa::kX86_64);
    folded->folded = true;
    return folded->text.census.Instructions() < plain->text.census.Instructions();
}

Kernel RealKernel(RealFamily family, int n, bool single, const Recipe& recipe, Isa isa) {
    Kernel plain, folded;
    const bool fold = FoldShrinksBaseline(family, n, single, recipe, &plain, &folded) &&
                      !WiderBodiesLoseFold(family, n, single);
    if (isa == Isa::kX86_64) return fold ? folded : plain;
    Kernel k = Body(family, n, single, recipe, fold, isa);
    k.folded = fold;
    return k;
}

// The baseline's single-precision forward bodies hold more values than the
// 16 registers, and GCC's allocator spills them (50: 307 stack accesses
// against 165 in double precision); scheduling them before allocation with
// an eye on register pressure (QVN_PRESSURE_SCHEDULED) takes 0.95 of the
// time over the 40 bodies of more than 300 instructions (geometric mean;
// 44, 45 and 56: 0.86-0.88). It also keeps the body out of line, a call that
// made the small kernels up to 1.3 times slower. Elsewhere it did not pay:
// the inverse and Hartley bodies lost at as many lengths as they gained
// (inverse 60: 1.07-1.12), double precision lost 1-2% and the complex DFT
// up to 16%, the same bodies of the x86-64-v3 build gained 1-2% with 64
// 1.13 times slower, and those of x86-64-v4, with 32 registers, lost 3%.
constexpr int kPressureScheduledAbove = 300;  // instructions
bool PressureScheduled(const RealKernelText& body, bool single, Isa isa) {
    return isa == Isa::kX86_64 && single && body.census.Instructions() > kPressureScheduledAbove;
}

std::string Function(const std::string& comment, bool templated, const std::string& name, bool single,
                     const std::string& body, bool pressure_scheduled = false) {
    const std::string t = ElemName(single);
    return "// " + comment + "\n" + (templated ? "template <qvn::Layout L>\n" : "") +
           (pressure_scheduled ? "QVN_PRESSURE_SCHEDULED " : "") + "void " + name + "(const " + t + "* x, " + t +
           "* y, " + t + " scale) {\n" + body + "}\n\n";
}

// The 256-bit sign masks, for bodies that use them.
std::string WideInclude(bool wide) {
    return wide ? "#include \"frame/avx_complex_access.h\"\n#include \"frame/avx_gather.h\"\n" : "";
}

std::string Header(const std::string& family, const std::string& title, int n, bool single) {
    return "// Generated by qvngen-gen " + family + " -- do not edit.\n// " + title + ", N = " + std::to_string(n) +
           ", " + (single ? "single" : "double") + " precision (" + Arithmetic(single) + ").\n";
}

}  // namespace

bool FoldsProductChains(RealFamily family, int n, bool single) {
    for (const ChainFolds& row : kProductChainsFolded)
        if (row.family == family && row.single == single)
            return std::find(row.lengths.begin(), row.lengths.end(), n) != row.lengths.end();
    return false;
}

GeneratedFile RealDftFile(int n, bool single, Isa isa) {
    CheckLayouts(n);
    const RealDftRow& row = RealRowFor(n);
    const Recipe fwd_recipe = ParseFor(n, row.forward), inv_recipe = ParseFor(n, row.inverse);
    Kernel fwd = RealKernel(RealFamily::kForward, n, single, fwd_recipe, isa);
    Kernel inv = RealKernel(RealFamily::kInverse, n, single, inv_recipe, isa);
    if (fwd.products > row.forward_budget)
        throw std::runtime_error("forward real DFT of length " + std::to_string(n) + ": " +
                                 std::to_string(fwd.products) + " products, over the budget of " +
                                 std::to_string(row.forward_budget));

    const std::string prec = Precision(single), t = ElemName(single), len = std::to_string(n);
    GeneratedFile file;
    file.name = "dft_r_" + len + "_" + prec + ".cpp";
    file.census = "qvngDFTFwd_RTo*_" + len + "_" + prec + ": " + fwd.Summary() + " (budget " +
                  std::to_string(row.forward_budget) + " products)\n" + "qvngDFTInv_*ToR_" + len + "_" + prec + ": " +
                  inv.Summary() + "\n";
    std::string entries;
    for (qvn::Layout l : kLayouts) {
        const std::string layout = qvn::LayoutName(l);
        const std::string arg = "<qvn::Layout::k" + std::string(l == qvn::Layout::kCCS ? "CCS" : layout) + ">";
        entries += "QVN_DEFINE_REAL_ENTRY(qvngDFTFwd_RTo" + layout + "_" + len + "_" + prec + ", ForwardEntry" + arg + ")\n";
        entries += "QVN_DEFINE_REAL_ENTRY(qvngDFTInv_" + layout + "ToR_" + len + "_" + prec + ", InverseEntry" + arg + ")\n";
    }
    file.text = Header("dft-real", "Real DFT", n, single) + "// Forward scheme: " + row.forward + " = " +
                Describe(fwd_recipe) + "\n// Inverse scheme: " + row.inverse + " = " + Describe(inv_recipe) +
                "\n// Forward: " + fwd.Summary() + "\n// Inverse: " + inv.Summary() + "\n" +
                "// (products: multiplications by constants; instructions: with the scale, one per vector)\n"
                "#include \"frame/packed_layout.h\"\n"
                "#include \"frame/real_entry.h\"\n"
                "#include \"frame/sse_access.h\"\n" + WideInclude(fwd.text.wide || inv.text.wide) +
                "\nnamespace {\n\n" + fwd.text.constants + inv.text.constants +
                "constexpr qvn::ScaleSet<" + t + "> kScales = " + ScaleSetText(n, single ? ElemType::kFloat : ElemType::kDouble) +
                ";\n\n" +
                Function("Bins 0.." + std::to_string(n / 2) + " of the forward DFT of x, stored where layout L keeps them.",
                         true, "Forward", single, fwd.text.body, PressureScheduled(fwd.text, single, isa)) +
                Function("The " + len + " samples whose half spectrum x holds in layout L.", true, "Inverse", single,
                         inv.text.body) +
                "template <qvn::Layout L>\nusing ForwardEntry = qvn::RealKernel<qvn::Direction::kForward, " + t +
                ", kScales, " + UnscaledCopyText(n, PressureScheduled(fwd.text, single, isa)) + ", Forward<L>>;\n"
                "template <qvn::Layout L>\nusing InverseEntry = qvn::RealKernel<qvn::Direction::kInverse, " + t +
                ", kScales, " + UnscaledCopyText(n) + ", Inverse<L>>;\n\n"
                "}  // namespace\n\n" + entries;
    return file;
}

GeneratedFile HartleyFile(int n, bool single, Isa isa) {
    const RealDftRow& row = RealRowFor(n);
    const Recipe recipe = ParseFor(n, row.hartley);
    Kernel k = RealKernel(RealFamily::kHartley, n, single, recipe, isa);
    const std::string prec = Precision(single), t = ElemName(single), len = std::to_string(n);
    GeneratedFile file;
    file.name = "dht_" + len + "_" + prec + ".cpp";
    file.census = "qvngHartley_" + len + "_" + prec + ": " + k.Summary() + "\n";
    file.text = Header("hartley", "Discrete Hartley transform", n, single) + "// Scheme: " + row.hartley + " = " +
                Describe(recipe) + " (forward DFT; H[k] = Re X[k] - Im X[k])\n// " + k.Summary() +
                "\n// (products: multiplications by constants; instructions: with the scale, one per vector)\n"
                "#include \"frame/real_entry.h\"\n"
                "#include \"frame/sse_access.h\"\n" + WideInclude(k.text.wide) +
                "\nnamespace {\n\n" + k.text.constants +
                "constexpr qvn::ScaleSet<" + t + "> kScales = " + ScaleSetText(n, single ? ElemType::kFloat : ElemType::kDouble) +
                ";\n\n" + Function("H[k] = sum x[n] cas(2 pi k n / " + len + "), k = 0.." + std::to_string(n - 1) + ".", false,
                                   "Hartley", single, k.text.body) +
                "using HartleyEntry = qvn::RealKernel<qvn::Direction::kSelfInverse, " + t + ", kScales, " +
                UnscaledCopyText(n) + ", Hartley>;\n\n"
                "}  // namespace\n\n"
                "QVN_DEFINE_REAL_ENTRY(qvngHartley_" + len + "_" + prec + ", HartleyEntry)\n";
    return file;
}

std::string ExploreReal(int n, bool single, const std::string& forward, const std::string& inverse,
                        const std::string& hartley, Isa isa) {
    // One line per kernel: census and estimated rms error of the scheme.
    auto line = [&](RealFamily family, const char* name, const std::string& scheme) {
        const Recipe recipe = ParseFor(n, scheme);
        const SchemeError e = EstimateRealError(family, recipe);
        char error[64];
        std::snprintf(error, sizeof error, "; rms error %.3g\n", single ? e.single : e.dbl);
        return std::string(name) + " " + scheme + ": " + RealKernel(family, n, single, recipe, isa).Summary() + error;
    };
    return line(RealFamily::kForward, "forward", forward) + line(RealFamily::kInverse, "inverse", inverse) +
           line(RealFamily::kHartley, "hartley", hartley);
}

std::string FoldCheck(int first, int last) {
    std::string rows;
    for (int n = first; n <= last; ++n) {
        const RealDftRow& row = RealRowFor(n);
        for (RealFamily family : {RealFamily::kForward, RealFamily::kInverse, RealFamily::kHartley}) {
            const Recipe recipe = ParseFor(n, SchemeOf(row, family));
            Kernel plain, folded;
            if (!FoldShrinksBaseline(family, n, true, recipe, &plain, &folded)) continue;
            std::string weighed;
            int plain_sum = 0, folded_sum = 0;
            for (Isa isa : {Isa::kX86_64_v3, Isa::kX86_64_v4}) {
                const int p = WeighedCycles(Body(family, n, true, recipe, false, isa).text);
                const int f = WeighedCycles(Body(family, n, true, recipe, true, isa).text);
                plain_sum += p;
                folded_sum += f;
                weighed += std::string(weighed.empty() ? "" : ", ") + IsaName(isa) + " " + std::to_string(p) + " -> " +
                           std::to_string(f);
            }
            if (folded_sum >= kWiderFoldLoss * plain_sum) rows += FoldLossRow(family, n) + "  // " + weighed + "\n";
        }
    }
    return rows;
}

std::string StaleFoldLosses() {
    std::string stale;
    for (const FoldLoss& l : kWiderBodiesLoseFold) {
        Kernel plain, folded;
        if (!FoldShrinksBaseline(l.family, l.n, true, ParseFor(l.n, SchemeOf(RealRowFor(l.n), l.family)), &plain,
                                 &folded))
            stale += FoldLossRow(l.family, l.n) + " ";
    }
    return stale;
}

}  // namespace gen
