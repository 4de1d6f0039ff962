// The diagnostics report: its text for played processors, and the one-job publication protocol.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "diagnostics/report.h"
#include "fake_processor.h"
#include "quorcore/debug.h"
#include "quorcore/threads.h"

#include <boost/make_shared.hpp>

namespace {

using qp::diagnostics::BuildReportText;
using qp::diagnostics::Record;
using qp::diagnostics::ReportCallback;
using namespace qp_test;
namespace thr = quorcore::threads;

std::string Utf8(const quorcore::UTF16String& text) { return quorcore::utility::UTF16to8(text); }

// A processor of the reference vendor with AVX2, a 16 MiB unified leaf-4 cache and a 3000 MHz
// counter.
void PlayAvx2Processor(const std::uint32_t (&vendor)[3] = kReferenceVendor) {
    FakeProcessor& f = MakeProcessor(Model::Avx2, vendor);
    f.Leaf(4, 0) = {0x121, (7u << 22) | 63u, 63u, 0};                  // L1 data: 8 ways x 64 sets x 64 B
    f.Leaf(4, 1) = {0x163, (15u << 22) | 63u, 16383u, 0};              // L3 unified: 16 x 16384 x 64 B
    f.callsPerSecond = 1;
    f.tscPerNowCall = 1500000000ull;
}

class ReportText : public FakeProcessorTest {};

TEST_F(ReportText, FullReportForAnAvx2Processor) {
    PlayAvx2Processor();
    const std::string expected =
        "QP Target CPU:  core\nQP Name:  qpCore\nQP Version:  2018.0.1 (r56998)\nQP Build Date:  Oct 10 2017\n"
        "CPU Frequency:  3000 MHz\nMax L2/L3 Cache Size:  16.00 MB\nCPU Features:  0x000083FF\n"
        "\tMMX  \t\tMMX technology supported\n\tSSE   \t\tStreaming SIMD Extensions\n"
        "\tSSE2 \t\tStreaming SIMD Extensions 2\n\tSSE3 \t\tStreaming SIMD Extensions 3\n"
        "\tSSSE3\t\tSupplemental Streaming SIMD\n\tMOVBE\t\tThe processor supports MOVBE instruction\n"
        "\tSSE41\t\tStreaming SIMD Extensions 4.1\n\tSSE42\t\tStreaming SIMD Extensions 4.2\n"
        "\tAVX  \t\tAdvanced Vector Extensions instruction set\n\tENABLEDBYOS\tThe operating system supports AVX\n"
        "\tAVX2 \t\tAdvanced Vector Extensions 2 instruction set\n"
        "CPUID:  \n\tEAX:  0x000306A9\n\tEBX:  0x00000000\n\tECX:  0x18581201\n\tEDX:  0x06800000\n";
    EXPECT_EQ(Utf8(BuildReportText(qp::GetLibraryVersion())), expected);
}

// Every leaf-1 and leaf-7 bit set: the printed lines follow the table order, bit 12 never prints
// and bits without a name (27-30, 32, 33) print nothing.
TEST_F(ReportText, EveryNamedFeatureInTableOrder) {
    FakeProcessor& f = ResetFake(7);
    f.Leaf(1) = {0xB10, 0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu};
    f.Leaf(7) = {0, 0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu};
    f.Leaf(0x80000001u).ecx = 0xFFFFFFFFu;
    f.xcr0 = 0xE7;
    const std::string text = Utf8(BuildReportText(qp::GetLibraryVersion()));
    EXPECT_NE(text.find("CPU Features:  0x3FFFFEFFF\n"), std::string::npos) << text;
    EXPECT_EQ(text.find("ABR"), std::string::npos);
    std::size_t at = 0;
    for (const char* line : {"\tMMX ", "\tSSE   ", "\tSSE2 ", "\tSSE3 ", "\tSSSE3", "\tMOVBE", "\tSSE41", "\tSSE42",
                             "\tAVX  ", "\tENABLEDBYOS", "\tAES", "\tCLMUL", "\tRDRAND", "\tF16C", "\tAVX2 ", "\tADCOX",
                             "\tRDSEED", "\tPREFETCHW", "\tSHA ", "\tAVX512F", "\tAVX512CD", "\tAVX512ER", "\tAVX512PF",
                             "\tAVX512BW", "\tAVX512DQ", "\tAVX512VL", "\tCOPROC", "CPUID:  "}) {
        at = text.find(line, at);
        ASSERT_NE(at, std::string::npos) << "missing or out of order: " << line;
    }
}

// Without a version record the report starts at the frequency; a record without its texts prints
// its numbers, the first one again in the fourth place; another vendor's processor has no cache
// size, and the report prints the -1 it keeps.
TEST_F(ReportText, VersionRecordVariantsAndUnknownCacheSize) {
    PlayAvx2Processor();
    EXPECT_EQ(Utf8(BuildReportText(nullptr)).rfind("CPU Frequency:  3000 MHz\nMax L2/L3", 0), 0u);
    qp::LibraryVersion noTexts = *qp::GetLibraryVersion();
    noTexts.Name = noTexts.Version = nullptr;
    noTexts.major = 7, noTexts.minor = 3, noTexts.majorBuild = 5;
    EXPECT_EQ(Utf8(BuildReportText(&noTexts)).rfind(
                  "QP Target CPU:  core\nQP Version:  7.3.5.7\nQP Build Date:  Oct 10 2017\nCPU Frequency:", 0), 0u);
    PlayAvx2Processor(kOtherVendor);
    Reinstall();
    EXPECT_EQ(Utf8(BuildReportText(nullptr)).rfind("CPU Frequency:  3000 MHz\nMax L2/L3 Cache Size:  -1 B\n", 0), 0u);
}

// --- the callback protocol ------------------------------------------------------------------------

// An executor that keeps the jobs until the test runs them (posts from several threads at once
// are counted, not lost).
struct HeldExecutor : thr::AsyncExecutor {
    void Post(const boost::function<void()>& job) override {
        std::lock_guard<std::mutex> lock(mutex);
        ++posted;
        jobs.push_back(job);
    }
    void WaitIdle() override {}
    std::mutex mutex;
    std::atomic<int> posted{0};
    std::vector<boost::function<void()>> jobs;
};

class ReportCallbackTest : public FakeProcessorTest {
protected:
    void SetUp() override { FakeProcessorTest::SetUp(); PlayAvx2Processor(); ResetRecord(); }
    void TearDown() override { thr::ResetCPUBoundExecutor(); ResetRecord(); FakeProcessorTest::TearDown(); }
    static void ResetRecord() { Record().state = qp::diagnostics::kNotStarted; Record().text.clear(); }
};

// A counter that threads can block on until it reaches a value.
struct Gate {
    void Add() {
        std::lock_guard<std::mutex> lock(mutex);
        ++value;
        changed.notify_all();
    }
    void WaitFor(int v) {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return value >= v; });
    }
    std::mutex mutex;
    std::condition_variable changed;
    int value = 0;
};

// Spins until f() holds, giving way now and then in case the threads share one processor.
template <typename F>
void SpinUntil(F f) {
    for (int spins = 1; !f(); ++spins)
        if (spins % 4096 == 0) std::this_thread::yield();
}

// Two threads make the first call at once, again and again: one job is posted, nothing written.
// The threads live for the whole test. In each round one of them waits in a tight spin while the
// other releases it and makes its own call after a varying delay, so that over the rounds the two
// first calls meet at every small offset, also within the few nanoseconds in which a check of the
// state and a separate claim of it could interleave (caught in every run; 20 rounds of two new
// threads missed that split).
TEST_F(ReportCallbackTest, ConcurrentFirstCallsPostOneJobAndWriteNothing) {
    constexpr int kRounds = 20000;
    Gate armed, finished;
    std::atomic<int> spinning{0}, go{0};
    std::string written[2];
    const auto call = [&](int t) {
        quorcore::UTF16StringStream stream;
        ReportCallback(stream);
        written[t] += Utf8(stream.Str());
        finished.Add();
    };
    std::thread waiter([&] {
        for (int r = 1; r <= kRounds; ++r) {
            armed.WaitFor(r);
            spinning.store(r);
            SpinUntil([&] { return go.load() == r; });
            call(0);
        }
    });
    std::thread releaser([&] {
        unsigned jitter = 12345;
        for (int r = 1; r <= kRounds; ++r) {
            armed.WaitFor(r);
            SpinUntil([&] { return spinning.load() == r; });
            jitter = jitter * 1103515245u + 12345u;
            go.store(r);
            for (volatile unsigned d = (jitter >> 16) % 256; d > 0; --d) {
            }
            call(1);
        }
    });
    int failures = 0;
    for (int r = 1; r <= kRounds; ++r) {
        Record().state = qp::diagnostics::kNotStarted;
        auto executor = boost::make_shared<HeldExecutor>();
        thr::SetCPUBoundExecutor(executor);
        armed.Add();
        finished.WaitFor(2 * r);
        const bool ok = executor->posted.load() == 1 && Record().state.load() == qp::diagnostics::kBuilding;
        if (!ok && ++failures <= 3) ADD_FAILURE() << "round " << r << ": " << executor->posted.load() << " jobs posted";
    }
    waiter.join();
    releaser.join();
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(written[0] + written[1], "");
}

// Without an executor nothing is ever produced. With one, calls write nothing until the job has
// run, and then the same report every time.
TEST_F(ReportCallbackTest, ReportAppearsOnceItsJobHasRun) {
    thr::SetCPUBoundExecutor(boost::shared_ptr<thr::AsyncExecutor>());
    quorcore::UTF16StringStream stream;
    for (int i = 0; i < 3; ++i) ReportCallback(stream);
    EXPECT_TRUE(stream.Empty());
    EXPECT_EQ(Record().state.load(), qp::diagnostics::kBuilding);

    ResetRecord();
    auto executor = boost::make_shared<HeldExecutor>();
    thr::SetCPUBoundExecutor(executor);
    ReportCallback(stream);
    ReportCallback(stream);
    EXPECT_TRUE(stream.Empty());
    for (auto& job : executor->jobs) job();
    const std::string report = Utf8(BuildReportText(qp::GetLibraryVersion()));
    for (int i = 0; i < 2; ++i) {
        ReportCallback(stream);
        EXPECT_EQ(Utf8(stream.Take()), report);
    }
    EXPECT_EQ(executor->posted.load(), 1);
}

// The library registers itself at load; the host asks by name and gets the report from the real
// executor's worker.
TEST_F(ReportCallbackTest, RegisteredWithTheMonitorAtLoad) {
    const auto names = quorcore::debug::RegisteredDebugMonitorNames();
    ASSERT_NE(std::find(names.begin(), names.end(), "quoraccelerate.QP"), names.end());
    quorcore::UTF16StringStream stream;
    ASSERT_TRUE(quorcore::debug::CollectDebugReport("quoraccelerate.QP", stream));
    EXPECT_TRUE(stream.Empty());
    thr::GetCPUBoundExecutor()->WaitIdle();
    ASSERT_TRUE(quorcore::debug::CollectDebugReport("quoraccelerate.QP", stream));
    EXPECT_EQ(Utf8(stream.Str()).rfind("QP Target CPU:  core\n", 0), 0u);
}

}  // namespace
