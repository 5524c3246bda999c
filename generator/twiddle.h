// Exact rotation constants: e^(2*pi*i*k/n) in long double with the angle
// reduced to the first octant by integer arithmetic, so that symmetric angles
// give exactly the same magnitudes and the quadrant angles give exact 0 and 1.
#pragma once

#include <cmath>
#include <complex>

namespace gen {

using Real = long double;
using Cx = std::complex<Real>;

constexpr Real kPi = 3.141592653589793238462643383279502884L;

// e^(sign * 2*pi*i * k / n) for any integer k.
inline Cx Rotation(long long k, long long n, int sign) {
    long long u = ((4 * k) % (4 * n) + 4 * n) % (4 * n);  // angle in quarter turns times n
    long long quadrant = u / n;
    long long rem = u % n;  // angle within the quadrant: (pi/2) * rem / n
    Real c, s;
    if (2 * rem == n) {
        c = s = std::sqrt(Real(0.5));
    } else if (2 * rem < n) {
        Real a = kPi / 2 * Real(rem) / Real(n);
        c = std::cos(a);
        s = std::sin(a);
    } else {
        Real a = kPi / 2 * Real(n - rem) / Real(n);
        c = std::sin(a);
        s = std::cos(a);
    }
    if (rem == 0) { c = 1; s = 0; }
    Real re, im;
    switch (quadrant) {
        case 0: re = c; im = s; break;
        case 1: re = -s; im = c; break;
        case 2: re = -c; im = -s; break;
        default: re = s; im = -c; break;
    }
    return Cx(re, sign < 0 ? -im : im);
}

}  // namespace gen
