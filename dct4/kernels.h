// The generated DCT-IV kernels (qvngen-gen dct4), one explicit
// specialisation per size and precision. What each computes is described at
// the top of generator/dct4_file.cpp; the plan layouts are in plan_view.h.
//
//   Direct<N>      y = DCT-IV of x, N = 2..32, straight from x to y.
//   Leaf<B>        the phase transform J of B complex points for `groups`
//                  lane groups of phases, read from the folded source x
//                  (n elements): phase lanes start at complex index
//                  off + g*w, points are `stride` complex indices apart;
//                  point q of group g goes to out + g*2w + q*os.
//   Step<R>        one radix-R recombination for `groups` lane groups: the
//                  R sub-phase values at in + d*is, rotated by the step
//                  table `tw`, to out + e*os.
//   OutputPair<R>  the last stage for q-groups q and qm of the work buffer
//                  (B = b complex points per phase), writing y.
//   OutputSelf<R>  the same for a q-group that is its own mirror.
#pragma once

#include <cstddef>

#define QVN_DCT4_DIRECT_LENGTHS(X) X(2) X(4) X(8) X(16) X(32)
#define QVN_DCT4_LEAF_POINTS(X) X(2) X(4) X(8) X(16) X(32)
#define QVN_DCT4_STEP_RADICES(X) X(8) X(16) X(32)
#define QVN_DCT4_OUTPUT_RADICES_32F(X) X(4) X(8) X(16) X(32)
#define QVN_DCT4_OUTPUT_RADICES_64F(X) X(2) X(4) X(8) X(16) X(32)

// GCC gives explicit specialisations default visibility whatever
// -fvisibility says; only an attribute on the template keeps them hidden.
#define QVN_DCT4_KERNEL __attribute__((visibility("hidden"))) void

namespace qvn::dct4 {

template <int N, class T>
QVN_DCT4_KERNEL Direct(const T* x, T* y);
template <int B, class T>
QVN_DCT4_KERNEL Leaf(const T* x, int n, int off, int stride, int groups, T* out, std::ptrdiff_t os);
template <int R, class T>
QVN_DCT4_KERNEL Step(const T* in, std::ptrdiff_t is, T* out, std::ptrdiff_t os, const T* tw, int groups);
template <int R, class T>
QVN_DCT4_KERNEL OutputPair(const T* work, const T* rot, T* y, int b, int q, int qm);
template <int R, class T>
QVN_DCT4_KERNEL OutputSelf(const T* work, const T* rot, T* y, int b, int q);

// Every specialisation is defined in its own generated file; declaring them
// here keeps the primary templates from ever being instantiated.
#define QVN_DCT4_DECLARE_DIRECT(N, T) template <> void Direct<N, T>(const T*, T*);
#define QVN_DCT4_DECLARE_LEAF(B, T) \
    template <> void Leaf<B, T>(const T*, int, int, int, int, T*, std::ptrdiff_t);
#define QVN_DCT4_DECLARE_STEP(R, T) \
    template <> void Step<R, T>(const T*, std::ptrdiff_t, T*, std::ptrdiff_t, const T*, int);
#define QVN_DCT4_DECLARE_OUTPUT(R, T)                                          \
    template <> void OutputPair<R, T>(const T*, const T*, T*, int, int, int); \
    template <> void OutputSelf<R, T>(const T*, const T*, T*, int, int);
#define QVN_DCT4_DIRECT_BOTH(N) QVN_DCT4_DECLARE_DIRECT(N, float) QVN_DCT4_DECLARE_DIRECT(N, double)
#define QVN_DCT4_LEAF_BOTH(B) QVN_DCT4_DECLARE_LEAF(B, float) QVN_DCT4_DECLARE_LEAF(B, double)
#define QVN_DCT4_STEP_BOTH(R) QVN_DCT4_DECLARE_STEP(R, float) QVN_DCT4_DECLARE_STEP(R, double)
#define QVN_DCT4_OUTPUT_FLOAT(R) QVN_DCT4_DECLARE_OUTPUT(R, float)
#define QVN_DCT4_OUTPUT_DOUBLE(R) QVN_DCT4_DECLARE_OUTPUT(R, double)
QVN_DCT4_DIRECT_LENGTHS(QVN_DCT4_DIRECT_BOTH)
QVN_DCT4_LEAF_POINTS(QVN_DCT4_LEAF_BOTH)
QVN_DCT4_STEP_RADICES(QVN_DCT4_STEP_BOTH)
QVN_DCT4_OUTPUT_RADICES_32F(QVN_DCT4_OUTPUT_FLOAT)
QVN_DCT4_OUTPUT_RADICES_64F(QVN_DCT4_OUTPUT_DOUBLE)

}  // namespace qvn::dct4
