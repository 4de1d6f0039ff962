// Side-by-side comparison of three ways to write the library's kernels: compiler vector extensions
// (the style of primitives/simd/simd.h), xsimd 8 (xsimd::batch, architecture fixed at compile time)
// and Highway 1.0 with static dispatch (hn::ScalableTag at HWY_STATIC_TARGET). The same four kernels
// are written three ways with the same loop structure, checked against plain scalar loops at
// startup (the program aborts on any disagreement) and then benchmarked at 4096 elements.
//
//   a. add      d = a + b                                  (float)
//   b. poly     degree-7 Horner, FMA where the target has it (stand-in for transcendental kernels)
//   c. cmul     d[i] = a[i] * b[i] on interleaved complex float (needs re/im lane swaps)
//   d. sum      float reduction with four independent accumulators
//
// Built by CMake as qp_bench_simd_choice (AVX2 path flags) when xsimd and Highway are installed; or
// by hand from the repository root (each command on one line).
// AVX2, with the project's AVX2 path flags (-mbmi2 matters: Highway only selects its AVX2 target
// when BMI2 is enabled as well):
//
//   g++ -std=c++17 -O3 -march=x86-64 -mtune=generic -mavx2 -mfma -mbmi -mbmi2 -Wall -Wextra
//       -Wno-psabi bench/simd_choice_bench.cpp -o /tmp/scb_avx2 -lbenchmark -lpthread
//
// SSE2 (x86-64 baseline): the same line with only -march=x86-64 -mtune=generic. Run either with
//
//   /tmp/scb_avx2 --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
//       --benchmark_min_time=0.2
//
// Knobs (all -D on the command line):
//   SCB_VEC_BYTES=16|32|64   width of the vector-extension variant (default: widest the flags allow).
//                            64 under AVX2 flags runs 16-lane code on AVX2 hardware: correct, but
//                            GCC 12 lowers the lane shuffles and half splits through scalar moves.
//   SCB_WITH_VEXT / SCB_WITH_XSIMD / SCB_WITH_HWY = 0   leave a variant out
//   SCB_KERNELS_ONLY         compile the kernels only (no benchmark, no main), for timing the
//                            compile cost of one variant: g++ ... -c -DSCB_KERNELS_ONLY -DSCB_WITH_...
//   SCB_HWY_AS_IS            do not relax Highway's target detection (see below)
//
// Static dispatch needs nothing from libhwy.so: no -lhwy. xsimd is header-only.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <utility>

#ifndef SCB_WITH_VEXT
#define SCB_WITH_VEXT 1
#endif
#ifndef SCB_WITH_XSIMD
#define SCB_WITH_XSIMD 1
#endif
#ifndef SCB_WITH_HWY
#define SCB_WITH_HWY 1
#endif

#define SCB_INLINE inline __attribute__((always_inline))

// Degree-7 polynomial, kPoly[k] multiplies x^k (Taylor coefficients of exp).
constexpr float kPoly[8] = {1.0f,          1.0f,           0.5f,           1.0f / 6.0f,
                            1.0f / 24.0f,  1.0f / 120.0f,  1.0f / 720.0f,  1.0f / 5040.0f};

// ------------------------------------------------------------------------------------------------
// Plain scalar loops: the oracle for the startup check and the "plain" benchmark rows.
// ------------------------------------------------------------------------------------------------
namespace plain {

void add(const float* a, const float* b, float* d, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) d[i] = a[i] + b[i];
}

SCB_INLINE float PolyScalar(float x) {
    float p = kPoly[7];
#ifdef __FMA__
    for (int k = 6; k >= 0; --k) p = __builtin_fmaf(p, x, kPoly[k]);
#else
    for (int k = 6; k >= 0; --k) p = p * x + kPoly[k];
#endif
    return p;
}

void poly(const float* x, float* d, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) d[i] = PolyScalar(x[i]);
}

// n complex elements, 2n floats, (re, im) pairs. Operands are read before the store so d may be a.
SCB_INLINE void CmulOne(const float* a, const float* b, float* d) {
    const float ar = a[0], ai = a[1], br = b[0], bi = b[1];
    d[0] = ar * br - ai * bi;
    d[1] = ar * bi + ai * br;
}

void cmul(const float* a, const float* b, float* d, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) CmulOne(a + 2 * i, b + 2 * i, d + 2 * i);
}

float sum(const float* a, std::size_t n) {
    float s = 0.0f;
    for (std::size_t i = 0; i < n; ++i) s += a[i];
    return s;
}

}  // namespace plain

// ------------------------------------------------------------------------------------------------
// (1) Compiler vector extensions.
// ------------------------------------------------------------------------------------------------
#if SCB_WITH_VEXT
#include <immintrin.h>

#ifndef SCB_VEC_BYTES
#if defined(__AVX512F__)
#define SCB_VEC_BYTES 64
#elif defined(__AVX__)
#define SCB_VEC_BYTES 32
#else
#define SCB_VEC_BYTES 16
#endif
#endif

namespace vext {

constexpr int kLanes = SCB_VEC_BYTES / 4;
typedef float VF __attribute__((vector_size(SCB_VEC_BYTES)));
typedef std::uint32_t VU __attribute__((vector_size(SCB_VEC_BYTES)));
typedef float Half __attribute__((vector_size(SCB_VEC_BYTES / 2)));
using LaneSeq = std::make_index_sequence<kLanes>;

SCB_INLINE VF Load(const float* p) {
    VF v;
    __builtin_memcpy(&v, p, sizeof v);
    return v;
}
SCB_INLINE void Store(float* p, VF v) { __builtin_memcpy(p, &v, sizeof v); }
SCB_INLINE VF Broadcast(float x) { return VF{} + x; }

template <std::size_t... I>
SCB_INLINE Half LowerHalf(VF v, std::index_sequence<I...>) { return __builtin_shufflevector(v, v, I...); }
template <std::size_t... I>
SCB_INLINE Half UpperHalf(VF v, std::index_sequence<I...>) {
    return __builtin_shufflevector(v, v, (I + kLanes / 2)...);
}
template <std::size_t... I>
SCB_INLINE VF Concat(Half lo, Half hi, std::index_sequence<I...>) { return __builtin_shufflevector(lo, hi, I...); }

// a * b + c with one rounding when the target has FMA. ISO mode (-std=c++17) turns off floating-point
// contraction, so the fused form has to be asked for; a 64-byte vector without AVX-512 runs as two
// 256-bit halves.
SCB_INLINE VF MulAdd(VF a, VF b, VF c) {
#if defined(__FMA__) && SCB_VEC_BYTES == 16
    return reinterpret_cast<VF>(_mm_fmadd_ps(reinterpret_cast<__m128>(a), reinterpret_cast<__m128>(b),
                                             reinterpret_cast<__m128>(c)));
#elif defined(__FMA__) && SCB_VEC_BYTES == 32
    return reinterpret_cast<VF>(_mm256_fmadd_ps(reinterpret_cast<__m256>(a), reinterpret_cast<__m256>(b),
                                                reinterpret_cast<__m256>(c)));
#elif defined(__AVX512F__) && SCB_VEC_BYTES == 64
    return reinterpret_cast<VF>(_mm512_fmadd_ps(reinterpret_cast<__m512>(a), reinterpret_cast<__m512>(b),
                                                reinterpret_cast<__m512>(c)));
#elif defined(__FMA__) && SCB_VEC_BYTES == 64
    using HalfSeq = std::make_index_sequence<kLanes / 2>;
    const auto fma = [](Half x, Half y, Half z) {
        return reinterpret_cast<Half>(_mm256_fmadd_ps(reinterpret_cast<__m256>(x), reinterpret_cast<__m256>(y),
                                                      reinterpret_cast<__m256>(z)));
    };
    return Concat(fma(LowerHalf(a, HalfSeq{}), LowerHalf(b, HalfSeq{}), LowerHalf(c, HalfSeq{})),
                  fma(UpperHalf(a, HalfSeq{}), UpperHalf(b, HalfSeq{}), UpperHalf(c, HalfSeq{})),
                  LaneSeq{});
#else
    return a * b + c;
#endif
}

template <std::size_t... I>
SCB_INLINE VF DupEven(VF v, std::index_sequence<I...>) { return __builtin_shufflevector(v, v, (I & ~std::size_t{1})...); }
template <std::size_t... I>
SCB_INLINE VF DupOdd(VF v, std::index_sequence<I...>) { return __builtin_shufflevector(v, v, (I | 1)...); }
template <std::size_t... I>
SCB_INLINE VF SwapPairs(VF v, std::index_sequence<I...>) { return __builtin_shufflevector(v, v, (I ^ 1)...); }
template <std::size_t... I>
SCB_INLINE VU EvenSignMask(std::index_sequence<I...>) { return VU{((I & 1) ? 0u : 0x80000000u)...}; }

SCB_INLINE float ReduceAdd(VF v) {
    float s = 0.0f;
    for (int i = 0; i < kLanes; ++i) s += v[i];
    return s;
}

void add(const float* a, const float* b, float* d, std::size_t n) {
    std::size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) Store(d + i, Load(a + i) + Load(b + i));
    for (; i < n; ++i) d[i] = a[i] + b[i];
}

void poly(const float* x, float* d, std::size_t n) {
    std::size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        const VF v = Load(x + i);
        VF p = Broadcast(kPoly[7]);
        for (int k = 6; k >= 0; --k) p = MulAdd(p, v, Broadcast(kPoly[k]));
        Store(d + i, p);
    }
    for (; i < n; ++i) d[i] = plain::PolyScalar(x[i]);
}

// (ar, ai) * (br, bi): a * (br, br) + (ai, ar) * (bi, bi) with the even (real) lane of the second
// product negated, which gives (ar br - ai bi, ai br + ar bi).
void cmul(const float* a, const float* b, float* d, std::size_t n) {
    constexpr std::size_t kPairs = kLanes / 2;
    const VU neg_even = EvenSignMask(LaneSeq{});
    std::size_t i = 0;
    for (; i + kPairs <= n; i += kPairs) {
        const VF va = Load(a + 2 * i), vb = Load(b + 2 * i);
        const VF cross = SwapPairs(va, LaneSeq{}) * DupOdd(vb, LaneSeq{});
        const VF signed_cross = reinterpret_cast<VF>(reinterpret_cast<VU>(cross) ^ neg_even);
        Store(d + 2 * i, MulAdd(va, DupEven(vb, LaneSeq{}), signed_cross));
    }
    for (; i < n; ++i) plain::CmulOne(a + 2 * i, b + 2 * i, d + 2 * i);
}

float sum(const float* a, std::size_t n) {
    VF s0{}, s1{}, s2{}, s3{};
    std::size_t i = 0;
    for (; i + 4 * kLanes <= n; i += 4 * kLanes) {
        s0 += Load(a + i);
        s1 += Load(a + i + kLanes);
        s2 += Load(a + i + 2 * kLanes);
        s3 += Load(a + i + 3 * kLanes);
    }
    for (; i + kLanes <= n; i += kLanes) s0 += Load(a + i);
    float s = ReduceAdd((s0 + s1) + (s2 + s3));
    for (; i < n; ++i) s += a[i];
    return s;
}

const char* Name() {
    static const char* names[] = {"vector_size(16)", "vector_size(32)", "vector_size(64)"};
    return names[SCB_VEC_BYTES == 16 ? 0 : SCB_VEC_BYTES == 32 ? 1 : 2];
}

}  // namespace vext
#endif  // SCB_WITH_VEXT

// ------------------------------------------------------------------------------------------------
// (2) xsimd: one batch type, architecture chosen here from the compiler flags.
// ------------------------------------------------------------------------------------------------
#if SCB_WITH_XSIMD
#include <xsimd/xsimd.hpp>

namespace xs {

#if defined(__AVX512F__)
using Arch = xsimd::avx512f;
#elif defined(__AVX2__) && defined(__FMA__)
using Arch = xsimd::fma3<xsimd::avx2>;
#elif defined(__AVX__)
using Arch = xsimd::avx;
#else
using Arch = xsimd::sse2;
#endif
using B = xsimd::batch<float, Arch>;
using BU = xsimd::batch<std::uint32_t, Arch>;
constexpr std::size_t kLanes = B::size;

struct SwapPairsIdx {
    static constexpr std::uint32_t get(unsigned i, unsigned) { return i ^ 1u; }
};
struct DupEvenIdx {
    static constexpr std::uint32_t get(unsigned i, unsigned) { return i & ~1u; }
};
struct DupOddIdx {
    static constexpr std::uint32_t get(unsigned i, unsigned) { return i | 1u; }
};
struct EvenSign {
    static constexpr std::uint32_t get(unsigned i, unsigned) { return (i & 1u) ? 0u : 0x80000000u; }
};

void add(const float* a, const float* b, float* d, std::size_t n) {
    std::size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) (B::load_unaligned(a + i) + B::load_unaligned(b + i)).store_unaligned(d + i);
    for (; i < n; ++i) d[i] = a[i] + b[i];
}

void poly(const float* x, float* d, std::size_t n) {
    std::size_t i = 0;
    for (; i + kLanes <= n; i += kLanes) {
        const B v = B::load_unaligned(x + i);
        B p(kPoly[7]);
        for (int k = 6; k >= 0; --k) p = xsimd::fma(p, v, B(kPoly[k]));
        p.store_unaligned(d + i);
    }
    for (; i < n; ++i) d[i] = plain::PolyScalar(x[i]);
}

void cmul(const float* a, const float* b, float* d, std::size_t n) {
    constexpr std::size_t kPairs = kLanes / 2;
    constexpr auto swap_pairs = xsimd::make_batch_constant<BU, SwapPairsIdx>();
    constexpr auto dup_even = xsimd::make_batch_constant<BU, DupEvenIdx>();
    constexpr auto dup_odd = xsimd::make_batch_constant<BU, DupOddIdx>();
    const B neg_even = xsimd::bitwise_cast<B>(BU(xsimd::make_batch_constant<BU, EvenSign>()));
    std::size_t i = 0;
    for (; i + kPairs <= n; i += kPairs) {
        const B va = B::load_unaligned(a + 2 * i), vb = B::load_unaligned(b + 2 * i);
        const B cross = xsimd::swizzle(va, swap_pairs) * xsimd::swizzle(vb, dup_odd);
        xsimd::fma(va, xsimd::swizzle(vb, dup_even), cross ^ neg_even).store_unaligned(d + 2 * i);
    }
    for (; i < n; ++i) plain::CmulOne(a + 2 * i, b + 2 * i, d + 2 * i);
}

float sum(const float* a, std::size_t n) {
    B s0(0.0f), s1(0.0f), s2(0.0f), s3(0.0f);
    std::size_t i = 0;
    for (; i + 4 * kLanes <= n; i += 4 * kLanes) {
        s0 += B::load_unaligned(a + i);
        s1 += B::load_unaligned(a + i + kLanes);
        s2 += B::load_unaligned(a + i + 2 * kLanes);
        s3 += B::load_unaligned(a + i + 3 * kLanes);
    }
    for (; i + kLanes <= n; i += kLanes) s0 += B::load_unaligned(a + i);
    float s = xsimd::hadd((s0 + s1) + (s2 + s3));
    for (; i < n; ++i) s += a[i];
    return s;
}

const char* Name() { return Arch::name(); }

}  // namespace xs
#endif  // SCB_WITH_XSIMD

// ------------------------------------------------------------------------------------------------
// (3) Highway, static dispatch: whatever HWY_STATIC_TARGET the compiler flags select.
// ------------------------------------------------------------------------------------------------
#if SCB_WITH_HWY
// Highway only takes its SSE4/AVX2/AVX-512 targets as the static target when PCLMUL+AES and F16C are
// enabled too. The kernels use neither, and our code-path flags do not enable them, so tell it not
// to require them; otherwise AVX2 flags give the 128-bit SSSE3 target.
#ifndef SCB_HWY_AS_IS
#define HWY_DISABLE_PCLMUL_AES
#define HWY_DISABLE_F16C
#endif
#include <hwy/highway.h>

namespace hw {

namespace hn = hwy::HWY_NAMESPACE;
using D = hn::ScalableTag<float>;
using V = hn::Vec<D>;

void add(const float* a, const float* b, float* d, std::size_t n) {
    const D df;
    const std::size_t L = hn::Lanes(df);
    std::size_t i = 0;
    for (; i + L <= n; i += L) hn::StoreU(hn::Add(hn::LoadU(df, a + i), hn::LoadU(df, b + i)), df, d + i);
    for (; i < n; ++i) d[i] = a[i] + b[i];
}

void poly(const float* x, float* d, std::size_t n) {
    const D df;
    const std::size_t L = hn::Lanes(df);
    std::size_t i = 0;
    for (; i + L <= n; i += L) {
        const V v = hn::LoadU(df, x + i);
        V p = hn::Set(df, kPoly[7]);
        for (int k = 6; k >= 0; --k) p = hn::MulAdd(p, v, hn::Set(df, kPoly[k]));
        hn::StoreU(p, df, d + i);
    }
    for (; i < n; ++i) d[i] = plain::PolyScalar(x[i]);
}

void cmul(const float* a, const float* b, float* d, std::size_t n) {
    const D df;
    const std::size_t L = hn::Lanes(df);
    std::size_t i = 0;
#if HWY_TARGET == HWY_SCALAR
    // One lane cannot hold a (re, im) pair: split into real and imaginary vectors instead.
    for (; i + L <= n; i += L) {
        V ar, ai, br, bi;
        hn::LoadInterleaved2(df, a + 2 * i, ar, ai);
        hn::LoadInterleaved2(df, b + 2 * i, br, bi);
        hn::StoreInterleaved2(hn::MulSub(ar, br, hn::Mul(ai, bi)), hn::MulAdd(ar, bi, hn::Mul(ai, br)), df,
                              d + 2 * i);
    }
#else
    const std::size_t pairs = L / 2;
    for (; i + pairs <= n; i += pairs) {
        const V va = hn::LoadU(df, a + 2 * i), vb = hn::LoadU(df, b + 2 * i);
        const V cross = hn::Mul(hn::Shuffle2301(va), hn::DupOdd(vb));
        const V re_b = hn::DupEven(vb);
        // Odd lanes a*br + cross (imaginary), even lanes a*br - cross (real).
        hn::StoreU(hn::OddEven(hn::MulAdd(va, re_b, cross), hn::MulSub(va, re_b, cross)), df, d + 2 * i);
    }
#endif
    for (; i < n; ++i) plain::CmulOne(a + 2 * i, b + 2 * i, d + 2 * i);
}

float sum(const float* a, std::size_t n) {
    const D df;
    const std::size_t L = hn::Lanes(df);
    V s0 = hn::Zero(df), s1 = hn::Zero(df), s2 = hn::Zero(df), s3 = hn::Zero(df);
    std::size_t i = 0;
    for (; i + 4 * L <= n; i += 4 * L) {
        s0 = hn::Add(s0, hn::LoadU(df, a + i));
        s1 = hn::Add(s1, hn::LoadU(df, a + i + L));
        s2 = hn::Add(s2, hn::LoadU(df, a + i + 2 * L));
        s3 = hn::Add(s3, hn::LoadU(df, a + i + 3 * L));
    }
    for (; i + L <= n; i += L) s0 = hn::Add(s0, hn::LoadU(df, a + i));
    float s = hn::GetLane(hn::SumOfLanes(df, hn::Add(hn::Add(s0, s1), hn::Add(s2, s3))));
    for (; i < n; ++i) s += a[i];
    return s;
}

const char* Name() { return hwy::TargetName(HWY_STATIC_TARGET); }

}  // namespace hw
#endif  // SCB_WITH_HWY

#ifndef SCB_KERNELS_ONLY
// ------------------------------------------------------------------------------------------------
// Startup check and benchmarks.
// ------------------------------------------------------------------------------------------------
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

struct Impl {
    const char* label;
    void (*add)(const float*, const float*, float*, std::size_t);
    void (*poly)(const float*, float*, std::size_t);
    void (*cmul)(const float*, const float*, float*, std::size_t);
    float (*sum)(const float*, std::size_t);
};

const std::vector<Impl>& Impls() {
    static const std::vector<Impl> impls = {
#if SCB_WITH_VEXT
        {"vext", vext::add, vext::poly, vext::cmul, vext::sum},
#endif
#if SCB_WITH_XSIMD
        {"xsimd", xs::add, xs::poly, xs::cmul, xs::sum},
#endif
#if SCB_WITH_HWY
        {"hwy", hw::add, hw::poly, hw::cmul, hw::sum},
#endif
        {"plain", plain::add, plain::poly, plain::cmul, plain::sum},
    };
    return impls;
}

[[noreturn]] void Fail(const char* impl, const char* kernel, std::size_t n, const std::string& what) {
    std::fprintf(stderr, "MISMATCH: %s %s at n=%zu: %s\n", impl, kernel, n, what.c_str());
    std::abort();
}

// Multiples of 1/8 in [-range, range]: sums and complex products of these are exact in float in any
// order and with or without FMA, so add, cmul and sum must match the plain loop bit for bit.
std::vector<float> Dyadic(std::size_t n, int range, std::mt19937& rng) {
    std::uniform_int_distribution<int> dist(-8 * range, 8 * range);
    std::vector<float> v(n);
    for (float& x : v) x = static_cast<float>(dist(rng)) / 8.0f;
    return v;
}

// Guard words after the destination catch writes past n.
constexpr std::size_t kGuard = 64;
constexpr float kSentinel = -12345.5f;

void CheckGuard(const Impl& impl, const char* kernel, std::size_t n, const float* end) {
    for (std::size_t g = 0; g < kGuard; ++g)
        if (end[g] != kSentinel) Fail(impl.label, kernel, n, "wrote past the end");
}

void CheckOne(const Impl& impl, std::size_t n, std::size_t offset, std::mt19937& rng) {
    const std::size_t total = 2 * n + 2 * offset + kGuard;
    // Copies at an offset of `offset` complex elements (2 floats) from the vector's start, so loads and
    // stores run unaligned whenever offset is odd.
    auto place = [&](const std::vector<float>& src) {
        std::vector<float> buf(total, kSentinel);
        std::copy(src.begin(), src.end(), buf.begin() + 2 * offset);
        return buf;
    };
    const std::vector<float> a = Dyadic(2 * n, 4, rng), b = Dyadic(2 * n, 4, rng);
    std::vector<float> x(n);
    std::uniform_real_distribution<float> ux(-1.0f, 1.0f);
    for (float& v : x) v = ux(rng);
    const std::vector<float> pa = place(a), pb = place(b), px = place(x);
    const float* A = pa.data() + 2 * offset;
    const float* B = pb.data() + 2 * offset;
    const float* X = px.data() + 2 * offset;

    std::vector<float> want(2 * n + 1);
    std::vector<float> out;
    float* D = nullptr;
    auto fresh_destination = [&] {
        out = place({});
        D = out.data() + 2 * offset;
    };

    // add
    fresh_destination();
    plain::add(A, B, want.data(), n);
    impl.add(A, B, D, n);
    for (std::size_t i = 0; i < n; ++i)
        if (D[i] != want[i]) Fail(impl.label, "add", n, "element " + std::to_string(i));
    CheckGuard(impl, "add", n, D + n);
    std::vector<float> inplace = pa;
    impl.add(inplace.data() + 2 * offset, B, inplace.data() + 2 * offset, n);
    if (std::memcmp(inplace.data() + 2 * offset, want.data(), n * sizeof(float)) != 0)
        Fail(impl.label, "add", n, "in place");

    // poly: the plain loop fuses exactly where the vector code does, so only the rare difference of
    // an FMA lowered differently is tolerated; a wrong or dropped coefficient is ~1e-4 here.
    fresh_destination();
    plain::poly(X, want.data(), n);
    impl.poly(X, D, n);
    for (std::size_t i = 0; i < n; ++i)
        if (!(std::fabs(D[i] - want[i]) <= 2e-6f * (1.0f + std::fabs(want[i]))))
            Fail(impl.label, "poly", n, "element " + std::to_string(i));
    CheckGuard(impl, "poly", n, D + n);

    // cmul over n complex elements
    fresh_destination();
    plain::cmul(A, B, want.data(), n);
    impl.cmul(A, B, D, n);
    for (std::size_t i = 0; i < 2 * n; ++i)
        if (D[i] != want[i]) Fail(impl.label, "cmul", n, "float " + std::to_string(i));
    CheckGuard(impl, "cmul", n, D + 2 * n);
    inplace = pa;
    impl.cmul(inplace.data() + 2 * offset, B, inplace.data() + 2 * offset, n);
    if (std::memcmp(inplace.data() + 2 * offset, want.data(), 2 * n * sizeof(float)) != 0)
        Fail(impl.label, "cmul", n, "in place");

    // sum over 2n floats, so odd lengths are covered too
    for (std::size_t len : {2 * n, n}) {
        const float got = impl.sum(A, len), ref = plain::sum(A, len);
        if (got != ref) Fail(impl.label, "sum", len, std::to_string(got) + " != " + std::to_string(ref));
    }
}

void CheckAll() {
    std::mt19937 rng(12345);
    std::vector<std::size_t> lengths;
    for (std::size_t n = 0; n <= 80; ++n) lengths.push_back(n);
    for (std::size_t n : {127, 128, 129, 255, 256, 257, 1000, 4095, 4096, 4097}) lengths.push_back(n);
    for (const Impl& impl : Impls())
        for (std::size_t n : lengths)
            for (std::size_t offset : {0, 1}) CheckOne(impl, n, offset, rng);
    std::fprintf(stderr, "check passed: %zu implementations agree with the plain loops\n", Impls().size());
}

constexpr std::size_t kN = 4096;

// The four arrays live in one 64-byte aligned block, each starting on a 4 KiB boundary plus a
// different offset: the destination sits 256 bytes (modulo 4 KiB) below each source, so a load never
// looks like a recent store to the store buffer (no 4K aliasing) and all accesses are aligned.
struct Data {
    static constexpr std::size_t kStride = 2 * kN + 1024;  // a multiple of 4 KiB in floats
    float* block = static_cast<float*>(std::aligned_alloc(4096, (4 * kStride + 256) * sizeof(float)));
    float* d = block;
    float* a = block + kStride + 64;
    float* b = block + 2 * kStride + 128;
    float* x = block + 3 * kStride + 192;
    Data() {
        std::mt19937 rng(7);
        const std::vector<float> va = Dyadic(2 * kN, 4, rng), vb = Dyadic(2 * kN, 4, rng);
        std::copy(va.begin(), va.end(), a);
        std::copy(vb.begin(), vb.end(), b);
        std::uniform_real_distribution<float> ux(-1.0f, 1.0f);
        for (std::size_t i = 0; i < kN; ++i) x[i] = ux(rng);
        std::fill(d, d + 2 * kN, 0.0f);
    }
    ~Data() { std::free(block); }
};

Data& TheData() {
    static Data data;
    return data;
}

void RegisterAll() {
    for (const Impl& impl : Impls()) {
        const Impl* p = &impl;
        const std::string tag = impl.label;
        benchmark::RegisterBenchmark(("add/" + tag).c_str(), [p](benchmark::State& st) {
            Data& g = TheData();
            for (auto _ : st) {
                p->add(g.a, g.b, g.d, kN);
                benchmark::ClobberMemory();
            }
            st.SetItemsProcessed(st.iterations() * kN);
        });
        benchmark::RegisterBenchmark(("poly/" + tag).c_str(), [p](benchmark::State& st) {
            Data& g = TheData();
            for (auto _ : st) {
                p->poly(g.x, g.d, kN);
                benchmark::ClobberMemory();
            }
            st.SetItemsProcessed(st.iterations() * kN);
        });
        benchmark::RegisterBenchmark(("cmul/" + tag).c_str(), [p](benchmark::State& st) {
            Data& g = TheData();
            for (auto _ : st) {
                p->cmul(g.a, g.b, g.d, kN);
                benchmark::ClobberMemory();
            }
            st.SetItemsProcessed(st.iterations() * kN);
        });
        benchmark::RegisterBenchmark(("sum/" + tag).c_str(), [p](benchmark::State& st) {
            Data& g = TheData();
            for (auto _ : st) benchmark::DoNotOptimize(p->sum(g.a, kN));
            st.SetItemsProcessed(st.iterations() * kN);
        });
    }
}

}  // namespace

int main(int argc, char** argv) {
#if SCB_WITH_VEXT
    std::fprintf(stderr, "vext:  %s\n", vext::Name());
#endif
#if SCB_WITH_XSIMD
    std::fprintf(stderr, "xsimd: %s, %zu lanes\n", xs::Name(), xs::kLanes);
#endif
#if SCB_WITH_HWY
    std::fprintf(stderr, "hwy:   %s, %zu lanes\n", hw::Name(), hwy::HWY_NAMESPACE::Lanes(hw::D()));
#endif
    CheckAll();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    RegisterAll();
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
#endif  // SCB_KERNELS_ONLY
