// Straightforward statistics loops, compiled with -O3 -march=native: the speed to meet.
#include <cmath>

namespace plain {

float Sum(const float* x, int n) {
    float s = 0;
    for (int i = 0; i < n; ++i) s += x[i];
    return s;
}
double Sum(const double* x, int n) {
    double s = 0;
    for (int i = 0; i < n; ++i) s += x[i];
    return s;
}
float Max(const float* x, int n) {
    float m = x[0];
    for (int i = 1; i < n; ++i) m = x[i] > m ? x[i] : m;
    return m;
}
int MaxIndex(const float* x, int n) {
    int k = 0;
    for (int i = 1; i < n; ++i) k = x[i] > x[k] ? i : k;
    return k;
}
int MinIndex(const float* x, int n) {
    int k = 0;
    for (int i = 1; i < n; ++i) k = x[i] < x[k] ? i : k;
    return k;
}
void MinMax(const float* x, int n, float* lo, float* hi) {
    float a = x[0], b = x[0];
    for (int i = 1; i < n; ++i) {
        a = x[i] < a ? x[i] : a;
        b = x[i] > b ? x[i] : b;
    }
    *lo = a;
    *hi = b;
}
void MinMaxIndex(const float* x, int n, int* lo, int* hi) {
    int a = 0, b = 0;
    for (int i = 1; i < n; ++i) {
        a = x[i] < x[a] ? i : a;
        b = x[i] > x[b] ? i : b;
    }
    *lo = a;
    *hi = b;
}
float MaxAbs(const float* x, int n) {
    float m = 0;
    for (int i = 0; i < n; ++i) m = std::fabs(x[i]) > m ? std::fabs(x[i]) : m;
    return m;
}
float NormL2(const float* x, int n) {
    float s = 0;
    for (int i = 0; i < n; ++i) s += x[i] * x[i];
    return std::sqrt(s);
}
double NormL2(const double* x, int n) {
    double s = 0;
    for (int i = 0; i < n; ++i) s += x[i] * x[i];
    return std::sqrt(s);
}
float StandardDeviation(const float* x, int n) {
    double mean = 0;
    for (int i = 0; i < n; ++i) mean += x[i];
    mean /= n;
    double v = 0;
    for (int i = 0; i < n; ++i) v += (x[i] - mean) * (x[i] - mean);
    return static_cast<float>(std::sqrt(v / (n - 1)));
}
void MaxEvery(const float* a, const float* b, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[i] > b[i] ? a[i] : b[i];
}
void MinEvery(const float* a, const float* b, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[i] < b[i] ? a[i] : b[i];
}

}  // namespace plain
