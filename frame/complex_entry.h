// Entry template of the fixed-length complex DFT exports.
//
// A generated kernel file describes each transform as a ComplexKernel (its
// direction, scale constants and bodies) and exports it with
// QVN_DEFINE_COMPLEX_ENTRY. All argument checking lives
// here, once, in the order callers rely on: alignment choice, null pointers,
// flag. Nothing is read or written before the checks have passed.
#pragma once

#include <cstdint>

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

template <Direction D, class R, const ScaleSet<R>& S, bool TwoBodies, ComplexBody<R> AlignedBody,
          ComplexBody<R> UnalignedBody>
struct ComplexKernel {
    using Elem = typename ComplexOf<R>::type;
    using Real = R;
    static constexpr Direction kDir = D;
    static constexpr bool kTwoBodies = TwoBodies;
    static constexpr const ScaleSet<R>& kScales = S;
    static void Aligned(const R* x, R* y, R s) { AlignedBody(x, y, s); }
    static void Unaligned(const R* x, R* y, R s) { UnalignedBody(x, y, s); }
};

template <class Kernel, class Body>
inline Status CheckedRun(const typename Kernel::Elem* src, typename Kernel::Elem* dst,
                         int32_t flag, Body body) {
    if (src == nullptr || dst == nullptr) return kStatusNullPointer;
    typename Kernel::Real scale;
    if (!SelectScale<Kernel::kDir>(flag, Kernel::kScales, &scale)) return kStatusBadFlag;
    body(reinterpret_cast<const typename Kernel::Real*>(src),
         reinterpret_cast<typename Kernel::Real*>(dst), scale);
    return kStatusOk;
}

// The unaligned twin: a separate function so that the aligned entry stays
// small and the branch to it is taken only for misaligned data.
template <class Kernel>
[[gnu::noinline]] Status UnalignedPath(const typename Kernel::Elem* src,
                                       typename Kernel::Elem* dst, int32_t flag) {
    return CheckedRun<Kernel>(src, dst, flag, Kernel::Unaligned);
}

template <class Kernel>
inline Status ComplexEntry(const typename Kernel::Elem* src, typename Kernel::Elem* dst,
                           int32_t flag) {
    if constexpr (Kernel::kTwoBodies) {
        // Null is aligned, so a null pointer always reaches the null test.
        auto misalignment = reinterpret_cast<std::uintptr_t>(src) | reinterpret_cast<std::uintptr_t>(dst);
        if ((misalignment & 15u) != 0) return UnalignedPath<Kernel>(src, dst, flag);
    }
    return CheckedRun<Kernel>(src, dst, flag, Kernel::Aligned);
}

}  // namespace qvn

// One exported wrapper per transform; the prototype comes from qvngen.h.
#define QVN_DEFINE_COMPLEX_ENTRY(exportName, Kernel)                                \
    QVN_DECL(Status) exportName(const Kernel::Elem* src, Kernel::Elem* dst, ScaleFlag flag) { \
        return qvn::ComplexEntry<Kernel>(src, dst, flag);                           \
    }
