// A textbook direct-form FIR, compiled with -O3 -march=native, as the reference speed.
#include <cstring>

namespace plain {
// y[i] = sum over k of taps[k] * x[i - k]; history holds the last tapsLen - 1 inputs (oldest first)
// and is moved on; work holds tapsLen - 1 + n floats.
void Fir(const float* taps, int tapsLen, float* history, float* work, const float* x, float* y, int n) {
    const int d = tapsLen - 1;
    std::memcpy(work, history, sizeof(float) * d);
    std::memcpy(work + d, x, sizeof(float) * n);
    for (int i = 0; i < n; ++i) {
        float s = 0;
        for (int k = 0; k < tapsLen; ++k) s += taps[k] * work[d + i - k];
        y[i] = s;
    }
    std::memcpy(history, work + n, sizeof(float) * d);
}
}  // namespace plain
