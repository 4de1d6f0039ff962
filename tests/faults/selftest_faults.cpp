// The self-tests can fail: this program links the test build of the library whose self-tests break
// the library's results when QP_SELFTEST_FAULT is set, and runs each family sub-suite with and
// without the fault. Without it every test passes; with it every test fails with the message its
// check reports.
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "quoraccelerate/test.h"
#include "quorunittesting/runner.h"

namespace {

namespace qut = quorunittesting;

std::unique_ptr<qut::Test> BuildRegisteredTree() {
    for (const auto& entry : qut::TestRegistry::Entries()) {
        if (entry.first == quoraccelerate::test::MainTestModule::kSuiteName) {
            return std::unique_ptr<qut::Test>(entry.second());
        }
    }
    return nullptr;
}

struct SubSuite {
    std::size_t position;  // in the root suite
    const char* name;
};

// What every failure message looks like: a mismatch with the expected and the actual value, the
// scalar check, the exact count check, or a named check ("IIR[float] failed").
const char* const kCheckMessage =
    "(.*Expected: .*, actual: .*"
    "|equal_values\\(resCPP, resQP, epsilonFactor\\) : .*"
    "|Equality check failed: expected: .*"
    "|.*[^ ] failed.*)";

class SelfTestFaults : public ::testing::TestWithParam<SubSuite> {
protected:
    std::vector<qut::TestResult> Run(bool inject) {
        if (inject) {
            setenv("QP_SELFTEST_FAULT", "1", 1);
        } else {
            unsetenv("QP_SELFTEST_FAULT");
        }
        const std::unique_ptr<qut::Test> root = BuildRegisteredTree();
        auto& suite = dynamic_cast<qut::TestSuite&>(*root);
        qut::Test& sub = *suite.Children().at(GetParam().position);
        EXPECT_EQ(sub.Name(), GetParam().name);
        std::vector<qut::TestResult> results = qut::RunTestTree(sub, qut::RunOptions{}).results;
        unsetenv("QP_SELFTEST_FAULT");
        return results;
    }
};

TEST_P(SelfTestFaults, PassesWhenTheLibraryIsRight) {
    const std::vector<qut::TestResult> results = Run(false);
    ASSERT_FALSE(results.empty());
    for (const auto& r : results) EXPECT_TRUE(r.passed) << r.name << ": " << r.message;
}

TEST_P(SelfTestFaults, EveryTestFailsWhenTheLibraryIsBroken) {
    const std::vector<qut::TestResult> results = Run(true);
    ASSERT_FALSE(results.empty());
    const std::regex expected(kCheckMessage);
    for (const auto& r : results) {
        EXPECT_FALSE(r.passed) << r.name << " passed with broken results";
        EXPECT_TRUE(std::regex_match(r.message, expected)) << r.name << ": " << r.message;
    }
}

INSTANTIATE_TEST_SUITE_P(Families, SelfTestFaults,
                         ::testing::Values(SubSuite{0, "filter"}, SubSuite{1, "filter"},
                                           SubSuite{2, "VectorUtils"}, SubSuite{3, "Dsp"},
                                           SubSuite{4, "BasicMath"}, SubSuite{5, "Window"},
                                           SubSuite{6, "FFT"}, SubSuite{7, "FIR"}),
                         [](const ::testing::TestParamInfo<SubSuite>& info) {
                             return std::to_string(info.param.position) + "_" + info.param.name;
                         });

}  // namespace
