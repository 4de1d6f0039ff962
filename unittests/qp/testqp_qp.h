// "qp.core": a check of the primitive runtime on the machine that runs it.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

class TestQP {
public:
    void Test_QPCore(quorunittesting::TestContext& context);
};

}  // namespace test
}  // namespace quoraccelerate
