// The second "filter" suite: the multi-rate FIR filter.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

class TestMRF {
public:
    // Several factor and phase combinations against a plain polyphase filter built by a reference
    // initialiser, over two calls so that the history carries.
    void Test_MRF(quorunittesting::TestContext& context);
};

}  // namespace test
}  // namespace quoraccelerate
