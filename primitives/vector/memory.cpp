// Copy kernels.
#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {

Status copy_f32(const float* src, float* dst, int len) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    simd::Map(
        dst, len, [](simd::Vec<float> x) { return x; }, [](float x) { return x; }, src);
    return qpStsNoErr;
}

}  // namespace QP_PATH_NS
}  // namespace qp
