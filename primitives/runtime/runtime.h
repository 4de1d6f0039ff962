// The primitive runtime: processor feature detection, choice of the code path, processor queries,
// the version record and the 64-byte aligned allocator. Everything here is internal to the library;
// the exported interface reaches it through the api/ layer.
#pragma once

#include <cstdint>
#include <ctime>

#include "status.h"

namespace qp {

// Bits of the 64-bit CPU feature mask.
enum FeatureMask : std::uint64_t {
    kFeatMMX = 1ull << 0,
    kFeatSSE = 1ull << 1,
    kFeatSSE2 = 1ull << 2,
    kFeatSSE3 = 1ull << 3,
    kFeatSSSE3 = 1ull << 4,
    kFeatMOVBE = 1ull << 5,
    kFeatSSE41 = 1ull << 6,
    kFeatSSE42 = 1ull << 7,
    kFeatAVX = 1ull << 8,
    kFeatAVXEnabledByOS = 1ull << 9,
    kFeatAES = 1ull << 10,
    kFeatCLMUL = 1ull << 11,
    kFeatABR = 1ull << 12,  // reserved, never detected
    kFeatRDRAND = 1ull << 13,
    kFeatF16C = 1ull << 14,
    kFeatAVX2 = 1ull << 15,
    kFeatADCOX = 1ull << 16,
    kFeatRDSEED = 1ull << 17,
    kFeatPREFETCHW = 1ull << 18,
    kFeatSHA = 1ull << 19,
    kFeatAVX512F = 1ull << 20,
    kFeatAVX512CD = 1ull << 21,
    kFeatAVX512ER = 1ull << 22,
    kFeatAVX512PF = 1ull << 23,
    kFeatAVX512BW = 1ull << 24,
    kFeatAVX512DQ = 1ull << 25,
    kFeatAVX512VL = 1ull << 26,
    kFeatAVX512VBMI = 1ull << 27,
    kFeatMPX = 1ull << 28,
    kFeatAVX512_4FMAPS = 1ull << 29,
    kFeatAVX512_4VNNIW = 1ull << 30,
    kFeatCOPROC = 1ull << 31,
    kFeatAVX512IFMA = 1ull << 32,
    kFeatAVX512EnabledByOS = 1ull << 33,
    kFeatUnknownMask = 0x7FFFFFFC00000000ull,  // bits 34..62
    kFeatTakeAsGiven = 1ull << 63,             // request flag of SetCpuFeatures
};

// "getinfoa" read little-endian: asks GetCpuFeatures for an arbitrary CPUID leaf and sub-leaf.
constexpr std::uint64_t kGetInfoRequest = 0x616f666e69746567ull;

// Where the runtime reads the processor from. The hardware source is the default; tests install their
// own to play any processor.
struct ProcessorSource {
    void (*cpuid)(std::uint32_t leaf, std::uint32_t subleaf, std::uint32_t regs[4]);  // EAX EBX ECX EDX
    std::uint64_t (*xgetbv)(std::uint32_t xcr);
    std::uint64_t (*readTsc)();
    std::time_t (*now)();
};

const ProcessorSource& HardwareProcessorSource();

// Installs a processor source (null restores the hardware) and returns every module-wide value to
// its load-time state: code path -1, enabled mask 0x7, detection, frequency and cache caches empty.
void ResetRuntime(const ProcessorSource* source);

// Code-path index: -1 until the library is initialised, then 0..6.
extern std::int32_t g_codePath;

Status InitLibrary();
// Status of the initialisation run by the static initialiser at load time.
Status LoadStatus();

Status GetCpuFeatures(std::uint64_t* mask, std::uint32_t* regs);
Status SetCpuFeatures(std::uint64_t request, std::int32_t* index);
std::uint64_t GetEnabledCpuFeatures();
bool TestEnabledCpuFeatures(std::uint64_t mask);

Status GetCpuFrequencyMHz(int* mhz);
Status GetMaxCacheSize(int* bytes);
int GetCacheLineSize();  // line size of the cache whose size was kept; -1 before, 0 from descriptors

// Features each code path needs, indexed by path.
extern const std::uint64_t kPathFeatures[7];

struct LibraryVersion {
    std::int32_t major;
    std::int32_t minor;
    std::int32_t majorBuild;
    std::int32_t build;
    char targetCpu[4];  // not terminated
    const char* Name;
    const char* Version;
    const char* BuildDate;
};
const LibraryVersion* GetLibraryVersion();

// 64-byte aligned allocation. A count of 0 or less gives null.
void* AlignedMalloc(std::int32_t bytes);
void AlignedFree(void* ptr);
// Typed allocators: element count, null for a count of 0 or less or above 0x7FFFFFFF bytes.
std::uint8_t* AllocElements8(std::int32_t count);
std::int16_t* AllocElements16(std::int32_t count);
float* AllocElements32(std::int32_t count);
double* AllocElements64(std::int32_t count);

}  // namespace qp
