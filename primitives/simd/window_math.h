// Double-precision vector functions of the window and low-pass design kernels: sine and cosine,
// square root, the modified Bessel function I0, lane reversal and index vectors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {
namespace simd {
namespace win {

using VD = Vec<double>;
using VB = Vec<std::int64_t>;

namespace detail {

template <typename T, std::size_t... I>
QP_INLINE Vec<T> Iota(std::index_sequence<I...>) {
    return Vec<T>{static_cast<T>(I)...};
}

template <typename V, std::size_t... I>
QP_INLINE V Reverse(V v, std::index_sequence<I...>) {
    return __builtin_shufflevector(v, v, (sizeof...(I) - 1 - I)...);
}

typedef float HalfF __attribute__((vector_size(QP_VEC_BYTES / 2)));

template <std::size_t... I>
QP_INLINE Vec<float> Concat(HalfF lo, HalfF hi, std::index_sequence<I...>) {
    return __builtin_shufflevector(lo, hi, I...);
}

}  // namespace detail

// {0, 1, ..., lanes - 1}.
template <typename T>
QP_INLINE Vec<T> Iota() {
    return detail::Iota<T>(std::make_index_sequence<kLanes<T>>{});
}

// Lanes in reverse order.
template <typename T>
QP_INLINE Vec<T> Reverse(Vec<T> v) {
    return detail::Reverse(v, std::make_index_sequence<kLanes<T>>{});
}

// Two vectors of doubles rounded to one vector of floats, lo in the low lanes.
QP_INLINE Vec<float> Narrow(VD lo, VD hi) {
    return detail::Concat(__builtin_convertvector(lo, detail::HalfF), __builtin_convertvector(hi, detail::HalfF),
                          std::make_index_sequence<kLanes<float>>{});
}

QP_INLINE VD Abs(VD x) { return BitCast<double>(BitCast<std::int64_t>(x) & 0x7FFFFFFFFFFFFFFFll); }

QP_INLINE VD Sqrt(VD x) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    return reinterpret_cast<VD>(_mm512_sqrt_pd(reinterpret_cast<__m512d>(x)));
#elif QP_VEC_BYTES == 64
    __m256d h[2];
    __builtin_memcpy(h, &x, sizeof x);
    h[0] = _mm256_sqrt_pd(h[0]);
    h[1] = _mm256_sqrt_pd(h[1]);
    VD r;
    __builtin_memcpy(&r, h, sizeof r);
    return r;
#elif QP_VEC_BYTES == 32
    return reinterpret_cast<VD>(_mm256_sqrt_pd(reinterpret_cast<__m256d>(x)));
#else
    return reinterpret_cast<VD>(_mm_sqrt_pd(reinterpret_cast<__m128d>(x)));
#endif
}

// sin(x + quarterTurns * pi / 2), accurate to about one unit in the last place for |x| up to 2^20.
// x = k * pi/2 + r with |r| <= pi/4 (pi/2 split in three parts, so k * part is exact), then the
// sine or cosine polynomial of r, chosen and signed by the quadrant k + quarterTurns.
QP_INLINE VD SinQuarter(VD x, std::int64_t quarterTurns) {
    const double kShifter = 6755399441055744.0;  // 1.5 * 2^52: adding it rounds to an integer
    const VD t = x * 0.63661977236758134308 + kShifter;
    const VB kBits = BitCast<std::int64_t>(t);  // the low mantissa bits hold k (two's complement)
    const VD k = t - kShifter;
    const VD r = ((x - k * 1.57079632673412561417e+00) - k * 6.07710050630396597660e-11) -
                 k * 2.02226624879595063154e-21;
    const VD z = r * r;
    const VD s = r + r * z *
                         (-1.66666666666666324348e-01 +
                          z * (8.33333333332248946124e-03 +
                               z * (-1.98412698298579493134e-04 +
                                    z * (2.75573137070700676789e-06 +
                                         z * (-2.50507602534068634195e-08 + z * 1.58969099521155010221e-10)))));
    const VD c = (1.0 - 0.5 * z) +
                 z * z *
                     (4.16666666666666019037e-02 +
                      z * (-1.38888888888741095749e-03 +
                           z * (2.48015872894767294178e-05 +
                                z * (-2.75573143513906633035e-07 +
                                     z * (2.08757232129817482790e-09 + z * -1.13596475577881948265e-11)))));
    const VB q = kBits + quarterTurns;
    const VB takeCos = -(q & 1);
    const VB sign = (q & 2) << 62;
    const VB bits = (BitCast<std::int64_t>(c) & takeCos) | (BitCast<std::int64_t>(s) & ~takeCos);
    return BitCast<double>(bits ^ sign);
}

QP_INLINE VD Sin(VD x) { return SinQuarter(x, 0); }
QP_INLINE VD Cos(VD x) { return SinQuarter(x, 1); }

// Number of power-series terms after which I0(x) has converged to double precision for every
// argument up to xMax (the terms of smaller arguments are smaller).
QP_INLINE int BesselI0Terms(double xMax) {
    const double q = 0.25 * xMax * xMax;
    double term = 1.0, sum = 1.0;
    int k = 0;
    while (k < 200 && term > 1e-17 * sum) {
        ++k;
        term *= q / (static_cast<double>(k) * k);
        sum += term;
    }
    return k;
}

// I0(x) = sum over k of ((x/2)^k / k!)^2: every term is positive, so the sum keeps full relative
// precision; `invSquares[k - 1]` = 1 / k^2 for k = 1 .. terms.
QP_INLINE VD BesselI0(VD x, const double* invSquares, int terms) {
    const VD q = 0.25 * x * x;
    VD term = Broadcast(1.0), sum = term;
    for (int k = 0; k < terms; ++k) {
        term = term * q * invSquares[k];
        sum += term;
    }
    return sum;
}

}  // namespace win
}  // namespace simd
}  // namespace QP_PATH_NS
}  // namespace qp
