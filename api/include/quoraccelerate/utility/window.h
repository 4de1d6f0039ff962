// Window functions applied to signals: dst[n] = src[n] * w(n) for n = 0 .. len - 1, with the
// symmetric window w of length len (M = len - 1). Pass a source of ones for the bare window.
// dst may be src. A length the window does not accept, or a null pointer, leaves dst untouched.
#pragma once

#include "quoraccelerate/export.h"
#include "quoraccelerate/types.h"

namespace quoraccelerate {
namespace utility {

// Triangle 2n/M up to the centre, mirrored above; len >= 3. The double form is computed in single
// precision (its results carry float rounding).
QUORACCELERATE_API void WindowBartlett(unsigned int len, const float* src, float* dst);
QUORACCELERATE_API void WindowBartlett(unsigned int len, const double* src, double* dst);

// 0.5 - 0.5 cos(2 pi n / M); len >= 3.
QUORACCELERATE_API void WindowHann(unsigned int len, const float* src, float* dst);
QUORACCELERATE_API void WindowHann(unsigned int len, const double* src, double* dst);

// 0.54 - 0.46 cos(2 pi n / M); len >= 3.
QUORACCELERATE_API void WindowHamming(unsigned int len, const float* src, float* dst);
QUORACCELERATE_API void WindowHamming(unsigned int len, const double* src, double* dst);

// (alpha + 1)/2 - 0.5 cos(2 pi n / M) - (alpha / 2) cos(4 pi n / M); alpha = -0.16 is the classic
// Blackman window; len >= 3.
QUORACCELERATE_API void WindowBlackman(unsigned int len, const float* src, float* dst, float alpha);
QUORACCELERATE_API void WindowBlackman(unsigned int len, const double* src, double* dst, double alpha);

// I0(|alpha| sqrt((M/2)^2 - (n - M/2)^2)) / I0(|alpha| M / 2); len >= 1, and |alpha| M / 2 at
// most 38.
QUORACCELERATE_API void WindowKaiser(unsigned int len, const float* src, float* dst, float alpha);
QUORACCELERATE_API void WindowKaiser(unsigned int len, const double* src, double* dst, double alpha);

}  // namespace utility
}  // namespace quoraccelerate
