// Dot product, convolution and resampling.
//
// Like the other vector utilities, functions returning void report nothing: a null pointer, a
// length of 0 (or of 2^31 and above), a factor of 0 or a phase outside 0 <= phase < factor leaves
// every destination and *phase untouched.
#pragma once

#include "quoraccelerate/export.h"
#include "quoraccelerate/types.h"

namespace quoraccelerate {
namespace utility {

// Sum of a[i] * b[i]; 0 on refusal. The float form carries its sum in double precision.
QUORACCELERATE_API float DotProduct(unsigned int len, const float* a, const float* b);
QUORACCELERATE_API double DotProduct(unsigned int len, const double* a, const double* b);

// Work-buffer size of Convolve, in elements: pass a buffer of that many floats to the float form
// and of that many doubles to the double form. 0 when a length is 0.
QUORACCELERATE_API unsigned long long ConvolutionWorkBufferSize(unsigned int len1, unsigned int len2);

// Full linear convolution: dst[k] = sum of s1[i] * s2[k - i], len1 + len2 - 1 elements. dst must
// not overlap the sources. Short kernels are summed directly, longer ones through the FFT.
QUORACCELERATE_API void Convolve(unsigned int len1, const float* s1, unsigned int len2, const float* s2, float* dst,
                                 float* work);
QUORACCELERATE_API void Convolve(unsigned int len1, const double* s1, unsigned int len2, const double* s2,
                                 double* dst, double* work);
// The same with a work buffer allocated for the duration of the call.
QUORACCELERATE_API void Convolve(unsigned int len1, const float* s1, unsigned int len2, const float* s2, float* dst);
QUORACCELERATE_API void Convolve(unsigned int len1, const double* s1, unsigned int len2, const double* s2,
                                 double* dst);

// Zero insertion: dst[i * factor + *phase] = src[i], every other of the len * factor outputs 0.
// *phase is read, not changed.
QUORACCELERATE_API void UpSample(unsigned int len, const float* src, float* dst, unsigned int factor,
                                 unsigned int* phase);
QUORACCELERATE_API void UpSample(unsigned int len, const double* src, double* dst, unsigned int factor,
                                 unsigned int* phase);

// Decimation without filtering: dst[i] = src[*phase + i * factor] for the ceil((len - *phase) /
// factor) samples inside the block; *phase becomes the offset of the first sample to take from the
// next block, so consecutive blocks of a stream decimate as one long block. A phase at or beyond
// len writes nothing and moves the phase back by len.
QUORACCELERATE_API void DownSample(unsigned int len, const float* src, float* dst, unsigned int factor,
                                   unsigned int* phase);
QUORACCELERATE_API void DownSample(unsigned int len, const double* src, double* dst, unsigned int factor,
                                   unsigned int* phase);

}  // namespace utility
}  // namespace quoraccelerate
