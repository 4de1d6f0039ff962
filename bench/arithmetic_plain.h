// Straightforward loops, compiled with -O3 -march=native, as the reference speed; and the rival
// SIMD logarithms, which need this machine's instruction set to be called.
#pragma once

namespace plain {
void Add(const float* a, const float* b, float* d, int n);
void Add(const double* a, const double* b, double* d, int n);
void Sub(const float* a, const float* b, float* d, int n);
void Mul(const float* a, const float* b, float* d, int n);
void DivInPlace(const float* a, float* d, int n);
void AddConstant(const float* a, float c, float* d, int n);
void MulConstant(const float* a, float c, float* d, int n);
void DivConstantInPlace(float* d, float c, int n);
void DivConstantRev(float c, const float* a, float* d, int n);
void AddProduct(const float* a, const float* b, float* d, int n);
void Sqr(const float* a, float* d, int n);
void Abs(const float* a, float* d, int n);
void Normalize(const float* a, float* d, float sub, float div, int n);
void ThresholdLT(float* d, float level, int n);
void Trim(float* d, float low, float high, int n);
void Flip(const float* a, float* d, int n);
void InvertThreshold(float* d, float level, int n);
void MulComplex(const float* a, const float* b, float* d, int n);  // n complex elements
void Ln(const float* a, float* d, int n);
void SleefLnU10(const float* a, float* d, int n);
void SleefLnU35(const float* a, float* d, int n);
}  // namespace plain
