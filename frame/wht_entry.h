// Entry template of the fixed-order Walsh-Hadamard exports: alignment
// choice (frame/entry.h), null pointers, flag (1 and 2 both select 1/N),
// then the work area.
//
// Orders 8 and up pass their data through a work area: the caller's buffer
// when there is one, otherwise a block from qvnMalloc that is returned before
// the call ends. If that allocation fails the destination itself serves as
// the work area, run by a body that lays it out without gaps (it has room
// for one element per point only): every pass reads a whole row or column
// group before writing it, so the result is the same, even in place.
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

template <class R, int Order, const ScaleSet<R>& S, bool TwoBodies, WhtBody<R> AlignedBody, WhtBody<R> UnalignedBody,
          WhtBody<R> InDestinationBody>
struct WhtKernel {
    using Real = R;
    static constexpr bool kTwoBodies = TwoBodies;
    static constexpr WhtBody<R> kAligned = AlignedBody;
    static constexpr WhtBody<R> kUnaligned = UnalignedBody;

    // Unscaled calls run the first body with its scale fixed at 1 (GCC drops
    // the multiplies of the last pass; see UnscaledCopy, frame/entry.h): in
    // the entry for the orders that stay in registers, a function of its own
    // from order 8, where the body is passes of loops.
    static void Run(WhtBody<R> body, const R* x, R* y, R scale, R* work) {
        constexpr UnscaledCopy kCopy = Order < 8 ? UnscaledCopy::kInline : UnscaledCopy::kSeparate;
        if (body == AlignedBody && scale == R(1))
            UnscaledBody<kCopy, R, AlignedBody>::Run(x, y, work);
        else
            body(x, y, scale, work);
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
            if (buffer != nullptr) Run(body, src, dst, scale, reinterpret_cast<R*>(buffer));
            else InDestinationBody(src, dst, scale, dst);
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
