// "Dsp": dot product, resampling and convolution, each against a plain computation.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

class TestDSP {
public:
    void Test_DotProduct(quorunittesting::TestContext& context);
    void Test_UpSample(quorunittesting::TestContext& context);
    void Test_DownSample(quorunittesting::TestContext& context);
    void Test_Convolve(quorunittesting::TestContext& context);
};

}  // namespace test
}  // namespace quoraccelerate
