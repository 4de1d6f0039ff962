// "VectorUtils" self-tests: copy, move, set, zero, byte swapping and byte comparison, each against a
// plain loop, bit for bit, with guard elements around every destination.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

class TestVectorUtils {
public:
    void Test_RoundUpToMultipleOf4(quorunittesting::TestContext& context);
    void Test_Copy(quorunittesting::TestContext& context);
    void Test_Move(quorunittesting::TestContext& context);
    void Test_Set(quorunittesting::TestContext& context);
    void Test_Zero(quorunittesting::TestContext& context);
    void Test_Equal(quorunittesting::TestContext& context);
    void Test_SwapBytes(quorunittesting::TestContext& context);
    void Test_CopyWithDifferentArraySize(quorunittesting::TestContext& context);
    void Test_MoveWithDifferentArraySize(quorunittesting::TestContext& context);
    void Test_SetWithDifferentArraySize(quorunittesting::TestContext& context);
    void Test_EqualSameArrayReturnTrue(quorunittesting::TestContext& context);
    void Test_EqualDifferentArrayReturnFalse(quorunittesting::TestContext& context);
};

}  // namespace test
}  // namespace quoraccelerate
