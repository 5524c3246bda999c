// The alignment choice shared by every entry that has two bodies: if the
// source or the destination is not on a 16-byte boundary, the whole call goes
// to the unaligned twin, a separate function that repeats the checks, so the
// aligned entry stays small. A null pointer is aligned, so it always reaches
// the null test of the body it picks.
//
// A Kernel provides kTwoBodies, kAligned and kUnaligned (its two bodies) and
//   static Status Checked(Body body, Src src, Dst dst, Args... args)
// which does the family's checks in order and then runs `body`.
#pragma once

#include <cstdint>

#include "qvngen.h"

namespace qvn {

template <class Kernel, class Src, class Dst, class... Args>
[[gnu::noinline]] Status UnalignedTwin(Src src, Dst dst, Args... args) {
    return Kernel::Checked(Kernel::kUnaligned, src, dst, args...);
}

template <class Kernel, class Src, class Dst, class... Args>
inline Status Entry(Src src, Dst dst, Args... args) {
    if constexpr (Kernel::kTwoBodies) {
        auto misalignment = reinterpret_cast<std::uintptr_t>(src) | reinterpret_cast<std::uintptr_t>(dst);
        if ((misalignment & 15u) != 0) return UnalignedTwin<Kernel>(src, dst, args...);
    }
    return Kernel::Checked(Kernel::kAligned, src, dst, args...);
}

}  // namespace qvn
