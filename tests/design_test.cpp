// Low-pass FIR design: the designer on every runnable code path against a long double reference,
// and the export with its window mapping.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <vector>

#include "vector_support.h"
#include "quoraccelerate/filter/fir.h"
#include "quoraccelerate/utility/design.h"

namespace {

namespace qu = quoraccelerate::utility;
namespace qf = quoraccelerate::filter;
using LD = long double;
const LD kPi = 3.141592653589793238462643383279502884L;

// Windowed ideal response; window 4 (and above) applies none.
std::vector<LD> Reference(double f, int N, int window, bool normalize) {
    const LD c = (N - 1) / 2.0L, M = N - 1;
    const LD alpha = -0.5L / (1 + std::cos(2 * kPi / M));
    std::vector<LD> h(static_cast<std::size_t>(N));
    LD sum = 0;
    for (int n = 0; n < N; ++n) {
        const LD d = n - c, x = 2 * kPi * n / M;
        LD v = d == 0 ? 2.0L * f : std::sin(2 * kPi * f * d) / (kPi * d);
        switch (window) {
            case 0: v *= 1 - std::fabs(2 * n / M - 1); break;
            case 1: v *= (alpha + 1) / 2 - 0.5L * std::cos(x) - alpha / 2 * std::cos(2 * x); break;
            case 2: v *= 0.54L - 0.46L * std::cos(x); break;
            case 3: v *= 0.5L - 0.5L * std::cos(x); break;
            default: break;
        }
        sum += h[n] = v;
    }
    if (normalize) {
        for (LD& v : h) v /= std::fabs(sum);
    }
    return h;
}

// The scratch buffer of exactly the rule's size, one byte past a 64-byte boundary (so the designer's
// alignment uses 15 of its bytes), framed by guard bytes.
struct Scratch : qptest::Buffer<unsigned char> {
    explicit Scratch(unsigned int taps) : Buffer(static_cast<int>(qf::FIRGetWorkBufferSize(taps)), 1) {}
};

class DesignPaths : public testing::TestWithParam<int> {};

TEST_P(DesignPaths, MatchesWindowedIdealResponse) {
    const auto design = qptest::fir_gen_lowpass_f64_paths[GetParam()];
    for (int N : {5, 6, 7, 8, 9, 16, 31, 32, 33, 64, 65, 101, 256}) {
        for (double f : {0.01, 0.1, 0.2, 0.25, 0.3, 0.45, 0.499}) {
            for (int window = 0; window <= 4; ++window) {
                for (bool normalize : {false, true}) {
                    SCOPED_TRACE(testing::Message() << "N=" << N << " f=" << f << " window=" << window << " normalize=" << normalize);
                    Scratch scratch(N);
                    qptest::Buffer<double> taps(N, 0);
                    ASSERT_EQ(design(f, window, normalize, taps.data, N, scratch.data), qp::qpStsNoErr);
                    EXPECT_TRUE(scratch.GuardsIntact() && taps.GuardsIntact()) << "written outside the taps or the scratch";
                    const std::vector<LD> ref = Reference(f, N, window, normalize);
                    LD peak = 0;
                    for (LD v : ref) peak = std::max(peak, std::fabs(v));
                    for (int n = 0; n < N; ++n) {
                        ASSERT_NEAR(taps.data[n], ref[n], 1e-14L * peak) << "n=" << n;
                        ASSERT_EQ(taps.data[n], taps.data[N - 1 - n]) << "not symmetric at n=" << n;
                    }
                }
            }
        }
    }
}

// Pointers are checked before sizes; nothing is written on refusal. The scratch size rule.
TEST_P(DesignPaths, ValidationOrderAndRefusals) {
    const auto design = qptest::fir_gen_lowpass_f64_paths[GetParam()];
    std::vector<double> taps(8, 5.0);
    double* t = taps.data();
    unsigned char buf[256];
    EXPECT_EQ(design(0.2, 3, 1, nullptr, 4, buf), qp::qpStsNullPtrErr);
    EXPECT_EQ(design(0.0, 3, 1, t, 8, nullptr), qp::qpStsNullPtrErr);
    for (const auto& [f, n] : {std::pair{0.2, 4}, {0.0, 8}, {0.5, 8}, {-0.1, 8}, {std::numeric_limits<double>::quiet_NaN(), 8}}) {
        EXPECT_EQ(design(f, 3, 1, t, n, buf), qp::qpStsSizeErr) << f << " " << n;
    }
    EXPECT_EQ(taps, std::vector<double>(8, 5.0));

    const auto size = qptest::fir_gen_get_buf_size_paths[GetParam()];
    int bytes = -1;
    EXPECT_EQ(size(4, &bytes), qp::qpStsSizeErr);
    EXPECT_EQ(size(5, nullptr), qp::qpStsNullPtrErr);
    EXPECT_EQ(bytes, -1);
    EXPECT_EQ(size(5, &bytes), qp::qpStsNoErr);
    EXPECT_EQ(bytes, 80);
}

QP_INSTANTIATE_PATHS(DesignPaths);

// --- the export -----------------------------------------------------------------------------------

std::vector<double> Design(double f, unsigned int N, int window, bool normalize, bool scratch = true, bool out = true) {
    const unsigned int n = std::min(N, 64u);
    Scratch s(n);
    std::vector<double> taps(n, -3.0);
    qu::GenerateLowpassFIRCoefficients(f, N, out ? taps.data() : nullptr, static_cast<qu::DSPWindowType>(window), normalize,
                                       scratch ? s.data : nullptr);
    return taps;
}

// Each named window is what the designer applies for it; anything else is Hann, never the
// unwindowed response. Invalid arguments leave the taps.
TEST(DesignExport, WindowsTheirMappingAndRefusals) {
    for (int N : {31, 32}) {
        for (int w = 0; w <= 3; ++w) {
            const std::vector<double> taps = Design(0.2, N, w, false);
            const std::vector<LD> ref = Reference(0.2, N, w, false);
            for (int n = 0; n < N; ++n) ASSERT_NEAR(taps[n], ref[n], 1e-15) << "window " << w << " n=" << n;
        }
        const std::vector<double> hann = Design(0.2, N, 3, true);
        for (int w : {4, 7, -1, 1000}) EXPECT_EQ(Design(0.2, N, w, true), hann) << w;
    }
    const struct {
        double f;
        unsigned int n;
        bool scratch;
    } refused[] = {{0.0, 8, true}, {0.5, 8, true}, {0.2, 4, true}, {0.2, 0x80000000u, true}, {0.2, 8, false}};
    for (const auto& r : refused) {
        EXPECT_EQ(Design(r.f, r.n, 3, true, r.scratch), std::vector<double>(std::min(r.n, 64u), -3.0)) << r.f << " " << r.n;
    }
    Design(0.2, 8, 3, true, true, false);  // null taps
}

}  // namespace
