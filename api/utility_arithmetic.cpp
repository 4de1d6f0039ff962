// Element-wise arithmetic: each export moves the length last and tail-calls its primitive; the
// in-place forms pass their array as source and destination.
#include "quoraccelerate/utility/arithmetic.h"
#include "runtime/dispatch.h"

namespace quoraccelerate {
namespace utility {

namespace {
inline const float* Pairs(const std::complex<float>* p) { return reinterpret_cast<const float*>(p); }
inline float* Pairs(std::complex<float>* p) { return reinterpret_cast<float*>(p); }
inline const double* Pairs(const std::complex<double>* p) { return reinterpret_cast<const double*>(p); }
inline double* Pairs(std::complex<double>* p) { return reinterpret_cast<double*>(p); }
inline int Len(unsigned int len) { return static_cast<int>(len); }
}  // namespace

void Add(unsigned int len, const float* a, const float* b, float* d) { qp::add_f32(a, b, d, Len(len)); }
void Add(unsigned int len, const double* a, const double* b, double* d) { qp::add_f64(a, b, d, Len(len)); }
void Add_InPlace(unsigned int len, const float* a, float* d) { qp::add_f32(a, d, d, Len(len)); }
void Add_InPlace(unsigned int len, const double* a, double* d) { qp::add_f64(a, d, d, Len(len)); }
void AddConstant(unsigned int len, const float* a, float c, float* d) { qp::add_const_f32(a, c, d, Len(len)); }
void AddConstant_InPlace(unsigned int len, float* d, float c) { qp::add_const_f32(d, c, d, Len(len)); }
void AddConstant_InPlace(unsigned int len, double* d, double c) { qp::add_const_f64(d, c, d, Len(len)); }
void AddProduct(unsigned int len, const float* a, const float* b, float* d) { qp::add_product_f32(a, b, d, Len(len)); }
void Add_ConstantProduct(unsigned int, const float*, float*, float) {}

void Sub(unsigned int len, const float* a, const float* b, float* d) { qp::sub_f32(a, b, d, Len(len)); }
void Sub_InPlace(unsigned int len, const float* a, float* d) { qp::sub_f32(a, d, d, Len(len)); }
void Sub_InPlace(unsigned int len, const double* a, double* d) { qp::sub_f64(a, d, d, Len(len)); }
void SubConstant_InPlace(unsigned int len, float* d, float c) { qp::sub_const_f32(d, c, d, Len(len)); }
void SubConstant_InPlace(unsigned int len, double* d, double c) { qp::sub_const_f64(d, c, d, Len(len)); }
void SubConstantRev_InPlace(unsigned int len, float* d, float c) { qp::sub_const_rev_f32(d, c, d, Len(len)); }
void SubConstantRev_InPlace(unsigned int len, double* d, double c) { qp::sub_const_rev_f64(d, c, d, Len(len)); }

void Mul(unsigned int len, const float* a, const float* b, float* d) { qp::mul_f32(a, b, d, Len(len)); }
void Mul(unsigned int len, const double* a, const double* b, double* d) { qp::mul_f64(a, b, d, Len(len)); }
void Mul(unsigned int len, const std::complex<float>* a, const std::complex<float>* b, std::complex<float>* d) {
    qp::mul_c32(Pairs(a), Pairs(b), Pairs(d), Len(len));
}
void Mul_InPlace(unsigned int len, const float* a, float* d) { qp::mul_f32(a, d, d, Len(len)); }
void Mul_InPlace(unsigned int len, const double* a, double* d) { qp::mul_f64(a, d, d, Len(len)); }
void Mul_InPlace(unsigned int len, const std::complex<float>* a, std::complex<float>* d) {
    qp::mul_c32(Pairs(a), Pairs(d), Pairs(d), Len(len));
}
void Mul_InPlace(unsigned int len, const std::complex<double>* a, std::complex<double>* d) {
    qp::mul_c64(Pairs(a), Pairs(d), Pairs(d), Len(len));
}
void MulConstant(unsigned int len, const float* a, float* d, float c) { qp::mul_const_f32(a, c, d, Len(len)); }
void MulConstant(unsigned int len, const double* a, double* d, double c) { qp::mul_const_f64(a, c, d, Len(len)); }
void MulConstant_InPlace(unsigned int len, float* d, float c) { qp::mul_const_f32(d, c, d, Len(len)); }
void MulConstant_InPlace(unsigned int len, double* d, double c) { qp::mul_const_f64(d, c, d, Len(len)); }
void MulConstant_InPlace(unsigned int len, short* d, short c, int scaleFactor) {
    qp::mul_const_s16_sfs(d, c, scaleFactor, d, Len(len));
}

void Div(unsigned int, const float*, const float*, float*) {}
void Div_InPlace(unsigned int len, const float* a, float* d) { qp::div_f32(a, d, d, Len(len)); }
void Div_InPlace(unsigned int len, const double* a, double* d) { qp::div_f64(a, d, d, Len(len)); }
void DivConstant_InPlace(unsigned int len, float* d, float c) { qp::div_const_f32(d, c, d, Len(len)); }
void DivConstant_InPlace(unsigned int len, double* d, double c) { qp::div_const_f64(d, c, d, Len(len)); }
void DivConstantRev(unsigned int len, float c, const float* a, float* d) { qp::div_const_rev_f32(a, c, d, Len(len)); }

void Abs(unsigned int len, const float* a, float* d) { qp::abs_f32(a, d, Len(len)); }
void Abs(unsigned int len, const double* a, double* d) { qp::abs_f64(a, d, Len(len)); }
void Abs_InPlace(unsigned int len, float* d) { qp::abs_f32(d, d, Len(len)); }
void Abs_InPlace(unsigned int len, double* d) { qp::abs_f64(d, d, Len(len)); }
void Sqr(unsigned int len, const float* a, float* d) { qp::sqr_f32(a, d, Len(len)); }

void Ln(unsigned int len, const float* a, float* d) { qp::ln_f32(a, d, Len(len)); }
void Ln(unsigned int len, const double* a, double* d) { qp::ln_f64(a, d, Len(len)); }
void Ln_InPlace(unsigned int len, float* d) { qp::ln_f32(d, d, Len(len)); }
void Ln_Prec11(unsigned int len, const float* a, float* d) { qp::ln_a11_f32(a, d, Len(len)); }
void Ln_Prec21(unsigned int len, const float* a, float* d) { qp::ln_a21_f32(a, d, Len(len)); }
void Ln_Prec24(unsigned int len, const float* a, float* d) { qp::ln_a24_f32(a, d, Len(len)); }

void Flip(unsigned int len, const float* a, float* d) { qp::flip_f32(a, d, Len(len)); }
void Flip(unsigned int len, const double* a, double* d) { qp::flip_f64(a, d, Len(len)); }
void Flip_InPlace(unsigned int len, float* d) { qp::flip_f32(d, d, Len(len)); }
void Flip_InPlace(unsigned int len, double* d) { qp::flip_f64(d, d, Len(len)); }

void Normalize(unsigned int len, const float* a, float* d, float sub, float div) {
    qp::normalize_f32(a, sub, div, d, Len(len));
}
void Normalize(unsigned int len, const double* a, double* d, double sub, double div) {
    qp::normalize_f64(a, sub, div, d, Len(len));
}

void Threshold_LT_InPlace(unsigned int len, float* d, float level) { qp::threshold_lt_f32(d, level, d, Len(len)); }
void Threshold_LT_InPlace(unsigned int len, double* d, double level) { qp::threshold_lt_f64(d, level, d, Len(len)); }
void Threshold_GT_InPlace(unsigned int len, float* d, float level) { qp::threshold_gt_f32(d, level, d, Len(len)); }
void Threshold_GT_InPlace(unsigned int len, double* d, double level) { qp::threshold_gt_f64(d, level, d, Len(len)); }
void Trim(unsigned int len, float* d, float low, float high) {
    qp::threshold_ltval_gtval_f32(d, low, low, high, high, d, Len(len));
}

void Invert_Threshold_InPlace(unsigned int len, float* d, float level) {
    qp::inv_threshold_f32(d, level, d, Len(len));
}
void Invert_Threshold_InPlace(unsigned int len, double* d, double level) {
    qp::inv_threshold_f64(d, level, d, Len(len));
}
void Invert_Threshold_InPlace(unsigned int len, std::complex<float>* d, float level) {
    qp::inv_threshold_c32(Pairs(d), level, Pairs(d), Len(len));
}
void Invert_Threshold_InPlace(unsigned int len, std::complex<double>* d, double level) {
    qp::inv_threshold_c64(Pairs(d), level, Pairs(d), Len(len));
}

}  // namespace utility
}  // namespace quoraccelerate
