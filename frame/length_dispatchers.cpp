// The 18 generic entries of the DFT, real DFT and Hartley families: each one
// takes the length as an argument and forwards to the fixed-length entry.
#include "frame/length_dispatch.h"

QVN_DEFINE_LENGTH_DISPATCHER(qvngDFTFwd_CToC_, 32fc, Complex32f)
QVN_DEFINE_LENGTH_DISPATCHER(qvngDFTInv_CToC_, 32fc, Complex32f)
QVN_DEFINE_LENGTH_DISPATCHER(qvngDFTFwd_CToC_, 64fc, Complex64f)
QVN_DEFINE_LENGTH_DISPATCHER(qvngDFTInv_CToC_, 64fc, Complex64f)

#define QVN_REAL_DISPATCHERS(prec, T)                          \
    QVN_DEFINE_LENGTH_DISPATCHER(qvngDFTFwd_RToCCS_, prec, T)  \
    QVN_DEFINE_LENGTH_DISPATCHER(qvngDFTFwd_RToPack_, prec, T) \
    QVN_DEFINE_LENGTH_DISPATCHER(qvngDFTFwd_RToPerm_, prec, T) \
    QVN_DEFINE_LENGTH_DISPATCHER(qvngDFTInv_CCSToR_, prec, T)  \
    QVN_DEFINE_LENGTH_DISPATCHER(qvngDFTInv_PackToR_, prec, T) \
    QVN_DEFINE_LENGTH_DISPATCHER(qvngDFTInv_PermToR_, prec, T) \
    QVN_DEFINE_LENGTH_DISPATCHER(qvngHartley_, prec, T)
QVN_REAL_DISPATCHERS(32f, float)
QVN_REAL_DISPATCHERS(64f, double)
