#include "algorithms.h"

#include <cassert>
#include <functional>
#include <numeric>
#include <stdexcept>

namespace gen {
namespace {

Signal Butterfly(Dag& dag, const Signal& x, int sign);
Signal Build(Dag& dag, const Recipe& r, const Signal& x, int sign, int depth);

// Direct symmetric-pair evaluation of an odd length p:
//   u_m = x_m + x_(p-m), v_m = x_m - x_(p-m),
//   A_k = x0 + sum cos(2 pi m k/p) u_m, B_k = sum sin(2 pi m k/p) v_m,
//   y_k = A_k + sign*i*B_k, y_(p-k) = A_k - sign*i*B_k.
Signal SymmetricPairs(Dag& dag, const Signal& x, int sign) {
    const int p = static_cast<int>(x.size());
    const int h = (p - 1) / 2;
    Signal u(h + 1), v(h + 1), y(p);
    Value sum_u{};
    for (int m = 1; m <= h; ++m) {
        u[m] = dag.Add(x[m], x[p - m]);
        v[m] = dag.Sub(x[m], x[p - m]);
        sum_u = dag.Add(sum_u, u[m]);
    }
    y[0] = dag.Add(x[0], sum_u);
    for (int k = 1; k <= h; ++k) {
        Value a = x[0], b{};
        for (int m = 1; m <= h; ++m) {
            Cx w = Rotation(static_cast<long long>(m) * k, p, +1);
            a = dag.Add(a, dag.MulReal(u[m], w.real()));
            b = dag.Add(b, dag.MulReal(v[m], w.imag()));
        }
        Value ib = dag.MulI(b);
        if (sign < 0) ib = Dag::Neg(ib);
        y[k] = dag.Add(a, ib);
        y[p - k] = dag.Sub(a, ib);
    }
    return y;
}

// Five-point stage with the real-part centre x0 - t/4 corrected by
// +-(sqrt(5)/4)(u1 - u2), t = u1 + u2.
Signal QuarterFive(Dag& dag, const Signal& x, int sign) {
    Value u1 = dag.Add(x[1], x[4]), v1 = dag.Sub(x[1], x[4]);
    Value u2 = dag.Add(x[2], x[3]), v2 = dag.Sub(x[2], x[3]);
    Value t = dag.Add(u1, u2);
    Value centre = dag.Sub(x[0], dag.MulReal(t, 0.25L));
    Value corr = dag.MulReal(dag.Sub(u1, u2), std::sqrt(Real(5)) / 4);
    Value a1 = dag.Add(centre, corr), a2 = dag.Sub(centre, corr);
    Real s1 = Rotation(1, 5, +1).imag(), s2 = Rotation(2, 5, +1).imag();
    Value b1 = dag.Add(dag.MulReal(v1, s1), dag.MulReal(v2, s2));
    Value b2 = dag.Sub(dag.MulReal(v1, s2), dag.MulReal(v2, s1));
    auto turn = [&](Value b) { Value ib = dag.MulI(b); return sign < 0 ? Dag::Neg(ib) : ib; };
    return {dag.Add(x[0], t), dag.Add(a1, turn(b1)), dag.Add(a2, turn(b2)),
            dag.Sub(a2, turn(b2)), dag.Sub(a1, turn(b1))};
}

// The two-factor structure shared by Cooley-Tukey and Good-Thomas, N = N1*N2:
// N2 column transforms of length N1 over x[input(j1, j2)], a rotation of
// element (j2, k1), then N1 row transforms of length N2 whose outputs go to
// y[output(k1, k2)]. The transforms of each stage are recorded as siblings,
// so the paired emitter can run neighbours side by side.
struct TwoFactorMap {
    std::function<int(int, int)> input;     // (j1, j2) -> n
    std::function<Cx(int, int)> rotation;   // (j2, k1) -> factor
    std::function<int(int, int)> output;    // (k1, k2) -> k
};

Signal TwoFactor(Dag& dag, const Recipe& r, const Signal& x, int sign, int depth, const TwoFactorMap& map) {
    const int n1 = r.parts[0].length, n2 = r.parts[1].length;
    std::vector<Signal> cols(n2);
    std::vector<std::pair<int, int>> ranges;
    const std::string scheme = Describe(r);
    for (int j2 = 0; j2 < n2; ++j2) {
        Signal in(n1);
        for (int j1 = 0; j1 < n1; ++j1) in[j1] = x[map.input(j1, j2)];
        int begin = dag.size();
        dag.Label(begin, scheme + ": column " + std::to_string(j2) + " of " + std::to_string(n2));
        cols[j2] = Build(dag, r.parts[0], in, sign, depth + 1);
        ranges.push_back({begin, dag.size()});
    }
    dag.MarkSiblings(ranges, depth);
    ranges.clear();
    Signal y(r.length);
    for (int k1 = 0; k1 < n1; ++k1) {
        Signal in(n2);
        dag.Label(dag.size(), scheme + ": row " + std::to_string(k1) + " of " + std::to_string(n1));
        for (int j2 = 0; j2 < n2; ++j2) in[j2] = dag.Mul(cols[j2][k1], map.rotation(j2, k1));
        int begin = dag.size();
        Signal out = Build(dag, r.parts[1], in, sign, depth + 1);
        ranges.push_back({begin, dag.size()});
        for (int k2 = 0; k2 < n2; ++k2) y[map.output(k1, k2)] = out[k2];
    }
    dag.MarkSiblings(ranges, depth);
    return y;
}

// Cooley-Tukey: input n = N2*n1 + n2, rotations e^(sign 2 pi i n2 k1 / N),
// output k = k1 + N1*k2.
Signal CooleyTukey(Dag& dag, const Recipe& r, const Signal& x, int sign, int depth) {
    const int n1 = r.parts[0].length, n2 = r.parts[1].length, n = r.length;
    return TwoFactor(dag, r, x, sign, depth,
                     {[=](int j1, int j2) { return n2 * j1 + j2; },
                      [=](int j2, int k1) { return Rotation(static_cast<long long>(j2) * k1, n, sign); },
                      [=](int k1, int k2) { return k1 + n1 * k2; }});
}

// Good-Thomas, gcd(N1, N2) = 1: input n = (N2*n1 + N1*n2) mod N, no
// rotations, output by the Chinese-remainder map k = k1 (mod N1), k2 (mod N2).
Signal PrimeFactor(Dag& dag, const Recipe& r, const Signal& x, int sign, int depth) {
    const int n1 = r.parts[0].length, n2 = r.parts[1].length, n = r.length;
    if (std::gcd(n1, n2) != 1) throw std::runtime_error("pfa factors must be coprime");
    auto crt = [=](int k1, int k2) {
        int k = 0;
        while (k % n1 != k1 || k % n2 != k2) ++k;
        return k;
    };
    return TwoFactor(dag, r, x, sign, depth,
                     {[=](int j1, int j2) { return (n2 * j1 + n1 * j2) % n; }, [](int, int) { return Cx(1); },
                      crt});
}

int PowMod(long long base, long long e, long long m) {
    long long r = 1;
    base %= m;
    for (; e > 0; e >>= 1, base = base * base % m)
        if (e & 1) r = r * base % m;
    return static_cast<int>(r);
}

int PrimitiveRoot(int p) {
    for (int g = 2; g < p; ++g) {
        bool ok = true;
        for (int q = 2; q <= p - 1 && ok; ++q)
            if ((p - 1) % q == 0 && PowMod(g, (p - 1) / q, p) == 1) ok = false;
        if (ok) return g;
    }
    return 1;  // p = 2
}

// Rader for prime p: with g a primitive root, a[q] = x[g^q] and
// b[m] = e^(sign 2 pi i g^-m / p), y[g^-r] = x0 + (a (*) b)[r], the cyclic
// convolution of length M = p - 1. It is computed as F^-1(F(a) * F(b)/L)
// with transforms of length L (= M, or a zero-padded L >= 2M - 1). Adding
// x0 to the zero-frequency product adds it to every convolution output.
Signal Rader(Dag& dag, const Recipe& r, const Signal& x, int sign, int depth) {
    const int p = r.length, m = p - 1;
    const Recipe& inner = r.parts[0];
    const int l = inner.length;
    const int g = PrimitiveRoot(p), ginv = PowMod(g, p - 2, p);

    Signal a(l);
    for (int q = 0; q < m; ++q) a[q] = x[PowMod(g, q, p)];
    // Kernel b[j] = e^(sign 2 pi i g^-j / p); when padded, its negative
    // offsets wrap to the end: b[l - j] = b[m - j].
    std::vector<Cx> b(l, Cx(0));
    for (int j = 0; j < m; ++j) b[j] = Rotation(PowMod(ginv, j, p), p, sign);
    for (int j = 1; j < m; ++j) b[l - j] = b[m - j];
    dag.Label(dag.size(), "rader(" + std::to_string(p) + "): transform of the permuted inputs");
    Signal fa = Build(dag, inner, a, sign, depth + 1);
    dag.Label(dag.size(), "rader(" + std::to_string(p) + "): products with the transformed kernel");
    Signal prod(l);
    for (int j = 0; j < l; ++j) {
        Cx bj = 0;  // transformed kernel, normalised by 1/l, in long double
        for (int q = 0; q < l; ++q) bj += b[q] * Rotation(static_cast<long long>(j) * q, l, sign);
        // Symmetric kernels give exactly real or imaginary values; the long
        // double sum leaves ~1e-20 where the value is zero. Snap those, so the
        // product becomes a real or imaginary scaling instead of a full
        // complex multiplication.
        bj /= Real(l);
        auto snap = [](Real v) { return std::fabs(v) < 1e-16L ? Real(0) : v; };
        prod[j] = dag.Mul(fa[j], Cx(snap(bj.real()), snap(bj.imag())));
    }
    prod[0] = dag.Add(prod[0], x[0]);
    dag.Label(dag.size(), "rader(" + std::to_string(p) + "): inverse transform, the cyclic convolution");
    Signal conv = Build(dag, inner, prod, sign, depth + 1);  // conv[(l - r) mod l] = result r

    Signal y(p);
    y[0] = dag.Add(x[0], fa[0]);
    for (int q = 0; q < m; ++q) y[PowMod(ginv, q, p)] = conv[(l - q) % l];
    return y;
}

Signal Butterfly(Dag& dag, const Signal& x, int sign) {
    switch (x.size()) {
        case 2: return {dag.Add(x[0], x[1]), dag.Sub(x[0], x[1])};
        case 4: {
            Value s02 = dag.Add(x[0], x[2]), d02 = dag.Sub(x[0], x[2]);
            Value s13 = dag.Add(x[1], x[3]), d13 = dag.MulI(dag.Sub(x[1], x[3]));
            if (sign < 0) d13 = Dag::Neg(d13);
            return {dag.Add(s02, s13), dag.Add(d02, d13), dag.Sub(s02, s13), dag.Sub(d02, d13)};
        }
        default: return SymmetricPairs(dag, x, sign);
    }
}

Signal Build(Dag& dag, const Recipe& r, const Signal& x, int sign, int depth) {
    assert(static_cast<int>(x.size()) == r.length);
    switch (r.kind) {
        case Recipe::Kind::kButterfly: return Butterfly(dag, x, sign);
        case Recipe::Kind::kPairs: return SymmetricPairs(dag, x, sign);
        case Recipe::Kind::kQuarterFive: return QuarterFive(dag, x, sign);
        case Recipe::Kind::kRader:
        case Recipe::Kind::kPaddedRader: return Rader(dag, r, x, sign, depth);
        case Recipe::Kind::kCooleyTukey: return CooleyTukey(dag, r, x, sign, depth);
        case Recipe::Kind::kPrimeFactor: return PrimeFactor(dag, r, x, sign, depth);
    }
    throw std::runtime_error("unknown recipe kind");
}

}  // namespace

Signal Transform(Dag& dag, const Recipe& r, const Signal& x, int sign) { return Build(dag, r, x, sign, 0); }

}  // namespace gen
