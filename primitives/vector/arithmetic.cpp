// Element-wise arithmetic kernels.
//
// Every kernel checks its pointers (qpStsNullPtrErr) and then its length (qpStsSizeErr) before it
// writes anything and accepts a destination that is exactly one of its sources. Single operations
// (+, -, *, /) are correctly rounded on every code path; a product summed with another value may be
// fused by the compiler on the builds that have FMA.
#include <cstdint>
#include <limits>
#include <type_traits>

#include "simd/arithmetic.h"
#include "simd/math.h"
#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {

namespace {

using simd::Vec;
namespace arith = simd::arith;

template <typename... P>
QP_INLINE bool AnyNull(const P*... p) {
    return ((p == nullptr) || ...);
}

// d[i] = op(a[i], b[i]).
template <typename T, typename VOp, typename SOp>
QP_INLINE Status Binary(const T* a, const T* b, T* dst, int len, VOp vop, SOp sop) {
    if (AnyNull(a, b, dst)) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    arith::Map(dst, len, vop, sop, a, b);
    return qpStsNoErr;
}

// d[i] = op(s[i]).
template <typename T, typename VOp, typename SOp>
QP_INLINE Status Unary(const T* src, T* dst, int len, VOp vop, SOp sop) {
    if (AnyNull(src, dst)) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    arith::Map(dst, len, vop, sop, src);
    return qpStsNoErr;
}

// One macro per shape keeps each kernel to its formula: the same expression serves the vector
// body (x, y of type Vec<T>, scalars broadcast by the operators) and the scalar remainder.
#define QP_BINARY(T, expr)                                                                   \
    Binary(a, b, dst, len, [](Vec<T> x, Vec<T> y) -> Vec<T> { return expr; }, \
           [](T x, T y) -> T { return expr; })
#define QP_UNARY_CAPTURE(T, expr)                                                           \
    Unary(src, dst, len, [=](Vec<T> x) -> Vec<T> { return expr; }, [=](T x) -> T { return expr; })

template <typename T>
QP_INLINE Status MulComplex(const T* a, const T* b, T* dst, int len) {
    if (AnyNull(a, b, dst)) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    const Vec<arith::Bits<T>> flip = ~arith::OddSignMask<T>() & arith::kSignBit<T>;
    // (ar br - ai bi, ai br + ar bi): t1 = (ar br, ai br), t2 = (ai bi, ar bi) with the even lane negated.
    auto vop = [flip](Vec<T> x, Vec<T> y) -> Vec<T> {
        const Vec<T> t1 = x * arith::DupEven<T>(y);
        const Vec<T> t2 = arith::SwapPairs<T>(x) * arith::DupOdd<T>(y);
        return t1 + simd::BitCast<T>(simd::BitCast<arith::Bits<T>>(t2) ^ flip);
    };
    // Lengths count complex elements; 2^30 at a time keeps the element count within an int.
    for (std::int64_t done = 0; done < len;) {
        const int chunk = static_cast<int>(len - done < (1 << 30) ? len - done : (1 << 30));
        arith::MapPadded<2>(dst + 2 * done, 2 * chunk, vop, a + 2 * done, b + 2 * done);
        done += chunk;
    }
    return qpStsNoErr;
}

// Exact product, power-of-two scale with round half to even, saturation to 16 bits. Products and
// roundings run on 32-bit lanes: |src * value| <= 2^30 leaves room for the rounding increment.
QP_INLINE Status MulConstScaled(const short* src, short value, int scaleFactor, short* dst, int len) {
    if (AnyNull(src, dst)) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    typedef std::int32_t I;
    typedef short Half __attribute__((vector_size(QP_VEC_BYTES / 2)));
    using VI = Vec<I>;
    using VS = Vec<short>;
    constexpr int kHalf = simd::kLanes<I>;
    const auto split = [](VS x, VI* lo, VI* hi) {
        Half h[2];
        __builtin_memcpy(h, &x, sizeof x);
        *lo = __builtin_convertvector(h[0], VI);
        *hi = __builtin_convertvector(h[1], VI);
    };
    const auto join = [](VI lo, VI hi) {
        lo = lo < -32768 ? -32768 : lo;
        lo = lo > 32767 ? 32767 : lo;
        hi = hi < -32768 ? -32768 : hi;
        hi = hi > 32767 ? 32767 : hi;
        Half h[2] = {__builtin_convertvector(lo, Half), __builtin_convertvector(hi, Half)};
        VS r;
        __builtin_memcpy(&r, h, sizeof r);
        return r;
    };
    const auto saturate = [](I x) { return static_cast<short>(x < -32768 ? -32768 : (x > 32767 ? 32767 : x)); };
    static_assert(2 * kHalf == simd::kLanes<short>, "two halves of 32-bit lanes per vector of shorts");
    const I c = value;
    if (scaleFactor > 0) {
        // Beyond 31 every result is 0 (|product| <= 2^30), as at 31.
        const int s = scaleFactor > 31 ? 31 : scaleFactor;
        const I bias = (I{1} << (s - 1)) - 1;
        // Adding half - 1 plus the lowest kept bit rounds a tie toward the even neighbour.
        const auto round = [s, bias](auto p) { return (p + bias + ((p >> s) & 1)) >> s; };
        arith::Map(
            dst, len,
            [&](VS x) {
                VI lo, hi;
                split(x, &lo, &hi);
                return join(round(lo * c), round(hi * c));
            },
            [&](short x) { return saturate(round(I{x} * c)); }, src);
    } else {
        // A left shift of 15 already saturates every non-zero product, so larger ones are clamped
        // to it; products are limited to +-32768 first, which saturate at any shift of 1 or more.
        const int s = scaleFactor < -15 ? 15 : -scaleFactor;
        const auto shift = [s](auto p) {
            if (s == 0) return p;
            p = p < -32768 ? -32768 : p;
            p = p > 32768 ? 32768 : p;
            // A left shift of a negative scalar is undefined before C++20: shift its bits instead.
            if constexpr (std::is_integral<decltype(p)>::value) {
                return static_cast<decltype(p)>(static_cast<std::uint32_t>(p) << s);
            } else {
                return p << s;
            }
        };
        arith::Map(
            dst, len,
            [&](VS x) {
                VI lo, hi;
                split(x, &lo, &hi);
                return join(shift(lo * c), shift(hi * c));
            },
            [&](short x) { return saturate(shift(I{x} * c)); }, src);
    }
    return qpStsNoErr;
}

// Reverses src into dst; with dst == src, swaps blocks from both ends towards the middle.
template <typename T>
QP_INLINE Status Flip(const T* src, T* dst, int len) {
    if (AnyNull(src, dst)) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    constexpr int L = simd::kLanes<T>;
    if (src == dst) {
        int i = 0, j = len;
        for (; j - i >= 2 * L; i += L, j -= L) {
            const Vec<T> lo = simd::Load(dst + i), hi = simd::Load(dst + j - L);
            simd::Store(dst + i, arith::Reverse<T>(hi));
            simd::Store(dst + j - L, arith::Reverse<T>(lo));
        }
        for (--j; i < j; ++i, --j) {
            const T t = dst[i];
            dst[i] = dst[j];
            dst[j] = t;
        }
        return qpStsNoErr;
    }
    const T* end = src + len;  // dst[i] = end[-1 - i]
    int i = 0;
    if (static_cast<std::int64_t>(len) * static_cast<std::int64_t>(sizeof(T)) >= simd::kStreamBytes) {
        for (; i < len && !simd::IsAligned(dst + i); ++i) dst[i] = end[-1 - i];
        for (; i + 4 * L <= len; i += 4 * L) {
            Vec<T> r[4];
            for (int u = 0; u < 4; ++u) r[u] = arith::Reverse<T>(simd::Load(end - i - (u + 1) * L));
            for (int u = 0; u < 4; ++u) simd::StreamStore(dst + i + u * L, r[u]);
        }
        simd::StreamFence();
    }
    for (; i + 2 * L <= len; i += 2 * L) {
        const Vec<T> r0 = arith::Reverse<T>(simd::Load(end - i - L));
        const Vec<T> r1 = arith::Reverse<T>(simd::Load(end - i - 2 * L));
        simd::Store(dst + i, r0);
        simd::Store(dst + i + L, r1);
    }
    for (; i < len; ++i) dst[i] = end[-1 - i];
    return qpStsNoErr;
}

// Clipping with strict comparisons: a value equal to a level, and NaN, are kept; a value below
// levelLT becomes valueLT even when it is also above levelGT.
//   When each value is its level and levelLT <= levelGT (Trim), the clipping is
// min(levelGT, max(levelLT, x)) with the max and min instructions, which return their second
// operand x for NaN and on equality, as the comparisons keep it.
template <typename T>
QP_INLINE bool SameBits(T a, T b) {
    return __builtin_memcmp(&a, &b, sizeof(T)) == 0;
}

template <typename T>
QP_INLINE Status ThresholdLtGt(const T* src, T levelLT, T valueLT, T levelGT, T valueGT, T* dst, int len) {
    if (AnyNull(src, dst)) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    if (SameBits(levelLT, valueLT) && SameBits(levelGT, valueGT) && levelLT <= levelGT) {
        const Vec<T> lo = simd::Broadcast(levelLT), hi = simd::Broadcast(levelGT);
        arith::Map(
            dst, len, [=](Vec<T> x) { return arith::MinOrSecond(hi, arith::MaxOrSecond(lo, x)); },
            [=](T x) { return arith::MinOrSecond(levelGT, arith::MaxOrSecond(levelLT, x)); }, src);
        return qpStsNoErr;
    }
    arith::Map(
        dst, len,
        [=](Vec<T> x) {
            const Vec<T> high = x > levelGT ? simd::Broadcast(valueGT) : x;
            return x < levelLT ? simd::Broadcast(valueLT) : high;
        },
        [=](T x) { return x < levelLT ? valueLT : (x > levelGT ? valueGT : x); }, src);
    return qpStsNoErr;
}

// x < level ? level : x and x > level ? level : x as one max or min instruction.
template <typename T>
QP_INLINE Status ThresholdLt(const T* src, T level, T* dst, int len) {
    if (AnyNull(src, dst)) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    const Vec<T> lv = simd::Broadcast(level);
    arith::Map(
        dst, len, [lv](Vec<T> x) { return arith::MaxOrSecond(lv, x); },
        [level](T x) { return arith::MaxOrSecond(level, x); }, src);
    return qpStsNoErr;
}

template <typename T>
QP_INLINE Status ThresholdGt(const T* src, T level, T* dst, int len) {
    if (AnyNull(src, dst)) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    const Vec<T> lv = simd::Broadcast(level);
    arith::Map(
        dst, len, [lv](Vec<T> x) { return arith::MinOrSecond(lv, x); },
        [level](T x) { return arith::MinOrSecond(level, x); }, src);
    return qpStsNoErr;
}

// x / value with every quotient correctly rounded, as a true division gives it.
//
// A power of two value whose reciprocal is normal takes x * (1 / value): the same real value as
// x / value, so it rounds to the same result (subnormals, infinities, NaN and signed zeros
// included).
//
// Any other value takes, on the 16- and 32-byte builds with FMA and under round-to-nearest, the
// reciprocal
// r = 1 / value rounded once and one correction step:
//   q = x * r,  e = x - q * value (one fused operation, exact),  result = q + e * r (fused).
// With r the correctly rounded reciprocal and q within one unit in the last place of x / value,
// the residual e is exactly representable and the corrected quotient is the correctly rounded one,
// provided nothing overflows, underflows or becomes subnormal on the way. ReciprocalRange gives
// the magnitudes of x for which that holds; a vector with any lane outside it (zeros, subnormals,
// infinities, NaN, quotients near the ends of the range) is divided instead. The 512-bit builds
// divide: there the divider keeps pace with the three fused operations and the range test (the
// division took 0.94 of the reciprocal's time, against 1.3 times it on the AVX2 build).
template <typename T>
struct ReciprocalRange {
    typedef arith::Bits<T> B;
    bool usable = false;
    T r = 0;
    B lo = 0, hi = 0;  // bit patterns of the smallest and largest usable |x|
};

template <typename T>
QP_INLINE ReciprocalRange<T> MakeReciprocalRange(T value) {
    typedef arith::Bits<T> B;
    constexpr bool kFloat = sizeof(T) == 4;
    constexpr int kMantissaBits = kFloat ? 23 : 52;
    constexpr int kBias = kFloat ? 127 : 1023;
    constexpr int kMinExp = kFloat ? -126 : -1022;  // smallest normal exponent
    constexpr int kMaxExp = kFloat ? 127 : 1023;    // largest finite exponent
    // |x| at least 2^kResidualExp keeps the residual e (about 2^-2p |x|) normal, so it is exact
    // even when the caller flushes subnormal results to zero.
    constexpr int kResidualExp = kFloat ? -76 : -900;
    ReciprocalRange<T> range;
    if ((_mm_getcsr() & 0x6000u) != 0) return range;  // not rounding to nearest
    const T c = __builtin_fabs(value);
    B bits;
    __builtin_memcpy(&bits, &c, sizeof c);
    const int e = static_cast<int>(bits >> kMantissaBits) - kBias;  // 2^e <= |value| < 2^(e+1)
    // |value| in [2^(kMinExp+1), 2^(kMaxExp-1)): r is normal and the reciprocal of a normal value.
    if (e < kMinExp + 1 || e > kMaxExp - 2) return range;
    // |x| >= 2^(e + kMinExp + 3) keeps |x / value| >= 2^(kMinExp + 2), normal with room to spare;
    // |x| < 2^(e + kMaxExp - 1) keeps |x / value| < 2^(kMaxExp - 1), far from overflow; and x finite.
    const int loExp = e + kMinExp + 3 > kResidualExp ? e + kMinExp + 3 : kResidualExp;
    const int hiExp = e + kMaxExp - 1;
    constexpr B kMaxFinite = (static_cast<B>(2 * kBias) << kMantissaBits) | ((B{1} << kMantissaBits) - 1);
    range.lo = static_cast<B>(loExp + kBias) << kMantissaBits;
    range.hi = hiExp > kMaxExp ? kMaxFinite : (static_cast<B>(hiExp + kBias) << kMantissaBits) - 1;
    range.r = 1 / value;
    range.usable = true;
    return range;
}

// Whether a lane of v, read as signed, exceeds limit. On AVX-512 the compare gives a mask
// register, tested in one instruction.
template <typename T>
QP_INLINE bool AnyAbove(Vec<arith::Bits<T>> v, typename std::make_signed<arith::Bits<T>>::type limit) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    if constexpr (sizeof(T) == 4)
        return _mm512_cmpgt_epi32_mask(reinterpret_cast<__m512i>(v), _mm512_set1_epi32(limit)) != 0;
    else
        return _mm512_cmpgt_epi64_mask(reinterpret_cast<__m512i>(v), _mm512_set1_epi64(limit)) != 0;
#else
    typedef typename std::make_signed<arith::Bits<T>>::type I;
    return simd::vmath::Any(simd::BitCast<I>(v) > limit);
#endif
}

template <typename T>
QP_INLINE Status DivConst(const T* src, T value, T* dst, int len) {
    if (AnyNull(src, dst)) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    typedef arith::Bits<T> B;
    const auto sdivide = [value](T x) -> T { return x / value; };
    const T c = __builtin_fabs(value);
    constexpr B kMantissa = sizeof(T) == 4 ? 0x7FFFFFu : 0xFFFFFFFFFFFFFull;
    B cbits;
    __builtin_memcpy(&cbits, &c, sizeof c);
    // The reciprocal must be normal as well: under denormals-are-zero a subnormal one reads as 0.
    if ((cbits & kMantissa) == 0 && c >= std::numeric_limits<T>::min() && c <= std::numeric_limits<T>::max() &&
        1 / c >= std::numeric_limits<T>::min()) {
        const T r = 1 / value;  // exact
        arith::Map(dst, len, [r](Vec<T> x) -> Vec<T> { return x * r; }, [r](T x) -> T { return x * r; }, src);
        return qpStsNoErr;
    }
#if defined(__FMA__)
    // Reading the rounding mode waits for the arithmetic in flight: on the 512-bit builds, whose
    // divider alone is as fast as the correction alone, short runs just divide.
    constexpr int kPairedMin = QP_VEC_BYTES == 64 ? 1024 : 0;
    const ReciprocalRange<T> range = len >= kPairedMin ? MakeReciprocalRange(value) : ReciprocalRange<T>{};
    if (range.usable) {
        typedef typename std::make_signed<B>::type I;
        const T r = range.r, negValue = -value;
        // |x| in [lo, hi] as one signed compare: the offset moves lo to the smallest signed value.
        const B offset = arith::kSignBit<T> - range.lo;
        const I limit = static_cast<I>(arith::kSignBit<T> + (range.hi - range.lo));
        const auto corrected = [=](Vec<T> x) -> Vec<T> {
            const Vec<B> shifted = (simd::BitCast<B>(x) & ~arith::kSignBit<T>) + offset;
            if (__builtin_expect(AnyAbove<T>(shifted, limit), 0)) return x / value;
            const Vec<T> q = x * r;
            const Vec<T> residual = simd::MulAdd(q, simd::Broadcast(negValue), x);
            return simd::MulAdd(residual, simd::Broadcast(r), q);
        };
#if QP_VEC_BYTES == 64
        // The 512-bit builds pair the two ways: every other vector goes through the divider and
        // the next through the reciprocal and its correction on the multiply-add units, which work
        // side by side (two passes over 4096 floats in place: 300 -> 202 ns, where either way alone
        // takes 300). Large out-of-place runs keep the streaming stores of the plain map, being
        // bound by memory.
        constexpr int L = simd::kLanes<T>;
        if (static_cast<std::int64_t>(len) * static_cast<std::int64_t>(sizeof(T)) < simd::kStreamBytes ||
            arith::IsSource(dst, src)) {
            int i = 0;
            for (; i + 2 * L <= len; i += 2 * L) {
                const Vec<T> a = simd::Load(src + i), b = simd::Load(src + i + L);
                const Vec<T> qa = a / value, qb = corrected(b);
                simd::Store(dst + i, qa);
                simd::Store(dst + i + L, qb);
            }
            if (i + L <= len) {
                simd::Store(dst + i, simd::Load(src + i) / value);
                i += L;
            }
            for (; i < len; ++i) dst[i] = sdivide(src[i]);
            return qpStsNoErr;
        }
#else
        arith::Map(dst, len, corrected, sdivide, src);
        return qpStsNoErr;
#endif
    }
#endif
    arith::Map(dst, len, [value](Vec<T> x) -> Vec<T> { return x / value; }, sdivide, src);
    return qpStsNoErr;
}

// 1 / x after |x| is raised to at least level, keeping the sign. NaN stays NaN. A zero met at level
// 0 gives an infinity of its sign and the warning qpStsInvZero, read from the division-by-zero flag;
// above level 0 no divisor can be zero, and the flag is not read (reading it waits for every
// division in flight).
template <typename T>
QP_INLINE Status InvThreshold(const T* src, T level, T* dst, int len) {
    if (AnyNull(src, dst)) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    if (!(level >= 0)) return qpStsThreshNegLevelErr;
    typedef arith::Bits<T> B;
    arith::ExceptionScope scope;
    arith::MapPadded(
        dst, len,
        [level](Vec<T> x) {
            const Vec<B> bits = simd::BitCast<B>(x);
            const Vec<T> mag = simd::BitCast<T>(bits & ~arith::kSignBit<T>);
            const Vec<T> raised = mag < level ? simd::Broadcast(level) : mag;
            return T(1) / simd::BitCast<T>(simd::BitCast<B>(raised) | (bits & arith::kSignBit<T>));
        },
        src);
    return level == 0 && scope.DivideByZero() ? qpStsInvZero : qpStsNoErr;
}

// Complex reciprocal conj(z) / |z|^2 after |z| is raised to at least level, keeping the phase:
// conj(z) / (|z| level) where |z| < level. A zero becomes (1 / level, 0) with the sign of its real
// part, an infinity at level 0.
//   Single precision runs in double lanes, where |z|^2 neither overflows nor underflows; double
// precision lanes whose |z|^2 leaves the safe range are redone in extended precision.
template <typename T, typename C>
QP_INLINE Vec<double> InvThresholdPairs(Vec<double> z, double level, C& extreme) {
    const Vec<double> sq = z * z;
    const Vec<double> r2 = sq + arith::SwapPairs<double>(sq);
    // Zero pairs from the parts themselves: |z|^2 of a tiny double may underflow to 0.
    const Vec<std::int64_t> zeroPart = z == 0.0;
    const Vec<std::int64_t> zero = zeroPart & arith::SwapPairs<std::int64_t>(zeroPart);
    const Vec<std::int64_t> big = r2 >= level * level;
    const Vec<double> den = big ? r2 : arith::Sqrt(r2) * level;
    Vec<std::int64_t> even{};
    for (int i = 0; i < simd::kLanes<double>; i += 2) even[i] = -1;
    const Vec<double> conj =
        simd::BitCast<double>(simd::BitCast<std::uint64_t>(z) ^ arith::OddSignMask<double>());
    const Vec<double> one = simd::BitCast<double>((simd::BitCast<std::uint64_t>(z) & arith::kSignBit<double>) |
                                                  simd::BitCast<std::uint64_t>(simd::Broadcast(1.0)));
    const Vec<double> num = zero ? (even ? one : Vec<double>{}) : conj;
    Vec<double> dd = zero ? (even ? simd::Broadcast(level) : simd::Broadcast(1.0)) : den;
    if constexpr (sizeof(T) == 8) {
        // Redone by the caller; divided by 1 here so that they raise no division-by-zero flag.
        extreme = (r2 > 1e300) | ((r2 < 1e-290) & ~zero);
        dd = extreme ? simd::Broadcast(1.0) : dd;
    }
    return num / dd;
}

QP_INLINE Status InvThresholdC32(const float* src, float level, float* dst, int len) {
    if (AnyNull(src, dst)) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    if (!(level >= 0)) return qpStsThreshNegLevelErr;
    typedef float HalfF __attribute__((vector_size(QP_VEC_BYTES / 2)));
    const double lv = level;
    arith::ExceptionScope scope;
    for (std::int64_t done = 0; done < len;) {
        const int chunk = static_cast<int>(len - done < (1 << 30) ? len - done : (1 << 30));
        arith::MapPadded<2>(
            dst + 2 * done, 2 * chunk,
            [lv](Vec<float> x) {
                HalfF h[2];
                __builtin_memcpy(h, &x, sizeof x);
                int unused = 0;
                for (HalfF& part : h) {
                    const Vec<double> r = InvThresholdPairs<float>(__builtin_convertvector(part, Vec<double>), lv, unused);
                    part = __builtin_convertvector(r, HalfF);
                }
                Vec<float> r;
                __builtin_memcpy(&r, h, sizeof r);
                return r;
            },
            src + 2 * done);
        done += chunk;
    }
    return level == 0 && scope.DivideByZero() ? qpStsInvZero : qpStsNoErr;
}

QP_INLINE Status InvThresholdC64(const double* src, double level, double* dst, int len) {
    if (AnyNull(src, dst)) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    if (!(level >= 0)) return qpStsThreshNegLevelErr;
    arith::ExceptionScope scope;
    for (std::int64_t done = 0; done < len;) {
        const int chunk = static_cast<int>(len - done < (1 << 29) ? len - done : (1 << 29));
        arith::MapPadded<2>(
            dst + 2 * done, 2 * chunk,
            [level](Vec<double> z) {
                Vec<std::int64_t> extreme;
                Vec<double> r = InvThresholdPairs<double>(z, level, extreme);
                if (__builtin_expect(simd::vmath::Any(extreme), 0)) {
                    for (int i = 0; i < simd::kLanes<double>; i += 2) {
                        if (!extreme[i]) continue;
                        const long double re = z[i], im = z[i + 1];
                        const long double r2 = re * re + im * im;
                        const long double m = __builtin_sqrtl(r2);
                        const long double den = m >= level ? r2 : m * level;
                        r[i] = static_cast<double>(re / den);
                        r[i + 1] = static_cast<double>(-im / den);
                    }
                }
                return r;
            },
            src + 2 * done);
        done += chunk;
    }
    return level == 0 && scope.DivideByZero() ? qpStsInvZero : qpStsNoErr;
}

}  // namespace

Status add_f32(const float* a, const float* b, float* dst, int len) { return QP_BINARY(float, x + y); }
Status add_f64(const double* a, const double* b, double* dst, int len) { return QP_BINARY(double, x + y); }
Status sub_f32(const float* a, const float* b, float* dst, int len) { return QP_BINARY(float, y - x); }
Status sub_f64(const double* a, const double* b, double* dst, int len) { return QP_BINARY(double, y - x); }
Status mul_f32(const float* a, const float* b, float* dst, int len) { return QP_BINARY(float, x * y); }
Status mul_f64(const double* a, const double* b, double* dst, int len) { return QP_BINARY(double, x * y); }
Status div_f32(const float* a, const float* b, float* dst, int len) { return QP_BINARY(float, y / x); }
Status div_f64(const double* a, const double* b, double* dst, int len) { return QP_BINARY(double, y / x); }

// srcDst[i] += a[i] * b[i].
Status add_product_f32(const float* a, const float* b, float* srcDst, int len) {
    if (AnyNull(a, b, srcDst)) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    arith::Map(
        srcDst, len, [](Vec<float> x, Vec<float> y, Vec<float> d) { return d + x * y; },
        [](float x, float y, float d) { return d + x * y; }, a, b, static_cast<const float*>(srcDst));
    return qpStsNoErr;
}

Status add_const_f32(const float* src, float value, float* dst, int len) { return QP_UNARY_CAPTURE(float, x + value); }
Status add_const_f64(const double* src, double value, double* dst, int len) {
    return QP_UNARY_CAPTURE(double, x + value);
}
Status sub_const_f32(const float* src, float value, float* dst, int len) { return QP_UNARY_CAPTURE(float, x - value); }
Status sub_const_f64(const double* src, double value, double* dst, int len) {
    return QP_UNARY_CAPTURE(double, x - value);
}
Status sub_const_rev_f32(const float* src, float value, float* dst, int len) {
    return QP_UNARY_CAPTURE(float, value - x);
}
Status sub_const_rev_f64(const double* src, double value, double* dst, int len) {
    return QP_UNARY_CAPTURE(double, value - x);
}
Status mul_const_f32(const float* src, float value, float* dst, int len) { return QP_UNARY_CAPTURE(float, x * value); }
Status mul_const_f64(const double* src, double value, double* dst, int len) {
    return QP_UNARY_CAPTURE(double, x * value);
}
// Every quotient is the correctly rounded one of a true division (see DivConst).
Status div_const_f32(const float* src, float value, float* dst, int len) { return DivConst(src, value, dst, len); }
Status div_const_f64(const double* src, double value, double* dst, int len) {
    return DivConst(src, value, dst, len);
}
Status div_const_rev_f32(const float* src, float value, float* dst, int len) {
    return QP_UNARY_CAPTURE(float, value / x);
}
Status sqr_f32(const float* src, float* dst, int len) { return QP_UNARY_CAPTURE(float, x * x); }
Status normalize_f32(const float* src, float sub, float div, float* dst, int len) {
    return QP_UNARY_CAPTURE(float, (x - sub) / div);
}
Status normalize_f64(const double* src, double sub, double div, double* dst, int len) {
    return QP_UNARY_CAPTURE(double, (x - sub) / div);
}

// |x| clears the sign bit, so -0 and NaN payloads behave like fabs.
Status abs_f32(const float* src, float* dst, int len) {
    return Unary(
        src, dst, len, [](Vec<float> x) { return simd::BitCast<float>(simd::BitCast<std::uint32_t>(x) & 0x7fffffffu); },
        [](float x) { return __builtin_fabsf(x); });
}
Status abs_f64(const double* src, double* dst, int len) {
    return Unary(
        src, dst, len,
        [](Vec<double> x) { return simd::BitCast<double>(simd::BitCast<std::uint64_t>(x) & 0x7fffffffffffffffull); },
        [](double x) { return __builtin_fabs(x); });
}

Status mul_c32(const float* a, const float* b, float* dst, int len) { return MulComplex(a, b, dst, len); }
Status mul_c64(const double* a, const double* b, double* dst, int len) { return MulComplex(a, b, dst, len); }
Status mul_const_s16_sfs(const short* src, short value, int scaleFactor, short* dst, int len) {
    return MulConstScaled(src, value, scaleFactor, dst, len);
}

Status flip_f32(const float* src, float* dst, int len) { return Flip(src, dst, len); }
Status flip_f64(const double* src, double* dst, int len) { return Flip(src, dst, len); }

Status threshold_lt_f32(const float* src, float level, float* dst, int len) {
    return ThresholdLt(src, level, dst, len);
}
Status threshold_lt_f64(const double* src, double level, double* dst, int len) {
    return ThresholdLt(src, level, dst, len);
}
Status threshold_gt_f32(const float* src, float level, float* dst, int len) {
    return ThresholdGt(src, level, dst, len);
}
Status threshold_gt_f64(const double* src, double level, double* dst, int len) {
    return ThresholdGt(src, level, dst, len);
}
Status threshold_ltval_gtval_f32(const float* src, float levelLT, float valueLT, float levelGT, float valueGT,
                                 float* dst, int len) {
    return ThresholdLtGt(src, levelLT, valueLT, levelGT, valueGT, dst, len);
}

Status inv_threshold_f32(const float* src, float level, float* dst, int len) {
    return InvThreshold(src, level, dst, len);
}
Status inv_threshold_f64(const double* src, double level, double* dst, int len) {
    return InvThreshold(src, level, dst, len);
}
Status inv_threshold_c32(const float* src, float level, float* dst, int len) {
    return InvThresholdC32(src, level, dst, len);
}
Status inv_threshold_c64(const double* src, double level, double* dst, int len) {
    return InvThresholdC64(src, level, dst, len);
}

#undef QP_BINARY
#undef QP_UNARY_CAPTURE

}  // namespace QP_PATH_NS
}  // namespace qp
