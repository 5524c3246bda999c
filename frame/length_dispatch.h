// Generic entries that take the length as an argument. The length is tested
// first, as one unsigned comparison (N - 2 > 62 rejects N < 2, every negative
// N and N > 64), and the call goes on unchanged to the fixed-length entry,
// which does all the other checks.
#pragma once

#include <cstdint>

#include "qvngen.h"

namespace qvn {

inline constexpr int kMinLength = 2;
inline constexpr int kMaxLength = 64;

template <class Entry, class... Args>
inline Status DispatchByLength(const Entry (&table)[kMaxLength - kMinLength + 1], int32_t n, Args... args) {
    const std::uint32_t index = static_cast<std::uint32_t>(n) - static_cast<std::uint32_t>(kMinLength);
    if (index > static_cast<std::uint32_t>(kMaxLength - kMinLength)) return kStatusBadSize;
    return table[index](args...);
}

}  // namespace qvn
