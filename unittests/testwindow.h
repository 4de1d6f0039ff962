// "Window" self-tests: each window applied to random signals, in both precisions, in and out of
// place, against its formula.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

class TestWindow {
public:
    void Test_WindowBartlett(quorunittesting::TestContext& context);
    void Test_WindowHann(quorunittesting::TestContext& context);
    void Test_WindowHamming(quorunittesting::TestContext& context);
    void Test_WindowBlackman(quorunittesting::TestContext& context);
    void Test_WindowKaiser(quorunittesting::TestContext& context);
};

}  // namespace test
}  // namespace quoraccelerate
