// Natural logarithm kernels: the signal-processing log (single and double precision) and the
// vector-math group's three accuracy grades. Partial vectors run through the vector code too, so
// an element's result never depends on its position in the array.
#include "simd/arithmetic.h"
#include "simd/math.h"
#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {

namespace {

template <typename T, typename VOp>
QP_INLINE Status MapLog(const T* src, T* dst, int len, VOp vop) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    simd::arith::MapPadded(dst, len, vop, src);
    return qpStsNoErr;
}

}  // namespace

Status ln_f32(const float* src, float* dst, int len) {
    return MapLog(src, dst, len, [](simd::Vec<float> x) { return simd::vmath::LogF24(x); });
}
Status ln_f64(const double* src, double* dst, int len) {
    return MapLog(src, dst, len, [](simd::Vec<double> x) { return simd::vmath::LogD(x); });
}
Status ln_a11_f32(const float* src, float* dst, int len) {
    return MapLog(src, dst, len, [](simd::Vec<float> x) { return simd::vmath::LogF11(x); });
}
Status ln_a21_f32(const float* src, float* dst, int len) {
    return MapLog(src, dst, len, [](simd::Vec<float> x) { return simd::vmath::LogF21(x); });
}
Status ln_a24_f32(const float* src, float* dst, int len) {
    return MapLog(src, dst, len, [](simd::Vec<float> x) { return simd::vmath::LogF24(x); });
}

}  // namespace QP_PATH_NS
}  // namespace qp
