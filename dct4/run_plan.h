// Runs a kind-6 plan: the input stage (phase transforms of the folded source
// into the work buffer, through radix steps for phases longer than 32
// points) and the output stage (sum over the phases, rotations, stores).
// Loops over lane groups and q-groups live here; every arithmetic operation
// is in the generated kernels.
#pragma once

#include <cstddef>

#include "dct4/kernels.h"
#include "dct4/plan_view.h"

namespace qvn::dct4 {

template <class T>
struct Lanes {
    static constexpr int kW = 16 / sizeof(T);  // elements per SSE2 vector
};

template <class T>
void RunLeaf(int points, const T* x, int n, int off, int stride, int groups, T* out, std::ptrdiff_t os) {
    switch (points) {
#define QVN_DCT4_LEAF_CASE(B) \
    case B: return Leaf<B, T>(x, n, off, stride, groups, out, os);
        QVN_DCT4_LEAF_POINTS(QVN_DCT4_LEAF_CASE)
#undef QVN_DCT4_LEAF_CASE
    }
}

template <class T>
void RunStep(int radix, const T* in, std::ptrdiff_t is, T* out, std::ptrdiff_t os, const T* tw, int groups) {
    switch (radix) {
#define QVN_DCT4_STEP_CASE(R) \
    case R: return Step<R, T>(in, is, out, os, tw, groups);
        QVN_DCT4_STEP_RADICES(QVN_DCT4_STEP_CASE)
#undef QVN_DCT4_STEP_CASE
    }
}

// The phase transforms J of every phase lane group, from radix step `level`
// down: phase points sit at complex indices off + stride*b of the folded
// source; point q of lane group g goes to out + q*os + g*2w.
template <class T>
void RunPhases(const PlanView& p, int level, const T* x, int n, int off, int stride, T* out, std::ptrdiff_t os) {
    constexpr int w = Lanes<T>::kW;
    const int groups = p.radix / w;
    if (level == p.steps) return RunLeaf<T>(p.leaf_points, x, n, off, stride, groups, out, os);
    // Decimation in time: the r2 interleaved sub-phases first, each into its
    // own block of the step's work buffer, then the radix-r2 recombination.
    const RadixStepView& st = p.step[level];
    const int r2 = st.radix, b2 = st.points / r2;
    T* buf = static_cast<T*>(st.work);
    const std::ptrdiff_t row = std::ptrdiff_t(groups) * 2 * w;  // one point of every lane group
    for (int d = 0; d < r2; ++d) RunPhases(p, level + 1, x, n, off + stride * d, stride * r2, buf + d * b2 * row, row);
    const T* tw = static_cast<const T*>(st.twiddles);
    for (int q2 = 0; q2 < b2; ++q2)
        RunStep<T>(r2, buf + q2 * row, b2 * row, out + q2 * os, b2 * os, tw + std::ptrdiff_t(q2) * (r2 - 1) * 2 * w, groups);
}

template <class T, int R>
void RunOutputRadix(const PlanView& p, T* y) {
    constexpr int w = Lanes<T>::kW;
    const T* work = static_cast<const T*>(p.work);
    const T* rot = static_cast<const T*>(p.rotation);
    const int qgroups = p.phase_points / w;
    for (int q = 0, qm = qgroups - 1; q <= qm; ++q, --qm) {
        if (q == qm)
            OutputSelf<R, T>(work, rot, y, p.phase_points, q);
        else
            OutputPair<R, T>(work, rot, y, p.phase_points, q, qm);
    }
}

// Returns false for a selector the precision has no kernel for (nothing is
// written then).
template <class T>
bool RunOutput(const PlanView& p, T* y) {
    if constexpr (sizeof(T) == 8) {
        switch (p.output_selector) {
            case 1: RunOutputRadix<T, 2>(p, y); return true;
            case 2: RunOutputRadix<T, 4>(p, y); return true;
            case 3: RunOutputRadix<T, 8>(p, y); return true;
            case 4: RunOutputRadix<T, 16>(p, y); return true;
            case 5: RunOutputRadix<T, 32>(p, y); return true;
        }
    } else {
        switch (p.output_selector) {
            case 2: RunOutputRadix<T, 4>(p, y); return true;
            case 3: RunOutputRadix<T, 8>(p, y); return true;
            case 4: RunOutputRadix<T, 16>(p, y); return true;
            case 5: RunOutputRadix<T, 32>(p, y); return true;
        }
    }
    return false;
}

template <class T>
void RunPlan(const PlanView& p, const T* x, T* y) {
    constexpr int w = Lanes<T>::kW;
    // The transform covers 2*r*B elements: N itself for every power of two.
    const int n = 2 * p.radix * p.phase_points;
    if (p.input_usable)
        RunPhases<T>(p, 0, x, n, 0, p.radix, static_cast<T*>(p.work), std::ptrdiff_t(p.radix / w) * 2 * w);
    if (p.output_usable) RunOutput<T>(p, y);
}

}  // namespace qvn::dct4
