// Running registered test trees and reporting on them.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

#include "quorunittesting/export.h"
#include "quorunittesting/test.h"

namespace quorunittesting {

// The outcome of one test.
struct TestResult {
    std::string path;     // suite names and the test name, joined by "/"
    std::string name;
    bool passed = false;
    std::string message;  // failure message, empty when passed
    std::string function; // where it failed
    std::string file;
    int line = 0;
    std::string trace;    // everything the test wrote to its trace
    double milliseconds = 0;
};

struct RunSummary {
    std::vector<TestResult> results;
    int passed = 0;
    int failed = 0;
};

struct RunOptions {
    std::ostream* report = nullptr;  // readable report, written as the tests run (null: none)
    bool showTrace = true;           // include each test's trace in the report
    std::string junitPath;           // JUnit XML file to write (empty: none)
};

// Builds the tree of every registered entry (or of the one named `name`), runs every test in tree
// order, each with its own context and timed, and collects the outcomes. A test fails when it
// calls ThrowTestFailure or lets any exception escape. The report ends with the line
// "N passed, N failed".
QUORUNITTESTING_API RunSummary RunRegisteredTests(const RunOptions& options, const std::string& name = "");

// Runs one tree that the caller built.
QUORUNITTESTING_API RunSummary RunTestTree(Test& root, const RunOptions& options);

// Writes the outcomes as JUnit XML (one testsuite per registered tree path prefix).
QUORUNITTESTING_API bool WriteJUnitXml(const RunSummary& summary, const std::string& path);

}  // namespace quorunittesting
