// Helpers of the dot-product, convolution and resampling kernels: broadcasts, the direct
// convolution block, the spectrum product, and the choice between direct and transform-based
// convolution with the work-buffer layout that goes with it.
//
// Choice of method. Direct evaluation costs about outLen x m multiply-adds (m the shorter length);
// the transform method costs a spec initialisation, the kernel's transform and, per block of
// B = N - m + 1 input samples, a forward and an inverse real transform of N points plus the
// spectrum product and the copies (overlap-add; one block when N covers the whole output). The
// constants below are nanoseconds measured on the development machine (AVX2 build, 2 cores shared
// with other jobs; minimum of five 2 ms runs per size):
//
//                                         float          double
//   direct, per multiply-add              0.036          0.067
//   real transform, per N log2 N          0.10 / 0.21    0.21 / 0.33   (N <= 2^14 / above)
//   spec initialisation, per point        75 / 110       75 / 110      (N < 2^18 / from 2^18)
//   product and copies, per point         0.3            0.6
//
// The spec initialisation (twiddles in long double) costs as much as ~70 transforms of its size, so
// the transform wins late. Measured float crossovers: between 128 taps (direct 0.31 ms, transform
// 0.37 ms) and 256 taps (0.65 against 0.49 ms) at 65536 samples, the model switching at 128; near
// 1024 taps at 4096 samples (0.20 against 0.17 ms). 65536 x 1024 runs blocks of 2048 points
// (0.54 ms against 2.2 ms direct), 4096 x 4096 one block of 8192 points (0.65 against 1.2 ms).
// The model prices the first call: a work buffer passed again keeps its spec (vector/dsp.cpp), and
// then the transform is cheaper still. The block size is the power of two with the lowest modelled
// total.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "fft/fft_spec.h"
#include "simd/fft.h"
#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {
namespace dsp {

using simd::kLanes;
using simd::Load;
using simd::Store;
using simd::Vec;

// ---------------------------------------------------------------------------------------------
// Direct convolution

// Output vectors per pass of the direct kernel: the taps are read once per pass and broadcast.
constexpr int kDirectUnroll = 8;

// y[k] = sum over j < m of h[j] * x[k + m - 1 - j], k < count; x holds count + m - 1 elements.
// Every output adds its terms in the same order (tap m - 1 first), whatever loop computes it.
template <typename T>
QP_INLINE void DirectBlock(const T* x, const T* h, std::int64_t m, T* y, std::int64_t count) {
    constexpr int L = kLanes<T>;
    constexpr int U = kDirectUnroll;
    const T* hr = h + (m - 1);  // hr[-j] = h[m - 1 - j]
    std::int64_t k = 0;
    for (; count - k >= U * L; k += U * L) {
        Vec<T> acc[U] = {};
        const T* xk = x + k;
        for (std::int64_t j = 0; j < m; ++j) {
            const Vec<T> w = simd::Broadcast<T>(hr[-j]);
#pragma GCC unroll 8
            for (int u = 0; u < U; ++u) acc[u] = simd::MulAdd<T>(w, Load(xk + j + u * L), acc[u]);
        }
#pragma GCC unroll 8
        for (int u = 0; u < U; ++u) Store(y + k + u * L, acc[u]);
    }
    for (; count - k >= L; k += L) {
        Vec<T> acc = {};
        for (std::int64_t j = 0; j < m; ++j) acc = simd::MulAdd<T>(simd::Broadcast<T>(hr[-j]), Load(x + k + j), acc);
        Store(y + k, acc);
    }
    for (; k < count; ++k) {
        T acc = 0;
        for (std::int64_t j = 0; j < m; ++j) acc = simd::MulAdd(hr[-j], x[k + j], acc);
        y[k] = acc;
    }
}

// Full convolution of x (n samples) with h (m <= n taps) into y (n + m - 1), direct evaluation.
// edge: 2 (m - 1) elements of scratch for the zero-padded ends.
template <typename T>
QP_INLINE void DirectConvolve(const T* x, std::int64_t n, const T* h, std::int64_t m, T* y, T* edge) {
    if (m == 1) {
        const Vec<T> w = simd::Broadcast<T>(h[0]);
        constexpr int L = kLanes<T>;
        std::int64_t i = 0;
        for (; n - i >= L; i += L) Store(y + i, w * Load(x + i));
        for (; i < n; ++i) y[i] = h[0] * x[i];
        return;
    }
    const std::int64_t e = m - 1;
    // Left end: outputs 0 .. m - 2 see m - 1 zeros, then x[0 .. m - 2].
    for (std::int64_t i = 0; i < e; ++i) edge[i] = 0;
    __builtin_memcpy(edge + e, x, static_cast<std::size_t>(e) * sizeof(T));
    DirectBlock<T>(edge, h, m, y, e);
    // Middle: every tap meets a sample.
    DirectBlock<T>(x, h, m, y + e, n - m + 1);
    // Right end: outputs n .. n + m - 2 see x[n - m + 1 .. n - 1], then m - 1 zeros.
    __builtin_memcpy(edge, x + (n - e), static_cast<std::size_t>(e) * sizeof(T));
    for (std::int64_t i = 0; i < e; ++i) edge[e + i] = 0;
    DirectBlock<T>(edge, h, m, y + n, e);
}

// ---------------------------------------------------------------------------------------------
// Transform method

// Packed spectra of N + 2 values are N / 2 + 1 interleaved complex values: x[k] *= h[k].
template <typename T>
QP_INLINE void SpectrumProduct(T* x, const T* h, std::int64_t bins) {
    constexpr int L = kLanes<T>;
    std::int64_t k = 0;
    const simd::InterIn<T> hin{h};
    const simd::InterOut<T> xio{x};
    for (; bins - k >= L; k += L) xio.Store(k, simd::Mul<T>(xio.Load(k), hin.Load(k)));
    for (; k < bins; ++k) {
        const T xr = x[2 * k], xi = x[2 * k + 1], hr = h[2 * k], hi = h[2 * k + 1];
        x[2 * k] = simd::MulAdd(xr, hr, -(xi * hi));
        x[2 * k + 1] = simd::MulAdd(xr, hi, xi * hr);
    }
}

template <typename T>
QP_INLINE void ScaleInPlace(T* x, std::int64_t n, T s) {
    constexpr int L = kLanes<T>;
    const Vec<T> v = simd::Broadcast<T>(s);
    std::int64_t i = 0;
    for (; n - i >= L; i += L) Store(x + i, Load(x + i) * v);
    for (; i < n; ++i) x[i] *= s;
}

// d[0 .. n) = s[0 .. n), then zeros up to total.
template <typename T>
QP_INLINE void CopyPadded(T* d, const T* s, std::int64_t n, std::int64_t total) {
    __builtin_memcpy(d, s, static_cast<std::size_t>(n) * sizeof(T));
    constexpr int L = kLanes<T>;
    std::int64_t i = n;
    for (; i < total && (i % L) != 0; ++i) d[i] = 0;
    const Vec<T> z = {};
    for (; total - i >= L; i += L) Store(d + i, z);
    for (; i < total; ++i) d[i] = 0;
}

template <typename T>
QP_INLINE void AddInto(T* d, const T* s, std::int64_t n) {
    constexpr int L = kLanes<T>;
    std::int64_t i = 0;
    for (; n - i >= L; i += L) Store(d + i, Load(d + i) + Load(s + i));
    for (; i < n; ++i) d[i] += s[i];
}

// ---------------------------------------------------------------------------------------------
// Method choice and work-buffer layout (identical in every build, so a size query made under one
// code path serves a convolution run under another)

enum Algorithm : int {
    kAlgAuto = 0,
    kAlgDirect = 1,
    kAlgTransform = 2,
};

constexpr int kMinOrder = 1;
constexpr int kMaxOrder = 22;  // largest transform; longer outputs go through overlap-add
constexpr std::int64_t kAlign = 64;

template <typename T>
struct Cost {
    static constexpr double kMac = sizeof(T) == 4 ? 0.036 : 0.067;
    static constexpr double kFftSmall = sizeof(T) == 4 ? 0.10 : 0.21;  // N <= 2^14: in L2
    static constexpr double kFftLarge = sizeof(T) == 4 ? 0.21 : 0.33;
    static constexpr double kInitSmall = 75.0;  // N < 2^18
    static constexpr double kInitLarge = 110.0;
    static constexpr double kPoint = sizeof(T) == 4 ? 0.3 : 0.6;
};

// Chosen method for an n x m convolution (m <= n): order 0 means direct, else the transform order.
struct Plan {
    int order;
};

QP_INLINE int CeilLog2(std::int64_t v) {
    int p = 0;
    while ((std::int64_t{1} << p) < v) ++p;
    return p;
}

// Modelled time of the transform method with blocks of 2^p points.
template <typename T>
QP_INLINE double TransformCost(std::int64_t n, std::int64_t m, int p) {
    const double N = static_cast<double>(std::int64_t{1} << p);
    const std::int64_t B = (std::int64_t{1} << p) - m + 1;
    const double blocks = static_cast<double>((n + B - 1) / B);
    const double fft = (p <= 14 ? Cost<T>::kFftSmall : Cost<T>::kFftLarge) * N * p;
    const double init = (p < 18 ? Cost<T>::kInitSmall : Cost<T>::kInitLarge) * N;
    return init + fft + blocks * (2 * fft + Cost<T>::kPoint * N);
}

template <typename T>
QP_INLINE Plan Choose(std::int64_t n, std::int64_t m, int algorithm) {
    const int lo = CeilLog2(2 * m) < kMinOrder ? kMinOrder : CeilLog2(2 * m);
    if (algorithm == kAlgDirect || lo > kMaxOrder) return {0};
    int hi = CeilLog2(n + m - 1);
    if (hi > kMaxOrder) hi = kMaxOrder;
    if (hi < lo) hi = lo;
    int best = lo;
    double bestCost = TransformCost<T>(n, m, lo);
    for (int p = lo + 1; p <= hi; ++p) {
        const double c = TransformCost<T>(n, m, p);
        if (c < bestCost) {
            best = p;
            bestCost = c;
        }
    }
    if (algorithm == kAlgAuto && Cost<T>::kMac * static_cast<double>(n + m - 1) * static_cast<double>(m) <= bestCost)
        return {0};
    return {best};
}

QP_INLINE std::int64_t AlignBytes(std::int64_t b) { return (b + kAlign - 1) & ~(kAlign - 1); }

// Work-buffer layout of the transform method, in bytes from the first 64-byte boundary of the
// buffer: the spec's reuse record, spec block, transform work buffer, kernel spectrum, block buffer.
struct Layout {
    std::int64_t spec, specBytes, fftWork, kernel, block, total;
};

}  // namespace dsp
}  // namespace QP_PATH_NS
}  // namespace qp
