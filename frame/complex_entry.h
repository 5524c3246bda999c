// Entry template of the fixed-length complex DFT exports.
//
// A generated kernel file describes each transform as a ComplexKernel (its
// direction, scale constants and bodies) and exports it with
// QVN_DEFINE_COMPLEX_ENTRY. The checks run in the order callers rely on:
// body choice by alignment and page (frame/entry.h), null pointers, flag.
#pragma once

#include <cstdint>

#include "frame/entry.h"
#include "frame/scale.h"
#include "qvngen.h"

namespace qvn {

template <class Real>
struct ComplexOf;
template <>
struct ComplexOf<float> {
    using type = Complex32f;
};
template <>
struct ComplexOf<double> {
    using type = Complex64f;
};

// Body signature: (interleaved input, interleaved output, scale).
template <class Real>
using ComplexBody = void (*)(const Real*, Real*, Real);

// Wide-vector kernels pass their page-safe body as UnalignedBody and the
// PageCheck that chooses it (frame/entry.h).
template <Direction D, class R, const ScaleSet<R>& S, UnscaledCopy U, bool TwoBodies, ComplexBody<R> AlignedBody,
          ComplexBody<R> UnalignedBody, PageCheck Page = PageCheck{}>
struct ComplexKernel {
    using Elem = typename ComplexOf<R>::type;
    using Real = R;
    static constexpr bool kTwoBodies = TwoBodies;
    static constexpr ComplexBody<R> kAligned = AlignedBody;
    static constexpr ComplexBody<R> kUnaligned = UnalignedBody;
    static constexpr PageCheck kPageCheck = Page;

    // Null pointers, then the flag; nothing is read or written before both pass.
    static Status Checked(ComplexBody<R> body, const Elem* src, Elem* dst, int32_t flag) {
        if (src == nullptr || dst == nullptr) return kStatusNullPointer;
        R scale;
        if (!SelectScale<D>(flag, S, &scale)) return kStatusBadFlag;
        const R* x = reinterpret_cast<const R*>(src);
        R* y = reinterpret_cast<R*>(dst);
        if (body == AlignedBody && scale == R(1))
            UnscaledBody<U, R, AlignedBody>::Run(x, y);  // the first body without its final multiplies
        else
            body(x, y, scale);
        return kStatusOk;
    }
};

}  // namespace qvn

// One exported wrapper per transform; the prototype comes from qvngen.h.
#define QVN_DEFINE_COMPLEX_ENTRY(exportName, Kernel)                                \
    QVN_DECL(Status) exportName(const Kernel::Elem* src, Kernel::Elem* dst, ScaleFlag flag) { \
        return qvn::Entry<Kernel>(src, dst, flag);                                  \
    }
