// Straightforward loops for the data-movement and conversion benchmarks, compiled with -O3
// -march=native: the speed a caller gets by writing the loop.
#include <cmath>
#include <cstdint>

namespace plain {

void Copy(const float* s, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = s[i];
}
void Set(float v, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = v;
}
void Zero(float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = 0.0f;
}
void SwapBytes(const std::uint16_t* s, std::uint16_t* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = __builtin_bswap16(s[i]);
}
void SwapBytes(const std::uint32_t* s, std::uint32_t* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = __builtin_bswap32(s[i]);
}
void SwapBytes(const std::uint64_t* s, std::uint64_t* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = __builtin_bswap64(s[i]);
}
void Convert(const float* s, double* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = s[i];
}
void Convert(const double* s, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<float>(s[i]);
}
void Convert(const unsigned char* s, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = s[i];
}
void Convert(const short* s, float* d, float scale, int n) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<float>(s[i]) * scale;
}
void Convert(const int* s, float* d, float scale, int n) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<float>(s[i]) * scale;
}
void Convert(const int* s, double* d, double scale, int n) {
    for (int i = 0; i < n; ++i) d[i] = static_cast<double>(s[i]) * scale;
}
// Scaled, rounded to nearest, saturated.
void Convert(const float* s, unsigned char* d, float scale, int n) {
    for (int i = 0; i < n; ++i) {
        float v = std::nearbyint(s[i] * scale);
        v = v < 0.0f ? 0.0f : (v > 255.0f ? 255.0f : v);
        d[i] = static_cast<unsigned char>(v);
    }
}
void Convert(const float* s, short* d, float scale, int n) {
    for (int i = 0; i < n; ++i) {
        float v = std::nearbyint(s[i] * scale);
        v = v < -32768.0f ? -32768.0f : (v > 32767.0f ? 32767.0f : v);
        d[i] = static_cast<short>(v);
    }
}
void Convert(const float* s, int* d, float scale, int n) {
    for (int i = 0; i < n; ++i) {
        float v = std::nearbyint(s[i] * scale);
        v = v < -2147483648.0f ? -2147483648.0f : (v > 2147483520.0f ? 2147483520.0f : v);
        d[i] = static_cast<int>(v);
    }
}
void Convert(const double* s, int* d, double scale, int n) {
    for (int i = 0; i < n; ++i) {
        double v = std::nearbyint(s[i] * scale);
        v = v < -2147483648.0 ? -2147483648.0 : (v > 2147483647.0 ? 2147483647.0 : v);
        d[i] = static_cast<int>(v);
    }
}

}  // namespace plain
