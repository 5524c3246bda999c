#include "algorithms.h"

#include <cassert>
#include <functional>
#include <numeric>
#include <stdexcept>

namespace gen {
namespace {

Signal Butterfly(Dag& dag, const Signal& x, int sign);
Signal Build(Dag& dag, const Recipe& r, const Signal& x, int sign, int depth, Symmetry sym);

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
//
// Real input: the columns are real transforms, and row k1 > N1/2 holds the
// conjugates of row N1 - k1 (y[N-k] = conj y[k]), its output k2 being the
// conjugate of that row's output mirror(k2); so only rows 0..N1/2 are built.
// Conjugate-symmetric input (the transpose): column N2 - j2, once rotated,
// is the conjugate of column j2 rotated, so only columns 0..N2/2 are built,
// and every row transform has conjugate-symmetric input.
struct TwoFactorMap {
    std::function<int(int, int)> input;     // (j1, j2) -> n
    std::function<Cx(int, int)> rotation;   // (j2, k1) -> factor
    std::function<int(int, int)> output;    // (k1, k2) -> k
    std::function<int(int)> mirror;         // k2 -> k2 of the conjugate partner
    std::function<bool(int)> real_row;      // row k1 has real inputs when x is real
    std::function<bool(int)> hermitian_column;  // column j2 is conjugate-symmetric when x is
};

Signal TwoFactor(Dag& dag, const Recipe& r, const Signal& x, int sign, int depth, Symmetry sym,
                 const TwoFactorMap& map) {
    const int n1 = r.parts[0].length, n2 = r.parts[1].length;
    const bool real = sym == Symmetry::kRealInput, hermitian = sym == Symmetry::kHermitianInput;
    std::vector<Signal> cols(n2);
    std::vector<std::pair<int, int>> ranges;
    const std::string scheme = Describe(r);
    for (int j2 = 0; j2 < n2; ++j2) {
        if (hermitian && 2 * j2 > n2) continue;  // conjugates of column n2 - j2, below
        Signal in(n1);
        for (int j1 = 0; j1 < n1; ++j1) in[j1] = x[map.input(j1, j2)];
        int begin = dag.size();
        dag.Label(begin, scheme + ": column " + std::to_string(j2) + " of " + std::to_string(n2));
        Symmetry col_sym = real ? sym : hermitian && map.hermitian_column(j2) ? sym : Symmetry::kNone;
        cols[j2] = Build(dag, r.parts[0], in, sign, depth + 1, col_sym);
        ranges.push_back({begin, dag.size()});
    }
    dag.MarkSiblings(ranges, depth);
    ranges.clear();
    Signal y(r.length);
    std::vector<Signal> rows(n1);
    for (int k1 = 0; k1 < n1; ++k1) {
        if (real && 2 * k1 > n1) {
            for (int k2 = 0; k2 < n2; ++k2) y[map.output(k1, k2)] = dag.Conj(rows[n1 - k1][map.mirror(k2)]);
            continue;
        }
        Signal in(n2);
        dag.Label(dag.size(), scheme + ": row " + std::to_string(k1) + " of " + std::to_string(n1));
        for (int j2 = 0; j2 < n2; ++j2) {
            if (hermitian && 2 * j2 > n2) continue;
            in[j2] = dag.Mul(cols[j2][k1], map.rotation(j2, k1));
            if (hermitian && 2 * j2 == n2) in[j2] = dag.RealPart(in[j2]);  // its own conjugate
            if (hermitian && j2 > 0 && 2 * j2 < n2) in[n2 - j2] = dag.Conj(in[j2]);
        }
        int begin = dag.size();
        Symmetry row_sym = real && map.real_row(k1) ? sym : hermitian ? sym : Symmetry::kNone;
        rows[k1] = Build(dag, r.parts[1], in, sign, depth + 1, row_sym);
        ranges.push_back({begin, dag.size()});
        for (int k2 = 0; k2 < n2; ++k2) y[map.output(k1, k2)] = rows[k1][k2];
    }
    dag.MarkSiblings(ranges, depth);
    return y;
}

// Cooley-Tukey: input n = N2*n1 + n2, rotations e^(sign 2 pi i n2 k1 / N),
// output k = k1 + N1*k2. N - k = (N1 - k1) + N1*(N2 - 1 - k2); only row 0 is
// free of rotations.
Signal CooleyTukey(Dag& dag, const Recipe& r, const Signal& x, int sign, int depth, Symmetry sym) {
    const int n1 = r.parts[0].length, n2 = r.parts[1].length, n = r.length;
    return TwoFactor(dag, r, x, sign, depth, sym,
                     {[=](int j1, int j2) { return n2 * j1 + j2; },
                      [=](int j2, int k1) { return Rotation(static_cast<long long>(j2) * k1, n, sign); },
                      [=](int k1, int k2) { return k1 + n1 * k2; }, [=](int k2) { return n2 - 1 - k2; },
                      [](int k1) { return k1 == 0; }, [](int j2) { return j2 == 0; }});
}

// Good-Thomas, gcd(N1, N2) = 1: input n = (N2*n1 + N1*n2) mod N, no
// rotations, output by the Chinese-remainder map k = k1 (mod N1), k2 (mod N2).
// N - k is -k1 (mod N1), -k2 (mod N2); rows 0 and N1/2 take the real outputs
// of the real columns.
Signal PrimeFactor(Dag& dag, const Recipe& r, const Signal& x, int sign, int depth, Symmetry sym) {
    const int n1 = r.parts[0].length, n2 = r.parts[1].length, n = r.length;
    if (std::gcd(n1, n2) != 1) throw std::runtime_error("pfa factors must be coprime");
    auto crt = [=](int k1, int k2) {
        int k = 0;
        while (k % n1 != k1 || k % n2 != k2) ++k;
        return k;
    };
    return TwoFactor(dag, r, x, sign, depth, sym,
                     {[=](int j1, int j2) { return (n2 * j1 + n1 * j2) % n; }, [](int, int) { return Cx(1); }, crt,
                      [=](int k2) { return (n2 - k2) % n2; }, [=](int k1) { return k1 == 0 || 2 * k1 == n1; },
                      [=](int j2) { return j2 == 0 || 2 * j2 == n2; }});
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
Signal Rader(Dag& dag, const Recipe& r, const Signal& x, int sign, int depth, Symmetry sym) {
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
    const bool unpadded = l == m;
    // a is real when x is; conjugate-symmetric x makes a[q + m/2] = conj a[q],
    // which is no symmetry the builders know.
    Signal fa = Build(dag, inner, a, sign, depth + 1, sym == Symmetry::kRealInput ? sym : Symmetry::kNone);
    dag.Label(dag.size(), "rader(" + std::to_string(p) + "): products with the transformed kernel");
    // Real or conjugate-symmetric input, unpadded: b[j + m/2] = conj b[j]
    // (g^(m/2) = -1), so the kernel's cosines have only even and its sines
    // only odd frequencies. With real input fa[l - j] = conj fa[j]; with
    // conjugate-symmetric input a[q + m/2] = conj a[q], which gives fa the
    // kernel's pattern. So the products obey
    //   prod[l - j] = conj prod[j]             (j even, or symmetric input)
    //   prod[l - j] = -conj prod[j]            (j odd, real input)
    // and only half of them are formed, with three real multiplications
    // each. The convolution is then a transform of conjugate-symmetric data
    // (real result): for symmetric input all of it; for real input the even
    // bins give its real part and i times the odd bins its imaginary part.
    const bool real_split = unpadded && sym == Symmetry::kRealInput;
    const bool halve = unpadded && sym != Symmetry::kNone;
    Signal prod(l);
    for (int j = 0; j < l; ++j) {
        if (halve && 2 * j > l) {
            Value mirror = dag.Conj(prod[l - j]);
            prod[j] = real_split && j % 2 == 1 ? Dag::Neg(mirror) : mirror;
            continue;
        }
        Cx bj = 0;  // transformed kernel, normalised by 1/l, in long double
        for (int q = 0; q < l; ++q) bj += b[q] * Rotation(static_cast<long long>(j) * q, l, sign);
        // Symmetric kernels give exactly real or imaginary values; the long
        // double sum leaves ~1e-20 where the value is zero. Snap those, so the
        // product becomes a real or imaginary scaling instead of a full
        // complex multiplication.
        bj /= Real(l);
        auto snap = [](Real v) { return std::fabs(v) < 1e-16L ? Real(0) : v; };
        const Cx w(snap(bj.real()), snap(bj.imag()));
        prod[j] = halve ? dag.MulThree(fa[j], w) : dag.Mul(fa[j], w);
    }
    prod[0] = dag.Add(prod[0], x[0]);
    dag.Label(dag.size(), "rader(" + std::to_string(p) + "): inverse transform, the cyclic convolution");
    Signal conv(l);  // conv[(l - r) mod l] = result r
    if (real_split) {
        Signal even(l), odd(l);  // odd: -i times the odd bins, conjugate-symmetric
        for (int j = 0; j < l; ++j)
            if (j % 2 == 0) even[j] = prod[j]; else odd[j] = Dag::Neg(dag.MulI(prod[j]));
        Signal re = Build(dag, inner, even, sign, depth + 1, Symmetry::kHermitianInput);
        dag.Label(dag.size(), "rader(" + std::to_string(p) + "): inverse transform of the odd bins");
        Signal im = Build(dag, inner, odd, sign, depth + 1, Symmetry::kHermitianInput);
        for (int j = 0; j < l; ++j) conv[j] = dag.Add(re[j], dag.MulI(im[j]));
    } else {
        conv = Build(dag, inner, prod, sign, depth + 1, halve ? sym : Symmetry::kNone);
    }

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

Signal BuildScheme(Dag& dag, const Recipe& r, const Signal& x, int sign, int depth, Symmetry sym) {
    switch (r.kind) {
        case Recipe::Kind::kButterfly: return Butterfly(dag, x, sign);
        case Recipe::Kind::kPairs: return SymmetricPairs(dag, x, sign);
        case Recipe::Kind::kQuarterFive: return QuarterFive(dag, x, sign);
        case Recipe::Kind::kRader:
        case Recipe::Kind::kPaddedRader: return Rader(dag, r, x, sign, depth, sym);
        case Recipe::Kind::kCooleyTukey: return CooleyTukey(dag, r, x, sign, depth, sym);
        case Recipe::Kind::kPrimeFactor: return PrimeFactor(dag, r, x, sign, depth, sym);
    }
    throw std::runtime_error("unknown recipe kind");
}

Signal Build(Dag& dag, const Recipe& r, const Signal& x, int sign, int depth, Symmetry sym) {
    assert(static_cast<int>(x.size()) == r.length);
    Signal y = BuildScheme(dag, r, x, sign, depth, sym);
    // The transform of conjugate-symmetric data is real: say so, so that no
    // imaginary part is ever formed.
    if (sym == Symmetry::kHermitianInput)
        for (Value& v : y) v = dag.RealPart(v);
    return y;
}

}  // namespace

Signal Transform(Dag& dag, const Recipe& r, const Signal& x, int sign, Symmetry sym) {
    return Build(dag, r, x, sign, 0, sym);
}

}  // namespace gen
