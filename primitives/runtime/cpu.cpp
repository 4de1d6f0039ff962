// Processor feature detection, choice of the code path and the processor queries.
//
// Module-wide values are plain globals written without locks: every initialisation writes the same
// values, so racing initialisers agree (the code-path index is a naturally aligned 32-bit word).
#include <cpuid.h>
#include <x86intrin.h>

#include <cstdint>
#include <ctime>

#include "runtime.h"

namespace qp {

std::int32_t g_codePath = -1;

namespace {

std::uint64_t g_enabledMask = 0x7;
std::uint64_t g_detectedMask = 0;
std::int32_t g_detected = 0;
std::int32_t g_cacheSize = -1;
std::int32_t g_cacheStatus = 1;
std::int32_t g_cacheLine = -1;
std::int32_t g_frequency = -1;

void HardwareCpuid(std::uint32_t leaf, std::uint32_t subleaf, std::uint32_t regs[4]) {
    __cpuid_count(leaf, subleaf, regs[0], regs[1], regs[2], regs[3]);
}

std::uint64_t HardwareXgetbv(std::uint32_t xcr) {
    std::uint32_t lo = 0;
    std::uint32_t hi = 0;
    // Encoded as bytes so that the baseline build (no -mxsave) can carry it; only called when the
    // processor reports OSXSAVE.
    __asm__ volatile(".byte 0x0f, 0x01, 0xd0" : "=a"(lo), "=d"(hi) : "c"(xcr));
    return (static_cast<std::uint64_t>(hi) << 32) | lo;
}

std::uint64_t HardwareTsc() { return __rdtsc(); }

std::time_t HardwareNow() { return std::time(nullptr); }

constexpr ProcessorSource kHardware = {&HardwareCpuid, &HardwareXgetbv, &HardwareTsc, &HardwareNow};

const ProcessorSource* g_source = &kHardware;

struct Regs {
    std::uint32_t eax, ebx, ecx, edx;
};

Regs Cpuid(std::uint32_t leaf, std::uint32_t subleaf = 0) {
    std::uint32_t r[4] = {0, 0, 0, 0};
    g_source->cpuid(leaf, subleaf, r);
    return {r[0], r[1], r[2], r[3]};
}

constexpr bool Bit(std::uint32_t word, int bit) { return ((word >> bit) & 1u) != 0; }

// The reference vendor's identification text, as CPUID leaf 0 returns it in EBX, EDX, ECX.
bool IsReferenceVendor() {
    const Regs r = Cpuid(0);
    return r.ebx == 0x756E6547u && r.edx == 0x49656E69u && r.ecx == 0x6C65746Eu;
}

struct BitMap {
    std::uint8_t from;
    std::uint8_t to;
};

constexpr BitMap kLeaf1Edx[] = {{23, 0}, {25, 1}, {26, 2}};
constexpr BitMap kLeaf1Ecx[] = {{0, 3},   {9, 4},   {22, 5},  {19, 6},  {20, 7},
                                {28, 8},  {25, 10}, {1, 11},  {30, 13}, {29, 14}};
constexpr BitMap kLeaf7Ebx[] = {{19, 16}, {18, 17}, {29, 19}, {16, 20}, {28, 21}, {27, 22}, {26, 23},
                                {30, 24}, {17, 25}, {31, 26}, {14, 28}, {21, 32}};
constexpr BitMap kLeaf7Ecx[] = {{1, 27}};
constexpr BitMap kLeaf7Edx[] = {{3, 29}, {2, 30}};

template <std::size_t N>
std::uint64_t MapBits(std::uint32_t word, const BitMap (&table)[N]) {
    std::uint64_t mask = 0;
    for (const BitMap& m : table) {
        if (Bit(word, m.from)) mask |= 1ull << m.to;
    }
    return mask;
}

// Fills the detected mask once. False when the processor has no feature leaf.
bool Detect() {
    if (g_detected) return true;
    const Regs leaf0 = Cpuid(0);
    const std::uint32_t maxLeaf = leaf0.eax;
    if (maxLeaf < 1) return false;
    const std::uint32_t maxExtLeaf = Cpuid(0x80000000u).eax;
    const Regs leaf1 = Cpuid(1);

    std::uint64_t mask = MapBits(leaf1.edx, kLeaf1Edx) | MapBits(leaf1.ecx, kLeaf1Ecx);
    const bool osxsave = Bit(leaf1.ecx, 27);
    const std::uint64_t xcr0 = osxsave ? g_source->xgetbv(0) : 0;
    if (osxsave && Bit(leaf1.ecx, 28) && (xcr0 & 0x6) == 0x6) mask |= kFeatAVXEnabledByOS;

    if (maxLeaf >= 7) {
        const Regs leaf7 = Cpuid(7, 0);
        mask |= MapBits(leaf7.ebx, kLeaf7Ebx) | MapBits(leaf7.ecx, kLeaf7Ecx) | MapBits(leaf7.edx, kLeaf7Edx);
        if (osxsave && (xcr0 & 0xE0) == 0xE0) mask |= kFeatAVX512EnabledByOS;
        if (Bit(leaf1.ecx, 12) && Bit(leaf7.ebx, 5) && Bit(leaf7.ebx, 3) && Bit(leaf7.ebx, 8)) mask |= kFeatAVX2;
    }
    if (maxExtLeaf >= 0x80000001u && Bit(Cpuid(0x80000001u).ecx, 8)) mask |= kFeatPREFETCHW;
    if ((leaf1.eax & 0xFF0u) == 0xB10u) mask |= kFeatCOPROC;
    mask &= ~static_cast<std::uint64_t>(kFeatABR);

    g_detectedMask = mask;
    g_detected = 1;
    return true;
}

struct PathRow {
    std::uint64_t condition;  // all of these bits select the row
    std::int32_t index;
    std::uint64_t implied;
};

// First matching row wins.
constexpr PathRow kPathRows[] = {
    {0x7300000, 6, 0x73081DF}, {0xF00000, 5, 0xF081DF}, {kFeatAVX2, 4, 0x81DF}, {kFeatAVX, 3, 0x1DF},
    {kFeatSSE42, 2, 0xDF},     {kFeatSSE41, 1, 0x5F},   {kFeatMOVBE, 1, 0x3F},  {kFeatSSSE3, 1, 0x1F},
    {kFeatSSE3, 0, 0xF},       {kFeatSSE2, 0, 0x7},
};

// Highest feature bit that the detection knows; the walk for missing features stops there so that
// unknown bits keep their own status.
constexpr int kLastKnownFeatureBit = 33;

}  // namespace

const std::uint64_t kPathFeatures[7] = {0x7, 0x1F, 0xDF, 0x1DF, 0x81DF, 0xF081DF, 0x73081DF};

const ProcessorSource& HardwareProcessorSource() { return kHardware; }

void ResetRuntime(const ProcessorSource* source) {
    g_source = source != nullptr ? source : &kHardware;
    g_codePath = -1;
    g_enabledMask = 0x7;
    g_detectedMask = 0;
    g_detected = 0;
    g_cacheSize = -1;
    g_cacheStatus = 1;
    g_cacheLine = -1;
    g_frequency = -1;
}

Status GetCpuFeatures(std::uint64_t* mask, std::uint32_t* regs) {
    if (mask == nullptr) return qpStsNullPtrErr;
    if (!Detect()) return qpStsNotSupportedCpu;
    if (regs != nullptr) {
        const bool anyLeaf = *mask == kGetInfoRequest;
        const std::uint32_t leaf = anyLeaf ? regs[0] : 1u;
        const std::uint32_t subleaf = anyLeaf ? regs[2] : 0u;
        const Regs r = Cpuid(leaf, subleaf);
        regs[0] = r.eax;
        regs[1] = r.ebx;
        regs[2] = r.ecx;
        regs[3] = r.edx;
    }
    *mask = g_detectedMask;
    return qpStsNoErr;
}

Status SetCpuFeatures(std::uint64_t request, std::int32_t* index) {
    std::uint64_t r = request;
    Status status = qpStsNoErr;
    if (r & kFeatTakeAsGiven) {
        r &= ~static_cast<std::uint64_t>(kFeatTakeAsGiven);
        g_detectedMask = g_enabledMask;
        g_detected = 1;
    } else {
        Detect();
        if (r & kFeatUnknownMask) status = qpStsUnknownFeature;
        if ((r & (kFeatAVX | kFeatAVX2)) && !(g_detectedMask & kFeatAVXEnabledByOS)) {
            r &= ~static_cast<std::uint64_t>(kFeatAVX | kFeatAVX2);
            status = qpStsFeatureNotSupported;
        }
        // Without the OS saving the 512-bit state the 256-bit features are withdrawn; the AVX-512 bits
        // themselves stay requested.
        if ((r & 0x17FF00000ull) && !(g_detectedMask & kFeatAVX512EnabledByOS)) {
            r &= ~static_cast<std::uint64_t>(kFeatAVX | kFeatAVX2);
            status = qpStsFeatureNotSupported;
        }
        for (int bit = 0; bit <= kLastKnownFeatureBit; ++bit) {
            const std::uint64_t b = 1ull << bit;
            if ((r & b) && !(g_detectedMask & b)) {
                status = qpStsFeatureNotSupported;
                break;
            }
        }
    }

    for (const PathRow& row : kPathRows) {
        if ((r & row.condition) == row.condition) {
            g_codePath = row.index;
            if (index != nullptr) *index = row.index;
            g_enabledMask = r | row.implied;
            if (status != qpStsNoErr) return status;
            return (r & row.implied) != row.implied ? qpStsFeaturesCombination : qpStsNoErr;
        }
    }
    g_codePath = 0;
    if (index != nullptr) *index = 0;
    g_enabledMask = r | ((r & kFeatSSE) ? 0x3 : 0x1);
    return status != qpStsNoErr ? status : qpStsNotSupportedCpu;
}

std::uint64_t GetEnabledCpuFeatures() { return g_enabledMask; }

bool TestEnabledCpuFeatures(std::uint64_t mask) { return (g_enabledMask & mask) == mask; }

Status InitLibrary() {
    std::uint64_t mask = 0;
    Status status = GetCpuFeatures(&mask, nullptr);
    if (status != qpStsNoErr) {
        g_codePath = 0;
        g_enabledMask = 0x7;
    } else {
        std::int32_t index = 0;
        status = SetCpuFeatures(mask, &index);
    }
    return IsReferenceVendor() ? status : qpStsNonReferenceCpu;
}

namespace {
const Status g_loadStatus = InitLibrary();
}

Status LoadStatus() { return g_loadStatus; }

Status GetCpuFrequencyMHz(int* mhz) {
    if (mhz == nullptr) return qpStsNullPtrErr;
    if (g_frequency < 0) {
        // Counter ticks over whole calendar seconds; the first round only waits for a second
        // boundary and is discarded.
        float ticks[3];
        for (float& t : ticks) {
            const std::uint64_t start = g_source->readTsc();
            const std::time_t second = g_source->now();
            while (g_source->now() == second) {
            }
            t = static_cast<float>(g_source->readTsc() - start);
        }
        const float sum = ticks[1] + ticks[2];
        g_frequency = static_cast<std::int32_t>(static_cast<double>(sum) / 1e6 * 0.5);
    }
    *mhz = g_frequency;
    return qpStsNoErr;
}

namespace {

struct CacheDescriptor {
    std::uint32_t descriptor;
    std::uint32_t bytes;
};

constexpr std::uint32_t KiB = 1024;

// Leaf-2 descriptors of data and unified caches, largest first; ended by a zero descriptor.
constexpr CacheDescriptor kCacheDescriptors[] = {
    {0xEC, 24576 * KiB}, {0xEB, 18432 * KiB}, {0x4D, 16384 * KiB}, {0xEA, 12288 * KiB}, {0x4C, 12288 * KiB},
    {0xE4, 8192 * KiB},  {0xDE, 8192 * KiB},  {0x4B, 8192 * KiB},  {0x47, 8192 * KiB},  {0x4E, 6144 * KiB},
    {0x4A, 6144 * KiB},  {0xE3, 4096 * KiB},  {0xDD, 4096 * KiB},  {0xD8, 4096 * KiB},  {0x49, 4096 * KiB},
    {0x29, 4096 * KiB},  {0x46, 4096 * KiB},  {0x48, 3072 * KiB},  {0xE2, 2048 * KiB},  {0xDC, 2048 * KiB},
    {0xD7, 2048 * KiB},  {0xD2, 2048 * KiB},  {0x25, 2048 * KiB},  {0x7D, 2048 * KiB},  {0x85, 2048 * KiB},
    {0x45, 2048 * KiB},  {0xD6, 1024 * KiB},  {0xD1, 1024 * KiB},  {0x23, 1024 * KiB},  {0x87, 1024 * KiB},
    {0x7C, 1024 * KiB},  {0x78, 1024 * KiB},  {0x84, 1024 * KiB},  {0x44, 1024 * KiB},  {0xD0, 512 * KiB},
    {0x22, 512 * KiB},   {0x7B, 512 * KiB},   {0x80, 512 * KiB},   {0x86, 512 * KiB},   {0x3E, 512 * KiB},
    {0x7F, 512 * KiB},   {0x83, 512 * KiB},   {0x43, 512 * KiB},   {0x3D, 384 * KiB},   {0x21, 256 * KiB},
    {0x7A, 256 * KiB},   {0x82, 256 * KiB},   {0x3C, 256 * KiB},   {0x3F, 256 * KiB},   {0x42, 256 * KiB},
    {0x3A, 192 * KiB},   {0x79, 128 * KiB},   {0x39, 128 * KiB},   {0x3B, 128 * KiB},   {0x41, 128 * KiB},
    {0, 0},
};
static_assert(sizeof(kCacheDescriptors) / sizeof(kCacheDescriptors[0]) == 56, "55 descriptors and the end");

// Deterministic cache parameters: the largest data or unified cache.
bool CacheFromLeaf4(std::int32_t* size, std::int32_t* line) {
    bool found = false;
    for (std::uint32_t sub = 0; sub < 32; ++sub) {
        const Regs r = Cpuid(4, sub);
        const std::uint32_t type = r.eax & 0x1F;
        if (type == 0) break;
        if (type == 2) continue;
        const std::uint32_t ways = (r.ebx >> 22) & 0x3FF;
        const std::uint32_t partitions = (r.ebx >> 12) & 0x3FF;
        const std::uint32_t lineSize = r.ebx & 0xFFF;
        const std::uint32_t sets = r.ecx;
        const auto bytes = static_cast<std::int32_t>((ways + 1) * (partitions + 1) * (lineSize + 1) * (sets + 1));
        if (!found || bytes > *size) {
            *size = bytes;
            *line = static_cast<std::int32_t>(lineSize + 1);
            found = true;
        }
    }
    return found;
}

bool CacheFromDescriptors(std::int32_t* size, std::int32_t* line) {
    *line = 0;
    const Regs r = Cpuid(2);
    if ((r.eax & 0xFF) != 1) return false;
    std::uint8_t bytes[15];
    int count = 0;
    const std::uint32_t words[4] = {r.eax, r.ebx, r.ecx, r.edx};
    for (int w = 0; w < 4; ++w) {
        if (words[w] & 0x80000000u) continue;
        for (int b = (w == 0 ? 1 : 0); b < 4; ++b) bytes[count++] = static_cast<std::uint8_t>(words[w] >> (8 * b));
    }
    for (const CacheDescriptor* d = kCacheDescriptors; d->descriptor != 0; ++d) {
        for (int i = 0; i < count; ++i) {
            if (bytes[i] == d->descriptor) {
                *size = static_cast<std::int32_t>(d->bytes);
                return true;
            }
        }
    }
    return false;
}

}  // namespace

Status GetMaxCacheSize(int* bytes) {
    if (bytes == nullptr) return qpStsNullPtrErr;
    if (g_cacheStatus == 1) {
        const std::uint32_t maxLeaf = Cpuid(0).eax;
        if (!IsReferenceVendor() || maxLeaf < 2) {
            g_cacheStatus = qpStsNotSupportedCpu;
        } else {
            std::int32_t size = 0;
            std::int32_t line = g_cacheLine;
            const bool found = maxLeaf >= 4 ? CacheFromLeaf4(&size, &line) : CacheFromDescriptors(&size, &line);
            g_cacheSize = found ? size : 0;
            g_cacheLine = line;
            g_cacheStatus = found ? qpStsNoErr : qpStsUnknownCacheSize;
        }
    }
    *bytes = g_cacheSize;
    return g_cacheStatus;
}

int GetCacheLineSize() { return g_cacheLine; }

}  // namespace qp
