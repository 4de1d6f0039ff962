// Registration of the library's test tree "quoraccelerate" with the host's unit-test framework,
// done once by a static initialiser when the library loads.
#include "quoraccelerate/test.h"
#include "quorunittesting/test.h"
#include "qp/testqp_qp.h"
#include "suites.h"

namespace quoraccelerate {
namespace test {

const char* const MainTestModule::kSuiteName = "quoraccelerate";

namespace {

using quorunittesting::Test;
using quorunittesting::TestSuite;

QP_TEST_CASE(T_QPCoreTest, TestQP, "qp.core", Test_QPCore)

}  // namespace

// "qp.core" keeps its source's line numbers fixed, so its suite is made here.
Test* QPSuite() {
    auto* suite = new TestSuite("qp");
    suite->AddTest(new T_QPCoreTest);
    return suite;
}

namespace {

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
