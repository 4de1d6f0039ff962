// The host program: shows what the library chose for this processor and runs a short demonstration
// through the exported interface.
#include <cinttypes>
#include <cstdio>

#include "quoraccelerate/quoraccelerate.h"
#include "runtime/runtime.h"

namespace {

const char* const kFeatureNames[34] = {
    "MMX",     "SSE",      "SSE2",     "SSE3",     "SSSE3",    "MOVBE",    "SSE4.1",   "SSE4.2",   "AVX",
    "AVX(OS)", "AES",      "CLMUL",    nullptr,    "RDRAND",   "F16C",     "AVX2",     "ADCX/ADOX", "RDSEED",
    "PREFETCHW", "SHA",    "AVX512F",  "AVX512CD", "AVX512ER", "AVX512PF", "AVX512BW", "AVX512DQ", "AVX512VL",
    "AVX512VBMI", "MPX",   "AVX512_4FMAPS", "AVX512_4VNNIW", "COPROC", "AVX512IFMA", "AVX512(OS)",
};

void PrintMask(const char* label, std::uint64_t mask) {
    std::printf("%-18s 0x%016" PRIX64 " ", label, mask);
    for (int bit = 0; bit < 34; ++bit) {
        if (((mask >> bit) & 1u) != 0 && kFeatureNames[bit] != nullptr) std::printf(" %s", kFeatureNames[bit]);
    }
    std::printf("\n");
}

}  // namespace

int main() {
    namespace qu = quoraccelerate::utility;

    const qp::LibraryVersion* version = qp::GetLibraryVersion();
    std::printf("%s %s, built %s\n", version->Name, version->Version, version->BuildDate);
    std::printf("%-18s %s\n", "Load status:", qp::StatusText(qp::LoadStatus()));
    std::printf("%-18s %d\n", "Code path:", qp::g_codePath);

    std::uint64_t detected = 0;
    qp::GetCpuFeatures(&detected, nullptr);
    PrintMask("Detected features:", detected);
    PrintMask("Enabled features:", qp::GetEnabledCpuFeatures());

    int mhz = 0;
    qp::GetCpuFrequencyMHz(&mhz);
    std::printf("%-18s %d MHz\n", "CPU frequency:", mhz);
    int cache = 0;
    const qp::Status cacheStatus = qp::GetMaxCacheSize(&cache);
    std::printf("%-18s %d bytes (%s)\n", "Max cache size:", cache, qp::StatusText(cacheStatus));

    // Demonstration: |a| + b through the dispatched kernels, on library-allocated buffers.
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
    std::printf("Demonstration: |i - 4| + i/2 =");
    for (unsigned int i = 0; i < n; ++i) std::printf(" %g", static_cast<double>(sum[i]));
    std::printf("\n");
    qu::Free(a);
    qu::Free(b);
    qu::Free(sum);
    return 0;
}
