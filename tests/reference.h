// Slow, accurate transforms (complex and real DFT, Hartley) used as the
// yardstick for the generated kernels.
//
// The sum is formed directly in long double. Every twiddle angle is reduced
// exactly first: exp(-+2*pi*i*j*k/N) depends only on m = (j*k) mod N, so the
// table holds cos/sin of 2*pi*m/N for m < N and the argument never grows
// with j*k. That keeps the reference several orders of magnitude more
// accurate than a double kernel.
#pragma once

#include <cmath>
#include <complex>
#include <cstddef>
#include <vector>

namespace qvntest {

using RefComplex = std::complex<long double>;

inline constexpr long double kPi = 3.141592653589793238462643383279502884L;

// y[k] = scale * sum_j x[j] * exp(sign * 2*pi*i*j*k/N), sign = -1 forward, +1 inverse.
inline std::vector<RefComplex> ReferenceDft(const std::vector<RefComplex>& x, int sign,
                                            long double scale = 1.0L) {
    const std::size_t n = x.size();
    std::vector<RefComplex> twiddle(n);
    for (std::size_t m = 0; m < n; ++m) {
        const long double angle = 2.0L * kPi * static_cast<long double>(m) / n;
        twiddle[m] = RefComplex(std::cos(angle), sign * std::sin(angle));
    }
    std::vector<RefComplex> y(n);
    for (std::size_t k = 0; k < n; ++k) {
        RefComplex sum = 0.0L;
        for (std::size_t j = 0; j < n; ++j) sum += x[j] * twiddle[(j * k) % n];
        y[k] = scale * sum;
    }
    return y;
}

// Widens an array of Complex32f / Complex64f (anything with .re and .im).
template <class Elem>
std::vector<RefComplex> Widen(const Elem* x, std::size_t n) {
    std::vector<RefComplex> out(n);
    for (std::size_t i = 0; i < n; ++i) out[i] = RefComplex(x[i].re, x[i].im);
    return out;
}

// sqrt(sum |y - ref|^2 / sum |ref|^2); the error measure of all accuracy checks.
template <class Elem>
double RelativeRmsError(const Elem* y, const std::vector<RefComplex>& ref) {
    long double err = 0.0L, norm = 0.0L;
    for (std::size_t i = 0; i < ref.size(); ++i) {
        err += std::norm(RefComplex(y[i].re, y[i].im) - ref[i]);
        norm += std::norm(ref[i]);
    }
    return static_cast<double>(std::sqrt(err / norm));
}

// Real signals. The real DFT keeps bins 0..N/2 of ReferenceDft(x, -1); its
// inverse rebuilds the other half as X[N-k] = conj(X[k]), taking Im 0 and, for
// even N, Im N/2 as zero. The Hartley transform uses cas = cos + sin of the
// same exactly reduced angles.

inline std::vector<RefComplex> ReferenceRealDft(const std::vector<long double>& x, long double scale = 1.0L) {
    std::vector<RefComplex> y = ReferenceDft(std::vector<RefComplex>(x.begin(), x.end()), -1, scale);
    y.resize(x.size() / 2 + 1);
    return y;
}

inline std::vector<long double> ReferenceRealInverse(const std::vector<RefComplex>& half, std::size_t n,
                                                     long double scale = 1.0L) {
    std::vector<RefComplex> full(n);
    for (std::size_t k = 0; k <= n / 2; ++k) {
        const RefComplex v = k == 0 || 2 * k == n ? RefComplex(half[k].real(), 0.0L) : half[k];
        full[k] = v;
        if (k != 0) full[n - k] = std::conj(v);
    }
    const std::vector<RefComplex> y = ReferenceDft(full, +1, scale);
    std::vector<long double> out(n);
    for (std::size_t i = 0; i < n; ++i) out[i] = y[i].real();
    return out;
}

inline std::vector<long double> ReferenceHartley(const std::vector<long double>& x, long double scale = 1.0L) {
    const std::size_t n = x.size();
    std::vector<long double> cas(n);
    for (std::size_t m = 0; m < n; ++m) {
        const long double angle = 2.0L * kPi * static_cast<long double>(m) / n;
        cas[m] = std::cos(angle) + std::sin(angle);
    }
    std::vector<long double> y(n);
    for (std::size_t k = 0; k < n; ++k) {
        long double sum = 0.0L;
        for (std::size_t j = 0; j < n; ++j) sum += x[j] * cas[(j * k) % n];
        y[k] = scale * sum;
    }
    return y;
}

// sqrt(sum (y - ref)^2 / sum ref^2) for real arrays of float or double.
template <class Real>
double RelativeRmsError(const Real* y, const std::vector<long double>& ref) {
    long double err = 0.0L, norm = 0.0L;
    for (std::size_t i = 0; i < ref.size(); ++i) {
        const long double d = static_cast<long double>(y[i]) - ref[i];
        err += d * d;
        norm += ref[i] * ref[i];
    }
    return static_cast<double>(std::sqrt(err / norm));
}

}  // namespace qvntest
