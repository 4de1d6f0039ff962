// Vector helpers of the FIR kernel: the multiply-add of simd.h (fused wherever the build has FMA) and
// a horizontal sum.
#pragma once

#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {
namespace simd {
namespace fir {

using simd::MulAdd;

// Sum of the lanes, pairwise.
QP_INLINE float SumLanes(Vec<float> v) {
    constexpr int L = kLanes<float>;
    float lanes[L];
    __builtin_memcpy(lanes, &v, sizeof v);
    for (int w = L / 2; w > 0; w /= 2) {
        for (int i = 0; i < w; ++i) lanes[i] += lanes[i + w];
    }
    return lanes[0];
}

}  // namespace fir
}  // namespace simd
}  // namespace QP_PATH_NS
}  // namespace qp
