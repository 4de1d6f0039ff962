// Statistics and extrema kernels.
//
// Sums and norms accumulate in double lanes (float inputs are widened on load), with several
// independent accumulators; the standard deviation sums short runs in float lanes into double ones.
// The float results are then within about one rounding of the exact value, whatever the code path.
//
// Extrema ignore NaN: the result is the extreme of the non-NaN elements, and NaN only when every
// element is NaN (then the first element is returned, at index 0). Index searches return the first
// occurrence. A tie between +0 and -0 may give either zero from Max, Min and MinMax; the index
// searches return the element found at the reported index.
#include "simd/arithmetic.h"
#include "simd/reduce.h"

namespace qp {
namespace QP_PATH_NS {

namespace {

using reduce::Larger;
using reduce::Smaller;
using simd::kLanes;
using simd::Load;
using simd::Vec;

constexpr int kAcc = 4;       // independent accumulators per reduction
constexpr int kBlock = 1024;  // elements per block of the index searches

// Widening loads for the double-lane accumulations: a vector form and the scalar form of the tail.
struct WidenFloat {
    QP_INLINE Vec<double> operator()(const float* p) const { return reduce::LoadWiden(p); }
    QP_INLINE double Scalar(float x) const { return x; }
};
struct LoadDouble {
    QP_INLINE Vec<double> operator()(const double* p) const { return Load(p); }
    QP_INLINE double Scalar(double x) const { return x; }
};
// x * scale, scale a power of two: exact unless it underflows.
struct LoadScaled {
    double scale;
    QP_INLINE Vec<double> operator()(const double* p) const { return Load(p) * scale; }
    QP_INLINE double Scalar(double x) const { return x * scale; }
};

struct AddTerm {
    QP_INLINE Vec<double> operator()(Vec<double> acc, Vec<double> x) const { return acc + x; }
    QP_INLINE double operator()(double acc, double x) const { return acc + x; }
};
struct AddSquare {
    QP_INLINE Vec<double> operator()(Vec<double> acc, Vec<double> x) const { return reduce::MulAdd(x, x, acc); }
    QP_INLINE double operator()(double acc, double x) const { return acc + x * x; }
};

// Sum over p[0..n) of the terms step adds, in kAcc double-vector accumulators, a single-vector loop
// and a scalar tail.
template <typename T, typename Widen, typename Step>
QP_INLINE double Accumulate(const T* p, int n, Widen widen, Step step) {
    constexpr int L = kLanes<double>;
    Vec<double> acc[kAcc] = {};
    int i = 0;
    for (; n - i >= kAcc * L; i += kAcc * L) {
        for (int u = 0; u < kAcc; ++u) acc[u] = step(acc[u], widen(p + i + u * L));
    }
    for (; n - i >= L; i += L) acc[0] = step(acc[0], widen(p + i));
    double r = reduce::SumLanes<double>((acc[0] + acc[1]) + (acc[2] + acc[3]));
    for (; i < n; ++i) r = step(r, widen.Scalar(p[i]));
    return r;
}

// Extreme of p[0..n) under op (Larger or Smaller); op's worst value (an infinity) when no element
// beats it, i.e. when every element is NaN or that infinity.
template <typename T, typename Op>
QP_INLINE T Extreme(const T* p, int n, Op op) {
    constexpr int L = kLanes<T>;
    T r = Op::template Worst<T>();
    int i = 0;
    if (n >= L) {
        Vec<T> acc[kAcc];
        for (int u = 0; u < kAcc; ++u) acc[u] = simd::Broadcast(r);
        for (; n - i >= kAcc * L; i += kAcc * L) {
            for (int u = 0; u < kAcc; ++u) acc[u] = op(Load(p + i + u * L), acc[u]);
        }
        for (; n - i >= L; i += L) acc[0] = op(Load(p + i), acc[0]);
        r = reduce::Fold<T>(op(op(acc[3], acc[2]), op(acc[1], acc[0])), op);
    }
    for (; i < n; ++i) r = op(p[i], r);
    return r;
}

// Minimum and maximum of p[0..n) in one pass; +inf and -inf when every element is NaN.
template <typename T>
QP_INLINE void ExtremePair(const T* p, int n, T* lo, T* hi) {
    constexpr int L = kLanes<T>;
    const Smaller smaller;
    const Larger larger;
    T mn = Smaller::Worst<T>(), mx = Larger::Worst<T>();
    int i = 0;
    if (n >= L) {
        Vec<T> a[kAcc], b[kAcc];
        for (int u = 0; u < kAcc; ++u) {
            a[u] = simd::Broadcast(mn);
            b[u] = simd::Broadcast(mx);
        }
        for (; n - i >= kAcc * L; i += kAcc * L) {
            for (int u = 0; u < kAcc; ++u) {
                const Vec<T> x = Load(p + i + u * L);
                a[u] = smaller(x, a[u]);
                b[u] = larger(x, b[u]);
            }
        }
        for (; n - i >= L; i += L) {
            const Vec<T> x = Load(p + i);
            a[0] = smaller(x, a[0]);
            b[0] = larger(x, b[0]);
        }
        mn = reduce::Fold<T>(smaller(smaller(a[3], a[2]), smaller(a[1], a[0])), smaller);
        mx = reduce::Fold<T>(larger(larger(b[3], b[2]), larger(b[1], b[0])), larger);
    }
    for (; i < n; ++i) {
        mn = smaller(p[i], mn);
        mx = larger(p[i], mx);
    }
    *lo = mn;
    *hi = mx;
}

// Index of the first non-NaN element, 0 when there is none.
template <typename T>
QP_INLINE int FirstNumber(const T* p, int n) {
    for (int i = 0; i < n; ++i) {
        if (p[i] == p[i]) return i;
    }
    return 0;
}

// Index of the first element of p[0..n) equal to v, which is known to occur.
template <typename T>
QP_INLINE int FindFirst(const T* p, int n, T v) {
    constexpr int L = kLanes<T>;
    const Vec<T> w = simd::Broadcast(v);
    int i = 0;
    for (; n - i >= kAcc * L; i += kAcc * L) {
        const auto hit = (Load(p + i) == w) | (Load(p + i + L) == w) | (Load(p + i + 2 * L) == w) |
                         (Load(p + i + 3 * L) == w);
        if (reduce::Any(hit)) break;
    }
    for (; n - i >= L; i += L) {
        if (reduce::Any(Load(p + i) == w)) break;
    }
    for (; i < n; ++i) {
        if (p[i] == v) return i;
    }
    return 0;
}

// Extreme under op and the index of its first occurrence. Each block's extreme is found with the
// plain vector reduction; a block counts only when it strictly beats the blocks before it, so the
// first block holding the extreme is kept, and only that block is searched again for the index.
template <typename Op>
QP_INLINE void ExtremeIndex(const float* p, int n, Op op, float* value, int* index) {
    float best = Op::template Worst<float>();
    int bestStart = -1, bestLen = 0;
    for (int b = 0;; b += kBlock) {
        const int m = n - b < kBlock ? n - b : kBlock;
        const float e = Extreme(p + b, m, op);
        if (Op::Better(e, best)) {
            best = e;
            bestStart = b;
            bestLen = m;
        }
        if (n - b <= kBlock) break;
    }
    const int i = bestStart < 0 ? FirstNumber(p, n) : bestStart + FindFirst(p + bestStart, bestLen, best);
    *value = p[i];
    *index = i;
}

// Extreme of a value reduction, with the all-NaN case resolved: r is op's worst value only when
// every element is NaN or that infinity.
template <typename T, typename Op>
QP_INLINE T ExtremeValue(const T* p, int n, Op op) {
    const T r = Extreme(p, n, op);
    if (r != Op::template Worst<T>()) return r;
    return p[FirstNumber(p, n)];
}

template <typename T, typename Op>
QP_INLINE Status ExtremeKernel(const T* src, T* out, int len, Op op) {
    if (src == nullptr || out == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    *out = ExtremeValue(src, len, op);
    return qpStsNoErr;
}

template <typename Op>
QP_INLINE Status ExtremeIndexKernel(const float* src, float* value, int* index, int len, Op op) {
    if (src == nullptr || value == nullptr || index == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    ExtremeIndex(src, len, op, value, index);
    return qpStsNoErr;
}

// Element-wise max / min that ignore NaN: max(a, NaN) = a, max(NaN, b) = b; on equal operands
// (+0 and -0 included) b is returned. The max instruction already returns b for a NaN a and for
// equal operands; only a NaN b needs the blend.
struct MaxOf {
    template <typename V>
    QP_INLINE V operator()(V a, V b) const {
        return b != b ? a : simd::arith::MaxOrSecond(a, b);
    }
};
struct MinOf {
    template <typename V>
    QP_INLINE V operator()(V a, V b) const {
        return b != b ? a : simd::arith::MinOrSecond(a, b);
    }
};

template <typename Op>
QP_INLINE Status EveryKernel(const float* a, const float* b, float* dst, int len) {
    if (a == nullptr || b == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    simd::arith::Map(dst, len, Op{}, Op{}, a, b);
    return qpStsNoErr;
}

}  // namespace

// The hint (0 none, 1 fast, 2 accurate) does not change the method: the double-lane accumulation
// runs at the speed of the loads, so the fast and the accurate variant are the same.
Status sum_f32(const float* src, int hint, float* sum, int len) {
    if (src == nullptr || sum == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    (void)hint;
    *sum = static_cast<float>(Accumulate(src, len, WidenFloat{}, AddTerm{}));
    return qpStsNoErr;
}

Status sum_f64(const double* src, double* sum, int len) {
    if (src == nullptr || sum == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    *sum = Accumulate(src, len, LoadDouble{}, AddTerm{});
    return qpStsNoErr;
}

Status max_f32(const float* src, float* max, int len) { return ExtremeKernel(src, max, len, Larger{}); }
Status max_f64(const double* src, double* max, int len) { return ExtremeKernel(src, max, len, Larger{}); }
Status min_f32(const float* src, float* min, int len) { return ExtremeKernel(src, min, len, Smaller{}); }
Status min_f64(const double* src, double* min, int len) { return ExtremeKernel(src, min, len, Smaller{}); }

Status maxindx_f32(const float* src, float* max, int* index, int len) {
    return ExtremeIndexKernel(src, max, index, len, Larger{});
}
Status minindx_f32(const float* src, float* min, int* index, int len) {
    return ExtremeIndexKernel(src, min, index, len, Smaller{});
}

Status minmax_f32(const float* src, float* min, float* max, int len) {
    if (src == nullptr || min == nullptr || max == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    float lo, hi;
    ExtremePair(src, len, &lo, &hi);
    if (lo > hi) lo = hi = src[0];  // every element is NaN
    *min = lo;
    *max = hi;
    return qpStsNoErr;
}

// Both searches of ExtremeIndex over the same blocks, one load for both.
Status minmaxindx_f32(const float* src, float* min, int* minIndex, float* max, int* maxIndex, int len) {
    if (src == nullptr || min == nullptr || minIndex == nullptr || max == nullptr || maxIndex == nullptr) {
        return qpStsNullPtrErr;
    }
    if (len <= 0) return qpStsSizeErr;
    float lo = Smaller::Worst<float>(), hi = Larger::Worst<float>();
    int loStart = -1, loLen = 0, hiStart = -1, hiLen = 0;
    for (int b = 0;; b += kBlock) {
        const int m = len - b < kBlock ? len - b : kBlock;
        float blo, bhi;
        ExtremePair(src + b, m, &blo, &bhi);
        if (Smaller::Better(blo, lo)) {
            lo = blo;
            loStart = b;
            loLen = m;
        }
        if (Larger::Better(bhi, hi)) {
            hi = bhi;
            hiStart = b;
            hiLen = m;
        }
        if (len - b <= kBlock) break;
    }
    const int first = loStart < 0 || hiStart < 0 ? FirstNumber(src, len) : 0;
    const int li = loStart < 0 ? first : loStart + FindFirst(src + loStart, loLen, lo);
    const int hj = hiStart < 0 ? first : hiStart + FindFirst(src + hiStart, hiLen, hi);
    *min = src[li];
    *minIndex = li;
    *max = src[hj];
    *maxIndex = hj;
    return qpStsNoErr;
}

Status norml2_f32(const float* src, float* norm, int len) {
    if (src == nullptr || norm == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    // Squares of floats neither overflow nor underflow in double.
    *norm = static_cast<float>(__builtin_sqrt(Accumulate(src, len, WidenFloat{}, AddSquare{})));
    return qpStsNoErr;
}

Status norml2_f64(const double* src, double* norm, int len) {
    if (src == nullptr || norm == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    double s = Accumulate(src, len, LoadDouble{}, AddSquare{});
    // Squares beyond the double range, or so small that they lost their precision: sum again with
    // the elements scaled by a power of two and undo the scaling on the root.
    double scale = 1;
    if (s == __builtin_inf()) {
        scale = 0x1p-600;
    } else if (s < 0x1p-900) {
        scale = 0x1p600;
    }
    if (scale != 1) s = Accumulate(src, len, LoadScaled{scale}, AddSquare{});
    *norm = __builtin_sqrt(s) / scale;
    return qpStsNoErr;
}

// Sample standard deviation sqrt(sum((x - mean)^2) / (n - 1)); n = 1 is refused as a size. One
// pass over the data shifted by the mean of the first block: sums of d and d^2 with d = x - shift,
// then var = (S2 - S1^2 / n) / (n - 1). With the shift near the mean nothing cancels. The inner
// loop works in float lanes, which are added into double accumulators every kFlush steps, so no
// float partial sum holds more than kFlush terms: the float roundings stay within a few units of
// 2^-24 of the result while the loop costs one subtract, one add and one multiply-add per vector.
Status stddev_f32(const float* src, int hint, float* stddev, int len) {
    if (src == nullptr || stddev == nullptr) return qpStsNullPtrErr;
    if (len <= 1) return qpStsSizeErr;
    (void)hint;
    const int head = len < kBlock ? len : kBlock;
    const float shift = static_cast<float>(Accumulate(src, head, WidenFloat{}, AddTerm{}) / head);

    constexpr int L = kLanes<float>;
    constexpr int kFlush = 8;
    const Vec<float> k = simd::Broadcast(shift);
    Vec<double> t1 = {}, t2 = {};
    int i = 0;
    // Whole groups of kFlush steps without a length test per step, then the rest, grouped the same.
    for (; len - i >= kFlush * kAcc * L;) {
        Vec<float> a1[kAcc] = {}, a2[kAcc] = {};
        for (int step = 0; step < kFlush; ++step, i += kAcc * L) {
            for (int u = 0; u < kAcc; ++u) {
                const Vec<float> d = Load(src + i + u * L) - k;
                a1[u] += d;
                a2[u] = reduce::MulAdd(d, d, a2[u]);
            }
        }
        for (int u = 0; u < kAcc; ++u) {
            t1 = reduce::AddWidened(t1, a1[u]);
            t2 = reduce::AddWidened(t2, a2[u]);
        }
    }
    while (len - i >= L) {
        Vec<float> a1[kAcc] = {}, a2[kAcc] = {};
        for (int step = 0; step < kFlush && len - i >= kAcc * L; ++step, i += kAcc * L) {
            for (int u = 0; u < kAcc; ++u) {
                const Vec<float> d = Load(src + i + u * L) - k;
                a1[u] += d;
                a2[u] = reduce::MulAdd(d, d, a2[u]);
            }
        }
        if (len - i < kAcc * L) {
            for (; len - i >= L; i += L) {
                const Vec<float> d = Load(src + i) - k;
                a1[0] += d;
                a2[0] = reduce::MulAdd(d, d, a2[0]);
            }
        }
        for (int u = 0; u < kAcc; ++u) {
            t1 = reduce::AddWidened(t1, a1[u]);
            t2 = reduce::AddWidened(t2, a2[u]);
        }
    }
    double s1 = reduce::SumLanes<double>(t1), s2 = reduce::SumLanes<double>(t2);
    for (; i < len; ++i) {
        const double d = static_cast<double>(src[i]) - shift;
        s1 += d;
        s2 += d * d;
    }
    const double n = len;
    double var = (s2 - s1 * (s1 / n)) / (n - 1);
    if (var < 0) var = 0;  // rounding of an all-equal input
    *stddev = static_cast<float>(__builtin_sqrt(var));
    return qpStsNoErr;
}

Status maxevery_f32(const float* a, const float* b, float* dst, int len) { return EveryKernel<MaxOf>(a, b, dst, len); }
Status minevery_f32(const float* a, const float* b, float* dst, int len) { return EveryKernel<MinOf>(a, b, dst, len); }
Status maxevery_inplace_f32(const float* src, float* srcDst, int len) {
    return EveryKernel<MaxOf>(src, srcDst, srcDst, len);
}
Status minevery_inplace_f32(const float* src, float* srcDst, int len) {
    return EveryKernel<MinOf>(src, srcDst, srcDst, len);
}

}  // namespace QP_PATH_NS
}  // namespace qp
