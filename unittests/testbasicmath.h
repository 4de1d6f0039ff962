// "BasicMath": element-wise arithmetic, logarithms, extrema and statistics, the complex and polar
// helpers and the channel helpers, each against a plain loop.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

class TestBasicMath {
public:
    void Test_AddConstant_InPlace(quorunittesting::TestContext& context);
    void Test_Add_InPlace(quorunittesting::TestContext& context);
    void Test_AddConstant(quorunittesting::TestContext& context);
    void Test_Add(quorunittesting::TestContext& context);
    void Test_AddProduct(quorunittesting::TestContext& context);
    void Test_Sub(quorunittesting::TestContext& context);
    void Test_SubConstant_InPlace(quorunittesting::TestContext& context);
    void Test_SubConstantRev_InPlace(quorunittesting::TestContext& context);
    void Test_Sub_InPlace(quorunittesting::TestContext& context);
    void Test_MulConstant_InPlace(quorunittesting::TestContext& context);
    void Test_MulConstant(quorunittesting::TestContext& context);
    void Test_Mul_InPlace(quorunittesting::TestContext& context);
    void Test_Mul(quorunittesting::TestContext& context);
    void Test_DivConstant_InPlace(quorunittesting::TestContext& context);
    void Test_Div_InPlace(quorunittesting::TestContext& context);
    void Test_DivConstantRev(quorunittesting::TestContext& context);
    void Test_Sqr(quorunittesting::TestContext& context);
    void Test_Ln_InPlace(quorunittesting::TestContext& context);
    void Test_Ln(quorunittesting::TestContext& context);
    void Test_Exp(quorunittesting::TestContext& context);
    void Test_Normalize(quorunittesting::TestContext& context);
    void Test_Abs(quorunittesting::TestContext& context);
    void Test_Abs_InPlace(quorunittesting::TestContext& context);
    void Test_Sum(quorunittesting::TestContext& context);
    void Test_Max(quorunittesting::TestContext& context);
    void Test_MaxIndex(quorunittesting::TestContext& context);
    void Test_Min(quorunittesting::TestContext& context);
    void Test_MinIndex(quorunittesting::TestContext& context);
    void Test_Magnitude(quorunittesting::TestContext& context);
    void Test_PowerSpectr(quorunittesting::TestContext& context);
    void Test_Flip_InPlace(quorunittesting::TestContext& context);
    void Test_Flip(quorunittesting::TestContext& context);
    void Test_Threshold_LT_InPlace(quorunittesting::TestContext& context);
    void Test_Threshold_GT_InPlace(quorunittesting::TestContext& context);
    void Test_Invert_Threshold_InPlace(quorunittesting::TestContext& context);
    void Test_PolarToCart(quorunittesting::TestContext& context);
    void Test_CartToPolar(quorunittesting::TestContext& context);
    void Test_Trim(quorunittesting::TestContext& context);
    void Test_MaxMagnitude(quorunittesting::TestContext& context);
    void Test_MinMax(quorunittesting::TestContext& context);
    void Test_MinMaxIndex(quorunittesting::TestContext& context);
    void Test_MinEvery(quorunittesting::TestContext& context);
    void Test_MinEvery_InPlace(quorunittesting::TestContext& context);
    void Test_MaxEvery(quorunittesting::TestContext& context);
    void Test_MaxEvery_InPlace(quorunittesting::TestContext& context);
    void Test_Interleave(quorunittesting::TestContext& context);
    void Test_DeInterleave(quorunittesting::TestContext& context);
    void Test_NormL2(quorunittesting::TestContext& context);
};

}  // namespace test
}  // namespace quoraccelerate
