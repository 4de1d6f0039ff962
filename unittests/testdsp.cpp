#include "testdsp.h"

#include "suites.h"
#include "testsupport.h"

namespace quoraccelerate {
namespace test {

quorunittesting::Test* DspSuite() { return new quorunittesting::TestSuite("Dsp"); }

}  // namespace test
}  // namespace quoraccelerate
