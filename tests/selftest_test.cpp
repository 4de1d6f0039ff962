// The library's self-test module: its registration, its tree, the qp.core runtime check on played
// processors, and the shared check helpers.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "fake_processor.h"
#include "quoraccelerate/test.h"
#include "quorunittesting/runner.h"
#include "testsupport.h"

namespace {

namespace qut = quorunittesting;
using quoraccelerate::test::MainTestModule;
using namespace qp_test;

std::unique_ptr<qut::Test> BuildRegisteredTree() {
    for (const auto& entry : qut::TestRegistry::Entries()) {
        if (entry.first == MainTestModule::kSuiteName) return std::unique_ptr<qut::Test>(entry.second());
    }
    return nullptr;
}

// Sub-suites of the root, and each one's tests, in order.
std::vector<std::pair<std::string, std::vector<std::string>>> Layout(qut::Test& root) {
    std::vector<std::pair<std::string, std::vector<std::string>>> layout;
    auto& suite = dynamic_cast<qut::TestSuite&>(root);
    for (const auto& child : suite.Children()) {
        auto& sub = dynamic_cast<qut::TestSuite&>(*child);
        std::vector<std::string> names;
        for (const auto& test : sub.Children()) names.push_back(test->Name());
        layout.emplace_back(sub.Name(), names);
    }
    return layout;
}

TEST(SelfTestModule, RegistersOneTreeNamedAfterTheLibrary) {
    EXPECT_STREQ(MainTestModule::kSuiteName, "quoraccelerate");
    int entries = 0;
    for (const auto& entry : qut::TestRegistry::Entries()) entries += entry.first == "quoraccelerate";
    EXPECT_EQ(entries, 1);
}

// The nine sub-suites and every test, name for name and in order.
TEST(SelfTestModule, TreeKeepsTheSuiteAndTestOrder) {
    const std::unique_ptr<qut::Test> root = BuildRegisteredTree();
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->Name(), "quoraccelerate");
    const std::vector<std::pair<std::string, std::vector<std::string>>> expected = {
        {"filter", {"TestIIR", "TestIIRBiquad"}},
        {"filter", {"TestMRF"}},
        {"VectorUtils",
         {"RoundUpToMultipleOf4Test", "CopyTest", "MoveTest", "SetTest", "ZeroTest", "EqualTest", "SwapBytesTest",
          "TestCopyWithDifferentArraySize", "TestMoveWithDifferentArraySize", "TestSetWithDifferentArraySize",
          "EqualTestSameArrayReturnTrue", "EqualTestDifferentArrayReturnFalse"}},
        {"Dsp", {"DotProductTest", "UpSampleTest", "DownSampleTest", "ConvolveTest"}},
        {"BasicMath",
         {"AddConstant_InPlaceTest", "Add_InPlaceTest", "AddConstantTest", "AddTest", "AddProductTest", "SubTest",
          "SubConstant_InPlaceTest", "SubConstantRev_InPlaceTest", "Sub_InPlaceTest", "MulConstant_InPlaceTest",
          "MulConstantTest", "Mul_InPlaceTest", "MulTest", "DivConstant_InPlaceTest", "Div_InPlaceTest",
          "DivConstantRevTest", "SqrTest", "Ln_InPlaceTest", "LnTest", "ExpTest", "NormalizeTest", "AbsTest",
          "Abs_InPlaceTest", "SumTest", "MaxTest", "MaxIndexTest", "MinTest", "MinIndexTest", "MagnitudeTest",
          "PowerSpectrTest", "Flip_InPlaceTest", "FlipTest", "Threshold_LT_InPlaceTest", "Threshold_GT_InPlaceTest",
          "Invert_Threshold_InPlaceTest", "PolarToCartTest", "CartToPolarTest", "TrimTest", "MaxMagnitudeTest",
          "MinMaxTest", "MinMaxIndexTest", "MinEveryTest", "MinEveryTestInPlace", "MaxEveryTest",
          "MaxEveryInPlaceTest", "InterleaveTest", "DeInterleaveTest", "NormL2Test"}},
        {"Window", {"WindowBartlettTest", "WindowHannTest", "WindowHammingTest", "WindowBlackmanTest", "WindowKaiserTest"}},
        {"FFT", {"FFTFwdEmptyTest", "FFTFwdUnitImpulseTest", "FFTFwdHeavisideTest", "FFTFwdRectangularTest",
                 "FFTInvTest", "FFTRoundtripTest"}},
        {"FIR", {"GenerateLowpassFIRCoefficientsTest"}},
        {"qp", {"qp.core"}},
    };
    EXPECT_EQ(Layout(*root), expected);
}

// Runs qp.core alone on the processor the runtime currently sees.
qut::TestResult RunQPCore() {
    const std::unique_ptr<qut::Test> root = BuildRegisteredTree();
    auto& suite = dynamic_cast<qut::TestSuite&>(*root);
    qut::RunSummary summary = qut::RunTestTree(*suite.Children().back(), qut::RunOptions{});
    return summary.results.at(0);
}

class QPCore : public FakeProcessorTest {};

TEST_F(QPCore, PassesOnAReferenceProcessorThatDescribesItsCaches) {
    FakeProcessor& f = MakeProcessor(Model::Avx2);
    f.Leaf(4, 0) = {0x163, (15u << 22) | 63u, 8191u, 0};
    f.tscPerNowCall = 1000000000ull;
    Reinstall();
    const qut::TestResult r = RunQPCore();
    EXPECT_TRUE(r.passed) << r.message;
    EXPECT_EQ(r.trace,
              "qpCore\n2018.0.1 (r56998)\nOct 10 2017\nCPU Frequency:  2000 MHz\nMax Cache Size:  8388608 bytes\n"
              "CPU Features:  33791\n");
}

TEST_F(QPCore, FailsAtTheCacheStepWithTheStatusMessage) {
    struct Case {
        const std::uint32_t (*vendor)[3];
        bool describesCaches;
        const char* message;
    } const cases[] = {
        {&kOtherVendor, true, "status == qpStsNoErr : qpStsNotSupportedCpu: The CPU is not supported"},
        {&kReferenceVendor, false,
         "status == qpStsNoErr : qpStsUnknownCacheSize: The CPU is supported, but the size of the cache is unknown"},
    };
    for (const Case& c : cases) {
        FakeProcessor& f = MakeProcessor(Model::Avx, *c.vendor);
        if (c.describesCaches) f.Leaf(4, 0) = {0x163, (15u << 22) | 63u, 8191u, 0};
        Reinstall();
        const qut::TestResult r = RunQPCore();
        EXPECT_FALSE(r.passed);
        EXPECT_EQ(r.message, c.message);
        EXPECT_EQ(r.line, 80);
        EXPECT_EQ(r.function, "quoraccelerate::test::TestQP::Test_QPCore");
        EXPECT_NE(r.file.find("unittests/qp/testqp_qp.cpp"), std::string::npos) << r.file;
        EXPECT_NE(r.trace.find("CPU Frequency:  "), std::string::npos);
        EXPECT_EQ(r.trace.find("Max Cache Size"), std::string::npos);
    }
}

// --- shared checks --------------------------------------------------------------------------------

TEST(SelfTestChecks, EqualValues) {
    using quoraccelerate::test::equal_values;
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(equal_values(1.0f, 1.0f + 1.1920929e-7f, 1));
    EXPECT_FALSE(equal_values(1.0f, 1.0f + 2 * 1.1920929e-7f, 1));
    EXPECT_TRUE(equal_values(1.0f, 1.0f + 2 * 1.1920929e-7f, 2));
    EXPECT_TRUE(equal_values(1e6f, 1e6f + 0.0625f, 1));               // one ulp: relative rule
    EXPECT_FALSE(equal_values(1e6f, 1e6f + 0.125f, 1));
    EXPECT_FALSE(equal_values(1e6f, 1.0001e6f, 100));
    EXPECT_TRUE(equal_values(0.0f, 1e-7f, 1));                       // absolute rule near zero
    EXPECT_TRUE(equal_values(nan, nan, 1));
    EXPECT_FALSE(equal_values(std::nan(""), 1.0, 1));
    EXPECT_FALSE(equal_values(1.0f, nan, 1));
    EXPECT_TRUE(equal_values(inf, inf, 1));
    EXPECT_TRUE(equal_values(inf, -inf, 1));
    EXPECT_FALSE(equal_values(inf, 3.0e38f, 1000));
    EXPECT_TRUE(equal_values(1.0, 1.0 + 2.220446049250313e-16, 1));
    EXPECT_FALSE(equal_values(1.0, 1.0 + 4.5e-16, 1));
}

TEST(SelfTestChecks, FirstMismatchMessage) {
    const float expected[4] = {1, 2, 3, 4}, actual[4] = {1, 2, 3.5f, 5}, input[4] = {9, 8, 7, 6};
    EXPECT_EQ(quoraccelerate::test::CompareArrays("QP::Add<float>", expected, actual, 4, input, 1),
              "QP::Add<float> at input index 2. Expected: 3.000000000, actual: 3.500000000. Input = 7.000000000");
    EXPECT_EQ(quoraccelerate::test::CompareArrays("x", expected, expected, 4, input, 1), "");
    EXPECT_EQ(quoraccelerate::test::CountMismatch(7, 6).rfind("Equality check failed: expected: 7", 0), 0u);
}

// A span wider than half the largest float is drawn at half scale and doubled: no overflow to
// infinity, values spread over the whole range, none equal to the upper bound.
TEST(SelfTestChecks, RandomValuesCoverHugeSpansWithoutOverflow) {
    const float max = std::numeric_limits<float>::max();
    quoraccelerate::test::RandomValues<float> random(-max, max);
    bool large = false;
    for (int i = 0; i < 10000; ++i) {
        const float v = random();
        ASSERT_TRUE(std::isfinite(v));
        ASSERT_LT(v, max);
        large = large || std::fabs(v) > 1e38f;
    }
    EXPECT_TRUE(large);
    quoraccelerate::test::RandomValues<double> small(-1.0, 1.0, 7);
    for (int i = 0; i < 1000; ++i) {
        const double v = small();
        ASSERT_GE(v, -1.0);
        ASSERT_LT(v, 1.0);
    }
}

}  // namespace
