// The self-tests can fail: this program links the test build of the library whose self-tests break
// the library's results when QP_SELFTEST_FAULT is set, and runs each family sub-suite with and
// without the fault. Without it every test passes; with it every test fails with the message its
// check reports.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "quoraccelerate/test.h"
#include "quorunittesting/runner.h"

namespace {

namespace qut = quorunittesting;

// What every failure message looks like: a mismatch with the expected and the actual value, the
// scalar check, the exact count check, or a named check ("IIR[float] failed").
bool IsCheckMessage(const std::string& m) {
    const std::size_t expected = m.find("Expected: ");
    if (expected != std::string::npos && m.find(", actual: ", expected) != std::string::npos) return true;
    if (m.rfind("equal_values(resCPP, resQP, epsilonFactor) : ", 0) == 0) return true;
    if (m.rfind("Equality check failed: expected: ", 0) == 0) return true;
    for (std::size_t at = m.find(" failed"); at != std::string::npos; at = m.find(" failed", at + 1))
        if (at > 0 && m[at - 1] != ' ') return true;
    return false;
}

class SelfTestFaults : public ::testing::TestWithParam<std::size_t> {};

TEST_P(SelfTestFaults, PassesOnTheRightLibraryAndFailsEveryTestOnTheBrokenOne) {
    const char* const families[] = {"filter", "filter", "VectorUtils", "Dsp", "BasicMath", "Window", "FFT", "FIR"};
    for (const bool inject : {false, true}) {
        std::unique_ptr<qut::Test> root;
        for (const auto& entry : qut::TestRegistry::Entries())
            if (entry.first == quoraccelerate::test::MainTestModule::kSuiteName) root.reset(entry.second());
        ASSERT_NE(root, nullptr);
        qut::Test& sub = *dynamic_cast<qut::TestSuite&>(*root).Children().at(GetParam());
        EXPECT_EQ(sub.Name(), families[GetParam()]);
        if (inject) setenv("QP_SELFTEST_FAULT", "1", 1);
        const std::vector<qut::TestResult> results = qut::RunTestTree(sub, qut::RunOptions{}).results;
        unsetenv("QP_SELFTEST_FAULT");
        ASSERT_FALSE(results.empty());
        for (const auto& r : results) {
            EXPECT_EQ(r.passed, !inject) << r.name << ": " << r.message;
            if (inject) {
                EXPECT_TRUE(IsCheckMessage(r.message)) << r.name << ": " << r.message;
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Families, SelfTestFaults, ::testing::Range<std::size_t>(0, 8));

}  // namespace
