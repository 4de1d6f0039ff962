// Window exports: each moves the length last and calls its primitive once, except the double
// Bartlett window, which is computed in single precision through a float temporary.
#include <new>
#include <vector>

#include "quorcore/memory.h"
#include "quoraccelerate/utility/window.h"
#include "runtime/dispatch.h"

namespace quoraccelerate {
namespace utility {

namespace {

int Len(unsigned int len) { return static_cast<int>(len); }

}  // namespace

void WindowBartlett(unsigned int len, const float* src, float* dst) { qp::win_bartlett_f32(src, dst, Len(len)); }

// Kept at single precision: source rounded to float, float window in place on the temporary, the
// result widened into dst. A refused length or pointer leaves dst untouched.
void WindowBartlett(unsigned int len, const double* src, double* dst) {
    if (src == nullptr || dst == nullptr || Len(len) < 3) return;
    try {
        std::vector<float, quorcore::utility::STLAllocator<float>> tmp(len);
        float* t = tmp.data();
        for (unsigned int i = 0; i < len; ++i) t[i] = static_cast<float>(src[i]);
        if (qp::win_bartlett_f32(t, t, Len(len)) != qp::qpStsNoErr) return;
        for (unsigned int i = 0; i < len; ++i) dst[i] = static_cast<double>(t[i]);
    } catch (...) {
        // Out of memory: dst stays untouched.
    }
}

void WindowHann(unsigned int len, const float* src, float* dst) { qp::win_hann_f32(src, dst, Len(len)); }
void WindowHann(unsigned int len, const double* src, double* dst) { qp::win_hann_f64(src, dst, Len(len)); }
void WindowHamming(unsigned int len, const float* src, float* dst) { qp::win_hamming_f32(src, dst, Len(len)); }
void WindowHamming(unsigned int len, const double* src, double* dst) { qp::win_hamming_f64(src, dst, Len(len)); }
void WindowBlackman(unsigned int len, const float* src, float* dst, float alpha) {
    qp::win_blackman_f32(src, alpha, dst, Len(len));
}
void WindowBlackman(unsigned int len, const double* src, double* dst, double alpha) {
    qp::win_blackman_f64(src, alpha, dst, Len(len));
}
void WindowKaiser(unsigned int len, const float* src, float* dst, float alpha) {
    qp::win_kaiser_f32(src, alpha, dst, Len(len));
}
void WindowKaiser(unsigned int len, const double* src, double* dst, double alpha) {
    qp::win_kaiser_f64(src, alpha, dst, Len(len));
}

}  // namespace utility
}  // namespace quoraccelerate
