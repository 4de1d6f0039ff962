// Portable SIMD layer for the kernels: compiler vector types whose width is fixed per build.
//
// Every kernel source is compiled once per code path with that path's instruction-set flags and
//   QP_PATH_NS    the namespace of the build (path0 .. path6, pathw),
//   QP_VEC_BYTES  the vector width in bytes (16, 32 or 64).
// Everything here is always inlined and lives in the build's own namespace, so no build can pick up
// a helper compiled for another instruction set.
#pragma once

#if !defined(QP_PATH_NS) || !defined(QP_VEC_BYTES)
#error "kernel sources are compiled per code path with QP_PATH_NS and QP_VEC_BYTES defined"
#endif

// GCC 12 reports the AVX-512 half extract and insert intrinsics (which start from an undefined
// register on purpose) as reading an uninitialised value wherever they are inlined: silenced for the
// intrinsics' own lines only, which is where the report points.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop

#include <cstddef>
#include <cstdint>
#include <utility>

#include "runtime/kernels.h"

#define QP_INLINE inline __attribute__((always_inline))

namespace qp {
namespace QP_PATH_NS {
namespace simd {

constexpr int kVecBytes = QP_VEC_BYTES;

template <typename T>
struct VecOf {
    typedef T type __attribute__((vector_size(QP_VEC_BYTES)));
};
template <typename T>
using Vec = typename VecOf<T>::type;

template <typename T>
constexpr int kLanes = QP_VEC_BYTES / static_cast<int>(sizeof(T));

template <typename T>
QP_INLINE Vec<T> Load(const T* p) {
    Vec<T> v;
    __builtin_memcpy(&v, p, sizeof v);
    return v;
}

template <typename T>
QP_INLINE void Store(T* p, Vec<T> v) {
    __builtin_memcpy(p, &v, sizeof v);
}

namespace detail {
template <typename T, std::size_t... I>
QP_INLINE Vec<T> Splat(T x, std::index_sequence<I...>) {
    return Vec<T>{((void)I, x)...};
}
}  // namespace detail

// x in every lane: a plain broadcast, no arithmetic (0 + x would also turn -0.0 into +0.0).
template <typename T>
QP_INLINE Vec<T> Broadcast(T x) {
    return detail::Splat<T>(x, std::make_index_sequence<kLanes<T>>{});
}

// Same bits viewed as another element type of the same width.
template <typename To, typename V>
QP_INLINE Vec<To> BitCast(V v) {
    static_assert(sizeof(Vec<To>) == sizeof(V), "same width");
    return reinterpret_cast<Vec<To>>(v);
}

// a * b + c, rounded once where the build has FMA (paths 4 to 6 and w), twice elsewhere.
// MulAdd<T>(...) names the element type; the overloads below deduce it.
template <typename T>
QP_INLINE Vec<T> MulAdd(Vec<T> a, Vec<T> b, Vec<T> c) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    if constexpr (sizeof(T) == 4) {
        return reinterpret_cast<Vec<T>>(
            _mm512_fmadd_ps(reinterpret_cast<__m512>(a), reinterpret_cast<__m512>(b), reinterpret_cast<__m512>(c)));
    } else {
        return reinterpret_cast<Vec<T>>(
            _mm512_fmadd_pd(reinterpret_cast<__m512d>(a), reinterpret_cast<__m512d>(b), reinterpret_cast<__m512d>(c)));
    }
#elif QP_VEC_BYTES == 64 && defined(__FMA__)
    // The 512-bit source built for AVX2: two 256-bit halves.
    if constexpr (sizeof(T) == 4) {
        __m256 ah[2], bh[2], ch[2];
        __builtin_memcpy(ah, &a, sizeof a);
        __builtin_memcpy(bh, &b, sizeof b);
        __builtin_memcpy(ch, &c, sizeof c);
        ch[0] = _mm256_fmadd_ps(ah[0], bh[0], ch[0]);
        ch[1] = _mm256_fmadd_ps(ah[1], bh[1], ch[1]);
        Vec<T> r;
        __builtin_memcpy(&r, ch, sizeof r);
        return r;
    } else {
        __m256d ah[2], bh[2], ch[2];
        __builtin_memcpy(ah, &a, sizeof a);
        __builtin_memcpy(bh, &b, sizeof b);
        __builtin_memcpy(ch, &c, sizeof c);
        ch[0] = _mm256_fmadd_pd(ah[0], bh[0], ch[0]);
        ch[1] = _mm256_fmadd_pd(ah[1], bh[1], ch[1]);
        Vec<T> r;
        __builtin_memcpy(&r, ch, sizeof r);
        return r;
    }
#elif QP_VEC_BYTES == 32 && defined(__FMA__)
    if constexpr (sizeof(T) == 4) {
        return reinterpret_cast<Vec<T>>(
            _mm256_fmadd_ps(reinterpret_cast<__m256>(a), reinterpret_cast<__m256>(b), reinterpret_cast<__m256>(c)));
    } else {
        return reinterpret_cast<Vec<T>>(
            _mm256_fmadd_pd(reinterpret_cast<__m256d>(a), reinterpret_cast<__m256d>(b), reinterpret_cast<__m256d>(c)));
    }
#else
    return a * b + c;
#endif
}

QP_INLINE Vec<float> MulAdd(Vec<float> a, Vec<float> b, Vec<float> c) { return MulAdd<float>(a, b, c); }
QP_INLINE Vec<double> MulAdd(Vec<double> a, Vec<double> b, Vec<double> c) { return MulAdd<double>(a, b, c); }

// The scalar counterparts, rounded like the vector form of the same build (AVX-512F has fused
// multiply-add without defining __FMA__).
// kFusedMulAdd tells kernels which kind they get: they choose between a chain of multiply-adds
// (fewer roundings when fused) and separate products and sums (fewer when not).
#if defined(__FMA__) || defined(__AVX512F__)
constexpr bool kFusedMulAdd = true;
QP_INLINE float MulAdd(float a, float b, float c) { return __builtin_fmaf(a, b, c); }
QP_INLINE double MulAdd(double a, double b, double c) { return __builtin_fma(a, b, c); }
#else
constexpr bool kFusedMulAdd = false;
QP_INLINE float MulAdd(float a, float b, float c) { return a * b + c; }
QP_INLINE double MulAdd(double a, double b, double c) { return a * b + c; }
#endif

// Non-temporal store of one vector to a vector-aligned address.
template <typename T>
QP_INLINE void StreamStore(T* p, Vec<T> v) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    _mm512_stream_si512(reinterpret_cast<__m512i*>(p), reinterpret_cast<__m512i>(v));
#elif QP_VEC_BYTES == 64
    typedef long long Half __attribute__((vector_size(32)));
    Half halves[2];
    __builtin_memcpy(halves, &v, sizeof v);
    _mm256_stream_si256(reinterpret_cast<__m256i*>(p), reinterpret_cast<__m256i>(halves[0]));
    _mm256_stream_si256(reinterpret_cast<__m256i*>(p) + 1, reinterpret_cast<__m256i>(halves[1]));
#elif QP_VEC_BYTES == 32
    _mm256_stream_si256(reinterpret_cast<__m256i*>(p), reinterpret_cast<__m256i>(v));
#else
    _mm_stream_si128(reinterpret_cast<__m128i*>(p), reinterpret_cast<__m128i>(v));
#endif
}

QP_INLINE void StreamFence() { _mm_sfence(); }

// Destinations at least this large are written with non-temporal stores: they do not fit in the
// caches anyway, and streaming saves the read-for-ownership of every destination line.
constexpr std::int64_t kStreamBytes = 4 << 20;

QP_INLINE bool IsAligned(const void* p) { return (reinterpret_cast<std::uintptr_t>(p) % kVecBytes) == 0; }

// Element-wise map over n elements: d[i] = op(s[i]...) for every source array. The vector op takes
// and returns Vec<T>, the scalar op T. Destinations may be exactly a source (in-place use), never a
// partial overlap. Remainders run through the scalar op; nothing is read or written past n.
template <int kUnroll = 4, typename T, typename VOp, typename SOp, typename... Src>
QP_INLINE void Map(T* d, int n, VOp vop, SOp sop, const Src*... src) {
    constexpr int L = kLanes<T>;
    int i = 0;
    if (static_cast<std::int64_t>(n) * static_cast<std::int64_t>(sizeof(T)) >= kStreamBytes) {
        for (; i < n && !IsAligned(d + i); ++i) d[i] = sop(src[i]...);
        for (; i + kUnroll * L <= n; i += kUnroll * L) {
            Vec<T> r[kUnroll];
            for (int u = 0; u < kUnroll; ++u) r[u] = vop(Load(src + i + u * L)...);
            for (int u = 0; u < kUnroll; ++u) StreamStore(d + i + u * L, r[u]);
        }
        StreamFence();
    }
    for (; i + kUnroll * L <= n; i += kUnroll * L) {
        Vec<T> r[kUnroll];
        for (int u = 0; u < kUnroll; ++u) r[u] = vop(Load(src + i + u * L)...);
        for (int u = 0; u < kUnroll; ++u) Store(d + i + u * L, r[u]);
    }
    for (; i + L <= n; i += L) Store(d + i, vop(Load(src + i)...));
    for (; i < n; ++i) d[i] = sop(src[i]...);
}

}  // namespace simd
}  // namespace QP_PATH_NS
}  // namespace qp
