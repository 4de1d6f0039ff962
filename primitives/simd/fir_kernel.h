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

// a * b + c, rounded once on builds with FMA, twice elsewhere.
QP_INLINE Vec<float> MulAdd(Vec<float> a, Vec<float> b, Vec<float> c) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    return reinterpret_cast<Vec<float>>(_mm512_fmadd_ps(reinterpret_cast<__m512>(a), reinterpret_cast<__m512>(b),
                                                        reinterpret_cast<__m512>(c)));
#elif QP_VEC_BYTES == 64 && defined(__FMA__)
    // 64-byte vectors on a 256-bit build: one fused operation per half.
    __m256 ah[2], bh[2], ch[2];
    __builtin_memcpy(ah, &a, sizeof a);
    __builtin_memcpy(bh, &b, sizeof b);
    __builtin_memcpy(ch, &c, sizeof c);
    ch[0] = _mm256_fmadd_ps(ah[0], bh[0], ch[0]);
    ch[1] = _mm256_fmadd_ps(ah[1], bh[1], ch[1]);
    Vec<float> r;
    __builtin_memcpy(&r, ch, sizeof r);
    return r;
#elif QP_VEC_BYTES == 32 && defined(__FMA__)
    return reinterpret_cast<Vec<float>>(_mm256_fmadd_ps(reinterpret_cast<__m256>(a), reinterpret_cast<__m256>(b),
                                                        reinterpret_cast<__m256>(c)));
#elif QP_VEC_BYTES == 16 && defined(__FMA__)
    return reinterpret_cast<Vec<float>>(_mm_fmadd_ps(reinterpret_cast<__m128>(a), reinterpret_cast<__m128>(b),
                                                     reinterpret_cast<__m128>(c)));
#else
    return a * b + c;
#endif
}

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
