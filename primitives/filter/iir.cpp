// IIR filter kernels: arbitrary order and biquad cascades, single and double precision.
//
// Biquad sections run in blocks of K outputs (K = 8, or 16 for 16-lane vectors): the K outputs are
// the zero-state response to the block's inputs (a lower-triangular matrix of the impulse response,
// one broadcast input times one column per input) plus the response to the state at the block's
// start (two more columns). The state at the block's end is F * state + u, where u follows from the
// last two inputs and zero-state outputs; so the only serial dependency from block to block is a
// 2 x 2 matrix product, and everything else runs in vectors across the block. Lengths that do not
// fill a block finish with the plain recursion.
//
// The arbitrary order form splits each pass of up to kChunk samples into its numerator, a FIR over
// the inputs computed in vectors across samples, plus the delay line's contribution to the first N
// outputs, and the all-pole recursion over the outputs of the pass. The transposed direct form II
// delay line at the end of the pass follows from the pass's last N inputs and outputs.
//
// Every kernel checks its pointers, then its sizes, before it writes anything.
#include <climits>
#include <cstdint>

#include "filter/iir_layout.h"
#include "simd/iirmrf.h"
#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {

namespace {

using iir::Section;
using iir::State;
using iirmrf::MulAdd;
using simd::Vec;

struct Layout {
    std::int64_t coef, dly, xs, ys, w, total;
};

QP_INLINE std::int64_t Round64(std::int64_t bytes) { return (bytes + 63) & ~std::int64_t{63}; }

template <typename T>
QP_INLINE Layout ArbitraryLayout(int order) {
    const std::int64_t n = order, e = sizeof(T);
    Layout l;
    l.coef = Round64(sizeof(State<T>));
    l.dly = l.coef + Round64(2 * (n + 1) * e);
    l.xs = l.dly + Round64(n * e);
    l.ys = l.xs + Round64((n + iir::kChunk) * e);
    l.w = l.ys + Round64((n + iir::kChunk) * e);
    l.total = l.w + Round64(iir::kChunk * e) + iir::kAlign;
    return l;
}

template <typename T>
QP_INLINE Layout BiquadLayout(int sections) {
    const std::int64_t m = sections;
    Layout l;
    l.coef = Round64(sizeof(State<T>));
    l.dly = l.coef + Round64(m * static_cast<std::int64_t>(sizeof(Section<T>)));
    l.xs = l.ys = l.w = 0;
    l.total = l.dly + Round64(2 * m * static_cast<std::int64_t>(sizeof(T))) + iir::kAlign;
    return l;
}

template <typename T, bool kBiquad>
QP_INLINE Status StateSize(int order, int* size) {
    if (size == nullptr) return qpStsNullPtrErr;
    if (order <= 0) return qpStsIIROrderErr;
    const Layout l = kBiquad ? BiquadLayout<T>(order) : ArbitraryLayout<T>(order);
    if (l.total > INT_MAX) return qpStsIIROrderErr;
    *size = static_cast<int>(l.total);
    return qpStsNoErr;
}

QP_INLINE unsigned char* AlignUp(unsigned char* p) {
    const std::uintptr_t a = reinterpret_cast<std::uintptr_t>(p);
    return p + ((iir::kAlign - a % iir::kAlign) % iir::kAlign);
}

template <typename T>
QP_INLINE void CopyOrZero(T* dst, const T* src, int n) {
    if (src != nullptr) {
        for (int i = 0; i < n; ++i) dst[i] = src[i];
    } else {
        for (int i = 0; i < n; ++i) dst[i] = T(0);
    }
}

template <typename T>
QP_INLINE State<T>* PlaceState(unsigned char* buffer, const Layout& l, std::int32_t tag, int order) {
    unsigned char* base = AlignUp(buffer);
    State<T>* st = reinterpret_cast<State<T>*>(base);
    st->tag = tag;
    st->order = order;
    st->coef = reinterpret_cast<T*>(base + l.coef);
    st->dly = reinterpret_cast<T*>(base + l.dly);
    st->xs = l.xs != 0 ? reinterpret_cast<T*>(base + l.xs) : nullptr;
    st->ys = l.ys != 0 ? reinterpret_cast<T*>(base + l.ys) : nullptr;
    st->w = l.w != 0 ? reinterpret_cast<T*>(base + l.w) : nullptr;
    return st;
}

template <typename T>
QP_INLINE Status InitArbitrary(void** ppState, const T* taps, int order, const T* dlyLine, unsigned char* buffer,
                               std::int32_t tag) {
    if (taps == nullptr || ppState == nullptr || buffer == nullptr) return qpStsNullPtrErr;
    if (order <= 0) return qpStsIIROrderErr;
    const Layout l = ArbitraryLayout<T>(order);
    if (l.total > INT_MAX) return qpStsIIROrderErr;
    const T a0 = taps[order + 1];
    if (a0 == T(0)) return qpStsDivByZeroErr;

    State<T>* st = PlaceState<T>(buffer, l, tag, order);
    T* b = st->coef;
    T* a = st->coef + order + 1;
    CopyOrZero(st->dly, dlyLine, order);
    for (int k = 0; k <= order; ++k) b[k] = taps[k] / a0;
    a[0] = T(1);
    for (int k = 1; k <= order; ++k) a[k] = taps[order + 1 + k] / a0;
    for (int k = 0; k < order; ++k) st->xs[k] = st->ys[k] = T(0);
    *ppState = st;
    return qpStsNoErr;
}

// Normalised coefficients and the block tables of one section (tables in long double from the
// normalised coefficients, so that the block form and the plain recursion run the same filter).
template <typename T>
QP_INLINE void BuildSection(Section<T>* s, const T* t) {
    const T a0 = t[3];
    s->b0 = t[0] / a0;
    s->b1 = t[1] / a0;
    s->b2 = t[2] / a0;
    s->a1 = t[4] / a0;
    s->a2 = t[5] / a0;
    for (T& r : s->reserved) r = T(0);
    const long double b0 = s->b0, b1 = s->b1, b2 = s->b2, a1 = s->a1, a2 = s->a2;
    long double d0 = 0, d1 = 0;
    for (int k = 0; k < iir::kMaxBlock; ++k) {
        const long double x = k == 0 ? 1 : 0;
        const long double y = b0 * x + d0;
        d0 = b1 * x - a1 * y + d1;
        d1 = b2 * x - a2 * y;
        s->hz[k] = T(0);
        s->hz[iir::kMaxBlock + k] = static_cast<T>(y);
    }
    for (int column = 0; column < 2; ++column) {
        d0 = column == 0 ? 1 : 0;
        d1 = column == 1 ? 1 : 0;
        T* response = column == 0 ? s->p : s->q;
        for (int k = 0; k < iir::kMaxBlock; ++k) {
            const long double y = d0;
            d0 = -a1 * y + d1;
            d1 = -a2 * y;
            response[k] = static_cast<T>(y);
            T* f = k == 7 ? s->f8 : k == 15 ? s->f16 : nullptr;
            if (f != nullptr) {
                f[column] = static_cast<T>(d0);
                f[2 + column] = static_cast<T>(d1);
            }
        }
    }
}

template <typename T>
QP_INLINE Status InitBiquad(void** ppState, const T* taps, int sections, const T* dlyLine, unsigned char* buffer,
                            std::int32_t tag) {
    if (taps == nullptr || ppState == nullptr || buffer == nullptr) return qpStsNullPtrErr;
    if (sections <= 0) return qpStsIIROrderErr;
    const Layout l = BiquadLayout<T>(sections);
    if (l.total > INT_MAX) return qpStsIIROrderErr;
    for (int m = 0; m < sections; ++m) {
        if (taps[6 * m + 3] == T(0)) return qpStsDivByZeroErr;
    }
    State<T>* st = PlaceState<T>(buffer, l, tag, sections);
    CopyOrZero(st->dly, dlyLine, 2 * sections);
    Section<T>* sec = reinterpret_cast<Section<T>*>(st->coef);
    for (int m = 0; m < sections; ++m) BuildSection(&sec[m], taps + 6 * m);
    *ppState = st;
    return qpStsNoErr;
}

// One section over n samples from x to y (y may be x), state (d0, d1) carried in and out.
template <typename T>
QP_INLINE void RunSection(const Section<T>& s, const T* x, T* y, int n, T* state) {
    constexpr int L = simd::kLanes<T>;
    constexpr int K = L > 8 ? L : 8;
    constexpr int V = K / L;
    static_assert(K <= iir::kMaxBlock, "block tables hold 16 outputs");
    const T* f = K == 8 ? s.f8 : s.f16;
    const T b0 = s.b0, b1 = s.b1, b2 = s.b2, a1 = s.a1, a2 = s.a2;
    const T f00 = f[0], f01 = f[1], f10 = f[2], f11 = f[3];
    T d0 = state[0], d1 = state[1];

    // Column i, vector v: outputs v*L .. v*L+L-1 of a unit input at i. Columns i >= (v+1)*L of
    // vector v are zero and skipped.
    Vec<T> col[K][V], pv[V], qv[V];
#pragma GCC unroll 16
    for (int i = 0; i < K; ++i) {
#pragma GCC unroll 16
        for (int v = 0; v < V; ++v) col[i][v] = simd::Load(s.hz + iir::kMaxBlock - i + v * L);
    }
#pragma GCC unroll 16
    for (int v = 0; v < V; ++v) {
        pv[v] = simd::Load(s.p + v * L);
        qv[v] = simd::Load(s.q + v * L);
    }

    int i = 0;
    for (; i + K <= n; i += K) {
        Vec<T> acc[V];
#pragma GCC unroll 16
        for (int v = 0; v < V; ++v) acc[v] = simd::Broadcast(x[i]) * col[0][v];
#pragma GCC unroll 16
        for (int j = 1; j < K; ++j) {
            const Vec<T> xj = simd::Broadcast(x[i + j]);
#pragma GCC unroll 16
            for (int v = j / L; v < V; ++v) acc[v] = MulAdd<T>(xj, col[j][v], acc[v]);
        }
        // State at the block's end for a zero start, from the last two inputs and outputs.
        const T xk1 = x[i + K - 1], xk2 = x[i + K - 2];
        const T yk1 = acc[V - 1][L - 1], yk2 = acc[V - 1][L - 2];
        const T u0 = simd::MulAdd(b1, xk1, simd::MulAdd(b2, xk2, simd::MulAdd(-a1, yk1, -a2 * yk2)));
        const T u1 = simd::MulAdd(b2, xk1, -a2 * yk1);
        const Vec<T> vd0 = simd::Broadcast(d0), vd1 = simd::Broadcast(d1);
#pragma GCC unroll 16
        for (int v = 0; v < V; ++v) simd::Store(y + i + v * L, MulAdd<T>(vd0, pv[v], MulAdd<T>(vd1, qv[v], acc[v])));
        const T n0 = simd::MulAdd(f00, d0, simd::MulAdd(f01, d1, u0));
        const T n1 = simd::MulAdd(f10, d0, simd::MulAdd(f11, d1, u1));
        d0 = n0;
        d1 = n1;
    }
    for (; i < n; ++i) {
        const T xi = x[i];
        const T yi = simd::MulAdd(b0, xi, d0);
        d0 = simd::MulAdd(b1, xi, simd::MulAdd(-a1, yi, d1));
        d1 = simd::MulAdd(b2, xi, -a2 * yi);
        y[i] = yi;
    }
    state[0] = d0;
    state[1] = d1;
}

template <typename T>
QP_INLINE void RunCascade(State<T>* st, const T* src, T* dst, int len) {
    // Passes short enough to stay in the first-level cache while every section runs over them.
    constexpr int kPass = 4096 / static_cast<int>(sizeof(T));
    const Section<T>* sec = reinterpret_cast<const Section<T>*>(st->coef);
    for (int c0 = 0; c0 < len; c0 += kPass) {
        const int c = len - c0 < kPass ? len - c0 : kPass;
        RunSection(sec[0], src + c0, dst + c0, c, st->dly);
        for (int m = 1; m < st->order; ++m) RunSection(sec[m], dst + c0, dst + c0, c, st->dly + 2 * m);
    }
}

template <typename T>
QP_INLINE void RunArbitrary(State<T>* st, const T* src, T* dst, int len) {
    constexpr int L = simd::kLanes<T>;
    const int order = st->order;
    const T* b = st->coef;
    const T* a = st->coef + order + 1;
    T* d = st->dly;
    T* xb = st->xs + order;  // xb[-order .. -1] and yb[-order .. -1] stay zero
    T* yb = st->ys + order;
    T* w = st->w;
    for (int c0 = 0; c0 < len; c0 += iir::kChunk) {
        const int c = len - c0 < iir::kChunk ? len - c0 : iir::kChunk;
        for (int n = 0; n < c; ++n) xb[n] = src[c0 + n];

        // Numerator over the pass's inputs, in vectors across samples.
        int n = 0;
        for (; n + L <= c; n += L) {
            Vec<T> acc = simd::Broadcast(b[0]) * simd::Load(xb + n);
            for (int j = 1; j <= order; ++j) acc = MulAdd<T>(simd::Broadcast(b[j]), simd::Load(xb + n - j), acc);
            simd::Store(w + n, acc);
        }
        for (; n < c; ++n) {
            T acc = b[0] * xb[n];
            for (int j = 1; j <= order; ++j) acc = simd::MulAdd(b[j], xb[n - j], acc);
            w[n] = acc;
        }
        // The past's share of the first outputs is the delay line itself.
        for (int k = 0; k < order && k < c; ++k) w[k] += d[k];

        // All-pole recursion; the newest output enters last, so only one operation is serial.
        T yprev = T(0);
        for (int k = 0; k < c; ++k) {
            T acc = w[k];
            for (int j = order; j >= 2; --j) acc = simd::MulAdd(-a[j], yb[k - j], acc);
            const T yk = simd::MulAdd(-a[1], yprev, acc);
            yb[k] = yk;
            dst[c0 + k] = yk;
            yprev = yk;
        }

        // Delay line after the pass: the pass's own terms plus what is left of the old delay line.
        for (int k = 0; k < order; ++k) {
            T s = k + c < order ? d[k + c] : T(0);
            const int last = k + c < order ? k + c : order;
            for (int j = k + 1; j <= last; ++j) {
                s = simd::MulAdd(b[j], xb[c + k - j], s);
                s = simd::MulAdd(-a[j], yb[c + k - j], s);
            }
            d[k] = s;
        }
    }
}

template <typename T>
QP_INLINE Status Filter(const T* src, T* dst, int len, void* state, std::int32_t arbitraryTag,
                        std::int32_t biquadTag) {
    if (src == nullptr || dst == nullptr || state == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    State<T>* st = static_cast<State<T>*>(state);
    if (st->tag == biquadTag) {
        RunCascade(st, src, dst, len);
    } else if (st->tag == arbitraryTag) {
        RunArbitrary(st, src, dst, len);
    } else {
        return qpStsContextMatchErr;
    }
    return qpStsNoErr;
}

template <typename T>
QP_INLINE int DelayLength(const State<T>* st, std::int32_t biquadTag) {
    return st->tag == biquadTag ? 2 * st->order : st->order;
}

template <typename T>
QP_INLINE Status GetDelay(const void* state, T* dlyLine, std::int32_t arbitraryTag, std::int32_t biquadTag) {
    if (state == nullptr || dlyLine == nullptr) return qpStsNullPtrErr;
    const State<T>* st = static_cast<const State<T>*>(state);
    if (st->tag != arbitraryTag && st->tag != biquadTag) return qpStsContextMatchErr;
    CopyOrZero(dlyLine, st->dly, DelayLength(st, biquadTag));
    return qpStsNoErr;
}

template <typename T>
QP_INLINE Status SetDelay(void* state, const T* dlyLine, std::int32_t arbitraryTag, std::int32_t biquadTag) {
    if (state == nullptr) return qpStsNullPtrErr;
    State<T>* st = static_cast<State<T>*>(state);
    if (st->tag != arbitraryTag && st->tag != biquadTag) return qpStsContextMatchErr;
    CopyOrZero(st->dly, dlyLine, DelayLength(st, biquadTag));
    return qpStsNoErr;
}

}  // namespace

Status iir_state_size_f32(int order, int* stateSize) { return StateSize<float, false>(order, stateSize); }
Status iir_state_size_f64(int order, int* stateSize) { return StateSize<double, false>(order, stateSize); }
Status iir_state_size_bq_f32(int numBq, int* stateSize) { return StateSize<float, true>(numBq, stateSize); }
Status iir_state_size_bq_f64(int numBq, int* stateSize) { return StateSize<double, true>(numBq, stateSize); }

Status iir_init_f32(void** state, const float* taps, int order, const float* dlyLine, unsigned char* buffer) {
    return InitArbitrary(state, taps, order, dlyLine, buffer, iir::kTagArbitraryF32);
}
Status iir_init_f64(void** state, const double* taps, int order, const double* dlyLine, unsigned char* buffer) {
    return InitArbitrary(state, taps, order, dlyLine, buffer, iir::kTagArbitraryF64);
}
Status iir_init_bq_f32(void** state, const float* taps, int numBq, const float* dlyLine, unsigned char* buffer) {
    return InitBiquad(state, taps, numBq, dlyLine, buffer, iir::kTagBiquadF32);
}
Status iir_init_bq_f64(void** state, const double* taps, int numBq, const double* dlyLine, unsigned char* buffer) {
    return InitBiquad(state, taps, numBq, dlyLine, buffer, iir::kTagBiquadF64);
}

Status iir_f32(const float* src, float* dst, int len, void* state) {
    return Filter(src, dst, len, state, iir::kTagArbitraryF32, iir::kTagBiquadF32);
}
Status iir_f64(const double* src, double* dst, int len, void* state) {
    return Filter(src, dst, len, state, iir::kTagArbitraryF64, iir::kTagBiquadF64);
}

Status iir_get_dly_f32(const void* state, float* dlyLine) {
    return GetDelay(state, dlyLine, iir::kTagArbitraryF32, iir::kTagBiquadF32);
}
Status iir_get_dly_f64(const void* state, double* dlyLine) {
    return GetDelay(state, dlyLine, iir::kTagArbitraryF64, iir::kTagBiquadF64);
}
Status iir_set_dly_f32(void* state, const float* dlyLine) {
    return SetDelay(state, dlyLine, iir::kTagArbitraryF32, iir::kTagBiquadF32);
}
Status iir_set_dly_f64(void* state, const double* dlyLine) {
    return SetDelay(state, dlyLine, iir::kTagArbitraryF64, iir::kTagBiquadF64);
}

}  // namespace QP_PATH_NS
}  // namespace qp
