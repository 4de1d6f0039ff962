// Vector utilities: stateless operations on caller-owned arrays.
//
// Conventions shared by every function here:
//  - the element count comes first, then sources, then destinations, then scalars;
//  - functions returning void never report a failure: a null pointer or a count of zero (or of 2^31
//    and above) leaves every destination untouched;
//  - `_InPlace` names one array that is both source and destination.
#pragma once

#include "quoraccelerate/export.h"

namespace quoraccelerate {
namespace utility {

// dst[i] = a[i] + b[i]. dst may be a or b.
QUORACCELERATE_API void Add(unsigned int len, const float* a, const float* b, float* dst);
QUORACCELERATE_API void Add(unsigned int len, const double* a, const double* b, double* dst);

// dst[i] = |src[i]|. dst may be src.
QUORACCELERATE_API void Abs(unsigned int len, const float* src, float* dst);
QUORACCELERATE_API void Abs(unsigned int len, const double* src, double* dst);
QUORACCELERATE_API void Abs_InPlace(unsigned int len, float* srcDst);
QUORACCELERATE_API void Abs_InPlace(unsigned int len, double* srcDst);

// Copies len elements; the ranges must not overlap.
QUORACCELERATE_API void Copy(unsigned int len, const float* src, float* dst);

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
