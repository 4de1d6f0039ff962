#include "testmrf.h"

#include "suites.h"
#include "testsupport.h"

namespace quoraccelerate {
namespace test {

quorunittesting::Test* FilterMRFSuite() { return new quorunittesting::TestSuite("filter"); }

}  // namespace test
}  // namespace quoraccelerate
