// The nine sub-suites of the "quoraccelerate" tree, each made by the factory in its test source,
// and the macro that makes one test case class per test.
#pragma once

#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

// A TestCase of Fixture named `name` whose body is Fixture::body.
#define QP_TEST_CASE(Class, Fixture, name, body)                                   \
    class Class : public ::quorunittesting::TestCase<Fixture> {                   \
    public:                                                                       \
        Class() : ::quorunittesting::TestCase<Fixture>(name, &Fixture::body) {}   \
    };

quorunittesting::Test* FilterIIRSuite();    // testfir.cpp
quorunittesting::Test* FilterMRFSuite();    // testmrf.cpp
quorunittesting::Test* VectorUtilsSuite();  // testvectorutils.cpp
quorunittesting::Test* DspSuite();          // testdsp.cpp
quorunittesting::Test* BasicMathSuite();    // testbasicmath.cpp
quorunittesting::Test* WindowSuite();       // testwindow.cpp
quorunittesting::Test* FFTSuite();          // testfft.cpp
quorunittesting::Test* FIRSuite();          // testfir.cpp
quorunittesting::Test* QPSuite();           // maintestmodule.cpp

}  // namespace test
}  // namespace quoraccelerate
