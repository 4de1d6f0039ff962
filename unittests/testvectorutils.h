// "VectorUtils" self-tests.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

class TestVectorUtils {
public:
};

}  // namespace test
}  // namespace quoraccelerate
