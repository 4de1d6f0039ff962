// FFT primitives of the six kinds: size query, spec initialiser, forward and inverse.
#include "fft/fft_lanes.h"
#include "runtime/kernels.h"
#include <type_traits>

namespace qp {
namespace QP_PATH_NS {

namespace {

using fft::Spec;
using namespace fftk;

// Algorithm hint: 1 (the library's) chooses the method by order; 2 asks for the cache-blocked
// method from order 10 up, whatever the cache (used by the tests to reach it at small sizes).
constexpr int kHintBlocked = 2;
constexpr int kBlockedMinOrder = 10;

QP_INLINE int OrderLimit(int tag) {
    switch (tag) {
        case fft::kKindC32Split:
        case fft::kKindR32:
            return 29;
        case fft::kKindC64Interleaved:
            return 27;
        default:
            return 28;
    }
}

QP_INLINE bool IsReal(int tag) { return tag == fft::kKindR32 || tag == fft::kKindR64; }

// Real kinds, in-cache method: from this order on the forward split step runs inside the last
// radix pass (see LastPassSplitForward) where that pass has radix 4, as every plan of these orders
// has but that of engine order 18 (all radix 8). With radix 8 the fused pass holds twice 16 vectors
// plus the carried inputs and measured slower than the separate split step (real double order 19).
// Any order of the in-cache method qualifies (the fused pass needs M / R >= 2 x the widest lanes).
QP_INLINE int RealFusedMinOrder(int tag) { return tag == fft::kKindR64 ? 14 : 99; }

// Whether a real forward transform of the in-cache method (plan `plan`) fuses its split step.
QP_INLINE bool FusesSplit(int tag, int order, const fft::Plan& plan) {
    return order >= RealFusedMinOrder(tag) && plan.pass[plan.count - 1].radix == 4;
}

// Kinds whose data is interleaved (the real kinds run on interleaved pairs too): the lane method
// reads and writes them in pair-lane order, and their lane tables follow that order.
QP_INLINE bool PairLanesKind(int tag) { return tag != fft::kKindC32Split && tag != fft::kKindC64Split; }

QP_INLINE bool ValidFlag(int flag) {
    return flag == fft::kNormForward || flag == fft::kNormInverse || flag == fft::kNormSqrt || flag == fft::kNormNone;
}

template <typename T>
QP_INLINE T* AlignUp(void* p) {
    const auto a = (reinterpret_cast<std::uintptr_t>(p) + 63) & ~std::uintptr_t{63};
    return reinterpret_cast<T*>(a);
}

// Lays out the body of a spec and its tables (base = start of the spec; null only measures).
// Returns the bytes counted from the start of the specification block; `work` receives the work-buffer size.
template <typename T>
QP_INLINE std::int64_t Layout(int tag, int order, int hint, Spec<T>* spec, std::int64_t& work) {
    Arena arena{reinterpret_cast<unsigned char*>(spec), static_cast<std::int64_t>(sizeof(Spec<T>))};
    fft::Body<T> body{};
    const T* split = nullptr;
    const std::int64_t n = std::int64_t{1} << order;
    int eo = order;
    work = 0;
    if (IsReal(tag) && order <= kRealDirectMaxOrder<T>) {
        body.method = fft::kMethodDirect;
        body.small = BuildRoots<T>(n, n, arena);
    } else {
        if (IsReal(tag)) {
            eo = order - 1;
            split = BuildRoots<T>(n, n / 4 + 1, arena);
        }
        const std::int64_t m = std::int64_t{1} << eo;
        if (eo <= kDirectMaxOrder) {
            body.method = fft::kMethodDirect;
            body.small = BuildRoots<T>(m, m, arena);
            // Widths with N >= L^2 run the whole transform in registers by the lane method (no
            // work buffer: M <= 16); the others keep the scalar kernels.
            if (eo >= kLanesDirectMinOrder) {
                std::int64_t unused = 0;
                BuildLanes<T>(body.lanes, eo, PairLanesKind(tag), arena, unused);
            }
        } else if (eo >= kLanesMinOrder && eo <= kLanesMaxOrder) {
            body.method = fft::kMethodLanes;
            std::int64_t laneWork = 0;
            const bool missing = BuildLanes<T>(body.lanes, eo, PairLanesKind(tag), arena, laneWork);
            // Widths whose N < L^2 run the radix passes.
            if (missing) {
                BuildPlan<T>(spec != nullptr ? &body.main : nullptr, eo, 1, arena);
                const std::int64_t passWork = 2 * m * static_cast<std::int64_t>(sizeof(T));
                if (passWork > laneWork) laneWork = passWork;
            }
            work = laneWork > 0 ? laneWork + fft::kBufferSlack : 0;
        } else if (eo <= kInCacheMaxOrder<T> && !(hint == kHintBlocked && eo >= kBlockedMinOrder)) {
            body.method = fft::kMethodInCache;
            BuildPlan<T>(spec != nullptr ? &body.main : nullptr, eo, 1, arena);
            work = 2 * m * static_cast<std::int64_t>(sizeof(T)) + fft::kBufferSlack;
        } else {
            body.method = fft::kMethodLarge;
            const int rowBits = (eo + 1) / 2, colBits = eo / 2;
            body.rows = 1 << rowBits;
            body.cols = 1 << colBits;
            body.loBits = rowBits;
            body.lo = BuildRoots<T>(m, std::int64_t{1} << rowBits, arena);
            body.hi = BuildRoots<T>(m >> rowBits, m >> rowBits, arena);
            const std::int64_t B = kMaxLanes<T>;
            T* lane = arena.Take<T>(2 * B * body.rows);
            if (lane != nullptr) {
                for (std::int64_t r = 0; r < body.rows; ++r)
                    for (std::int64_t b = 0; b < B; ++b) {
                        long double c, s;
                        Twiddle(r * b, m, c, s);
                        lane[r * B + b] = static_cast<T>(c);
                        lane[B * body.rows + r * B + b] = static_cast<T>(s);
                    }
            }
            body.laneTw = lane;
            BuildPlan<T>(spec != nullptr ? &body.columns : nullptr, rowBits, static_cast<int>(B), arena);
            BuildPlan<T>(spec != nullptr ? &body.rowsPlan : nullptr, colBits, static_cast<int>(B), arena);
            work = LargeWorkBytes<T>(eo) + fft::kBufferSlack;
        }
    }
    body.engineOrder = eo;
    if (spec != nullptr) {
        spec->b = body;
        spec->h.split = split;
        switch (body.method) {
            case fft::kMethodDirect: spec->h.twiddle = body.small; break;
            case fft::kMethodInCache: spec->h.twiddle = static_cast<const T*>(body.main.pass[0].tw); break;
            case fft::kMethodLanes:
                // The first width that runs the lane method, else the radix-pass plan.
                spec->h.twiddle = static_cast<const T*>(body.main.pass[0].tw);
                for (int w = 2; w >= 0; --w)
                    if (body.lanes[w].tw != nullptr) spec->h.twiddle = body.lanes[w].tw;
                break;
            default: spec->h.twiddle = body.lo; break;
        }
    }
    return arena.used;
}

template <typename T>
QP_INLINE Status SizeQuery(int tag, int order, int flag, int hint, int* specSize, int* initSize, int* bufSize) {
    if (order < 0 || order > fft::kMaxOrder) return qpStsFftOrderErr;
    if (specSize == nullptr || initSize == nullptr || bufSize == nullptr) return qpStsNullPtrErr;
    if (!ValidFlag(flag)) return qpStsFftFlagErr;
    if (order > OrderLimit(tag)) return qpStsFftOrderErr;
    std::int64_t work = 0;
    const std::int64_t bytes = Layout<T>(tag, order, hint, nullptr, work);
    *specSize = static_cast<int>(bytes + fft::kSpecAlign);
    *initSize = 0;
    *bufSize = static_cast<int>(work);
    return qpStsNoErr;
}

template <typename T>
QP_INLINE Status Init(int tag, void** pSpec, int order, int flag, int hint, unsigned char* mem) {
    if (pSpec == nullptr) return qpStsNullPtrErr;
    if (order < 0 || order > OrderLimit(tag)) return qpStsFftOrderErr;
    if (mem == nullptr) return qpStsNullPtrErr;
    Spec<T>* spec = AlignUp<Spec<T>>(mem);
    __builtin_memset(static_cast<void*>(spec), 0, fft::kHeaderBytes);
    if (!ValidFlag(flag)) return qpStsFftFlagErr;
    const double n = static_cast<double>(std::int64_t{1} << order);
    spec->h.tag = tag;
    spec->h.order = order;
    spec->h.forwardScaled = (flag == fft::kNormForward || flag == fft::kNormSqrt) ? 1 : 0;
    spec->h.inverseScaled = (flag == fft::kNormInverse || flag == fft::kNormSqrt) ? 1 : 0;
    if (flag == fft::kNormSqrt)
        spec->h.scale = static_cast<T>(1.0 / __builtin_sqrt(n));
    else if (flag == fft::kNormNone)
        spec->h.scale = static_cast<T>(1.0);
    else
        spec->h.scale = static_cast<T>(1.0 / n);
    spec->h.hint = hint;
    std::int64_t work = 0;
    Layout<T>(tag, order, hint, spec, work);
    spec->h.bufferSize = static_cast<std::int32_t>(work);
    *pSpec = spec;
    return qpStsNoErr;
}

// Common checks of the transforms, in order: spec, kind, data pointers, work buffer.
template <typename T>
QP_INLINE Status Check(const void* spec, int tag, bool dataOk, const unsigned char* buf) {
    if (spec == nullptr) return qpStsNullPtrErr;
    const Spec<T>* s = static_cast<const Spec<T>*>(spec);
    if (s->h.tag != tag) return qpStsContextMatchErr;
    if (!dataOk) return qpStsNullPtrErr;
    if (s->h.bufferSize > 0 && buf == nullptr) return qpStsNullPtrErr;
    return qpStsNoErr;
}

// The radix passes of the in-cache method use the destination as their second buffer: as one
// array of per-vector blocks where it is one array (interleaved and real kinds: dstIm = dstRe + N),
// as its two arrays for the split kinds.
template <bool Interleaved, typename T, typename In, typename Out>
QP_INLINE void RunPasses(const fft::Plan& plan, In x, Out y, T* dstRe, T* dstIm, T* work, bool scaled, T scale) {
    if constexpr (Interleaved) {
        (void)dstIm;
        RunInCache<T>(plan, x, y, simd::BlockIn<T>{dstRe}, simd::BlockOut<T>{dstRe}, work, scaled, scale);
    } else {
        RunInCache<T>(plan, x, y, simd::SplitIn<T>{dstRe, dstIm}, simd::SplitOut<T>{dstRe, dstIm}, work, scaled, scale);
    }
}

template <bool Interleaved, typename T, typename In, typename Out>
QP_INLINE void RunComplex(const Spec<T>* s, In x, Out y, T* dstRe, T* dstIm, T* work, bool scaled) {
    const T scale = s->h.scale;
    switch (s->b.method) {
        case fft::kMethodDirect:
            if (s->b.lanes[kWidthIndex].lanes != 0)
                RunLanes<T>(s->b.lanes[kWidthIndex], s->b.engineOrder, simd::PairLanes(x), simd::PairLanes(y), work,
                            scaled, scale);
            else
                Direct<T>(s->b.engineOrder, x, y, s->b.small, scaled ? scale : static_cast<T>(1));
            break;
        case fft::kMethodInCache:
            RunPasses<Interleaved, T>(s->b.main, x, y, dstRe, dstIm, work, scaled, scale);
            break;
        case fft::kMethodLanes:
            if (s->b.lanes[kWidthIndex].lanes != 0)
                RunLanes<T>(s->b.lanes[kWidthIndex], s->b.engineOrder, simd::PairLanes(x), simd::PairLanes(y), work,
                            scaled, scale);
            else
                RunPasses<Interleaved, T>(s->b.main, x, y, dstRe, dstIm, work, scaled, scale);
            break;
        default:
            RunLarge<Interleaved, T>(s, x, y, dstRe, dstIm, work, scaled, scale);
            break;
    }
}

template <typename T>
QP_INLINE Status Split(int tag, bool inverse, const T* sr, const T* si, T* dr, T* di, const void* spec,
                       unsigned char* buf) {
    const Status st = Check<T>(spec, tag, sr != nullptr && si != nullptr && dr != nullptr && di != nullptr, buf);
    if (st != qpStsNoErr) return st;
    const Spec<T>* s = static_cast<const Spec<T>*>(spec);
    T* work = AlignUp<T>(buf);
    if (inverse) {
        RunComplex<false, T>(s, simd::SplitIn<T>{si, sr}, simd::SplitOut<T>{di, dr}, di, dr, work, s->h.inverseScaled != 0);
    } else {
        RunComplex<false, T>(s, simd::SplitIn<T>{sr, si}, simd::SplitOut<T>{dr, di}, dr, di, work, s->h.forwardScaled != 0);
    }
    return qpStsNoErr;
}

template <typename T>
QP_INLINE Status Interleaved(int tag, bool inverse, const T* src, T* dst, const void* spec, unsigned char* buf) {
    const Status st = Check<T>(spec, tag, src != nullptr && dst != nullptr, buf);
    if (st != qpStsNoErr) return st;
    const Spec<T>* s = static_cast<const Spec<T>*>(spec);
    T* work = AlignUp<T>(buf);
    const std::int64_t n = std::int64_t{1} << s->b.engineOrder;
    if (inverse)
        RunComplex<true, T>(s, simd::InterIn<T, true>{src}, simd::InterOut<T, true>{dst}, dst, dst + n, work,
                            s->h.inverseScaled != 0);
    else
        RunComplex<true, T>(s, simd::InterIn<T, false>{src}, simd::InterOut<T, false>{dst}, dst, dst + n, work,
                            s->h.forwardScaled != 0);
    return qpStsNoErr;
}

// --- real kinds -------------------------------------------------------------------------------

// Orders up to kRealDirectMaxOrder: straight-line real transforms, a radix-2 decimation in time
// that stays on real data all the way down. The spectrum of a real input is Hermitian, so each
// half-length transform is formed for bins 0 .. N/4 only (the others are its conjugates) and
//     X[k] = E[k] + W_N^k O[k],    X[N/2 - k] = conj(E[k] - W_N^k O[k])
// gives bins 0 .. N/2 of the whole; bins 0, N/4 and N/2 need no product. That is about half the
// arithmetic of a complex transform of the real input, and fewer roundings than the half-length
// method with its split step (order 4 in double had 1.17 times FFTW's error that way).
// re[k], im[k] receive bin k, k = 0 .. N/2; im[0] and im[N/2] are zero and never formed. The
// twiddles W_N^k are entries k * Step of the table of the whole transform (cos, then -sin).
template <int N, int S, int Step, typename T>
QP_INLINE void RealForwardBins(const T* x, T* re, T* im, const T* wr, const T* wi) {
    if constexpr (N == 1) {
        re[0] = x[0];
    } else if constexpr (N == 2) {
        re[0] = x[0] + x[S];
        re[1] = x[0] - x[S];
    } else {
        constexpr int H = N / 2, Q = N / 4;
        T er[Q + 1], ei[Q + 1], orr[Q + 1], oi[Q + 1];
        RealForwardBins<H, 2 * S, 2 * Step, T>(x, er, ei, wr, wi);
        RealForwardBins<H, 2 * S, 2 * Step, T>(x + S, orr, oi, wr, wi);
        re[0] = er[0] + orr[0];
        re[H] = er[0] - orr[0];
        re[Q] = er[Q];  // W_N^(N/4) = -i; E[Q] and O[Q] are real
        im[Q] = -orr[Q];
#pragma GCC unroll 16
        for (int k = 1; k < Q; ++k) {
            const T c = wr[k * Step], w = wi[k * Step];
            if constexpr (simd::kFusedMulAdd) {
                // Both products accumulated onto E by fused multiply-adds: two roundings per part
                // instead of three (product, multiply-add, sum), with as many operations. Forward
                // order 4 went from 1.003 to 0.98 times FFTW's error in both precisions.
                re[k] = simd::MulAdd(c, orr[k], simd::MulAdd(-w, oi[k], er[k]));
                im[k] = simd::MulAdd(c, oi[k], simd::MulAdd(w, orr[k], ei[k]));
                re[H - k] = simd::MulAdd(-c, orr[k], simd::MulAdd(w, oi[k], er[k]));
                im[H - k] = simd::MulAdd(c, oi[k], simd::MulAdd(w, orr[k], -ei[k]));
            } else {
                const T tr = simd::MulAdd(c, orr[k], -(w * oi[k]));
                const T ti = simd::MulAdd(c, oi[k], w * orr[k]);
                re[k] = er[k] + tr;
                im[k] = ei[k] + ti;
                re[H - k] = er[k] - tr;
                im[H - k] = ti - ei[k];
            }
        }
    }
}

// The inverse, by decimation in frequency on Hermitian data: the even samples are the inverse of
// E[k] = X[k] + conj X[N/2 - k] and the odd ones that of O[k] = (X[k] - conj X[N/2 - k]) conj W_N^k,
// both Hermitian of half the length, so again only bins 0 .. N/4 are formed. Reads re[k], im[k]
// for k = 0 .. N/2 (not im[0], im[N/2]); writes x[n S], n < N, times scale.
template <int N, int S, int Step, typename T>
QP_INLINE void RealInverseSamples(const T* re, const T* im, T* x, const T* wr, const T* wi, T scale) {
    if constexpr (N == 1) {
        x[0] = re[0] * scale;
    } else if constexpr (N == 2) {
        x[0] = (re[0] + re[1]) * scale;
        x[S] = (re[0] - re[1]) * scale;
    } else {
        constexpr int H = N / 2, Q = N / 4;
        T er[Q + 1], ei[Q + 1], orr[Q + 1], oi[Q + 1];
        er[0] = re[0] + re[H];
        orr[0] = re[0] - re[H];
        er[Q] = 2 * re[Q];
        orr[Q] = -2 * im[Q];
#pragma GCC unroll 16
        for (int k = 1; k < Q; ++k) {
            const T c = wr[k * Step], w = wi[k * Step];
            const T dr = re[k] - re[H - k], di = im[k] + im[H - k];
            er[k] = re[k] + re[H - k];
            ei[k] = im[k] - im[H - k];
            orr[k] = simd::MulAdd(dr, c, di * w);
            oi[k] = simd::MulAdd(di, c, -(dr * w));
        }
        RealInverseSamples<H, 2 * S, 2 * Step, T>(er, ei, x, wr, wi, scale);
        RealInverseSamples<H, 2 * S, 2 * Step, T>(orr, oi, x + S, wr, wi, scale);
    }
}

// Order 4 (N = 16): the inverse has a kernel of its own.
//
// Split radix, decimation in frequency on Hermitian data. The even samples are the inverse of
// E[k] = X[k] + X[k + 8], itself Hermitian of length 8 and split the same way. Samples 4n + 1 and
// 4n + 3 are the 4-point inverses of
//   Z1[k] = (X[k] - X[k + 8] + i (X[k + 4] - X[k + 12])) W^-k,
//   Z3[k] = (X[k] - X[k + 8] - i (X[k + 4] - X[k + 12])) W^-3k,   W = e^(-2 pi i / 16),
// both Hermitian: Z[0] and Z[2] are real, Z[2] being sqrt2 times a plain sum and difference of the
// inputs, so each branch rotates one complex value (by pi/8 or 3pi/8) and nothing else. The
// radix-2 form rotates the odd half by W^k and then its odd quarter again by W8: two rounded
// products in a row on those paths. Here every product goes straight into an output sum: the
// rotation's two products and the sqrt2 terms are accumulated by fused multiply-adds onto the
// sums they feed (the factor 2 of each Hermitian pair folded into the constants, which is exact),
// the smaller sine product before the cosine one so that the largest term is added last. With
// 81 operations instead of the radix-2 form's 100, the relative RMS error drops from 1.008 to 0.92
// times FFTW's c2r in double and from 1.011 to 0.93 in single precision. Builds without FMA round
// each multiply-add twice and land at 1.001 times FFTW's error (the radix-2 form: 1.05).
//
// src: re0, im0, re1, im1, ..., re8, im8 (im0 and im8 not read); wr, wi: cos(2 pi k / 16) and
// -sin(2 pi k / 16); dst[n] = x[n] * scale, n < 16. Every input is read before the first store, so
// dst may be src.
template <typename T>
QP_INLINE void RealInverse16(const T* src, T* dst, const T* wr, const T* wi, T scale) {
    const T r0 = src[0], r1 = src[2], i1 = src[3], r2 = src[4], i2 = src[5], r3 = src[6], i3 = src[7];
    const T r4 = src[8], i4 = src[9], r5 = src[10], i5 = src[11], r6 = src[12], i6 = src[13];
    const T r7 = src[14], i7 = src[15], r8 = src[16];
    const T c2 = 2 * wr[1];   // 2 cos(pi / 8)
    const T s2 = -2 * wi[1];  // 2 sin(pi / 8)
    const T q2 = 2 * wr[2];   // sqrt2
    // Odd samples. Z1[0], Z3[0] = re0 - re8 -+ 2 im4; Z1[2] = sqrt2 g1, Z3[2] = -sqrt2 g3;
    // Z1[1] = (ur + i ui) W^-1, Z3[1] = (vr + i vi) W^-3.
    const T p = r0 - r8;
    const T z10 = simd::MulAdd(T(-2), i4, p), z30 = simd::MulAdd(T(2), i4, p);
    const T d2 = r2 - r6, e2 = i2 + i6;
    const T g1 = d2 - e2, g3 = d2 + e2;
    const T a = r1 - r7, b = i3 + i5, c = i1 + i7, d = r5 - r3;
    const T ur = a - b, ui = c + d, vr = a + b, vi = c - d;
    const T ap = simd::MulAdd(q2, g1, z10), am = simd::MulAdd(-q2, g1, z10);  // Z1[0] +- Z1[2]
    const T bp = simd::MulAdd(-q2, g3, z30), bm = simd::MulAdd(q2, g3, z30);  // Z3[0] +- Z3[2]
    // Z1 branch: x[4n + 1] = Z1[0] + (-1)^n Z1[2] + 2 Re(i^n Z1[1]).
    dst[1] = simd::MulAdd(c2, ur, simd::MulAdd(-s2, ui, ap)) * scale;
    dst[9] = simd::MulAdd(-c2, ur, simd::MulAdd(s2, ui, ap)) * scale;
    dst[5] = simd::MulAdd(-c2, ui, simd::MulAdd(-s2, ur, am)) * scale;
    dst[13] = simd::MulAdd(c2, ui, simd::MulAdd(s2, ur, am)) * scale;
    // Z3 branch: x[4n + 3], with W^-3 = sin(pi / 8) + i cos(pi / 8).
    dst[3] = simd::MulAdd(-c2, vi, simd::MulAdd(s2, vr, bp)) * scale;
    dst[11] = simd::MulAdd(c2, vi, simd::MulAdd(-s2, vr, bp)) * scale;
    dst[7] = simd::MulAdd(-c2, vr, simd::MulAdd(-s2, vi, bm)) * scale;
    dst[15] = simd::MulAdd(c2, vr, simd::MulAdd(s2, vi, bm)) * scale;
    // Even samples: E[0] = re0 + re8, E[4] = 2 re4, E[1..3] = X[k] + conj X[8 - k], split again
    // into the 4-point F[k] = E[k] + E[k + 4] (samples 8n, as 0, 4, 8, 12) and the 2-point
    // Y1, Y3 (samples 8n + 2 and 8n + 6), whose W8 rotations are sqrt2 times plain sums.
    const T e0 = r0 + r8;
    const T e1r = r1 + r7, e1i = i1 - i7, e2r = r2 + r6, e2i = i2 - i6, e3r = r3 + r5, e3i = i3 - i5;
    const T f0 = simd::MulAdd(T(2), r4, e0), q = simd::MulAdd(T(-2), r4, e0);  // E[0] +- E[4]
    const T f1r = e1r + e3r, f1i = e1i - e3i;
    const T y10 = simd::MulAdd(T(-2), e2i, q), y30 = simd::MulAdd(T(2), e2i, q);
    const T h = e1r - e3r, k = e1i + e3i;
    const T y1 = h - k, y3 = h + k;  // Y1[1] = sqrt2 y1, Y3[1] = -sqrt2 y3
    dst[2] = simd::MulAdd(q2, y1, y10) * scale;
    dst[10] = simd::MulAdd(-q2, y1, y10) * scale;
    dst[6] = simd::MulAdd(-q2, y3, y30) * scale;
    dst[14] = simd::MulAdd(q2, y3, y30) * scale;
    const T fp = simd::MulAdd(T(2), e2r, f0), fm = simd::MulAdd(T(-2), e2r, f0);  // F[0] +- F[2]
    dst[0] = simd::MulAdd(T(2), f1r, fp) * scale;
    dst[8] = simd::MulAdd(T(-2), f1r, fp) * scale;
    dst[4] = simd::MulAdd(T(-2), f1i, fm) * scale;
    dst[12] = simd::MulAdd(T(2), f1i, fm) * scale;
}

template <int K, typename T>
QP_INLINE void RealDirectForward(const T* src, T* dst, const T* roots, T scale) {
    constexpr int N = 1 << K;
    if constexpr (K == 0) {
        dst[0] = src[0] * scale;
        dst[1] = 0;
    } else {
        T re[N / 2 + 1], im[N / 2 + 1];
        RealForwardBins<N, 1, 1, T>(src, re, im, roots, roots + N);
        dst[0] = re[0] * scale;
        dst[1] = 0;
#pragma GCC unroll 16
        for (int k = 1; k < N / 2; ++k) {
            dst[2 * k] = re[k] * scale;
            dst[2 * k + 1] = im[k] * scale;
        }
        dst[N] = re[N / 2] * scale;
        dst[N + 1] = 0;
    }
}

template <int K, typename T>
QP_INLINE void RealDirectInverse(const T* src, T* dst, const T* roots, T scale) {
    constexpr int N = 1 << K;
    if constexpr (K == 0) {
        dst[0] = src[0] * scale;
    } else if constexpr (K == 4) {
        RealInverse16<T>(src, dst, roots, roots + N, scale);
    } else {
        T re[N / 2 + 1], im[N / 2 + 1];
#pragma GCC unroll 16
        for (int k = 0; k <= N / 2; ++k) {
            re[k] = src[2 * k];
            im[k] = src[2 * k + 1];
        }
        RealInverseSamples<N, 1, 1, T>(re, im, dst, roots, roots + N, scale);
    }
}

template <typename T>
QP_INLINE void RealDirect(bool inverse, int order, const T* src, T* dst, const T* roots, T scale) {
    static_assert(kRealDirectMaxOrder<T> == 4, "one case per order");
    switch (order) {
#define QP_REAL_CASE(k)                                      \
    case k:                                                  \
        if (inverse)                                         \
            RealDirectInverse<k, T>(src, dst, roots, scale); \
        else                                                 \
            RealDirectForward<k, T>(src, dst, roots, scale); \
        break;
        QP_REAL_CASE(0)
        QP_REAL_CASE(1)
        QP_REAL_CASE(2)
        QP_REAL_CASE(3)
        QP_REAL_CASE(4)
        default:
            break;
#undef QP_REAL_CASE
    }
}

// Split step of the half-length method: Z[k] (k < M) -> packed X (N + 2 values).
// With A = Z[k] + conj Z[M - k] and B = Z[k] - conj Z[M - k]: X[k] = (A - i W_N^k B) / 2 and
// X[M - k] = conj(A + i W_N^k B) / 2. Where the build has FMA, each part of an output is A's part
// plus the two products of B and W accumulated by two fused multiply-adds: two roundings instead of
// four (product, product, sum, sum), which takes a few percent off the real kinds' error. Without
// FMA that chain would round six times, so those builds form the product W B first. The factor 1/2
// (times the scale) is applied last.
//
// Carry (double precision at the orders of CarriesSplit): the rounding errors of the sums A and B
// are kept (two-sum) and passed through the same linear map, and the result is added to the
// outputs: the step's own error drops by a tenth, which is what the real double transforms of those
// orders needed to stay below FFTW's error, for about three times the arithmetic of the step.

// The rounding error of s = x + y, exact whatever the magnitudes of x and y.
template <typename V>
QP_INLINE V SumError(V x, V y, V s) {
    const V yy = s - x;
    return (x - (s - yy)) + (y - yy);
}

// The four parts of a forward pair before the factor: Re X[k], Im X[k], Re X[M - k], -Im X[M - k],
// from A = (ar, ai), B = (br, bi) and W = (w0, w1).
struct ForwardParts {
    template <typename V>
    static QP_INLINE void Map(V ar, V ai, V br, V bi, V w0, V w1, V o[4]) {
        if constexpr (simd::kFusedMulAdd) {
            const V nbr = -br, nbi = -bi;
            o[0] = simd::MulAdd(bi, w0, simd::MulAdd(br, w1, ar));
            o[1] = simd::MulAdd(bi, w1, simd::MulAdd(nbr, w0, ai));
            o[2] = simd::MulAdd(nbi, w0, simd::MulAdd(nbr, w1, ar));
            o[3] = simd::MulAdd(br, w0, simd::MulAdd(nbi, w1, ai));
        } else {
            const V cr = w0 * br - w1 * bi, ci = w0 * bi + w1 * br;
            o[0] = ar + ci;
            o[1] = ai - cr;
            o[2] = ar - ci;
            o[3] = ai + cr;
        }
    }
};

// The parts of a pair (Parts: ForwardParts or InverseParts) from its values u = Z[k] or X[k] and
// v = Z[M - k] or X[M - k]: the map of the sum u + conj v and the difference u - conj v.
template <typename Parts, bool Carry, typename V>
QP_INLINE void PairParts(V ur, V ui, V vr, V vi, V w0, V w1, V o[4]) {
    const V ar = ur + vr, ai = ui - vi, br = ur - vr, bi = ui + vi;
    Parts::Map(ar, ai, br, bi, w0, w1, o);
    if constexpr (Carry) {
        V e[4];
        Parts::Map(SumError(ur, vr, ar), SumError(ui, -vi, ai), SumError(ur, -vr, br), SumError(ui, vi, bi), w0, w1, e);
        for (int i = 0; i < 4; ++i) o[i] += e[i];
    }
}

// One vector pair: zk holds Z[k .. k + L - 1], zj holds Z[j0 .. j0 + L - 1] with j0 = M - k - L + 1
// (its lanes in reverse are the mirrors of zk's); xk and xj receive X at the same indices.
// The split step alone and the last radix pass with the split fused in share it, so both round alike.
template <typename T, bool Carry = false>
QP_INLINE void SplitForwardVec(std::int64_t k, CVec<T> zk, CVec<T> zj, const T* wr, const T* wi, Vec<T> hv,
                               Vec<T> nhv, CVec<T>& xk, CVec<T>& xj) {
    Vec<T> o[4];
    PairParts<ForwardParts, Carry>(zk.re, zk.im, simd::Reverse<T>(zj.re), simd::Reverse<T>(zj.im), simd::Load(wr + k),
                             simd::Load(wi + k), o);
    xk = {o[0] * hv, o[1] * hv};
    xj = {simd::Reverse<T>(o[2] * hv), simd::Reverse<T>(o[3] * nhv)};
}

// One scalar pair k, j = M - k (k <= M / 2; at k = M / 2 both outputs are the same value).
template <typename T, bool Carry = false>
QP_INLINE void SplitForwardOne(T* d, std::int64_t k, std::int64_t j, T zkr, T zki, T zjr, T zji, const T* wr,
                               const T* wi, T h) {
    T o[4];
    PairParts<ForwardParts, Carry>(zkr, zki, zjr, zji, wr[k], wi[k], o);
    d[2 * k] = o[0] * h;
    d[2 * k + 1] = o[1] * h;
    d[2 * j] = o[2] * h;
    d[2 * j + 1] = o[3] * -h;
}

// Bins 0 and N / 2 from Z[0].
template <typename T>
QP_INLINE void SplitForwardEnds(T* d, std::int64_t m, T z0r, T z0i, T scale) {
    d[0] = (z0r + z0i) * scale;
    d[1] = 0;
    d[2 * m] = (z0r - z0i) * scale;
    d[2 * m + 1] = 0;
}

// The split step as a pass of its own, in place on d.
template <typename T, bool Carry>
QP_INLINE void SplitForward(T* d, std::int64_t m, const T* split, std::int64_t splitCount, T scale) {
    const T h = static_cast<T>(0.5) * scale;
    const T* wr = split;
    const T* wi = split + splitCount;
    constexpr int L = simd::kLanes<T>;
    std::int64_t k = 1;
    // Vector body: k .. k + L - 1 against M - k - L + 1 .. M - k. M / 2 is a multiple of L, so the
    // blocks from k = 1 end exactly at M / 2, where the last block and its mirror share the single
    // index M / 2: both loads come before the stores and both halves compute the same value there,
    // so that block is done in vectors too and no scalar tail remains (M >= 2 L).
    const Vec<T> hv = simd::Broadcast<T>(h), nhv = simd::Broadcast<T>(-h);
    for (; k + L - 1 <= m - k - L + 1; k += L) {
        const std::int64_t j0 = m - k - L + 1;  // lowest index of the mirrored block
        CVec<T> xk, xj;
        SplitForwardVec<T, Carry>(k, simd::InterIn<T>{d}.Load(k), simd::InterIn<T>{d}.Load(j0), wr, wi, hv, nhv, xk,
                                  xj);
        simd::InterOut<T>{d}.Store(k, xk);
        simd::InterOut<T>{d}.Store(j0, xj);
    }
    for (; k <= m / 2; ++k) {
        const std::int64_t j = m - k;
        SplitForwardOne<T, Carry>(d, k, j, d[2 * k], d[2 * k + 1], d[2 * j], d[2 * j + 1], wr, wi, h);
    }
    SplitForwardEnds<T>(d, m, d[0], d[1], scale);
}

// Inverse split: packed X (src) -> 2 Z[k] in dst, k < M; positions 1 and N + 1 are not read. With
// A = X[k] + conj X[M - k] and E = X[k] - conj X[M - k]: 2 Z[k] = A + i E conj(W_N^k) and
// 2 Z[M - k] = conj(A - i E conj(W_N^k)), accumulated onto A's parts as in the forward split (and
// with the sums' errors carried in the same way).
// The four parts Re 2 Z[k], Im 2 Z[k], Re 2 Z[M - k], Im 2 Z[M - k] from A = (ar, ai), E = (er, ei).
// (Not the forward map with E conjugated: the products accumulate in another order.)
struct InverseParts {
    template <typename V>
    static QP_INLINE void Map(V ar, V ai, V er, V ei, V w0, V w1, V o[4]) {
        if constexpr (simd::kFusedMulAdd) {
            const V ner = -er, nei = -ei;
            o[0] = simd::MulAdd(er, w1, simd::MulAdd(nei, w0, ar));
            o[1] = simd::MulAdd(ei, w1, simd::MulAdd(er, w0, ai));
            o[2] = simd::MulAdd(ner, w1, simd::MulAdd(ei, w0, ar));
            o[3] = simd::MulAdd(ei, w1, simd::MulAdd(er, w0, -ai));
        } else {
            const V br = er * w1 - ei * w0, bi = er * w0 + ei * w1;
            o[0] = ar + br;
            o[1] = ai + bi;
            o[2] = ar - br;
            o[3] = bi - ai;
        }
    }
};

template <typename T, bool Carry>
QP_INLINE void SplitInverse(const T* s, T* d, std::int64_t m, const T* split, std::int64_t splitCount) {
    const T* wr = split;
    const T* wi = split + splitCount;
    const T x0 = s[0], xm = s[2 * m];
    constexpr int L = simd::kLanes<T>;
    std::int64_t k = 1;
    // As in the forward split, the last block meets its mirror at M / 2 only.
    for (; k + L - 1 <= m - k - L + 1; k += L) {
        const std::int64_t j0 = m - k - L + 1;
        const CVec<T> xk = simd::InterIn<T>{s}.Load(k);
        const CVec<T> xj = simd::InterIn<T>{s}.Load(j0);
        Vec<T> o[4];
        PairParts<InverseParts, Carry>(xk.re, xk.im, simd::Reverse<T>(xj.re), simd::Reverse<T>(xj.im), simd::Load(wr + k),
                                 simd::Load(wi + k), o);
        simd::InterOut<T>{d}.Store(k, CVec<T>{o[0], o[1]});
        simd::InterOut<T>{d}.Store(j0, CVec<T>{simd::Reverse<T>(o[2]), simd::Reverse<T>(o[3])});
    }
    for (; k <= m / 2; ++k) {
        const std::int64_t j = m - k;
        T o[4];
        PairParts<InverseParts, Carry>(s[2 * k], s[2 * k + 1], s[2 * j], s[2 * j + 1], wr[k], wi[k], o);
        d[2 * k] = o[0];
        d[2 * k + 1] = o[1];
        d[2 * j] = o[2];
        d[2 * j + 1] = o[3];
    }
    d[0] = x0 + xm;
    d[1] = x0 - xm;
}

// --- the split step fused into the radix passes (in-cache method, large orders) -----------------
//
// The last pass of the forward half-length transform (radix R, stride s = M / R, all twiddles 1)
// runs butterfly q on Z[q + r s], r < R, and writes its outputs at q + r s. The mirror
// M - (q + r s) = (s - q) + (R - 1 - r) s is output R - 1 - r of butterfly s - q. Running the
// vector block of butterflies q0 .. q0 + L - 1 together with the block s - q0 - L + 1 .. s - q0
// therefore holds every pair (k, M - k) in registers (lanes of one block reversed), and the split
// step is applied before the stores: the separate pass over the data, the most of the real kinds'
// cost beyond the complex transform at large orders, is gone. Blocks start at q0 = 1, so that the
// mirror blocks are aligned and the last block meets its mirror at s / 2 (a multiple of L when
// s >= 2 L), as in the split step alone; butterfly 0 maps onto itself (pairs r s and (R - r) s,
// bin M / 2 and bins 0 and N / 2) and is finished in scalars. The arithmetic is that of the split
// step (same functions), so the results are the same.
template <int R, typename T, typename In>
QP_FFT_LOCAL void LastPassSplitForward(In x, T* d, std::int64_t m, const T* split,
                                       std::int64_t splitCount, T scale) {
    constexpr int L = simd::kLanes<T>;
    const std::int64_t s = m / R;
    const T h = static_cast<T>(0.5) * scale;
    const T* wr = split;
    const T* wi = split + splitCount;
    const Vec<T> hv = simd::Broadcast<T>(h), nhv = simd::Broadcast<T>(-h);
    // The blocks from q0 = 1 are read as aligned blocks shifted down by one lane: cr and ci carry
    // the aligned block q0 - 1 .. q0 + L - 2 of every input from one iteration to the next. Plain
    // unaligned loads measured slower (likely because the R inputs are a power of two apart and
    // share a few L1 sets, so the line that an unaligned load shares with the next block is gone by
    // then). Carrying the outputs the same way to store aligned vectors made no measurable difference.
    Vec<T> cr[R], ci[R];
    {
        Vec<T> re[R], im[R];
        for (int r = 0; r < R; ++r) {
            const CVec<T> v = x.Load(r * s);
            re[r] = cr[r] = v.re;
            im[r] = ci[r] = v.im;
        }
        Dft<R, T>(re, im);
        T zr[R], zi[R];  // lane 0: butterfly q = 0
        for (int r = 0; r < R; ++r) {
            T lr[L], li[L];
            simd::Store(lr, re[r]);
            simd::Store(li, im[r]);
            zr[r] = lr[0];
            zi[r] = li[0];
        }
        for (int r = 1; r <= R / 2; ++r)
            SplitForwardOne<T>(d, r * s, (R - r) * s, zr[r], zi[r], zr[R - r], zi[R - r], wr, wi, h);
        SplitForwardEnds<T>(d, m, zr[0], zi[0], scale);
    }
    for (std::int64_t q0 = 1; q0 + L - 1 <= s - q0 - L + 1; q0 += L) {
        const std::int64_t j0 = s - q0 - L + 1;
        Vec<T> ar[R], ai[R], br[R], bi[R];
        for (int r = 0; r < R; ++r) {
            const CVec<T> u = x.Load(q0 - 1 + L + r * s), v = x.Load(j0 + r * s);
            ar[r] = simd::ShiftDown<1, T>(cr[r], u.re);
            ai[r] = simd::ShiftDown<1, T>(ci[r], u.im);
            cr[r] = u.re;
            ci[r] = u.im;
            br[r] = v.re;
            bi[r] = v.im;
        }
        Dft<R, T>(ar, ai);
        Dft<R, T>(br, bi);
        for (int r = 0; r < R / 2; ++r) {
            const int t = R - 1 - r;
            const simd::InterOut<T> y{d};
            CVec<T> xk, xj;
            SplitForwardVec<T>(q0 + r * s, CVec<T>{ar[r], ai[r]}, CVec<T>{br[t], bi[t]}, wr, wi, hv, nhv, xk, xj);
            y.Store(q0 + r * s, xk);
            y.Store(j0 + t * s, xj);
            SplitForwardVec<T>(j0 + r * s, CVec<T>{br[r], bi[r]}, CVec<T>{ar[t], ai[t]}, wr, wi, hv, nhv, xk, xj);
            y.Store(j0 + r * s, xk);
            y.Store(q0 + t * s, xj);
        }
    }
}

// The forward real transform of the in-cache method with the split step fused into the last pass.
template <typename T>
QP_INLINE void RealFusedForward(const Spec<T>* s, const T* src, T* dst, T* work, std::int64_t m,
                                std::int64_t splitCount, T scale) {
    const fft::Plan& plan = s->b.main;
    FirstPass<T>(simd::InterIn<T>{src}, simd::BlockOut<T>{work}, plan.pass[0], m);
    MiddlePasses<T>(plan, simd::BlockIn<T>{dst}, simd::BlockOut<T>{dst}, work);
    const simd::BlockIn<T> fromWork{work};
    LastPassSplitForward<4, T>(fromWork, dst, m, s->h.split, splitCount, scale);  // radix 4 (see FusesSplit)
}

// Real double orders whose split step carries its sums' rounding errors (PairParts): those
// where the plain step left the transform above FFTW's error (forward orders 11 and 12: 1.011 and
// 1.005 times; inverse order 7: 1.005) or within half a percent below it (forward order 7, inverse
// orders 11 and 12). Carrying takes 20 to 30 % more time at these orders (forward order 11 went
// from 0.78 to 0.98 times FFTW's time), so the other orders, 1.5 % or more below FFTW's error, keep
// the plain step. Builds without FMA round differently throughout and do not carry.
template <typename T>
constexpr bool CarriesSplit(int order) {
    return std::is_same<T, double>::value && simd::kFusedMulAdd && (order == 7 || order == 11 || order == 12);
}

template <typename T>
QP_INLINE Status Real(int tag, bool inverse, const T* src, T* dst, const void* spec, unsigned char* buf) {
    const Status st = Check<T>(spec, tag, src != nullptr && dst != nullptr, buf);
    if (st != qpStsNoErr) return st;
    const Spec<T>* s = static_cast<const Spec<T>*>(spec);
    const int order = s->h.order;
    const bool scaled = inverse ? s->h.inverseScaled != 0 : s->h.forwardScaled != 0;
    const T scale = scaled ? s->h.scale : static_cast<T>(1);
    if (order <= kRealDirectMaxOrder<T>) {
        RealDirect<T>(inverse, order, src, dst, s->b.small, scale);
        return qpStsNoErr;
    }
    T* work = AlignUp<T>(buf);
    const std::int64_t m = std::int64_t{1} << (order - 1);
    const std::int64_t splitCount = (2 * m) / 4 + 1;
    const bool carry = CarriesSplit<T>(order);
    if (inverse) {
        if (carry)
            SplitInverse<T, true>(src, dst, m, s->h.split, splitCount);
        else
            SplitInverse<T, false>(src, dst, m, s->h.split, splitCount);
        RunComplex<true, T>(s, simd::InterIn<T, true>{dst}, simd::InterOut<T, true>{dst}, dst, dst + m, work, scaled);
    } else if (s->b.method == fft::kMethodInCache && FusesSplit(tag, order, s->b.main)) {
        RealFusedForward<T>(s, src, dst, work, m, splitCount, scale);
    } else {
        RunComplex<true, T>(s, simd::InterIn<T, false>{src}, simd::InterOut<T, false>{dst}, dst, dst + m, work, false);
        if (carry)
            SplitForward<T, true>(dst, m, s->h.split, splitCount, scale);
        else
            SplitForward<T, false>(dst, m, s->h.split, splitCount, scale);
    }
    return qpStsNoErr;
}

// Small transforms: narrower vectors win. A 64-byte vector holds more points than the transform
// has rows (N < L^2 leaves the lane method out), and below a few hundred points the 16- and 32-byte
// builds, which run the lane method, measured 1.5 to 5 times faster than the 64-byte one. The wide
// builds therefore hand these orders to the narrower build of the same primitive (every processor
// that runs them runs the narrower builds too). 0: this build; 16 or 32: the build of that width.
// The test-only 512-bit build lowered to AVX2 keeps its own kernels, so that they stay tested.
#if QP_VEC_BYTES == 64 && defined(__AVX512F__)
#define QP_FFT_NARROWER 2
#elif QP_VEC_BYTES == 32 && defined(__AVX__)
#define QP_FFT_NARROWER 1
#else
#define QP_FFT_NARROWER 0
#endif

QP_INLINE int NarrowerWidth(const void* spec) {
    if (QP_FFT_NARROWER == 0 || spec == nullptr) return 0;
    const fft::Header<float>* h = static_cast<const fft::Header<float>*>(spec);  // tag and order lead both headers
    const int order = h->order;
    int width = 0;
    switch (h->tag) {
        case fft::kKindC32Split:
        case fft::kKindC32Interleaved:
            width = (order == 4 || order == 5) ? 16 : ((order == 6 || order == 7) ? 32 : 0);
            break;
        case fft::kKindR32:
            width = (order == 5 || order == 6) ? 16 : ((order == 7 || order == 8) ? 32 : 0);
            break;
        case fft::kKindC64Split:
        case fft::kKindC64Interleaved:
            width = (order == 2 || order == 3) ? 16 : ((order == 4 || order == 5) ? 32 : 0);
            break;
        case fft::kKindR64:
            width = (order == 5 || order == 6) ? 32 : 0;
            break;
        default:
            break;
    }
    return width < QP_VEC_BYTES ? width : 0;
}

}  // namespace

// The 32-byte build for path 6 is its own at 32-byte vectors (path6n): with AVX-512VL it has 32
// vector registers, where the 16 of path 4 spill (10 to 15 % faster at the orders handed over). The
// 16-byte build for the builds with fused multiply-adds is the FFT at 16-byte vectors with their
// instruction sets (path4q, path6q): every twiddle product fuses as in the wider builds, where the
// 16-byte path 2 build rounds its products and sums apart (its errors were up to 3 % above those of
// the fused builds).
#if defined(__AVX512VL__)
#define QP_FFT_WIDTH32 path6n
#define QP_FFT_WIDTH16 path6q
#elif defined(__FMA__)
#define QP_FFT_WIDTH32 path4
#define QP_FFT_WIDTH16 path4q
#else
#define QP_FFT_WIDTH16 path2
#endif
#if QP_FFT_NARROWER == 2
#define QP_FFT_HAND_OVER(name, ...)                                   \
    switch (NarrowerWidth(spec)) {                                    \
        case 16: return QP_FFT_WIDTH16::name(__VA_ARGS__);            \
        case 32: return QP_FFT_WIDTH32::name(__VA_ARGS__);            \
        default: break;                                               \
    }
#elif QP_FFT_NARROWER == 1
#define QP_FFT_HAND_OVER(name, ...) \
    if (NarrowerWidth(spec) == 16) return QP_FFT_WIDTH16::name(__VA_ARGS__);
#else
#define QP_FFT_HAND_OVER(name, ...)
#endif

#define QP_FFT_KIND(suffix, T, tag)                                                                           \
    Status fft_size_##suffix(int order, int flag, int hint, int* specSize, int* initSize, int* bufSize) {    \
        return SizeQuery<T>(tag, order, flag, hint, specSize, initSize, bufSize);                            \
                                \
    }                                                                                                         \
    Status fft_init_##suffix(void** spec, int order, int flag, int hint, unsigned char* mem,                 \
                             unsigned char* initBuf) {                                                        \
        (void)initBuf;                                                                                        \
        return Init<T>(tag, spec, order, flag, hint, mem);                                                   \
    }

QP_FFT_KIND(c32i, float, fft::kKindC32Interleaved)
QP_FFT_KIND(c32s, float, fft::kKindC32Split)
QP_FFT_KIND(r32, float, fft::kKindR32)
QP_FFT_KIND(c64i, double, fft::kKindC64Interleaved)
QP_FFT_KIND(c64s, double, fft::kKindC64Split)
QP_FFT_KIND(r64, double, fft::kKindR64)
#undef QP_FFT_KIND

Status fft_fwd_c32i(const float* src, float* dst, const void* spec, unsigned char* buf) {
    QP_FFT_HAND_OVER(fft_fwd_c32i, src, dst, spec, buf)
    return Interleaved<float>(fft::kKindC32Interleaved, false, src, dst, spec, buf);
}
Status fft_inv_c32i(const float* src, float* dst, const void* spec, unsigned char* buf) {
    QP_FFT_HAND_OVER(fft_inv_c32i, src, dst, spec, buf)
    return Interleaved<float>(fft::kKindC32Interleaved, true, src, dst, spec, buf);
}
Status fft_fwd_c64i(const double* src, double* dst, const void* spec, unsigned char* buf) {
    QP_FFT_HAND_OVER(fft_fwd_c64i, src, dst, spec, buf)
    return Interleaved<double>(fft::kKindC64Interleaved, false, src, dst, spec, buf);
}
Status fft_inv_c64i(const double* src, double* dst, const void* spec, unsigned char* buf) {
    QP_FFT_HAND_OVER(fft_inv_c64i, src, dst, spec, buf)
    return Interleaved<double>(fft::kKindC64Interleaved, true, src, dst, spec, buf);
}
Status fft_fwd_c32s(const float* srcRe, const float* srcIm, float* dstRe, float* dstIm, const void* spec,
                    unsigned char* buf) {
    QP_FFT_HAND_OVER(fft_fwd_c32s, srcRe, srcIm, dstRe, dstIm, spec, buf)
    return Split<float>(fft::kKindC32Split, false, srcRe, srcIm, dstRe, dstIm, spec, buf);
}
Status fft_inv_c32s(const float* srcRe, const float* srcIm, float* dstRe, float* dstIm, const void* spec,
                    unsigned char* buf) {
    QP_FFT_HAND_OVER(fft_inv_c32s, srcRe, srcIm, dstRe, dstIm, spec, buf)
    return Split<float>(fft::kKindC32Split, true, srcRe, srcIm, dstRe, dstIm, spec, buf);
}
Status fft_fwd_c64s(const double* srcRe, const double* srcIm, double* dstRe, double* dstIm, const void* spec,
                    unsigned char* buf) {
    QP_FFT_HAND_OVER(fft_fwd_c64s, srcRe, srcIm, dstRe, dstIm, spec, buf)
    return Split<double>(fft::kKindC64Split, false, srcRe, srcIm, dstRe, dstIm, spec, buf);
}
Status fft_inv_c64s(const double* srcRe, const double* srcIm, double* dstRe, double* dstIm, const void* spec,
                    unsigned char* buf) {
    QP_FFT_HAND_OVER(fft_inv_c64s, srcRe, srcIm, dstRe, dstIm, spec, buf)
    return Split<double>(fft::kKindC64Split, true, srcRe, srcIm, dstRe, dstIm, spec, buf);
}
Status fft_fwd_r32(const float* src, float* dst, const void* spec, unsigned char* buf) {
    QP_FFT_HAND_OVER(fft_fwd_r32, src, dst, spec, buf)
    return Real<float>(fft::kKindR32, false, src, dst, spec, buf);
}
Status fft_inv_r32(const float* src, float* dst, const void* spec, unsigned char* buf) {
    QP_FFT_HAND_OVER(fft_inv_r32, src, dst, spec, buf)
    return Real<float>(fft::kKindR32, true, src, dst, spec, buf);
}
Status fft_fwd_r64(const double* src, double* dst, const void* spec, unsigned char* buf) {
    QP_FFT_HAND_OVER(fft_fwd_r64, src, dst, spec, buf)
    return Real<double>(fft::kKindR64, false, src, dst, spec, buf);
}
Status fft_inv_r64(const double* src, double* dst, const void* spec, unsigned char* buf) {
    QP_FFT_HAND_OVER(fft_inv_r64, src, dst, spec, buf)
    return Real<double>(fft::kKindR64, true, src, dst, spec, buf);
}

#undef QP_FFT_HAND_OVER

}  // namespace QP_PATH_NS
}  // namespace qp
