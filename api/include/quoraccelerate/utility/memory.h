// Copy, set, conversion and aligned memory.
#pragma once

#include "quoraccelerate/export.h"

namespace quoraccelerate {
namespace utility {

// Copies len elements; the ranges must not overlap (dst equal to src is harmless). The int overload
// copies len * 4 bytes counted in 32 bits: a count whose byte count wraps to 0 (a multiple of 2^30)
// copies nothing, one that wraps to 2^31 or more is refused.
QUORACCELERATE_API void Copy(unsigned int len, const signed char* src, signed char* dst);
QUORACCELERATE_API void Copy(unsigned int len, const unsigned char* src, unsigned char* dst);
QUORACCELERATE_API void Copy(unsigned int len, const short* src, short* dst);
QUORACCELERATE_API void Copy(unsigned int len, const int* src, int* dst);
QUORACCELERATE_API void Copy(unsigned int len, const unsigned int* src, unsigned int* dst);
QUORACCELERATE_API void Copy(unsigned int len, const float* src, float* dst);
QUORACCELERATE_API void Copy(unsigned int len, const double* src, double* dst);

// Copies len elements between ranges that may overlap (as memmove).
QUORACCELERATE_API void Move(unsigned int len, const unsigned char* src, unsigned char* dst);
QUORACCELERATE_API void Move(unsigned int len, const short* src, short* dst);
QUORACCELERATE_API void Move(unsigned int len, const float* src, float* dst);
QUORACCELERATE_API void Move(unsigned int len, const double* src, double* dst);
// Does nothing: dst is left unchanged.
QUORACCELERATE_API void Move(unsigned int len, const unsigned int* src, unsigned int* dst);

// dst[i] = value.
QUORACCELERATE_API void Set(unsigned int len, unsigned char* dst, unsigned char value);
QUORACCELERATE_API void Set(unsigned int len, short* dst, short value);
QUORACCELERATE_API void Set(unsigned int len, int* dst, int value);
QUORACCELERATE_API void Set(unsigned int len, unsigned int* dst, unsigned int value);
QUORACCELERATE_API void Set(unsigned int len, float* dst, float value);
QUORACCELERATE_API void Set(unsigned int len, double* dst, double value);

// dst[i] = 0 (+0.0 for floating point). The int and unsigned int overloads clear len * 4 bytes
// counted in 32 bits: when that product wraps to 0 (len a multiple of 2^30) nothing is written.
QUORACCELERATE_API void Zero(unsigned int len, unsigned char* dst);
QUORACCELERATE_API void Zero(unsigned int len, short* dst);
QUORACCELERATE_API void Zero(unsigned int len, int* dst);
QUORACCELERATE_API void Zero(unsigned int len, unsigned int* dst);
QUORACCELERATE_API void Zero(unsigned int len, float* dst);
QUORACCELERATE_API void Zero(unsigned int len, double* dst);

// Reverses the byte order of every element, in place or from src into dst (dst may be src).
QUORACCELERATE_API void SwapBytes(unsigned int len, unsigned short* srcDst);
QUORACCELERATE_API void SwapBytes(unsigned int len, unsigned int* srcDst);
QUORACCELERATE_API void SwapBytes(unsigned int len, unsigned long long* srcDst);
QUORACCELERATE_API void SwapBytes(unsigned int len, const unsigned short* src, unsigned short* dst);
QUORACCELERATE_API void SwapBytes(unsigned int len, const unsigned int* src, unsigned int* dst);
QUORACCELERATE_API void SwapBytes(unsigned int len, const unsigned long long* src, unsigned long long* dst);

// True when the two ranges hold the same len bytes. Two empty ranges (len 0) are equal; a null
// pointer or a len of 2^31 or more gives false.
QUORACCELERATE_API bool Equal(unsigned int len, const unsigned char* first, const unsigned char* second);

// Conversions; dst may be src only when both element types have the same size.
//
// Integer to floating point: dst[i] = src[i] * 2^-scaleFactor (a positive scaleFactor divides, a
// negative one multiplies), exact where the target can hold the value, otherwise rounded once to
// nearest (int to float).
//
// Floating point to integer: v = src[i] * 2^-scaleFactor, then round = false truncates toward zero
// and round = true rounds to nearest with ties to even (2.5 -> 2, 3.5 -> 4); the result saturates to
// the target range (0..255, -32768..32767, -2^31..2^31-1); NaN gives 0. With round = true the
// conversion runs in round-to-nearest with the invalid-operation exception masked: if the caller's
// MXCSR selected another rounding mode (with that exception masked) and no invalid operation
// occurred (only a signalling NaN input raises one), MXCSR is left in round-to-nearest.
//
// float to double is exact; double to float rounds by the MXCSR rounding mode (to nearest unless the
// caller changed it).
QUORACCELERATE_API void Convert(unsigned int len, const unsigned char* src, float* dst);
QUORACCELERATE_API void Convert(unsigned int len, const short* src, float* dst, int scaleFactor);
QUORACCELERATE_API void Convert(unsigned int len, const short* src, double* dst, int scaleFactor);
QUORACCELERATE_API void Convert(unsigned int len, const int* src, float* dst, int scaleFactor);
QUORACCELERATE_API void Convert(unsigned int len, const int* src, double* dst, int scaleFactor);
QUORACCELERATE_API void Convert(unsigned int len, const float* src, unsigned char* dst, int scaleFactor, bool round);
QUORACCELERATE_API void Convert(unsigned int len, const float* src, short* dst, int scaleFactor, bool round);
QUORACCELERATE_API void Convert(unsigned int len, const float* src, int* dst, int scaleFactor, bool round);
QUORACCELERATE_API void Convert(unsigned int len, const double* src, int* dst, int scaleFactor, bool round);
QUORACCELERATE_API void Convert(unsigned int len, const float* src, double* dst);
QUORACCELERATE_API void Convert(unsigned int len, const double* src, float* dst);

// 64-byte aligned storage for count elements, or null (count 0, or more than 2^31 - 1 bytes).
// Release with Free; any Free overload releases storage from any of the four allocators.
QUORACCELERATE_API unsigned char* Malloc_Byte(unsigned int count);
QUORACCELERATE_API short* Malloc_Int16(unsigned int count);
QUORACCELERATE_API float* Malloc_Float(unsigned int count);
QUORACCELERATE_API double* Malloc_Double(unsigned int count);
QUORACCELERATE_API void Free(unsigned char* ptr);
QUORACCELERATE_API void Free(short* ptr);
QUORACCELERATE_API void Free(float* ptr);
QUORACCELERATE_API void Free(double* ptr);

}  // namespace utility
}  // namespace quoraccelerate
