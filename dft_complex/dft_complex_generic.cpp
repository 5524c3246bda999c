// Generic complex DFT entries: qvngDFTFwd_CToC_32fc(src, dst, N, flag) and
// its three siblings forward to the fixed-length entry of length N.
#include "frame/length_dispatch.h"

namespace {

template <class Elem>
using Fixed = Status(QVN_API*)(const Elem*, Elem*, ScaleFlag);

#define QVN_ROW(N, dir, prec) qvngDFT##dir##_CToC_##N##_##prec,
#define QVN_FWD32(N) QVN_ROW(N, Fwd, 32fc)
#define QVN_INV32(N) QVN_ROW(N, Inv, 32fc)
#define QVN_FWD64(N) QVN_ROW(N, Fwd, 64fc)
#define QVN_INV64(N) QVN_ROW(N, Inv, 64fc)
const Fixed<Complex32f> kForward32fc[] = {QVNG_FOR_EACH_LENGTH(QVN_FWD32)};
const Fixed<Complex32f> kInverse32fc[] = {QVNG_FOR_EACH_LENGTH(QVN_INV32)};
const Fixed<Complex64f> kForward64fc[] = {QVNG_FOR_EACH_LENGTH(QVN_FWD64)};
const Fixed<Complex64f> kInverse64fc[] = {QVNG_FOR_EACH_LENGTH(QVN_INV64)};
#undef QVN_ROW
#undef QVN_FWD32
#undef QVN_INV32
#undef QVN_FWD64
#undef QVN_INV64

}  // namespace

QVN_DECL(Status) qvngDFTFwd_CToC_32fc(const Complex32f* src, Complex32f* dst, int32_t n, ScaleFlag flag) {
    return qvn::DispatchByLength(kForward32fc, n, src, dst, flag);
}
QVN_DECL(Status) qvngDFTInv_CToC_32fc(const Complex32f* src, Complex32f* dst, int32_t n, ScaleFlag flag) {
    return qvn::DispatchByLength(kInverse32fc, n, src, dst, flag);
}
QVN_DECL(Status) qvngDFTFwd_CToC_64fc(const Complex64f* src, Complex64f* dst, int32_t n, ScaleFlag flag) {
    return qvn::DispatchByLength(kForward64fc, n, src, dst, flag);
}
QVN_DECL(Status) qvngDFTInv_CToC_64fc(const Complex64f* src, Complex64f* dst, int32_t n, ScaleFlag flag) {
    return qvn::DispatchByLength(kInverse64fc, n, src, dst, flag);
}
