// The complex FFT engine shared by every kind: table set-up at initialisation, the straight-line
// kernels of the smallest orders, the autosorting radix passes of the in-cache method and the
// cache-blocked method of large orders. Compiled once per code path; everything is always inlined.
//
// Passes. A plan is a sequence of radix-2/4/8 Stockham passes. A pass of radix R over a sub-length
// n = N / s reads the R inputs of each butterfly at distance N / R, multiplies output k by W_n^(k p)
// and writes it at q + s (R p + k) (p < n / R, q < s), so the result comes out in natural order
// without a bit-reversal step. Two loop forms:
//  - s >= 64 bytes of lanes ("column" form): one twiddle set per p, broadcast, lanes run over q;
//  - s smaller: lanes run over the flat index i = p s + q, twiddles come from a table expanded to
//    one entry per i, and the R results are chunk-interleaved in registers before the stores.
// Both forms read and write whole vectors only, so one table layout serves every vector width.
//
// Buffers. A single transform ping-pongs between the work buffer and the destination: plans have an
// even number of passes, pass 1 reads the source and writes the work buffer, the last pass writes the
// destination, so a destination equal to the source is never written before the source is read.
//
// Large orders (N = rows x cols, rows = cols or 2 cols): column transforms in batches of 64 bytes of
// columns gathered into the work buffer, with the twiddles W_N^(column * row) applied on the way back;
// an in-place transpose; column transforms of the transposed matrix, which leave the result in
// natural order and apply the scale.
#pragma once

#include <cstddef>
#include <cstdint>

#include "fft/fft_spec.h"
#include "simd/fft.h"

extern "C" long double sinl(long double) noexcept;
extern "C" long double cosl(long double) noexcept;

namespace qp {
namespace QP_PATH_NS {
namespace fftk {
namespace {

using fft::Plan;
using fft::Spec;
using simd::CVec;
using simd::Vec;

// Lanes of the widest path: tables are laid out for it, so a spec serves every path.
template <typename T>
constexpr int kMaxLanes = 64 / static_cast<int>(sizeof(T));

// Largest order of the straight-line kernels (complex), and the last order of the in-cache method
// (measured with the 32 MiB L3 of the development machine: the autosorting passes beat the blocked
// method up to order 22 in both precisions, 64 MiB of work buffer in double; at orders 20 to 22 in
// double the blocked method took 1.3 to 2 times as long).
constexpr int kDirectMaxOrder = 5;
template <typename T>
constexpr int kInCacheMaxOrder = 22;
// Real kinds: straight-line real kernels up to this order, the half-length method above (at order
// 5 the straight-line kernel measured no faster in double and 20 % slower in single precision).
template <typename T>
constexpr int kRealDirectMaxOrder = 4;

// ---------------------------------------------------------------------------------------------
// Twiddles

// e^(-2 pi i k / n), reduced to the first octant so that the quarter and eighth turns are exact
// and symmetric entries are bit-identical.
QP_INLINE void Twiddle(std::int64_t k, std::int64_t n, long double& c, long double& s) {
    k &= n - 1;
    if (n < 4) {
        c = k == 0 ? 1.0L : -1.0L;
        s = 0.0L;
        return;
    }
    const std::int64_t quarter = n / 4;
    const std::int64_t q = k / quarter;
    std::int64_t r = k % quarter;
    const long double kPi = 3.141592653589793238462643383279502884L;
    long double cr, sr;  // cos and sin of 2 pi r / n, r < n / 4
    if (2 * r <= quarter) {
        const long double a = 2.0L * kPi * static_cast<long double>(r) / static_cast<long double>(n);
        cr = cosl(a);
        sr = sinl(a);
    } else {
        const long double a = 2.0L * kPi * static_cast<long double>(quarter - r) / static_cast<long double>(n);
        cr = sinl(a);
        sr = cosl(a);
    }
    // e^(-i theta) rotated by (-i)^q
    long double re = cr, im = -sr;
    for (std::int64_t t = 0; t < q; ++t) {
        const long double nr = im, ni = -re;
        re = nr;
        im = ni;
    }
    c = re;
    s = im;
}

// Bump allocation of the tables inside the spec block; with a null base it only measures.
struct Arena {
    unsigned char* base;
    std::int64_t used;
    template <typename T>
    QP_INLINE T* Take(std::int64_t count) {
        used = (used + 63) & ~std::int64_t{63};
        T* p = base != nullptr ? reinterpret_cast<T*>(base + used) : nullptr;
        used += count * static_cast<std::int64_t>(sizeof(T));
        return p;
    }
};

// Radices of a plan over 2^order points in batches of `batch`: as few passes as radix 8 allows,
// even in number for single transforms; the expanded-table passes need N / R >= the widest lanes.
template <typename T>
QP_INLINE void ChooseRadices(int order, int batch, int* bits, int& count) {
    const std::int64_t total = (std::int64_t{1} << order) * batch;
    int passes = (order + 2) / 3;
    if (passes < 1) passes = 1;
    if (batch == 1 && (passes & 1)) ++passes;
    for (;; passes += (batch == 1 ? 2 : 1)) {
        const int base = order / passes, extra = order % passes;
        bool ok = base >= 1 || (base == 0 && extra == passes);
        std::int64_t s = batch;
        for (int i = 0; i < passes && ok; ++i) {
            bits[i] = base + (i < extra ? 1 : 0);
            if (bits[i] < 1 || bits[i] > 3) ok = false;
            if (s < kMaxLanes<T> && (total >> bits[i]) < kMaxLanes<T>) ok = false;
            s <<= bits[i];
        }
        if (ok) {
            count = passes;
            return;
        }
    }
}

// Column-form twiddles of one pass of radix R over sub-length n: per p < n / R, the R - 1 values
// W_n^(k p), re and im.
template <typename T>
QP_INLINE T* ColumnTwiddles(std::int64_t n, int R, Arena& arena) {
    const std::int64_t m = n / R;
    T* tw = arena.Take<T>(m * (R - 1) * 2);
    if (tw != nullptr) {
        for (std::int64_t p = 0; p < m; ++p)
            for (int k = 1; k < R; ++k) {
                long double c, sn;
                Twiddle(k * p, n, c, sn);
                tw[(p * (R - 1) + (k - 1)) * 2] = static_cast<T>(c);
                tw[(p * (R - 1) + (k - 1)) * 2 + 1] = static_cast<T>(sn);
            }
    }
    return tw;
}

// Records pass i of a plan (none while only sizes are taken).
QP_INLINE void SetPass(Plan* plan, int i, int R, std::int64_t s, const void* tw) {
    if (plan == nullptr) return;
    plan->pass[i].radix = R;
    plan->pass[i].stride = static_cast<std::int32_t>(s);
    plan->pass[i].tw = tw;
}

// Builds a plan and its twiddle tables. Column-form passes (s >= widest lanes) store, per p, the
// R - 1 twiddles re, im; expanded passes store R - 1 blocks of N / R real parts then imaginary parts.
template <typename T>
QP_INLINE void BuildPlan(Plan* plan, int order, int batch, Arena& arena) {
    int bits[fft::kMaxPasses];
    int count = 0;
    ChooseRadices<T>(order, batch, bits, count);
    const std::int64_t total = (std::int64_t{1} << order) * batch;
    std::int64_t s = batch;
    if (plan != nullptr) {
        plan->order = order;
        plan->batch = batch;
        plan->count = count;
    }
    for (int i = 0; i < count; ++i) {
        const int R = 1 << bits[i];
        const std::int64_t n = total / s;  // sub-length
        const std::int64_t m = n / R;
        T* tw;
        if (s >= kMaxLanes<T>) {
            tw = ColumnTwiddles<T>(n, R, arena);
        } else {
            const std::int64_t part = total / R;
            tw = arena.Take<T>(part * (R - 1) * 2);
            if (tw != nullptr) {
                for (int k = 1; k < R; ++k) {
                    T* re = tw + (k - 1) * 2 * part;
                    T* im = re + part;
                    for (std::int64_t p = 0; p < m; ++p) {
                        long double c, sn;
                        Twiddle(k * p, n, c, sn);
                        for (std::int64_t q = 0; q < s; ++q) {
                            re[p * s + q] = static_cast<T>(c);
                            im[p * s + q] = static_cast<T>(sn);
                        }
                    }
                }
            }
        }
        SetPass(plan, i, R, s, tw);
        s *= R;
    }
}

// Table of W_n^k, k < count, real parts then imaginary parts.
template <typename T>
QP_INLINE T* BuildRoots(std::int64_t n, std::int64_t count, Arena& arena) {
    T* t = arena.Take<T>(2 * count);
    if (t != nullptr) {
        for (std::int64_t k = 0; k < count; ++k) {
            long double c, s;
            Twiddle(k, n, c, s);
            t[k] = static_cast<T>(c);
            t[count + k] = static_cast<T>(s);
        }
    }
    return t;
}

// ---------------------------------------------------------------------------------------------
// Butterflies (forward direction; outputs in natural order, before the pass twiddles)

// In-place R-point transforms of R complex vectors held as separate real and imaginary arrays,
// natural order in and out. They work on plain vector arrays: copies of arrays of CVec structures
// are scalarised badly by the compiler (64-bit pieces through the integer registers).
template <int R, typename T>
QP_INLINE void Dft(Vec<T>* re, Vec<T>* im) {
    if constexpr (R == 2) {
        const Vec<T> r = re[0] - re[1], i = im[0] - im[1];
        re[0] = re[0] + re[1];
        im[0] = im[0] + im[1];
        re[1] = r;
        im[1] = i;
    } else if constexpr (R == 4) {
        const Vec<T> ar = re[0] + re[2], ai = im[0] + im[2], br = re[0] - re[2], bi = im[0] - im[2];
        const Vec<T> cr = re[1] + re[3], ci = im[1] + im[3], dr = re[1] - re[3], di = im[1] - im[3];
        re[0] = ar + cr;
        im[0] = ai + ci;
        re[2] = ar - cr;
        im[2] = ai - ci;
        // b -/+ i d
        re[1] = br + di;
        im[1] = bi - dr;
        re[3] = br - di;
        im[3] = bi + dr;
    } else {
        static_assert(R == 8, "radix 2, 4 or 8");
        const Vec<T> h = simd::Broadcast<T>(static_cast<T>(0.70710678118654752440084436210484904L));
        Vec<T> br[4], bi[4], cr[4], ci[4];
        for (int j = 0; j < 4; ++j) {
            br[j] = re[j] + re[j + 4];
            bi[j] = im[j] + im[j + 4];
            cr[j] = re[j] - re[j + 4];
            ci[j] = im[j] - im[j + 4];
        }
        if constexpr (simd::kFusedMulAdd) {
            // The odd outputs are the 4-point transform of (c0, W_8 c1, -i c2, W_8^3 c3), and
            // W_8 c1 = h u1, W_8^3 c3 = h u3 with u1, u3 sums of c's parts: the 4-point transform
            // adds and subtracts h (u1 + u3) and h (u1 - u3), so the factor h goes into fused
            // multiply-adds of the last stage. Three roundings on the way to an odd output instead
            // of four, and fewer operations.
            const Vec<T> nh = -h;
            const Vec<T> u1r = cr[1] + ci[1], u1i = ci[1] - cr[1];
            const Vec<T> u3r = ci[3] - cr[3], u3i = -(cr[3] + ci[3]);
            const Vec<T> ar = cr[0] + ci[2], ai = ci[0] - cr[2];  // c0 + (-i c2)
            const Vec<T> gr = cr[0] - ci[2], gi = ci[0] + cr[2];  // c0 - (-i c2)
            const Vec<T> er = u1r + u3r, ei = u1i + u3i, fr = u1r - u3r, fi = u1i - u3i;
            Dft<4, T>(br, bi);
            for (int k = 0; k < 4; ++k) {
                re[2 * k] = br[k];
                im[2 * k] = bi[k];
            }
            re[1] = simd::MulAdd<T>(h, er, ar);
            im[1] = simd::MulAdd<T>(h, ei, ai);
            re[5] = simd::MulAdd<T>(nh, er, ar);
            im[5] = simd::MulAdd<T>(nh, ei, ai);
            re[3] = simd::MulAdd<T>(h, fi, gr);
            im[3] = simd::MulAdd<T>(nh, fr, gi);
            re[7] = simd::MulAdd<T>(nh, fi, gr);
            im[7] = simd::MulAdd<T>(h, fr, gi);
            return;
        }
        // c1 *= W_8, c2 *= -i, c3 *= W_8^3
        const Vec<T> c1r = (cr[1] + ci[1]) * h, c1i = (ci[1] - cr[1]) * h;
        const Vec<T> c3r = (ci[3] - cr[3]) * h, c3i = -(cr[3] + ci[3]) * h;
        const Vec<T> c2r = ci[2], c2i = -cr[2];
        cr[1] = c1r;
        ci[1] = c1i;
        cr[2] = c2r;
        ci[2] = c2i;
        cr[3] = c3r;
        ci[3] = c3i;
        Dft<4, T>(br, bi);
        Dft<4, T>(cr, ci);
        for (int k = 0; k < 4; ++k) {
            re[2 * k] = br[k];
            im[2 * k] = bi[k];
            re[2 * k + 1] = cr[k];
            im[2 * k + 1] = ci[k];
        }
    }
}

template <int R, typename T>
QP_INLINE void Butterfly(CVec<T>* a) {
    Vec<T> re[R], im[R];
    for (int k = 0; k < R; ++k) {
        re[k] = a[k].re;
        im[k] = a[k].im;
    }
    Dft<R, T>(re, im);
    for (int k = 0; k < R; ++k) {
        a[k].re = re[k];
        a[k].im = im[k];
    }
}

// R-way chunk interleave of R vectors (chunks of S lanes): out holds, in order, chunk 0 of every
// input, then chunk 1 of every input, and so on.
template <int R, int S, typename T>
QP_INLINE void Interleave(Vec<T>* v) {
    if constexpr (R > 1) {
        Vec<T> lo[R / 2], hi[R / 2];
        for (int j = 0; j < R / 2; ++j) simd::Zip<S, T>(v[j], v[j + R / 2], lo[j], hi[j]);
        Interleave<R / 2, S, T>(lo);
        Interleave<R / 2, S, T>(hi);
        for (int j = 0; j < R / 2; ++j) {
            v[j] = lo[j];
            v[j + R / 2] = hi[j];
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Passes

// Column form: s >= lanes.
template <int R, bool Scaled, typename T, typename In, typename Out>
QP_INLINE void PassColumns(In x, Out y, std::int64_t total, std::int64_t s, const T* tw, T scale) {
    constexpr int L = simd::kLanes<T>;
    const std::int64_t part = total / R, m = part / s;
    const Vec<T> sv = simd::Broadcast<T>(scale);
    for (std::int64_t p = 0; p < m; ++p) {
        CVec<T> w[R];
        for (int k = 1; k < R; ++k) {
            w[k].re = simd::Broadcast<T>(tw[(p * (R - 1) + k - 1) * 2]);
            w[k].im = simd::Broadcast<T>(tw[(p * (R - 1) + k - 1) * 2 + 1]);
        }
        // part is hidden from the optimiser so that the R input rows are addressed from i and one
        // stride register: hoisting every i + k part into its own induction pointer (2 R of them
        // for split data) spilled them to the stack, which made the first column pass of split
        // data 2.7 times slower than that of interleaved data.
        std::int64_t pt = part;
        __asm__("" : "+r"(pt));
        for (std::int64_t q = 0; q < s; q += L) {
            const std::int64_t i = p * s + q;
            CVec<T> a[R];
            for (int k = 0; k < R; ++k) a[k] = x.Load(i + k * pt);
            Butterfly<R, T>(a);
            for (int k = 1; k < R; ++k) a[k] = simd::Mul(a[k], w[k]);
            if (Scaled)
                for (int k = 0; k < R; ++k) a[k] = simd::Scale(a[k], sv);
            const std::int64_t o = q + s * R * p;
            for (int k = 0; k < R; ++k) y.Store(o + k * s, a[k]);
        }
    }
}

// Expanded form with s < lanes: results chunk-interleaved in registers (chunks of S = s lanes).
template <int R, int S, bool Scaled, typename T, typename In, typename Out>
QP_INLINE void PassFlatZip(In x, Out y, std::int64_t total, const T* tw, T scale) {
    constexpr int L = simd::kLanes<T>;
    const std::int64_t part = total / R;
    const Vec<T> sv = simd::Broadcast<T>(scale);
    for (std::int64_t i = 0; i < part; i += L) {
        CVec<T> a[R];
        for (int k = 0; k < R; ++k) a[k] = x.Load(i + k * part);
        Butterfly<R, T>(a);
        for (int k = 1; k < R; ++k) {
            const T* t = tw + (k - 1) * 2 * part + i;
            a[k] = simd::Mul(a[k], CVec<T>{simd::Load(t), simd::Load(t + part)});
        }
        if (Scaled)
            for (int k = 0; k < R; ++k) a[k] = simd::Scale(a[k], sv);
        Vec<T> re[R], im[R];
        for (int k = 0; k < R; ++k) {
            re[k] = a[k].re;
            im[k] = a[k].im;
        }
        Interleave<R, S, T>(re);
        Interleave<R, S, T>(im);
        for (int k = 0; k < R; ++k) y.Store(R * i + k * L, CVec<T>{re[k], im[k]});
    }
}

// Expanded form with lanes <= s < widest lanes: whole vectors per output row.
template <int R, bool Scaled, typename T, typename In, typename Out>
QP_INLINE void PassFlat(In x, Out y, std::int64_t total, std::int64_t s, const T* tw, T scale) {
    constexpr int L = simd::kLanes<T>;
    const std::int64_t part = total / R;
    const Vec<T> sv = simd::Broadcast<T>(scale);
    for (std::int64_t i = 0; i < part; i += L) {
        CVec<T> a[R];
        for (int k = 0; k < R; ++k) a[k] = x.Load(i + k * part);
        Butterfly<R, T>(a);
        for (int k = 1; k < R; ++k) {
            const T* t = tw + (k - 1) * 2 * part + i;
            a[k] = simd::Mul(a[k], CVec<T>{simd::Load(t), simd::Load(t + part)});
        }
        if (Scaled)
            for (int k = 0; k < R; ++k) a[k] = simd::Scale(a[k], sv);
        const std::int64_t p = i / s, q = i % s;
        const std::int64_t o = q + s * R * p;
        for (int k = 0; k < R; ++k) y.Store(o + k * s, a[k]);
    }
}

template <int R, bool Scaled, typename T, typename In, typename Out>
QP_INLINE void PassOfRadix(In x, Out y, std::int64_t total, std::int64_t s, const T* tw, T scale) {
    constexpr int L = simd::kLanes<T>;
    if (s >= kMaxLanes<T>) {
        PassColumns<R, Scaled, T>(x, y, total, s, tw, scale);
    } else if (s >= L) {
        PassFlat<R, Scaled, T>(x, y, total, s, tw, scale);
    } else if (s == 1) {
        PassFlatZip<R, 1, Scaled, T>(x, y, total, tw, scale);
    } else if constexpr (L >= 4) {
        if (s == 2) {
            PassFlatZip<R, 2, Scaled, T>(x, y, total, tw, scale);
        } else if constexpr (L >= 8) {
            if (s == 4) {
                PassFlatZip<R, 4, Scaled, T>(x, y, total, tw, scale);
            } else if constexpr (L >= 16) {
                PassFlatZip<R, 8, Scaled, T>(x, y, total, tw, scale);
            }
        }
    }
}

// Pass drivers. They are separate (local) functions, not inlined into each other, which keeps the
// number of instantiated loop bodies small: the first pass of a single transform always has s = 1,
// the last one always has s >= the widest lanes (the plan guarantees N / R >= widest lanes for
// every expanded pass), and batched plans only have column-form passes.
#define QP_FFT_LOCAL __attribute__((noinline))

template <typename T, typename In, typename Out>
QP_FFT_LOCAL void FirstPass(In x, Out y, const fft::Pass& pass, std::int64_t total) {
    const T* tw = static_cast<const T*>(pass.tw);
    switch (pass.radix) {
        case 2: PassFlatZip<2, 1, false, T>(x, y, total, tw, T(1)); break;
        case 4: PassFlatZip<4, 1, false, T>(x, y, total, tw, T(1)); break;
        default: PassFlatZip<8, 1, false, T>(x, y, total, tw, T(1)); break;
    }
}

template <bool Scaled, typename T, typename In, typename Out>
QP_FFT_LOCAL void ColumnPass(In x, Out y, const fft::Pass& pass, std::int64_t total, T scale) {
    const T* tw = static_cast<const T*>(pass.tw);
    switch (pass.radix) {
        case 2: PassColumns<2, Scaled, T>(x, y, total, pass.stride, tw, scale); break;
        case 4: PassColumns<4, Scaled, T>(x, y, total, pass.stride, tw, scale); break;
        default: PassColumns<8, Scaled, T>(x, y, total, pass.stride, tw, scale); break;
    }
}

template <typename T, typename In, typename Out>
QP_FFT_LOCAL void MiddlePass(In x, Out y, const fft::Pass& pass, std::int64_t total) {
    const T* tw = static_cast<const T*>(pass.tw);
    switch (pass.radix) {
        case 2: PassOfRadix<2, false, T>(x, y, total, pass.stride, tw, T(1)); break;
        case 4: PassOfRadix<4, false, T>(x, y, total, pass.stride, tw, T(1)); break;
        default: PassOfRadix<8, false, T>(x, y, total, pass.stride, tw, T(1)); break;
    }
}

// Passes 1 .. count - 2 of an even-count plan: work -> destination -> work ... -> work. The work
// buffer holds per-vector blocks; the destination is read and written through fromDst / toDst
// (blocks where it is one array, the interleaved and real kinds; split arrays otherwise).
template <typename T, typename DIn, typename DOut>
QP_INLINE void MiddlePasses(const Plan& plan, DIn fromDst, DOut toDst, T* work) {
    const std::int64_t total = std::int64_t{1} << plan.order;
    const simd::BlockIn<T> fromWork{work};
    const simd::BlockOut<T> toWork{work};
    for (int i = 1; i + 1 < plan.count; ++i) {
        if (i & 1)
            MiddlePass<T>(fromWork, toDst, plan.pass[i], total);
        else
            MiddlePass<T>(fromDst, toWork, plan.pass[i], total);
    }
}

// One transform by an even-count plan: source -> work -> destination -> ... -> destination.
template <typename T, typename In, typename Out, typename DIn, typename DOut>
QP_INLINE void RunInCache(const Plan& plan, In x, Out y, DIn fromDst, DOut toDst, T* work, bool scaled, T scale) {
    const std::int64_t total = std::int64_t{1} << plan.order;
    const simd::BlockIn<T> fromWork{work};
    FirstPass<T>(x, simd::BlockOut<T>{work}, plan.pass[0], total);
    MiddlePasses<T>(plan, fromDst, toDst, work);
    if (scaled)
        ColumnPass<true, T>(fromWork, y, plan.pass[plan.count - 1], total, scale);
    else
        ColumnPass<false, T>(fromWork, y, plan.pass[plan.count - 1], total, scale);
}

// A batched plan over split buffers a and b (each holding re then im blocks of `total`); returns
// the buffer that holds the result.
template <typename T>
QP_INLINE T* RunBatch(const Plan& plan, T* a, T* b, std::int64_t total) {
    for (int i = 0; i < plan.count; ++i) {
        ColumnPass<false, T>(simd::SplitIn<T>{a, a + total}, simd::SplitOut<T>{b, b + total}, plan.pass[i], total, T(1));
        T* t = a;
        a = b;
        b = t;
    }
    return a;
}

// ---------------------------------------------------------------------------------------------
// Straight-line kernels of the smallest orders: the whole transform in registers, radix-2
// decimation in frequency with the output read back in bit-reversed order.

template <int K, typename T>
QP_INLINE void DirectInRegisters(T* re, T* im, const T* wre, const T* wim) {
    constexpr int N = 1 << K;
#pragma GCC unroll 8
    for (int len = N; len >= 2; len /= 2) {
        const int half = len / 2, step = N / len;
#pragma GCC unroll 32
        for (int blk = 0; blk < N; blk += len) {
#pragma GCC unroll 32
            for (int j = 0; j < half; ++j) {
                const T ar = re[blk + j], ai = im[blk + j];
                const T br = re[blk + j + half], bi = im[blk + j + half];
                re[blk + j] = ar + br;
                im[blk + j] = ai + bi;
                const T dr = ar - br, di = ai - bi;
                const T wr = wre[j * step], wi = wim[j * step];
                re[blk + j + half] = dr * wr - di * wi;
                im[blk + j + half] = dr * wi + di * wr;
            }
        }
    }
}

constexpr int BitReverse(int v, int bits) {
    int r = 0;
    for (int b = 0; b < bits; ++b) r |= ((v >> b) & 1) << (bits - 1 - b);
    return r;
}

template <int K, typename T, typename In, typename Out>
QP_FFT_LOCAL void DirectOrder(In x, Out y, const T* roots, T scale) {
    constexpr int N = 1 << K;
    T re[N], im[N];
#pragma GCC unroll 32
    for (int n = 0; n < N; ++n) x.Get(n, re[n], im[n]);
    if constexpr (K > 0) DirectInRegisters<K, T>(re, im, roots, roots + N);
#pragma GCC unroll 32
    for (int k = 0; k < N; ++k) {
        const int from = BitReverse(k, K);
        y.Put(k, re[from] * scale, im[from] * scale);
    }
}

// Scaling is folded into the output stores (a scale of 1 when the direction is not scaled).
template <typename T, typename In, typename Out>
QP_INLINE void Direct(int order, In x, Out y, const T* roots, T scale) {
    switch (order) {
        case 0: DirectOrder<0, T>(x, y, roots, scale); break;
        case 1: DirectOrder<1, T>(x, y, roots, scale); break;
        case 2: DirectOrder<2, T>(x, y, roots, scale); break;
        case 3: DirectOrder<3, T>(x, y, roots, scale); break;
        case 4: DirectOrder<4, T>(x, y, roots, scale); break;
        default: DirectOrder<5, T>(x, y, roots, scale); break;
    }
}

// ---------------------------------------------------------------------------------------------
// Large orders

// In-place transpose of an n x n matrix of elements E, in blocks of one cache line per row. The
// rows of a block are a power of two apart, so they all fall into the same few L1 sets: with one
// line per row a pair of blocks (16 lines in two sets) fits the associativity, where wider blocks
// evicted their own lines (32 x 32 blocks made the transpose of 2048 x 2048 doubles 4 times slower).
template <typename E>
QP_INLINE void TransposeSquare(E* a, std::int64_t n, std::int64_t ld) {
    constexpr std::int64_t kLine = 64 / static_cast<std::int64_t>(sizeof(E));
    constexpr std::int64_t kBlock = kLine < 4 ? 4 : kLine;
    for (std::int64_t i0 = 0; i0 < n; i0 += kBlock) {
        for (std::int64_t j0 = i0; j0 < n; j0 += kBlock) {
            for (std::int64_t i = i0; i < i0 + kBlock; ++i) {
                for (std::int64_t j = (i0 == j0 ? i + 1 : j0); j < j0 + kBlock; ++j) {
                    const E t = a[i * ld + j];
                    a[i * ld + j] = a[j * ld + i];
                    a[j * ld + i] = t;
                }
            }
        }
    }
}

// In-place transpose of a rows x cols matrix (rows = cols or 2 cols) into cols x rows. For
// rows = 2 cols: both square halves in place, then row r of the result is row r of the top half's
// transpose followed by row r of the bottom half's: a perfect shuffle of 2 cols chunks of cols
// elements, done by following its cycles with one chunk of scratch and a visited bitmap.
template <typename E>
QP_FFT_LOCAL void Transpose(E* a, std::int64_t rows, std::int64_t cols, E* chunk, std::uint8_t* seen) {
    if (rows == cols) {
        TransposeSquare(a, cols, cols);
        return;
    }
    const std::int64_t c = cols;
    TransposeSquare(a, c, c);
    TransposeSquare(a + c * c, c, c);
    const std::int64_t n = 2 * c, mod = n - 1;
    for (std::int64_t i = 0; i < n / 8 + 1; ++i) seen[i] = 0;
    const std::size_t bytes = static_cast<std::size_t>(c) * sizeof(E);
    for (std::int64_t start = 1; start < mod; ++start) {
        if (seen[start >> 3] & (1u << (start & 7))) continue;
        __builtin_memcpy(chunk, a + start * c, bytes);
        std::int64_t cur = start;
        for (;;) {
            seen[cur >> 3] = static_cast<std::uint8_t>(seen[cur >> 3] | (1u << (cur & 7)));
            const std::int64_t from = (cur * c) % mod;  // the chunk that moves to position cur
            if (from == start) {
                __builtin_memcpy(a + cur * c, chunk, bytes);
                break;
            }
            __builtin_memcpy(a + cur * c, a + from * c, bytes);
            cur = from;
        }
    }
}

// Batched column transforms of a rows x cols matrix: each group of `batch` columns is gathered
// into the work buffer, transformed, optionally multiplied by W_N^(column * row) and scaled, and
// written back to the same positions of y.
template <bool Twiddled, bool Scaled, typename T, typename In, typename Out>
QP_FFT_LOCAL void ColumnTransforms(In x, Out y, std::int64_t rows, std::int64_t cols, const Plan& plan, T* a, T* b,
                                const Spec<T>* spec, T scale) {
    constexpr int L = simd::kLanes<T>;
    const std::int64_t B = plan.batch, total = rows * B;
    const int order = spec->b.engineOrder;
    const std::int64_t mask = (std::int64_t{1} << order) - 1;
    const int loBits = spec->b.loBits;
    const std::int64_t loMask = (std::int64_t{1} << loBits) - 1;
    const std::int64_t hiCount = std::int64_t{1} << (order - loBits);
    const std::int64_t loCount = std::int64_t{1} << loBits;
    const T* laneRe = spec->b.laneTw;
    const T* laneIm = laneRe + total;
    const Vec<T> sv = simd::Broadcast<T>(scale);
    for (std::int64_t c = 0; c < cols; c += B) {
        const simd::SplitOut<T> gather{a, a + total};
        for (std::int64_t r = 0; r < rows; ++r)
            for (std::int64_t j = 0; j < B; j += L) gather.Store(r * B + j, x.Load(r * cols + c + j));
        T* res = RunBatch<T>(plan, a, b, total);
        const simd::SplitIn<T> out{res, res + total};
        for (std::int64_t r = 0; r < rows; ++r) {
            CVec<T> wc{};
            if (Twiddled) {
                const std::int64_t e = (c * r) & mask;
                const std::int64_t h = e >> loBits, l = e & loMask;
                const double hr = spec->b.hi[h], hi = spec->b.hi[hiCount + h];
                const double lr = spec->b.lo[l], li = spec->b.lo[loCount + l];
                wc.re = simd::Broadcast<T>(static_cast<T>(hr * lr - hi * li));
                wc.im = simd::Broadcast<T>(static_cast<T>(hr * li + hi * lr));
            }
            for (std::int64_t j = 0; j < B; j += L) {
                CVec<T> v = out.Load(r * B + j);
                if (Twiddled) {
                    const CVec<T> w = simd::Mul(CVec<T>{simd::Load(laneRe + r * B + j), simd::Load(laneIm + r * B + j)}, wc);
                    v = simd::Mul(v, w);
                }
                if (Scaled) v = simd::Scale(v, sv);
                y.Store(r * cols + c + j, v);
            }
        }
    }
}

template <typename T>
struct Pair {
    T a, b;
};

// The large method; y reads and writes the destination in place. Split data is transposed as two
// arrays, interleaved data as one array of (re, im) pairs.
template <bool Interleaved, typename T, typename In, typename InOut>
QP_INLINE void RunLarge(const Spec<T>* spec, In x, InOut y, T* dstRe, T* dstIm, T* work, bool scaled, T scale) {
    const std::int64_t rows = spec->b.rows, cols = spec->b.cols;
    const std::int64_t B = kMaxLanes<T>;
    const std::int64_t big = rows > cols ? rows : cols;
    T* a = work;
    T* b = work + 2 * B * big;
    T* chunk = b + 2 * B * big;  // cols complex
    std::uint8_t* seen = reinterpret_cast<std::uint8_t*>(chunk + 2 * cols);
    ColumnTransforms<true, false, T>(x, y, rows, cols, spec->b.columns, a, b, spec, scale);
    if (Interleaved) {
        Transpose(reinterpret_cast<Pair<T>*>(dstRe), rows, cols, reinterpret_cast<Pair<T>*>(chunk), seen);
    } else {
        Transpose(dstRe, rows, cols, chunk, seen);
        Transpose(dstIm, rows, cols, chunk, seen);
    }
    // Now cols rows of `rows` elements: column transforms of length cols.
    if (scaled)
        ColumnTransforms<false, true, T>(y, y, cols, rows, spec->b.rowsPlan, a, b, spec, scale);
    else
        ColumnTransforms<false, false, T>(y, y, cols, rows, spec->b.rowsPlan, a, b, spec, scale);
}

// Work-buffer bytes of the large method (without the alignment slack).
template <typename T>
constexpr std::int64_t LargeWorkBytes(int order) {
    const std::int64_t rows = std::int64_t{1} << ((order + 1) / 2), cols = std::int64_t{1} << (order / 2);
    const std::int64_t B = kMaxLanes<T>;
    return static_cast<std::int64_t>(sizeof(T)) * (4 * B * rows + 2 * cols) + (2 * cols) / 8 + 8;
}

}  // namespace
}  // namespace fftk
}  // namespace QP_PATH_NS
}  // namespace qp
