// Dot product, convolution and resampling: each export permutes its arguments into its primitive's
// order; Convolve without a buffer owns one for the duration of the call.
#include <memory>

#include "quoraccelerate/utility/dsp.h"
#include "runtime/dispatch.h"

namespace quoraccelerate {
namespace utility {

namespace {

constexpr int kDataTypeF32 = 13;  // single-precision real, the size query's data type
constexpr int kAlgorithmAuto = 0;

int Len(unsigned int len) { return static_cast<int>(len); }

struct AlignedDeleter {
    void operator()(void* p) const { qp::AlignedFree(p); }
};

template <typename T>
T* AllocElements(unsigned long long count);
template <>
float* AllocElements<float>(unsigned long long count) {
    return qp::AllocElements32(static_cast<std::int32_t>(count));
}
template <>
double* AllocElements<double>(unsigned long long count) {
    return qp::AllocElements64(static_cast<std::int32_t>(count));
}

// The work buffer is sized by the single-precision query and allocated as that many elements of
// the call's own type.
template <typename T, typename Prim>
void ConvolveOwned(Prim prim, unsigned int len1, const T* s1, unsigned int len2, const T* s2, T* dst) {
    const std::unique_ptr<T, AlignedDeleter> work(AllocElements<T>(ConvolutionWorkBufferSize(len1, len2)));
    prim(s1, Len(len1), s2, Len(len2), dst, kAlgorithmAuto, reinterpret_cast<unsigned char*>(work.get()));
}

}  // namespace

float DotProduct(unsigned int len, const float* a, const float* b) {
    float r = 0;
    return qp::dotprod_f32(a, b, Len(len), &r) == qp::qpStsNoErr ? r : 0.0f;
}
double DotProduct(unsigned int len, const double* a, const double* b) {
    double r = 0;
    return qp::dotprod_f64(a, b, Len(len), &r) == qp::qpStsNoErr ? r : 0.0;
}

unsigned long long ConvolutionWorkBufferSize(unsigned int len1, unsigned int len2) {
    int bytes = 0;
    qp::conv_bufsize(Len(len1), Len(len2), kDataTypeF32, kAlgorithmAuto, &bytes);
    return static_cast<unsigned long long>(static_cast<unsigned int>(bytes) >> 2);
}

void Convolve(unsigned int len1, const float* s1, unsigned int len2, const float* s2, float* dst, float* work) {
    qp::conv_f32(s1, Len(len1), s2, Len(len2), dst, kAlgorithmAuto, reinterpret_cast<unsigned char*>(work));
}
void Convolve(unsigned int len1, const double* s1, unsigned int len2, const double* s2, double* dst, double* work) {
    qp::conv_f64(s1, Len(len1), s2, Len(len2), dst, kAlgorithmAuto, reinterpret_cast<unsigned char*>(work));
}
void Convolve(unsigned int len1, const float* s1, unsigned int len2, const float* s2, float* dst) {
    ConvolveOwned(qp::conv_f32, len1, s1, len2, s2, dst);
}
void Convolve(unsigned int len1, const double* s1, unsigned int len2, const double* s2, double* dst) {
    ConvolveOwned(qp::conv_f64, len1, s1, len2, s2, dst);
}

void UpSample(unsigned int len, const float* src, float* dst, unsigned int factor, unsigned int* phase) {
    int outLen = 0;
    qp::upsample_f32(src, Len(len), dst, &outLen, static_cast<int>(factor), reinterpret_cast<int*>(phase));
}
void UpSample(unsigned int len, const double* src, double* dst, unsigned int factor, unsigned int* phase) {
    int outLen = 0;
    qp::upsample_f64(src, Len(len), dst, &outLen, static_cast<int>(factor), reinterpret_cast<int*>(phase));
}
void DownSample(unsigned int len, const float* src, float* dst, unsigned int factor, unsigned int* phase) {
    int outLen = 0;
    qp::downsample_f32(src, Len(len), dst, &outLen, static_cast<int>(factor), reinterpret_cast<int*>(phase));
}
void DownSample(unsigned int len, const double* src, double* dst, unsigned int factor, unsigned int* phase) {
    int outLen = 0;
    qp::downsample_f64(src, Len(len), dst, &outLen, static_cast<int>(factor), reinterpret_cast<int*>(phase));
}

}  // namespace utility
}  // namespace quoraccelerate
