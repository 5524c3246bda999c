// FFHT as a Walsh-Hadamard reference. FFHT computes the unnormalised
// transform in natural (Hadamard) order, in place. Out of place, like our
// entries, it is a copy of the source into the destination and the in-place
// call there. (FFHT's own out-of-place calls copy with a loop of 32-byte
// moves that copies nothing below 32 bytes, so they are not used.) Built
// only when QVNGEN_FFHT_DIR names an FFHT build (see bench/README.md);
// otherwise the calls below are never made.
#include <cstring>

#include "bench.h"

#ifdef QVNB_HAVE_FFHT
#include "fht.h"
#endif

namespace qvnbench {

#ifdef QVNB_HAVE_FFHT
void WhtFfht(float* src, float* dst, int order) {
    std::memcpy(dst, src, sizeof(float) << order);
    fht_float(dst, order);
}
void WhtFfht(double* src, double* dst, int order) {
    std::memcpy(dst, src, sizeof(double) << order);
    fht_double(dst, order);
}
#else
void WhtFfht(float*, float*, int) {}
void WhtFfht(double*, double*, int) {}
#endif

}  // namespace qvnbench
