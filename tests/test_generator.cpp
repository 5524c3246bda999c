// Unit tests of the code generator's stages: exact rotations, the DAG
// simplifier, the recipe parser, the algorithms (evaluated exactly on the DAG,
// independent of any emitter), the scheduler's in-place guard and its
// register budget.
#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <random>
#include <set>
#include <sstream>
#include <stdexcept>

#include "algorithms.h"
#include "dag.h"
#include "program.h"
#include "real_accuracy.h"
#include "real_dag.h"
#include "real_dft_file.h"
#include "real_transforms.h"
#include "recipe.h"
#include "reference.h"
#include "twiddle.h"

namespace {

using gen::Cx;
using gen::Real;

TEST(Rotation, QuadrantsAreExactAndOctantsSymmetric) {
    for (int n : {4, 8, 12, 16, 24, 60, 64}) {
        EXPECT_EQ(gen::Rotation(0, n, -1), Cx(1, 0));
        EXPECT_EQ(gen::Rotation(n / 4, n, +1), Cx(0, 1)) << n;
        EXPECT_EQ(gen::Rotation(n / 2, n, +1), Cx(-1, 0)) << n;
        EXPECT_EQ(gen::Rotation(3 * n / 4, n, -1), Cx(0, 1)) << n;
    }
    for (int n : {8, 16, 32, 64}) {
        Cx w = gen::Rotation(n / 8, n, +1);
        EXPECT_EQ(w.real(), w.imag()) << n;
    }
    for (int n = 3; n <= 128; ++n)
        for (int k = 0; k < n; ++k) {
            Cx a = gen::Rotation(k, n, -1), b = gen::Rotation(n - k, n, +1);
            ASSERT_EQ(a, b) << k << "/" << n;  // e^(-i t) = e^(i (2 pi - t)), bit for bit
            ASSERT_NEAR(static_cast<double>(std::abs(a)), 1.0, 1e-18);
        }
}

TEST(Dag, SimplifiesTrivialMultiplicationsAndFoldsSigns) {
    gen::Dag dag;
    gen::Value x = dag.Load(0), y = dag.Load(1);
    const int base = dag.size();
    EXPECT_EQ(dag.Mul(x, Cx(1, 0)).node, x.node);
    gen::Value minus = dag.Mul(x, Cx(-1, 0));
    EXPECT_EQ(minus.node, x.node);
    EXPECT_TRUE(minus.negated);
    EXPECT_TRUE(dag.Mul(x, Cx(0, 0)).IsZero());
    EXPECT_EQ(dag.size(), base) << "no node for multiplications by 1, -1, 0";

    gen::Value ix = dag.Mul(x, Cx(0, 1));
    EXPECT_EQ(dag.at(ix.node).op, gen::Op::kMulI);
    gen::Value minus_ix = dag.Mul(x, Cx(0, -1));
    EXPECT_EQ(minus_ix.node, ix.node);
    EXPECT_TRUE(minus_ix.negated);
    gen::Value back = dag.MulI(ix);  // i * i * x = -x
    EXPECT_EQ(back.node, x.node);
    EXPECT_TRUE(back.negated);

    gen::Value half = dag.MulReal(x, -0.5L);
    EXPECT_TRUE(half.negated);
    EXPECT_EQ(dag.at(half.node).c, 0.5L) << "constants are kept positive";

    gen::Value d = dag.Add(x, gen::Dag::Neg(y));
    EXPECT_EQ(dag.at(d.node).op, gen::Op::kSub);
    EXPECT_EQ(dag.Add(y, x).node, dag.Add(x, y).node) << "hash-consing of commutative adds";
    EXPECT_TRUE(dag.Sub(x, x).IsZero());
    EXPECT_EQ(dag.Add(x, gen::Value{}).node, x.node);
}

TEST(Recipe, ParsesTheTableAndRejectsNonsense) {
    for (const auto& row : gen::kComplexDftTable) {
        EXPECT_EQ(gen::ParseRecipe(row.single).length, row.n) << row.single;
        EXPECT_EQ(gen::ParseRecipe(row.dbl).length, row.n) << row.dbl;
    }
    EXPECT_EQ(gen::ParseRecipe("pfa(2, 3, 5)").length, 30);
    EXPECT_EQ(gen::ParseRecipe("rader(pfa(2, rader(10)))").length, 23);
    EXPECT_EQ(gen::ParseRecipe("pairs(47)").kind, gen::Recipe::Kind::kPairs);
    for (const char* bad : {"rader(5)", "ct(2)", "pfa(2, 4", "fft(8)", "radpad(47, 64)", "3 3", "pairs(9)", "pairs(2)"})
        EXPECT_THROW(gen::ParseRecipe(bad), std::runtime_error) << bad;
}

// Evaluates the DAG exactly (long double) for one input vector.
std::vector<Cx> Evaluate(const gen::Dag& dag, const gen::Signal& outputs, const std::vector<Cx>& x) {
    std::vector<Cx> v(dag.size());
    for (int id = 0; id < dag.size(); ++id) {
        const gen::Node& n = dag.at(id);
        switch (n.op) {
            case gen::Op::kLoad: v[id] = x[n.index]; break;
            case gen::Op::kAdd: v[id] = v[n.a] + v[n.b]; break;
            case gen::Op::kSub: v[id] = v[n.a] - v[n.b]; break;
            case gen::Op::kMulReal: v[id] = v[n.a] * n.c; break;
            case gen::Op::kMulCplx: v[id] = v[n.a] * Cx(n.c, n.d); break;
            case gen::Op::kMulI: v[id] = v[n.a] * Cx(0, 1); break;
            case gen::Op::kMulImag: v[id] = v[n.a] * Cx(0, n.d); break;
            default: ADD_FAILURE() << "real-kernel operation in a complex DAG";
        }
    }
    std::vector<Cx> y;
    for (const gen::Value& o : outputs) {
        Cx value = o.IsZero() ? Cx(0) : v[o.node];
        y.push_back(o.negated ? -value : value);
    }
    return y;
}

// Every scheme of the table, both directions, computes the DFT, and its DAG
// holds no multiplication the simplifier should have removed or reduced.
// So does the DAG the complex emitters take, with its rotated products
// fused, and no rotation of a product used only there is left unfused.
TEST(Algorithms, EveryTableSchemeIsTheDft) {
    int fused_schemes = 0;
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> u(-1, 1);
    for (const auto& row : gen::kComplexDftTable)
        for (const char* text : {row.single, row.dbl})
            for (int sign : {-1, +1}) {
                gen::Dag dag;
                gen::Signal x(row.n);
                for (int i = 0; i < row.n; ++i) x[i] = dag.Load(i);
                gen::Signal y = gen::Transform(dag, gen::ParseRecipe(text), x, sign);
                std::vector<Cx> in(row.n);
                for (auto& c : in) c = Cx(u(rng), u(rng));
                std::vector<Cx> want = qvntest::ReferenceDft(in, sign);
                auto expect_dft = [&](const char* form) {
                    std::vector<Cx> got = Evaluate(dag, y, in);
                    Real err = 0, norm = 0;
                    for (int k = 0; k < row.n; ++k) {
                        err += std::norm(got[k] - want[k]);
                        norm += std::norm(want[k]);
                    }
                    EXPECT_LT(std::sqrt(err / norm), 1e-16L) << text << " sign " << sign << " " << form;
                };
                expect_dft("as built");
                dag.FuseRotations(y);
                expect_dft("fused");
                std::vector<int> uses(dag.size(), 0);
                for (int id : gen::LiveNodes(dag, y)) {
                    if (dag.at(id).a >= 0) ++uses[dag.at(id).a];
                    if (dag.at(id).b >= 0) ++uses[dag.at(id).b];
                }
                for (const gen::Value& o : y)
                    if (!o.IsZero()) ++uses[o.node];
                bool any_fused = false;
                for (int id : gen::LiveNodes(dag, y)) {
                    const gen::Node& n = dag.at(id);
                    any_fused |= n.op == gen::Op::kMulImag;
                    if (n.op != gen::Op::kMulI && n.op != gen::Op::kMulReal) continue;
                    const gen::Op inner = dag.at(n.a).op;
                    EXPECT_FALSE(uses[n.a] == 1 && (inner == gen::Op::kMulI || inner == gen::Op::kMulReal) && inner != n.op)
                        << text << ": node " << id << " left unfused";
                }
                fused_schemes += any_fused;
                for (int id = 0; id < dag.size(); ++id) {
                    const gen::Node& n = dag.at(id);
                    // Near-zero parts are rounding residue that should have
                    // been snapped to an exact zero (a cheaper multiply).
                    if (n.op == gen::Op::kMulReal) ASSERT_TRUE(n.c > 1e-12L && n.c != 1) << text;
                    if (n.op == gen::Op::kMulCplx) ASSERT_TRUE(n.c > 1e-12L && std::fabs(n.d) > 1e-12L) << text;
                    if (n.op == gen::Op::kMulImag) ASSERT_TRUE(n.d > 1e-12L) << text;
                }
            }
    EXPECT_GT(fused_schemes, 0);
}

// Value of every real DAG output, the loads taking in[slot].
std::vector<Real> EvaluateReal(const gen::RealDag& dag, const std::vector<gen::RealValue>& outputs,
                               const std::vector<Real>& in) {
    std::vector<Real> v(dag.size());
    auto at = [&](int id) { return v[id]; };
    for (int id = 0; id < dag.size(); ++id) {
        const gen::RealNode& n = dag.at(id);
        switch (n.op) {
            case gen::RealOp::kLoad: v[id] = in.at(n.index); break;
            case gen::RealOp::kAdd: v[id] = at(n.a) + at(n.b); break;
            case gen::RealOp::kSub: v[id] = at(n.a) - at(n.b); break;
            case gen::RealOp::kMul: v[id] = at(n.a) * n.c; break;
        }
    }
    std::vector<Real> y;
    for (const gen::RealValue& o : outputs) y.push_back(o.IsZero() ? 0 : o.negated ? -v[o.node] : v[o.node]);
    return y;
}

// The real-input schemes of every length, lowered to real DAGs, compute the
// forward real DFT, its inverse from a half spectrum and the Hartley
// transform. This holds the symmetry shortcuts of the builders (conjugate
// rows, halved Rader products, the split convolution) to the definitions,
// before any emitter is involved, with and without the doubled sums folded
// into their products; the constants in the DAG are the doubles the kernels
// hold, so the bound is at double precision.
TEST(RealTransforms, EveryRealSchemeMatchesTheDefinition) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<double> u(-1, 1);
    for (bool fold : {false, true}) {
        for (const auto& row : gen::kRealDftTable) {
            SCOPED_TRACE(fold ? "doubled sums folded" : "plain DAG");
            const int n = row.n;
            std::vector<qvntest::RefComplex> x(n);
            std::vector<Real> samples(n);
            for (int i = 0; i < n; ++i) x[i] = samples[i] = u(rng);
            const auto spectrum = qvntest::ReferenceDft(x, -1);

            gen::ForwardRealDag fwd = gen::BuildForwardReal(gen::ParseRecipe(row.forward), fold);
            std::vector<gen::RealValue> parts;
            std::vector<Real> want;
            for (int k = 0; 2 * k <= n; ++k) {
                parts.insert(parts.end(), {fwd.bins[k].re, fwd.bins[k].im});
                want.insert(want.end(), {spectrum[k].real(), spectrum[k].imag()});
            }
            EXPECT_LT(gen::RelativeRms(EvaluateReal(fwd.dag, parts, samples), want), 1e-15) << "forward " << n;

            // Slot 2k holds Re k, 2k + 1 Im k; the inverse must come back to x
            // (times N) whatever Im 0 and Im N/2 hold, so they carry junk here.
            gen::RealOutputsDag inv = gen::BuildInverseReal(gen::ParseRecipe(row.inverse), fold);
            std::vector<Real> slots(n + 2);
            for (int k = 0; 2 * k <= n; ++k) {
                slots[gen::ReSlot(k)] = spectrum[k].real();
                slots[gen::ImSlot(k)] = k == 0 || 2 * k == n ? 1e6 : spectrum[k].imag();
            }
            std::vector<Real> scaled(samples);
            for (Real& s : scaled) s *= n;
            EXPECT_LT(gen::RelativeRms(EvaluateReal(inv.dag, inv.outputs, slots), scaled), 1e-15) << "inverse " << n;

            gen::RealOutputsDag dht = gen::BuildHartley(gen::ParseRecipe(row.hartley), fold);
            std::vector<Real> hartley(n);
            for (int k = 0; k < n; ++k) hartley[k] = spectrum[k].real() - spectrum[k].imag();
            EXPECT_LT(gen::RelativeRms(EvaluateReal(dht.dag, dht.outputs, samples), hartley), 1e-15) << "Hartley " << n;
        }
    }
}

// The error estimate that explore-real prints: a nested Rader scheme is
// measurably less accurate than the direct method of the same length, and
// both errors sit where rounding to double and to float puts them (an
// estimate that skipped the rounding, or a wrong reference, falls outside).
TEST(RealAccuracy, EstimateSeparatesNestedRaderFromDirectPairs) {
    const gen::Recipe rader = gen::ParseRecipe("rader(pfa(2, rader(10)))"), direct = gen::ParseRecipe("pairs(23)");
    for (auto family : {gen::RealFamily::kForward, gen::RealFamily::kInverse, gen::RealFamily::kHartley}) {
        const gen::SchemeError r = gen::EstimateRealError(family, rader, 40);
        const gen::SchemeError d = gen::EstimateRealError(family, direct, 40);
        EXPECT_LT(d.dbl, 0.8 * r.dbl);
        EXPECT_LT(d.single, 0.8 * r.single);
        for (double e : {r.dbl, d.dbl}) {
            EXPECT_GT(e, 5e-17);
            EXPECT_LT(e, 1e-15);
        }
        for (double e : {r.single, d.single}) {
            EXPECT_GT(e, 2e-8);
            EXPECT_LT(e, 5e-7);
        }
    }
}

// The kernels that keep their doubled sums for the wider builds' sake are
// a list written by `qvngen-gen fold-check`; a scheme or emitter change
// that makes the fold stop shrinking one of them leaves a row that no longer
// decides anything.
TEST(RealDftFile, FoldLossesNameKernelsTheFoldShrinks) { EXPECT_EQ(gen::StaleFoldLosses(), ""); }

TEST(Program, RefusesToStoreBeforeTheLastLoad) {
    gen::Program ok;
    int a = ok.Add(gen::Program::Kind::kLoad, "a", {});
    int b = ok.Add(gen::Program::Kind::kLoad, "b", {});
    int s = ok.Add(gen::Program::Kind::kCompute, "s", {a, b}, 0);
    ok.Add(gen::Program::Kind::kStore, "store s", {s});
    EXPECT_NO_THROW(ok.Emit(""));

    gen::Program bad;  // the first store needs only `a`, the second needs `b`
    a = bad.Add(gen::Program::Kind::kLoad, "a", {});
    bad.Add(gen::Program::Kind::kStore, "store a", {a});
    b = bad.Add(gen::Program::Kind::kLoad, "b", {});
    int t = bad.Add(gen::Program::Kind::kCompute, "t", {b}, 5);
    bad.Add(gen::Program::Kind::kStore, "store t", {t});
    EXPECT_THROW(bad.Emit(""), std::runtime_error);
}

// The body chooser weighs this against the port count, so a chain must add
// up along its dependencies and parallel chains must not.
TEST(Program, CriticalPathFollowsTheLongestChain) {
    using Kind = gen::Program::Kind;
    gen::Program p;
    const int x = p.Add(Kind::kLoad, "const __m128 x = _mm_loadu_ps(src);", {});
    const int y = p.Add(Kind::kLoad, "const __m128 y = qvn::GatherFloats(src, src + 3, src + 5, src + 7);", {});
    // 5 (load) + 3 (add) + 1 (xor inside the add) = 9
    const int s = p.Add(Kind::kCompute, "// a comment naming _mm_mul_pd is no work\nconst __m128 s = _mm_add_ps(x, _mm_xor_ps(x, m));", {x});
    // 9 + 5 (widen) + 4 (multiply by a table constant, whose load is off the chain) + 5 (narrow) = 23
    const int w = p.Add(Kind::kCompute, "const __m128 w = _mm256_cvtpd_ps(_mm256_mul_pd(_mm256_cvtps_pd(s), _mm256_load_pd(kC)));", {s});
    EXPECT_EQ(p.CriticalPath(), 23);
    // A parallel chain from the gather: 5 + 2 + 3 + 3 = 13, shorter.
    const int t = p.Add(Kind::kCompute, "const __m128 t = _mm_sub_ps(y, y);", {y});
    const int u = p.Add(Kind::kCompute, "const __m128 u = _mm_add_ps(t, t);", {t});
    EXPECT_EQ(p.CriticalPath(), 23);
    // Joining both: 23 + 3 for the sum, and a store with its scaling product 4.
    const int j = p.Add(Kind::kCompute, "const __m128 j = _mm_add_ps(w, u);", {w, u});
    p.Add(Kind::kStore, "qvn::StoreTwoFloats(dst, _mm_mul_ps(j, nscale));", {j, x, y});
    EXPECT_EQ(p.CriticalPath(), 30);
}

// Six independent chains load -> multiply -> multiply -> store. Issued as
// soon as their inputs are done, all six loads start at once; with a
// register budget the order must never hold more values than that.
TEST(Program, LatencyOrderKeepsWithinTheRegisters) {
    using Kind = gen::Program::Kind;
    constexpr int kChains = 6;
    gen::Program p;
    for (int i = 0; i < kChains; ++i) {
        const std::string k = std::to_string(i);
        const int l = p.Add(Kind::kLoad, "const __m128d l" + k + " = _mm_loadu_pd(x + " + k + ");", {});
        const int m = p.Add(Kind::kCompute, "const __m128d m" + k + " = _mm_mul_pd(l" + k + ", l" + k + ");", {l}, 10 * i);
        const int n = p.Add(Kind::kCompute, "const __m128d n" + k + " = _mm_mul_pd(m" + k + ", m" + k + ");", {m}, 10 * i + 1);
        p.Add(Kind::kStore, "_mm_storeu_pd(y + " + k + ", n" + k + ");", {n});
    }
    // Values alive at the busiest point of the emitted order: l, m and n of a
    // chain live until the next statement of that chain.
    auto most_alive = [](const std::string& body) {
        std::set<std::string> alive;
        size_t most = 0;
        std::istringstream lines(body);
        for (std::string line; std::getline(lines, line);) {
            const size_t eq = line.find(" = ");
            const std::string chain = line.substr(line.find_last_of("0123456789", line.find(')')), 1);
            if (line.find("_mm_mul_pd(l") != std::string::npos) alive.erase("l" + chain);
            if (line.find("_mm_mul_pd(m") != std::string::npos) alive.erase("m" + chain);
            if (line.find("_mm_storeu_pd") != std::string::npos) alive.erase("n" + chain);
            if (eq != std::string::npos) alive.insert(line.substr(eq - 2, 2));
            most = std::max(most, alive.size());
        }
        return most;
    };
    const auto latency = gen::Program::Order::kByLatency;
    EXPECT_LE(most_alive(p.Emit("", true)), 2u);  // built order: one chain at a time
    EXPECT_GT(most_alive(p.Emit("", true, latency)), 3u);
    EXPECT_LE(most_alive(p.Emit("", true, latency, 3)), 3u);
}

}  // namespace
