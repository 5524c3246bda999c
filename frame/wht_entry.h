// Entry template of the fixed-order Walsh-Hadamard exports: alignment
// choice (frame/entry.h), null pointers, flag (1 and 2 both select 1/N),
// then the work area.
//
// Orders 8 and up pass their data through a work area: the caller's buffer
// when there is one, otherwise a block from qvnMalloc that is returned before
// the call ends. If that allocation fails the destination itself serves as
// the work area: every pass reads a whole row or column group before writing
// it, so the result is the same, even in place.
#pragma once

#include <cstdint>

#include "frame/entry.h"
#include "frame/scale.h"
#include "frame/wht_buffer.h"
#include "qvncore.h"
#include "qvngen.h"

namespace qvn {

// Body signature: (input, output, scale, work area or null below order 8).
template <class Real>
using WhtBody = void (*)(const Real*, Real*, Real, Real*);

template <class R, int Order, const ScaleSet<R>& S, bool TwoBodies, WhtBody<R> AlignedBody, WhtBody<R> UnalignedBody>
struct WhtKernel {
    using Real = R;
    static constexpr bool kTwoBodies = TwoBodies;
    static constexpr WhtBody<R> kAligned = AlignedBody;
    static constexpr WhtBody<R> kUnaligned = UnalignedBody;

    // The first body with its scale fixed at 1, for unscaled calls: GCC
    // drops the multiplies of the last pass (see UnscaledCopy, frame/entry.h).
    // The orders that stay in registers keep it in the entry; from order 8,
    // where the body is passes of loops, it is a function of its own.
    [[gnu::flatten]] static void UnscaledInline(const R* x, R* y, R* work) { AlignedBody(x, y, R(1), work); }
    [[gnu::flatten, gnu::noinline]] static void UnscaledSeparate(const R* x, R* y, R* work) {
        AlignedBody(x, y, R(1), work);
    }
    static void Run(WhtBody<R> body, const R* x, R* y, R scale, R* work) {
        if (body != AlignedBody || scale != R(1))
            body(x, y, scale, work);
        else if constexpr (Order < 8)
            UnscaledInline(x, y, work);
        else
            UnscaledSeparate(x, y, work);
    }

    // Null pointers, then the flag, then the work area of the large orders.
    static Status Checked(WhtBody<R> body, const R* src, R* dst, int32_t flag, std::uint8_t* buffer) {
        if (src == nullptr || dst == nullptr) return kStatusNullPointer;
        R scale;
        if (!SelectScale<Direction::kSelfInverse>(flag, S, &scale)) return kStatusBadFlag;
        if constexpr (Order < 8) {
            (void)buffer;  // never touched
            Run(body, src, dst, scale, nullptr);
        } else {
            std::uint8_t* owned = nullptr;
            if (buffer == nullptr) buffer = owned = static_cast<std::uint8_t*>(qvnMalloc(WhtBufferBytes<R>(Order)));
            R* work = buffer != nullptr ? reinterpret_cast<R*>(buffer) : dst;
            Run(body, src, dst, scale, work);
            if (owned != nullptr) qvnFree(owned);  // no call into the core library when the caller gave a buffer
        }
        return kStatusOk;
    }
};

}  // namespace qvn

#define QVN_DEFINE_WHT_ENTRY(exportName, Kernel)                                                        \
    QVN_DECL(Status) exportName(const Kernel::Real* src, Kernel::Real* dst, ScaleFlag flag, uint8_t* buffer) { \
        return qvn::Entry<Kernel>(src, dst, flag, buffer);                                                  \
    }
