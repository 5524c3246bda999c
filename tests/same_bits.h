// Bit-for-bit comparison of results, with the hex-float text a failure shows.
#pragma once

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstdio>
#include <string>

namespace qvntest {

// The bit pattern of a float or a double.
template <class Real>
auto Bits(Real v) {
    if constexpr (sizeof(Real) == 4) {
        return std::bit_cast<uint32_t>(v);
    } else {
        return std::bit_cast<uint64_t>(v);
    }
}

inline std::string Hex(double v) {
    char text[40];
    std::snprintf(text, sizeof text, "%a", v);
    return text;
}

// got[0..n) has exactly the bits of want[0..n); the failure names the first
// element that differs.
template <class Real>
testing::AssertionResult SameBits(const Real* got, const Real* want, int n) {
    for (int i = 0; i < n; ++i) {
        if (Bits(got[i]) != Bits(want[i])) {
            return testing::AssertionFailure() << "first difference at [" << i << "]: got " << Hex(got[i])
                                               << ", expected " << Hex(want[i]);
        }
    }
    return testing::AssertionSuccess();
}

}  // namespace qvntest
