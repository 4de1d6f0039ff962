// The unit-test framework: a registry of named test trees, suites that own their children, test
// cases that call a member function of a test class, and the context a running test writes its
// trace to.
#pragma once

#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "quorunittesting/export.h"

namespace quorunittesting {

class TestVisitor;
class TestContext;

// A node of a test tree.
class QUORUNITTESTING_API Test {
public:
    explicit Test(const std::string& name);
    virtual ~Test();
    Test(const Test&) = delete;
    Test& operator=(const Test&) = delete;

    const std::string& Name() const { return name_; }
    virtual void Accept(TestVisitor& visitor) = 0;

private:
    std::string name_;
};

// A named group of tests and suites, run in the order they were added. Owns its children.
class QUORUNITTESTING_API TestSuite : public Test {
public:
    explicit TestSuite(const std::string& name);
    ~TestSuite() override;

    void AddTest(Test* test);  // takes ownership; null is ignored
    const std::vector<std::unique_ptr<Test>>& Children() const { return children_; }
    void Accept(TestVisitor& visitor) override;

private:
    std::vector<std::unique_ptr<Test>> children_;
};

// A single test. Run executes its body with the test's own context.
class QUORUNITTESTING_API TestCaseBase : public Test {
public:
    explicit TestCaseBase(const std::string& name);
    ~TestCaseBase() override;
    void Accept(TestVisitor& visitor) override;
    virtual void Run(TestContext& context) = 0;
};

// A test whose body is a member function of a test class; each run uses a fresh instance.
template <typename T>
class TestCase : public TestCaseBase {
public:
    using Body = void (T::*)(TestContext&);

    TestCase(const std::string& name, Body body) : TestCaseBase(name), body_(body) {}
    void Run(TestContext& context) override {
        T fixture;
        (fixture.*body_)(context);
    }

private:
    Body body_;
};

class QUORUNITTESTING_API TestVisitor {
public:
    virtual ~TestVisitor();
    virtual void VisitSuite(TestSuite& suite) = 0;
    virtual void VisitTestCase(TestCaseBase& test) = 0;
};

// Where a check failed: the test's qualified function name, the source path and the line.
struct LocationInfo {
    const char* function;
    const char* file;
    int line;
};

// What a running test may write for its reader, whatever its outcome.
class QUORUNITTESTING_API TestContext {
public:
    TestContext();
    ~TestContext();
    std::ostringstream& TraceOut() const { return trace_; }

private:
    mutable std::ostringstream trace_;
};

// Ends the running test as failed with the message and the place; the suite goes on with the next
// test. Only valid inside a test body run by the framework.
[[noreturn]] QUORUNITTESTING_API void ThrowTestFailure(const char* message, LocationInfo where);

// The process-wide registry of test trees.
class QUORUNITTESTING_API TestRegistry {
public:
    using Factory = Test* (*)();

    // One entry per name: a second registration under a taken name is refused (false).
    static bool RegisterTest(const std::string& name, Factory factory);
    static bool UnregisterTest(const std::string& name);
    // Registered entries, in registration order.
    static std::vector<std::pair<std::string, Factory>> Entries();
};

}  // namespace quorunittesting
