// The test framework: registry, tree walk, failure handling and reports.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>

#include "quorunittesting/runner.h"
#include "quorunittesting/test.h"

namespace {

namespace qut = quorunittesting;
using qut::TestCase;
using qut::TestContext;

int g_fixtures = 0;

struct Fixture {
    Fixture() { ++g_fixtures; }
    void Passes(TestContext& context) { context.TraceOut() << "first line\nsecond line\n"; }
    void Fails(TestContext& context) {
        context.TraceOut() << "before the failure\n";
        qut::ThrowTestFailure("value == 3", qut::LocationInfo{"Fixture::Fails", "some/file.cpp", 42});
    }
    void Throws(TestContext&) { throw std::runtime_error("boom"); }
    void ThrowsInt(TestContext&) { throw 7; }
};

qut::Test* MakeTree() {
    auto* root = new qut::TestSuite("root");
    auto* inner = new qut::TestSuite("inner");
    inner->AddTest(new TestCase<Fixture>("fails", &Fixture::Fails));
    inner->AddTest(new TestCase<Fixture>("passes too", &Fixture::Passes));
    root->AddTest(new TestCase<Fixture>("passes", &Fixture::Passes));
    root->AddTest(inner);
    root->AddTest(new TestCase<Fixture>("throws", &Fixture::Throws));
    root->AddTest(new TestCase<Fixture>("throws int", &Fixture::ThrowsInt));
    root->AddTest(nullptr);
    return root;
}

TEST(TestFramework, RunsTheTreeInOrderAndReportsEveryOutcome) {
    std::unique_ptr<qut::Test> tree(MakeTree());
    std::ostringstream report;
    const std::string xmlPath = testing::TempDir() + "quorunittesting.xml";
    g_fixtures = 0;
    const qut::RunSummary summary = qut::RunTestTree(*tree, qut::RunOptions{&report, true, xmlPath});
    ASSERT_EQ(summary.results.size(), 5u);
    EXPECT_EQ(g_fixtures, 5);  // a fresh fixture per test
    EXPECT_EQ(summary.passed, 2);
    EXPECT_EQ(summary.failed, 3);
    const char* const paths[] = {"root/passes", "root/inner/fails", "root/inner/passes too", "root/throws",
                                 "root/throws int"};
    for (int i = 0; i < 5; ++i) EXPECT_EQ(summary.results[i].path, paths[i]);

    const qut::TestResult& failed = summary.results[1];
    EXPECT_FALSE(failed.passed);
    EXPECT_EQ(failed.message + "|" + failed.function + "|" + failed.file + "|" + std::to_string(failed.line),
              "value == 3|Fixture::Fails|some/file.cpp|42");
    EXPECT_EQ(failed.trace, "before the failure\n");
    EXPECT_EQ(summary.results[3].message, "unexpected exception: boom");
    EXPECT_EQ(summary.results[4].message, "unexpected exception of unknown type");
    EXPECT_EQ(summary.results[0].trace, "first line\nsecond line\n");

    const std::string text = report.str();
    EXPECT_EQ(text.substr(text.size() - std::string("2 passed, 3 failed\n").size()), "2 passed, 3 failed\n");
    std::ifstream in(xmlPath);
    const std::string xml((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::remove(xmlPath.c_str());
    const std::pair<const std::string*, const char*> parts[] = {
        {&text, "root\n  [PASS] passes"}, {&text, "  inner\n    [FAIL] fails"},
        {&text, "at some/file.cpp:42 (Fixture::Fails)"}, {&text, "| before the failure"},
        {&xml, "<testsuites tests=\"5\" failures=\"3\""}, {&xml, "<testcase classname=\"root/inner\" name=\"fails\""},
        {&xml, "<failure message=\"value == 3\">some/file.cpp:42</failure>"}};
    for (const auto& [output, part] : parts)
        EXPECT_NE(output->find(part), std::string::npos) << part << " in\n" << *output;
}

TEST(TestFramework, RegistryKeepsOneEntryPerName) {
    auto factory = []() -> qut::Test* { return MakeTree(); };
    ASSERT_TRUE(qut::TestRegistry::RegisterTest("framework-test", factory));
    EXPECT_FALSE(qut::TestRegistry::RegisterTest("framework-test", factory));
    EXPECT_FALSE(qut::TestRegistry::RegisterTest("null factory", nullptr));
    int count = 0;
    for (const auto& entry : qut::TestRegistry::Entries()) count += entry.first == "framework-test";
    EXPECT_EQ(count, 1);
    EXPECT_EQ(qut::RunRegisteredTests(qut::RunOptions{}, "framework-test").results.size(), 5u);
    EXPECT_TRUE(qut::TestRegistry::UnregisterTest("framework-test"));
    EXPECT_FALSE(qut::TestRegistry::UnregisterTest("framework-test"));
}

}  // namespace
