// Helpers of the data-movement and conversion kernels: byte-range copy and fill, byte-order
// reversal, whole-vector equality, exact powers of two, rounding conversions and the MXCSR handling
// of the rounding conversions.
#pragma once

#include <cstddef>
#include <cstdint>

#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {
namespace simd {

// A vector of N elements of T (N * sizeof(T) bytes), for the narrow halves and quarters that
// conversions between element sizes load and store.
template <typename T, int N>
struct NarrowOf {
    typedef T type __attribute__((vector_size(N * sizeof(T))));
};
template <typename T, int N>
using Narrow = typename NarrowOf<T, N>::type;

template <typename V>
QP_INLINE V LoadAs(const void* p) {
    V v;
    __builtin_memcpy(&v, p, sizeof v);
    return v;
}

template <typename V>
QP_INLINE void StoreAs(void* p, V v) {
    __builtin_memcpy(p, &v, sizeof v);
}

// Stores one full vector, with a non-temporal store when kStream (the address is then aligned).
template <bool kStream, typename T>
QP_INLINE void Put(T* p, Vec<T> v) {
    if constexpr (kStream) {
        StreamStore(p, v);
    } else {
        Store(p, v);
    }
}

// --- byte ranges --------------------------------------------------------------------------------

using Bytes = Vec<unsigned char>;

// Moves C <= n <= 2C bytes as two possibly overlapping chunks, both loaded before either is stored,
// so any overlap of the two ranges is safe.
template <int C>
QP_INLINE void MoveHeadTail(unsigned char* d, const unsigned char* s, std::size_t n) {
    using Chunk = Narrow<unsigned char, C>;
    const Chunk h = LoadAs<Chunk>(s);
    const Chunk t = LoadAs<Chunk>(s + n - C);
    StoreAs(d, h);
    StoreAs(d + n - C, t);
}

// Moves fewer than kVecBytes bytes; any overlap is safe.
QP_INLINE void MoveShort(unsigned char* d, const unsigned char* s, std::size_t n) {
    if (kVecBytes > 32 && n >= 32) {
        MoveHeadTail<32>(d, s, n);
    } else if (kVecBytes > 16 && n >= 16) {
        MoveHeadTail<16>(d, s, n);
    } else if (n >= 8) {
        MoveHeadTail<8>(d, s, n);
    } else if (n >= 4) {
        MoveHeadTail<4>(d, s, n);
    } else if (n >= 2) {
        MoveHeadTail<2>(d, s, n);
    } else if (n == 1) {
        d[0] = s[0];
    }
}

QP_INLINE bool Overlap(const void* a, const void* b, std::size_t n) {
    const auto x = reinterpret_cast<std::uintptr_t>(a), y = reinterpret_cast<std::uintptr_t>(b);
    return x < y ? y - x < n : x - y < n;
}

// Copies n bytes from low to high addresses. Safe when d <= s (and so for d == s) or when the ranges
// are disjoint. Every block is loaded before it is stored and the last vector is read first, so a
// destination below an overlapping source never clobbers bytes still to be read. Large disjoint
// copies stream their stores past the caches.
QP_INLINE void CopyForward(unsigned char* d, const unsigned char* s, std::size_t n) {
    constexpr std::size_t V = kVecBytes;
    if (n < V) {
        MoveShort(d, s, n);
        return;
    }
    const Bytes tail = Load(s + n - V);
    std::size_t i = 0;
    if (n >= static_cast<std::size_t>(kStreamBytes) && !Overlap(d, s, n)) {
        // One unaligned vector, then aligned non-temporal stores from the next vector boundary on.
        Store(d, Load(s));
        i = V - reinterpret_cast<std::uintptr_t>(d) % V;
        for (; i + 4 * V <= n; i += 4 * V) {
            const Bytes a = Load(s + i), b = Load(s + i + V), c = Load(s + i + 2 * V), e = Load(s + i + 3 * V);
            StreamStore(d + i, a);
            StreamStore(d + i + V, b);
            StreamStore(d + i + 2 * V, c);
            StreamStore(d + i + 3 * V, e);
        }
        StreamFence();
    }
    for (; i + 4 * V <= n; i += 4 * V) {
        const Bytes a = Load(s + i), b = Load(s + i + V), c = Load(s + i + 2 * V), e = Load(s + i + 3 * V);
        Store(d + i, a);
        Store(d + i + V, b);
        Store(d + i + 2 * V, c);
        Store(d + i + 3 * V, e);
    }
    for (; i + V <= n; i += V) Store(d + i, Load(s + i));
    Store(d + n - V, tail);
}

// Copies n >= kVecBytes bytes from high to low addresses, for a destination above an overlapping
// source; the first vector is read first.
QP_INLINE void CopyBackward(unsigned char* d, const unsigned char* s, std::size_t n) {
    constexpr std::size_t V = kVecBytes;
    const Bytes head = Load(s);
    std::size_t i = n;
    for (; i >= 4 * V; i -= 4 * V) {
        const Bytes a = Load(s + i - V), b = Load(s + i - 2 * V), c = Load(s + i - 3 * V), e = Load(s + i - 4 * V);
        Store(d + i - V, a);
        Store(d + i - 2 * V, b);
        Store(d + i - 3 * V, c);
        Store(d + i - 4 * V, e);
    }
    for (; i >= V; i -= V) Store(d + i - V, Load(s + i - V));
    Store(d, head);
}

// memmove: any overlap.
QP_INLINE void MoveBytes(unsigned char* d, const unsigned char* s, std::size_t n) {
    const auto x = reinterpret_cast<std::uintptr_t>(d), y = reinterpret_cast<std::uintptr_t>(s);
    if (n < static_cast<std::size_t>(kVecBytes)) {
        MoveShort(d, s, n);
    } else if (x > y && x - y < n) {
        CopyBackward(d, s, n);
    } else {
        CopyForward(d, s, n);
    }
}

// Fills n bytes with the repeating pattern of v (whose period divides every power of two from the
// element size up, so that any overlapping store at an element boundary writes the same bytes).
QP_INLINE void FillBytes(unsigned char* d, Bytes v, std::size_t n) {
    constexpr std::size_t V = kVecBytes;
    if (n < V) {
        // Narrower stores of the same pattern, two possibly overlapping ones per size class.
        unsigned char pattern[V];
        __builtin_memcpy(pattern, &v, V);
        MoveShort(d, pattern, n);
        return;
    }
    std::size_t i = 0;
    if (n >= static_cast<std::size_t>(kStreamBytes)) {
        Store(d, v);
        i = V - reinterpret_cast<std::uintptr_t>(d) % V;
        for (; i + 4 * V <= n; i += 4 * V) {
            StreamStore(d + i, v);
            StreamStore(d + i + V, v);
            StreamStore(d + i + 2 * V, v);
            StreamStore(d + i + 3 * V, v);
        }
        StreamFence();
    }
    for (; i + 4 * V <= n; i += 4 * V) {
        Store(d + i, v);
        Store(d + i + V, v);
        Store(d + i + 2 * V, v);
        Store(d + i + 3 * V, v);
    }
    for (; i + V <= n; i += V) Store(d + i, v);
    Store(d + n - V, v);
}

// True when every bit of v is 0.
QP_INLINE bool AllZero(Bytes v) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    const __m512i x = reinterpret_cast<__m512i>(v);
    return _mm512_test_epi64_mask(x, x) == 0;
#elif QP_VEC_BYTES == 64
    typedef unsigned char Half __attribute__((vector_size(32)));
    Half h[2];
    __builtin_memcpy(h, &v, sizeof v);
    const __m256i x = reinterpret_cast<__m256i>(h[0] | h[1]);
    return _mm256_testz_si256(x, x) != 0;
#elif QP_VEC_BYTES == 32
    const __m256i x = reinterpret_cast<__m256i>(v);
    return _mm256_testz_si256(x, x) != 0;
#elif defined(__SSE4_1__)
    const __m128i x = reinterpret_cast<__m128i>(v);
    return _mm_testz_si128(x, x) != 0;
#else
    const __m128i x = reinterpret_cast<__m128i>(v);
    return _mm_movemask_epi8(_mm_cmpeq_epi8(x, _mm_setzero_si128())) == 0xFFFF;
#endif
}

// --- byte order ---------------------------------------------------------------------------------

#if defined(__SSSE3__)
// Byte-shuffle control reversing each E-byte element of a 16-byte lane.
#define QP_SWAP_INDEX(j, E) static_cast<char>(((j) / (E)) * (E) + (E)-1 - (j) % (E))
template <int E>
QP_INLINE __m128i SwapControl() {
    return _mm_setr_epi8(QP_SWAP_INDEX(0, E), QP_SWAP_INDEX(1, E), QP_SWAP_INDEX(2, E), QP_SWAP_INDEX(3, E),
                         QP_SWAP_INDEX(4, E), QP_SWAP_INDEX(5, E), QP_SWAP_INDEX(6, E), QP_SWAP_INDEX(7, E),
                         QP_SWAP_INDEX(8, E), QP_SWAP_INDEX(9, E), QP_SWAP_INDEX(10, E), QP_SWAP_INDEX(11, E),
                         QP_SWAP_INDEX(12, E), QP_SWAP_INDEX(13, E), QP_SWAP_INDEX(14, E), QP_SWAP_INDEX(15, E));
}
#undef QP_SWAP_INDEX
#endif

// Reverses the bytes of every element of v.
template <typename T>
QP_INLINE Vec<T> SwapBytes(Vec<T> v) {
    constexpr int E = sizeof(T);
#if QP_VEC_BYTES == 64 && defined(__AVX512BW__)
    const __m512i control = _mm512_broadcast_i32x4(SwapControl<E>());
    return reinterpret_cast<Vec<T>>(_mm512_shuffle_epi8(reinterpret_cast<__m512i>(v), control));
#elif QP_VEC_BYTES == 64
    // AVX2 (path 5 and the test build): two 256-bit byte shuffles.
    const __m256i control = _mm256_broadcastsi128_si256(SwapControl<E>());
    __m256i h[2];
    __builtin_memcpy(h, &v, sizeof v);
    h[0] = _mm256_shuffle_epi8(h[0], control);
    h[1] = _mm256_shuffle_epi8(h[1], control);
    Vec<T> r;
    __builtin_memcpy(&r, h, sizeof r);
    return r;
#elif QP_VEC_BYTES == 32 && defined(__AVX2__)
    return reinterpret_cast<Vec<T>>(
        _mm256_shuffle_epi8(reinterpret_cast<__m256i>(v), _mm256_broadcastsi128_si256(SwapControl<E>())));
#elif QP_VEC_BYTES == 32
    // AVX without AVX2 has no 256-bit byte shuffle: two 128-bit ones.
    const __m256i x = reinterpret_cast<__m256i>(v);
    const __m128i control = SwapControl<E>();
    const __m128i lo = _mm_shuffle_epi8(_mm256_castsi256_si128(x), control);
    const __m128i hi = _mm_shuffle_epi8(_mm256_extractf128_si256(x, 1), control);
    return reinterpret_cast<Vec<T>>(_mm256_set_m128i(hi, lo));
#elif defined(__SSSE3__)
    return reinterpret_cast<Vec<T>>(_mm_shuffle_epi8(reinterpret_cast<__m128i>(v), SwapControl<E>()));
#else
    // SSE2: swap the bytes of each 16-bit word, after rotating 32-bit words by 16 and 64-bit words by
    // 32 bits for the wider elements.
    Vec<std::uint64_t> q = BitCast<std::uint64_t>(v);
    if constexpr (E == 8) q = (q << 32) | (q >> 32);
    Vec<std::uint32_t> w = BitCast<std::uint32_t>(q);
    if constexpr (E >= 4) w = (w << 16) | (w >> 16);
    const Vec<std::uint16_t> h = BitCast<std::uint16_t>(w);
    return BitCast<T>(static_cast<Vec<std::uint16_t>>((h << 8) | (h >> 8)));
#endif
}

// --- conversions --------------------------------------------------------------------------------

// 2^e built from the exponent field: exact, e within the normal range of the type.
QP_INLINE float Pow2F(int e) {
    const std::uint32_t bits = static_cast<std::uint32_t>(e + 127) << 23;
    float f;
    __builtin_memcpy(&f, &bits, sizeof f);
    return f;
}
QP_INLINE double Pow2D(int e) {
    const std::uint64_t bits = static_cast<std::uint64_t>(e + 1023) << 52;
    double f;
    __builtin_memcpy(&f, &bits, sizeof f);
    return f;
}

// 2^-scaleFactor as the product of two normal powers of two f1 * f2, applied as (x * f1) * f2. The
// first factor moves x as far as the normal range surely allows, so that when the type's range is
// exceeded at all, only the second product rounds (to a subnormal, zero or infinity): the scaling
// rounds at most once. Scale factors beyond [minSf, maxSf] are clamped; callers choose the bounds
// so that clamping cannot change any result (every value is then already 0 or out of range).
template <typename T>
struct Scale {
    T f1, f2;
    bool any;  // false when both are 1
    bool two;  // true when f2 is not 1
};

template <typename T>
QP_INLINE Scale<T> MakeScale(int sf, int firstMax, int minSf, int maxSf) {
    sf = sf < minSf ? minSf : (sf > maxSf ? maxSf : sf);
    int e1 = -sf;  // exponent of the whole factor
    if (e1 > firstMax) e1 = firstMax;
    if (e1 < -firstMax) e1 = -firstMax;
    const int e2 = -sf - e1;
    Scale<T> s;
    if constexpr (sizeof(T) == 4) {
        s.f1 = Pow2F(e1);
        s.f2 = Pow2F(e2);
    } else {
        s.f1 = Pow2D(e1);
        s.f2 = Pow2D(e2);
    }
    s.any = sf != 0;
    s.two = e2 != 0;
    return s;
}

// float -> int32 rounded by the MXCSR rounding mode (round to nearest even where the callers use
// it). Truncation is __builtin_convertvector.
QP_INLINE Vec<std::int32_t> CvtNearest(Vec<float> v) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    // The all-lanes masked form: the same instruction, without the header's undefined pass-through.
    return reinterpret_cast<Vec<std::int32_t>>(_mm512_maskz_cvtps_epi32(0xFFFF, reinterpret_cast<__m512>(v)));
#elif QP_VEC_BYTES == 64
    __m256 h[2];
    __builtin_memcpy(h, &v, sizeof v);
    __m256i r[2] = {_mm256_cvtps_epi32(h[0]), _mm256_cvtps_epi32(h[1])};
    Vec<std::int32_t> out;
    __builtin_memcpy(&out, r, sizeof out);
    return out;
#elif QP_VEC_BYTES == 32
    return reinterpret_cast<Vec<std::int32_t>>(_mm256_cvtps_epi32(reinterpret_cast<__m256>(v)));
#else
    return reinterpret_cast<Vec<std::int32_t>>(_mm_cvtps_epi32(reinterpret_cast<__m128>(v)));
#endif
}

// Splits a vector into its two halves (vectors of half the width) and joins halves back, in
// registers (a round trip through memory would stall on store forwarding).
template <typename H, typename V>
QP_INLINE void SplitHalves(V v, H& lo, H& hi) {
    static_assert(2 * sizeof(H) == sizeof(V), "halves");
#if defined(__AVX512F__)
    if constexpr (sizeof(V) == 64) {
        const __m512i x = reinterpret_cast<__m512i>(v);
        lo = reinterpret_cast<H>(_mm512_castsi512_si256(x));
        hi = reinterpret_cast<H>(_mm512_extracti64x4_epi64(x, 1));
        return;
    }
#endif
    if constexpr (sizeof(V) == 32) {
        const __m256i x = reinterpret_cast<__m256i>(v);
        lo = reinterpret_cast<H>(_mm256_castsi256_si128(x));
        hi = reinterpret_cast<H>(_mm256_extractf128_si256(x, 1));
    } else {
        H h[2];
        __builtin_memcpy(h, &v, sizeof v);
        lo = h[0];
        hi = h[1];
    }
}
template <typename V, typename H>
QP_INLINE V JoinHalves(H lo, H hi) {
    static_assert(2 * sizeof(H) == sizeof(V), "halves");
#if defined(__AVX512F__)
    if constexpr (sizeof(V) == 64) {
        return reinterpret_cast<V>(
            _mm512_inserti64x4(_mm512_castsi256_si512(reinterpret_cast<__m256i>(lo)), reinterpret_cast<__m256i>(hi), 1));
    }
#endif
    if constexpr (sizeof(V) == 32) {
        return reinterpret_cast<V>(_mm256_set_m128i(reinterpret_cast<__m128i>(hi), reinterpret_cast<__m128i>(lo)));
    } else {
        const H h[2] = {lo, hi};
        V v;
        __builtin_memcpy(&v, h, sizeof v);
        return v;
    }
}

// Widening loads: kLanes<float> bytes or int16 values to int32 lanes.
QP_INLINE Vec<std::int32_t> LoadU8AsI32(const unsigned char* p) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    return reinterpret_cast<Vec<std::int32_t>>(_mm512_maskz_cvtepu8_epi32(0xFFFF, LoadAs<__m128i>(p)));
#elif QP_VEC_BYTES == 64
    return JoinHalves<Vec<std::int32_t>>(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))),
                                         _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + 8))));
#elif QP_VEC_BYTES == 32 && defined(__AVX2__)
    return reinterpret_cast<Vec<std::int32_t>>(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
#elif QP_VEC_BYTES == 32
    const __m128i x = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    return reinterpret_cast<Vec<std::int32_t>>(_mm256_set_m128i(_mm_cvtepu8_epi32(_mm_srli_si128(x, 4)), _mm_cvtepu8_epi32(x)));
#elif defined(__SSE4_1__)
    return reinterpret_cast<Vec<std::int32_t>>(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(LoadAs<int>(p))));
#else
    const __m128i zero = _mm_setzero_si128();
    const __m128i x = _mm_cvtsi32_si128(LoadAs<int>(p));
    return reinterpret_cast<Vec<std::int32_t>>(_mm_unpacklo_epi16(_mm_unpacklo_epi8(x, zero), zero));
#endif
}

QP_INLINE Vec<std::int32_t> LoadS16AsI32(const short* p) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    return reinterpret_cast<Vec<std::int32_t>>(_mm512_maskz_cvtepi16_epi32(0xFFFF, LoadAs<__m256i>(p)));
#elif QP_VEC_BYTES == 64
    return JoinHalves<Vec<std::int32_t>>(_mm256_cvtepi16_epi32(LoadAs<__m128i>(p)), _mm256_cvtepi16_epi32(LoadAs<__m128i>(p + 8)));
#elif QP_VEC_BYTES == 32 && defined(__AVX2__)
    return reinterpret_cast<Vec<std::int32_t>>(_mm256_cvtepi16_epi32(LoadAs<__m128i>(p)));
#elif QP_VEC_BYTES == 32
    const __m128i x = LoadAs<__m128i>(p);
    return reinterpret_cast<Vec<std::int32_t>>(_mm256_set_m128i(_mm_cvtepi16_epi32(_mm_unpackhi_epi64(x, x)), _mm_cvtepi16_epi32(x)));
#elif defined(__SSE4_1__)
    return reinterpret_cast<Vec<std::int32_t>>(_mm_cvtepi16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
#else
    const __m128i x = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
    return reinterpret_cast<Vec<std::int32_t>>(_mm_srai_epi32(_mm_unpacklo_epi16(x, x), 16));
#endif
}

// int32 or float lanes to two vectors of doubles (exact).
template <bool kInt, typename V>
QP_INLINE void WidenToF64Impl(V v, Vec<double>& lo, Vec<double>& hi) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    __m256i h[2];
    SplitHalves(v, h[0], h[1]);
    if constexpr (kInt) {
        lo = reinterpret_cast<Vec<double>>(_mm512_maskz_cvtepi32_pd(0xFF, h[0]));
        hi = reinterpret_cast<Vec<double>>(_mm512_maskz_cvtepi32_pd(0xFF, h[1]));
    } else {
        lo = reinterpret_cast<Vec<double>>(_mm512_maskz_cvtps_pd(0xFF, reinterpret_cast<__m256>(h[0])));
        hi = reinterpret_cast<Vec<double>>(_mm512_maskz_cvtps_pd(0xFF, reinterpret_cast<__m256>(h[1])));
    }
#elif QP_VEC_BYTES >= 32
    // Each 128-bit part gives one 256-bit vector of doubles.
    const auto widen = [](__m128i part) {
        if constexpr (kInt) {
            return _mm256_cvtepi32_pd(part);
        } else {
            return _mm256_cvtps_pd(reinterpret_cast<__m128>(part));
        }
    };
#if QP_VEC_BYTES == 32
    __m128i p0, p1;
    SplitHalves(v, p0, p1);
    lo = reinterpret_cast<Vec<double>>(widen(p0));
    hi = reinterpret_cast<Vec<double>>(widen(p1));
#else
    __m256i h0, h1;
    __m128i p0, p1, p2, p3;
    SplitHalves(v, h0, h1);
    SplitHalves(h0, p0, p1);
    SplitHalves(h1, p2, p3);
    lo = JoinHalves<Vec<double>>(widen(p0), widen(p1));
    hi = JoinHalves<Vec<double>>(widen(p2), widen(p3));
#endif
#else
    const __m128i x = reinterpret_cast<__m128i>(v);
    const __m128i upper = _mm_unpackhi_epi64(x, x);
    if constexpr (kInt) {
        lo = reinterpret_cast<Vec<double>>(_mm_cvtepi32_pd(x));
        hi = reinterpret_cast<Vec<double>>(_mm_cvtepi32_pd(upper));
    } else {
        lo = reinterpret_cast<Vec<double>>(_mm_cvtps_pd(reinterpret_cast<__m128>(x)));
        hi = reinterpret_cast<Vec<double>>(_mm_cvtps_pd(reinterpret_cast<__m128>(upper)));
    }
#endif
}

QP_INLINE void WidenToF64(Vec<std::int32_t> v, Vec<double>& lo, Vec<double>& hi) { WidenToF64Impl<true>(v, lo, hi); }
QP_INLINE void WidenToF64(Vec<float> v, Vec<double>& lo, Vec<double>& hi) { WidenToF64Impl<false>(v, lo, hi); }

// Two vectors of doubles to one of floats (rounded by the MXCSR mode) or of int32 (rounded by the
// MXCSR mode, or truncated).
enum class Narrowing { kFloat, kIntNearest, kIntTruncate };

template <Narrowing kTo>
QP_INLINE Vec<std::int32_t> NarrowF64(Vec<double> a, Vec<double> b) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    __m256i r[2];
    const __m512d in[2] = {reinterpret_cast<__m512d>(a), reinterpret_cast<__m512d>(b)};
    for (int i = 0; i < 2; ++i) {
        if constexpr (kTo == Narrowing::kFloat) {
            r[i] = reinterpret_cast<__m256i>(_mm512_maskz_cvtpd_ps(0xFF, in[i]));
        } else if constexpr (kTo == Narrowing::kIntNearest) {
            r[i] = _mm512_maskz_cvtpd_epi32(0xFF, in[i]);
        } else {
            r[i] = _mm512_maskz_cvttpd_epi32(0xFF, in[i]);
        }
    }
    return JoinHalves<Vec<std::int32_t>>(r[0], r[1]);
#elif QP_VEC_BYTES >= 32
    // Each 256-bit input gives one 128-bit part.
    const auto narrow = [](__m256d x) {
        if constexpr (kTo == Narrowing::kFloat) {
            return reinterpret_cast<__m128i>(_mm256_cvtpd_ps(x));
        } else if constexpr (kTo == Narrowing::kIntNearest) {
            return _mm256_cvtpd_epi32(x);
        } else {
            return _mm256_cvttpd_epi32(x);
        }
    };
#if QP_VEC_BYTES == 32
    return JoinHalves<Vec<std::int32_t>>(narrow(reinterpret_cast<__m256d>(a)), narrow(reinterpret_cast<__m256d>(b)));
#else
    __m256d a0, a1, b0, b1;
    SplitHalves(a, a0, a1);
    SplitHalves(b, b0, b1);
    return JoinHalves<Vec<std::int32_t>>(JoinHalves<__m256i>(narrow(a0), narrow(a1)),
                                         JoinHalves<__m256i>(narrow(b0), narrow(b1)));
#endif
#else
    __m128i lo, hi;
    if constexpr (kTo == Narrowing::kFloat) {
        lo = reinterpret_cast<__m128i>(_mm_cvtpd_ps(reinterpret_cast<__m128d>(a)));
        hi = reinterpret_cast<__m128i>(_mm_cvtpd_ps(reinterpret_cast<__m128d>(b)));
    } else if constexpr (kTo == Narrowing::kIntNearest) {
        lo = _mm_cvtpd_epi32(reinterpret_cast<__m128d>(a));
        hi = _mm_cvtpd_epi32(reinterpret_cast<__m128d>(b));
    } else {
        lo = _mm_cvttpd_epi32(reinterpret_cast<__m128d>(a));
        hi = _mm_cvttpd_epi32(reinterpret_cast<__m128d>(b));
    }
    return reinterpret_cast<Vec<std::int32_t>>(_mm_unpacklo_epi64(lo, hi));
#endif
}

// int32 lanes already within the target range, packed into int16 (two vectors) or uint8 (four).
QP_INLINE Vec<short> PackToS16(Vec<std::int32_t> a, Vec<std::int32_t> b) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    return JoinHalves<Vec<short>>(_mm512_maskz_cvtsepi32_epi16(0xFFFF, reinterpret_cast<__m512i>(a)),
                                  _mm512_maskz_cvtsepi32_epi16(0xFFFF, reinterpret_cast<__m512i>(b)));
#elif QP_VEC_BYTES == 32 && defined(__AVX2__)
    // In-lane packs interleave 64-bit blocks of a and b; one permute restores the order.
    return reinterpret_cast<Vec<short>>(_mm256_permute4x64_epi64(
        _mm256_packs_epi32(reinterpret_cast<__m256i>(a), reinterpret_cast<__m256i>(b)), 0xD8));
#elif QP_VEC_BYTES == 64
    __m256i a0, a1, b0, b1;
    SplitHalves(a, a0, a1);
    SplitHalves(b, b0, b1);
    return JoinHalves<Vec<short>>(_mm256_permute4x64_epi64(_mm256_packs_epi32(a0, a1), 0xD8),
                                  _mm256_permute4x64_epi64(_mm256_packs_epi32(b0, b1), 0xD8));
#elif QP_VEC_BYTES == 32
    __m128i a0, a1, b0, b1;
    SplitHalves(a, a0, a1);
    SplitHalves(b, b0, b1);
    return JoinHalves<Vec<short>>(_mm_packs_epi32(a0, a1), _mm_packs_epi32(b0, b1));
#else
    return reinterpret_cast<Vec<short>>(_mm_packs_epi32(reinterpret_cast<__m128i>(a), reinterpret_cast<__m128i>(b)));
#endif
}

QP_INLINE Vec<unsigned char> PackToU8(Vec<std::int32_t> a, Vec<std::int32_t> b, Vec<std::int32_t> c, Vec<std::int32_t> d) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    const __m128i q[4] = {_mm512_maskz_cvtusepi32_epi8(0xFFFF, reinterpret_cast<__m512i>(a)),
                          _mm512_maskz_cvtusepi32_epi8(0xFFFF, reinterpret_cast<__m512i>(b)),
                          _mm512_maskz_cvtusepi32_epi8(0xFFFF, reinterpret_cast<__m512i>(c)),
                          _mm512_maskz_cvtusepi32_epi8(0xFFFF, reinterpret_cast<__m512i>(d))};
    return JoinHalves<Vec<unsigned char>>(JoinHalves<__m256i>(q[0], q[1]), JoinHalves<__m256i>(q[2], q[3]));
#else
    // The 16-bit packs keep the element order: ab holds a then b, cd holds c then d.
    const Vec<short> ab = PackToS16(a, b), cd = PackToS16(c, d);
#if QP_VEC_BYTES == 32 && defined(__AVX2__)
    return reinterpret_cast<Vec<unsigned char>>(_mm256_permute4x64_epi64(
        _mm256_packus_epi16(reinterpret_cast<__m256i>(ab), reinterpret_cast<__m256i>(cd)), 0xD8));
#elif QP_VEC_BYTES == 64
    __m256i x0, x1, y0, y1;
    SplitHalves(ab, x0, x1);
    SplitHalves(cd, y0, y1);
    return JoinHalves<Vec<unsigned char>>(_mm256_permute4x64_epi64(_mm256_packus_epi16(x0, x1), 0xD8),
                                          _mm256_permute4x64_epi64(_mm256_packus_epi16(y0, y1), 0xD8));
#elif QP_VEC_BYTES == 32
    __m128i x0, x1, y0, y1;
    SplitHalves(ab, x0, x1);
    SplitHalves(cd, y0, y1);
    return JoinHalves<Vec<unsigned char>>(_mm_packus_epi16(x0, x1), _mm_packus_epi16(y0, y1));
#else
    return reinterpret_cast<Vec<unsigned char>>(
        _mm_packus_epi16(reinterpret_cast<__m128i>(ab), reinterpret_cast<__m128i>(cd)));
#endif
#endif
}

// Lane-wise max(v, bound) and min(v, bound) for NaN-free v: one instruction each, where a vector ?:
// compiles to a compare and a blend.
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
// The all-lanes masked forms: the same instructions, without the header's undefined pass-through.
#define QP_MINMAX(Name, T, M, op)                                                                \
    QP_INLINE Vec<T> Name(Vec<T> v, T bound) {                                                   \
        return reinterpret_cast<Vec<T>>(                                                         \
            op(kLanes<T> == 16 ? 0xFFFF : 0xFF, reinterpret_cast<M>(v), reinterpret_cast<M>(Broadcast(bound)))); \
    }
QP_MINMAX(MaxF, float, __m512, _mm512_maskz_max_ps)
QP_MINMAX(MinF, float, __m512, _mm512_maskz_min_ps)
QP_MINMAX(MaxD, double, __m512d, _mm512_maskz_max_pd)
QP_MINMAX(MinD, double, __m512d, _mm512_maskz_min_pd)
#elif QP_VEC_BYTES == 64
// Two 256-bit halves.
#define QP_MINMAX(Name, T, M, op)                                                                \
    QP_INLINE Vec<T> Name(Vec<T> v, T bound) {                                                   \
        M x0, x1;                                                                                \
        SplitHalves(v, x0, x1);                                                                  \
        const M b = reinterpret_cast<M>(Narrow<T, 32 / sizeof(T)>{} + bound);                    \
        return JoinHalves<Vec<T>>(op(x0, b), op(x1, b));                                         \
    }
#else
#define QP_MINMAX(Name, T, M, op)                                                                \
    QP_INLINE Vec<T> Name(Vec<T> v, T bound) {                                                   \
        return reinterpret_cast<Vec<T>>(op(reinterpret_cast<M>(v), reinterpret_cast<M>(Broadcast(bound)))); \
    }
#endif
#if QP_VEC_BYTES == 16
QP_MINMAX(MaxF, float, __m128, _mm_max_ps)
QP_MINMAX(MinF, float, __m128, _mm_min_ps)
QP_MINMAX(MaxD, double, __m128d, _mm_max_pd)
QP_MINMAX(MinD, double, __m128d, _mm_min_pd)
#elif QP_VEC_BYTES == 32 || !defined(__AVX512F__)
QP_MINMAX(MaxF, float, __m256, _mm256_max_ps)
QP_MINMAX(MinF, float, __m256, _mm256_min_ps)
QP_MINMAX(MaxD, double, __m256d, _mm256_max_pd)
QP_MINMAX(MinD, double, __m256d, _mm256_min_pd)
#endif
#undef QP_MINMAX

// Saves the caller's MXCSR and, unless it already selects round-to-nearest with the invalid-
// operation exception masked, switches to that for a rounding conversion. The matching leave writes
// the saved word back only when the invalid flag or mask of the current word differs from the
// saved one: when no invalid operation occurred and the exception was already masked, a caller's
// other rounding mode stays switched to nearest. Callers rely on that behaviour; keep it.
constexpr unsigned kMxcsrRounding = 0x6000;
constexpr unsigned kMxcsrInvalidMask = 0x0080;
constexpr unsigned kMxcsrInvalidFlag = 0x0001;

QP_INLINE unsigned EnterNearest() {
    const unsigned saved = _mm_getcsr();
    if ((saved & (kMxcsrRounding | kMxcsrInvalidMask)) != kMxcsrInvalidMask) {
        _mm_setcsr((saved & ~kMxcsrRounding) | kMxcsrInvalidMask);
    }
    // The conversions below must not move across the control-word change.
    __asm__ __volatile__("" ::: "memory");
    return saved;
}

QP_INLINE void LeaveNearest(unsigned saved) {
    __asm__ __volatile__("" ::: "memory");
    if (((_mm_getcsr() ^ saved) & (kMxcsrInvalidFlag | kMxcsrInvalidMask)) != 0) _mm_setcsr(saved);
}

}  // namespace simd
}  // namespace QP_PATH_NS
}  // namespace qp
