// Element-wise arithmetic.
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

}  // namespace utility
}  // namespace quoraccelerate
