#include "report.h"

#include <boost/bind/bind.hpp>
#include <boost/function.hpp>

#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "quorcore/debug.h"
#include "quorcore/threads.h"

namespace qp {
namespace diagnostics {

const char* const kReportName = "quoraccelerate.QP";

namespace {

using quorcore::UTF16String;
using quorcore::UTF16StringStream;
using quorcore::utility::AsciiToUTF16;
using quorcore::utility::UTF8to16;

struct FeatureLine {
    int bit;
    const char* text;
};

// Printed for each named feature present, in this order.
constexpr FeatureLine kFeatureLines[] = {
    {0, "\tMMX  \t\tMMX technology supported"},
    {1, "\tSSE   \t\tStreaming SIMD Extensions"},
    {2, "\tSSE2 \t\tStreaming SIMD Extensions 2"},
    {3, "\tSSE3 \t\tStreaming SIMD Extensions 3"},
    {4, "\tSSSE3\t\tSupplemental Streaming SIMD"},
    {5, "\tMOVBE\t\tThe processor supports MOVBE instruction"},
    {6, "\tSSE41\t\tStreaming SIMD Extensions 4.1"},
    {7, "\tSSE42\t\tStreaming SIMD Extensions 4.2"},
    {8, "\tAVX  \t\tAdvanced Vector Extensions instruction set"},
    {9, "\tENABLEDBYOS\tThe operating system supports AVX"},
    {10, "\tAES   \t\tAES instruction"},
    {11, "\tCLMUL\t\tPCLMULQDQ instruction"},
    {12, "\tABR  \t\t(Reserved)"},
    {13, "\tRDRAND\tRead Random Number instructions"},
    {14, "\tF16C \t\tFloat16 instructions"},
    {15, "\tAVX2 \t\tAdvanced Vector Extensions 2 instruction set"},
    {16, "\tADCOX\t\tADCX and ADOX instructions"},
    {17, "\tRDSEED\tThe RDSEED instruction"},
    {18, "\tPREFETCHW\tThe PREFETCHW instruction"},
    {19, "\tSHA  \t\tSHA Extensions"},
    {20, "\tAVX512F\tAVX-512 Foundation instructions"},
    {21, "\tAVX512CD\tAVX-512 Conflict Detection instructions"},
    {22, "\tAVX512ER\tAVX-512 Exponential & Reciprocal instructions"},
    {23, "\tAVX512PF\tAVX-512 Prefetch instructions"},
    {24, "\tAVX512BW\tAVX-512 Byte & Word instructions"},
    {25, "\tAVX512DQ\tAVX-512 DWord & QWord instructions"},
    {26, "\tAVX512VL\tAVX-512 Vector Length extensions"},
    {31, "\tCOPROC\t\tMany-core coprocessor"},
};

UTF16String Hex(std::uint64_t value) {
    char text[24];
    std::snprintf(text, sizeof text, "%08" PRIX64, value);
    return AsciiToUTF16(text);
}

UTF16String Decimal(long long value) { return AsciiToUTF16(std::to_string(value).c_str()); }

void Line(UTF16StringStream& out, const char* label, const UTF16String& value) {
    out << AsciiToUTF16(label) << value;
    out.EndLine();
}

ReportRecord g_record;

// Registered at load; unregistered at exit, which also releases the text.
void Unregister() {
    quorcore::debug::UnregisterDebugMonitorCallback(kReportName);
    UTF16String().swap(g_record.text);
}

bool Register() {
    InitLibrary();
    quorcore::debug::RegisterDebugMonitorCallback(kReportName, &ReportCallback, boost::function<bool()>());
    std::atexit(&Unregister);
    return true;
}

const bool g_registered = Register();

}  // namespace

ReportRecord& Record() { return g_record; }

UTF16String BuildReportText(const LibraryVersion* version) {
    InitLibrary();
    UTF16StringStream out;
    if (version != nullptr) {
        Line(out, "QP Target CPU:  ", UTF8to16(version->targetCpu, sizeof version->targetCpu));
        if (version->Name != nullptr) Line(out, "QP Name:  ", UTF8to16(version->Name));
        if (version->Version != nullptr) {
            Line(out, "QP Version:  ", UTF8to16(version->Version));
        } else {
            // The first number again in the fourth place, not the build number.
            const std::string numbers = std::to_string(version->major) + "." + std::to_string(version->minor) + "." +
                                        std::to_string(version->majorBuild) + "." + std::to_string(version->major);
            Line(out, "QP Version:  ", AsciiToUTF16(numbers.c_str()));
        }
        Line(out, "QP Build Date:  ", version->BuildDate != nullptr ? UTF8to16(version->BuildDate) : UTF16String());
    }

    int mhz = 0;
    GetCpuFrequencyMHz(&mhz);
    out << AsciiToUTF16("CPU Frequency:  ") << Decimal(mhz) << AsciiToUTF16(" MHz");
    out.EndLine();

    int cacheSize = -1;
    GetMaxCacheSize(&cacheSize);
    Line(out, "Max L2/L3 Cache Size:  ", quorcore::utility::NumberToMemoryString(cacheSize, 2, false));

    std::uint64_t mask = 0;
    std::uint32_t regs[4] = {0, 0, 0, 0};
    GetCpuFeatures(&mask, regs);
    Line(out, "CPU Features:  0x", Hex(mask));
    for (const FeatureLine& feature : kFeatureLines) {
        if ((mask >> feature.bit) & 1u) {
            out << AsciiToUTF16(feature.text);
            out.EndLine();
        }
    }
    Line(out, "CPUID:  ", UTF16String());
    const char* const registerLabels[4] = {"\tEAX:  0x", "\tEBX:  0x", "\tECX:  0x", "\tEDX:  0x"};
    for (int r = 0; r < 4; ++r) Line(out, registerLabels[r], Hex(regs[r]));
    return out.Take();
}

void BuildReport(ReportRecord* record) {
    record->text = BuildReportText(GetLibraryVersion());
    // Publish: the text is complete before any reader can see kReady.
    std::int32_t seen = record->state.load(std::memory_order_relaxed);
    while (!record->state.compare_exchange_weak(seen, kReady, std::memory_order_release, std::memory_order_relaxed)) {
    }
}

void ReportCallback(UTF16StringStream& stream) {
    ReportRecord& record = g_record;
    std::int32_t expected = kNotStarted;
    if (record.state.compare_exchange_strong(expected, kBuilding, std::memory_order_acq_rel)) {
        boost::shared_ptr<quorcore::threads::AsyncExecutor> executor = quorcore::threads::GetCPUBoundExecutor();
        if (executor) executor->Post(boost::bind(&BuildReport, &record));
        return;
    }
    // A compare-and-swap of kReady with itself reads the state with acquire ordering.
    std::int32_t state = kReady;
    record.state.compare_exchange_strong(state, kReady, std::memory_order_acquire);
    if (state == kReady) stream << record.text;
}

}  // namespace diagnostics
}  // namespace qp
