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

// Marks a body that GCC schedules before register allocation, weighing
// register pressure (-fschedule-insns -fsched-pressure), for the bodies whose
// values outnumber the registers: the generator asks for it where that
// measured faster. Other compilers compile the body as it stands.
#if defined(__GNUC__) && !defined(__clang__)
#define QVN_PRESSURE_SCHEDULED __attribute__((optimize("schedule-insns", "sched-pressure")))
#else
#define QVN_PRESSURE_SCHEDULED
#endif

namespace qvn {

// bytes: size of the array each body reads or writes (0: no page check).
// align: an array on this boundary is safe for the first body; 0 when no
// boundary is (some wide access sits 16 bytes off the width).
struct PageCheck {
    unsigned bytes = 0;
    unsigned align = 0;
};

constexpr std::uintptr_t kPageBytes = 4096;

// Calls that do not scale (kScaleNone, and the other direction's 1/N flag)
// run a copy of the body with its scale fixed at 1. x * 1 is x for every
// value but a signalling NaN, which the multiply would quiet, and every
// output of a transform is a sum or difference, never a signalling NaN; so
// GCC, which does not honour signalling NaNs unless asked, drops the final
// multiplies: the same bits, a multiply fewer per output vector and a
// shorter chain to the stores (a tenth of the time of the 7-point complex
// kernel). Where the copy lives:
//   kInline: in the entry, for small bodies, where a call would cost more
//            than the multiplies saved;
//   kSeparate: in a function of its own, for large bodies, which GCC
//            allocates worse as two copies in one function (up to 6% slower
//            at 64f real N >= 27);
//   kSeparatePressureScheduled: the same for a QVN_PRESSURE_SCHEDULED body,
//            which GCC inlines only into a function compiled alike (else the
//            copy would be one more call, 2-16% slower).
enum class UnscaledCopy { kInline, kSeparate, kSeparatePressureScheduled };

// Body: any body taking (input, output, scale, extra...), the extra
// arguments passed through (the WHT's work area).
template <UnscaledCopy U, class R, auto Body>
struct UnscaledBody {
    template <class... Extra>
    [[gnu::flatten]] static void Inline(const R* x, R* y, Extra... extra) {
        Body(x, y, R(1), extra...);
    }
    template <class... Extra>
    [[gnu::flatten, gnu::noinline]] static void Separate(const R* x, R* y, Extra... extra) {
        Body(x, y, R(1), extra...);
    }
    template <class... Extra>
    [[gnu::flatten, gnu::noinline]] static QVN_PRESSURE_SCHEDULED void SeparatePressureScheduled(const R* x, R* y,
                                                                                                  Extra... extra) {
        Body(x, y, R(1), extra...);
    }
    template <class... Extra>
    static void Run(const R* x, R* y, Extra... extra) {
        if constexpr (U == UnscaledCopy::kInline)
            Inline(x, y, extra...);
        else if constexpr (U == UnscaledCopy::kSeparate)
            Separate(x, y, extra...);
        else
            SeparatePressureScheduled(x, y, extra...);
    }
};

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
