// Copy, set, conversion and aligned memory.
#pragma once

#include "quoraccelerate/export.h"

namespace quoraccelerate {
namespace utility {

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
