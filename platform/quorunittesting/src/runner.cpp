#include "quorunittesting/runner.h"

#include <chrono>
#include <exception>
#include <fstream>
#include <ostream>
#include <sstream>

#include "failure.h"

namespace quorunittesting {

namespace {

// Indents every line of a multi-line text.
void WriteIndented(std::ostream& out, const std::string& text, const std::string& indent) {
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) out << indent << line << '\n';
}

class Runner final : public TestVisitor {
public:
    explicit Runner(const RunOptions& options) : options_(options) {}

    void VisitSuite(TestSuite& suite) override {
        if (options_.report != nullptr) *options_.report << Indent() << suite.Name() << '\n';
        path_.push_back(suite.Name());
        for (const auto& child : suite.Children()) child->Accept(*this);
        path_.pop_back();
    }

    void VisitTestCase(TestCaseBase& test) override {
        TestResult result;
        result.name = test.Name();
        for (const std::string& part : path_) result.path += part + "/";
        result.path += test.Name();

        TestContext context;
        const auto start = std::chrono::steady_clock::now();
        try {
            test.Run(context);
            result.passed = true;
        } catch (const detail::TestFailure& failure) {
            result.message = failure.message;
            result.function = failure.function;
            result.file = failure.file;
            result.line = failure.line;
        } catch (const std::exception& e) {
            result.message = std::string("unexpected exception: ") + e.what();
        } catch (...) {
            result.message = "unexpected exception of unknown type";
        }
        result.milliseconds =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
        result.trace = context.TraceOut().str();
        Report(result);
        (result.passed ? summary_.passed : summary_.failed) += 1;
        summary_.results.push_back(std::move(result));
    }

    RunSummary Take() { return std::move(summary_); }

private:
    std::string Indent() const { return std::string(2 * path_.size(), ' '); }

    void Report(const TestResult& r) {
        if (options_.report == nullptr) return;
        std::ostream& out = *options_.report;
        const std::string indent = Indent();
        out << indent << (r.passed ? "[PASS] " : "[FAIL] ") << r.name << "  (" << r.milliseconds << " ms)\n";
        if (!r.passed) {
            WriteIndented(out, r.message, indent + "       ");
            if (!r.file.empty()) {
                out << indent << "       at " << r.file << ':' << r.line;
                if (!r.function.empty()) out << " (" << r.function << ')';
                out << '\n';
            }
        }
        if (options_.showTrace && !r.trace.empty()) WriteIndented(out, r.trace, indent + "       | ");
    }

    const RunOptions& options_;
    std::vector<std::string> path_;
    RunSummary summary_;
};

void Close(const RunSummary& summary, const RunOptions& options) {
    if (options.report != nullptr) *options.report << summary.passed << " passed, " << summary.failed << " failed\n";
    if (!options.junitPath.empty()) WriteJUnitXml(summary, options.junitPath);
}

std::string XmlEscape(const std::string& text) {
    std::string out;
    for (char c : text) {
        switch (c) {
            case '&': out += "&amp;"; break;
            case '<': out += "&lt;"; break;
            case '>': out += "&gt;"; break;
            case '"': out += "&quot;"; break;
            default: out += c;
        }
    }
    return out;
}

}  // namespace

RunSummary RunTestTree(Test& root, const RunOptions& options) {
    Runner runner(options);
    root.Accept(runner);
    RunSummary summary = runner.Take();
    Close(summary, options);
    return summary;
}

RunSummary RunRegisteredTests(const RunOptions& options, const std::string& name) {
    RunOptions quiet = options;
    quiet.junitPath.clear();
    RunSummary all;
    for (const auto& entry : TestRegistry::Entries()) {
        if (!name.empty() && entry.first != name) continue;
        std::unique_ptr<Test> root(entry.second());
        if (!root) continue;
        Runner runner(quiet);
        root->Accept(runner);
        RunSummary part = runner.Take();
        all.passed += part.passed;
        all.failed += part.failed;
        for (auto& r : part.results) all.results.push_back(std::move(r));
    }
    Close(all, options);
    return all;
}

bool WriteJUnitXml(const RunSummary& summary, const std::string& path) {
    std::ofstream out(path);
    if (!out) return false;
    double total = 0;
    for (const TestResult& r : summary.results) total += r.milliseconds;
    out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    out << "<testsuites tests=\"" << summary.results.size() << "\" failures=\"" << summary.failed << "\" time=\""
        << total / 1000 << "\">\n";
    out << "  <testsuite name=\"registered\" tests=\"" << summary.results.size() << "\" failures=\""
        << summary.failed << "\">\n";
    for (const TestResult& r : summary.results) {
        const std::string classname = r.path.substr(0, r.path.size() - r.name.size() - (r.path.size() > r.name.size() ? 1 : 0));
        out << "    <testcase classname=\"" << XmlEscape(classname) << "\" name=\"" << XmlEscape(r.name)
            << "\" time=\"" << r.milliseconds / 1000 << "\">\n";
        if (!r.passed) {
            out << "      <failure message=\"" << XmlEscape(r.message) << "\">" << XmlEscape(r.file) << ':' << r.line
                << "</failure>\n";
        }
        if (!r.trace.empty()) out << "      <system-out>" << XmlEscape(r.trace) << "</system-out>\n";
        out << "    </testcase>\n";
    }
    out << "  </testsuite>\n</testsuites>\n";
    return static_cast<bool>(out);
}

}  // namespace quorunittesting
