// The host program: what a product of the family does with the library. It asks the debug monitor
// for the library's diagnostics report, waits (bounded) until the report is ready and prints it,
// runs the library's registered self-test tree and prints every suite and test with its result,
// time and trace, then runs a short demonstration through the exported interface.
//
// Exit status 0 when the run completed; with --strict, 1 when any self-test failed.
// --junit FILE also writes the self-test results as JUnit XML.
#include <chrono>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>
#include <thread>

#include "quoraccelerate/quoraccelerate.h"
#include "quoraccelerate/test.h"
#include "quorcore/debug.h"
#include "quorcore/strings.h"
#include "quorunittesting/runner.h"
#include "runtime/runtime.h"

namespace {

constexpr const char* kReportName = "quoraccelerate.QP";

// The first request starts building the report in the background and answers nothing; ask again
// until the text arrives or the deadline passes.
std::string WaitForReport(std::chrono::seconds deadline) {
    const auto until = std::chrono::steady_clock::now() + deadline;
    for (;;) {
        quorcore::UTF16StringStream stream;
        if (!quorcore::debug::CollectDebugReport(kReportName, stream)) return {};
        if (!stream.Empty()) return quorcore::utility::UTF16to8(stream.Str());
        if (std::chrono::steady_clock::now() >= until) return {};
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

void Demonstrate() {
    namespace qu = quoraccelerate::utility;
    constexpr unsigned int n = 8;
    float* a = qu::Malloc_Float(n);
    float* b = qu::Malloc_Float(n);
    float* sum = qu::Malloc_Float(n);
    for (unsigned int i = 0; i < n; ++i) {
        a[i] = static_cast<float>(i) - 4.0f;
        b[i] = 0.5f * static_cast<float>(i);
    }
    qu::Abs_InPlace(n, a);
    qu::Add(n, a, b, sum);
    std::printf("Demonstration: |i - 4| + i/2 for i = 0..7 =");
    for (unsigned int i = 0; i < n; ++i) std::printf(" %g", static_cast<double>(sum[i]));
    std::printf("\n");
    qu::Free(a);
    qu::Free(b);
    qu::Free(sum);
}

}  // namespace

int main(int argc, char** argv) {
    bool strict = false;
    quorunittesting::RunOptions options;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--strict") == 0) {
            strict = true;
        } else if (std::strcmp(argv[i], "--junit") == 0 && i + 1 < argc) {
            options.junitPath = argv[++i];
        } else {
            std::fprintf(stderr, "usage: %s [--strict] [--junit FILE]\n", argv[0]);
            return 2;
        }
    }

    std::printf("== Diagnostics report \"%s\"\n", kReportName);
    const std::string report = WaitForReport(std::chrono::seconds(30));
    if (report.empty()) {
        std::printf("(the report did not arrive)\n");
        return 1;
    }
    std::fputs(report.c_str(), stdout);

    std::printf("== Library\n");
    std::printf("Code path in force:  %d\n", qp::g_codePath);
    std::printf("Initialisation:  %s\n", qp::StatusText(qp::LoadStatus()));
    Demonstrate();

    std::printf("== Self-tests \"%s\"\n", quoraccelerate::test::MainTestModule::kSuiteName);
    std::fflush(stdout);
    options.report = &std::cout;
    const quorunittesting::RunSummary summary =
        quorunittesting::RunRegisteredTests(options, quoraccelerate::test::MainTestModule::kSuiteName);
    std::cout.flush();
    return strict && summary.failed > 0 ? 1 : 0;
}
