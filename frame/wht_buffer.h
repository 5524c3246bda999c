// Work-buffer sizes of the Walsh-Hadamard orders, in bytes, indexed by order.
// One element per point for the two-pass orders; the three-pass orders
// (float 12-13, double 11-13) carry extra room beyond that.
#pragma once

#include <cstdint>

namespace qvn {

inline constexpr std::int32_t kWhtBufferBytes32f[14] = {0, 0, 0, 0, 0, 0, 0, 0, 1024, 2048, 4096, 8192, 18432, 34816};
inline constexpr std::int32_t kWhtBufferBytes64f[14] = {0, 0, 0, 0, 0, 0, 0, 0, 2048, 4096, 8192, 18432, 34816, 73728};

template <class Real>
constexpr std::int32_t WhtBufferBytes(int order) {
    return sizeof(Real) == 4 ? kWhtBufferBytes32f[order] : kWhtBufferBytes64f[order];
}

}  // namespace qvn
