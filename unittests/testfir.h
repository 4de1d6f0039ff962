// "FIR" (low-pass design and the FIR filter) and the first "filter" suite (IIR) self-tests.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

class TestFIR {
public:
    // Designs taps with every window against a plain window-method design, then filters 512-sample
    // signals with them: one sample at a time and in blocks, with and without a starting history,
    // and in place.
    void Test_GenerateLowpassFIRCoefficients(quorunittesting::TestContext& context);
};

class TestIIR {
public:
    // An order-10 filter / a cascade of five biquads in both precisions, one sample and then a
    // block, against a plain recursion in double.
    void Test_IIR(quorunittesting::TestContext& context);
    void Test_IIRBiquad(quorunittesting::TestContext& context);
};

}  // namespace test
}  // namespace quoraccelerate
