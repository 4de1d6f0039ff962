// Low-pass FIR design: the designer on every runnable code path against a long double reference,
// and the export with its window mapping.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "paths.h"
#include "quoraccelerate/filter/fir.h"
#include "quoraccelerate/utility/design.h"

namespace {

namespace qu = quoraccelerate::utility;
namespace qf = quoraccelerate::filter;
using LD = long double;
const LD kPi = 3.141592653589793238462643383279502884L;
const auto kHann = static_cast<qu::DSPWindowType>(3);

constexpr int kTapCounts[] = {5, 6, 7, 8, 9, 16, 31, 32, 33, 64, 65, 101, 256};
constexpr double kFreqs[] = {0.01, 0.1, 0.2, 0.25, 0.3, 0.45, 0.499};

// Windowed ideal response; window 4 (and above) applies none.
std::vector<LD> Reference(double f, int N, int window, bool normalize) {
    const LD c = (N - 1) / 2.0L, M = N - 1;
    const LD alpha = -0.5L / (1 + std::cos(2 * kPi / M));
    std::vector<LD> h(static_cast<std::size_t>(N));
    for (int n = 0; n < N; ++n) {
        const LD d = n - c;
        LD v = d == 0 ? 2.0L * f : std::sin(2 * kPi * f * d) / (kPi * d);
        const LD x = 2 * kPi * n / M;
        switch (window) {
            case 0: v *= 1 - std::fabs(2 * n / M - 1); break;
            case 1: v *= (alpha + 1) / 2 - 0.5L * std::cos(x) - alpha / 2 * std::cos(2 * x); break;
            case 2: v *= 0.54L - 0.46L * std::cos(x); break;
            case 3: v *= 0.5L - 0.5L * std::cos(x); break;
            default: break;
        }
        h[n] = v;
    }
    if (normalize) {
        LD s = 0;
        for (LD v : h) s += v;
        for (LD& v : h) v /= std::fabs(s);
    }
    return h;
}

// The scratch buffer of exactly the rule's size, starting 1 byte past a 16-byte boundary (so the
// designer's alignment uses 15 of its bytes), followed by sentinel bytes.
struct Scratch {
    explicit Scratch(int taps) : size(qf::FIRGetWorkBufferSize(static_cast<unsigned int>(taps))), bytes(size + 64, 0xA5) {
        const auto base = reinterpret_cast<std::uintptr_t>(bytes.data());
        start = bytes.data() + ((16 - base % 16) % 16) + 1;
    }
    bool GuardIntact() const {
        const unsigned char* from = start + size;
        const unsigned char* end = bytes.data() + bytes.size();
        return std::all_of(from, end, [](unsigned char b) { return b == 0xA5; });
    }
    unsigned int size;
    std::vector<unsigned char> bytes;
    unsigned char* start;
};

class DesignPaths : public testing::TestWithParam<int> {};

TEST_P(DesignPaths, MatchesWindowedIdealResponse) {
    const auto design = qptest::fir_gen_lowpass_f64_paths[GetParam()];
    for (int N : kTapCounts) {
        for (double f : kFreqs) {
            for (int window = 0; window <= 4; ++window) {
                for (bool normalize : {false, true}) {
                    SCOPED_TRACE(testing::Message() << "N=" << N << " f=" << f << " window=" << window
                                                    << " normalize=" << normalize);
                    Scratch scratch(N);
                    std::vector<double> taps(static_cast<std::size_t>(N) + 4, 77.0);
                    ASSERT_EQ(design(f, window, normalize, taps.data(), N, scratch.start), qp::qpStsNoErr);
                    EXPECT_TRUE(scratch.GuardIntact()) << "scratch overrun";
                    for (int i = N; i < N + 4; ++i) ASSERT_EQ(taps[i], 77.0) << "written past the taps";
                    const std::vector<LD> ref = Reference(f, N, window, normalize);
                    LD peak = 0;
                    for (LD v : ref) peak = std::max(peak, std::fabs(v));
                    for (int n = 0; n < N; ++n) {
                        ASSERT_NEAR(taps[n], ref[n], 1e-14L * peak) << "n=" << n;
                        ASSERT_EQ(taps[n], taps[N - 1 - n]) << "not symmetric at n=" << n;
                    }
                }
            }
        }
    }
}

// Pointers are checked before sizes; nothing is written on refusal.
TEST_P(DesignPaths, ValidationOrderAndRefusals) {
    const auto design = qptest::fir_gen_lowpass_f64_paths[GetParam()];
    std::vector<double> taps(8, 5.0);
    unsigned char buf[256];
    EXPECT_EQ(design(0.2, 3, 1, nullptr, 4, buf), qp::qpStsNullPtrErr);
    EXPECT_EQ(design(0.0, 3, 1, taps.data(), 8, nullptr), qp::qpStsNullPtrErr);
    EXPECT_EQ(design(0.2, 3, 1, taps.data(), 4, buf), qp::qpStsSizeErr);
    EXPECT_EQ(design(0.0, 3, 1, taps.data(), 8, buf), qp::qpStsSizeErr);
    EXPECT_EQ(design(0.5, 3, 1, taps.data(), 8, buf), qp::qpStsSizeErr);
    EXPECT_EQ(design(-0.1, 3, 1, taps.data(), 8, buf), qp::qpStsSizeErr);
    EXPECT_EQ(design(std::numeric_limits<double>::quiet_NaN(), 3, 1, taps.data(), 8, buf), qp::qpStsSizeErr);
    EXPECT_EQ(taps, std::vector<double>(8, 5.0));

    const auto size = qptest::fir_gen_get_buf_size_paths[GetParam()];
    int bytes = -1;
    EXPECT_EQ(size(4, &bytes), qp::qpStsSizeErr);
    EXPECT_EQ(size(5, nullptr), qp::qpStsNullPtrErr);
    EXPECT_EQ(bytes, -1);
    EXPECT_EQ(size(5, &bytes), qp::qpStsNoErr);
    EXPECT_EQ(bytes, 80);
}

INSTANTIATE_TEST_SUITE_P(Runnable, DesignPaths, testing::ValuesIn(qptest::RunnablePaths()),
                         [](const testing::TestParamInfo<int>& info) { return "path" + qptest::PathName(info.param); });

// --- the export -----------------------------------------------------------------------------------

std::vector<double> Design(double f, int N, int window, bool normalize) {
    Scratch scratch(N);
    std::vector<double> taps(static_cast<std::size_t>(N), -3.0);
    qu::GenerateLowpassFIRCoefficients(f, static_cast<unsigned int>(N), taps.data(),
                                       static_cast<qu::DSPWindowType>(window), normalize, scratch.start);
    return taps;
}

TEST(DesignExport, WindowsAndTheirMapping) {
    for (int N : {31, 32}) {
        // Each named window is what the designer applies for it.
        for (int w = 0; w <= 3; ++w) {
            const std::vector<double> taps = Design(0.2, N, w, false);
            const std::vector<LD> ref = Reference(0.2, N, w, false);
            for (int n = 0; n < N; ++n) ASSERT_NEAR(taps[n], ref[n], 1e-15) << "window " << w << " n=" << n;
        }
        // Anything else is Hann, never the unwindowed response.
        const std::vector<double> hann = Design(0.2, N, 3, true);
        for (int w : {4, 7, -1, 1000}) EXPECT_EQ(Design(0.2, N, w, true), hann) << w;
    }
    const std::vector<double> bartlett = Design(0.1, 21, 0, false);
    EXPECT_EQ(bartlett.front(), 0.0);
    EXPECT_EQ(bartlett.back(), 0.0);
}

TEST(DesignExport, InvalidArgumentsLeaveTheTaps) {
    Scratch scratch(8);
    std::vector<double> taps(8, -3.0);
    const std::vector<double> untouched = taps;
    qu::GenerateLowpassFIRCoefficients(0.0, 8, taps.data(), kHann, true, scratch.start);
    qu::GenerateLowpassFIRCoefficients(0.5, 8, taps.data(), kHann, true, scratch.start);
    qu::GenerateLowpassFIRCoefficients(0.2, 4, taps.data(), kHann, true, scratch.start);
    qu::GenerateLowpassFIRCoefficients(0.2, 0x80000000u, taps.data(), kHann, true, scratch.start);
    qu::GenerateLowpassFIRCoefficients(0.2, 8, taps.data(), kHann, true, nullptr);
    qu::GenerateLowpassFIRCoefficients(0.2, 8, nullptr, kHann, true, scratch.start);
    EXPECT_EQ(taps, untouched);
}

}  // namespace
