// "FFT" self-tests: the state API of every kind (real, interleaved and split complex, in float and
// double) against a plain DFT.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

class TestFFT {
public:
    void Test_FFTFwdEmpty(quorunittesting::TestContext& context);
    void Test_FFTFwdUnitImpulse(quorunittesting::TestContext& context);
    void Test_FFTFwdHeaviside(quorunittesting::TestContext& context);
    void Test_FFTFwdRectangular(quorunittesting::TestContext& context);
    void Test_FFTInv(quorunittesting::TestContext& context);
    void Test_FFTRoundtrip(quorunittesting::TestContext& context);
};

}  // namespace test
}  // namespace quoraccelerate
