// Generic Walsh-Hadamard entries (order as an argument) and the work-buffer
// size query. The order is tested first, as one unsigned comparison that
// also rejects zero and negative orders.
#include <cstdint>

#include "frame/wht_buffer.h"
#include "qvngen.h"

namespace {

template <class Real>
using WhtFixed = Status(QVN_API*)(const Real*, Real*, ScaleFlag, uint8_t*);

#define QVN_WHT_ROW32(K) qvngWHT_##K##_32f,
#define QVN_WHT_ROW64(K) qvngWHT_##K##_64f,
const WhtFixed<float> kOrders32f[13] = {QVNG_FOR_EACH_WHT_ORDER(QVN_WHT_ROW32)};
const WhtFixed<double> kOrders64f[13] = {QVNG_FOR_EACH_WHT_ORDER(QVN_WHT_ROW64)};
#undef QVN_WHT_ROW32
#undef QVN_WHT_ROW64

bool OrderInRange(int32_t order) { return static_cast<std::uint32_t>(order) - 1u <= 12u; }

template <class Real>
Status GetBufferSize(int32_t order, int32_t* size) {
    if (!OrderInRange(order)) return kStatusBadSize;
    *size = qvn::WhtBufferBytes<Real>(order);
    return kStatusOk;
}

}  // namespace

QVN_DECL(Status) qvngWHT_32f(const float* src, float* dst, int32_t order, ScaleFlag flag, uint8_t* buffer) {
    if (!OrderInRange(order)) return kStatusBadSize;
    return kOrders32f[order - 1](src, dst, flag, buffer);
}

QVN_DECL(Status) qvngWHT_64f(const double* src, double* dst, int32_t order, ScaleFlag flag, uint8_t* buffer) {
    if (!OrderInRange(order)) return kStatusBadSize;
    return kOrders64f[order - 1](src, dst, flag, buffer);
}

QVN_DECL(Status) qvngWHTGetBufferSize_32f(int32_t order, int32_t* size) { return GetBufferSize<float>(order, size); }

QVN_DECL(Status) qvngWHTGetBufferSize_64f(int32_t order, int32_t* size) { return GetBufferSize<double>(order, size); }
