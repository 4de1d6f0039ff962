// A processor played from tables, installed into the runtime in place of the hardware.
//
// The runtime reads the processor through plain function pointers, so the fake's state lives in one
// function-local static. Unlisted CPUID leaves answer zeros.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <map>
#include <utility>
#include <vector>

#include "runtime/runtime.h"

namespace qp_test {

struct CpuidRegs {
    std::uint32_t eax = 0, ebx = 0, ecx = 0, edx = 0;
};

// The reference vendor's identification words (EBX, EDX, ECX of leaf 0) and another vendor's.
constexpr std::uint32_t kReferenceVendor[3] = {0x756E6547u, 0x49656E69u, 0x6C65746Eu};
constexpr std::uint32_t kOtherVendor[3] = {0x41414141u, 0x42424242u, 0x43434343u};

struct FakeProcessor {
    std::map<std::pair<std::uint32_t, std::uint32_t>, CpuidRegs> leaves;
    std::uint64_t xcr0 = 0;
    // Clock: time() advances by one second every `callsPerSecond` calls. The counter reads the next
    // value of `tscScript` while any is left, and otherwise `tscPerNowCall` ticks per time() call so far.
    std::time_t seconds = 1000;
    int callsPerSecond = 1;
    int nowCalls = 0;
    std::uint64_t tscPerNowCall = 0;
    std::vector<std::uint64_t> tscScript;
    std::size_t tscReads = 0;

    CpuidRegs& Leaf(std::uint32_t leaf, std::uint32_t subleaf = 0) { return leaves[{leaf, subleaf}]; }
};

inline FakeProcessor& Fake() {
    static FakeProcessor fake;
    return fake;
}

inline void FakeCpuid(std::uint32_t leaf, std::uint32_t subleaf, std::uint32_t regs[4]) {
    const auto it = Fake().leaves.find({leaf, subleaf});
    const CpuidRegs r = it != Fake().leaves.end() ? it->second : CpuidRegs{};
    regs[0] = r.eax;
    regs[1] = r.ebx;
    regs[2] = r.ecx;
    regs[3] = r.edx;
}

inline std::uint64_t FakeXgetbv(std::uint32_t xcr) {
    // The instruction faults on a processor whose OS has not enabled XSAVE (leaf-1 ECX bit 27).
    if (((Fake().Leaf(1).ecx >> 27) & 1u) == 0) ADD_FAILURE() << "XGETBV read without OSXSAVE";
    return xcr == 0 ? Fake().xcr0 : 0;
}

inline std::uint64_t FakeTsc() {
    FakeProcessor& f = Fake();
    const std::size_t i = f.tscReads++;
    if (i < f.tscScript.size()) return f.tscScript[i];
    return f.tscPerNowCall * static_cast<std::uint64_t>(f.nowCalls);
}

inline std::time_t FakeNow() {
    FakeProcessor& f = Fake();
    return f.seconds + f.nowCalls++ / f.callsPerSecond;
}

inline const qp::ProcessorSource* FakeSource() {
    static const qp::ProcessorSource source = {&FakeCpuid, &FakeXgetbv, &FakeTsc, &FakeNow};
    return &source;
}

// Clears the fake and gives it a vendor and highest standard and extended leaves.
inline FakeProcessor& ResetFake(std::uint32_t maxLeaf, const std::uint32_t (&vendor)[3] = kReferenceVendor,
                                std::uint32_t maxExtLeaf = 0x80000008u) {
    Fake() = FakeProcessor{};
    Fake().Leaf(0) = {maxLeaf, vendor[0], vendor[2], vendor[1]};
    Fake().Leaf(0x80000000u).eax = maxExtLeaf;
    return Fake();
}

// Typical processors, one per code path the runtime chooses.
enum class Model { Sse2, Sse42, AvxWithoutOs, Avx, Avx2, Avx512ManyCore, Avx512 };

inline FakeProcessor& MakeProcessor(Model model, const std::uint32_t (&vendor)[3] = kReferenceVendor) {
    const bool avx2 = model >= Model::Avx2;
    FakeProcessor& f = ResetFake(avx2 ? 0x16 : 0xB, vendor);
    CpuidRegs& l1 = f.Leaf(1);
    l1.eax = 0x000306A9;
    l1.edx = (1u << 23) | (1u << 25) | (1u << 26);                                    // MMX SSE SSE2
    if (model >= Model::Sse42) l1.ecx |= 1u | (1u << 9) | (1u << 19) | (1u << 20) | (1u << 22);
    if (model >= Model::AvxWithoutOs) l1.ecx |= (1u << 27) | (1u << 28);              // OSXSAVE AVX
    f.xcr0 = model >= Model::Avx ? 0x7 : 0x3;
    if (avx2) {
        l1.ecx |= 1u << 12;                                                            // FMA
        f.Leaf(7).ebx = (1u << 3) | (1u << 5) | (1u << 8);                             // BMI1 AVX2 BMI2
    }
    if (model == Model::Avx512ManyCore) f.Leaf(7).ebx |= (1u << 16) | (1u << 26) | (1u << 27) | (1u << 28);
    if (model == Model::Avx512) f.Leaf(7).ebx |= (1u << 16) | (1u << 17) | (1u << 28) | (1u << 30) | (1u << 31);
    if (model >= Model::Avx512ManyCore) f.xcr0 = 0xE7;
    return f;
}

// Installs the fake for each test and gives the hardware back afterwards, initialised, so that the
// other tests see the real machine.
class FakeProcessorTest : public ::testing::Test {
protected:
    void SetUp() override { qp::ResetRuntime(FakeSource()); }
    void TearDown() override {
        qp::ResetRuntime(nullptr);
        qp::InitLibrary();
    }
    // Installs the fake again after its tables changed, forgetting everything the runtime cached.
    static void Reinstall() { qp::ResetRuntime(FakeSource()); }
};

template <typename Param>
class FakeProcessorParamTest : public FakeProcessorTest, public ::testing::WithParamInterface<Param> {};

}  // namespace qp_test
