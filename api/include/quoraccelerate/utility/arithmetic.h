// Element-wise arithmetic.
//
// Every function takes the element count first (complex counts in complex elements) and returns
// void: a null pointer or a count of zero (or of 2^31 and more) leaves the destination untouched.
// An `_InPlace` function overwrites its last array; a destination may be exactly a source, never a
// partially overlapping range. In the formulas a and b are the first and second arrays after the
// count, c the scalar, d the destination.
#pragma once

#include <complex>

#include "quoraccelerate/export.h"

namespace quoraccelerate {
namespace utility {

// d[i] = a[i] + b[i].
QUORACCELERATE_API void Add(unsigned int len, const float* a, const float* b, float* d);
QUORACCELERATE_API void Add(unsigned int len, const double* a, const double* b, double* d);
// d[i] = d[i] + a[i].
QUORACCELERATE_API void Add_InPlace(unsigned int len, const float* a, float* d);
QUORACCELERATE_API void Add_InPlace(unsigned int len, const double* a, double* d);
// d[i] = a[i] + c.
QUORACCELERATE_API void AddConstant(unsigned int len, const float* a, float c, float* d);
// d[i] = d[i] + c.
QUORACCELERATE_API void AddConstant_InPlace(unsigned int len, float* d, float c);
QUORACCELERATE_API void AddConstant_InPlace(unsigned int len, double* d, double c);
// d[i] = d[i] + a[i] * b[i].
QUORACCELERATE_API void AddProduct(unsigned int len, const float* a, const float* b, float* d);
// Does nothing: kept, empty, for the programs that link against it.
QUORACCELERATE_API void Add_ConstantProduct(unsigned int len, const float* a, float* d, float c);

// d[i] = b[i] - a[i] (the second array minus the first).
QUORACCELERATE_API void Sub(unsigned int len, const float* a, const float* b, float* d);
// d[i] = d[i] - a[i].
QUORACCELERATE_API void Sub_InPlace(unsigned int len, const float* a, float* d);
QUORACCELERATE_API void Sub_InPlace(unsigned int len, const double* a, double* d);
// d[i] = d[i] - c.
QUORACCELERATE_API void SubConstant_InPlace(unsigned int len, float* d, float c);
QUORACCELERATE_API void SubConstant_InPlace(unsigned int len, double* d, double c);
// d[i] = c - d[i].
QUORACCELERATE_API void SubConstantRev_InPlace(unsigned int len, float* d, float c);
QUORACCELERATE_API void SubConstantRev_InPlace(unsigned int len, double* d, double c);

// d[i] = a[i] * b[i]; complex: (ar br - ai bi, ar bi + ai br), with no recovery of infinities
// from NaN parts.
QUORACCELERATE_API void Mul(unsigned int len, const float* a, const float* b, float* d);
QUORACCELERATE_API void Mul(unsigned int len, const double* a, const double* b, double* d);
QUORACCELERATE_API void Mul(unsigned int len, const std::complex<float>* a, const std::complex<float>* b,
                            std::complex<float>* d);
// d[i] = d[i] * a[i].
QUORACCELERATE_API void Mul_InPlace(unsigned int len, const float* a, float* d);
QUORACCELERATE_API void Mul_InPlace(unsigned int len, const double* a, double* d);
QUORACCELERATE_API void Mul_InPlace(unsigned int len, const std::complex<float>* a, std::complex<float>* d);
QUORACCELERATE_API void Mul_InPlace(unsigned int len, const std::complex<double>* a, std::complex<double>* d);
// d[i] = a[i] * c.
QUORACCELERATE_API void MulConstant(unsigned int len, const float* a, float* d, float c);
QUORACCELERATE_API void MulConstant(unsigned int len, const double* a, double* d, double c);
// d[i] = d[i] * c.
QUORACCELERATE_API void MulConstant_InPlace(unsigned int len, float* d, float c);
QUORACCELERATE_API void MulConstant_InPlace(unsigned int len, double* d, double c);
// d[i] = saturate(round(d[i] * c * 2^-scaleFactor)). The product is exact (32 bits); a positive
// scaleFactor divides by 2^scaleFactor, a negative one multiplies by 2^-scaleFactor; the result is
// rounded to the nearest integer with exact halves going to the even neighbour (2.5 -> 2,
// 3.5 -> 4, -2.5 -> -2), as the scaled float-to-integer conversions round, and saturated to
// -32768 .. 32767.
QUORACCELERATE_API void MulConstant_InPlace(unsigned int len, short* d, short c, int scaleFactor);

// Does nothing: kept, empty, for the programs that link against it.
QUORACCELERATE_API void Div(unsigned int len, const float* a, const float* b, float* d);
// d[i] = d[i] / a[i]. Division by zero gives the IEEE results (+-inf, NaN for 0 / 0).
QUORACCELERATE_API void Div_InPlace(unsigned int len, const float* a, float* d);
QUORACCELERATE_API void Div_InPlace(unsigned int len, const double* a, double* d);
// d[i] = d[i] / c (a true division, correctly rounded).
QUORACCELERATE_API void DivConstant_InPlace(unsigned int len, float* d, float c);
QUORACCELERATE_API void DivConstant_InPlace(unsigned int len, double* d, double c);
// d[i] = c / a[i]; note the scalar before the arrays.
QUORACCELERATE_API void DivConstantRev(unsigned int len, float c, const float* a, float* d);

// d[i] = |a[i]|.
QUORACCELERATE_API void Abs(unsigned int len, const float* a, float* d);
QUORACCELERATE_API void Abs(unsigned int len, const double* a, double* d);
QUORACCELERATE_API void Abs_InPlace(unsigned int len, float* d);
QUORACCELERATE_API void Abs_InPlace(unsigned int len, double* d);
// d[i] = a[i]^2.
QUORACCELERATE_API void Sqr(unsigned int len, const float* a, float* d);

// d[i] = ln(a[i]): -inf for +-0, NaN for negative values and NaN, +inf for +inf, exactly 0 for 1.
// Ln on float and Ln_Prec24 are within 1 ulp, Ln on double within 1 ulp, Ln_Prec21 has at least
// 21 and Ln_Prec11 at least 11 correct bits (relative error below 2^-21 and 2^-11).
QUORACCELERATE_API void Ln(unsigned int len, const float* a, float* d);
QUORACCELERATE_API void Ln(unsigned int len, const double* a, double* d);
QUORACCELERATE_API void Ln_InPlace(unsigned int len, float* d);
QUORACCELERATE_API void Ln_Prec11(unsigned int len, const float* a, float* d);
QUORACCELERATE_API void Ln_Prec21(unsigned int len, const float* a, float* d);
QUORACCELERATE_API void Ln_Prec24(unsigned int len, const float* a, float* d);

// d[i] = a[len - 1 - i]; Flip_InPlace reverses d.
QUORACCELERATE_API void Flip(unsigned int len, const float* a, float* d);
QUORACCELERATE_API void Flip(unsigned int len, const double* a, double* d);
QUORACCELERATE_API void Flip_InPlace(unsigned int len, float* d);
QUORACCELERATE_API void Flip_InPlace(unsigned int len, double* d);

// d[i] = (a[i] - sub) / div (a true division).
QUORACCELERATE_API void Normalize(unsigned int len, const float* a, float* d, float sub, float div);
QUORACCELERATE_API void Normalize(unsigned int len, const double* a, double* d, double sub, double div);

// d[i] = level where d[i] < level (strictly; NaN is kept).
QUORACCELERATE_API void Threshold_LT_InPlace(unsigned int len, float* d, float level);
QUORACCELERATE_API void Threshold_LT_InPlace(unsigned int len, double* d, double level);
// d[i] = level where d[i] > level (strictly; NaN is kept).
QUORACCELERATE_API void Threshold_GT_InPlace(unsigned int len, float* d, float level);
QUORACCELERATE_API void Threshold_GT_InPlace(unsigned int len, double* d, double level);
// d[i] = low where d[i] < low, high where d[i] > high.
QUORACCELERATE_API void Trim(unsigned int len, float* d, float low, float high);

// d[i] = 1 / d[i] after the magnitude of d[i] is raised to at least level, keeping its sign (real)
// or phase (complex); a complex zero becomes 1 / level on the real axis. A negative (or NaN) level
// leaves d untouched; at level 0 a zero gives an infinity (of the zero's sign for real data).
QUORACCELERATE_API void Invert_Threshold_InPlace(unsigned int len, float* d, float level);
QUORACCELERATE_API void Invert_Threshold_InPlace(unsigned int len, double* d, double level);
QUORACCELERATE_API void Invert_Threshold_InPlace(unsigned int len, std::complex<float>* d, float level);
QUORACCELERATE_API void Invert_Threshold_InPlace(unsigned int len, std::complex<double>* d, double level);

}  // namespace utility
}  // namespace quoraccelerate
