// Vector helpers of the FIR kernel: a multiply-add that is fused wherever the build has FMA, and a
// horizontal sum. The project compiles in strict ISO mode, where a * b + c is never contracted, so
// the fused form is asked for explicitly, one branch per vector width.
#pragma once

#include <cstddef>
#include <utility>

#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {
namespace simd {
namespace fir {

namespace detail {
template <std::size_t... I>
QP_INLINE Vec<float> Splat(float x, std::index_sequence<I...>) {
    return Vec<float>{((void)I, x)...};
}
}  // namespace detail

// x in every lane: a plain broadcast (Broadcast's 0 + x costs an addition per call).
QP_INLINE Vec<float> Splat(float x) { return detail::Splat(x, std::make_index_sequence<kLanes<float>>{}); }

using simd::MulAdd;

// The scalar counterpart, rounded like the vector form of the same build (AVX-512F has fused
// multiply-add without defining __FMA__).
QP_INLINE float MulAdd(float a, float b, float c) {
#if defined(__FMA__) || defined(__AVX512F__)
    return __builtin_fmaf(a, b, c);
#else
    return a * b + c;
#endif
}

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
