// Dot product, linear convolution, and the zero-stuffing and decimating resamplers.
//
// The float dot product multiplies and adds in float lanes over short runs (at most 16 products
// per lane) and carries the runs in double lanes, so its error stays near one rounding of the
// float result however long the vectors are, at the speed of a float loop.
//
// Convolution evaluates the sum directly for short kernels and otherwise multiplies real spectra
// from this build's own FFT (overlap-add in blocks when the output is long); simd/dsp_conv.h
// holds the measured cost model that picks the method. The work buffer carries everything either
// method needs, the FFT spec included, so a call allocates nothing, and a buffer passed again for
// the same sizes keeps its spec.
#include "fft/fft_spec.h"
#include "simd/dsp_conv.h"
#include "simd/reduce.h"

namespace qp {
namespace QP_PATH_NS {

namespace {

using simd::kLanes;
using simd::Load;
using simd::Store;
using simd::Vec;

// --- dot product ------------------------------------------------------------------------------

constexpr int kDotAcc = 4;   // independent accumulators
constexpr int kDotRun = 16;  // float multiply-adds per lane before the run is carried into double

QP_INLINE double DotF32(const float* a, const float* b, int n) {
    constexpr int L = kLanes<float>;
    Vec<double> wide[2] = {};
    int i = 0;
    while (n - i >= kDotAcc * L) {
        int steps = (n - i) / (kDotAcc * L);
        if (steps > kDotRun) steps = kDotRun;
        Vec<float> acc[kDotAcc] = {};
        for (int s = 0; s < steps; ++s, i += kDotAcc * L) {
#pragma GCC unroll 4
            for (int u = 0; u < kDotAcc; ++u) acc[u] = simd::MulAdd<float>(Load(a + i + u * L), Load(b + i + u * L), acc[u]);
        }
        wide[0] = reduce::AddWidened(wide[0], acc[0]);
        wide[1] = reduce::AddWidened(wide[1], acc[1]);
        wide[0] = reduce::AddWidened(wide[0], acc[2]);
        wide[1] = reduce::AddWidened(wide[1], acc[3]);
    }
    if (n - i >= L) {
        Vec<float> acc = {};
        for (; n - i >= L; i += L) acc = simd::MulAdd<float>(Load(a + i), Load(b + i), acc);
        wide[0] = reduce::AddWidened(wide[0], acc);
    }
    double r = reduce::SumLanes<double>(wide[0] + wide[1]);
    // float products are exact in double
    for (; i < n; ++i) r += static_cast<double>(a[i]) * static_cast<double>(b[i]);
    return r;
}

QP_INLINE double DotF64(const double* a, const double* b, int n) {
    constexpr int L = kLanes<double>;
    Vec<double> acc[kDotAcc] = {};
    int i = 0;
    for (; n - i >= kDotAcc * L; i += kDotAcc * L) {
#pragma GCC unroll 4
        for (int u = 0; u < kDotAcc; ++u) acc[u] = simd::MulAdd<double>(Load(a + i + u * L), Load(b + i + u * L), acc[u]);
    }
    for (; n - i >= L; i += L) acc[0] = simd::MulAdd<double>(Load(a + i), Load(b + i), acc[0]);
    double r = reduce::SumLanes<double>((acc[0] + acc[1]) + (acc[2] + acc[3]));
    for (; i < n; ++i) r = simd::MulAdd(a[i], b[i], r);
    return r;
}

template <typename T>
QP_INLINE Status Dot(const T* a, const T* b, int len, T* result) {
    if (a == nullptr || b == nullptr || result == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    if constexpr (sizeof(T) == 4)
        *result = static_cast<float>(DotF32(a, b, len));
    else
        *result = DotF64(a, b, len);
    return qpStsNoErr;
}

// --- convolution ------------------------------------------------------------------------------

constexpr int kDataTypeF32 = 13;  // the data-type code of single-precision real data

// Transform primitives of this build for element type T.
template <typename T>
struct RealFft;
template <>
struct RealFft<float> {
    static Status Size(int order, int* spec, int* init, int* buf) { return fft_size_r32(order, fft::kNormNone, 0, spec, init, buf); }
    static Status Init(void** spec, int order, unsigned char* mem) { return fft_init_r32(spec, order, fft::kNormNone, 0, mem, nullptr); }
    static Status Fwd(const float* s, float* d, const void* spec, unsigned char* buf) { return fft_fwd_r32(s, d, spec, buf); }
    static Status Inv(const float* s, float* d, const void* spec, unsigned char* buf) { return fft_inv_r32(s, d, spec, buf); }
};
template <>
struct RealFft<double> {
    static Status Size(int order, int* spec, int* init, int* buf) { return fft_size_r64(order, fft::kNormNone, 0, spec, init, buf); }
    static Status Init(void** spec, int order, unsigned char* mem) { return fft_init_r64(spec, order, fft::kNormNone, 0, mem, nullptr); }
    static Status Fwd(const double* s, double* d, const void* spec, unsigned char* buf) { return fft_fwd_r64(s, d, spec, buf); }
    static Status Inv(const double* s, double* d, const void* spec, unsigned char* buf) { return fft_inv_r64(s, d, spec, buf); }
};

// Layout of the work buffer for an n x m convolution of T (m <= n) under the given plan; total is
// the byte count the caller must provide, 64 bytes of alignment slack included.
template <typename T>
QP_INLINE bool WorkLayout(std::int64_t m, dsp::Plan plan, dsp::Layout& out) {
    out = dsp::Layout{};
    if (plan.order == 0) {
        out.block = 0;
        out.total = dsp::kAlign + dsp::AlignBytes(2 * m * static_cast<std::int64_t>(sizeof(T)));
        return true;
    }
    int spec = 0, init = 0, buf = 0;
    if (RealFft<T>::Size(plan.order, &spec, &init, &buf) != qpStsNoErr) return false;
    const std::int64_t points = (std::int64_t{1} << plan.order) + 2;
    out.spec = dsp::kAlign;  // behind the reuse record
    out.specBytes = spec;
    out.fftWork = out.spec + dsp::AlignBytes(spec);
    out.kernel = out.fftWork + dsp::AlignBytes(buf);
    out.block = out.kernel + dsp::AlignBytes(points * static_cast<std::int64_t>(sizeof(T)));
    out.total = dsp::kAlign + out.block + dsp::AlignBytes(points * static_cast<std::int64_t>(sizeof(T)));
    return true;
}

QP_INLINE bool ValidAlgorithm(int algorithm) {
    return algorithm == dsp::kAlgAuto || algorithm == dsp::kAlgDirect || algorithm == dsp::kAlgTransform;
}

// Bytes of work buffer for data type 13: enough for the float convolution, and, read as a count of
// float-sized elements that the double form receives as doubles, enough for the double one too.
QP_INLINE Status BufferSize(int len1, int len2, int dataType, int algorithm, int* bufSize) {
    if (bufSize == nullptr) return qpStsNullPtrErr;
    if (len1 <= 0 || len2 <= 0) return qpStsSizeErr;
    if (dataType != kDataTypeF32) return qpStsDataTypeErr;
    if (!ValidAlgorithm(algorithm)) return qpStsAlgTypeErr;
    const std::int64_t n = len1 > len2 ? len1 : len2, m = len1 > len2 ? len2 : len1;
    dsp::Layout f, d;
    if (!WorkLayout<float>(m, dsp::Choose<float>(n, m, algorithm), f) ||
        !WorkLayout<double>(m, dsp::Choose<double>(n, m, algorithm), d))
        return qpStsSizeErr;
    std::int64_t bytes = f.total > d.total / 2 ? f.total : (d.total + 1) / 2;
    bytes = (bytes + 3) & ~std::int64_t{3};
    if (bytes > 0x7FFFFFFF) return qpStsSizeErr;
    *bufSize = static_cast<int>(bytes);
    return qpStsNoErr;
}

template <typename T>
QP_INLINE T* AlignUp(unsigned char* p) {
    const auto a = (reinterpret_cast<std::uintptr_t>(p) + dsp::kAlign - 1) & ~static_cast<std::uintptr_t>(dsp::kAlign - 1);
    return reinterpret_cast<T*>(a);
}

// The FFT spec costs far more to initialise (its twiddles are computed in long double) than the
// transforms it serves, so a work buffer passed again keeps it: the record in front of the spec
// names the spec's kind, order and address and a hash of its bytes, and the spec is built anew
// unless all of them match (a buffer that was moved, resized or written over gets a new one).
struct ReuseRecord {
    std::uint64_t magic;
    std::uint64_t key;
    std::uint64_t address;
    std::uint64_t hash;
};
constexpr std::uint64_t kReuseMagic = 0x71702d636f6e7631ull;

// 64-bit hash of a 64-byte aligned block whose size is a multiple of 8: four multiply-xor lanes.
QP_INLINE std::uint64_t HashBytes(const unsigned char* p, std::int64_t bytes) {
    std::uint64_t h[4] = {0x9e3779b97f4a7c15ull, 0xc2b2ae3d27d4eb4full, 0x165667b19e3779f9ull, 0x27d4eb2f165667c5ull};
    constexpr std::uint64_t kMul = 0x100000001b3ull;
    std::int64_t i = 0;
    for (; bytes - i >= 32; i += 32) {
        for (int u = 0; u < 4; ++u) {
            std::uint64_t w;
            __builtin_memcpy(&w, p + i + 8 * u, 8);
            h[u] = (h[u] ^ w) * kMul;
        }
    }
    for (; bytes - i >= 8; i += 8) {
        std::uint64_t w;
        __builtin_memcpy(&w, p + i, 8);
        h[0] = (h[0] ^ w) * kMul;
    }
    std::uint64_t r = h[0] ^ (h[1] << 1 | h[1] >> 63) ^ (h[2] << 2 | h[2] >> 62) ^ (h[3] << 3 | h[3] >> 61);
    return r ^ (r >> 29);
}

template <typename T>
QP_INLINE Status ReuseOrInitSpec(unsigned char* base, const dsp::Layout& lay, int order, void** spec) {
    ReuseRecord* record = reinterpret_cast<ReuseRecord*>(base);
    unsigned char* mem = base + lay.spec;
    const std::uint64_t key = static_cast<std::uint64_t>(order) | static_cast<std::uint64_t>(sizeof(T)) << 8 |
                              static_cast<std::uint64_t>(lay.specBytes) << 16;
    const std::int64_t hashed = lay.specBytes & ~std::int64_t{7};
    if (record->magic == kReuseMagic && record->key == key && record->address == reinterpret_cast<std::uintptr_t>(mem) &&
        record->hash == HashBytes(mem, hashed)) {
        *spec = mem;  // the initialiser places the spec at the first 64-byte boundary: mem itself
        return qpStsNoErr;
    }
    record->magic = 0;
    const Status st = RealFft<T>::Init(spec, order, mem);
    if (st != qpStsNoErr || *spec != mem) return st;
    record->key = key;
    record->address = reinterpret_cast<std::uintptr_t>(mem);
    record->hash = HashBytes(mem, hashed);
    record->magic = kReuseMagic;
    return qpStsNoErr;
}

// Overlap-add with real transforms of N = 2^order points and blocks of N - m + 1 samples.
template <typename T>
QP_INLINE Status TransformConvolve(const T* x, std::int64_t n, const T* h, std::int64_t m, T* y, int order,
                                   const dsp::Layout& lay, unsigned char* work) {
    unsigned char* base = AlignUp<unsigned char>(work);
    unsigned char* fftBuf = base + lay.fftWork;
    T* H = reinterpret_cast<T*>(base + lay.kernel);
    T* X = reinterpret_cast<T*>(base + lay.block);
    void* spec = nullptr;
    const Status st = ReuseOrInitSpec<T>(base, lay, order, &spec);
    if (st != qpStsNoErr) return st;
    const std::int64_t N = std::int64_t{1} << order;
    const std::int64_t B = N - m + 1;
    dsp::CopyPadded<T>(H, h, m, N);
    RealFft<T>::Fwd(H, H, spec, fftBuf);
    dsp::ScaleInPlace<T>(H, N + 2, static_cast<T>(1) / static_cast<T>(N));  // the inverse is unscaled
    for (std::int64_t start = 0; start < n; start += B) {
        const std::int64_t count = n - start < B ? n - start : B;
        dsp::CopyPadded<T>(X, x + start, count, N);
        RealFft<T>::Fwd(X, X, spec, fftBuf);
        dsp::SpectrumProduct<T>(X, H, N / 2 + 1);
        RealFft<T>::Inv(X, X, spec, fftBuf);
        // Outputs start .. start + count + m - 2; the first m - 1 overlap the previous block's tail.
        const std::int64_t produced = count + m - 1;
        const std::int64_t overlap = start == 0 ? 0 : m - 1;
        dsp::AddInto<T>(y + start, X, overlap);
        __builtin_memcpy(y + start + overlap, X + overlap, static_cast<std::size_t>(produced - overlap) * sizeof(T));
    }
    return qpStsNoErr;
}

template <typename T>
QP_INLINE Status Convolve(const T* s1, int len1, const T* s2, int len2, T* dst, int algorithm, unsigned char* work) {
    if (s1 == nullptr || s2 == nullptr || dst == nullptr || work == nullptr) return qpStsNullPtrErr;
    if (len1 <= 0 || len2 <= 0) return qpStsSizeErr;
    if (!ValidAlgorithm(algorithm)) return qpStsAlgTypeErr;
    // Convolution is symmetric: run the longer operand through the shorter one.
    const bool swap = len2 > len1;
    const T* x = swap ? s2 : s1;
    const T* h = swap ? s1 : s2;
    const std::int64_t n = swap ? len2 : len1, m = swap ? len1 : len2;
    const dsp::Plan plan = dsp::Choose<T>(n, m, algorithm);
    dsp::Layout lay;
    if (!WorkLayout<T>(m, plan, lay)) return qpStsSizeErr;
    if (plan.order == 0) {
        dsp::DirectConvolve<T>(x, n, h, m, dst, AlignUp<T>(work));
        return qpStsNoErr;
    }
    return TransformConvolve<T>(x, n, h, m, dst, plan.order, lay, work);
}

// --- resampling -------------------------------------------------------------------------------

// Refusals shared by both resamplers, in order: pointers, length, factor, phase.
template <typename T>
QP_INLINE Status CheckResample(const T* src, int len, const T* dst, const int* dstLen, int factor, const int* phase) {
    if (src == nullptr || dst == nullptr || dstLen == nullptr || phase == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    if (factor <= 0) return qpStsSampleFactorErr;
    if (*phase < 0 || *phase >= factor) return qpStsSamplePhaseErr;
    return qpStsNoErr;
}

template <typename T>
QP_INLINE void CopyElements(T* d, const T* s, std::int64_t n) {
    __builtin_memcpy(d, s, static_cast<std::size_t>(n) * sizeof(T));
}

// Whole vectors, then the last vector placed flush with the end (n >= one vector), else scalars.
template <typename T>
QP_INLINE void ZeroElements(T* d, std::int64_t n) {
    constexpr int L = kLanes<T>;
    const Vec<T> z = {};
    if (n < L) {
        for (std::int64_t i = 0; i < n; ++i) d[i] = 0;
        return;
    }
    std::int64_t i = 0;
    for (; n - i >= 4 * L; i += 4 * L) {
        Store(d + i, z);
        Store(d + i + L, z);
        Store(d + i + 2 * L, z);
        Store(d + i + 3 * L, z);
    }
    for (; n - i >= L; i += L) Store(d + i, z);
    if (i < n) Store(d + n - L, z);
}

// Factor 2: each source vector interleaved with zeros (the sample first when the phase is 0).
template <typename T>
QP_INLINE void UpSample2(const T* src, std::int64_t len, T* dst, int phase) {
    constexpr int L = kLanes<T>;
    const Vec<T> z = {};
    std::int64_t i = 0;
    if (phase == 0) {
        for (; len - i >= L; i += L) {
            Vec<T> lo, hi;
            simd::Zip<1, T>(Load(src + i), z, lo, hi);
            Store(dst + 2 * i, lo);
            Store(dst + 2 * i + L, hi);
        }
    } else {
        for (; len - i >= L; i += L) {
            Vec<T> lo, hi;
            simd::Zip<1, T>(z, Load(src + i), lo, hi);
            Store(dst + 2 * i, lo);
            Store(dst + 2 * i + L, hi);
        }
    }
    for (; i < len; ++i) {
        dst[2 * i + phase] = src[i];
        dst[2 * i + 1 - phase] = 0;
    }
}

// Any factor: the output cleared with vector stores, then the samples placed. Long inputs go in
// blocks of kUpBlock samples so that each cleared block is still in cache when it is filled.
constexpr std::int64_t kUpBlock = 4096;

template <typename T>
QP_INLINE void UpSampleSpread(const T* src, std::int64_t len, T* dst, std::int64_t factor, std::int64_t phase) {
    ZeroElements<T>(dst, len * factor);
    T* d = dst + phase;
    std::int64_t i = 0;
    for (; len - i >= 4; i += 4) {
        d[i * factor] = src[i];
        d[(i + 1) * factor] = src[i + 1];
        d[(i + 2) * factor] = src[i + 2];
        d[(i + 3) * factor] = src[i + 3];
    }
    for (; i < len; ++i) d[i * factor] = src[i];
}

template <typename T>
QP_INLINE Status UpSample(const T* src, int len, T* dst, int* dstLen, int factor, int* phase) {
    const Status st = CheckResample(src, len, dst, dstLen, factor, phase);
    if (st != qpStsNoErr) return st;
    const std::int64_t outLen = static_cast<std::int64_t>(len) * factor;
    if (outLen > 0x7FFFFFFF) return qpStsSizeErr;
    const int p = *phase;
    if (factor == 1) {
        CopyElements<T>(dst, src, len);
    } else if (factor == 2) {
        UpSample2<T>(src, len, dst, p);
    } else if (len > kUpBlock) {
        for (std::int64_t b = 0; b < len; b += kUpBlock) {
            const std::int64_t count = len - b < kUpBlock ? len - b : kUpBlock;
            UpSampleSpread<T>(src + b, count, dst + b * factor, factor, p);
        }
    } else {
        UpSampleSpread<T>(src, len, dst, factor, p);
    }
    *dstLen = static_cast<int>(outLen);
    return qpStsNoErr;
}

// Factor 2: the even lanes of pairs of vectors starting at the phase.
template <typename T>
QP_INLINE void DownSample2(const T* s, std::int64_t count, T* dst) {
    constexpr int L = kLanes<T>;
    std::int64_t i = 0;
    // The last pair read ends at s[2 (i + L) - 1]; the last sample taken is s[2 (count - 1)].
    for (; 2 * (i + L) - 1 <= 2 * (count - 1); i += L) {
        Vec<T> even, odd;
        simd::Unzip<T>(Load(s + 2 * i), Load(s + 2 * i + L), even, odd);
        Store(dst + i, even);
    }
    for (; i < count; ++i) dst[i] = s[2 * i];
}

template <typename T>
QP_INLINE void DownSampleStrided(const T* s, std::int64_t count, T* dst, std::int64_t factor) {
    std::int64_t i = 0;
    for (; count - i >= 4; i += 4) {
        const T a = s[i * factor], b = s[(i + 1) * factor], c = s[(i + 2) * factor], d = s[(i + 3) * factor];
        dst[i] = a;
        dst[i + 1] = b;
        dst[i + 2] = c;
        dst[i + 3] = d;
    }
    for (; i < count; ++i) dst[i] = s[i * factor];
}

template <typename T>
QP_INLINE Status DownSample(const T* src, int len, T* dst, int* dstLen, int factor, int* phase) {
    const Status st = CheckResample(src, len, dst, dstLen, factor, phase);
    if (st != qpStsNoErr) return st;
    const std::int64_t p = *phase;
    if (p >= len) {  // the next sample to take lies in a later block
        *dstLen = 0;
        *phase = static_cast<int>(p - len);
        return qpStsNoErr;
    }
    const std::int64_t count = (len - p + factor - 1) / factor;
    if (factor == 1)
        CopyElements<T>(dst, src, count);
    else if (factor == 2)
        DownSample2<T>(src + p, count, dst);
    else
        DownSampleStrided<T>(src + p, count, dst, factor);
    *dstLen = static_cast<int>(count);
    *phase = static_cast<int>(p + count * factor - len);
    return qpStsNoErr;
}

}  // namespace

Status dotprod_f32(const float* a, const float* b, int len, float* result) { return Dot(a, b, len, result); }
Status dotprod_f64(const double* a, const double* b, int len, double* result) { return Dot(a, b, len, result); }

Status conv_f32(const float* s1, int len1, const float* s2, int len2, float* dst, int algorithm, unsigned char* work) {
    return Convolve(s1, len1, s2, len2, dst, algorithm, work);
}
Status conv_f64(const double* s1, int len1, const double* s2, int len2, double* dst, int algorithm,
                unsigned char* work) {
    return Convolve(s1, len1, s2, len2, dst, algorithm, work);
}
Status conv_bufsize(int len1, int len2, int dataType, int algorithm, int* bufSize) {
    return BufferSize(len1, len2, dataType, algorithm, bufSize);
}

Status upsample_f32(const float* src, int len, float* dst, int* dstLen, int factor, int* phase) {
    return UpSample(src, len, dst, dstLen, factor, phase);
}
Status upsample_f64(const double* src, int len, double* dst, int* dstLen, int factor, int* phase) {
    return UpSample(src, len, dst, dstLen, factor, phase);
}
Status downsample_f32(const float* src, int len, float* dst, int* dstLen, int factor, int* phase) {
    return DownSample(src, len, dst, dstLen, factor, phase);
}
Status downsample_f64(const double* src, int len, double* dst, int* dstLen, int factor, int* phase) {
    return DownSample(src, len, dst, dstLen, factor, phase);
}

}  // namespace QP_PATH_NS
}  // namespace qp
