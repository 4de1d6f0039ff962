// Feature detection, code-path choice, initialisation and the processor queries, on fake processors.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "fake_processor.h"
#include "runtime/runtime.h"

namespace {

using qp_test::CpuidRegs;
using qp_test::Fake;
using qp_test::kOtherVendor;
using qp_test::kReferenceVendor;
using qp_test::MakeProcessor;
using qp_test::Model;
using qp_test::ResetFake;

constexpr std::uint64_t Bit(int b) { return 1ull << b; }

std::uint64_t Detected() {
    std::uint64_t mask = 0;
    EXPECT_EQ(qp::GetCpuFeatures(&mask, nullptr), qp::qpStsNoErr);
    return mask;
}

class Runtime : public qp_test::FakeProcessorTest {};

// One source bit alone sets exactly its mask bit (or none): a swapped row shows as a wrong bit.
TEST_F(Runtime, EachSourceBitSetsOneMaskBit) {
    enum Reg { L1Edx, L1Ecx, L7Ebx, L7Ecx, L7Edx, X1Ecx };
    const struct { Reg reg; int from, to; } rows[] = {  // to -1: no mask bit on its own
        {L1Edx, 23, 0},  {L1Edx, 25, 1},  {L1Edx, 26, 2},  {L1Ecx, 0, 3},   {L1Ecx, 9, 4},   {L1Ecx, 22, 5},
        {L1Ecx, 19, 6},  {L1Ecx, 20, 7},  {L1Ecx, 28, 8},  {L1Ecx, 25, 10}, {L1Ecx, 1, 11},  {L1Ecx, 30, 13},
        {L1Ecx, 29, 14}, {L7Ebx, 19, 16}, {L7Ebx, 18, 17}, {L7Ebx, 29, 19}, {L7Ebx, 16, 20}, {L7Ebx, 28, 21},
        {L7Ebx, 27, 22}, {L7Ebx, 26, 23}, {L7Ebx, 30, 24}, {L7Ebx, 17, 25}, {L7Ebx, 31, 26}, {L7Ecx, 1, 27},
        {L7Ebx, 14, 28}, {L7Edx, 3, 29},  {L7Edx, 2, 30},  {L7Ebx, 21, 32}, {X1Ecx, 8, 18},  {L1Ecx, 12, -1},
        {L1Ecx, 27, -1}, {L7Ebx, 3, -1},  {L7Ebx, 5, -1},  {L7Ebx, 8, -1},  {L1Edx, 0, -1},  {X1Ecx, 0, -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE("register " + std::to_string(row.reg) + " bit " + std::to_string(row.from));
        ResetFake(7, kReferenceVendor, 0x80000001u).xcr0 = 0;
        std::uint32_t* words[] = {&Fake().Leaf(1).edx, &Fake().Leaf(1).ecx, &Fake().Leaf(7).ebx,
                                  &Fake().Leaf(7).ecx, &Fake().Leaf(7).edx, &Fake().Leaf(0x80000001u).ecx};
        *words[row.reg] = 1u << row.from;
        Reinstall();
        EXPECT_EQ(Detected(), row.to < 0 ? 0 : Bit(row.to));
    }
}

// Bits that need several conditions, the leaf limits that hide leaves 7 and 0x80000001, and every
// register of every leaf set: bits 0..33 but the reserved 12 and 31.
TEST_F(Runtime, CombinedConditionsAndLeafLimits) {
    constexpr std::uint32_t kOsAvx = (1u << 27) | (1u << 28), kAvx2Ebx = (1u << 3) | (1u << 5) | (1u << 8);
    const struct { const char* name; std::uint32_t maxLeaf, maxExt, l1eax, l1ecx, l7ebx, x1ecx; std::uint64_t xcr0, expected; } cases[] = {
        {"avx enabled by os", 7, 0, 0, kOsAvx, 0, 0, 0x6, Bit(8) | Bit(9)},   {"ymm state off", 7, 0, 0, kOsAvx, 0, 0, 0x2, Bit(8)},
        {"xmm state off", 7, 0, 0, kOsAvx, 0, 0, 0x4, Bit(8)},                {"no osxsave", 7, 0, 0, 1u << 28, 0, 0, 0xFF, Bit(8)},
        {"avx512 and ymm state, no avx", 7, 0, 0, 1u << 27, 0, 0, 0xE6, Bit(33)},
        {"avx512 state, leaf 7 hidden", 6, 0, 0, 1u << 27, 0, 0, 0xE0, 0},   {"opmask state off", 7, 0, 0, 1u << 27, 0, 0, 0xC0, 0},
        {"zmm low state off", 7, 0, 0, 1u << 27, 0, 0, 0xA0, 0},             {"zmm high state off", 7, 0, 0, 1u << 27, 0, 0, 0x60, 0},
        {"avx512 state, no osxsave", 7, 0, 0, 0, 0, 0, 0xE0, 0},             {"avx2 with fma bmi1 bmi2", 7, 0, 0, 1u << 12, kAvx2Ebx, 0, 0, Bit(15)},
        {"avx2 without fma", 7, 0, 0, 0, kAvx2Ebx, 0, 0, 0},                 {"avx2 without bmi1", 7, 0, 0, 1u << 12, kAvx2Ebx & ~(1u << 3), 0, 0, 0},
        {"avx2 without avx2 bit", 7, 0, 0, 1u << 12, kAvx2Ebx & ~(1u << 5), 0, 0, 0},
        {"avx2 without bmi2", 7, 0, 0, 1u << 12, kAvx2Ebx & ~(1u << 8), 0, 0, 0},
        {"leaf 7 hidden", 6, 0, 0, 1u << 12, 0xFFFFFFFFu, 0, 0, 0},          {"prefetchw", 1, 0x80000001u, 0, 0, 0, 1u << 8, 0, Bit(18)},
        {"extended leaf hidden", 1, 0x80000000u, 0, 0, 0, 1u << 8, 0, 0},    {"coprocessor signature", 1, 0, 0xB10, 0, 0, 0, 0, Bit(31)},
        {"coprocessor, other bits", 1, 0, 0xFFFFFB1Fu, 0, 0, 0, 0, Bit(31)}, {"other family", 1, 0, 0xB20, 0, 0, 0, 0, 0},
        {"other model", 1, 0, 0xA10, 0, 0, 0, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ResetFake(c.maxLeaf, kReferenceVendor, c.maxExt).xcr0 = c.xcr0;
        Fake().Leaf(1).eax = c.l1eax;
        Fake().Leaf(1).ecx = c.l1ecx;
        Fake().Leaf(7).ebx = c.l7ebx;
        Fake().Leaf(0x80000001u).ecx = c.x1ecx;
        Reinstall();
        EXPECT_EQ(Detected(), c.expected);
    }
    ResetFake(7, kReferenceVendor, 0x80000001u).xcr0 = ~0ull;
    for (const std::uint32_t leaf : {1u, 7u, 0x80000001u}) Fake().Leaf(leaf) = {0xFFFFFFFFu, ~0u, ~0u, ~0u};
    Reinstall();
    EXPECT_EQ(Detected(), 0x37FFFEFFFull);
}

// A null mask is refused; the detection is cached (a later change of the processor is not seen);
// a processor without leaf 1 is not supported.
TEST_F(Runtime, FeatureErrorsAndCaching) {
    MakeProcessor(Model::Avx2);
    Reinstall();
    EXPECT_EQ(qp::GetCpuFeatures(nullptr, nullptr), qp::qpStsNullPtrErr);
    EXPECT_EQ(Detected(), 0x83FFu);
    Fake().Leaf(7).ebx = 0;
    EXPECT_EQ(Detected(), 0x83FFu);
    ResetFake(0);
    Reinstall();
    std::uint64_t mask = 0;
    EXPECT_EQ(qp::GetCpuFeatures(&mask, nullptr), qp::qpStsNotSupportedCpu);
}

// The register array: leaf 1 by default, any leaf when the mask holds the request word.
TEST_F(Runtime, RegisterQuery) {
    const CpuidRegs leaf1 = {0x000306A9u, 0x11223344u, (1u << 9) | (1u << 0), (1u << 23) | (1u << 25) | (1u << 26)};
    const CpuidRegs leaf4s0 = {0x121u, 0, 0, 0}, leaf4s1 = {0x21u, 0x01C0003Fu, 0x3Fu, 0x1u};
    const struct { std::uint64_t maskIn; std::uint32_t leaf, subleaf; CpuidRegs expected; } cases[] = {
        {0, 4, 1, leaf1}, {qp::kGetInfoRequest, 4, 1, leaf4s1}, {qp::kGetInfoRequest, 4, 0, leaf4s0}, {qp::kGetInfoRequest + 1, 4, 1, leaf1}};
    ResetFake(7);
    Fake().Leaf(1) = leaf1;
    Fake().Leaf(4, 0) = leaf4s0;
    Fake().Leaf(4, 1) = leaf4s1;
    Reinstall();
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.maskIn) + " leaf " + std::to_string(c.leaf) + "." + std::to_string(c.subleaf));
        std::uint64_t mask = c.maskIn;
        std::array<std::uint32_t, 4> regs = {c.leaf, 0xDEADBEEFu, c.subleaf, 0xDEADBEEFu};
        ASSERT_EQ(qp::GetCpuFeatures(&mask, regs.data()), qp::qpStsNoErr);
        EXPECT_EQ(mask, 0x1Fu);
        EXPECT_EQ(regs, (std::array<std::uint32_t, 4>{c.expected.eax, c.expected.ebx, c.expected.ecx, c.expected.edx}));
    }
}

// Every row of the path choice: the status, the path and the enabled mask of a request on a model.
TEST_F(Runtime, SetCpuFeaturesChoosesPathAndStatus) {
    constexpr std::uint64_t kAll512 = 0x2073083FFull, kMic = 0x200F083FFull;
    const struct { const char* name; Model model; std::uint64_t request; qp::Status status; std::int32_t index; std::uint64_t enabled; } cases[] = {
        {"everything detected", Model::Avx512, kAll512, 0, 6, kAll512},     {"512 group with implied", Model::Avx512, 0x73081DF, 0, 6, 0x73081DF},
        {"512 group alone", Model::Avx512, 0x7300000, 51, 6, 0x73081DF},   {"both 512 groups", Model::Avx512, 0x7F081DF, 49, 6, 0x7F081DF},
        {"many-core group", Model::Avx512ManyCore, kMic, 0, 5, kMic},      {"many-core request on a bw processor", Model::Avx512, 0xF081DF, 49, 5, 0xF081DF},
        {"avx2 alone", Model::Avx2, Bit(15), 51, 4, 0x81DF},        {"avx2 with implied", Model::Avx2, 0x81DF, 0, 4, 0x81DF},
        {"avx", Model::Avx, 0x1DF, 0, 3, 0x1DF},                    {"sse4.2", Model::Sse42, 0xDF, 0, 2, 0xDF},
        {"sse4.1", Model::Sse42, 0x7F, 0, 1, 0x7F},                 {"movbe", Model::Sse42, 0x3F, 0, 1, 0x3F},
        {"ssse3 alone", Model::Sse42, Bit(4), 51, 1, 0x1F},         {"sse3", Model::Sse42, 0xF, 0, 0, 0xF},
        {"sse2 without mmx", Model::Sse2, 0x6, 51, 0, 0x7},         {"sse2", Model::Sse2, 0x7, 0, 0, 0x7},
        {"sse without sse2", Model::Sse2, 0x3, 36, 0, 0x3},         {"sse alone", Model::Sse2, 0x2, 36, 0, 0x3},
        {"nothing", Model::Sse2, 0, 36, 0, 0x1},                    {"unknown bit 40", Model::Avx2, Bit(40) | Bit(15), 50, 4, Bit(40) | 0x81DF},
        {"unknown bit 34 only", Model::Avx2, Bit(34), 50, 0, Bit(34) | 1},  {"unknown bit 62 only", Model::Avx2, Bit(62), 50, 0, Bit(62) | 1},
        {"unknown then missing", Model::Sse42, Bit(40) | Bit(10) | 0xFF, 49, 2, Bit(40) | 0x4FF},
        {"avx without os support", Model::AvxWithoutOs, 0x1FF, 49, 2, 0xFF},
        {"avx2 and avx without os", Model::Sse42, 0x8100, 49, 0, 0x1},     {"avx2 on sse4.2", Model::Sse42, 0x81FF, 49, 2, 0xFF},
        {"512 request keeps its bits", Model::Avx2, Bit(20) | 0x81DF, 49, 2, Bit(20) | 0xDF},
        {"ifma request drops avx", Model::Avx2, Bit(32) | 0x81DF, 49, 2, Bit(32) | 0xDF},
        {"512 request on avx2", Model::Avx2, kAll512, 49, 6, kAll512},     {"bit 33 missing", Model::Avx2, Bit(33) | 0x81DF, 49, 4, Bit(33) | 0x81DF},
        {"reserved bit missing", Model::Sse42, Bit(12) | 0xFF, 49, 2, 0x10FF}, {"missing below a path", Model::Sse2, 0x9, 49, 0, 0xF},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        MakeProcessor(c.model);
        Reinstall();
        std::int32_t index = -7;
        EXPECT_EQ(qp::SetCpuFeatures(c.request, &index), c.status);
        EXPECT_EQ(index, c.index);
        EXPECT_EQ(qp::g_codePath, c.index);
        EXPECT_EQ(qp::GetEnabledCpuFeatures(), c.enabled);
    }
}

// The take-as-given flag: the enabled mask becomes the detected one, no check is made; later
// requests are checked against the replaced detection, not the processor. A mask is enabled only
// when every one of its bits is.
TEST_F(Runtime, TakeAsGivenReplacesDetectionAndTestEnabledNeedsEveryBit) {
    MakeProcessor(Model::Avx512);
    Reinstall();
    std::int32_t index = -1;
    EXPECT_EQ(qp::SetCpuFeatures(qp::kFeatTakeAsGiven | 0x81DF, &index), qp::qpStsNoErr);
    EXPECT_EQ(index, 4);
    EXPECT_EQ(qp::GetEnabledCpuFeatures(), 0x81DFu);
    EXPECT_EQ(Detected(), 0x7u);  // the enabled mask at the time of the call
    for (const auto& [mask, enabled] : {std::pair{0ull, true}, {0x81DFull, true}, {Bit(15), true}, {Bit(16), false},
                                        {Bit(15) | Bit(16), false}, {Bit(4) | Bit(63), false}}) {
        EXPECT_EQ(qp::TestEnabledCpuFeatures(mask), enabled) << mask;
    }
    EXPECT_EQ(qp::SetCpuFeatures(qp::kFeatTakeAsGiven | Bit(40) | 0x7, &index), qp::qpStsNoErr);
    EXPECT_EQ(index, 0);
    EXPECT_EQ(qp::GetEnabledCpuFeatures(), Bit(40) | 0x7);
    EXPECT_EQ(Detected(), 0x81DFu);
    EXPECT_EQ(qp::SetCpuFeatures(0x1DF, &index), qp::qpStsFeatureNotSupported);
    EXPECT_EQ(index, 2);
}

// Each typical processor, of the reference vendor and of another; then a processor without the
// feature leaf, after a request had left path 1 behind: path 0 and the base mask.
TEST_F(Runtime, InitLibraryOnTypicalProcessors) {
    const struct { Model model; qp::Status status; std::int32_t index; std::uint64_t enabled; } cases[] = {
        {Model::Sse2, 0, 0, 0x7},   {Model::Sse42, 0, 2, 0xFF},           {Model::AvxWithoutOs, 49, 2, 0xFF},
        {Model::Avx, 0, 3, 0x3FF},  {Model::Avx2, 0, 4, 0x83FF},          {Model::Avx512ManyCore, 0, 5, 0x200F083FF},
        {Model::Avx512, 0, 6, 0x2073083FF},
    };
    for (const bool reference : {true, false}) {
        const auto& vendor = reference ? kReferenceVendor : kOtherVendor;
        for (const auto& c : cases) {
            SCOPED_TRACE("model " + std::to_string(static_cast<int>(c.model)) + (reference ? "" : ", other vendor"));
            MakeProcessor(c.model, vendor);
            Reinstall();
            EXPECT_EQ(qp::InitLibrary(), reference ? c.status : qp::qpStsNonReferenceCpu);
            EXPECT_EQ(qp::g_codePath, c.index);
            EXPECT_EQ(qp::GetEnabledCpuFeatures(), c.enabled);
        }
        SCOPED_TRACE(reference ? "no feature leaf" : "no feature leaf, other vendor");
        ResetFake(0, vendor);
        Reinstall();
        std::int32_t index = 0;
        qp::SetCpuFeatures(0x1F, &index);
        ASSERT_EQ(qp::g_codePath, 1);
        EXPECT_EQ(qp::InitLibrary(), reference ? qp::qpStsNotSupportedCpu : qp::qpStsNonReferenceCpu);
        EXPECT_EQ(qp::g_codePath, 0);
        EXPECT_EQ(qp::GetEnabledCpuFeatures(), 0x7u);
    }
}

// Scripted counter reads, one second per time() call: the rounds' tick counts are the differences of
// successive pairs, the first pair discarded.
TEST_F(Runtime, FrequencyFromScriptedCounter) {
    // The exact sums of the two rounding rows give 1999.
    const struct { const char* name; std::uint64_t ticks[3]; int mhz; } cases[] = {
        {"first round discarded", {1000000000, 2400000000, 2600000000}, 2500}, {"truncated, not rounded", {1, 1000000000, 1001900032}, 1000},
        {"ticks rounded to float", {1, 1999999999, 2000000000}, 2000},         {"sum rounded in float", {1, 2000000000, 1999999872}, 2000},
        {"no ticks", {5, 0, 0}, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ResetFake(7);
        std::uint64_t t = 123456789;
        for (const std::uint64_t d : c.ticks) {
            Fake().tscScript.insert(Fake().tscScript.end(), {t, t + d});
            t += d + 777;
        }
        Reinstall();
        int mhz = -5;
        EXPECT_EQ(qp::GetCpuFrequencyMHz(&mhz), qp::qpStsNoErr);
        EXPECT_EQ(mhz, c.mhz);
    }
}

// The counter runs with the clock: each round must wait for the next second to count its ticks.
// The answer is cached: a second call reads no counter.
TEST_F(Runtime, FrequencyWaitsForSecondBoundaryAndCaches) {
    ResetFake(7);
    Fake().callsPerSecond = 1000;
    Fake().tscPerNowCall = 2400000;  // 2.4e9 ticks per second once a round spans a whole second
    Reinstall();
    EXPECT_EQ(qp::GetCpuFrequencyMHz(nullptr), qp::qpStsNullPtrErr);
    for (int call = 0; call < 2; ++call) {
        const std::size_t reads = Fake().tscReads;
        int mhz = 0;
        EXPECT_EQ(qp::GetCpuFrequencyMHz(&mhz), qp::qpStsNoErr);
        EXPECT_EQ(mhz, 2400);
        EXPECT_TRUE(call == 0 || Fake().tscReads == reads) << "read the counter again";
        Fake().tscPerNowCall = 1000000;
    }
}

// Leaf-4 sub-leaf of a cache: type (1 data, 2 instruction, 3 unified) and its geometry.
CpuidRegs Leaf4(std::uint32_t type, std::uint32_t ways, std::uint32_t partitions, std::uint32_t line, std::uint32_t sets) {
    return {type | (1u << 5), ((ways - 1) << 22) | ((partitions - 1) << 12) | (line - 1), sets - 1, 0};
}

// From leaf 4 (the largest data or unified cache and its line) or, below it, from the leaf-2
// descriptors (no line size).
TEST_F(Runtime, CacheFromParametersAndDescriptors) {
    const CpuidRegs l1d = Leaf4(1, 8, 1, 64, 64), l2 = Leaf4(3, 4, 1, 64, 1024), l3 = Leaf4(3, 16, 1, 64, 8192);
    std::vector<CpuidRegs> thirtyThird(32, l1d);
    thirtyThird.push_back(l3);
    const struct { const char* name; std::vector<CpuidRegs> subleaves; int bytes, line; qp::Status status; } cases[] = {
        {"typical hierarchy", {l1d, Leaf4(2, 8, 1, 64, 64), l2, l3}, 8 << 20, 64, 0},
        {"instruction cache skipped", {l1d, Leaf4(2, 16, 1, 128, 512)}, 32 << 10, 64, 0},
        {"stops at type 0", {l1d, {}, l3}, 32 << 10, 64, 0},
        {"equal size keeps the first", {Leaf4(3, 8, 1, 64, 512), Leaf4(3, 8, 1, 128, 256), l1d}, 256 << 10, 64, 0},
        {"larger replaces", {Leaf4(3, 8, 1, 128, 256), Leaf4(3, 8, 1, 32, 2048)}, 512 << 10, 32, 0},
        {"every field", {Leaf4(1, 3, 5, 32, 7)}, 3 * 5 * 32 * 7, 32, 0},   {"widest ways", {Leaf4(1, 1024, 1, 1, 1)}, 1024, 1, 0},
        {"widest partitions", {Leaf4(1, 1, 1024, 1, 1)}, 1024, 1, 0},     {"widest line", {Leaf4(1, 1, 1, 4096, 1)}, 4096, 4096, 0},
        {"only 32 sub-leaves", thirtyThird, 32 << 10, 64, 0},             {"no caches", {}, 0, -1, 37},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ResetFake(0xB);
        for (std::uint32_t i = 0; i < c.subleaves.size(); ++i) Fake().Leaf(4, i) = c.subleaves[i];
        Reinstall();
        int bytes = -5;
        EXPECT_EQ(qp::GetMaxCacheSize(&bytes), c.status);
        EXPECT_EQ(bytes, c.bytes);
        EXPECT_EQ(qp::GetCacheLineSize(), c.line);
    }

    const struct { const char* name; std::uint32_t maxLeaf; CpuidRegs leaf2; int bytes; qp::Status status; } descriptors[] = {
        {"first row, in eax", 2, {0x0000EC01, 0, 0, 0}, 24 << 20, 0},  {"eax top byte", 2, {0x48000001, 0, 0, 0}, 3 << 20, 0},
        {"in edx", 2, {0x01, 0, 0, 0x00430000}, 512 << 10, 0},       {"odd size in ebx", 3, {0x01, 0x3D, 0, 0}, 384 << 10, 0},
        {"last row", 2, {0x01, 0, 0x41000000, 0}, 128 << 10, 0},     {"skipped register", 2, {0x01, 0x80000049u, 0x21, 0}, 256 << 10, 0},
        {"larger of two", 2, {0x41000001, 0, 0, 0x4D}, 16 << 20, 0}, {"larger of two, same register", 2, {0x01, 0, 0x00412900, 0}, 4 << 20, 0},
        {"eax skipped", 2, {0x80EC0001u, 0, 0, 0}, 0, 37},          {"repeat count not 1", 2, {0x0000EC02, 0, 0, 0}, 0, 37},
        {"no cache descriptor", 2, {0x00FF2C01, 0x0B, 0, 0}, 0, 37},
    };
    for (const auto& c : descriptors) {
        SCOPED_TRACE(c.name);
        ResetFake(c.maxLeaf);
        Fake().Leaf(2) = c.leaf2;
        Fake().Leaf(4, 0) = Leaf4(3, 16, 1, 64, 65536);  // not consulted below leaf 4
        Reinstall();
        int bytes = -5;
        EXPECT_EQ(qp::GetMaxCacheSize(&bytes), c.status);
        EXPECT_EQ(bytes, c.bytes);
        EXPECT_EQ(qp::GetCacheLineSize(), 0);
    }
}

// Another vendor or a highest leaf of 1 is not supported; the answer, found or not, is cached.
TEST_F(Runtime, CacheUnsupportedAndCached) {
    const struct { const char* name; std::uint32_t maxLeaf; bool reference; qp::Status status; int bytes; } cases[] = {{"other vendor", 0xB, false, 36, -1}, {"highest leaf 1", 1, true, 36, -1}, {"found", 0xB, true, 0, 64 << 10}, {"not found", 2, true, 37, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ResetFake(c.maxLeaf, c.reference ? kReferenceVendor : kOtherVendor);
        Fake().Leaf(4, 0) = Leaf4(3, 16, 1, 64, 64);
        Reinstall();
        EXPECT_EQ(qp::GetCacheLineSize(), -1);
        EXPECT_EQ(qp::GetMaxCacheSize(nullptr), qp::qpStsNullPtrErr);
        for (int call = 0; call < 2; ++call) {
            int bytes = -5;
            EXPECT_EQ(qp::GetMaxCacheSize(&bytes), c.status);
            EXPECT_EQ(bytes, c.bytes);
            // The second call must answer from the cache, whatever the processor says now.
            Fake().Leaf(0) = {0xB, kReferenceVendor[0], kReferenceVendor[2], kReferenceVendor[1]};
            Fake().Leaf(2) = {0x0000EC01, 0, 0, 0};
            Fake().Leaf(4, 0) = Leaf4(3, 16, 1, 64, 4096);
        }
    }
}

// The numbers of the version record (its texts are checked through the diagnostics report).
TEST(RuntimeVersion, Numbers) {
    const qp::LibraryVersion* v = qp::GetLibraryVersion();
    ASSERT_NE(v, nullptr);
    EXPECT_EQ((std::vector<int>{v->major, v->minor, v->majorBuild, v->build}), (std::vector<int>{2018, 0, 1, 56998}));
    EXPECT_EQ(std::string(v->targetCpu, 4), "core");
}

}  // namespace
