// Lane shuffles between interleaved complex floats (re, im pairs) and split real and imaginary
// vectors, and the overflow-safe complex magnitude.
//
// The shuffles stay inside 128-bit lanes, where they cost one instruction: splitting two vectors of
// pairs leaves the elements in "block order" (for 8 lanes 0 1 4 5 2 3 6 7, for 16 lanes
// 0 1 8 9 2 3 10 11 4 5 12 13 6 7 14 15). Element-wise work runs in that order and one cross-lane
// permute per result vector (Unpermute) restores the natural order.
#pragma once

#include <type_traits>

#include "simd/trig.h"

namespace qp {
namespace QP_PATH_NS {
namespace cx {

using simd::BitCast;
using simd::Vec;
using VF = Vec<float>;

// v0, v1: 2L consecutive floats of L complex elements. re, im: their parts, in block order.
QP_INLINE void Split(VF v0, VF v1, VF* re, VF* im) {
#if QP_VEC_BYTES == 16
    *re = __builtin_shufflevector(v0, v1, 0, 2, 4, 6);
    *im = __builtin_shufflevector(v0, v1, 1, 3, 5, 7);
#elif QP_VEC_BYTES == 32
    *re = __builtin_shufflevector(v0, v1, 0, 2, 8, 10, 4, 6, 12, 14);
    *im = __builtin_shufflevector(v0, v1, 1, 3, 9, 11, 5, 7, 13, 15);
#else
    *re = __builtin_shufflevector(v0, v1, 0, 2, 16, 18, 4, 6, 20, 22, 8, 10, 24, 26, 12, 14, 28, 30);
    *im = __builtin_shufflevector(v0, v1, 1, 3, 17, 19, 5, 7, 21, 23, 9, 11, 25, 27, 13, 15, 29, 31);
#endif
}

// Block order to natural order (64-bit pairs move across 128-bit lanes).
QP_INLINE VF Unpermute(VF r) {
#if QP_VEC_BYTES == 16
    return r;
#elif QP_VEC_BYTES == 32
    return __builtin_shufflevector(r, r, 0, 1, 4, 5, 2, 3, 6, 7);
#else
    return __builtin_shufflevector(r, r, 0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15);
#endif
}

// re, im in natural order to 2L interleaved floats: o0 holds elements 0 .. L/2-1, o1 the rest.
QP_INLINE void Zip(VF re, VF im, VF* o0, VF* o1) {
#if QP_VEC_BYTES == 16
    *o0 = __builtin_shufflevector(re, im, 0, 4, 1, 5);
    *o1 = __builtin_shufflevector(re, im, 2, 6, 3, 7);
#elif QP_VEC_BYTES == 32
    *o0 = __builtin_shufflevector(re, im, 0, 8, 1, 9, 2, 10, 3, 11);
    *o1 = __builtin_shufflevector(re, im, 4, 12, 5, 13, 6, 14, 7, 15);
#else
    *o0 = __builtin_shufflevector(re, im, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
    *o1 = __builtin_shufflevector(re, im, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
#endif
}

// sqrt(re^2 + im^2) without needless overflow or underflow, like the C library's hypot: infinite
// when either part is infinite (even if the other is NaN), NaN otherwise when either part is NaN.
//
// The sum of squares is used directly when it lies in [2^-100, FLT_MAX] ([2^-900, DBL_MAX] for
// double): then no square overflowed, and a square that underflowed is below 2^-50 of the sum. One
// integer add and compare test that range (the bit patterns of non-negative floats are ordered
// like their values; the add moves the range to the bottom of the signed integers). A vector with
// any other lane (zero, tiny, huge, infinite or NaN parts) is recomputed with both parts scaled by
// a power of two that brings the larger one near 1, which is exact.
template <typename T>
QP_INLINE Vec<T> Magnitude(Vec<T> re, Vec<T> im) {
    using U = typename std::conditional<sizeof(T) == 4, std::uint32_t, std::uint64_t>::type;
    using I = typename std::make_signed<U>::type;
    constexpr bool kFloat = sizeof(T) == 4;
    constexpr U kSign = U{1} << (sizeof(U) * 8 - 1);
    constexpr U kLowBits = static_cast<U>(kFloat ? 27ull << 23 : 123ull << 52);               // 2^-100, 2^-900
    constexpr U kMaxBits = static_cast<U>(kFloat ? 0x7F7FFFFFull : 0x7FEFFFFFFFFFFFFFull);  // largest finite
    constexpr I kLimit = static_cast<I>(kSign + (kMaxBits - kLowBits));

    const Vec<T> sum = cxmath::MulAdd<T>(re, re, im * im);
    const auto outside = BitCast<I>(BitCast<U>(sum) + (kSign - kLowBits)) > kLimit;
    if (__builtin_expect(!cxmath::AnyTrue(outside), 1)) return cxmath::Sqrt<T>(sum);

    constexpr T kHigh = kFloat ? static_cast<T>(0x1p60) : static_cast<T>(0x1p500);
    constexpr T kLow = kFloat ? static_cast<T>(0x1p-60) : static_cast<T>(0x1p-500);
    constexpr T kDown = kFloat ? static_cast<T>(0x1p-100) : static_cast<T>(0x1p-700);
    constexpr T kUp = kFloat ? static_cast<T>(0x1p100) : static_cast<T>(0x1p700);
    const Vec<T> ar = cxmath::Abs<T>(re), ai = cxmath::Abs<T>(im);
    const Vec<T> m = ar > ai ? ar : ai;
    const Vec<T> one = simd::Broadcast(T{1});
    const Vec<T> scale = m > kHigh ? simd::Broadcast(kDown) : (m < kLow ? simd::Broadcast(kUp) : one);
    const Vec<T> unscale = m > kHigh ? simd::Broadcast(kUp) : (m < kLow ? simd::Broadcast(kDown) : one);
    const Vec<T> rs = re * scale, is = im * scale;
    const Vec<T> r = cxmath::Sqrt<T>(cxmath::MulAdd<T>(rs, rs, is * is)) * unscale;
    const T inf = __builtin_huge_val();
    return (ar == inf) | (ai == inf) ? simd::Broadcast(inf) : r;
}

}  // namespace cx
}  // namespace QP_PATH_NS
}  // namespace qp
