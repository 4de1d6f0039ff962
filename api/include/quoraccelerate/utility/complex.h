// Complex, polar and channel helpers.
//
// Interleaved complex data (std::complex<T>* or float* of (re, im) pairs) is counted in complex
// elements; split complex data is two arrays, real part first. Multichannel interleaved data stores
// frame by frame: element f * C + c is channel c of frame f.
#pragma once

#include <complex>

#include "quoraccelerate/export.h"

namespace quoraccelerate {
namespace utility {

// dst[i] = sqrt(re[i]^2 + im[i]^2), computed without intermediate overflow or underflow
// (infinite when either part is). dst may be re or im.
QUORACCELERATE_API void Magnitude(unsigned int len, const float* re, const float* im, float* dst);
QUORACCELERATE_API void Magnitude(unsigned int len, const double* re, const double* im, double* dst);
// dst[i] = |src[i]|, as above.
QUORACCELERATE_API void Magnitude(unsigned int len, const std::complex<float>* src, float* dst);

// dst[i] = re^2 + im^2.
QUORACCELERATE_API void PowerSpectr(unsigned int len, const std::complex<float>* src, float* dst);

// src: len interleaved complex values. magnitude[i] = |src[i]|, phase[i] = atan2(im, re) in radians,
// in [-pi, pi] (pi or -pi on the negative real axis by the sign of the imaginary zero).
QUORACCELERATE_API void CartToPolar(unsigned int len, const float* src, float* magnitude, float* phase);
// dst: len interleaved complex values (m cos(phi), m sin(phi)).
QUORACCELERATE_API void PolarToCart(unsigned int len, const float* magnitude, const float* phase, float* dst);

// Kept for callers that link against them: these return at once and write nothing.
QUORACCELERATE_API void Real(unsigned int len, const float* src, float* dst);
QUORACCELERATE_API void Imag(unsigned int len, const float* src, float* dst);
QUORACCELERATE_API void RealToComplex(unsigned int len, const float* re, const float* im, float* dst);

// Two channels: dst[2i] = a[i], dst[2i + 1] = b[i]. Bit patterns are copied unchanged.
QUORACCELERATE_API void Interleave(unsigned int len, const float* a, const float* b, float* dst);
QUORACCELERATE_API void Interleave(unsigned int len, const double* a, const double* b, double* dst);
// C channels of F frames: dst[f * C + c] = channels[c][f]. F = 0 reads and writes nothing.
QUORACCELERATE_API void Interleave(unsigned int channelCount, unsigned int frameCount, const float* const* channels,
                                   float* dst);
QUORACCELERATE_API void Interleave(unsigned int channelCount, unsigned int frameCount, const double* const* channels,
                                   double* dst);

// Two channels: a[i] = src[2i], b[i] = src[2i + 1]. Bit patterns are copied unchanged.
QUORACCELERATE_API void Deinterleave(unsigned int len, const float* src, float* a, float* b);
QUORACCELERATE_API void Deinterleave(unsigned int len, const double* src, double* a, double* b);
// C channels of F frames: channels[c][f] = src[f * C + c]. F = 0 reads and writes nothing.
QUORACCELERATE_API void Deinterleave(unsigned int channelCount, unsigned int frameCount, const float* src,
                                     float* const* channels);
QUORACCELERATE_API void Deinterleave(unsigned int channelCount, unsigned int frameCount, const double* src,
                                     double* const* channels);

}  // namespace utility
}  // namespace quoraccelerate
