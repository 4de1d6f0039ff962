// Registration of the library's test tree "quoraccelerate" with the host's unit-test framework,
// done once by a static initialiser when the library loads.
#include "quoraccelerate/test.h"
#include "quorunittesting/test.h"
#include "qp/testqp_qp.h"
#include "testbasicmath.h"

namespace quoraccelerate {
namespace test {

const char* const MainTestModule::kSuiteName = "quoraccelerate";

namespace {

using quorunittesting::Test;
using quorunittesting::TestCase;
using quorunittesting::TestSuite;

// One test case class per test, named after it.
#define QP_TEST_CASE(Class, Fixture, name, body)                             \
    class Class : public TestCase<Fixture> {                                \
    public:                                                                 \
        Class() : TestCase<Fixture>(name, &Fixture::body) {}                \
    };

QP_TEST_CASE(T_AddTest, TestBasicMath, "AddTest", Test_Add)
QP_TEST_CASE(T_AbsTest, TestBasicMath, "AbsTest", Test_Abs)
QP_TEST_CASE(T_Abs_InPlaceTest, TestBasicMath, "Abs_InPlaceTest", Test_Abs_InPlace)
QP_TEST_CASE(T_QPCoreTest, TestQP, "qp.core", Test_QPCore)

Test* FilterIIRSuite() { return new TestSuite("filter"); }
Test* FilterMRFSuite() { return new TestSuite("filter"); }
Test* VectorUtilsSuite() { return new TestSuite("VectorUtils"); }
Test* DspSuite() { return new TestSuite("Dsp"); }

Test* BasicMathSuite() {
    auto* suite = new TestSuite("BasicMath");
    suite->AddTest(new T_AddTest);
    suite->AddTest(new T_AbsTest);
    suite->AddTest(new T_Abs_InPlaceTest);
    return suite;
}

Test* WindowSuite() { return new TestSuite("Window"); }
Test* FFTSuite() { return new TestSuite("FFT"); }
Test* FIRSuite() { return new TestSuite("FIR"); }

Test* QPSuite() {
    auto* suite = new TestSuite("qp");
    suite->AddTest(new T_QPCoreTest);
    return suite;
}

// The root suite and its nine sub-suites, in this order.
Test* RootSuite() {
    auto* root = new TestSuite(MainTestModule::kSuiteName);
    for (Test* (*factory)() : {&FilterIIRSuite, &FilterMRFSuite, &VectorUtilsSuite, &DspSuite, &BasicMathSuite,
                               &WindowSuite, &FFTSuite, &FIRSuite, &QPSuite}) {
        root->AddTest(factory());
    }
    return root;
}

bool g_registered = false;

bool Register() {
    if (!g_registered) {
        g_registered = true;
        quorunittesting::TestRegistry::RegisterTest(MainTestModule::kSuiteName, &RootSuite);
    }
    return g_registered;
}

const bool g_registration = Register();

}  // namespace

}  // namespace test
}  // namespace quoraccelerate
