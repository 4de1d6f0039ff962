#include "testvectorutils.h"

#include "suites.h"
#include "testsupport.h"

namespace quoraccelerate {
namespace test {

quorunittesting::Test* VectorUtilsSuite() { return new quorunittesting::TestSuite("VectorUtils"); }

}  // namespace test
}  // namespace quoraccelerate
