// The exception that carries a failed check from ThrowTestFailure to the runner.
#pragma once

#include <string>

#include "quorunittesting/test.h"

namespace quorunittesting {
namespace detail {

struct TestFailure {
    TestFailure(const char* text, LocationInfo where)
        : message(text),
          function(where.function != nullptr ? where.function : ""),
          file(where.file != nullptr ? where.file : ""),
          line(where.line) {}
    std::string message;
    std::string function;
    std::string file;
    int line;
};

}  // namespace detail
}  // namespace quorunittesting
