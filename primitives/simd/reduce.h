// Helpers of the reduction kernels (sums, norms, extrema): widening loads, fused multiply-add,
// lane folds and the comparisons that decide which element wins.
//
// The extrema ignore NaN: an element replaces the running extreme only when it compares strictly
// better, and every comparison with NaN is false. The same strict comparison also keeps the earlier
// of two equal elements within a lane.
#pragma once

#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {
namespace reduce {

using simd::kLanes;
using simd::Vec;

// As many floats as a full vector holds doubles.
typedef float HalfFloat __attribute__((vector_size(QP_VEC_BYTES / 2)));
typedef long long Words __attribute__((vector_size(QP_VEC_BYTES)));

// kLanes<double> floats from p (any alignment), widened to doubles.
// One conversion instruction per register (the generic conversion splits into 128-bit pieces).
QP_INLINE Vec<double> LoadWiden(const float* p) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    // The zero-masked form: the unmasked one trips -Wmaybe-uninitialized in GCC 12's header.
    return reinterpret_cast<Vec<double>>(_mm512_maskz_cvtps_pd(static_cast<__mmask8>(0xFF), _mm256_loadu_ps(p)));
#elif QP_VEC_BYTES == 64 && defined(__AVX__)
    const __m256d h[2] = {_mm256_cvtps_pd(_mm_loadu_ps(p)), _mm256_cvtps_pd(_mm_loadu_ps(p + 4))};
    Vec<double> r;
    __builtin_memcpy(&r, h, sizeof r);
    return r;
#elif QP_VEC_BYTES == 32 && defined(__AVX__)
    return reinterpret_cast<Vec<double>>(_mm256_cvtps_pd(_mm_loadu_ps(p)));
#elif QP_VEC_BYTES == 16
    return reinterpret_cast<Vec<double>>(_mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)))));
#else
    HalfFloat h;
    __builtin_memcpy(&h, p, sizeof h);
    return __builtin_convertvector(h, Vec<double>);
#endif
}

using simd::MulAdd;


// The lanes of a float vector added into a double vector (two widened halves). The halves are taken
// in registers where the build has the instructions: a round trip through memory stalls on store
// forwarding.
QP_INLINE Vec<double> AddWidened(Vec<double> acc, Vec<float> v) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    const __m512 x = reinterpret_cast<__m512>(v);
    const __m256 upper = _mm256_castpd_ps(_mm512_extractf64x4_pd(_mm512_castps_pd(x), 1));
    const __m512d lo = _mm512_maskz_cvtps_pd(static_cast<__mmask8>(0xFF), _mm512_castps512_ps256(x));
    const __m512d hi = _mm512_maskz_cvtps_pd(static_cast<__mmask8>(0xFF), upper);
    return acc + (reinterpret_cast<Vec<double>>(lo) + reinterpret_cast<Vec<double>>(hi));
#elif QP_VEC_BYTES == 32 && defined(__AVX__)
    const __m256 x = reinterpret_cast<__m256>(v);
    const __m256d lo = _mm256_cvtps_pd(_mm256_castps256_ps128(x));
    const __m256d hi = _mm256_cvtps_pd(_mm256_extractf128_ps(x, 1));
    return acc + (reinterpret_cast<Vec<double>>(lo) + reinterpret_cast<Vec<double>>(hi));
#else
    float f[kLanes<float>];
    __builtin_memcpy(f, &v, sizeof v);
    return acc + (LoadWiden(f) + LoadWiden(f + kLanes<double>));
#endif
}

// True when any bit of the comparison mask m is set.
template <typename M>
QP_INLINE bool Any(M m) {
    const Words w = reinterpret_cast<Words>(m);
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    return _mm512_test_epi64_mask(reinterpret_cast<__m512i>(w), reinterpret_cast<__m512i>(w)) != 0;
#elif QP_VEC_BYTES == 64 && defined(__AVX__)
    __m256i h[2];
    __builtin_memcpy(h, &w, sizeof w);
    const __m256i o = reinterpret_cast<__m256i>(reinterpret_cast<__v4du>(h[0]) | reinterpret_cast<__v4du>(h[1]));
    return !_mm256_testz_si256(o, o);
#elif QP_VEC_BYTES == 32 && defined(__AVX__)
    return !_mm256_testz_si256(reinterpret_cast<__m256i>(w), reinterpret_cast<__m256i>(w));
#elif QP_VEC_BYTES == 16
    return _mm_movemask_epi8(reinterpret_cast<__m128i>(w)) != 0;
#else
    long long a[QP_VEC_BYTES / 8];
    __builtin_memcpy(a, &w, sizeof w);
    long long o = 0;
    for (long long x : a) o |= x;
    return o != 0;
#endif
}

// x replaces m when it is strictly larger / smaller: NaN never replaces, ties keep m. The same
// expression serves scalars and vectors (GCC lowers the vector form to max/min instructions).
struct Larger {
    template <typename V>
    static QP_INLINE auto Better(V x, V m) {
        return x > m;
    }
    template <typename V>
    QP_INLINE V operator()(V x, V m) const {
        return x > m ? x : m;
    }
    template <typename T>
    static constexpr T Worst() {
        return -__builtin_inf();
    }
};
struct Smaller {
    template <typename V>
    static QP_INLINE auto Better(V x, V m) {
        return x < m;
    }
    template <typename V>
    QP_INLINE V operator()(V x, V m) const {
        return x < m ? x : m;
    }
    template <typename T>
    static constexpr T Worst() {
        return __builtin_inf();
    }
};

// Folds the lanes of v with op, lane 0 first.
template <typename T, typename Op>
QP_INLINE T Fold(Vec<T> v, Op op) {
    T a[kLanes<T>];
    __builtin_memcpy(a, &v, sizeof v);
    T r = a[0];
    for (int i = 1; i < kLanes<T>; ++i) r = op(a[i], r);
    return r;
}

template <typename T>
QP_INLINE T SumLanes(Vec<T> v) {
    return Fold<T>(v, [](T x, T m) { return m + x; });
}

}  // namespace reduce
}  // namespace QP_PATH_NS
}  // namespace qp
