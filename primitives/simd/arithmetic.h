// Helpers of the element-wise arithmetic kernels: lane reversal, pair shuffles for interleaved
// complex data, square root, a map whose partial vectors also run through the vector operation, and
// a scope that masks floating-point exceptions and reports the flags raised inside it.
#pragma once

#include <utility>

#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {
namespace simd {
namespace arith {

template <typename T, std::size_t... I>
QP_INLINE Vec<T> ReverseImpl(Vec<T> v, std::index_sequence<I...>) {
    return __builtin_shufflevector(v, v, (kLanes<T> - 1 - static_cast<int>(I))...);
}
// Lanes in reverse order.
template <typename T>
QP_INLINE Vec<T> Reverse(Vec<T> v) {
    return ReverseImpl<T>(v, std::make_index_sequence<kLanes<T>>());
}

template <typename T, std::size_t... I>
QP_INLINE Vec<T> DupEvenImpl(Vec<T> v, std::index_sequence<I...>) {
    return __builtin_shufflevector(v, v, (static_cast<int>(I) & ~1)...);
}
template <typename T, std::size_t... I>
QP_INLINE Vec<T> DupOddImpl(Vec<T> v, std::index_sequence<I...>) {
    return __builtin_shufflevector(v, v, (static_cast<int>(I) | 1)...);
}
template <typename T, std::size_t... I>
QP_INLINE Vec<T> SwapPairsImpl(Vec<T> v, std::index_sequence<I...>) {
    return __builtin_shufflevector(v, v, (static_cast<int>(I) ^ 1)...);
}
// (x0, x0, x2, x2, ...), (x1, x1, x3, x3, ...) and (x1, x0, x3, x2, ...).
template <typename T>
QP_INLINE Vec<T> DupEven(Vec<T> v) {
    return DupEvenImpl<T>(v, std::make_index_sequence<kLanes<T>>());
}
template <typename T>
QP_INLINE Vec<T> DupOdd(Vec<T> v) {
    return DupOddImpl<T>(v, std::make_index_sequence<kLanes<T>>());
}
template <typename T>
QP_INLINE Vec<T> SwapPairs(Vec<T> v) {
    return SwapPairsImpl<T>(v, std::make_index_sequence<kLanes<T>>());
}

// Unsigned integer of the element's width, for sign-bit manipulation.
template <typename T>
struct BitsOf;
template <>
struct BitsOf<float> {
    typedef std::uint32_t type;
};
template <>
struct BitsOf<double> {
    typedef std::uint64_t type;
};
template <typename T>
using Bits = typename BitsOf<T>::type;

template <typename T>
constexpr Bits<T> kSignBit = Bits<T>{1} << (8 * sizeof(T) - 1);

// The sign bit in the odd lanes only: XOR with it negates the imaginary parts of interleaved pairs.
template <typename T>
QP_INLINE Vec<Bits<T>> OddSignMask() {
    Vec<Bits<T>> m{};
    for (int i = 1; i < kLanes<T>; i += 2) m[i] = kSignBit<T>;
    return m;
}

// Lane-wise a > b ? a : b and a < b ? a : b in one instruction each: b where the lanes are equal
// or either is NaN.
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
#define QP_MAX_MIN(T, M, suffix, mask)                                                                     \
    QP_INLINE Vec<T> MaxOrSecond(Vec<T> a, Vec<T> b) {                                                    \
        return reinterpret_cast<Vec<T>>(_mm512_maskz_max_##suffix(mask, reinterpret_cast<M>(a), reinterpret_cast<M>(b))); \
    }                                                                                                      \
    QP_INLINE Vec<T> MinOrSecond(Vec<T> a, Vec<T> b) {                                                    \
        return reinterpret_cast<Vec<T>>(_mm512_maskz_min_##suffix(mask, reinterpret_cast<M>(a), reinterpret_cast<M>(b))); \
    }
QP_MAX_MIN(float, __m512, ps, 0xFFFF)
QP_MAX_MIN(double, __m512d, pd, 0xFF)
#elif QP_VEC_BYTES == 64
// Two 256-bit halves.
#define QP_MAX_MIN(T, M, suffix, mask)                                 \
    QP_INLINE Vec<T> MaxOrSecond(Vec<T> a, Vec<T> b) {                \
        M x[2], y[2];                                                  \
        __builtin_memcpy(x, &a, sizeof a);                             \
        __builtin_memcpy(y, &b, sizeof b);                             \
        x[0] = _mm256_max_##suffix(x[0], y[0]);                        \
        x[1] = _mm256_max_##suffix(x[1], y[1]);                        \
        __builtin_memcpy(&a, x, sizeof a);                             \
        return a;                                                      \
    }                                                                  \
    QP_INLINE Vec<T> MinOrSecond(Vec<T> a, Vec<T> b) {                \
        M x[2], y[2];                                                  \
        __builtin_memcpy(x, &a, sizeof a);                             \
        __builtin_memcpy(y, &b, sizeof b);                             \
        x[0] = _mm256_min_##suffix(x[0], y[0]);                        \
        x[1] = _mm256_min_##suffix(x[1], y[1]);                        \
        __builtin_memcpy(&a, x, sizeof a);                             \
        return a;                                                      \
    }
QP_MAX_MIN(float, __m256, ps, 0)
QP_MAX_MIN(double, __m256d, pd, 0)
#else
#if QP_VEC_BYTES == 32
#define QP_MAX_MIN_OP(op, suffix) _mm256_##op##_##suffix
#else
#define QP_MAX_MIN_OP(op, suffix) _mm_##op##_##suffix
#endif
#define QP_MAX_MIN(T, M, suffix, mask)                                                                        \
    QP_INLINE Vec<T> MaxOrSecond(Vec<T> a, Vec<T> b) {                                                       \
        return reinterpret_cast<Vec<T>>(QP_MAX_MIN_OP(max, suffix)(reinterpret_cast<M>(a), reinterpret_cast<M>(b))); \
    }                                                                                                         \
    QP_INLINE Vec<T> MinOrSecond(Vec<T> a, Vec<T> b) {                                                       \
        return reinterpret_cast<Vec<T>>(QP_MAX_MIN_OP(min, suffix)(reinterpret_cast<M>(a), reinterpret_cast<M>(b))); \
    }
#if QP_VEC_BYTES == 32
QP_MAX_MIN(float, __m256, ps, 0)
QP_MAX_MIN(double, __m256d, pd, 0)
#else
QP_MAX_MIN(float, __m128, ps, 0)
QP_MAX_MIN(double, __m128d, pd, 0)
#endif
#undef QP_MAX_MIN_OP
#endif
#undef QP_MAX_MIN
QP_INLINE float MaxOrSecond(float a, float b) { return a > b ? a : b; }
QP_INLINE float MinOrSecond(float a, float b) { return a < b ? a : b; }
QP_INLINE double MaxOrSecond(double a, double b) { return a > b ? a : b; }
QP_INLINE double MinOrSecond(double a, double b) { return a < b ? a : b; }

// Correctly rounded square root of every lane.
QP_INLINE Vec<double> Sqrt(Vec<double> v) {
#if QP_VEC_BYTES == 16
    return reinterpret_cast<Vec<double>>(_mm_sqrt_pd(reinterpret_cast<__m128d>(v)));
#elif QP_VEC_BYTES == 32
    return reinterpret_cast<Vec<double>>(_mm256_sqrt_pd(reinterpret_cast<__m256d>(v)));
#elif defined(__AVX512F__)
    // The zero-masked form: the unmasked one reads an undefined register that GCC 12 warns about.
    return reinterpret_cast<Vec<double>>(_mm512_maskz_sqrt_pd(static_cast<__mmask8>(0xFF), reinterpret_cast<__m512d>(v)));
#else
    typedef double Half __attribute__((vector_size(32)));
    Half h[2];
    __builtin_memcpy(h, &v, sizeof v);
    for (Half& x : h) x = reinterpret_cast<Half>(_mm256_sqrt_pd(reinterpret_cast<__m256d>(x)));
    __builtin_memcpy(&v, h, sizeof v);
    return v;
#endif
}

template <typename T>
QP_INLINE Vec<T> LoadPartial(const T* p, int m) {
    Vec<T> v = Broadcast(T(1));
    __builtin_memcpy(&v, p, static_cast<std::size_t>(m) * sizeof(T));
    return v;
}

template <typename T>
QP_INLINE void StorePartial(T* p, Vec<T> v, int m) {
    __builtin_memcpy(p, &v, static_cast<std::size_t>(m) * sizeof(T));
}

// Whether the destination is one of the sources (in-place use): its lines are read anyway, so
// non-temporal stores would save no read-for-ownership and only evict what the loop just loaded.
template <typename T, typename... Src>
QP_INLINE bool IsSource(const T* d, const Src*... src) {
    return ((static_cast<const void*>(d) == static_cast<const void*>(src)) || ...);
}

// Element-wise map like simd::Map, for operations without a scalar form or whose scalar form must
// give the same bits as the vector one: the partial vectors of the head (alignment for streaming)
// and of the tail are loaded into a vector padded with ones and go through the vector operation.
// kGroup elements are kept together (2 for interleaved complex pairs); n must be a multiple of it.
// Large runs stream their stores unless the destination is a source.
template <int kGroup = 1, int kUnroll = 4, typename T, typename VOp, typename... Src>
QP_INLINE void MapPadded(T* d, int n, VOp vop, const Src*... src) {
    constexpr int L = kLanes<T>;
    int i = 0;
    if (static_cast<std::int64_t>(n) * static_cast<std::int64_t>(sizeof(T)) >= kStreamBytes && !IsSource(d, src...) &&
        reinterpret_cast<std::uintptr_t>(d) % (kGroup * sizeof(T)) == 0) {
        const int head = static_cast<int>((kVecBytes - reinterpret_cast<std::uintptr_t>(d) % kVecBytes) % kVecBytes /
                                          sizeof(T));
        if (head > 0) {
            StorePartial(d, vop(LoadPartial(src, head)...), head);
            i = head;
        }
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
    if (i < n) StorePartial(d + i, vop(LoadPartial(src + i, n - i)...), n - i);
}

// simd::Map, except that a destination which is one of the sources is written with ordinary
// stores at any size (see IsSource): large in-place runs go in blocks below the streaming threshold.
template <int kUnroll = 4, typename T, typename VOp, typename SOp, typename... Src>
QP_INLINE void Map(T* d, int n, VOp vop, SOp sop, const Src*... src) {
    if (IsSource(d, src...)) {
        constexpr int kBlock = static_cast<int>(kStreamBytes / sizeof(T) / 2);
        for (int i = 0; i < n; i += kBlock) {
            simd::Map<kUnroll>(d + i, n - i < kBlock ? n - i : kBlock, vop, sop, (src + i)...);
        }
    } else {
        simd::Map<kUnroll>(d, n, vop, sop, src...);
    }
}

// Masks every floating-point exception for its lifetime, starting with a clear divide-by-zero
// flag; DivideByZero() reports a division by zero since. The register is written only when it has
// to change: reading it waits for the arithmetic in flight and a write costs tens of cycles, each
// about as much as the loop over a few hundred elements. In the usual state (every exception
// masked, no divide-by-zero flag pending) the scope reads it once on entry and writes nothing. On
// exit the caller's control and status word comes back when the scope had to change it or saw a
// division by zero; otherwise the call leaves the sticky flags its arithmetic raised (inexact,
// overflow), as any arithmetic does.
class ExceptionScope {
public:
    QP_INLINE ExceptionScope() : saved_(_mm_getcsr()) {
        const unsigned masked = (saved_ | kMaskAll) & ~kDivideByZero;
        restore_ = masked != saved_;
        if (restore_) _mm_setcsr(masked);
        __asm__ __volatile__("" ::: "memory");
    }
    QP_INLINE ~ExceptionScope() {
        __asm__ __volatile__("" ::: "memory");
        if (restore_) _mm_setcsr(saved_);
    }
    QP_INLINE bool DivideByZero() {
        __asm__ __volatile__("" ::: "memory");
        const bool raised = (_mm_getcsr() & kDivideByZero) != 0;
        restore_ = restore_ || raised;
        return raised;
    }

private:
    static constexpr unsigned kDivideByZero = 0x4u, kMaskAll = 0x1F80u;
    unsigned saved_;
    bool restore_;
};

}  // namespace arith
}  // namespace simd
}  // namespace QP_PATH_NS
}  // namespace qp
