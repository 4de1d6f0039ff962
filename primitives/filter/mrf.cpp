// Multi-rate FIR kernels: polyphase up-sampling, filtering and down-sampling in one pass.
//
// Output j sits at up-sampled time t = downPhase - upPhase + j * down: it is the dot product of
// branch t mod up with the inputs ending at position floor(t / up), the newest input meeting the
// branch's first tap. Each output is one contiguous dot product over the reversed, zero-padded
// branch (vectors across the taps, one horizontal sum). The inputs pass through the work buffer
// behind the history, so that every window lies in one array and the source is never read before
// its start or past its end.
#include <climits>
#include <cstdint>

#include "filter/mrf_layout.h"
#include "simd/iirmrf.h"
#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {

namespace {

using iirmrf::HorizontalSum;
using iirmrf::MulAdd;
using mrf::Spec;
using simd::Vec;

struct Sizes {
    std::int64_t history, padded, rows, front, spec, buffer, itersPerPass;
};

QP_INLINE std::int64_t Round64(std::int64_t bytes) { return (bytes + 63) & ~std::int64_t{63}; }

template <typename T>
QP_INLINE Sizes SizesOf(int tapsLen, int up, int down) {
    constexpr std::int64_t kPad = 64 / sizeof(T);
    Sizes s;
    s.history = (static_cast<std::int64_t>(tapsLen) + up - 1) / up;
    s.padded = (s.history + kPad - 1) / kPad * kPad;
    s.rows = Round64(sizeof(Spec));
    s.front = s.rows + Round64(static_cast<std::int64_t>(up) * s.padded * static_cast<std::int64_t>(sizeof(T)));
    s.spec = s.front + Round64(static_cast<std::int64_t>(up) * 4);
    s.itersPerPass = mrf::kPassInputs / down > 0 ? mrf::kPassInputs / down : 1;
    s.buffer = (mrf::kGuard + s.history + s.itersPerPass * down) * static_cast<std::int64_t>(sizeof(T));
    return s;
}

template <typename T>
QP_INLINE Status Size(int tapsLen, int up, int down, int* specSize, int* bufSize) {
    if (tapsLen <= 0) return qpStsFIRLenErr;
    if (up <= 0 || down <= 0) return qpStsFIRMRFactorErr;
    if (specSize == nullptr || bufSize == nullptr) return qpStsNullPtrErr;
    const Sizes s = SizesOf<T>(tapsLen, up, down);
    if (s.spec > INT_MAX || s.buffer > INT_MAX) return qpStsSizeErr;
    *specSize = static_cast<int>(s.spec);
    *bufSize = static_cast<int>(s.buffer);
    return qpStsNoErr;
}

template <typename T>
QP_INLINE Status Init(const T* taps, int tapsLen, int up, int upPhase, int down, int downPhase, unsigned char* spec,
                      std::int32_t tag) {
    if (tapsLen <= 0) return qpStsFIRLenErr;
    if (up < 0 || down < 0) return qpStsFIRMRFactorErr;
    if (upPhase < 0 || upPhase >= up || downPhase < 0 || downPhase >= down) return qpStsFIRMRPhaseErr;
    if (taps == nullptr || spec == nullptr) return qpStsNullPtrErr;
    const Sizes s = SizesOf<T>(tapsLen, up, down);
    if (s.spec > INT_MAX || s.buffer > INT_MAX) return qpStsSizeErr;

    Spec h;
    h.tag = tag;
    h.tapsLen = tapsLen;
    h.up = up;
    h.down = down;
    h.upPhase = upPhase;
    h.downPhase = downPhase;
    h.history = static_cast<std::int32_t>(s.history);
    h.padded = static_cast<std::int32_t>(s.padded);
    // Reduce downPhase - upPhase into a branch 0 .. up-1, moving the input position along.
    std::int32_t phase = downPhase - upPhase, pos = 0;
    while (phase < 0) {
        phase += up;
        --pos;
    }
    while (phase >= up) {
        phase -= up;
        ++pos;
    }
    h.phase0 = phase;
    h.pos0 = pos;
    h.itersPerPass = static_cast<std::int32_t>(s.itersPerPass);
    h.rowsOffset = static_cast<std::int32_t>(s.rows);
    h.frontOffset = static_cast<std::int32_t>(s.front);
    __builtin_memcpy(spec, &h, sizeof h);

    const int padded = h.padded;
    for (int p = 0; p < up; ++p) {
        const int branchLen = p < tapsLen ? (tapsLen - p + up - 1) / up : 0;
        unsigned char* row = spec + s.rows + static_cast<std::int64_t>(p) * padded * static_cast<std::int64_t>(sizeof(T));
        for (int i = 0; i < padded; ++i) {
            const int m = padded - 1 - i;  // age of the input this value multiplies
            const T value = m < branchLen ? taps[p + static_cast<std::int64_t>(m) * up] : T(0);
            __builtin_memcpy(row + static_cast<std::int64_t>(i) * sizeof(T), &value, sizeof(T));
        }
        const std::int32_t front = padded - branchLen;
        __builtin_memcpy(spec + s.front + 4 * static_cast<std::int64_t>(p), &front, 4);
    }
    return qpStsNoErr;
}

// Dot product of one padded row with the window ending at x[pos]; the first `front` values of the
// row are zero and their inputs are masked out.
template <typename T>
QP_INLINE T Dot(const T* row, const T* window, int padded, int front) {
    constexpr int L = simd::kLanes<T>;
    int v = front / L * L;
    if (v >= padded) return T(0);
    Vec<T> acc = simd::Load(row + v) * iirmrf::And<T>(simd::Load(window + v), iirmrf::MaskFrom<T>(front - v));
    v += L;
    if (v + L <= padded) {
        Vec<T> acc2 = simd::Load(row + v) * simd::Load(window + v);
        v += L;
        for (; v + 2 * L <= padded; v += 2 * L) {
            acc = MulAdd<T>(simd::Load(row + v), simd::Load(window + v), acc);
            acc2 = MulAdd<T>(simd::Load(row + v + L), simd::Load(window + v + L), acc2);
        }
        if (v < padded) acc = MulAdd<T>(simd::Load(row + v), simd::Load(window + v), acc);
        acc += acc2;
    }
    return HorizontalSum<T>(acc);
}

template <typename T>
QP_INLINE Status Filter(const T* src, T* dst, int numIters, const unsigned char* specBytes, const T* dlySrc, T* dlyDst,
                        unsigned char* buf, std::int32_t tag) {
    if (src == nullptr || dst == nullptr || specBytes == nullptr || buf == nullptr) return qpStsNullPtrErr;
    if (numIters <= 0) return qpStsSizeErr;
    Spec s;
    __builtin_memcpy(&s, specBytes, sizeof s);
    if (s.tag != tag) return qpStsContextMatchErr;
    if (static_cast<std::int64_t>(numIters) * s.down > INT_MAX || static_cast<std::int64_t>(numIters) * s.up > INT_MAX) {
        return qpStsSizeErr;
    }
    const T* rows = reinterpret_cast<const T*>(specBytes + s.rowsOffset);
    const unsigned char* front = specBytes + s.frontOffset;
    const int up = s.up, down = s.down, history = s.history, padded = s.padded;

    T* wb = reinterpret_cast<T*>(buf);
    T* xb = wb + mrf::kGuard + history;  // xb[-history .. -1]: the inputs before the pass
    for (int i = 0; i < mrf::kGuard; ++i) wb[i] = T(0);
    for (int i = 0; i < history; ++i) xb[i - history] = dlySrc != nullptr ? dlySrc[i] : T(0);

    int phase = s.phase0, pos = s.pos0;
    for (int done = 0; done < numIters;) {
        const int iters = numIters - done < s.itersPerPass ? numIters - done : s.itersPerPass;
        const int inputs = iters * down;
        const T* in = src + static_cast<std::int64_t>(done) * down;
        for (int i = 0; i < inputs; ++i) xb[i] = in[i];
        T* out = dst + static_cast<std::int64_t>(done) * up;
        const int outputs = iters * up;
        for (int o = 0; o < outputs; ++o) {
            std::int32_t zeros;
            __builtin_memcpy(&zeros, front + 4 * phase, 4);
            out[o] = Dot(rows + static_cast<std::int64_t>(phase) * padded, xb + pos - padded + 1, padded, zeros);
            phase += down;
            if (phase >= up) {
                const int steps = phase / up;
                pos += steps;
                phase -= steps * up;
            }
        }
        // A whole number of iterations moves the position by exactly `inputs`; keep the newest
        // `history` inputs in front of the next pass (forward copy: the target lies below).
        pos -= inputs;
        for (int i = -history; i < 0; ++i) xb[i] = xb[i + inputs];
        done += iters;
    }
    if (dlyDst != nullptr) {
        for (int i = 0; i < history; ++i) dlyDst[i] = xb[i - history];
    }
    return qpStsNoErr;
}

}  // namespace

Status mrf_size_f32(int tapsLen, int up, int down, int* specSize, int* bufSize) {
    return Size<float>(tapsLen, up, down, specSize, bufSize);
}
Status mrf_size_f64(int tapsLen, int up, int down, int* specSize, int* bufSize) {
    return Size<double>(tapsLen, up, down, specSize, bufSize);
}
Status mrf_init_f32(const float* taps, int tapsLen, int up, int upPhase, int down, int downPhase, unsigned char* spec) {
    return Init(taps, tapsLen, up, upPhase, down, downPhase, spec, mrf::kTagF32);
}
Status mrf_init_f64(const double* taps, int tapsLen, int up, int upPhase, int down, int downPhase, unsigned char* spec) {
    return Init(taps, tapsLen, up, upPhase, down, downPhase, spec, mrf::kTagF64);
}
Status mrf_f32(const float* src, float* dst, int numIters, const unsigned char* spec, const float* dlySrc, float* dlyDst,
               unsigned char* buf) {
    return Filter(src, dst, numIters, spec, dlySrc, dlyDst, buf, mrf::kTagF32);
}
Status mrf_f64(const double* src, double* dst, int numIters, const unsigned char* spec, const double* dlySrc,
               double* dlyDst, unsigned char* buf) {
    return Filter(src, dst, numIters, spec, dlySrc, dlyDst, buf, mrf::kTagF64);
}

}  // namespace QP_PATH_NS
}  // namespace qp
