// Element-wise arithmetic kernels.
#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {

namespace {

template <typename T>
QP_INLINE Status Add(const T* a, const T* b, T* dst, int len) {
    if (a == nullptr || b == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    simd::Map(
        dst, len, [](simd::Vec<T> x, simd::Vec<T> y) { return x + y; }, [](T x, T y) { return x + y; }, a, b);
    return qpStsNoErr;
}

// |x| clears the sign bit, so -0 and NaN payloads behave like fabs.
template <typename T, typename Bits>
QP_INLINE Status Abs(const T* src, T* dst, int len) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    constexpr Bits kMagnitude = static_cast<Bits>(~Bits{0}) >> 1;
    simd::Map(
        dst, len,
        [](simd::Vec<T> x) {
            return simd::BitCast<T>(simd::BitCast<Bits>(x) & kMagnitude);
        },
        [](T x) { return __builtin_fabs(x); }, src);
    return qpStsNoErr;
}

}  // namespace

Status add_f32(const float* a, const float* b, float* dst, int len) { return Add(a, b, dst, len); }
Status add_f64(const double* a, const double* b, double* dst, int len) { return Add(a, b, dst, len); }
Status abs_f32(const float* src, float* dst, int len) { return Abs<float, std::uint32_t>(src, dst, len); }
Status abs_f64(const double* src, double* dst, int len) { return Abs<double, std::uint64_t>(src, dst, len); }

}  // namespace QP_PATH_NS
}  // namespace qp
