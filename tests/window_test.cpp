// Window functions: every kernel on every runnable code path against closed forms in long double,
// and the exports through dispatch.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <type_traits>
#include <vector>

#include "filter_support.h"
#include "quoraccelerate/utility/window.h"

namespace {

namespace qu = quoraccelerate::utility;
using LD = long double;
using qptest::ForEachType;

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
        case Kind::Hann: return 0.5L - 0.5L * std::cos(2 * kPi * n / M);
        case Kind::Hamming: return 0.54L - 0.46L * std::cos(2 * kPi * n / M);
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

// Each weight rounded to T, then the product rounded: within 1.5 units in the last place of T,
// plus what the double weight computation itself may lose (a few units of double; the Kaiser
// window's Bessel series some tens).
template <typename T>
void ExpectWindowed(Kind kind, T alpha, const T* s, const T* d, int N) {
    const LD eps = std::numeric_limits<T>::epsilon(), weightError = kind == Kind::Kaiser ? 1e-13L : 1e-15L;
    for (int n = 0; n < N; ++n) {
        const LD expect = static_cast<LD>(s[n]) * Weight(kind, n, N, alpha);
        ASSERT_NEAR(d[n], expect, std::fabs(static_cast<LD>(s[n])) * (1.5L * eps + weightError)) << "n=" << n;
    }
}

// One kernel of one path, whatever its shape (the plain windows ignore alpha).
template <typename T>
struct Kernel {
    Kind kind;
    std::function<qp::Status(const T*, T, T*, int)> fn;
};

template <typename T>
std::vector<Kernel<T>> Kernels(int p) {
    const auto plain = [](auto* f) { return [f](const T* s, T, T* d, int n) { return f(s, d, n); }; };
    std::vector<Kernel<T>> k = {{Kind::Hann, plain(QP_TYPED(win_hann, p))},
                                {Kind::Hamming, plain(QP_TYPED(win_hamming, p))},
                                {Kind::Blackman, QP_TYPED(win_blackman, p)},
                                {Kind::Kaiser, QP_TYPED(win_kaiser, p)}};
    if constexpr (std::is_same_v<T, float>) k.push_back({Kind::Bartlett, plain(qptest::win_bartlett_f32_paths[p])});
    return k;
}

std::vector<double> Alphas(Kind kind) {
    return kind == Kind::Blackman ? std::vector<double>{-0.16, 0.3} : kind == Kind::Kaiser ? std::vector<double>{0, -0.07, 5} : std::vector<double>{0};
}

class WindowPaths : public testing::TestWithParam<int> {};

// Every window, length and alpha at three offsets from a 64-byte boundary: the closed form, nothing
// written around the destination; in place the same bits.
TEST_P(WindowPaths, MatchClosedForms) {
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        for (const Kernel<T>& k : Kernels<T>(GetParam())) {
            for (double a : Alphas(k.kind)) {
                const T alpha = static_cast<T>(a);
                for (int N : kLengths) {
                    if (N < MinLength(k.kind) || (k.kind == Kind::Kaiser && std::fabs(alpha) * (N - 1) / 2 > 38)) continue;
                    qptest::ForLayouts(std::vector<int>{N}, [&](int, int offset) {
                        SCOPED_TRACE(testing::Message() << "window=" << static_cast<int>(k.kind) << " alpha=" << alpha);
                        const std::vector<T> s = qptest::Random<T>(N, 7u + N, -2, 2);
                        std::vector<T> src(N + offset), dst(N + offset + 8, T(9));
                        std::copy(s.begin(), s.end(), src.begin() + offset);
                        ASSERT_EQ(k.fn(src.data() + offset, alpha, dst.data() + offset, N), qp::qpStsNoErr);
                        ExpectWindowed(k.kind, alpha, s.data(), dst.data() + offset, N);
                        for (int i = 0; i < offset; ++i) EXPECT_EQ(dst[i], T(9));
                        for (int i = offset + N; i < offset + N + 8; ++i) ASSERT_EQ(dst[i], T(9)) << "written past the end";
                        ASSERT_EQ(k.fn(src.data() + offset, alpha, src.data() + offset, N), qp::qpStsNoErr);
                        for (int n = 0; n < N; ++n) ASSERT_EQ(src[offset + n], dst[offset + n]) << "in place, n=" << n;
                    });
                }
            }
        }
    });
}

// Lengths below the minimum, null pointers and a Kaiser window beyond 38 are refused untouched.
TEST_P(WindowPaths, RefusalsWriteNothing) {
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        for (const Kernel<T>& k : Kernels<T>(GetParam())) {
            SCOPED_TRACE(testing::Message() << "window=" << static_cast<int>(k.kind));
            T s[10] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, d[10];
            std::fill(d, d + 10, T(-1));
            for (int n = -1; n < MinLength(k.kind); ++n) EXPECT_EQ(k.fn(s, T(1), d, n), qp::qpStsSizeErr) << n;
            EXPECT_EQ(k.fn(nullptr, T(1), d, 5), qp::qpStsNullPtrErr);
            EXPECT_EQ(k.fn(s, T(1), nullptr, 5), qp::qpStsNullPtrErr);
            if (k.kind == Kind::Kaiser) {
                EXPECT_EQ(k.fn(s, T(10), d, 10), qp::qpStsHugeWinErr);   // 10 * 4.5 = 45
                EXPECT_EQ(k.fn(s, T(-10), d, 10), qp::qpStsHugeWinErr);  // |alpha|
                EXPECT_EQ(k.fn(s, T(8.5), d, 10), qp::qpStsHugeWinErr);  // 38.25
                EXPECT_EQ(k.fn(s, T(7.5), d, 10), qp::qpStsNoErr);       // 33.75 is admitted
                std::fill(d, d + 10, T(-1));
            }
            EXPECT_EQ(std::vector<T>(d, d + 10), std::vector<T>(10, T(-1)));
        }
    });
}

QP_INSTANTIATE_PATHS(WindowPaths);

// --- exports --------------------------------------------------------------------------------------

// Each export forwards its operands (alpha last) and length to its window: the closed form, the
// double Bartlett window being the float one widened; refused lengths and null pointers write
// nothing.
TEST(WindowExports, ForwardToTheirWindows) {
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        using Fn = std::function<void(unsigned int, const T*, T*, T)>;
        const std::pair<Kind, Fn> exports[] = {
            {Kind::Bartlett, [](unsigned int n, const T* s, T* d, T) { qu::WindowBartlett(n, s, d); }},
            {Kind::Hann, [](unsigned int n, const T* s, T* d, T) { qu::WindowHann(n, s, d); }},
            {Kind::Hamming, [](unsigned int n, const T* s, T* d, T) { qu::WindowHamming(n, s, d); }},
            {Kind::Blackman, [](unsigned int n, const T* s, T* d, T a) { qu::WindowBlackman(n, s, d, a); }},
            {Kind::Kaiser, [](unsigned int n, const T* s, T* d, T a) { qu::WindowKaiser(n, s, d, a); }}};
        for (const auto& [kind, fn] : exports) {
            for (int N : {1, 2, 3, 4, 9, 33}) {
                SCOPED_TRACE(testing::Message() << "window=" << static_cast<int>(kind) << " N=" << N);
                const T alpha = kind == Kind::Kaiser ? T(2) : T(0.3);
                const std::vector<T> s = qptest::Random<T>(N, 3u + N, -2, 2);
                std::vector<T> d(N + 1, T(-1));
                fn(N, s.data(), d.data(), alpha);
                fn(N, nullptr, d.data(), alpha);
                fn(N, s.data(), nullptr, alpha);
                EXPECT_EQ(d[N], T(-1));
                if (std::is_same_v<T, double> && kind == Kind::Bartlett) {
                    std::vector<float> sf(s.begin(), s.end()), df(N, -1.0f);
                    qu::WindowBartlett(N, sf.data(), df.data());
                    EXPECT_EQ(std::vector<T>(d.begin(), d.begin() + N), std::vector<T>(df.begin(), df.end()));
                } else if (N < MinLength(kind)) {
                    EXPECT_EQ(d, std::vector<T>(N + 1, T(-1)));
                } else {
                    ExpectWindowed(kind, alpha, s.data(), d.data(), N);
                }
            }
        }
    });
}

}  // namespace
