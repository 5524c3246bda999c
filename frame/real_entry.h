// Entry template of the fixed-length real DFT and Hartley exports.
//
// These transforms have one body (scalar, or packed SSE2 with unaligned
// accesses) that works at any element-aligned address, so there is no
// alignment choice. A generated kernel file describes
// each transform as a RealKernel (direction, scale constants, body) and
// exports it with QVN_DEFINE_REAL_ENTRY. Checks, in the order callers rely
// on: null source, null destination, flag.
#pragma once

#include <cstdint>

#include "frame/entry.h"
#include "frame/scale.h"
#include "qvngen.h"

namespace qvn {

// Body signature: (input elements, output elements, scale).
template <class Real>
using RealBody = void (*)(const Real*, Real*, Real);

template <Direction D, class R, const ScaleSet<R>& S, UnscaledCopy U, RealBody<R> Body>
struct RealKernel {
    using Real = R;
    static constexpr bool kTwoBodies = false;
    static constexpr RealBody<R> kAligned = Body;
    static constexpr RealBody<R> kUnaligned = Body;

    static Status Checked(RealBody<R> body, const R* src, R* dst, int32_t flag) {
        if (src == nullptr || dst == nullptr) return kStatusNullPointer;
        R scale;
        if (!SelectScale<D>(flag, S, &scale)) return kStatusBadFlag;
        if (scale == R(1))
            UnscaledBody<U, R, Body>::Run(src, dst);  // the body without its final multiplies
        else
            body(src, dst, scale);
        return kStatusOk;
    }
};

}  // namespace qvn

#define QVN_DEFINE_REAL_ENTRY(exportName, Kernel)                                                  \
    QVN_DECL(Status) exportName(const Kernel::Real* src, Kernel::Real* dst, ScaleFlag flag) {      \
        return qvn::Entry<Kernel>(src, dst, flag);                                                 \
    }
