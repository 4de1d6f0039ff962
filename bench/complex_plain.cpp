// Plain loops of the complex, polar and channel helpers, compiled -O3 -march=native as the bar the
// dispatched kernels must meet, and the same operations built on SLEEF's 8-lane functions.
#include <immintrin.h>
#include <sleef.h>

#include <cmath>

namespace plain {

void MagnitudeSplit(const float* re, const float* im, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = std::sqrt(re[i] * re[i] + im[i] * im[i]);
}
void MagnitudeSplit(const double* re, const double* im, double* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = std::sqrt(re[i] * re[i] + im[i] * im[i]);
}
void Magnitude(const float* s, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = std::sqrt(s[2 * i] * s[2 * i] + s[2 * i + 1] * s[2 * i + 1]);
}
void PowerSpectr(const float* s, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = s[2 * i] * s[2 * i] + s[2 * i + 1] * s[2 * i + 1];
}
void CartToPolar(const float* s, float* m, float* p, int n) {
    for (int i = 0; i < n; ++i) {
        m[i] = std::sqrt(s[2 * i] * s[2 * i] + s[2 * i + 1] * s[2 * i + 1]);
        p[i] = std::atan2(s[2 * i + 1], s[2 * i]);
    }
}
void PolarToCart(const float* m, const float* p, float* d, int n) {
    for (int i = 0; i < n; ++i) {
        d[2 * i] = m[i] * std::cos(p[i]);
        d[2 * i + 1] = m[i] * std::sin(p[i]);
    }
}
void Interleave(const float* a, const float* b, float* d, int n) {
    for (int i = 0; i < n; ++i) {
        d[2 * i] = a[i];
        d[2 * i + 1] = b[i];
    }
}
void Deinterleave(const float* s, float* a, float* b, int n) {
    for (int i = 0; i < n; ++i) {
        a[i] = s[2 * i];
        b[i] = s[2 * i + 1];
    }
}

}  // namespace plain

namespace sleef {

// Eight elements per round (n a multiple of 8): the parts are split with in-lane shuffles and
// restored with one permute, the same work the library's kernels do around their functions.
void CartToPolar(const float* s, float* m, float* p, int n) {
    for (int i = 0; i < n; i += 8) {
        const __m256 v0 = _mm256_loadu_ps(s + 2 * i), v1 = _mm256_loadu_ps(s + 2 * i + 8);
        const __m256 re = _mm256_shuffle_ps(v0, v1, 0x88), im = _mm256_shuffle_ps(v0, v1, 0xDD);
        const __m256 mag = Sleef_hypotf8_u05(re, im), ph = Sleef_atan2f8_u10(im, re);
        _mm256_storeu_ps(m + i, _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(mag), 0xD8)));
        _mm256_storeu_ps(p + i, _mm256_castpd_ps(_mm256_permute4x64_pd(_mm256_castps_pd(ph), 0xD8)));
    }
}

void PolarToCart(const float* m, const float* p, float* d, int n) {
    for (int i = 0; i < n; i += 8) {
        const Sleef___m256_2 sc = Sleef_sincosf8_u10(_mm256_loadu_ps(p + i));
        const __m256 mv = _mm256_loadu_ps(m + i);
        const __m256 re = _mm256_mul_ps(mv, sc.y), im = _mm256_mul_ps(mv, sc.x);
        const __m256 lo = _mm256_unpacklo_ps(re, im), hi = _mm256_unpackhi_ps(re, im);
        _mm256_storeu_ps(d + 2 * i, _mm256_permute2f128_ps(lo, hi, 0x20));
        _mm256_storeu_ps(d + 2 * i + 8, _mm256_permute2f128_ps(lo, hi, 0x31));
    }
}

}  // namespace sleef
