// The diagnostics report published to the host's debug monitor under "quoraccelerate.QP".
#pragma once

#include <atomic>
#include <cstdint>

#include "quorcore/strings.h"
#include "runtime/runtime.h"

namespace qp {
namespace diagnostics {

extern const char* const kReportName;  // "quoraccelerate.QP"

enum ReportState : std::int32_t { kNotStarted = 0, kBuilding = 1, kReady = 2 };

// One instance lives as long as the module. The state word is the only synchronisation: the text is
// written once, before the state becomes kReady, and only read afterwards.
struct ReportRecord {
    std::atomic<std::int32_t> state{kNotStarted};
    quorcore::UTF16String text;
};

ReportRecord& Record();

// The debug-monitor callback: the first call posts the report job on the CPU-bound executor and
// writes nothing; later calls write the report once it is ready, nothing before.
void ReportCallback(quorcore::UTF16StringStream& stream);

// The report text for a version record (null leaves out the version lines).
quorcore::UTF16String BuildReportText(const LibraryVersion* version);

// The executor job: builds the report into the record and publishes it.
void BuildReport(ReportRecord* record);

}  // namespace diagnostics
}  // namespace qp
