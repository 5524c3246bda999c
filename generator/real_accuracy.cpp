#include "real_accuracy.h"

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "real_transforms.h"

namespace gen {
namespace {

struct Scheme {
    RealDag dag;
    std::vector<RealValue> outputs;
    int inputs;
};

Scheme Lowered(RealFamily family, const Recipe& recipe) {
    const int n = recipe.length;
    switch (family) {
        case RealFamily::kForward: {
            ForwardRealDag f = BuildForwardReal(recipe);
            Scheme s{std::move(f.dag), {}, n};
            for (const RealPair& bin : f.bins) s.outputs.insert(s.outputs.end(), {bin.re, bin.im});
            return s;
        }
        case RealFamily::kInverse: {
            RealOutputsDag d = BuildInverseReal(recipe);
            return {std::move(d.dag), std::move(d.outputs), 2 * (n / 2) + 2};
        }
        case RealFamily::kHartley: {
            RealOutputsDag d = BuildHartley(recipe);
            return {std::move(d.dag), std::move(d.outputs), n};
        }
    }
    return {};
}

// cos and sin of 2 pi r / n, the index reduced first so that large products
// k * m lose nothing.
Real CosTurn(long long r, int n) { return std::cos(2 * std::numbers::pi_v<Real> * (r % n) / n); }
Real SinTurn(long long r, int n) { return std::sin(2 * std::numbers::pi_v<Real> * (r % n) / n); }

// The exact outputs of the family for inputs x, from the definitions.
std::vector<Real> Exact(RealFamily family, int n, const std::vector<Real>& x) {
    std::vector<Real> y;
    switch (family) {
        case RealFamily::kForward:
            for (int k = 0; 2 * k <= n; ++k) {
                Real re = 0, im = 0;
                for (int m = 0; m < n; ++m) {
                    re += x[m] * CosTurn(1LL * k * m, n);
                    im -= x[m] * SinTurn(1LL * k * m, n);
                }
                y.insert(y.end(), {re, im});
            }
            break;
        case RealFamily::kInverse:
            // Re k in slot 2k, Im k in slot 2k + 1; Im 0 and Im N/2 are not read.
            for (int m = 0; m < n; ++m) {
                Real v = x[ReSlot(0)];
                if (n % 2 == 0) v += (m % 2 ? -1 : 1) * x[ReSlot(n / 2)];
                for (int k = 1; 2 * k < n; ++k)
                    v += 2 * (x[ReSlot(k)] * CosTurn(1LL * k * m, n) - x[ImSlot(k)] * SinTurn(1LL * k * m, n));
                y.push_back(v);
            }
            break;
        case RealFamily::kHartley:
            for (int k = 0; k < n; ++k) {
                Real h = 0;
                for (int m = 0; m < n; ++m) h += x[m] * (CosTurn(1LL * k * m, n) + SinTurn(1LL * k * m, n));
                y.push_back(h);
            }
            break;
    }
    return y;
}

// The DAG's outputs with the kernels' rounding (see the header).
std::vector<Real> Rounded(const Scheme& s, const std::vector<Real>& x, bool single) {
    auto narrow = [single](Real v) { return single ? Real(static_cast<float>(v)) : Real(static_cast<double>(v)); };
    std::vector<Real> v(s.dag.size());
    for (int id = 0; id < s.dag.size(); ++id) {
        const RealNode& n = s.dag.at(id);
        switch (n.op) {
            case RealOp::kLoad: v[id] = x.at(n.index); break;
            case RealOp::kAdd: v[id] = narrow(narrow(v[n.a]) + narrow(v[n.b])); break;
            case RealOp::kSub: v[id] = narrow(narrow(v[n.a]) - narrow(v[n.b])); break;
            // A product stays in double until something takes it.
            case RealOp::kMul: v[id] = static_cast<double>(v[n.a] * n.c); break;
        }
    }
    std::vector<Real> y;
    for (const RealValue& o : s.outputs) y.push_back(o.IsZero() ? 0 : narrow(o.negated ? -v[o.node] : v[o.node]));
    return y;
}

}  // namespace

double RelativeRms(const std::vector<Real>& got, const std::vector<Real>& want) {
    Real err = 0, norm = 0;
    for (size_t i = 0; i < want.size(); ++i) {
        err += (got[i] - want[i]) * (got[i] - want[i]);
        norm += want[i] * want[i];
    }
    return static_cast<double>(std::sqrt(err / norm));
}

SchemeError EstimateRealError(RealFamily family, const Recipe& recipe, int trials) {
    const Scheme s = Lowered(family, recipe);
    std::mt19937 rng(20261124);
    std::uniform_real_distribution<double> u(-1, 1);
    SchemeError e{0, 0};
    for (int t = 0; t < trials; ++t) {
        std::vector<Real> x(s.inputs), xf(s.inputs);
        for (int i = 0; i < s.inputs; ++i) {
            x[i] = u(rng);
            xf[i] = static_cast<float>(x[i]);
        }
        e.dbl += RelativeRms(Rounded(s, x, false), Exact(family, recipe.length, x));
        e.single += RelativeRms(Rounded(s, xf, true), Exact(family, recipe.length, xf));
    }
    e.dbl /= trials;
    e.single /= trials;
    return e;
}

}  // namespace gen
