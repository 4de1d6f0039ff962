// "Window" self-tests.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

class TestWindow {
public:
};

}  // namespace test
}  // namespace quoraccelerate
