// Generic entries that take the length as an argument. The length is tested
// first, as one unsigned comparison (N - 2 > 62 rejects N < 2, every negative
// N and N > 64), and the call goes on unchanged to the fixed-length entry,
// which does all the other checks and whose status comes back as it is.
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

// X(N, stem, prec) for every length, in ascending order.
#define QVN_FOR_EACH_LENGTH_WITH(X, stem, prec) \
    X(2, stem, prec) X(3, stem, prec) X(4, stem, prec) X(5, stem, prec) X(6, stem, prec) \
    X(7, stem, prec) X(8, stem, prec) X(9, stem, prec) X(10, stem, prec) X(11, stem, prec) \
    X(12, stem, prec) X(13, stem, prec) X(14, stem, prec) X(15, stem, prec) \
    X(16, stem, prec) X(17, stem, prec) X(18, stem, prec) X(19, stem, prec) \
    X(20, stem, prec) X(21, stem, prec) X(22, stem, prec) X(23, stem, prec) \
    X(24, stem, prec) X(25, stem, prec) X(26, stem, prec) X(27, stem, prec) \
    X(28, stem, prec) X(29, stem, prec) X(30, stem, prec) X(31, stem, prec) \
    X(32, stem, prec) X(33, stem, prec) X(34, stem, prec) X(35, stem, prec) \
    X(36, stem, prec) X(37, stem, prec) X(38, stem, prec) X(39, stem, prec) \
    X(40, stem, prec) X(41, stem, prec) X(42, stem, prec) X(43, stem, prec) \
    X(44, stem, prec) X(45, stem, prec) X(46, stem, prec) X(47, stem, prec) \
    X(48, stem, prec) X(49, stem, prec) X(50, stem, prec) X(51, stem, prec) \
    X(52, stem, prec) X(53, stem, prec) X(54, stem, prec) X(55, stem, prec) \
    X(56, stem, prec) X(57, stem, prec) X(58, stem, prec) X(59, stem, prec) \
    X(60, stem, prec) X(61, stem, prec) X(62, stem, prec) X(63, stem, prec) \
    X(64, stem, prec)

#define QVN_FIXED_ENTRY(N, stem, prec) stem##N##_##prec,

// Defines the generic entry stem##prec (for example qvngHartley_ + 32f) over
// the table of the fixed entries stem##N##_##prec, N = 2..64, all taking
// (const T* src, T* dst, ScaleFlag).
#define QVN_DEFINE_LENGTH_DISPATCHER(stem, prec, T)                                        \
    QVN_DECL(Status) stem##prec(const T* src, T* dst, int32_t n, ScaleFlag flag) {          \
        using Fixed = Status(QVN_API*)(const T*, T*, ScaleFlag);                           \
        static constexpr Fixed kTable[] = {QVN_FOR_EACH_LENGTH_WITH(QVN_FIXED_ENTRY, stem, prec)}; \
        return qvn::DispatchByLength(kTable, n, src, dst, flag);                           \
    }
