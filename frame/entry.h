// The body choice shared by every entry that has two bodies.
//
// SSE2 kernels (kTwoBodies): if the source or the destination is not on a
// 16-byte boundary, the whole call goes to the unaligned twin, a separate
// function that repeats the checks, so the aligned entry stays small. A null
// pointer is aligned, so it always reaches the null test of the body it picks.
//
// Wide-vector kernels (kPageCheck.bytes != 0): their first body loads and
// stores 32 bytes at a time, unaligned, and an access that crosses a 4 KB
// page boundary costs tens of cycles (a 16-byte-aligned array from malloc
// that ends in the next page has one). Their twin moves the same values in
// 128-bit pieces, which cross no page on a 16-byte-aligned array. The call
// goes to the twin when the source's or the destination's byte range
// crosses a page and that array is not on the boundary (kPageCheck.align)
// that keeps every wide access of the first body inside one page. A null
// pointer crosses nothing.
//
// A Kernel provides kTwoBodies, kAligned and kUnaligned (its two bodies),
// optionally kPageCheck, and
//   static Status Checked(Body body, Src src, Dst dst, Args... args)
// which does the family's checks in order and then runs `body`.
#pragma once

#include <cstdint>

#include "qvngen.h"

namespace qvn {

// bytes: size of the array each body reads or writes (0: no page check).
// align: an array on this boundary is safe for the first body; 0 when no
// boundary is (some wide access sits 16 bytes off the width).
struct PageCheck {
    unsigned bytes = 0;
    unsigned align = 0;
};

constexpr std::uintptr_t kPageBytes = 4096;

template <PageCheck C>
inline bool CrossesPageUnaligned(std::uintptr_t p) {
    constexpr std::uintptr_t misaligned = C.align != 0 ? C.align - 1 : ~std::uintptr_t{0};
    return ((p & (kPageBytes - 1)) > kPageBytes - C.bytes) & ((p & misaligned) != 0);
}

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
    if constexpr (requires { Kernel::kPageCheck; }) {
        if constexpr (Kernel::kPageCheck.bytes != 0) {
            constexpr PageCheck c = Kernel::kPageCheck;
            static_assert(c.bytes <= kPageBytes);
            const auto s = reinterpret_cast<std::uintptr_t>(src), d = reinterpret_cast<std::uintptr_t>(dst);
            if (CrossesPageUnaligned<c>(s) | CrossesPageUnaligned<c>(d)) return UnalignedTwin<Kernel>(src, dst, args...);
        }
    }
    return Kernel::Checked(Kernel::kAligned, src, dst, args...);
}

}  // namespace qvn
