// "FFT" self-tests.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

class TestFFT {
public:
};

}  // namespace test
}  // namespace quoraccelerate
