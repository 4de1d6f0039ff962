// Straightforward dot product, convolution and resampling loops, compiled with -O3 -march=native:
// the speed to meet.
namespace plain {

float Dot(const float* a, const float* b, int n) {
    float s = 0;
    for (int i = 0; i < n; ++i) s += a[i] * b[i];
    return s;
}
double Dot(const double* a, const double* b, int n) {
    double s = 0;
    for (int i = 0; i < n; ++i) s += a[i] * b[i];
    return s;
}

// The scatter form: its inner loop has no reduction, so the compiler vectorises it.
void Convolve(const float* a, int n1, const float* b, int n2, float* d) {
    for (int k = 0; k < n1 + n2 - 1; ++k) d[k] = 0;
    for (int i = 0; i < n1; ++i) {
        const float x = a[i];
        float* di = d + i;
        for (int j = 0; j < n2; ++j) di[j] += x * b[j];
    }
}

void UpSample(const float* s, int n, float* d, int factor, int phase) {
    for (int i = 0; i < n * factor; ++i) d[i] = 0;
    for (int i = 0; i < n; ++i) d[i * factor + phase] = s[i];
}

int DownSample(const float* s, int n, float* d, int factor, int phase) {
    int k = 0;
    for (int i = phase; i < n; i += factor) d[k++] = s[i];
    return k;
}

}  // namespace plain
