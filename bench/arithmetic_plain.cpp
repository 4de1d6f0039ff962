#include "arithmetic_plain.h"

#include <immintrin.h>
#include <sleef.h>

#include <cmath>
#include <cstring>

namespace plain {
void Add(const float* a, const float* b, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[i] + b[i];
}
void Add(const double* a, const double* b, double* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[i] + b[i];
}
void Sub(const float* a, const float* b, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = b[i] - a[i];
}
void Mul(const float* a, const float* b, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[i] * b[i];
}
void DivInPlace(const float* a, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = d[i] / a[i];
}
void AddConstant(const float* a, float c, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[i] + c;
}
void MulConstant(const float* a, float c, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[i] * c;
}
void DivConstantInPlace(float* d, float c, int n) {
    for (int i = 0; i < n; ++i) d[i] = d[i] / c;
}
void DivConstantRev(float c, const float* a, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = c / a[i];
}
void AddProduct(const float* a, const float* b, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = d[i] + a[i] * b[i];
}
void Sqr(const float* a, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[i] * a[i];
}
void Abs(const float* a, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = std::fabs(a[i]);
}
void Normalize(const float* a, float* d, float sub, float div, int n) {
    for (int i = 0; i < n; ++i) d[i] = (a[i] - sub) / div;
}
void ThresholdLT(float* d, float level, int n) {
    for (int i = 0; i < n; ++i) d[i] = d[i] < level ? level : d[i];
}
void Trim(float* d, float low, float high, int n) {
    for (int i = 0; i < n; ++i) d[i] = d[i] < low ? low : (d[i] > high ? high : d[i]);
}
void Flip(const float* a, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[n - 1 - i];
}
void InvertThreshold(float* d, float level, int n) {
    for (int i = 0; i < n; ++i) {
        const float m = std::fabs(d[i]) < level ? level : std::fabs(d[i]);
        d[i] = 1.0f / std::copysign(m, d[i]);
    }
}
void MulComplex(const float* a, const float* b, float* d, int n) {
    for (int i = 0; i < n; ++i) {
        const float ar = a[2 * i], ai = a[2 * i + 1], br = b[2 * i], bi = b[2 * i + 1];
        d[2 * i] = ar * br - ai * bi;
        d[2 * i + 1] = ar * bi + ai * br;
    }
}
void Ln(const float* a, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = std::log(a[i]);
}

template <typename F>
static void SleefMap(F f, const float* a, float* d, int n) {
    int i = 0;
    for (; i + 8 <= n; i += 8) _mm256_storeu_ps(d + i, f(_mm256_loadu_ps(a + i)));
    if (i < n) {
        float t[8] = {1, 1, 1, 1, 1, 1, 1, 1};
        std::memcpy(t, a + i, (n - i) * sizeof(float));
        _mm256_storeu_ps(t, f(_mm256_loadu_ps(t)));
        std::memcpy(d + i, t, (n - i) * sizeof(float));
    }
}
void SleefLnU10(const float* a, float* d, int n) { SleefMap(Sleef_logf8_u10avx2, a, d, n); }
void SleefLnU35(const float* a, float* d, int n) { SleefMap(Sleef_logf8_u35avx2, a, d, n); }
}  // namespace plain
