// The plain radix-2 Walsh-Hadamard loop the generated kernels are timed
// against, in a file of its own so that it is built at -O3 and the compiler
// vectorises it as well as it can. The first pass reads the source and the
// later ones work in place on the destination, so the call is out of place
// like the other two implementations and needs no copy.
#include "bench.h"

namespace qvnbench {
namespace {

template <class Real>
void Loop(const Real* src, Real* dst, int order) {
    const long n = 1L << order;
    for (long i = 0; i < n; i += 2) {
        const Real a = src[i], b = src[i + 1];
        dst[i] = a + b;
        dst[i + 1] = a - b;
    }
    for (long h = 2; h < n; h *= 2)
        for (long i = 0; i < n; i += 2 * h)
            for (long j = i; j < i + h; ++j) {
                const Real a = dst[j], b = dst[j + h];
                dst[j] = a + b;
                dst[j + h] = a - b;
            }
}

}  // namespace

void WhtLoop(const float* src, float* dst, int order) { Loop(src, dst, order); }
void WhtLoop(const double* src, double* dst, int order) { Loop(src, dst, order); }

}  // namespace qvnbench
