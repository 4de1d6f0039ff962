// Window functions: dst[n] = src[n] * w(n), n = 0 .. N - 1.
//
// Every window is symmetric, w(n) = w(N - 1 - n): the weights of the first ceil(N/2) positions are
// computed a vector at a time and applied to a block at the front and, lanes reversed, to the
// mirrored block at the back; the middle, where the two blocks would meet, is done lane by lane.
// Weights are computed in double (Bartlett: in float, from a float slope) and rounded to the
// element type only when applied. Reading both mirrored blocks before writing either keeps in-place
// use correct.
#include "simd/simd.h"
#include "simd/window_math.h"

namespace qp {
namespace QP_PATH_NS {

namespace {

using simd::Vec;
namespace win = simd::win;
using win::VD;

constexpr double kTwoPi = 6.283185307179586476925286766559;

template <typename T>
QP_INLINE bool AnyNull(const T* a, const T* b) {
    return a == nullptr || b == nullptr;
}

// Weights of positions n0 .. n0 + lanes - 1 as a vector of T, from a weight function of double
// positions (float builds: two double vectors narrowed to one).
template <typename T, typename WFn>
QP_INLINE Vec<T> Weights(WFn wfn, int n0) {
    if constexpr (sizeof(T) == sizeof(double)) {
        return wfn(win::Iota<double>() + static_cast<double>(n0));
    } else {
        constexpr int LD = simd::kLanes<double>;
        const VD lo = wfn(win::Iota<double>() + static_cast<double>(n0));
        const VD hi = wfn(win::Iota<double>() + static_cast<double>(n0 + LD));
        return win::Narrow(lo, hi);
    }
}

// Applies a symmetric window whose weight vector for positions n0 .. n0 + lanes - 1 is weights(n0).
template <typename T, typename WVec>
QP_INLINE void ApplySymmetric(const T* src, T* dst, int N, WVec weights) {
    constexpr int L = simd::kLanes<T>;
    const int half = N - N / 2;  // ceil(N / 2) computed weights
    int n = 0;
    // Front block [n, n + L) and back block [N - n - L, N - n) apart.
    for (; 2 * (n + L) <= N; n += L) {
        const Vec<T> w = weights(n);
        const Vec<T> front = simd::Load(src + n);
        const Vec<T> back = simd::Load(src + N - n - L);
        simd::Store(dst + n, front * w);
        simd::Store(dst + N - n - L, back * win::Reverse<T>(w));
    }
    for (; n < half; n += L) {
        const Vec<T> w = weights(n);
        for (int i = 0; i < L && n + i < half; ++i) {
            const int k = n + i, m = N - 1 - k;
            const T sk = src[k], sm = src[m];
            dst[k] = sk * w[i];
            if (m != k) dst[m] = sm * w[i];
        }
    }
}

// 0.5 - 0.5 cos(x) style windows: c0 - c1 cos(2 pi n / M).
template <typename T>
QP_INLINE Status RaisedCosine(const T* src, T* dst, int len, double c0, double c1) {
    if (AnyNull(src, dst)) return qpStsNullPtrErr;
    if (len < 3) return qpStsSizeErr;
    const double step = kTwoPi / static_cast<double>(len - 1);
    const auto wfn = [=](VD n) { return c0 - c1 * win::Cos(n * step); };
    ApplySymmetric(src, dst, len, [=](int n0) { return Weights<T>(wfn, n0); });
    return qpStsNoErr;
}

// (alpha + 1)/2 - 0.5 cos(2 pi n / M) - (alpha / 2) cos(4 pi n / M).
template <typename T>
QP_INLINE Status Blackman(const T* src, T alpha, T* dst, int len) {
    if (AnyNull(src, dst)) return qpStsNullPtrErr;
    if (len < 3) return qpStsSizeErr;
    const double a = alpha;
    const double c0 = (a + 1.0) * 0.5, c2 = a * 0.5;
    const double step = kTwoPi / static_cast<double>(len - 1);
    const auto wfn = [=](VD n) {
        const VD x = n * step;
        return (c0 - 0.5 * win::Cos(x)) - c2 * win::Cos(x + x);
    };
    ApplySymmetric(src, dst, len, [=](int n0) { return Weights<T>(wfn, n0); });
    return qpStsNoErr;
}

// I0(|alpha| sqrt(n (M - n))) / I0(|alpha| M / 2); n (M - n) = (M/2)^2 - (n - M/2)^2 exactly.
template <typename T>
QP_INLINE Status Kaiser(const T* src, T alpha, T* dst, int len) {
    if (AnyNull(src, dst)) return qpStsNullPtrErr;
    if (len < 1) return qpStsSizeErr;
    const double a = alpha < 0 ? -static_cast<double>(alpha) : static_cast<double>(alpha);
    const double M = static_cast<double>(len - 1);
    const double xMax = a * M * 0.5;
    if (xMax > 38.0) return qpStsHugeWinErr;
    const int terms = win::BesselI0Terms(xMax);
    double invSquares[200];
    for (int k = 0; k < terms; ++k) invSquares[k] = 1.0 / (static_cast<double>(k + 1) * (k + 1));
    const VD centre = win::BesselI0(simd::Broadcast(xMax), invSquares, terms);
    const double inv = 1.0 / centre[0];
    const auto wfn = [=, &invSquares](VD n) {
        return win::BesselI0(a * win::Sqrt(n * (M - n)), invSquares, terms) * inv;
    };
    ApplySymmetric(src, dst, len, [&](int n0) { return Weights<T>(wfn, n0); });
    return qpStsNoErr;
}

}  // namespace

// Slope 2/M rounded to float once; weights slope * n in float.
Status win_bartlett_f32(const float* src, float* dst, int len) {
    if (AnyNull(src, dst)) return qpStsNullPtrErr;
    if (len < 3) return qpStsSizeErr;
    const float slope = static_cast<float>(2.0 / static_cast<double>(len - 1));
    ApplySymmetric(src, dst, len, [=](int n0) {
        return (win::Iota<float>() + static_cast<float>(n0)) * slope;
    });
    return qpStsNoErr;
}

Status win_hann_f32(const float* src, float* dst, int len) { return RaisedCosine(src, dst, len, 0.5, 0.5); }
Status win_hann_f64(const double* src, double* dst, int len) { return RaisedCosine(src, dst, len, 0.5, 0.5); }
Status win_hamming_f32(const float* src, float* dst, int len) { return RaisedCosine(src, dst, len, 0.54, 0.46); }
Status win_hamming_f64(const double* src, double* dst, int len) { return RaisedCosine(src, dst, len, 0.54, 0.46); }
Status win_blackman_f32(const float* src, float alpha, float* dst, int len) { return Blackman(src, alpha, dst, len); }
Status win_blackman_f64(const double* src, double alpha, double* dst, int len) {
    return Blackman(src, alpha, dst, len);
}
Status win_kaiser_f32(const float* src, float alpha, float* dst, int len) { return Kaiser(src, alpha, dst, len); }
Status win_kaiser_f64(const double* src, double alpha, double* dst, int len) { return Kaiser(src, alpha, dst, len); }

}  // namespace QP_PATH_NS
}  // namespace qp
