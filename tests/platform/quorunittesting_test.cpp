// The test framework: registry, tree walk, failure handling and reports.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include "quorunittesting/runner.h"
#include "quorunittesting/test.h"

namespace {

namespace qut = quorunittesting;
using qut::LocationInfo;
using qut::RunOptions;
using qut::RunSummary;
using qut::TestCase;
using qut::TestContext;
using qut::TestRegistry;
using qut::TestResult;
using qut::TestSuite;
using qut::ThrowTestFailure;

int g_fixtures = 0;

struct Fixture {
    Fixture() { ++g_fixtures; }
    void Passes(TestContext& context) { context.TraceOut() << "first line\nsecond line\n"; }
    void Fails(TestContext& context) {
        context.TraceOut() << "before the failure\n";
        ThrowTestFailure("value == 3", LocationInfo{"Fixture::Fails", "some/file.cpp", 42});
    }
    void Throws(TestContext&) { throw std::runtime_error("boom"); }
    void ThrowsInt(TestContext&) { throw 7; }
};

qut::Test* MakeTree() {
    auto* root = new TestSuite("root");
    auto* inner = new TestSuite("inner");
    inner->AddTest(new TestCase<Fixture>("fails", &Fixture::Fails));
    inner->AddTest(new TestCase<Fixture>("passes too", &Fixture::Passes));
    root->AddTest(new TestCase<Fixture>("passes", &Fixture::Passes));
    root->AddTest(inner);
    root->AddTest(new TestCase<Fixture>("throws", &Fixture::Throws));
    root->AddTest(new TestCase<Fixture>("throws int", &Fixture::ThrowsInt));
    root->AddTest(nullptr);
    return root;
}

TEST(TestFramework, RunsTheTreeInOrderAndCollectsEveryOutcome) {
    std::unique_ptr<qut::Test> tree(MakeTree());
    std::ostringstream report;
    g_fixtures = 0;
    const RunSummary summary = qut::RunTestTree(*tree, RunOptions{&report, true, ""});
    ASSERT_EQ(summary.results.size(), 5u);
    EXPECT_EQ(g_fixtures, 5);  // a fresh fixture per test
    EXPECT_EQ(summary.passed, 2);
    EXPECT_EQ(summary.failed, 3);

    const char* const paths[] = {"root/passes", "root/inner/fails", "root/inner/passes too", "root/throws",
                                 "root/throws int"};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(summary.results[i].path, paths[i]);

    const TestResult& failed = summary.results[1];
    EXPECT_FALSE(failed.passed);
    EXPECT_EQ(failed.message, "value == 3");
    EXPECT_EQ(failed.function, "Fixture::Fails");
    EXPECT_EQ(failed.file, "some/file.cpp");
    EXPECT_EQ(failed.line, 42);
    EXPECT_EQ(failed.trace, "before the failure\n");
    EXPECT_EQ(summary.results[3].message, "unexpected exception: boom");
    EXPECT_EQ(summary.results[4].message, "unexpected exception of unknown type");
    EXPECT_EQ(summary.results[0].trace, "first line\nsecond line\n");

    const std::string text = report.str();
    EXPECT_NE(text.find("root\n  [PASS] passes"), std::string::npos) << text;
    EXPECT_NE(text.find("  inner\n    [FAIL] fails"), std::string::npos) << text;
    EXPECT_NE(text.find("at some/file.cpp:42 (Fixture::Fails)"), std::string::npos) << text;
    EXPECT_NE(text.find("| before the failure"), std::string::npos) << text;
    EXPECT_EQ(text.substr(text.size() - std::string("2 passed, 3 failed\n").size()), "2 passed, 3 failed\n");
}

TEST(TestFramework, RegistryKeepsOneEntryPerName) {
    auto factory = []() -> qut::Test* { return MakeTree(); };
    ASSERT_TRUE(TestRegistry::RegisterTest("framework-test", factory));
    EXPECT_FALSE(TestRegistry::RegisterTest("framework-test", factory));
    EXPECT_FALSE(TestRegistry::RegisterTest("null factory", nullptr));
    int count = 0;
    for (const auto& entry : TestRegistry::Entries()) count += entry.first == "framework-test";
    EXPECT_EQ(count, 1);

    const RunSummary summary = qut::RunRegisteredTests(RunOptions{}, "framework-test");
    EXPECT_EQ(summary.results.size(), 5u);
    EXPECT_TRUE(TestRegistry::UnregisterTest("framework-test"));
    EXPECT_FALSE(TestRegistry::UnregisterTest("framework-test"));
}

TEST(TestFramework, WritesJUnitXml) {
    std::unique_ptr<qut::Test> tree(MakeTree());
    const std::string path = testing::TempDir() + "quorunittesting.xml";
    qut::RunTestTree(*tree, RunOptions{nullptr, false, path});
    std::ifstream in(path);
    const std::string xml((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_NE(xml.find("<testsuites tests=\"5\" failures=\"3\""), std::string::npos) << xml;
    EXPECT_NE(xml.find("<testcase classname=\"root/inner\" name=\"fails\""), std::string::npos) << xml;
    EXPECT_NE(xml.find("<failure message=\"value == 3\">some/file.cpp:42</failure>"), std::string::npos) << xml;
    std::remove(path.c_str());
}

}  // namespace
