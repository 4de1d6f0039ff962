#include <algorithm>
#include <mutex>

#include "failure.h"
#include "quorunittesting/test.h"

namespace quorunittesting {

Test::Test(const std::string& name) : name_(name) {}
Test::~Test() = default;

TestSuite::TestSuite(const std::string& name) : Test(name) {}
TestSuite::~TestSuite() = default;

void TestSuite::AddTest(Test* test) {
    if (test != nullptr) children_.emplace_back(test);
}

void TestSuite::Accept(TestVisitor& visitor) { visitor.VisitSuite(*this); }

TestCaseBase::TestCaseBase(const std::string& name) : Test(name) {}
TestCaseBase::~TestCaseBase() = default;

void TestCaseBase::Accept(TestVisitor& visitor) { visitor.VisitTestCase(*this); }

TestVisitor::~TestVisitor() = default;

TestContext::TestContext() = default;
TestContext::~TestContext() = default;

void ThrowTestFailure(const char* message, LocationInfo where) {
    throw detail::TestFailure(message != nullptr ? message : "", where);
}

namespace {

struct Registry {
    std::mutex mutex;
    std::vector<std::pair<std::string, TestRegistry::Factory>> entries;
};

// Never destroyed: libraries register from static initialisers and may unregister from static
// destructors in any order.
Registry& TheRegistry() {
    static Registry* const registry = new Registry;
    return *registry;
}

}  // namespace

bool TestRegistry::RegisterTest(const std::string& name, Factory factory) {
    if (factory == nullptr) return false;
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> lock(r.mutex);
    const auto taken = std::find_if(r.entries.begin(), r.entries.end(), [&](const auto& e) { return e.first == name; });
    if (taken != r.entries.end()) return false;
    r.entries.emplace_back(name, factory);
    return true;
}

bool TestRegistry::UnregisterTest(const std::string& name) {
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> lock(r.mutex);
    const auto it = std::find_if(r.entries.begin(), r.entries.end(), [&](const auto& e) { return e.first == name; });
    if (it == r.entries.end()) return false;
    r.entries.erase(it);
    return true;
}

std::vector<std::pair<std::string, TestRegistry::Factory>> TestRegistry::Entries() {
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> lock(r.mutex);
    return r.entries;
}

}  // namespace quorunittesting
