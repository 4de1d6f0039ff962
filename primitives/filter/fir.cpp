// Direct-form FIR filter of single-precision real samples.
//
// The specification holds a 64-byte header and the taps in reverse order, padded with zeros to a
// multiple of 16, so that output n is the plain dot product of the reversed taps with the input
// window that ends at sample n. Its layout is the same on every code path: a specification built
// under one path filters under any other.
//
// The kernel computes several vectors of consecutive outputs per pass, one accumulator each: every
// tap is broadcast once into a register and multiplied with an input vector per accumulator, so that
// a broadcast tap serves kUnroll vectors of outputs, and the independent accumulators hide the
// latency of the multiply-adds (fused on builds with FMA). Every output, whichever loop computes it,
// accumulates the taps in the same order with the same operations, so the result of a sample does
// not depend on how the signal is split into blocks, on in-place use or on the single-sample path.
//
// History: the outputs that reach back before the block read from a staging area in the work buffer
// holding the delay line followed by the first inputs; the rest read the source directly. When the
// destination overlaps the source (filtering in place) every input goes through the staging area,
// chunk by chunk, before its outputs are written.
#include "simd/fir_kernel.h"
#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {

namespace {

using simd::Vec;
namespace vfir = simd::fir;

constexpr std::uint32_t kSpecTag = 0x31524946u;  // "FIR1"
constexpr int kHeaderBytes = 64;
constexpr int kTapPad = 16;
constexpr int kDataTypeReal32 = 13;
constexpr int kAlgAuto = 0;
constexpr int kAlgDirect = 1;
// Outputs per pass through the staging area.
constexpr int kChunk = 2048;

struct SpecHeader {
    std::uint32_t tag;
    std::int32_t tapsLen;
    std::int32_t algorithm;
    std::int32_t reserved[13];
};
static_assert(sizeof(SpecHeader) == kHeaderBytes, "header fills its 64 bytes");

constexpr int L = simd::kLanes<float>;
// Vectors of outputs per pass: twelve accumulators, the tap and an operand fill 14 of the 16 (or 32)
// vector registers. (The test-only build of 64-byte vectors on 256-bit registers spills, but runs
// the same passes as the 512-bit builds.)
constexpr int kUnroll = 12;

QP_INLINE std::int64_t PaddedTaps(int tapsLen) {
    return (static_cast<std::int64_t>(tapsLen) + kTapPad - 1) / kTapPad * kTapPad;
}

// U * L consecutive outputs: y[i] = sum over j of g[j] * e[i + j], j = 0 .. K - 1.
template <int U>
QP_INLINE void Outputs(const float* e, const float* g, int K, float* y) {
    Vec<float> acc[U];
#pragma GCC unroll 16
    for (int u = 0; u < U; ++u) acc[u] = Vec<float>{};
    for (int j = 0; j < K; ++j) {
        const Vec<float> t = simd::Broadcast(g[j]);
#pragma GCC unroll 16
        for (int u = 0; u < U; ++u) acc[u] = vfir::MulAdd(t, simd::Load(e + j + u * L), acc[u]);
    }
#pragma GCC unroll 16
    for (int u = 0; u < U; ++u) simd::Store(y + u * L, acc[u]);
}

// One output, the taps in the same order and with the same rounding as every lane above.
QP_INLINE float OutputOne(const float* e, const float* g, int K) {
    float s = 0.0f;
    for (int j = 0; j < K; ++j) s = vfir::MulAdd(g[j], e[j], s);
    return s;
}

// count outputs; reads e[0 .. count + K - 2].
QP_INLINE void Filter(const float* e, const float* g, int K, float* y, int count) {
    int n = 0;
    for (; n + kUnroll * L <= count; n += kUnroll * L) Outputs<kUnroll>(e + n, g, K, y + n);
    for (; n + 4 * L <= count; n += 4 * L) Outputs<4>(e + n, g, K, y + n);
    for (; n + 2 * L <= count; n += 2 * L) Outputs<2>(e + n, g, K, y + n);
    for (; n + L <= count; n += L) Outputs<1>(e + n, g, K, y + n);
    for (; n < count; ++n) y[n] = OutputOne(e + n, g, K);
}

QP_INLINE float* Staging(unsigned char* buf) {
    const std::uintptr_t p = reinterpret_cast<std::uintptr_t>(buf);
    return reinterpret_cast<float*>((p + 63) & ~std::uintptr_t{63});
}

}  // namespace

Status fir_sr_get_size(int tapsLen, int dataType, int* specSize, int* bufSize) {
    if (specSize == nullptr || bufSize == nullptr) return qpStsNullPtrErr;
    if (tapsLen <= 0) return qpStsFIRLenErr;
    if (dataType != kDataTypeReal32) return qpStsDataTypeErr;
    const std::int64_t spec = kHeaderBytes + PaddedTaps(tapsLen) * 4;
    // Staging area: the history and one chunk of inputs, plus room to align its start.
    const std::int64_t buf = (static_cast<std::int64_t>(tapsLen) - 1 + kChunk) * 4 + 64;
    if (spec > 0x7FFFFFFF || buf > 0x7FFFFFFF) return qpStsSizeErr;
    *specSize = static_cast<int>(spec);
    *bufSize = static_cast<int>(buf);
    return qpStsNoErr;
}

Status fir_sr_init_f32(const float* taps, int tapsLen, int algType, unsigned char* spec) {
    if (taps == nullptr || spec == nullptr) return qpStsNullPtrErr;
    if (tapsLen <= 0 || PaddedTaps(tapsLen) * 4 + kHeaderBytes > 0x7FFFFFFF) return qpStsFIRLenErr;
    if (algType != kAlgAuto && algType != kAlgDirect) return qpStsAlgTypeErr;
    SpecHeader header{};
    header.tag = kSpecTag;
    header.tapsLen = tapsLen;
    header.algorithm = kAlgDirect;
    __builtin_memcpy(spec, &header, sizeof header);
    float* g = reinterpret_cast<float*>(spec + kHeaderBytes);
    for (int j = 0; j < tapsLen; ++j) g[j] = taps[tapsLen - 1 - j];
    for (std::int64_t j = tapsLen; j < PaddedTaps(tapsLen); ++j) g[j] = 0.0f;
    return qpStsNoErr;
}

Status fir_sr_f32(const float* src, float* dst, int len, const unsigned char* spec, const float* dlySrc, float* dlyDst,
                  unsigned char* buf) {
    if (src == nullptr || dst == nullptr || spec == nullptr || buf == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    SpecHeader header;
    __builtin_memcpy(&header, spec, sizeof header);
    if (header.tag != kSpecTag || header.tapsLen <= 0) return qpStsContextMatchErr;

    const int K = header.tapsLen;
    const int D = K - 1;
    const float* g = reinterpret_cast<const float*>(spec + kHeaderBytes);
    float* stage = Staging(buf);
    const std::size_t dBytes = static_cast<std::size_t>(D) * sizeof(float);

    const std::uintptr_t s0 = reinterpret_cast<std::uintptr_t>(src), d0 = reinterpret_cast<std::uintptr_t>(dst);
    const std::uintptr_t bytes = static_cast<std::uintptr_t>(len) * sizeof(float);
    const bool overlap = s0 < d0 + bytes && d0 < s0 + bytes;

    if (D > 0) {
        if (dlySrc != nullptr) {
            __builtin_memmove(stage, dlySrc, dBytes);
        } else {
            __builtin_memset(stage, 0, dBytes);
        }
    }
    // Staged chunks: [history | chunk of inputs] in the work buffer; afterwards the last D staged
    // samples move to the front as the history of the next chunk.
    int n = 0;
    while (n < len && (overlap || n < D)) {
        const int c = len - n < kChunk ? len - n : kChunk;
        __builtin_memcpy(stage + D, src + n, static_cast<std::size_t>(c) * sizeof(float));
        Filter(stage, g, K, dst + n, c);
        __builtin_memmove(stage, stage + c, dBytes);
        n += c;
    }
    const bool direct = n < len;
    // Source and destination apart, and every remaining output's window lies inside the source.
    if (direct) Filter(src + (n - D), g, K, dst + n, len - n);

    if (dlyDst != nullptr && D > 0) {
        __builtin_memmove(dlyDst, direct ? src + (len - D) : stage, dBytes);
    }
    return qpStsNoErr;
}

}  // namespace QP_PATH_NS
}  // namespace qp
