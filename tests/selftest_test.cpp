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
namespace qt = quoraccelerate::test;
using namespace qp_test;

std::unique_ptr<qut::TestSuite> BuildRegisteredTree() {
    for (const auto& entry : qut::TestRegistry::Entries()) {
        if (entry.first == qt::MainTestModule::kSuiteName)
            return std::unique_ptr<qut::TestSuite>(dynamic_cast<qut::TestSuite*>(entry.second()));
    }
    return nullptr;
}

// One registration, named after the library, whose tree holds nine sub-suites with every test,
// name for name and in order.
TEST(SelfTestModule, RegistersOneTreeWithTheSuiteAndTestOrder) {
    EXPECT_STREQ(qt::MainTestModule::kSuiteName, "quoraccelerate");
    int entries = 0;
    for (const auto& entry : qut::TestRegistry::Entries()) entries += entry.first == "quoraccelerate";
    EXPECT_EQ(entries, 1);

    const std::unique_ptr<qut::TestSuite> root = BuildRegisteredTree();
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->Name(), "quoraccelerate");
    std::vector<std::pair<std::string, std::vector<std::string>>> layout;
    for (const auto& child : root->Children()) {
        std::vector<std::string> names;
        for (const auto& test : dynamic_cast<qut::TestSuite&>(*child).Children()) names.push_back(test->Name());
        layout.emplace_back(child->Name(), names);
    }
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
    EXPECT_EQ(layout, expected);
}

// qp.core on played processors: it passes on a processor of the reference vendor that describes
// its caches, and otherwise fails at the cache step, on its fixed line, with the status message
// and the trace of the steps before.
class QPCore : public FakeProcessorTest {};

TEST_F(QPCore, PassesOrFailsAtTheCacheStep) {
    const std::string traceToCache = "qpCore\n2018.0.1 (r56998)\nOct 10 2017\nCPU Frequency:  2000 MHz\n";
    struct Case {
        const std::uint32_t (*vendor)[3];
        bool describesCaches;
        std::string message, trace;
    } const cases[] = {
        {&kReferenceVendor, true, "", traceToCache + "Max Cache Size:  8388608 bytes\nCPU Features:  33791\n"},
        {&kOtherVendor, true, "status == qpStsNoErr : qpStsNotSupportedCpu: The CPU is not supported", traceToCache},
        {&kReferenceVendor, false,
         "status == qpStsNoErr : qpStsUnknownCacheSize: The CPU is supported, but the size of the cache is unknown",
         traceToCache},
    };
    for (const Case& c : cases) {
        FakeProcessor& f = MakeProcessor(Model::Avx2, *c.vendor);
        if (c.describesCaches) f.Leaf(4, 0) = {0x163, (15u << 22) | 63u, 8191u, 0};
        f.tscPerNowCall = 1000000000ull;
        Reinstall();
        const std::unique_ptr<qut::TestSuite> root = BuildRegisteredTree();
        const qut::TestResult r = qut::RunTestTree(*root->Children().back(), qut::RunOptions{}).results.at(0);
        EXPECT_EQ(r.passed, c.message.empty());
        EXPECT_EQ(r.message, c.message);
        EXPECT_EQ(r.trace, c.trace);
        if (r.passed) continue;
        EXPECT_EQ(r.function + ":" + std::to_string(r.line), "quoraccelerate::test::TestQP::Test_QPCore:80");
        EXPECT_NE(r.file.find("unittests/qp/testqp_qp.cpp"), std::string::npos) << r.file;
    }
}

// --- shared checks --------------------------------------------------------------------------------

TEST(SelfTestChecks, EqualValues) {
    const float inf = std::numeric_limits<float>::infinity(), nan = std::numeric_limits<float>::quiet_NaN();
    const float eps = std::numeric_limits<float>::epsilon();
    const struct {
        float expected, actual;
        unsigned factor;
        bool equal;
    } cases[] = {
        {1, 1 + eps, 1, true}, {1, 1 + 2 * eps, 1, false}, {1, 1 + 2 * eps, 2, true},
        {1e6f, 1e6f + 0.0625f, 1, true}, {1e6f, 1e6f + 0.125f, 1, false},  // one ulp, two: the relative rule
        {1e6f, 1.0001e6f, 100, false}, {0, 1e-7f, 1, true},                // absolute rule near zero
        {nan, nan, 1, true}, {1, nan, 1, false}, {nan, 1, 1, false},
        {inf, inf, 1, true}, {inf, -inf, 1, true}, {inf, 3.0e38f, 1000, false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(qt::equal_values(c.expected, c.actual, c.factor), c.equal) << c.expected << " " << c.actual;
    EXPECT_TRUE(qt::equal_values(1.0, 1.0 + 2.220446049250313e-16, 1));
    EXPECT_FALSE(qt::equal_values(1.0, 1.0 + 4.5e-16, 1));
}

TEST(SelfTestChecks, FirstMismatchMessage) {
    const float expected[4] = {1, 2, 3, 4}, actual[4] = {1, 2, 3.5f, 5}, input[4] = {9, 8, 7, 6};
    EXPECT_EQ(qt::CompareArrays("QP::Add<float>", expected, actual, 4, input, 1),
              "QP::Add<float> at input index 2. Expected: 3.000000000, actual: 3.500000000. Input = 7.000000000");
    EXPECT_EQ(qt::CompareArrays("x", expected, expected, 4, input, 1), "");
    EXPECT_EQ(qt::CountMismatch(7, 6), "Equality check failed: expected: 7, actual: 6");
}

// A span wider than half the largest float is drawn at half scale and doubled: no overflow to
// infinity, values spread over the whole range, none equal to the upper bound.
TEST(SelfTestChecks, RandomValuesCoverHugeSpansWithoutOverflow) {
    const float max = std::numeric_limits<float>::max();
    qt::RandomValues<float> random(-max, max);
    bool large = false;
    for (int i = 0; i < 10000; ++i) {
        const float v = random();
        ASSERT_TRUE(std::isfinite(v) && v < max) << v;
        large = large || std::fabs(v) > 1e38f;
    }
    EXPECT_TRUE(large);
    qt::RandomValues<double> small(-1.0, 1.0, 7);
    for (int i = 0; i < 1000; ++i) {
        const double v = small();
        ASSERT_TRUE(v >= -1.0 && v < 1.0) << v;
    }
}

}  // namespace
