#include "testfft.h"

#include "suites.h"
#include "testsupport.h"

namespace quoraccelerate {
namespace test {

quorunittesting::Test* FFTSuite() { return new quorunittesting::TestSuite("FFT"); }

}  // namespace test
}  // namespace quoraccelerate
