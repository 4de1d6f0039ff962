#include "testwindow.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "quoraccelerate/utility.h"
#include "suites.h"
#include "testsupport.h"

namespace quoraccelerate {
namespace test {

namespace {

constexpr double kPi = 3.14159265358979323846;

// Lengths ending inside and on the vector widths, odd and even (the centre differs), and long ones.
// 1 and 2 are refused by every window but Kaiser.
constexpr std::size_t kLengths[] = {1, 2, 3, 4, 5, 7, 8, 16, 17, 31, 32, 33, 64, 65, 100, 255, 1000, 4097};
constexpr std::size_t kTracedLength = 1000;

// Weight n of a window of length N (M = N - 1).
using WeightFn = std::function<double(std::size_t n, std::size_t N)>;

// Rounds a value to C in C's arithmetic.
template <typename C, typename T>
C As(T value) {
    return static_cast<C>(value);
}

// Applies the library's window of length N to a random signal, out of place and in place, and
// compares with s[n] * w(n) formed in C (the precision the result is promised in) with the weight
// rounded to C. Lengths below minLength must leave the destination as it was. Returns the failure
// message, empty on success.
template <typename T, typename C, typename Library>
std::string RunWindow(const quorunittesting::TestContext& context, const std::string& name, std::size_t N,
                      std::size_t minLength, const WeightFn& weight, Library library, unsigned int epsilonFactor) {
    RandomValues<T> random(T(-1), T(1), static_cast<std::uint32_t>(N));
    std::vector<T> source(N), before(N);
    random.Fill(source);
    random.Fill(before);

    std::vector<C> expected(N);
    const bool accepted = N >= minLength;
    Timed(context, "CPP::" + name, N >= kTracedLength ? std::to_string(N) : std::string(), [&] {
        for (std::size_t n = 0; n < N; ++n) {
            expected[n] = accepted ? As<C>(source[n]) * As<C>(weight(n, N)) : As<C>(before[n]);
        }
    });

    for (bool inPlace : {false, true}) {
        std::vector<T> actual = inPlace ? source : before;
        if (inPlace && !accepted) std::copy(before.begin(), before.end(), actual.begin());
        auto call = [&] { library(N, inPlace ? actual.data() : source.data(), actual.data()); };
        if (N >= kTracedLength) {
            Timed(context, "QP::" + name, std::to_string(N) + (inPlace ? ", in place" : ""), call);
        } else {
            call();
        }
        BreakResult(actual.data(), actual.size());
        const std::vector<C> rounded(actual.begin(), actual.end());
        const std::vector<C> input(source.begin(), source.end());
        const std::string mismatch =
            CompareArrays("QP::" + name + "[" + std::to_string(N) + (inPlace ? ", in place]" : "]"), expected.data(),
                          rounded.data(), N, input.data(), accepted ? epsilonFactor : 0);
        if (!mismatch.empty()) return mismatch;
    }
    return {};
}

// I0 by its power series in x^2, sum over k of (x^2 / 4)^k / (k!)^2, summed until the terms no
// longer change the sum (about 60 terms at x = 38).
double BesselI0(double x) {
    const double quarterSquare = x * x / 4;
    double term = 1, sum = 1;
    for (int k = 1; term > sum * 1e-18; ++k) {
        term *= quarterSquare / (static_cast<double>(k) * k);
        sum += term;
    }
    return sum;
}

#define QP_CHECK(expression)                                  \
    do {                                                      \
        const std::string message_ = (expression);           \
        if (!message_.empty()) QP_TEST_FAIL(message_.c_str()); \
    } while (0)

// Runs a window without parameter over every length in both precisions; the double result of
// Bartlett is promised in single precision only (Compare is then float).
template <typename CompareDouble, typename LibraryF, typename LibraryD>
std::string CheckPlainWindow(const quorunittesting::TestContext& context, const char* window,
                             const std::function<WeightFn(bool single)>& weights, LibraryF libraryF,
                             LibraryD libraryD, unsigned int factorF, unsigned int factorD) {
    for (std::size_t N : kLengths) {
        std::string message = RunWindow<float, float>(context, std::string(window) + "<float>", N, 3, weights(true),
                                                      libraryF, factorF);
        if (message.empty()) {
            message = RunWindow<double, CompareDouble>(context, std::string(window) + "<double>", N, 3,
                                                       weights(false), libraryD, factorD);
        }
        if (!message.empty()) return message;
    }
    return {};
}

// Cosine windows: the weights are formed in double with the library's own cosine; a few ulps.
constexpr unsigned int kCosineFactorF = 2;
constexpr unsigned int kCosineFactorD = 8;

}  // namespace

// The slope 2 / M is rounded to float once and the weights are slope * n, mirrored: also in the
// double form, which is computed in single precision.
void TestWindow::Test_WindowBartlett(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestWindow::Test_WindowBartlett";
    auto weights = [](bool) -> WeightFn {
        return [](std::size_t n, std::size_t N) {
            const double slope = static_cast<float>(2.0 / static_cast<double>(N - 1));
            return slope * static_cast<double>(std::min(n, N - 1 - n));
        };
    };
    QP_CHECK(CheckPlainWindow<float>(
        context, "WindowBartlett", weights,
        [](std::size_t N, const float* s, float* d) { utility::WindowBartlett(static_cast<unsigned int>(N), s, d); },
        [](std::size_t N, const double* s, double* d) { utility::WindowBartlett(static_cast<unsigned int>(N), s, d); },
        1, 1));
}

void TestWindow::Test_WindowHann(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestWindow::Test_WindowHann";
    auto weights = [](bool) -> WeightFn {
        return [](std::size_t n, std::size_t N) { return 0.5 - 0.5 * std::cos(2 * kPi * n / (N - 1)); };
    };
    QP_CHECK(CheckPlainWindow<double>(
        context, "WindowHann", weights,
        [](std::size_t N, const float* s, float* d) { utility::WindowHann(static_cast<unsigned int>(N), s, d); },
        [](std::size_t N, const double* s, double* d) { utility::WindowHann(static_cast<unsigned int>(N), s, d); },
        kCosineFactorF, kCosineFactorD));
}

void TestWindow::Test_WindowHamming(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestWindow::Test_WindowHamming";
    auto weights = [](bool) -> WeightFn {
        return [](std::size_t n, std::size_t N) { return 0.54 - 0.46 * std::cos(2 * kPi * n / (N - 1)); };
    };
    QP_CHECK(CheckPlainWindow<double>(
        context, "WindowHamming", weights,
        [](std::size_t N, const float* s, float* d) { utility::WindowHamming(static_cast<unsigned int>(N), s, d); },
        [](std::size_t N, const double* s, double* d) { utility::WindowHamming(static_cast<unsigned int>(N), s, d); },
        kCosineFactorF, kCosineFactorD));
}

// The classic window (-0.16) and two other alphas.
void TestWindow::Test_WindowBlackman(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestWindow::Test_WindowBlackman";
    for (double alpha : {-0.16, -0.25, 0.1}) {
        // The weights use alpha as the library receives it, rounded to the element type.
        auto weights = [alpha](bool single) -> WeightFn {
            const double a = single ? static_cast<double>(static_cast<float>(alpha)) : alpha;
            return [a](std::size_t n, std::size_t N) {
                const double x = 2 * kPi * n / (N - 1);
                return (a + 1) / 2 - 0.5 * std::cos(x) - a / 2 * std::cos(2 * x);
            };
        };
        const std::string name = "WindowBlackman[alpha " + std::to_string(alpha) + "]";
        QP_CHECK(CheckPlainWindow<double>(
            context, name.c_str(), weights,
            [alpha](std::size_t N, const float* s, float* d) {
                utility::WindowBlackman(static_cast<unsigned int>(N), s, d, static_cast<float>(alpha));
            },
            [alpha](std::size_t N, const double* s, double* d) {
                utility::WindowBlackman(static_cast<unsigned int>(N), s, d, alpha);
            },
            kCosineFactorF, kCosineFactorD));
    }
}

// alpha is chosen per length so that |alpha| (N - 1) / 2 takes the values below (at most 38, the
// largest the window accepts), with both signs; length 1 is accepted. Both precisions agree with
// the reference to single precision.
void TestWindow::Test_WindowKaiser(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestWindow::Test_WindowKaiser";
    constexpr unsigned int kFactor = 2;
    for (double beta : {0.0, 2.0, -8.6, 20.0, -37.5}) {
        for (std::size_t N : kLengths) {
            const double half = (N - 1) / 2.0;
            const double alpha = N == 1 ? beta : beta / half;
            auto weights = [](double a) -> WeightFn {
                return [a](std::size_t n, std::size_t N) {
                    const double h = (N - 1) / 2.0, d = n - h;
                    const double reciprocal = 1 / BesselI0(std::fabs(a) * h);
                    return BesselI0(std::fabs(a) * std::sqrt(h * h - d * d)) * reciprocal;
                };
            };
            const float alphaF = static_cast<float>(alpha);
            const std::string name = "WindowKaiser[alpha " + std::to_string(alpha) + "]";
            QP_CHECK((RunWindow<float, float>(
                context, name + "<float>", N, 1, weights(alphaF),
                [alphaF](std::size_t len, const float* s, float* d) {
                    utility::WindowKaiser(static_cast<unsigned int>(len), s, d, alphaF);
                },
                kFactor)));
            QP_CHECK((RunWindow<double, float>(
                context, name + "<double>", N, 1, weights(alpha),
                [alpha](std::size_t len, const double* s, double* d) {
                    utility::WindowKaiser(static_cast<unsigned int>(len), s, d, alpha);
                },
                kFactor)));
        }
    }
}

namespace {

QP_TEST_CASE(T_WindowBartlettTest, TestWindow, "WindowBartlettTest", Test_WindowBartlett)
QP_TEST_CASE(T_WindowHannTest, TestWindow, "WindowHannTest", Test_WindowHann)
QP_TEST_CASE(T_WindowHammingTest, TestWindow, "WindowHammingTest", Test_WindowHamming)
QP_TEST_CASE(T_WindowBlackmanTest, TestWindow, "WindowBlackmanTest", Test_WindowBlackman)
QP_TEST_CASE(T_WindowKaiserTest, TestWindow, "WindowKaiserTest", Test_WindowKaiser)

}  // namespace

quorunittesting::Test* WindowSuite() {
    auto* suite = new quorunittesting::TestSuite("Window");
    suite->AddTest(new T_WindowBartlettTest);
    suite->AddTest(new T_WindowHannTest);
    suite->AddTest(new T_WindowHammingTest);
    suite->AddTest(new T_WindowBlackmanTest);
    suite->AddTest(new T_WindowKaiserTest);
    return suite;
}

}  // namespace test
}  // namespace quoraccelerate
