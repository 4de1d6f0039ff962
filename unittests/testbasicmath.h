// "BasicMath": element-wise arithmetic and the extrema, each against a plain loop.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

class TestBasicMath {
public:
    void Test_Add(quorunittesting::TestContext& context);
    void Test_Abs(quorunittesting::TestContext& context);
    void Test_Abs_InPlace(quorunittesting::TestContext& context);
};

}  // namespace test
}  // namespace quoraccelerate
