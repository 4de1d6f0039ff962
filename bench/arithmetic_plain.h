// Straightforward loops, compiled with -O3 -march=native, as the reference speed.
#pragma once

namespace plain {
void Add(const float* a, const float* b, float* d, int n);
void Add(const double* a, const double* b, double* d, int n);
}  // namespace plain
