// Statistics and extrema.
//
// Value-returning functions return 0 when the call is refused (null pointer, count 0, or a count of
// 2^31 and above). Functions with reference outputs leave them untouched on refusal, except for the
// indices and values that MaxIndex, MinIndex and MinMaxIndex preset to 0.
//
// NaN: the extrema ignore NaN elements. Their result is the extreme of the other elements, and NaN
// only when every element is NaN (index 0 for the index searches). MaxEvery and MinEvery return the
// other operand where one of the two is NaN, NaN where both are. Index searches report the first
// occurrence of the extreme. Max, Min and MinMax may give either zero when +0 and -0 tie.
//
// Sum, NormL2 and StandardDeviation of float data accumulate in double precision: the float result
// is the exact value rounded once (plus at most a few units in the last place for very long arrays).
#pragma once

#include "quoraccelerate/export.h"

namespace quoraccelerate {
namespace utility {

// Sum of the elements; 0 on refusal.
QUORACCELERATE_API float Sum(unsigned int count, const float* src);
QUORACCELERATE_API double Sum(unsigned int count, const double* src);

// Largest / smallest element; 0 on refusal.
QUORACCELERATE_API float Max(unsigned int count, const float* src);
QUORACCELERATE_API double Max(unsigned int count, const double* src);
QUORACCELERATE_API float Min(unsigned int count, const float* src);
QUORACCELERATE_API double Min(unsigned int count, const double* src);

// Index of the first largest / smallest element. Its value is written through value unless that is
// null, also on refusal (then 0); the index is 0 on refusal.
QUORACCELERATE_API unsigned int MaxIndex(unsigned int count, const float* src, float* value);
QUORACCELERATE_API unsigned int MinIndex(unsigned int count, const float* src, float* value);

// Smallest and largest element in one pass; both untouched on refusal.
QUORACCELERATE_API void MinMax(unsigned int count, const float* src, float& min, float& max);

// Largest magnitude max |src[i]|, computed here without a primitive. src[0] is read even when
// count is 0 (the result is then |src[0]|), so src must point to at least one element.
QUORACCELERATE_API float MinMax(const float* src, unsigned int count);

// Smallest and largest element and the indices of their first occurrences. min and max are
// untouched on refusal; both indices are set, to 0 on refusal.
QUORACCELERATE_API void MinMaxIndex(unsigned int count, const float* src, float& min, float& max,
                                    unsigned int& minIndex, unsigned int& maxIndex);

// sqrt(sum of src[i]^2); 0 on refusal. The double form rescales inputs whose squares overflow or
// underflow, so it is finite whenever the norm is.
QUORACCELERATE_API float NormL2(unsigned int count, const float* src);
QUORACCELERATE_API double NormL2(unsigned int count, const double* src);

// Sample standard deviation sqrt(sum (x - mean)^2 / (count - 1)). Needs count >= 2; out is
// untouched otherwise. Any infinite or NaN element gives NaN.
QUORACCELERATE_API void StandardDeviation(unsigned int count, const float* src, float& out);

// dst[i] = max / min(a[i], b[i]); dst may be a or b.
QUORACCELERATE_API void MaxEvery(unsigned int count, const float* a, const float* b, float* dst);
QUORACCELERATE_API void MinEvery(unsigned int count, const float* a, const float* b, float* dst);
// d[i] = max / min(a[i], d[i]).
QUORACCELERATE_API void MaxEvery_InPlace(unsigned int count, const float* a, float* d);
QUORACCELERATE_API void MinEvery_InPlace(unsigned int count, const float* a, float* d);

}  // namespace utility
}  // namespace quoraccelerate
