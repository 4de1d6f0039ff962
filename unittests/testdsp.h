// "Dsp" self-tests.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

class TestDSP {
public:
};

}  // namespace test
}  // namespace quoraccelerate
