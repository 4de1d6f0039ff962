// "FIR" and the first "filter" suite's self-tests.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

class TestFIR {
public:
};

class TestIIR {
public:
};

}  // namespace test
}  // namespace quoraccelerate
