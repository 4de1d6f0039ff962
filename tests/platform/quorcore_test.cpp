// The core library: text conversions, the debug monitor registry, the CPU-bound executor, the
// small-block pool and the clock.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <boost/make_shared.hpp>

#include "quorcore/debug.h"
#include "quorcore/memory.h"
#include "quorcore/strings.h"
#include "quorcore/threads.h"
#include "quorcore/time.h"

namespace {

using quorcore::UTF16String;
using quorcore::UTF16StringStream;
namespace util = quorcore::utility;
namespace dbg = quorcore::debug;
namespace thr = quorcore::threads;

const UTF16String R(1, u'\uFFFD');

// Decodes from a heap copy of exactly `input.size()` bytes, so that the address sanitizer sees
// any read past the end.
UTF16String DecodeExact(const std::string& input) {
    const std::vector<char> bytes(input.begin(), input.end());
    return util::UTF8to16(bytes.data(), bytes.size());
}

TEST(Utf8, DecodeValidAndMalformed) {
    const struct {
        std::string input;
        UTF16String expected;
    } cases[] = {
        {"", u""}, {"Az09~\x7F", u"Az09~\x7F"}, {std::string("a\0b", 3), UTF16String(u"a\0b", 3)},
        // The bounds of the 2-, 3- and 4-byte forms.
        {"\xC2\x80\xDF\xBF", u"\u0080\u07FF"},
        {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", u"\u0800\uD7FF\uE000\uFFFF"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", UTF16String{0xD800, 0xDC00, 0xDBFF, 0xDFFF}},
        // One replacement per maximal invalid subpart; decoding resumes at the byte that broke it.
        {"\xC3", R}, {"\xE2\x82\xC3\xA9", R + u"\u00E9"}, {"\xF0\x9F" "A\x80", R + u"A" + R},
        {"x\xF0\x9F\x98", u"x" + R}, {"a\x80\xBF" "b", u"a" + R + R + u"b"},
        // Surrogates, overlong forms and values above U+10FFFF break at their second byte.
        {"\xED\xA0\x80", R + R + R}, {"\xC0\xAF", R + R}, {"\xE0\x80\xAF", R + R + R},
        {"\xF0\x8F\xBF\xBF", R + R + R + R}, {"\xF4\x90\x80\x80", R + R + R + R}, {"\xF5\x80\x80\x80", R + R + R + R},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(DecodeExact(c.input), c.expected) << testing::PrintToString(c.input);
        EXPECT_EQ(util::UTF8to16(c.input), c.expected) << testing::PrintToString(c.input);
    }
    EXPECT_EQ(util::UTF8to16(std::string("a\0b", 3).c_str()), u"a");  // the C-string form stops at NUL
    EXPECT_EQ(util::UTF8to16(static_cast<const char*>(nullptr)), u"");
    EXPECT_EQ(util::UTF8to16(nullptr, 5), u"");
    EXPECT_EQ(util::UTF8to16("\xE2\x82\xAC", 2), R);  // the size cuts a sequence, whatever follows
}

TEST(Utf8, EncodePairsAndUnpairedSurrogates) {
    const struct {
        UTF16String input;
        std::string expected;
    } cases[] = {
        {u"A\u00E9\u20AC", "A\xC3\xA9\xE2\x82\xAC"}, {UTF16String{0xD83D, 0xDE00}, "\xF0\x9F\x98\x80"},
        {UTF16String{0xDBFF, 0xDFFF}, "\xF4\x8F\xBF\xBF"}, {UTF16String{0xD800, u'A'}, "\xEF\xBF\xBD" "A"},
        {UTF16String{0xDC00, 0xD800}, "\xEF\xBF\xBD\xEF\xBF\xBD"}, {UTF16String{u'x', 0xD83D}, "x\xEF\xBF\xBD"},
    };
    for (const auto& c : cases) EXPECT_EQ(util::UTF16to8(c.input), c.expected);
    EXPECT_EQ(util::AsciiToUTF16("A\x80z"), u"A\uFFFDz");
    EXPECT_EQ(util::AsciiToUTF16(nullptr), u"");
}

TEST(MemoryString, Table) {
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
    const struct {
        std::int64_t number;
        int decimals;
        bool decimalUnits;
        const char16_t* expected;
    } cases[] = {
        {0, 2, false, u"0 B"}, {-1, 2, false, u"-1 B"}, {1023, 2, false, u"1023 B"}, {1024, 2, false, u"1.00 KB"},
        {1536, 1, false, u"1.5 KB"}, {1152, 2, false, u"1.13 KB"},  // 1.125: a tie, away from zero
        {-1152, 2, false, u"-1.13 KB"}, {1535, 0, false, u"1 KB"}, {1536, 0, false, u"2 KB"},
        {1536, -3, false, u"2 KB"}, {16777216, 2, false, u"16.00 MB"}, {1610612736, 3, false, u"1.500 GB"},
        {1048575, 2, false, u"1.00 MB"},  // 1023.999 KB rounds up into the next unit
        {1048575, 3, false, u"1023.999 KB"}, {kMin, 2, false, u"-8.00 EB"},
        {kMax, 2, false, u"8.00 EB"},  // no unit past EB
        {999, 2, true, u"999 B"}, {1000, 2, true, u"1.00 kB"}, {1023, 0, true, u"1 kB"},
        {999999, 2, true, u"1.00 MB"}, {1234567890, 4, true, u"1.2346 GB"}, {kMin, 2, true, u"-9.22 EB"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(util::NumberToMemoryString(c.number, c.decimals, c.decimalUnits), c.expected)
            << c.number << " " << c.decimals << " " << c.decimalUnits;
}

dbg::ReportCallback Writes(const char16_t* text) {
    return [text](UTF16StringStream& s) { s << text; };
}

TEST(DebugMonitor, RegisterCollectUnregister) {
    char name[] = "qc.b";
    bool enabled = false;
    ASSERT_TRUE(dbg::RegisterDebugMonitorCallback(name, Writes(u"B"), {}));
    std::strcpy(name, "qc.x");  // the registry keeps its own copy
    ASSERT_TRUE(dbg::RegisterDebugMonitorCallback("qc.a", Writes(u"A"), {}));
    ASSERT_TRUE(dbg::RegisterDebugMonitorCallback("qc.c", Writes(u"C"), [&enabled] { return enabled; }));
    EXPECT_FALSE(dbg::RegisterDebugMonitorCallback("qc.b", Writes(u"again"), {}));
    EXPECT_FALSE(dbg::RegisterDebugMonitorCallback(nullptr, Writes(u"x"), {}));
    EXPECT_FALSE(dbg::RegisterDebugMonitorCallback("qc.empty", dbg::ReportCallback(), {}));
    EXPECT_EQ(dbg::RegisteredDebugMonitorNames(), (std::vector<std::string>{"qc.a", "qc.b", "qc.c"}));

    UTF16StringStream stream;
    stream << static_cast<const char16_t*>(nullptr);  // writes nothing
    EXPECT_TRUE(dbg::CollectDebugReport("qc.b", stream));
    EXPECT_FALSE(dbg::CollectDebugReport("qc.x", stream));
    EXPECT_TRUE(dbg::CollectDebugReport("qc.c", stream));  // registered, but says no
    EXPECT_EQ(stream.Take(), u"B");
    dbg::CollectAllDebugReports(stream);  // in name order, without the disabled one
    EXPECT_EQ(stream.Take(), u"[qc.a]\nA[qc.b]\nB");
    enabled = true;
    dbg::CollectAllDebugReports(stream);
    EXPECT_EQ(stream.Take(), u"[qc.a]\nA[qc.b]\nB[qc.c]\nC");
    EXPECT_TRUE(stream.Empty());

    EXPECT_FALSE(dbg::UnregisterDebugMonitorCallback("qc.x"));
    for (const char* n : {"qc.a", "qc.b", "qc.c"}) EXPECT_TRUE(dbg::UnregisterDebugMonitorCallback(n));
    EXPECT_FALSE(dbg::UnregisterDebugMonitorCallback("qc.b"));
    EXPECT_FALSE(dbg::CollectDebugReport("qc.b", stream));
    EXPECT_TRUE(dbg::RegisteredDebugMonitorNames().empty());
}

TEST(DebugMonitor, ReportMayUseTheRegistry) {
    ASSERT_TRUE(dbg::RegisterDebugMonitorCallback("qc.outer", [](UTF16StringStream& s) {
        s << u"outer:";
        EXPECT_TRUE(dbg::RegisterDebugMonitorCallback("qc.inner", Writes(u"inner"), {}));
        EXPECT_TRUE(dbg::CollectDebugReport("qc.inner", s));
        EXPECT_TRUE(dbg::UnregisterDebugMonitorCallback("qc.outer"));
    }, {}));
    UTF16StringStream stream;
    EXPECT_TRUE(dbg::CollectDebugReport("qc.outer", stream));
    EXPECT_EQ(stream.Take(), u"outer:inner");
    EXPECT_EQ(dbg::RegisteredDebugMonitorNames(), std::vector<std::string>{"qc.inner"});
    EXPECT_TRUE(dbg::UnregisterDebugMonitorCallback("qc.inner"));
}

// Each job posts two children down to a depth, and some throw.
void Spawn(const boost::shared_ptr<thr::AsyncExecutor>& executor, std::atomic<int>& count, int depth) {
    ++count;
    if (depth == 0) return;
    for (int i = 0; i < 2; ++i) executor->Post([&executor, &count, depth] { Spawn(executor, count, depth - 1); });
    if (depth % 2 == 0) throw 1;
}

// Jobs come from several threads and from jobs, and throwing ones come first, one for every worker
// and more: each job runs once, a throw costs no worker, and WaitIdle covers the whole lot.
TEST(Executor, EveryJobRunsOnceBeforeWaitIdleReturns) {
    const boost::shared_ptr<thr::AsyncExecutor> executor = thr::GetCPUBoundExecutor();
    ASSERT_TRUE(executor);
    EXPECT_EQ(thr::GetCPUBoundExecutor(), executor);
    const int throwers = 4 * static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    for (int i = 0; i < throwers; ++i) executor->Post([] { throw std::runtime_error("dropped"); });
    constexpr int kPosters = 4, kJobs = 2000;
    std::vector<std::atomic<int>> runs(kPosters * kJobs);
    std::atomic<int> tree{0};
    std::vector<std::thread> posters;
    for (int p = 0; p < kPosters; ++p)
        posters.emplace_back([&, p] {
            for (int j = 0; j < kJobs; ++j) executor->Post([&runs, i = p * kJobs + j] { ++runs[i]; });
        });
    executor->Post([&] { Spawn(executor, tree, 10); });
    for (std::thread& t : posters) t.join();
    executor->WaitIdle();
    EXPECT_EQ(std::count(runs.begin(), runs.end(), 1), kPosters * kJobs);
    EXPECT_EQ(tree.load(), (1 << 11) - 1);

    // An empty queue is not enough: WaitIdle also waits for the job a worker is running.
    std::atomic<int> stage{0};
    executor->Post([&stage] {
        stage = 1;
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        stage = 2;
    });
    while (stage.load() == 0) std::this_thread::yield();
    executor->WaitIdle();
    EXPECT_EQ(stage.load(), 2);
}

struct CountingExecutor : thr::AsyncExecutor {
    void Post(const boost::function<void()>& job) override { ++posted; job(); }
    void WaitIdle() override {}
    int posted = 0;
};

TEST(Executor, OverrideAndReset) {
    const boost::shared_ptr<thr::AsyncExecutor> pool = thr::GetCPUBoundExecutor();
    thr::SetCPUBoundExecutor(boost::shared_ptr<thr::AsyncExecutor>());
    EXPECT_FALSE(thr::GetCPUBoundExecutor());  // a null override is "no executor", not the default
    const auto counting = boost::make_shared<CountingExecutor>();
    thr::SetCPUBoundExecutor(counting);
    int ran = 0;
    thr::GetCPUBoundExecutor()->Post([&ran] { ++ran; });
    EXPECT_EQ(counting->posted, 1);
    EXPECT_EQ(ran, 1);
    thr::ResetCPUBoundExecutor();
    EXPECT_EQ(thr::GetCPUBoundExecutor(), pool);
    EXPECT_EQ(counting.use_count(), 1);  // the override let go of it
}

// At exit the pool runs what is queued, including a job posted by a job while the process exits.
TEST(ExecutorDeathTest, DrainsQueueAtExit) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            thr::GetCPUBoundExecutor()->Post([] {
                std::this_thread::sleep_for(std::chrono::milliseconds(50));
                thr::GetCPUBoundExecutor()->Post([] { std::fputs("drained\n", stderr); });
            });
            std::exit(0);
        },
        testing::ExitedWithCode(0), "drained");
}

using Pool = util::SmallBlockAllocator;

TEST(SmallBlocks, SizesAlignmentAndCounting) {
    for (const std::size_t bytes : {0, 1, 15, 16, 17, 33, 48, 49, 64, 65, 96, 97, 128, 129, 192, 193, 256, 257, 384,
                                    385, 511, 512, 513, 4096}) {
        const std::size_t before = Pool::OutstandingSmallBlocks();
        auto* a = static_cast<unsigned char*>(Pool::Allocate(bytes));
        auto* b = static_cast<unsigned char*>(Pool::Allocate(bytes));
        ASSERT_TRUE(a != nullptr && b != nullptr && a != b) << bytes;
        EXPECT_EQ((reinterpret_cast<std::uintptr_t>(a) | reinterpret_cast<std::uintptr_t>(b)) % 16, 0u) << bytes;
        EXPECT_EQ(Pool::OutstandingSmallBlocks(), before + (bytes <= Pool::kMaxSmallBlock ? 2 : 0)) << bytes;
        // Two blocks of a class too small for the request would overlap here.
        std::memset(a, 0xA1, bytes);
        std::memset(b, 0xB2, bytes);
        EXPECT_EQ(std::count(a, a + bytes, 0xA1), static_cast<std::ptrdiff_t>(bytes)) << bytes;
        Pool::Deallocate(a, bytes);
        Pool::Deallocate(b, bytes);
        Pool::Deallocate(nullptr, bytes);
        EXPECT_EQ(Pool::OutstandingSmallBlocks(), before) << bytes;
    }
    // The container allocator on top: growth through every class and beyond, then all returned.
    const std::size_t before = Pool::OutstandingSmallBlocks();
    {
        std::vector<int, util::STLAllocator<int>> values;
        for (int i = 0; i < 1000; ++i) values.push_back(i * 3);
        for (int i = 0; i < 1000; ++i) ASSERT_EQ(values[i], i * 3);
    }
    EXPECT_EQ(Pool::OutstandingSmallBlocks(), before);
}

// Four threads take batches of blocks of every size and release them, each stamping its blocks and
// checking the stamp survived the other threads' traffic before releasing them.
TEST(SmallBlocks, Concurrent) {
    const std::size_t before = Pool::OutstandingSmallBlocks();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            std::mt19937 random(t);
            std::vector<std::pair<unsigned char*, std::size_t>> live(48);
            for (int round = 0; round < 400; ++round) {
                for (std::size_t k = 0; k < live.size(); ++k) {
                    live[k].second = random() % 600;
                    live[k].first = static_cast<unsigned char*>(Pool::Allocate(live[k].second));
                    std::memset(live[k].first, static_cast<int>(t * 64 + k), live[k].second);
                }
                for (std::size_t k = 0; k < live.size(); ++k) {
                    const auto [p, bytes] = live[k];
                    EXPECT_EQ(std::count(p, p + bytes, static_cast<unsigned char>(t * 64 + k)), std::ptrdiff_t(bytes));
                    Pool::Deallocate(p, bytes);
                }
            }
        });
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(Pool::OutstandingSmallBlocks(), before);
}

TEST(Clock, MonotonicAndInNanoseconds) {
    using Clock = util::HighPrecisionTime;
    const std::uint64_t start = Clock::GetCurrentTime();
    for (std::uint64_t last = start, now, i = 0; i < 1000; ++i, last = now)
        ASSERT_GE(now = Clock::GetCurrentTime(), last);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    const std::int64_t nanos = Clock::ConvertToNanos(Clock::GetCurrentTime() - start);
    EXPECT_GE(nanos, 15'000'000);  // a sanity bound on the units, not a timing check
    EXPECT_LE(nanos, 2'000'000'000);
    EXPECT_LT(Clock::ConvertToNanos(start - Clock::GetCurrentTime()), 0);
}

}  // namespace
