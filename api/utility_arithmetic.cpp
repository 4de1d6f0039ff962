// Element-wise arithmetic: each export moves the length last and tail-calls its primitive.
#include "quoraccelerate/utility/arithmetic.h"
#include "runtime/dispatch.h"

namespace quoraccelerate {
namespace utility {

void Add(unsigned int len, const float* a, const float* b, float* dst) { qp::add_f32(a, b, dst, static_cast<int>(len)); }
void Add(unsigned int len, const double* a, const double* b, double* dst) { qp::add_f64(a, b, dst, static_cast<int>(len)); }

void Abs(unsigned int len, const float* src, float* dst) { qp::abs_f32(src, dst, static_cast<int>(len)); }
void Abs(unsigned int len, const double* src, double* dst) { qp::abs_f64(src, dst, static_cast<int>(len)); }
void Abs_InPlace(unsigned int len, float* srcDst) { qp::abs_f32(srcDst, srcDst, static_cast<int>(len)); }
void Abs_InPlace(unsigned int len, double* srcDst) { qp::abs_f64(srcDst, srcDst, static_cast<int>(len)); }

}  // namespace utility
}  // namespace quoraccelerate
