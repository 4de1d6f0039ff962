// Helpers of the recursive and multi-rate filter kernels: fused multiply-add (vector and scalar),
// horizontal sums and lane masks.
#pragma once

#include <type_traits>

#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {
namespace iirmrf {

using simd::kLanes;
using simd::Vec;

using simd::MulAdd;

template <typename T, int kBytes>
struct VecOfBytes {
    typedef T type __attribute__((vector_size(kBytes)));
};

// Sum of the lanes: halves added until two lanes remain.
template <typename T, int kBytes>
QP_INLINE T SumLanes(typename VecOfBytes<T, kBytes>::type v) {
    if constexpr (kBytes == 2 * static_cast<int>(sizeof(T))) {
        return v[0] + v[1];
    } else {
        typedef typename VecOfBytes<T, kBytes / 2>::type Half;
        Half h[2];
        __builtin_memcpy(h, &v, sizeof v);
        return SumLanes<T, kBytes / 2>(h[0] + h[1]);
    }
}

template <typename T>
QP_INLINE T HorizontalSum(Vec<T> v) {
    return SumLanes<T, QP_VEC_BYTES>(v);
}

// Integer lanes of the same width as T.
template <typename T>
using LaneInt = typename std::conditional<sizeof(T) == 4, std::int32_t, std::int64_t>::type;

// All-ones in lanes first .. L-1, zero in lanes 0 .. first-1.
template <typename T>
QP_INLINE Vec<LaneInt<T>> MaskFrom(int first) {
    typedef LaneInt<T> I;
    Vec<I> iota;
    for (int l = 0; l < kLanes<T>; ++l) iota[l] = static_cast<I>(l);
    return reinterpret_cast<Vec<I>>(iota >= static_cast<I>(first));
}

template <typename T>
QP_INLINE Vec<T> And(Vec<T> v, Vec<LaneInt<T>> mask) {
    return reinterpret_cast<Vec<T>>(reinterpret_cast<Vec<LaneInt<T>>>(v) & mask);
}

}  // namespace iirmrf
}  // namespace QP_PATH_NS
}  // namespace qp
