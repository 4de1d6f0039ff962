// The debug monitor: named report callbacks that a host asks for text at any time.
#pragma once

#include <boost/function.hpp>

#include <string>
#include <vector>

#include "quorcore/export.h"
#include "quorcore/strings.h"

namespace quorcore {
namespace debug {

using ReportCallback = boost::function<void(UTF16StringStream&)>;
using EnabledCallback = boost::function<bool()>;

// Registers a report under a name (the name's text is copied). `enabled`, when not empty, is asked
// before each report and a false answer skips it. False when the name is taken or null or the
// report callback is empty. Thread-safe.
QUORCORE_API bool RegisterDebugMonitorCallback(const char* name, const ReportCallback& report,
                                               const EnabledCallback& enabled);
// Removes a registration; false when the name is unknown.
QUORCORE_API bool UnregisterDebugMonitorCallback(const char* name);

// Host side. Asks the named report for its text; false when no such report is registered.
// Callbacks run on the calling thread, outside the registry lock, so a report may itself
// (un)register or ask for other reports.
QUORCORE_API bool CollectDebugReport(const char* name, UTF16StringStream& stream);
// Asks every registered report, in name order; each is preceded by a line "[name]".
QUORCORE_API void CollectAllDebugReports(UTF16StringStream& stream);
// The registered names, sorted.
QUORCORE_API std::vector<std::string> RegisteredDebugMonitorNames();

}  // namespace debug
}  // namespace quorcore
