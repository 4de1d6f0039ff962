#include "testfir.h"

#include "suites.h"
#include "testsupport.h"

namespace quoraccelerate {
namespace test {

quorunittesting::Test* FilterIIRSuite() { return new quorunittesting::TestSuite("filter"); }
quorunittesting::Test* FIRSuite() { return new quorunittesting::TestSuite("FIR"); }

}  // namespace test
}  // namespace quoraccelerate
