// The debug monitor registry: report callbacks by name behind one mutex. Callbacks are copied out
// and run with the mutex released, so a report may use the registry itself.
#include "quorcore/debug.h"

#include <map>
#include <mutex>
#include <utility>

namespace quorcore {
namespace debug {

namespace {

struct Entry {
    ReportCallback report;
    EnabledCallback enabled;
};

struct Registry {
    std::mutex mutex;
    std::map<std::string, Entry> entries;
};

// Never destroyed, so that libraries unregistering from their own static destructors at exit
// still find it. It stays reachable from this pointer, which leak checkers accept.
Registry& TheRegistry() {
    static Registry* const registry = new Registry;
    return *registry;
}

bool Enabled(const Entry& entry) { return entry.enabled.empty() || entry.enabled(); }

}  // namespace

bool RegisterDebugMonitorCallback(const char* name, const ReportCallback& report,
                                  const EnabledCallback& enabled) {
    if (name == nullptr || report.empty()) return false;
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    return registry.entries.emplace(name, Entry{report, enabled}).second;
}

bool UnregisterDebugMonitorCallback(const char* name) {
    if (name == nullptr) return false;
    Entry removed;  // declared first so that it dies after the lock is released
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    const auto it = registry.entries.find(name);
    if (it == registry.entries.end()) return false;
    removed = std::move(it->second);
    registry.entries.erase(it);
    return true;
}

bool CollectDebugReport(const char* name, UTF16StringStream& stream) {
    if (name == nullptr) return false;
    Entry entry;
    {
        Registry& registry = TheRegistry();
        std::lock_guard<std::mutex> lock(registry.mutex);
        const auto it = registry.entries.find(name);
        if (it == registry.entries.end()) return false;
        entry = it->second;
    }
    if (Enabled(entry)) entry.report(stream);
    return true;
}

void CollectAllDebugReports(UTF16StringStream& stream) {
    std::map<std::string, Entry> snapshot;
    {
        Registry& registry = TheRegistry();
        std::lock_guard<std::mutex> lock(registry.mutex);
        snapshot = registry.entries;
    }
    for (const auto& [name, entry] : snapshot) {
        if (!Enabled(entry)) continue;
        stream << u"[" << utility::UTF8to16(name) << u"]" << EndOfLine;
        entry.report(stream);
    }
}

std::vector<std::string> RegisteredDebugMonitorNames() {
    std::vector<std::string> names;
    Registry& registry = TheRegistry();
    std::lock_guard<std::mutex> lock(registry.mutex);
    names.reserve(registry.entries.size());
    for (const auto& entry : registry.entries) names.push_back(entry.first);
    return names;
}

}  // namespace debug
}  // namespace quorcore
