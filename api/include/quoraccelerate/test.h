// The library's self-test module: the test tree it registers with the host's unit-test framework.
#pragma once

#include "quoraccelerate/export.h"

namespace quoraccelerate {
namespace test {

struct MainTestModule {
    // "quoraccelerate": the registration key and the name of the root suite.
    QUORACCELERATE_API static const char* const kSuiteName;
};

}  // namespace test
}  // namespace quoraccelerate
