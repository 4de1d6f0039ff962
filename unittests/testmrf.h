// "filter" self-tests.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

class TestMRF {
public:
};

}  // namespace test
}  // namespace quoraccelerate
