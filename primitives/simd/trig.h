// Vector elementary functions for the complex and polar kernels: square root, fused multiply-add,
// lane tests, and single-precision atan2, sin and cos.
//
// Accuracy (measured by the complex tests over dense sweeps against long double references):
//   Atan2   at most 2 ulp, every quadrant, with the C99 atan2 results for signed zeros,
//           infinities and NaN;
//   SinCos  at most 2 ulp for |x| <= kSinCosReduceMax, where the argument is reduced with a
//           four-part pi/2 whose first three parts multiply exactly; lanes beyond that (and
//           non-finite lanes) take the C library's sinf and cosf.
// Everything is always inlined and lives in the build's own namespace (see simd.h).
#pragma once

#include <type_traits>

#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {
namespace cxmath {

using simd::BitCast;
using simd::Vec;

// a * b + c, rounded once where the path has fused multiply-add (paths 4, 5, 6 and w), else twice.
using simd::MulAdd;

// Correctly rounded square root of every lane.
template <typename T>
QP_INLINE Vec<T> Sqrt(Vec<T> a) {
#if QP_VEC_BYTES == 16
    if constexpr (sizeof(T) == 4) return _mm_sqrt_ps(a);
    else return _mm_sqrt_pd(a);
#elif QP_VEC_BYTES == 32
    if constexpr (sizeof(T) == 4) return _mm256_sqrt_ps(a);
    else return _mm256_sqrt_pd(a);
#elif defined(__AVX512F__)
    // The zero-masking forms: GCC 12's plain forms start from an undefined register and warn.
    if constexpr (sizeof(T) == 4) return _mm512_maskz_sqrt_ps(0xFFFF, a);
    else return _mm512_maskz_sqrt_pd(0xFF, a);
#else
    typedef T Half __attribute__((vector_size(32)));
    Half h[2];
    __builtin_memcpy(h, &a, sizeof a);
    for (int i = 0; i < 2; ++i) {
        if constexpr (sizeof(T) == 4) h[i] = _mm256_sqrt_ps(h[i]);
        else h[i] = _mm256_sqrt_pd(h[i]);
    }
    Vec<T> r;
    __builtin_memcpy(&r, h, sizeof r);
    return r;
#endif
}

// True when every lane of a comparison result (all ones or all zeros per lane) is all ones.
template <typename M>
QP_INLINE bool AllTrue(M m) {
    const Vec<long long> v = BitCast<long long>(m);
#if QP_VEC_BYTES == 16
    return _mm_movemask_epi8(reinterpret_cast<__m128i>(v)) == 0xFFFF;
#elif QP_VEC_BYTES == 32
    return _mm256_testc_si256(reinterpret_cast<__m256i>(v), _mm256_set1_epi32(-1)) != 0;
#elif defined(__AVX512F__)
    return _mm512_test_epi32_mask(reinterpret_cast<__m512i>(v), reinterpret_cast<__m512i>(v)) == 0xFFFF;
#else
    typedef long long Half __attribute__((vector_size(32)));
    Half h[2];
    __builtin_memcpy(h, &v, sizeof v);
    return _mm256_testc_si256(reinterpret_cast<__m256i>(h[0]), _mm256_set1_epi32(-1)) != 0 &&
           _mm256_testc_si256(reinterpret_cast<__m256i>(h[1]), _mm256_set1_epi32(-1)) != 0;
#endif
}

// True when any lane of a comparison result is all ones.
template <typename M>
QP_INLINE bool AnyTrue(M m) {
    const Vec<long long> v = BitCast<long long>(m);
#if QP_VEC_BYTES == 16
    return _mm_movemask_epi8(reinterpret_cast<__m128i>(v)) != 0;
#elif QP_VEC_BYTES == 32
    return _mm256_testz_si256(reinterpret_cast<__m256i>(v), reinterpret_cast<__m256i>(v)) == 0;
#elif defined(__AVX512F__)
    return _mm512_test_epi32_mask(reinterpret_cast<__m512i>(v), reinterpret_cast<__m512i>(v)) != 0;
#else
    typedef long long Half __attribute__((vector_size(32)));
    Half h[2];
    __builtin_memcpy(h, &v, sizeof v);
    const __m256i both = reinterpret_cast<__m256i>(h[0] | h[1]);
    return _mm256_testz_si256(both, both) == 0;
#endif
}

template <typename T>
QP_INLINE Vec<T> Abs(Vec<T> a) {
    using U = typename std::conditional<sizeof(T) == 4, std::uint32_t, std::uint64_t>::type;
    return BitCast<T>(BitCast<U>(a) & (~U{0} >> 1));
}

// ---- atan2 ---------------------------------------------------------------------------------------

// atan(t) for |t| <= 1/2: t + t z P(z), z = t^2, P of degree 4 fitted for the least maximum
// relative error (below 2^-27 with these float coefficients).
QP_INLINE Vec<float> AtanKernel(Vec<float> t) {
    using VF = Vec<float>;
    const VF z = t * t;
    VF p = MulAdd<float>(simd::Broadcast(-0x1.a52f1cp-5f), z, simd::Broadcast(0x1.a05fc2p-4f));
    p = MulAdd<float>(p, z, simd::Broadcast(-0x1.2253cap-3f));
    p = MulAdd<float>(p, z, simd::Broadcast(0x1.997bd2p-3f));
    p = MulAdd<float>(p, z, simd::Broadcast(-0x1.555514p-2f));
    return MulAdd<float>(t * z, p, t);
}

// atan2(y, x) in radians, in [-pi, pi]. The octant reduction divides min(|x|,|y|) by max(|x|,|y|);
// from 2 min >= max on, the quotient becomes (min - max) / (min + max), in [-1/3, 0], so that one
// division serves both ranges (min - max is then exact). The constants pi/4, pi/2 and pi are added
// as high and low float parts.
QP_INLINE Vec<float> Atan2(Vec<float> y, Vec<float> x) {
    using VF = Vec<float>;
    using VI = Vec<std::int32_t>;
    const VI xb = BitCast<std::int32_t>(x), yb = BitCast<std::int32_t>(y);
    const VF ax = BitCast<float>(xb & 0x7FFFFFFF), ay = BitCast<float>(yb & 0x7FFFFFFF);
    const VI swap = ay > ax;
    const VF mx = swap ? ay : ax, mn = swap ? ax : ay;
    // 2 mn >= mx as mn >= mx - mn: exact where it decides (mx - mn is exact from mn >= mx / 2 on,
    // and rounds to no less than mx / 2 below), with an infinite mx for an infinite difference.
    // mx * 0.5 rounds the smallest subnormal to zero, and mn + mn overflows against an infinity.
    VI big = mn >= mx - mn;
    VF num = big ? mn - mx : mn, den = big ? mn + mx : mx;
    // Both infinite: the angle is an odd multiple of pi/4 (t = 0 above tan(pi/8)).
    const VI bothInf = mn == __builtin_inff();
    num = bothInf ? VF{} : num;
    den = bothInf ? simd::Broadcast(1.0f) : den;
    big = big | bothInf;
    // Both zero: t = 0 in the lower range, which gives 0 or pi by the sign of x.
    const VI zero = mx == 0.0f;
    den = zero ? simd::Broadcast(1.0f) : den;
    big = big & ~zero;

    VF r = AtanKernel(num / den);
    r = big ? (r + -0x1.777a5cp-26f) + 0x1.921fb6p-1f : r;
    r = swap ? (-0x1.777a5cp-25f - r) + 0x1.921fb6p+0f : r;
    r = xb < 0 ? (-0x1.777a5cp-24f - r) + 0x1.921fb6p+1f : r;
    r = BitCast<float>(BitCast<std::int32_t>(r) | (yb & static_cast<std::int32_t>(0x80000000u)));
    const VI nan = (x != x) | (y != y);
    return nan ? x + y : r;
}

// ---- sin and cos ---------------------------------------------------------------------------------

// Arguments up to this magnitude are reduced in the vector: k = round(x * 2/pi) stays below 2^12,
// so k times each of the first three parts of pi/2 (8, 11 and 11 significant bits) is exact.
constexpr float kSinCosReduceMax = 6000.0f;

// sin and cos of every lane.
QP_INLINE void SinCos(Vec<float> x, Vec<float>* sinOut, Vec<float>* cosOut) {
    using VF = Vec<float>;
    using VI = Vec<std::int32_t>;
    constexpr float kRound = 0x1.8p23f;  // adding it rounds |v| < 2^22 to an integer in the low bits
    const VF t = x * 0x1.45f306p-1f + kRound;
    const VI k = BitCast<std::int32_t>(t) - BitCast<std::int32_t>(simd::Broadcast(kRound));
    const VF nk = kRound - t;
    VF r = MulAdd<float>(nk, simd::Broadcast(0x1.92p+0f), x);
    r = MulAdd<float>(nk, simd::Broadcast(0x1.fb4p-12f), r);
    r = MulAdd<float>(nk, simd::Broadcast(0x1.444p-24f), r);
    r = MulAdd<float>(nk, simd::Broadcast(0x1.68c234p-39f), r);

    // Minimax polynomials on [-pi/4, pi/4].
    const VF z = r * r;
    VF ps = MulAdd<float>(simd::Broadcast(-1.9515295891e-4f), z, simd::Broadcast(8.3321608736e-3f));
    ps = MulAdd<float>(ps, z, simd::Broadcast(-1.6666654611e-1f));
    const VF sr = MulAdd<float>(r * z, ps, r);
    VF pc = MulAdd<float>(simd::Broadcast(2.443315711809948e-5f), z, simd::Broadcast(-1.388731625493765e-3f));
    pc = MulAdd<float>(pc, z, simd::Broadcast(4.166664568298827e-2f));
    // 1 - z/2 rounds; its rounding error (1 - w) - z/2 is exact and added back with the tail.
    const VF hz = z * 0.5f, w = 1.0f - hz;
    const VF cr = w + MulAdd<float>(z * z, pc, (1.0f - w) - hz);

    // Quadrant k mod 4: odd k swaps sin and cos; sin changes sign for k = 2, 3 and cos for k = 1, 2.
    const VI odd = (k & 1) != 0;
    VF s = odd ? cr : sr, c = odd ? sr : cr;
    const Vec<std::uint32_t> ku = BitCast<std::uint32_t>(k);
    s = BitCast<float>(BitCast<std::uint32_t>(s) ^ ((ku & 2u) << 30));
    c = BitCast<float>(BitCast<std::uint32_t>(c) ^ (((ku + 1u) & 2u) << 30));
    s = x == 0.0f ? x : s;  // sin(-0) = -0, which the polynomial would turn into +0

    const VI inRange = Abs<float>(x) <= kSinCosReduceMax;
    if (__builtin_expect(!AllTrue(inRange), 0)) {
        for (int j = 0; j < simd::kLanes<float>; ++j) {
            if (inRange[j] == 0) {
                s[j] = __builtin_sinf(x[j]);
                c[j] = __builtin_cosf(x[j]);
            }
        }
    }
    *sinOut = s;
    *cosOut = c;
}

}  // namespace cxmath
}  // namespace QP_PATH_NS
}  // namespace qp
