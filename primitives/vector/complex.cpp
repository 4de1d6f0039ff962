// Complex and polar kernels: magnitude (split and interleaved), power spectrum, Cartesian to polar
// and back.
//
// Every kernel works on blocks of one vector of results (L = simd::kLanes<float> elements). The last
// partial block runs through the same vector code on zero-padded copies, so every element of an
// array gets the same arithmetic whatever its position. Interleaved inputs are read ahead of the
// results written, and PolarToCart writes its twice-as-long output from the end backwards, so a
// destination may be exactly a source.
#include "simd/complex.h"

namespace qp {
namespace QP_PATH_NS {

namespace {

using simd::Load;
using simd::Store;
using simd::Vec;
using VF = Vec<float>;
constexpr int L = simd::kLanes<float>;

// Runs block(i) on each full block of kBlock elements from index 0, two blocks per round, and
// returns the index where the partial block starts.
template <int kBlock, typename Block>
QP_INLINE int FullBlocks(int n, Block block) {
    int i = 0;
    for (; i + 2 * kBlock <= n; i += 2 * kBlock) {
        block(i);
        block(i + kBlock);
    }
    if (i + kBlock <= n) {
        block(i);
        i += kBlock;
    }
    return i;
}

template <typename T>
QP_INLINE void MagnitudeBlock(const T* re, const T* im, T* dst) {
    Store(dst, cx::Magnitude<T>(Load(re), Load(im)));
}

template <typename T>
QP_INLINE Status MagnitudeSplit(const T* re, const T* im, T* dst, int len) {
    if (re == nullptr || im == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    constexpr int kL = simd::kLanes<T>;
    const int i = FullBlocks<kL>(len, [&](int k) { MagnitudeBlock(re + k, im + k, dst + k); });
    if (const int rest = len - i) {
        T r[kL] = {}, m[kL] = {}, d[kL];
        __builtin_memcpy(r, re + i, sizeof(T) * rest);
        __builtin_memcpy(m, im + i, sizeof(T) * rest);
        MagnitudeBlock(r, m, d);
        __builtin_memcpy(dst + i, d, sizeof(T) * rest);
    }
    return qpStsNoErr;
}

// Kernels reading L interleaved complex elements (2L floats) and writing L floats per output.
template <typename Block>
QP_INLINE void FromInterleaved(const float* src, float* out0, float* out1, int len, Block block) {
    const int i = FullBlocks<L>(len, [&](int k) { block(src + 2 * k, out0 + k, out1 == nullptr ? nullptr : out1 + k); });
    if (const int rest = len - i) {
        float s[2 * L] = {}, d0[L], d1[L];
        __builtin_memcpy(s, src + 2 * i, sizeof(float) * 2 * rest);
        block(s, d0, d1);
        __builtin_memcpy(out0 + i, d0, sizeof(float) * rest);
        if (out1 != nullptr) __builtin_memcpy(out1 + i, d1, sizeof(float) * rest);
    }
}

QP_INLINE void LoadSplit(const float* src, VF* re, VF* im) { cx::Split(Load(src), Load(src + L), re, im); }

}  // namespace

Status magnitude_f32(const float* re, const float* im, float* dst, int len) { return MagnitudeSplit(re, im, dst, len); }
Status magnitude_f64(const double* re, const double* im, double* dst, int len) {
    return MagnitudeSplit(re, im, dst, len);
}

Status magnitude_c32(const float* src, float* dst, int len) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    FromInterleaved(src, dst, nullptr, len, [](const float* s, float* d, float*) {
        VF re, im;
        LoadSplit(s, &re, &im);
        Store(d, cx::Unpermute(cx::Magnitude<float>(re, im)));
    });
    return qpStsNoErr;
}

// re^2 + im^2 as it comes: a power beyond the float range is infinite.
Status power_spectrum_c32(const float* src, float* dst, int len) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    FromInterleaved(src, dst, nullptr, len, [](const float* s, float* d, float*) {
        VF re, im;
        LoadSplit(s, &re, &im);
        Store(d, cx::Unpermute(cxmath::MulAdd<float>(re, re, im * im)));
    });
    return qpStsNoErr;
}

Status cart_to_polar_c32(const float* src, float* magnitude, float* phase, int len) {
    if (src == nullptr || magnitude == nullptr || phase == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    FromInterleaved(src, magnitude, phase, len, [](const float* s, float* m, float* p) {
        VF re, im;
        LoadSplit(s, &re, &im);
        const VF mag = cx::Magnitude<float>(re, im), ph = cxmath::Atan2(im, re);
        Store(m, cx::Unpermute(mag));
        Store(p, cx::Unpermute(ph));
    });
    return qpStsNoErr;
}

Status polar_to_cart_c32(const float* magnitude, const float* phase, float* dst, int len) {
    if (magnitude == nullptr || phase == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    auto block = [](const float* m, const float* p, float* d) {
        VF s, c, o0, o1;
        cxmath::SinCos(Load(p), &s, &c);
        const VF mv = Load(m);
        cx::Zip(mv * c, mv * s, &o0, &o1);
        Store(d, o0);
        Store(d + L, o1);
    };
    // From the end backwards: block i writes floats [2i, 2i + 2L), at or beyond every source element
    // still to be read, so dst may be magnitude or phase.
    int i = len - len % L;
    if (const int rest = len - i) {
        float m[L] = {}, p[L] = {}, d[2 * L];
        __builtin_memcpy(m, magnitude + i, sizeof(float) * rest);
        __builtin_memcpy(p, phase + i, sizeof(float) * rest);
        block(m, p, d);
        __builtin_memcpy(dst + 2 * i, d, sizeof(float) * 2 * rest);
    }
    for (i -= L; i >= 0; i -= L) block(magnitude + i, phase + i, dst + 2 * i);
    return qpStsNoErr;
}

}  // namespace QP_PATH_NS
}  // namespace qp
