// Vector elementary functions for the kernels, on simd::Vec<float> and simd::Vec<double>.
//
// Every function takes and returns whole vectors and is branch-free on the common path; rare lanes
// (zero, negative, subnormal, infinite, NaN) are fixed up only when a vector holds one. Builds with
// FMA may fuse multiply-adds, which the stated error bounds allow for. The float logarithms use a
// table-driven reduction on 16-lane builds (where a 16-entry lookup is one permute) and a
// table-free one on narrower builds: results may differ in the last bit between the two, both
// within the stated bounds; within one build a lane's result does not depend on its position.
#pragma once

#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {
namespace simd {
namespace vmath {

using VF = Vec<float>;
using VD = Vec<double>;
using VI = Vec<std::int32_t>;
using VL = Vec<std::int64_t>;

// True when any lane of a comparison mask (all-ones or all-zeros lanes) is set.
template <typename M>
QP_INLINE bool Any(M m) {
#if QP_VEC_BYTES == 16
    return _mm_movemask_epi8(reinterpret_cast<__m128i>(m)) != 0;
#elif QP_VEC_BYTES == 32
    const __m256i v = reinterpret_cast<__m256i>(m);
    return !_mm256_testz_si256(v, v);
#elif defined(__AVX512F__)
    const __m512i v = reinterpret_cast<__m512i>(m);
    return _mm512_test_epi32_mask(v, v) != 0;
#else
    typedef long long Half __attribute__((vector_size(32)));
    Half h[2];
    __builtin_memcpy(h, &m, sizeof m);
    const __m256i v = reinterpret_cast<__m256i>(h[0] | h[1]);
    return !_mm256_testz_si256(v, v);
#endif
}

// True when every lane is a positive normal finite float: the logarithms' common case. On AVX-512
// the two comparisons go to mask registers and are tested there (no mask vector is built).
QP_INLINE bool AllPositiveNormal(VF x) {
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    const __m512 v = reinterpret_cast<__m512>(x);
    const __mmask16 normal = _mm512_mask_cmp_ps_mask(_mm512_cmp_ps_mask(v, _mm512_set1_ps(1.17549435e-38f), _CMP_GE_OQ),
                                                     v, _mm512_set1_ps(__builtin_huge_valf()), _CMP_LT_OQ);
    return _kortestc_mask16_u8(normal, normal) != 0;  // carry flag: all 16 bits set
#else
    return !Any(~((x >= 1.17549435e-38f) & (x < __builtin_huge_valf())));
#endif
}

// a * b + c, with a single rounding where the build has FMA and two roundings elsewhere. For
// approximations whose error budget allows either; exact-rounding code writes a * b + c itself.
QP_INLINE VF MulAddAny(VF a, VF b, VF c) { return simd::MulAdd<float>(a, b, c); }

namespace detail {

// x = 2^k * m with m in [sqrt(1/2), sqrt(2)) for positive normal x: returns f = m - 1 (exact) and
// the exponent k + kAdjust as a float.
QP_INLINE VF ReduceLogF(VF x, VI kAdjust, VF* k) {
    VI ix = BitCast<std::int32_t>(x) + (0x3f800000 - 0x3f3504f3);
    *k = __builtin_convertvector((ix >> 23) - 0x7f + kAdjust, VF);
    ix = (ix & 0x007fffff) + 0x3f3504f3;
    return BitCast<float>(ix) - 1.0f;
}

// --- Table-driven reduction (16-lane builds) -----------------------------------------------------
//
// x = 2^k z with z in [0.69921875, 1.3984375): k and z come from the bits of x minus those of
// 0.69921875, and the next 4 bits of that difference pick one of 16 intervals of z. Each interval
// has a c_i close to 1 / z, a multiple of 1/64 picked (by trying every candidate against every z
// of the interval) so that r = z c_i - 1, one fused multiply-add, is exact: the product has few
// enough bits once the leading ones cancel against 1. |r| <= 0.041. Then
//   ln x = k ln 2 - ln c_i + ln(1 + r),   ln(1 + r) = r + r^2 Q(r).
// The interval around 1, [0.98047, 1.02344), has c_i = 1: 1.0 sits five eighths of its patterns
// in, and as the spacing of floats doubles at 1, r reaches about as far either side. With k = 0
// there, r = x - 1 and the result is r + r^2 Q(r) alone.
// The lookup is one permute on AVX-512; 16-lane builds all fuse multiply-adds, which r needs.
constexpr std::int32_t kLogTableOffset = 0x3f330000;  // bits of 0.69921875
constexpr bool kLogTable = kLanes<float> == 16;
static_assert(!kLogTable || kFusedMulAdd, "the table reduction needs a fused multiply-add");
// The tables are constants of internal linkage: each object keeps its own copy, no symbol is shared.
// c_i.
constexpr float kLogTableC[16] = {1.40625f, 1.34375f, 1.28125f, 1.25f,    1.1875f,  1.15625f, 1.09375f,  1.0625f,
                                  1.03125f, 1.0f,     0.9375f,  0.90625f, 0.84375f, 0.8125f,  0.765625f, 0.734375f};
// -ln c_i as hi + lo: hi a multiple of 2^-17 like ln2_hi, so that k ln2_hi + hi is exact for every
// exponent k of a float (|k| <= 151, the subnormals' adjustment included).
constexpr float kLogTableHi[16] = {
    -44686 / 131072.0f, -38727 / 131072.0f, -32484 / 131072.0f, -29248 / 131072.0f, -22525 / 131072.0f,
    -19029 / 131072.0f, -11746 / 131072.0f, -7946 / 131072.0f,  -4033 / 131072.0f,  0.0f,
    8459 / 131072.0f,   12903 / 131072.0f,  22269 / 131072.0f,  27216 / 131072.0f,  35004 / 131072.0f,
    40467 / 131072.0f};
constexpr float kLogTableLo[16] = {
    5.370528697e-07f,  -6.508821002e-07f, -2.911951469e-06f, 9.799357485e-07f,  1.854889774e-06f,
    -2.261309419e-06f, 2.709474302e-06f,  -1.452871174e-06f, -2.310522177e-06f, 0.0f,
    1.472797749e-06f,  -2.004823500e-06f, 4.997898984e-08f,  -2.236784212e-06f, 3.459077107e-06f,
    -3.226846502e-06f};
// -ln c_i rounded to float, for the lower grade.
constexpr float kLogTableF[16] = {
    -3.409265876e-01f, -2.954642177e-01f, -2.478361577e-01f, -2.231435478e-01f, -1.718502641e-01f,
    -1.451820135e-01f, -8.961215615e-02f, -6.062462181e-02f, -3.077165782e-02f, 0.0f,
    6.453852355e-02f,  9.844007343e-02f,  1.698990315e-01f,  2.076393664e-01f,  2.670627832e-01f,
    3.087354898e-01f};

// table[idx & 15] in every lane; only called on 16-lane builds. AVX-512 has the one-instruction
// permute; the 512-bit source lowered to AVX2 for the tests takes the generic shuffle, so the same
// indices and tables are exercised there.
QP_INLINE VF Lookup16(const float* table, VI idx) {
    const VF t = Load(table);
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
    const __m512 v = reinterpret_cast<__m512>(t);
    return reinterpret_cast<VF>(_mm512_mask_permutexvar_ps(v, 0xffff, reinterpret_cast<__m512i>(idx), v));
#else
    return __builtin_shuffle(t, idx & 15);
#endif
}

// x = 2^k z with z from the bits of x minus those of `offset` (the start of the intervals): the
// exponent field of the difference gives k (*k receives k + kAdjust as a float), its bits from
// `shift` up to the exponent the interval index; returns z.
QP_INLINE VF SplitLogBits(VF x, VI kAdjust, std::int32_t offset, int shift, VI* idx, VF* k) {
    const VI ix = BitCast<std::int32_t>(x);
    const VI t = ix - offset;
    *idx = t >> shift;
    *k = __builtin_convertvector((t >> 23) + kAdjust, VF);
    return BitCast<float>(ix - (t & static_cast<std::int32_t>(0xff800000u)));
}

// The reduction above: returns r (exact) and the interval index; *k receives k + kAdjust as a float.
QP_INLINE VF ReduceLogTable(VF x, VI kAdjust, VI* idx, VF* k) {
    const VF z = SplitLogBits(x, kAdjust, kLogTableOffset, 19, idx, k);
    return MulAdd<float>(z, Lookup16(kLogTableC, *idx), Broadcast(-1.0f));
}

// k ln 2 - ln c_i + r + r^2 Q(r) from hi + lo = -ln c_i and q = Q(r): T = k ln2 - ln c_i as
// T_hi + T_lo with T_hi exact; T_hi + r is summed with its rounding error recovered (exact because
// |T_hi| >= |r| unless T_hi = 0), and the small parts T_lo, that error and r^2 Q(r) are added last,
// so that the sum is rounded essentially once.
QP_INLINE VF LogTableSum(VF r, VF k, VF hi, VF lo, VF q) {
    constexpr float kLn2Hi = 6.9313812256e-01f, kLn2Lo = 9.058001524e-06f;  // lo: ln 2 - hi, rounded
    const VF tHi = MulAdd<float>(k, Broadcast(kLn2Hi), hi);
    const VF tLo = MulAdd<float>(k, Broadcast(kLn2Lo), lo);
    const VF s = tHi + r;
    const VF sErr = (tHi - s) + r;
    return s + MulAdd<float>(q, r * r, tLo + sErr);
}

// Q(r) = (ln(1 + r) - r) / r^2 on |r| <= 0.041, cubic, -1/2 kept exact; |r^2 (Q - Q(r))| <= 2^-28.5 |r|.
QP_INLINE VF LogTableQ(VF r) {
    VF q = MulAdd<float>(r, Broadcast(2.0033551753e-01f), Broadcast(-2.5024515390e-01f));
    q = MulAdd<float>(q, r, Broadcast(3.3333316445e-01f));
    return MulAdd<float>(q, r, Broadcast(-0.5f));
}

// ln(2^kAdjust x) for positive normal x, 16-lane builds, without a division. Near 1 (k = 0,
// c_i = 1) T_hi = T_lo = 0 and the result is r + r^2 Q(r); ln 1 = +0. Worst error over all floats
// 0.584 ulp (at 1.02365005, next to the interval around 1, where |r| is largest against the result).
QP_INLINE VF LogF24Table(VF x, VI kAdjust) {
    VI idx;
    VF k;
    const VF r = ReduceLogTable(x, kAdjust, &idx, &k);
    return LogTableSum(r, k, Lookup16(kLogTableHi, idx), Lookup16(kLogTableLo, idx), LogTableQ(r));
}

// The same reduction with T = k ln 2 - ln c_i rounded once: relative error 2^-22.3 or better over
// all floats (at 1.02346373).
QP_INLINE VF LogF21Table(VF x, VI kAdjust) {
    VI idx;
    VF k;
    const VF r = ReduceLogTable(x, kAdjust, &idx, &k);
    const VF t = MulAdd<float>(k, Broadcast(6.9314718056e-01f), Lookup16(kLogTableF, idx));
    return t + MulAdd<float>(LogTableQ(r), r * r, r);
}

// --- Table-driven reduction with 8 intervals (8-lane builds with FMA) ----------------------------
//
// The same scheme with one 8-entry permute: x = 2^k z with z in [0.7109375, 1.421875), the next 3
// bits of the difference from 0.7109375 pick the interval, c_i (multiples of 1/32) keep r = z c_i - 1
// exact in one fused multiply-add, |r| <= 0.0625, and ln(1 + r) = r + r^2 Q(r) with Q of degree 4.
// -ln c_i is split as hi + lo with hi on the 2^-17 grid, as above. Worst error over all floats
// 0.548 ulp (at 1.05206048); without a division it takes about 0.84 times the time of the
// table-free form on AVX2.
constexpr bool kLogTable8 = kLanes<float> == 8 && kFusedMulAdd;
constexpr std::int32_t kLogTable8Offset = 0x3f360000;  // bits of 0.7109375
constexpr float kLogTable8C[8] = {1.375f, 1.25f, 1.125f, 1.0625f, 1.0f, 0.90625f, 0.8125f, 0.75f};
constexpr float kLogTable8Hi[8] = {-41740 / 131072.0f, -29248 / 131072.0f, -15438 / 131072.0f, -7946 / 131072.0f,
                                   0.0f,               12903 / 131072.0f,  27216 / 131072.0f,  37707 / 131072.0f};
constexpr float kLogTable8Lo[8] = {-2.803384177e-06f, 9.799357485e-07f,  -4.428829357e-07f, -1.452871174e-06f,
                                   0.0f,              -2.004823500e-06f, -2.236784212e-06f, 4.928619433e-07f};

// table[idx & 7] in every lane; only called on 8-lane builds.
QP_INLINE VF Lookup8(const float* table, VI idx) {
    const VF t = Load(table);
#if QP_VEC_BYTES == 32 && defined(__AVX2__)
    return reinterpret_cast<VF>(_mm256_permutevar8x32_ps(reinterpret_cast<__m256>(t), reinterpret_cast<__m256i>(idx)));
#else
    return __builtin_shuffle(t, idx & 7);
#endif
}

QP_INLINE VF LogF24Table8(VF x, VI kAdjust) {
    VI idx;
    VF k;
    const VF z = SplitLogBits(x, kAdjust, kLogTable8Offset, 20, &idx, &k);
    const VF r = MulAdd<float>(z, Lookup8(kLogTable8C, idx), Broadcast(-1.0f));
    VF q = MulAdd<float>(r, Broadcast(-1.6749827564e-01f), Broadcast(2.0088595152e-01f));
    q = MulAdd<float>(q, r, Broadcast(-2.4999871850e-01f));
    q = MulAdd<float>(q, r, Broadcast(3.3333212137e-01f));
    q = MulAdd<float>(q, r, Broadcast(-0.5f));
    return LogTableSum(r, k, Lookup8(kLogTable8Hi, idx), Lookup8(kLogTable8Lo, idx), q);
}

// --- Table-free reduction (narrower builds) ------------------------------------------------------

// ln(2^kAdjust x) for positive normal x, to within one unit in the last place (0.5 ulp plus the error of an
// atanh series in s = f / (2 + f) whose terms are summed small to large; the exponent enters with
// ln 2 split in two so that k * ln2_hi is exact). The table builds (16 lanes; 8 lanes with FMA) use
// their tables instead.
QP_INLINE VF LogF24Normal(VF x, VI kAdjust) {
    if constexpr (kLogTable) return LogF24Table(x, kAdjust);
    if constexpr (kLogTable8) return LogF24Table8(x, kAdjust);
    constexpr float kLn2Hi = 6.9313812256e-01f, kLn2Lo = 9.0580006145e-06f;
    constexpr float kLg1 = 0.66666662693f, kLg2 = 0.40000972152f, kLg3 = 0.28498786688f, kLg4 = 0.24279078841f;
    VF k;
    const VF f = ReduceLogF(x, kAdjust, &k);
    const VF s = f / (2.0f + f);
    const VF z = s * s;
    const VF w = z * z;
    const VF t1 = w * (kLg2 + w * kLg4);
    const VF t2 = z * (kLg1 + w * kLg3);
    const VF r = t2 + t1;
    const VF hfsq = 0.5f * f * f;
    return s * (hfsq + r) + k * kLn2Lo - hfsq + f + k * kLn2Hi;
}

// ln(1 + f) = f * P(f) on [sqrt(1/2) - 1, sqrt(2) - 1], relative error 2^-22.1 (degree 7).
// 16-lane builds use the table instead.
QP_INLINE VF LogF21Normal(VF x, VI kAdjust) {
    if constexpr (kLogTable) return LogF21Table(x, kAdjust);
    VF k;
    const VF f = ReduceLogF(x, kAdjust, &k);
    VF p = Broadcast(-9.895350784e-02f);
    p = MulAddAny(p, f, Broadcast(1.612624824e-01f));
    p = MulAddAny(p, f, Broadcast(-1.727820635e-01f));
    p = MulAddAny(p, f, Broadcast(1.991334856e-01f));
    p = MulAddAny(p, f, Broadcast(-2.496890724e-01f));
    p = MulAddAny(p, f, Broadcast(3.333460689e-01f));
    p = MulAddAny(p, f, Broadcast(-5.000037551e-01f));
    p = MulAddAny(p, f, Broadcast(9.999999404e-01f));
    return MulAddAny(k, Broadcast(6.9314718056e-01f), f * p);
}

// ln(1 + f) = f * P(f), relative error 2^-14.1 (degree 4). On every build: the table reduction
// measured no faster for this grade.
QP_INLINE VF LogF11Normal(VF x, VI kAdjust) {
    VF k;
    const VF f = ReduceLogF(x, kAdjust, &k);
    VF p = Broadcast(1.734863222e-01f);
    p = MulAddAny(p, f, Broadcast(-2.701022923e-01f));
    p = MulAddAny(p, f, Broadcast(3.366878033e-01f));
    p = MulAddAny(p, f, Broadcast(-4.995021224e-01f));
    p = MulAddAny(p, f, Broadcast(9.999621511e-01f));
    return MulAddAny(k, Broadcast(6.9314718056e-01f), f * p);
}

// Applies a core valid for positive normal numbers to any input: subnormals are scaled by 2^25
// first (the core takes 25 off the exponent), 0 gives -inf, negatives and NaN give NaN, +inf stays +inf.
template <typename Core>
QP_INLINE VF LogFAny(VF x, Core core) {
    if (AllPositiveNormal(x)) return core(x, VI{});
    const VI normal = (x >= 1.17549435e-38f) & (x < __builtin_huge_valf());
    const VI tiny = (x > 0.0f) & (x < 1.17549435e-38f);
    const VF scaled = tiny ? x * 33554432.0f : (normal ? x : Broadcast(1.0f));
    VF r = core(scaled, tiny & -25);
    r = (x == 0.0f) ? Broadcast(-__builtin_huge_valf()) : r;
    r = (x == __builtin_huge_valf()) ? x : r;
    r = (x < 0.0f) | (x != x) ? Broadcast(__builtin_nanf("")) : r;
    return r;
}

}  // namespace detail

// Natural logarithm of every lane. Special values: ln(+-0) = -inf, ln(x < 0) = NaN, ln(NaN) = NaN,
// ln(+inf) = +inf, ln(1) = +0; subnormal inputs are handled. Errors over all floats:
//   LogF24  within 1 ulp (16-lane builds: 0.584 ulp; 8-lane builds with FMA: 0.548 ulp);
//   LogF21  21 correct bits or better (16-lane builds: relative 2^-22.3);
//   LogF11  11 correct bits or better (both fuse multiply-adds where the build has FMA).
QP_INLINE VF LogF24(VF x) { return detail::LogFAny(x, [](VF v, VI k) { return detail::LogF24Normal(v, k); }); }
QP_INLINE VF LogF21(VF x) { return detail::LogFAny(x, [](VF v, VI k) { return detail::LogF21Normal(v, k); }); }
QP_INLINE VF LogF11(VF x) { return detail::LogFAny(x, [](VF v, VI k) { return detail::LogF11Normal(v, k); }); }

namespace detail {

// ln(2^kAdjust x) for positive normal doubles: x = 2^k (1 + f) with 1 + f in [sqrt(1/2), sqrt(2)), s = f / (2 + f),
// ln(1 + f) = 2 atanh(s) as f - hfsq + s (hfsq + R(s^2)) with hfsq = f^2 / 2, or f - s (f - R) where
// f is close to 0; k ln 2 is added in two parts. Error below one ulp.
QP_INLINE VD LogD53Normal(VD x, VD kAdjust) {
    constexpr double kLn2Hi = 6.93147180369123816490e-01, kLn2Lo = 1.90821492927058770002e-10;
    constexpr double kLg1 = 6.666666666666735130e-01, kLg2 = 3.999999999940941908e-01,
                     kLg3 = 2.857142874366239149e-01, kLg4 = 2.222219843214978396e-01,
                     kLg5 = 1.818357216161805012e-01, kLg6 = 1.531383769920937332e-01,
                     kLg7 = 1.479819860511658591e-01;
    typedef std::uint64_t U;
    const Vec<U> bits = BitCast<U>(x);
    Vec<U> hx = bits >> 32;
    Vec<U> k = (hx >> 20) - 1023;
    hx &= 0xfffff;
    const Vec<U> i = (hx + 0x95f64) & 0x100000;
    const Vec<U> normalised = ((hx | (i ^ 0x3ff00000)) << 32) | (bits & 0xffffffffu);
    k += i >> 20;
    // k is small: adding it to the bits of 1.5 * 2^52 gives 1.5 * 2^52 + k exactly.
    const VD dk = (BitCast<double>(k + 0x4338000000000000ull) - 6755399441055744.0) + kAdjust;
    const VD f = BitCast<double>(normalised) - 1.0;
    const VD s = f / (2.0 + f);
    const VD z = s * s;
    const VD w = z * z;
    const VD t1 = w * (kLg2 + w * (kLg4 + w * kLg6));
    const VD t2 = z * (kLg1 + w * (kLg3 + w * (kLg5 + w * kLg7)));
    const VD r = t2 + t1;
    const VD hfsq = 0.5 * f * f;
    const VD far = dk * kLn2Hi - ((hfsq - (s * (hfsq + r) + dk * kLn2Lo)) - f);
    const VD near = dk * kLn2Hi - ((s * (f - r) - dk * kLn2Lo) - f);
    // The hfsq form where the mantissa's leading 20 bits lie in [0x6147a, 0x6b851]: 1 + f near
    // sqrt(1/2) or sqrt(2).
    const Vec<std::int64_t> useFar = (f >= 0x6147a / 1048576.0) | (f < (1.0 + 0x6b852 / 1048576.0) * 0.5 - 1.0);
    return useFar ? far : near;
}

}  // namespace detail

// Natural logarithm of every double lane, within one ulp; special values as for LogF24
// (subnormals are scaled by 2^54 first).
QP_INLINE VD LogD(VD x) {
    const VL normal = (x >= 2.2250738585072014e-308) & (x < __builtin_huge_val());
    if (!Any(~normal)) return detail::LogD53Normal(x, VD{});
    const VL tiny = (x > 0.0) & (x < 2.2250738585072014e-308);
    const VD scaled = tiny ? x * 18014398509481984.0 : (normal ? x : Broadcast(1.0));
    VD r = detail::LogD53Normal(scaled, tiny ? Broadcast(-54.0) : VD{});
    r = (x == 0.0) ? Broadcast(-__builtin_huge_val()) : r;
    r = (x == __builtin_huge_val()) ? x : r;
    r = (x < 0.0) | (x != x) ? Broadcast(__builtin_nan("")) : r;
    return r;
}

}  // namespace vmath
}  // namespace simd
}  // namespace QP_PATH_NS
}  // namespace qp
