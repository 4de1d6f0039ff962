// Statistics and extrema: each export moves the count last and calls its primitive, except the
// largest-magnitude MinMax, which computes its result here.
#include <immintrin.h>

#include <cstdint>

#include "quoraccelerate/utility/statistics.h"
#include "runtime/dispatch.h"

namespace quoraccelerate {
namespace utility {

namespace {

constexpr int kHintNone = 0;
constexpr int kHintAccurate = 2;

template <typename T, typename Prim>
T Value(Prim prim, const T* src, unsigned int count) {
    T r = 0;
    return prim(src, &r, static_cast<int>(count)) == qp::qpStsNoErr ? r : T(0);
}

}  // namespace

float Sum(unsigned int count, const float* src) {
    float r = 0;
    return qp::sum_f32(src, kHintNone, &r, static_cast<int>(count)) == qp::qpStsNoErr ? r : 0.0f;
}
double Sum(unsigned int count, const double* src) { return Value(qp::sum_f64, src, count); }

float Max(unsigned int count, const float* src) { return Value(qp::max_f32, src, count); }
double Max(unsigned int count, const double* src) { return Value(qp::max_f64, src, count); }
float Min(unsigned int count, const float* src) { return Value(qp::min_f32, src, count); }
double Min(unsigned int count, const double* src) { return Value(qp::min_f64, src, count); }

unsigned int MaxIndex(unsigned int count, const float* src, float* value) {
    float v = 0;
    int index = 0;
    const qp::Status status = qp::maxindx_f32(src, &v, &index, static_cast<int>(count));
    if (value != nullptr) *value = v;
    return status == qp::qpStsNoErr ? static_cast<unsigned int>(index) : 0u;
}

unsigned int MinIndex(unsigned int count, const float* src, float* value) {
    float v = 0;
    int index = 0;
    const qp::Status status = qp::minindx_f32(src, &v, &index, static_cast<int>(count));
    if (value != nullptr) *value = v;
    return status == qp::qpStsNoErr ? static_cast<unsigned int>(index) : 0u;
}

void MinMax(unsigned int count, const float* src, float& min, float& max) {
    qp::minmax_f32(src, &min, &max, static_cast<int>(count));
}

// Four-lane running minimum and maximum seeded with src[0]: scalar steps up to a 16-byte boundary,
// then groups of four (four groups at a time, in separate lanes), then scalar steps over the rest.
// x < m ? x : m (minps with x first) never lets a NaN element in; a NaN seed is replaced by the
// infinities so that it does not stick. Nothing but NaN seen: the result is |src[0]|, NaN.
float MinMax(const float* src, unsigned int count) {
    const float seed = src[0];
    const bool number = seed == seed;
    float lo = number ? seed : __builtin_inff(), hi = number ? seed : -__builtin_inff();
    unsigned int i = 0;
    for (; i < count && (reinterpret_cast<std::uintptr_t>(src + i) & 15) != 0; ++i) {
        lo = src[i] < lo ? src[i] : lo;
        hi = src[i] > hi ? src[i] : hi;
    }
    if (count - i >= 4) {
        __m128 l[4], h[4];
        for (int u = 0; u < 4; ++u) {
            l[u] = _mm_set1_ps(lo);
            h[u] = _mm_set1_ps(hi);
        }
        for (; count - i >= 16; i += 16) {
            for (int u = 0; u < 4; ++u) {
                const __m128 x = _mm_load_ps(src + i + 4 * u);
                l[u] = _mm_min_ps(x, l[u]);
                h[u] = _mm_max_ps(x, h[u]);
            }
        }
        for (; count - i >= 4; i += 4) {
            const __m128 x = _mm_load_ps(src + i);
            l[0] = _mm_min_ps(x, l[0]);
            h[0] = _mm_max_ps(x, h[0]);
        }
        alignas(16) float lf[4], hf[4];
        _mm_store_ps(lf, _mm_min_ps(_mm_min_ps(l[0], l[1]), _mm_min_ps(l[2], l[3])));
        _mm_store_ps(hf, _mm_max_ps(_mm_max_ps(h[0], h[1]), _mm_max_ps(h[2], h[3])));
        for (int k = 0; k < 4; ++k) {
            lo = lf[k] < lo ? lf[k] : lo;
            hi = hf[k] > hi ? hf[k] : hi;
        }
    }
    for (; i < count; ++i) {
        lo = src[i] < lo ? src[i] : lo;
        hi = src[i] > hi ? src[i] : hi;
    }
    if (lo > hi) return __builtin_fabsf(seed);
    return __builtin_fabsf(-lo > hi ? -lo : hi);  // never negative; turns a -0 result into +0
}

void MinMaxIndex(unsigned int count, const float* src, float& min, float& max, unsigned int& minIndex,
                 unsigned int& maxIndex) {
    int lo = 0, hi = 0;
    qp::minmaxindx_f32(src, &min, &lo, &max, &hi, static_cast<int>(count));
    minIndex = static_cast<unsigned int>(lo);
    maxIndex = static_cast<unsigned int>(hi);
}

float NormL2(unsigned int count, const float* src) { return Value(qp::norml2_f32, src, count); }
double NormL2(unsigned int count, const double* src) { return Value(qp::norml2_f64, src, count); }

void StandardDeviation(unsigned int count, const float* src, float& out) {
    qp::stddev_f32(src, kHintAccurate, &out, static_cast<int>(count));
}

void MaxEvery(unsigned int count, const float* a, const float* b, float* dst) {
    qp::maxevery_f32(a, b, dst, static_cast<int>(count));
}
void MinEvery(unsigned int count, const float* a, const float* b, float* dst) {
    qp::minevery_f32(a, b, dst, static_cast<int>(count));
}
void MaxEvery_InPlace(unsigned int count, const float* a, float* d) {
    qp::maxevery_inplace_f32(a, d, static_cast<int>(count));
}
void MinEvery_InPlace(unsigned int count, const float* a, float* d) {
    qp::minevery_inplace_f32(a, d, static_cast<int>(count));
}

}  // namespace utility
}  // namespace quoraccelerate
