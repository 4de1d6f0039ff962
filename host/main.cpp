// The host program: what a product of the family does with the library at start-up. It asks the
// debug monitor for the library's diagnostics report, waits (bounded) until the report is ready and
// prints it, then shows the code path in force and runs a short demonstration through the
// exported interface.
#include <chrono>
#include <cstdio>
#include <string>
#include <thread>

#include "quoraccelerate/quoraccelerate.h"
#include "quorcore/debug.h"
#include "quorcore/strings.h"
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

int main() {
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
    return 0;
}
