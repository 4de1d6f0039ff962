#include "testwindow.h"

#include "suites.h"
#include "testsupport.h"

namespace quoraccelerate {
namespace test {

quorunittesting::Test* WindowSuite() { return new quorunittesting::TestSuite("Window"); }

}  // namespace test
}  // namespace quoraccelerate
