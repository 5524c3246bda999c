/*
 * qvngen: fixed-size signal transforms with straight-line kernels.
 *
 * Every transform is a plain C function of one fixed length that returns a
 * Status. Arguments are checked before anything is read or written, so a
 * failing call leaves the destination untouched. Source and destination may
 * be the same array.
 *
 * Complex DFT, for N = 2..64:
 *   Status qvngDFTFwd_CToC_<N>_32fc(const Complex32f* src, Complex32f* dst, ScaleFlag flag);
 *   Status qvngDFTInv_CToC_<N>_32fc(const Complex32f* src, Complex32f* dst, ScaleFlag flag);
 *   Status qvngDFTFwd_CToC_<N>_64fc(const Complex64f* src, Complex64f* dst, ScaleFlag flag);
 *   Status qvngDFTInv_CToC_<N>_64fc(const Complex64f* src, Complex64f* dst, ScaleFlag flag);
 *
 *   Status qvngDFTFwd_CToC_32fc(const Complex32f* src, Complex32f* dst, int32_t n, ScaleFlag flag);
 *   (and the other three with the length as an argument)
 *
 *   forward  y[k] = s * sum_j x[j] * exp(-2*pi*i*j*k/N)
 *   inverse  y[k] = s * sum_j x[j] * exp(+2*pi*i*j*k/N)
 *
 *   flag               forward s   inverse s
 *   kScaleFwdByN  (1)  1/N         1
 *   kScaleInvByN  (2)  1           1/N
 *   kScaleBySqrtN (4)  1/sqrt(N)   1/sqrt(N)
 *   kScaleNone    (8)  1           1
 *
 * Status codes: kStatusNullPointer when src or dst is null (tested first),
 * kStatusBadFlag for any other flag value.
 *
 * Real-input DFT, for N = 2..64 (L = CCS, Pack or Perm; P = 32f or 64f):
 *   Status qvngDFTFwd_RTo<L>_<N>_<P>(const float* src, float* dst, ScaleFlag flag);
 *   Status qvngDFTInv_<L>ToR_<N>_<P>(const float* src, float* dst, ScaleFlag flag);
 *   Status qvngDFTFwd_RTo<L>_<P>(const float* src, float* dst, int32_t n, ScaleFlag flag);
 *   Status qvngDFTInv_<L>ToR_<P>(const float* src, float* dst, int32_t n, ScaleFlag flag);
 *   (double elements for 64f)
 *
 *   The forward entries keep bins k = 0..N/2 of the forward DFT above, in
 *   one of three layouts (M = N/2 rounded down):
 *     CCS   N+2 (even N) or N+1 (odd N) elements: Re k at 2k, Im k at 2k+1;
 *           Im 0 and, for even N, Im N/2 are stored as +0.0.
 *     Pack  N elements: Re 0, Re 1, Im 1, Re 2, Im 2, ..., then Re N/2 for
 *           even N.
 *     Perm  N elements: as Pack for odd N; for even N Re 0, Re N/2, then
 *           Re 1, Im 1, Re 2, Im 2, ...
 *   The inverse entries read the same layouts and return N real samples; an
 *   inverse CCS entry never reads Im 0 or, for even N, Im N/2. Flags as for
 *   the complex DFT (forward flag 1 with inverse flag 1, forward 2 or 8 with
 *   inverse 2, or 4 with 4, give back the input).
 *
 * Discrete Hartley transform, for N = 2..64:
 *   Status qvngHartley_<N>_32f(const float* src, float* dst, ScaleFlag flag);
 *   Status qvngHartley_32f(const float* src, float* dst, int32_t n, ScaleFlag flag);
 *   (and _64f)
 *
 *   H[k] = s * sum_n x[n] * (cos(2*pi*k*n/N) + sin(2*pi*k*n/N));
 *   flags 1 and 2: s = 1/N; 4: 1/sqrt(N); 8: 1. Applying it with flag 8 and
 *   then with flag 1 gives back the input.
 *
 * In the real and Hartley families, single-precision entries add in single
 * precision and form every product with a trigonometric constant in double
 * precision, rounding it back to single once. Any element-aligned address
 * works; src may equal dst when the array holds the larger of the two
 * element counts.
 *
 * Walsh-Hadamard transform of 2^k real values, order k = 1..13:
 *   Status qvngWHT_<k>_32f(const float* src, float* dst, ScaleFlag flag, uint8_t* buffer);
 *   Status qvngWHT_<k>_64f(const double* src, double* dst, ScaleFlag flag, uint8_t* buffer);
 *   Status qvngWHT_32f(const float* src, float* dst, int32_t order, ScaleFlag flag, uint8_t* buffer);
 *   Status qvngWHTGetBufferSize_32f(int32_t order, int32_t* size);   (and _64f)
 *
 *   y[j] = s * sum_n x[n] * (-1)^popcount(n & j)   (natural order)
 *   flag 1 and 2: s = 1/2^k; flag 4: s = 1/sqrt(2^k); flag 8: s = 1.
 *
 * Orders 1..7 never touch the buffer. Orders 8..13 pass their data through
 * it: pass a 16-byte aligned block of qvngWHTGetBufferSize bytes, or null to
 * let the call take one from qvnMalloc and give it back before returning.
 * Should that allocation fail, the call still computes the transform, using
 * the destination as its work area. The generic entry returns
 * kStatusBadSize for an order outside 1..13 before any other check; the
 * size query then writes nothing.
 *
 * Type-IV DCT of N real values, planned once per length:
 *   Status qvngDCT4GetSize_32f(int32_t n, int32_t* size);
 *   Status qvngDCT4Init_32f(DCT4Spec** spec, int32_t n, uint8_t* block);
 *   Status qvngDCT4InitAlloc_32f(DCT4Spec** spec, int32_t n);
 *   Status qvngDCT4Free_32f(DCT4Spec* spec);
 *   Status qvngDCT4_32f(const float* src, float* dst, DCT4Spec* spec);
 *   (and the same with _64f and double elements)
 *
 *   y[k] = sum_n x[n] * cos(pi/N * (n + 1/2) * (k + 1/2)),  no scale factor;
 *   applying it twice gives N/2 times the input.
 *
 * GetSize gives the bytes of the block Init builds a specification in (any
 * alignment; nothing outside [block, block + size) is touched). Lengths are
 * the powers of two from 2 (up to 2^26 single, 2^25 double); the size rules
 * also let some lengths 2^k + 1 through (33, 65, ... single; 9, 17, ...
 * double), which run safely but do not compute a DCT-IV; all others give
 * kStatusBadSize. InitAlloc takes the block from qvnMalloc and Free returns
 * it; a specification Init built in caller memory is released by the caller.
 * A transform writes its specification's work area, so concurrent transforms
 * need one specification each. Source and destination must not overlap. The
 * transform returns kStatusBadSpec, touching nothing, for a specification
 * whose kind word is damaged or that was built for the other precision.
 */
#ifndef QVNGEN_H
#define QVNGEN_H

#include <stdint.h>

/* Calling convention of every export: stdcall on 32-bit x86 (the callee
 * removes its arguments), the platform's native convention elsewhere. */
#if defined(_WIN32) && !defined(_WIN64)
#define QVN_API __stdcall
#elif defined(__i386__)
#define QVN_API __attribute__((stdcall))
#else
#define QVN_API
#endif

/* Symbol visibility: the library is built with hidden visibility and marks
 * exactly its public functions for export. The DLL's exports are listed in
 * its .def file instead, under their undecorated names. */
#if defined(_WIN32)
#if defined(QVN_BUILDING_LIBRARY)
#define QVN_EXPORT
#else
#define QVN_EXPORT __declspec(dllimport)
#endif
#else
#define QVN_EXPORT __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#define QVN_EXTERN_C extern "C"
#else
#define QVN_EXTERN_C
#endif

#define QVN_DECL(ret) QVN_EXTERN_C QVN_EXPORT ret QVN_API

/* Result of every transform. 0 is success; every error is negative. */
typedef int32_t Status;
enum {
    kStatusOk = 0,            /* success: the destination holds the result */
    kStatusBadSpec = -5,      /* DCT-IV specification with an unknown kind */
    kStatusBadSize = -6,      /* length or order out of range */
    kStatusNullPointer = -8,  /* a required pointer is null */
    kStatusBadFlag = -16      /* ScaleFlag is not 1, 2, 4 or 8 */
};

/* Normalisation flag; compared for equality, not as bits. */
typedef int32_t ScaleFlag;
enum {
    kScaleFwdByN = 1,
    kScaleInvByN = 2,
    kScaleBySqrtN = 4,
    kScaleNone = 8
};

/* One complex element: real part first, no padding. */
typedef struct Complex32f { float re, im; } Complex32f;
typedef struct Complex64f { double re, im; } Complex64f;

/* Build identification, returned by qvngenGetLibVersion. */
typedef struct LibraryVersion {
    int32_t major;
    int32_t minor;
    int32_t majorBuild;
    int32_t build;
    char targetCpu[4];
    const char* name;
    const char* version;
    const char* buildDate;
} LibraryVersion;

/* Same constant record on every call; never write through it or free it. */
QVN_DECL(const LibraryVersion*) qvngenGetLibVersion(void);

/* Every length that has a fixed-size entry, for use with the macros below. */
#define QVNG_FOR_EACH_LENGTH(X)                                                \
    X(2) X(3) X(4) X(5) X(6) X(7) X(8) X(9) X(10) X(11) X(12) X(13) X(14)     \
    X(15) X(16) X(17) X(18) X(19) X(20) X(21) X(22) X(23) X(24) X(25) X(26)   \
    X(27) X(28) X(29) X(30) X(31) X(32) X(33) X(34) X(35) X(36) X(37) X(38)   \
    X(39) X(40) X(41) X(42) X(43) X(44) X(45) X(46) X(47) X(48) X(49) X(50)   \
    X(51) X(52) X(53) X(54) X(55) X(56) X(57) X(58) X(59) X(60) X(61) X(62)   \
    X(63) X(64)

/* Complex DFT declarations: qvngDFTFwd_CToC_2_32fc ... qvngDFTInv_CToC_64_64fc. */
#define QVNG_DECLARE_CTOC(N)                                                           \
    QVN_DECL(Status) qvngDFTFwd_CToC_##N##_32fc(const Complex32f* src, Complex32f* dst, \
                                                ScaleFlag flag);                        \
    QVN_DECL(Status) qvngDFTInv_CToC_##N##_32fc(const Complex32f* src, Complex32f* dst, \
                                                ScaleFlag flag);                        \
    QVN_DECL(Status) qvngDFTFwd_CToC_##N##_64fc(const Complex64f* src, Complex64f* dst, \
                                                ScaleFlag flag);                        \
    QVN_DECL(Status) qvngDFTInv_CToC_##N##_64fc(const Complex64f* src, Complex64f* dst, \
                                                ScaleFlag flag);
QVNG_FOR_EACH_LENGTH(QVNG_DECLARE_CTOC)
#undef QVNG_DECLARE_CTOC

/* The same with the length as an argument; N outside 2..64 gives
 * kStatusBadSize before any other check. */
QVN_DECL(Status) qvngDFTFwd_CToC_32fc(const Complex32f* src, Complex32f* dst, int32_t n, ScaleFlag flag);
QVN_DECL(Status) qvngDFTInv_CToC_32fc(const Complex32f* src, Complex32f* dst, int32_t n, ScaleFlag flag);
QVN_DECL(Status) qvngDFTFwd_CToC_64fc(const Complex64f* src, Complex64f* dst, int32_t n, ScaleFlag flag);
QVN_DECL(Status) qvngDFTInv_CToC_64fc(const Complex64f* src, Complex64f* dst, int32_t n, ScaleFlag flag);

/* Real-input DFT declarations: forward into CCS, Pack and Perm, inverse from
 * them, qvngDFTFwd_RToCCS_2_32f ... qvngDFTInv_PermToR_64_64f. */
#define QVNG_DECLARE_REAL_ONE(N, prec, T)                                                       \
    QVN_DECL(Status) qvngDFTFwd_RToCCS_##N##_##prec(const T* src, T* dst, ScaleFlag flag);      \
    QVN_DECL(Status) qvngDFTFwd_RToPack_##N##_##prec(const T* src, T* dst, ScaleFlag flag);     \
    QVN_DECL(Status) qvngDFTFwd_RToPerm_##N##_##prec(const T* src, T* dst, ScaleFlag flag);     \
    QVN_DECL(Status) qvngDFTInv_CCSToR_##N##_##prec(const T* src, T* dst, ScaleFlag flag);      \
    QVN_DECL(Status) qvngDFTInv_PackToR_##N##_##prec(const T* src, T* dst, ScaleFlag flag);     \
    QVN_DECL(Status) qvngDFTInv_PermToR_##N##_##prec(const T* src, T* dst, ScaleFlag flag);     \
    QVN_DECL(Status) qvngHartley_##N##_##prec(const T* src, T* dst, ScaleFlag flag);
#define QVNG_DECLARE_REAL(N) QVNG_DECLARE_REAL_ONE(N, 32f, float) QVNG_DECLARE_REAL_ONE(N, 64f, double)
QVNG_FOR_EACH_LENGTH(QVNG_DECLARE_REAL)
#undef QVNG_DECLARE_REAL
#undef QVNG_DECLARE_REAL_ONE

/* The same with the length as an argument; N outside 2..64 gives
 * kStatusBadSize before any other check. */
#define QVNG_DECLARE_REAL_GENERIC(prec, T)                                                              \
    QVN_DECL(Status) qvngDFTFwd_RToCCS_##prec(const T* src, T* dst, int32_t n, ScaleFlag flag);         \
    QVN_DECL(Status) qvngDFTFwd_RToPack_##prec(const T* src, T* dst, int32_t n, ScaleFlag flag);        \
    QVN_DECL(Status) qvngDFTFwd_RToPerm_##prec(const T* src, T* dst, int32_t n, ScaleFlag flag);        \
    QVN_DECL(Status) qvngDFTInv_CCSToR_##prec(const T* src, T* dst, int32_t n, ScaleFlag flag);         \
    QVN_DECL(Status) qvngDFTInv_PackToR_##prec(const T* src, T* dst, int32_t n, ScaleFlag flag);        \
    QVN_DECL(Status) qvngDFTInv_PermToR_##prec(const T* src, T* dst, int32_t n, ScaleFlag flag);        \
    QVN_DECL(Status) qvngHartley_##prec(const T* src, T* dst, int32_t n, ScaleFlag flag);
QVNG_DECLARE_REAL_GENERIC(32f, float)
QVNG_DECLARE_REAL_GENERIC(64f, double)
#undef QVNG_DECLARE_REAL_GENERIC

/* Walsh-Hadamard transform: qvngWHT_1_32f ... qvngWHT_13_64f. */
#define QVNG_FOR_EACH_WHT_ORDER(X) X(1) X(2) X(3) X(4) X(5) X(6) X(7) X(8) X(9) X(10) X(11) X(12) X(13)
#define QVNG_DECLARE_WHT(K)                                                                       \
    QVN_DECL(Status) qvngWHT_##K##_32f(const float* src, float* dst, ScaleFlag flag, uint8_t* buffer); \
    QVN_DECL(Status) qvngWHT_##K##_64f(const double* src, double* dst, ScaleFlag flag, uint8_t* buffer);
QVNG_FOR_EACH_WHT_ORDER(QVNG_DECLARE_WHT)
#undef QVNG_DECLARE_WHT

QVN_DECL(Status) qvngWHT_32f(const float* src, float* dst, int32_t order, ScaleFlag flag, uint8_t* buffer);
QVN_DECL(Status) qvngWHT_64f(const double* src, double* dst, int32_t order, ScaleFlag flag, uint8_t* buffer);
QVN_DECL(Status) qvngWHTGetBufferSize_32f(int32_t order, int32_t* size);
QVN_DECL(Status) qvngWHTGetBufferSize_64f(int32_t order, int32_t* size);

/* Type-IV DCT and its specification. */
typedef struct DCT4Spec DCT4Spec;
QVN_DECL(Status) qvngDCT4GetSize_32f(int32_t n, int32_t* size);
QVN_DECL(Status) qvngDCT4GetSize_64f(int32_t n, int32_t* size);
QVN_DECL(Status) qvngDCT4Init_32f(DCT4Spec** spec, int32_t n, uint8_t* block);
QVN_DECL(Status) qvngDCT4Init_64f(DCT4Spec** spec, int32_t n, uint8_t* block);
QVN_DECL(Status) qvngDCT4InitAlloc_32f(DCT4Spec** spec, int32_t n);
QVN_DECL(Status) qvngDCT4InitAlloc_64f(DCT4Spec** spec, int32_t n);
QVN_DECL(Status) qvngDCT4Free_32f(DCT4Spec* spec);
QVN_DECL(Status) qvngDCT4Free_64f(DCT4Spec* spec);
QVN_DECL(Status) qvngDCT4_32f(const float* src, float* dst, DCT4Spec* spec);
QVN_DECL(Status) qvngDCT4_64f(const double* src, double* dst, DCT4Spec* spec);

#endif /* QVNGEN_H */
