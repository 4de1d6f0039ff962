#include "arithmetic_plain.h"

namespace plain {
void Add(const float* a, const float* b, float* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[i] + b[i];
}
void Add(const double* a, const double* b, double* d, int n) {
    for (int i = 0; i < n; ++i) d[i] = a[i] + b[i];
}
}  // namespace plain
