// Vector helpers of the FFT kernels: split complex vectors, lane shuffles that interleave or
// de-interleave chunks of lanes, complex products (fused where the path has FMA), and the layout
// accessors through which the radix passes read and write split or interleaved arrays.
#pragma once

#include <utility>

#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {
namespace simd {

// L complex values: real lanes and imaginary lanes.
template <typename T>
struct CVec {
    Vec<T> re, im;
};

template <typename T>
QP_INLINE CVec<T> operator+(CVec<T> a, CVec<T> b) {
    return {a.re + b.re, a.im + b.im};
}
template <typename T>
QP_INLINE CVec<T> operator-(CVec<T> a, CVec<T> b) {
    return {a.re - b.re, a.im - b.im};
}
// -i * a
template <typename T>
QP_INLINE CVec<T> MulNegI(CVec<T> a) {
    return {a.im, -a.re};
}
template <typename T>
QP_INLINE CVec<T> Scale(CVec<T> a, Vec<T> s) {
    return {a.re * s, a.im * s};
}

// a * b + c and a * b - c, fused where the path has FMA (the 64-byte test build with AVX2 flags
// splits each vector in two).
template <typename T>
QP_INLINE Vec<T> MulAdd(Vec<T> a, Vec<T> b, Vec<T> c) {
#if defined(__FMA__) || defined(__AVX512F__)
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    if constexpr (sizeof(T) == 4)
        return reinterpret_cast<Vec<T>>(_mm512_fmadd_ps(reinterpret_cast<__m512>(a), reinterpret_cast<__m512>(b),
                                                        reinterpret_cast<__m512>(c)));
    else
        return reinterpret_cast<Vec<T>>(_mm512_fmadd_pd(reinterpret_cast<__m512d>(a), reinterpret_cast<__m512d>(b),
                                                        reinterpret_cast<__m512d>(c)));
#elif QP_VEC_BYTES == 64
    typedef T Half __attribute__((vector_size(32)));
    Half ah[2], bh[2], ch[2], r[2];
    __builtin_memcpy(ah, &a, sizeof a);
    __builtin_memcpy(bh, &b, sizeof b);
    __builtin_memcpy(ch, &c, sizeof c);
    for (int k = 0; k < 2; ++k) {
        if constexpr (sizeof(T) == 4)
            r[k] = reinterpret_cast<Half>(_mm256_fmadd_ps(reinterpret_cast<__m256>(ah[k]), reinterpret_cast<__m256>(bh[k]),
                                                          reinterpret_cast<__m256>(ch[k])));
        else
            r[k] = reinterpret_cast<Half>(_mm256_fmadd_pd(reinterpret_cast<__m256d>(ah[k]),
                                                          reinterpret_cast<__m256d>(bh[k]), reinterpret_cast<__m256d>(ch[k])));
    }
    Vec<T> out;
    __builtin_memcpy(&out, r, sizeof out);
    return out;
#elif QP_VEC_BYTES == 32
    if constexpr (sizeof(T) == 4)
        return reinterpret_cast<Vec<T>>(_mm256_fmadd_ps(reinterpret_cast<__m256>(a), reinterpret_cast<__m256>(b),
                                                        reinterpret_cast<__m256>(c)));
    else
        return reinterpret_cast<Vec<T>>(_mm256_fmadd_pd(reinterpret_cast<__m256d>(a), reinterpret_cast<__m256d>(b),
                                                        reinterpret_cast<__m256d>(c)));
#else
    if constexpr (sizeof(T) == 4)
        return reinterpret_cast<Vec<T>>(
            _mm_fmadd_ps(reinterpret_cast<__m128>(a), reinterpret_cast<__m128>(b), reinterpret_cast<__m128>(c)));
    else
        return reinterpret_cast<Vec<T>>(
            _mm_fmadd_pd(reinterpret_cast<__m128d>(a), reinterpret_cast<__m128d>(b), reinterpret_cast<__m128d>(c)));
#endif
#else
    return a * b + c;
#endif
}

// a * w (complex)
template <typename T>
QP_INLINE CVec<T> Mul(CVec<T> a, CVec<T> w) {
    return {MulAdd<T>(a.re, w.re, -(a.im * w.im)), MulAdd<T>(a.re, w.im, a.im * w.re)};
}
// a * conj(w)
template <typename T>
QP_INLINE CVec<T> MulConj(CVec<T> a, CVec<T> w) {
    return {MulAdd<T>(a.re, w.re, a.im * w.im), MulAdd<T>(a.im, w.re, -(a.re * w.im))};
}

// Shuffle of the 2L lanes of (a, b) by a constexpr index function F::At(t), t < L.
template <typename F, typename V, std::size_t... I>
QP_INLINE V ShuffleBy(V a, V b, std::index_sequence<I...>) {
    return __builtin_shufflevector(a, b, F::At(static_cast<int>(I))...);
}

// Chunk interleave: with chunks of S lanes, (a0 b0 a1 b1 ...), its first L lanes (Lo) and the next
// L lanes (Hi).
template <int L, int S, int Offset>
struct ZipIndex {
    static constexpr int At(int t) {
        return (((t + Offset) / S) & 1) * L + (((t + Offset) / S) >> 1) * S + (t + Offset) % S;
    }
};
// Even lanes then odd lanes of (a, b).
template <int Parity>
struct UnzipIndex {
    static constexpr int At(int t) { return 2 * t + Parity; }
};
// Lanes of a in reverse order.
template <int L>
struct ReverseIndex {
    static constexpr int At(int t) { return L - 1 - t; }
};

template <int S, typename T>
QP_INLINE void Zip(Vec<T> a, Vec<T> b, Vec<T>& lo, Vec<T>& hi) {
    constexpr int L = kLanes<T>;
    lo = ShuffleBy<ZipIndex<L, S, 0>>(a, b, std::make_index_sequence<L>{});
    hi = ShuffleBy<ZipIndex<L, S, L>>(a, b, std::make_index_sequence<L>{});
}
template <typename T>
QP_INLINE void Unzip(Vec<T> a, Vec<T> b, Vec<T>& even, Vec<T>& odd) {
    constexpr int L = kLanes<T>;
    even = ShuffleBy<UnzipIndex<0>>(a, b, std::make_index_sequence<L>{});
    odd = ShuffleBy<UnzipIndex<1>>(a, b, std::make_index_sequence<L>{});
}
template <typename T>
QP_INLINE Vec<T> Reverse(Vec<T> a) {
    constexpr int L = kLanes<T>;
    return ShuffleBy<ReverseIndex<L>>(a, a, std::make_index_sequence<L>{});
}

// Layout accessors: Load(i) and Store(i, v) move the L complex values at indices i .. i + L - 1.
// Swap exchanges real and imaginary parts on the way, which turns the forward passes into the
// inverse transform (inverse(x) = swap(forward(swap(x)))).
template <typename T, bool Swap = false>
struct SplitIn {
    const T* re;
    const T* im;
    QP_INLINE CVec<T> Load(std::ptrdiff_t i) const {
        CVec<T> v{simd::Load(re + i), simd::Load(im + i)};
        if (Swap) return {v.im, v.re};
        return v;
    }
    QP_INLINE void Get(std::ptrdiff_t i, T& r, T& m) const {
        r = Swap ? im[i] : re[i];
        m = Swap ? re[i] : im[i];
    }
};
template <typename T, bool Swap = false>
struct SplitOut {
    T* re;
    T* im;
    QP_INLINE CVec<T> Load(std::ptrdiff_t i) const { return SplitIn<T, Swap>{re, im}.Load(i); }
    QP_INLINE void Store(std::ptrdiff_t i, CVec<T> v) const {
        simd::Store(Swap ? im + i : re + i, v.re);
        simd::Store(Swap ? re + i : im + i, v.im);
    }
    QP_INLINE void Put(std::ptrdiff_t i, T r, T m) const {
        (Swap ? im : re)[i] = r;
        (Swap ? re : im)[i] = m;
    }
};
template <typename T, bool Swap = false>
struct InterIn {
    const T* p;
    QP_INLINE CVec<T> Load(std::ptrdiff_t i) const {
        CVec<T> v;
        Unzip<T>(simd::Load(p + 2 * i), simd::Load(p + 2 * i + kLanes<T>), v.re, v.im);
        if (Swap) return {v.im, v.re};
        return v;
    }
    QP_INLINE void Get(std::ptrdiff_t i, T& r, T& m) const {
        r = p[2 * i + (Swap ? 1 : 0)];
        m = p[2 * i + (Swap ? 0 : 1)];
    }
};
template <typename T, bool Swap = false>
struct InterOut {
    T* p;
    QP_INLINE CVec<T> Load(std::ptrdiff_t i) const { return InterIn<T, Swap>{p}.Load(i); }
    QP_INLINE void Store(std::ptrdiff_t i, CVec<T> v) const {
        Vec<T> lo, hi;
        if (Swap)
            Zip<1, T>(v.im, v.re, lo, hi);
        else
            Zip<1, T>(v.re, v.im, lo, hi);
        simd::Store(p + 2 * i, lo);
        simd::Store(p + 2 * i + kLanes<T>, hi);
    }
    QP_INLINE void Put(std::ptrdiff_t i, T r, T m) const {
        p[2 * i + (Swap ? 1 : 0)] = r;
        p[2 * i + (Swap ? 0 : 1)] = m;
    }
};

}  // namespace simd
}  // namespace QP_PATH_NS
}  // namespace qp
