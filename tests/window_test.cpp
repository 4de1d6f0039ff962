// Window functions: every kernel on every runnable code path against closed forms in long double,
// and the exports through dispatch.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "paths.h"
#include "quoraccelerate/utility/window.h"

namespace {

namespace qu = quoraccelerate::utility;
using LD = long double;

constexpr int kLengths[] = {1, 2, 3, 4, 5, 7, 8, 9, 16, 17, 31, 32, 33, 63, 64, 65, 1000};
const LD kPi = 3.141592653589793238462643383279502884L;

enum class Kind { Bartlett, Hann, Hamming, Blackman, Kaiser };

// w(n) for a window of N points, M = N - 1.
LD Weight(Kind kind, int n, int N, LD alpha) {
    const LD M = N - 1;
    switch (kind) {
        case Kind::Bartlett: {
            // Float slope, as the window defines it; weights slope * n for n <= M/2, mirrored.
            const LD slope = static_cast<float>(2.0 / (N - 1));
            const int m = n <= (N - 1) / 2 ? n : N - 1 - n;
            return static_cast<float>(slope * static_cast<float>(m));
        }
        case Kind::Hann:
            return 0.5L - 0.5L * std::cos(2 * kPi * n / M);
        case Kind::Hamming:
            return 0.54L - 0.46L * std::cos(2 * kPi * n / M);
        case Kind::Blackman:
            return (alpha + 1) / 2 - 0.5L * std::cos(2 * kPi * n / M) - alpha / 2 * std::cos(4 * kPi * n / M);
        case Kind::Kaiser: {
            if (N == 1) return 1;
            const LD a = std::fabs(alpha);
            const LD r = (M / 2) * (M / 2) - (n - M / 2) * (n - M / 2);
            return std::cyl_bessel_i(0.0L, a * std::sqrt(std::max(r, LD(0)))) / std::cyl_bessel_i(0.0L, a * M / 2);
        }
    }
    return 0;
}

int MinLength(Kind kind) { return kind == Kind::Kaiser ? 1 : 3; }

template <typename T>
using Plain = qp::Status (*)(const T*, T*, int);
template <typename T>
using WithAlpha = qp::Status (*)(const T*, T, T*, int);

// One kernel of one path, whatever its shape.
template <typename T>
struct Kernel {
    Kind kind;
    Plain<T> plain;
    WithAlpha<T> withAlpha;
    qp::Status operator()(const T* s, T a, T* d, int n) const { return plain ? plain(s, d, n) : withAlpha(s, a, d, n); }
};

template <typename T>
std::vector<Kernel<T>> Kernels(int path);
template <>
std::vector<Kernel<float>> Kernels<float>(int p) {
    return {{Kind::Bartlett, qptest::win_bartlett_f32_paths[p], nullptr},
            {Kind::Hann, qptest::win_hann_f32_paths[p], nullptr},
            {Kind::Hamming, qptest::win_hamming_f32_paths[p], nullptr},
            {Kind::Blackman, nullptr, qptest::win_blackman_f32_paths[p]},
            {Kind::Kaiser, nullptr, qptest::win_kaiser_f32_paths[p]}};
}
template <>
std::vector<Kernel<double>> Kernels<double>(int p) {
    return {{Kind::Hann, qptest::win_hann_f64_paths[p], nullptr},
            {Kind::Hamming, qptest::win_hamming_f64_paths[p], nullptr},
            {Kind::Blackman, nullptr, qptest::win_blackman_f64_paths[p]},
            {Kind::Kaiser, nullptr, qptest::win_kaiser_f64_paths[p]}};
}

template <typename T>
std::vector<T> Random(int n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<T> dist(-2, 2);
    std::vector<T> v(static_cast<std::size_t>(n));
    for (T& x : v) x = dist(gen);
    return v;
}

// Each weight rounded to T, then the product rounded: within 1.5 units in the last place of T,
// plus what the double weight computation itself may lose (a few units of double; the Kaiser
// window's Bessel series some tens).
template <typename T>
void CheckWindow(const Kernel<T>& k, T alpha, int N, int offset) {
    SCOPED_TRACE(testing::Message() << "window=" << static_cast<int>(k.kind) << " N=" << N << " alpha=" << alpha
                                    << " offset=" << offset);
    const std::vector<T> s = Random<T>(N, 7u + N);
    std::vector<T> src(N + offset), dst(N + offset + 8, T(9));
    std::copy(s.begin(), s.end(), src.begin() + offset);
    ASSERT_EQ(k(src.data() + offset, alpha, dst.data() + offset, N), qp::qpStsNoErr);
    const LD eps = std::numeric_limits<T>::epsilon();
    const LD weightError = k.kind == Kind::Kaiser ? 1e-13L : 1e-15L;
    for (int n = 0; n < N; ++n) {
        const LD expect = static_cast<LD>(s[n]) * Weight(k.kind, n, N, alpha);
        ASSERT_NEAR(dst[offset + n], expect, std::fabs(static_cast<LD>(s[n])) * (1.5L * eps + weightError)) << "n=" << n;
    }
    for (int i = 0; i < offset; ++i) EXPECT_EQ(dst[i], T(9));
    for (int i = offset + N; i < offset + N + 8; ++i) ASSERT_EQ(dst[i], T(9)) << "written past the end";

    // In place: the same bits.
    std::vector<T> io(src);
    ASSERT_EQ(k(io.data() + offset, alpha, io.data() + offset, N), qp::qpStsNoErr);
    for (int n = 0; n < N; ++n) ASSERT_EQ(io[offset + n], dst[offset + n]) << "in place, n=" << n;
}

class WindowPaths : public testing::TestWithParam<int> {};

template <typename T>
void CheckAll(int path) {
    for (const Kernel<T>& k : Kernels<T>(path)) {
        const std::vector<T> alphas = k.kind == Kind::Blackman ? std::vector<T>{T(-0.16), T(0.3)}
                                      : k.kind == Kind::Kaiser ? std::vector<T>{T(0), T(-0.07), T(5)}
                                                               : std::vector<T>{T(0)};
        for (T alpha : alphas) {
            for (int N : kLengths) {
                if (N < MinLength(k.kind)) continue;
                if (k.kind == Kind::Kaiser && std::fabs(alpha) * (N - 1) / 2 > 38) continue;
                for (int offset : {0, 1, 3}) CheckWindow(k, alpha, N, offset);
            }
        }
    }
}

TEST_P(WindowPaths, MatchClosedForms) {
    CheckAll<float>(GetParam());
    CheckAll<double>(GetParam());
}

// Lengths below the minimum, null pointers and a Kaiser window beyond 38 are refused untouched.
template <typename T>
void CheckRefusals(int path) {
    for (const Kernel<T>& k : Kernels<T>(path)) {
        SCOPED_TRACE(testing::Message() << "window=" << static_cast<int>(k.kind));
        T s[10] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, d[10];
        std::fill(d, d + 10, T(-1));
        for (int n = -1; n < MinLength(k.kind); ++n) EXPECT_EQ(k(s, T(1), d, n), qp::qpStsSizeErr) << n;
        EXPECT_EQ(k(nullptr, T(1), d, 5), qp::qpStsNullPtrErr);
        EXPECT_EQ(k(s, T(1), nullptr, 5), qp::qpStsNullPtrErr);
        if (k.kind == Kind::Kaiser) {
            EXPECT_EQ(k(s, T(10), d, 10), qp::qpStsHugeWinErr);   // 10 * 4.5 = 45
            EXPECT_EQ(k(s, T(-10), d, 10), qp::qpStsHugeWinErr);  // |alpha|
            EXPECT_EQ(k(s, T(8.5), d, 10), qp::qpStsHugeWinErr);  // 38.25
            EXPECT_EQ(k(s, T(7.5), d, 10), qp::qpStsNoErr);       // 33.75 is admitted
            std::fill(d, d + 10, T(-1));
        }
        for (T v : d) EXPECT_EQ(v, T(-1));
    }
}

TEST_P(WindowPaths, RefusalsWriteNothing) {
    CheckRefusals<float>(GetParam());
    CheckRefusals<double>(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Runnable, WindowPaths, testing::ValuesIn(qptest::RunnablePaths()),
                         [](const testing::TestParamInfo<int>& info) { return "path" + qptest::PathName(info.param); });

// --- exports --------------------------------------------------------------------------------------

template <typename T, typename... A>
std::vector<T> OfOnes(int n, void (*fn)(unsigned int, const T*, T*, A...), A... alpha) {
    std::vector<T> ones(static_cast<std::size_t>(n), T(1)), d(ones.size(), T(-1));
    fn(static_cast<unsigned int>(n), ones.data(), d.data(), alpha...);
    return d;
}

// Shapes worked out by hand; the exports forward their operands (alpha last) and lengths.
TEST(WindowExports, KnownShapes) {
    using VF = std::vector<float>;
    using VD = std::vector<double>;
    EXPECT_EQ(OfOnes<float>(5, qu::WindowHann), (VF{0, 0.5f, 1, 0.5f, 0}));
    const VD hann = OfOnes<double>(5, qu::WindowHann);
    for (int i = 0; i < 5; ++i) EXPECT_NEAR(hann[i], (VD{0, 0.5, 1, 0.5, 0}[i]), 1e-16);
    EXPECT_EQ(OfOnes<float>(5, qu::WindowHamming), (VF{0.08f, 0.54f, 1, 0.54f, 0.08f}));
    EXPECT_EQ(OfOnes<float>(4, qu::WindowBartlett), (VF{0, 2.0f / 3, 2.0f / 3, 0}));
    EXPECT_EQ(OfOnes<double>(5, qu::WindowBartlett), (VD{0, 0.5, 1, 0.5, 0}));
    const VF blackman = OfOnes<float, float>(3, qu::WindowBlackman, -0.16f);
    EXPECT_NEAR(blackman[0], 0, 1e-7);
    EXPECT_NEAR(blackman[1], 1, 1e-7);
    EXPECT_EQ((OfOnes<double, double>(7, qu::WindowKaiser, 0.0)), VD(7, 1.0));
    const VF kaiser = OfOnes<float, float>(9, qu::WindowKaiser, 2.0f);
    EXPECT_NEAR(kaiser[0], 1 / std::cyl_bessel_i(0.0, 8.0), 1e-7);
    EXPECT_EQ(kaiser[4], 1.0f);
    double x = 3.25, y = 0;
    qu::WindowKaiser(1, &x, &y, 4.0);
    EXPECT_EQ(y, 3.25);
    const float s3[3] = {4, 5, 6};
    float d3[3] = {};
    qu::WindowBartlett(3, s3, d3);
    EXPECT_EQ(VF(d3, d3 + 3), (VF{0, 5, 0}));
}

// The double Bartlett window is the float one widened; refused lengths leave dst untouched.
TEST(WindowExports, DoubleBartlettIsComputedInFloat) {
    for (int N : kLengths) {
        const std::vector<double> s = Random<double>(N, 3u + N);
        std::vector<float> sf(s.begin(), s.end()), df(static_cast<std::size_t>(N), -1.0f);
        std::vector<double> d(static_cast<std::size_t>(N), -1.0);
        qu::WindowBartlett(N, s.data(), d.data());
        qu::WindowBartlett(N, sf.data(), df.data());
        for (int i = 0; i < N; ++i) ASSERT_EQ(d[i], static_cast<double>(df[i])) << "N=" << N << " i=" << i;
        if (N < 3) {
            for (double v : d) EXPECT_EQ(v, -1.0);
        }
    }
    std::vector<double> io = {1, 2, 3, 4, 5};
    qu::WindowBartlett(5, io.data(), io.data());
    EXPECT_EQ(io, (std::vector<double>{0, 1, 3, 2, 0}));
    double d[2] = {7, 7};
    qu::WindowBartlett(2, nullptr, d);
    qu::WindowBartlett(5, io.data(), nullptr);
    EXPECT_EQ(d[0], 7);
}

}  // namespace
