#include "testfir.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <type_traits>
#include <vector>

#include "quoraccelerate/filter.h"
#include "quoraccelerate/utility.h"
#include "runtime/dispatch.h"
#include "suites.h"
#include "testsupport.h"

namespace quoraccelerate {
namespace test {

namespace {

constexpr double kPi = 3.14159265358979323846;

// --- IIR -----------------------------------------------------------------------------------------

// A low-pass cascade of five sections, b0 b1 b2 a0 a1 a2 each: poles of radius 0.62 to 0.88 at
// angles 0.2 to 0.8, zeros of radius 0.95 at angles 3.0 to 1.7, a gain near 1 at DC but for the
// first section's 4 (the output of a random input in [-1, 1) has an RMS near 1), and a0 of 1,
// 0.5, 4, 2 and 0.25 so that the division by a0 matters.
constexpr double kBiquadTaps[30] = {
    0.18,    0.3385774338373523,   0.16244999999999998, 1.0,  -1.2152825565231395, 0.3844,
    0.025,   0.040702215785025,    0.0225625,           0.5,  -0.6575608989931652, 0.24499999999999997,
    0.316,   0.3533360708001096,   0.28519,             4.0,  -5.476115186195926,  2.4336,
    0.292,   0.17936105169587163,  0.26353,             2.0,  -2.6748415631248275, 1.4111999999999998,
    0.06375, 0.015606289371545422, 0.057534375,         0.25, -0.3065509521127528, 0.1936,
};
constexpr unsigned int kNumBiquads = 5;

// An order-10 filter, b0 .. b10 then a0 .. a10 with a0 = 2: zeros on the unit circle and poles of
// radius 0.62 to 0.84 spread over the band (clustered poles would make the direct form
// ill-conditioned); the output of a random input in [-1, 1) has an RMS near 1.
constexpr double kOrder10Taps[22] = {
    1.3445599999999995, 0.8989568118442284, 1.648714023804759, 0.46984986165332465,
    1.2140315444991137, 0.03076880013328065, 1.2140315444991137, 0.46984986165332465,
    1.648714023804759, 0.8989568118442284, 1.3445599999999995, 2.0,
    -0.2078189418420302,  0.9889790647801897,    -0.41009239596104274,  0.4067142334331062,
    -0.1300689773168262,  0.05842501511032494,   0.04243052106265477,   -0.00802977893415635,
    -0.0736855531631716,  0.07044417759207629,
};
constexpr unsigned int kIIROrder = 10;

constexpr unsigned int kIIRLength = 512;
constexpr unsigned int kIIRSingleEnd = 64;  // samples 0 .. 63 one at a time
constexpr unsigned int kIIRBlockEnd = 300;  // then a block, then the rest in place

template <typename T>
struct IIRStateOf;
template <>
struct IIRStateOf<float> {
    using type = IIRState_Float;
};
template <>
struct IIRStateOf<double> {
    using type = IIRState_Double;
};

// Float: the filter rounds every step to float, the reference works in double; the feedback
// carries rounding errors a few samples on. Double: a few ulps of the same.
template <typename T>
constexpr unsigned int kIIRTolerance = std::is_same_v<T, float> ? 16 : 64;

// y[n] = sum b[k] x[n-k] - sum(k >= 1) a[k] y[n-k], every coefficient divided by a0, in double,
// replacing the signal by the output.
void PlainRecursion(const double* taps, unsigned int order, std::vector<double>& signal) {
    const double a0 = taps[order + 1];
    const std::vector<double> x(signal);
    for (std::size_t n = 0; n < signal.size(); ++n) {
        double acc = 0;
        for (std::size_t k = 0; k <= order && k <= n; ++k) acc += taps[k] / a0 * x[n - k];
        for (std::size_t k = 1; k <= order && k <= n; ++k) acc -= taps[order + 1 + k] / a0 * signal[n - k];
        signal[n] = acc;
    }
}

// Builds the filter from the stored coefficients with a zero history, filters the first sample
// alone (checked on its own), then single samples, a block and a block in place: the filter's
// memory must carry across all of them. Returns the failure message, empty on success.
template <typename T>
std::string CheckIIR(const quorunittesting::TestContext& context, bool biquad) {
    const std::string failed = std::string(biquad ? "IIRBiquad[" : "IIR[") + TypeName<T>() + "] failed";
    const std::string name = std::string(biquad ? "IIRBiquad" : "IIR") + "<" + TypeName<T>() + ">";
    const std::vector<T> taps = biquad ? std::vector<T>(std::begin(kBiquadTaps), std::end(kBiquadTaps))
                                       : std::vector<T>(std::begin(kOrder10Taps), std::end(kOrder10Taps));

    typename IIRStateOf<T>::type* state = nullptr;
    if (biquad) {
        filter::IIRInit_BiQuad(&state, taps.data(), kNumBiquads, nullptr);
    } else {
        filter::IIRInit(&state, taps.data(), kIIROrder, nullptr);
    }
    if (state == nullptr) return failed + ": no state";

    RandomValues<T> random(T(-1), T(1));
    std::vector<T> x(kIIRLength);
    random.Fill(x);

    // The reference sees the coefficients as rounded to T, like the filter.
    const std::vector<double> coefficients(taps.begin(), taps.end());
    std::vector<double> reference(x.begin(), x.end());
    Timed(context, "CPP::" + name, std::to_string(kIIRLength), [&] {
        if (biquad) {
            for (unsigned int s = 0; s < kNumBiquads; ++s) PlainRecursion(&coefficients[6 * s], 2, reference);
        } else {
            PlainRecursion(coefficients.data(), kIIROrder, reference);
        }
    });
    const std::vector<T> expected(reference.begin(), reference.end());

    T first = 0;
    Timed(context, "QP::" + name, "1", [&] { first = filter::IIR(x[0], state); });
    if (!equal_values(expected[0], BreakResult(first), kIIRTolerance<T>)) {
        filter::IIRFree(state);
        return failed;
    }

    std::vector<T> actual(kIIRLength);
    actual[0] = first;
    Timed(context, "QP::" + name, std::to_string(kIIRLength - 1), [&] {
        for (unsigned int n = 1; n < kIIRSingleEnd; ++n) actual[n] = filter::IIR(x[n], state);
        filter::IIR(kIIRBlockEnd - kIIRSingleEnd, x.data() + kIIRSingleEnd, actual.data() + kIIRSingleEnd, state);
        std::copy(x.begin() + kIIRBlockEnd, x.end(), actual.begin() + kIIRBlockEnd);
        filter::IIR_InPlace(kIIRLength - kIIRBlockEnd, actual.data() + kIIRBlockEnd, state);
    });
    filter::IIRFree(state);

    BreakResult(actual.data() + 1, kIIRLength - 1);
    const std::string mismatch =
        CompareArrays("QP::" + name, expected.data(), actual.data(), kIIRLength, x.data(), kIIRTolerance<T>);
    return mismatch.empty() ? mismatch : failed + ": " + mismatch;
}

// --- Low-pass design -----------------------------------------------------------------------------

// The designer's window at n of N (x = 2 pi n / (N - 1)); Blackman in its optimal form.
double DesignWindow(utility::DSPWindowType window, unsigned int n, unsigned int N) {
    const double m = N - 1;
    const double x = 2 * kPi * n / m;
    switch (window) {
        case utility::DSPWindowBartlett:
            return 1 - std::fabs(2 * n / m - 1);
        case utility::DSPWindowBlackman: {
            const double alpha = -0.5 / (1 + std::cos(2 * kPi / m));
            return (alpha + 1) / 2 - 0.5 * std::cos(x) - alpha / 2 * std::cos(2 * x);
        }
        case utility::DSPWindowHamming:
            return 0.54 - 0.46 * std::cos(x);
        default:
            return 0.5 - 0.5 * std::cos(x);
    }
}

// Ideal low-pass sin(2 pi f (n - c)) / (pi (n - c)) around c = (N - 1) / 2, 2f at the centre,
// times the window; optionally scaled so that the taps sum to +-1.
void PlainLowpass(double f, unsigned int N, utility::DSPWindowType window, bool normalize, double* taps) {
    const double c = (N - 1) / 2.0;
    double sum = 0;
    for (unsigned int n = 0; n < N; ++n) {
        const double d = n - c;
        const double ideal = d == 0 ? 2 * f : std::sin(2 * kPi * f * d) / (kPi * d);
        taps[n] = ideal * DesignWindow(window, n, N);
        sum += taps[n];
    }
    if (normalize) {
        for (unsigned int n = 0; n < N; ++n) taps[n] /= std::fabs(sum);
    }
}

struct WindowCase {
    utility::DSPWindowType window;
    const char* name;
};
// 7 is no window of the enumeration and must design as Hann.
const WindowCase kWindows[] = {{utility::DSPWindowBartlett, "Bartlett"},
                               {utility::DSPWindowBlackman, "Blackman"},
                               {utility::DSPWindowHamming, "Hamming"},
                               {utility::DSPWindowHann, "Hann"},
                               {static_cast<utility::DSPWindowType>(7), "7 (Hann)"}};

struct DesignCase {
    unsigned int tapsLen;
    double rFreq;
    bool normalize;
};
// Odd and even lengths, cut-offs below and above a quarter of the sampling rate.
const DesignCase kDesigns[] = {{5, 0.1, false},  {31, 0.2, true},  {32, 0.35, false},
                               {64, 0.05, true}, {101, 0.3, true}, {33, 0.45, false}};

// The sines come from a tone generator: a few ulps of the largest tap.
constexpr unsigned int kDesignTolerance = 8;

// The design whose taps the FIR checks filter with.
constexpr unsigned int kFIRTaps = 31;
constexpr double kFIRCutoff = 0.2;

// --- FIR -----------------------------------------------------------------------------------------

constexpr unsigned int kSignal = 512;
constexpr unsigned int kBlock = 256;

// Single-precision sums of up to 31 products in another order (and with fused multiply-adds on
// some paths): a few ulps of the output's scale.
constexpr unsigned int kFIRTolerance = 8;

// How the reference moves its history: Frozen keeps the starting history for every sample (the
// single-sample FIR never moves the delay line), PerBlock replaces it at block boundaries only
// (the single-sample FIR after FIRSetDlyLine), Running moves it at every sample (the block FIR).
enum class History { Frozen, PerBlock, Running };

// Plain single-precision FIR over the signal in blocks of kBlock; `history` holds the tapsLen - 1
// inputs before the block, oldest first.
std::vector<float> PlainFIR(const std::vector<float>& taps, std::vector<float> history, const std::vector<float>& x,
                            History mode) {
    const std::size_t last = taps.size() - 1;
    std::vector<float> y(x.size());
    for (std::size_t start = 0; start < x.size(); start += kBlock) {
        std::vector<float> buffer(history);
        buffer.insert(buffer.end(), x.begin() + start, x.begin() + start + kBlock);
        for (std::size_t i = 0; i < kBlock; ++i) {
            float acc = taps[0] * buffer[last + i];
            for (std::size_t k = 1; k <= last; ++k) {
                acc += taps[k] * (mode == History::Running ? buffer[last + i - k] : history[last - k]);
            }
            y[start + i] = acc;
        }
        if (mode != History::Frozen) history.assign(buffer.end() - last, buffer.end());
    }
    return y;
}

struct FIRCheck {
    const char* name;
    bool startHistory;                // FIRInit with a delay line (else null)
    History mode;                     // Frozen/PerBlock: single-sample FIR; Running: block FIR
    bool inPlace;                     // block FIR with dst == src
    std::vector<unsigned int> splits; // block FIR call lengths
};
const FIRCheck kFIRChecks[] = {
    {"SingleElementFIRWithoutDelayLineTest", false, History::Frozen, false, {}},
    {"SingleElementFIRWithDelayLineTest", true, History::PerBlock, false, {}},
    {"MultiElementFIRWithoutDelayLineTest", false, History::Running, false, {100, 1, 155, 256}},
    {"MultiElementFIRWithDelayLineTest", true, History::Running, false, {256, 256}},
    {"SourceDestSameLocationTest", true, History::Running, true, {37, 219, 256}},
};

// Runs one check on the signal x with the given taps and starting history; returns the failure
// message (starting with the check's name), empty on success.
std::string RunFIRCheck(const quorunittesting::TestContext& context, const FIRCheck& check,
                        const std::vector<float>& taps, const std::vector<float>& history0,
                        const std::vector<float>& x) {
    const std::string name = check.name;
    const unsigned int last = static_cast<unsigned int>(taps.size()) - 1;
    const std::vector<float> start = check.startHistory ? history0 : std::vector<float>(last, 0.0f);

    std::vector<float> expected;
    Timed(context, "CPP::FIR", name, [&] { expected = PlainFIR(taps, start, x, check.mode); });

    FIRState_Float* state = nullptr;
    filter::FIRInit(&state, taps.data(), last + 1, check.startHistory ? history0.data() : nullptr);
    if (state == nullptr) return name + ": FIRInit returned no state";

    std::vector<float> actual(kSignal);
    Timed(context, "QP::FIR", name, [&] {
        if (check.mode != History::Running) {
            for (unsigned int n = 0; n < kSignal; ++n) {
                if (check.mode == History::PerBlock && n != 0 && n % kBlock == 0) {
                    filter::FIRSetDlyLine(state, x.data() + n - last);
                }
                actual[n] = filter::FIR(state, x[n]);
            }
        } else {
            if (check.inPlace) actual = x;
            unsigned int at = 0;
            for (unsigned int len : check.splits) {
                filter::FIR(state, len, check.inPlace ? actual.data() + at : x.data() + at, actual.data() + at);
                at += len;
            }
        }
    });
    std::vector<float> delayLine(last);
    filter::FIRGetDlyLine(state, delayLine.data());
    filter::FIRFree(state);

    BreakResult(actual.data(), kSignal);
    std::string mismatch = CompareArrays(name + ": QP::FIR", expected.data(), actual.data(), kSignal, x.data(),
                                         kFIRTolerance);
    if (!mismatch.empty()) return mismatch;

    // The delay line afterwards: the starting one (single samples only), the inputs before the
    // last block (single samples after FIRSetDlyLine), or the last inputs (block FIR).
    const float* expectedLine = check.mode == History::Frozen     ? start.data()
                                : check.mode == History::PerBlock ? x.data() + kSignal - kBlock - last
                                                                  : x.data() + kSignal - last;
    BreakResult(delayLine.data(), last);
    return CompareArrays<float>(name + ": QP::FIRGetDlyLine", expectedLine, delayLine.data(), last, nullptr, 0);
}

}  // namespace

void TestIIR::Test_IIR(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestIIR::Test_IIR";
    for (const std::string& message : {CheckIIR<float>(context, false), CheckIIR<double>(context, false)}) {
        if (!message.empty()) QP_TEST_FAIL(message.c_str());
    }
}

void TestIIR::Test_IIRBiquad(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestIIR::Test_IIRBiquad";
    for (const std::string& message : {CheckIIR<float>(context, true), CheckIIR<double>(context, true)}) {
        if (!message.empty()) QP_TEST_FAIL(message.c_str());
    }
}

void TestFIR::Test_GenerateLowpassFIRCoefficients(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestFIR::Test_GenerateLowpassFIRCoefficients";

    // Every window on every design.
    for (const WindowCase& window : kWindows) {
        for (const DesignCase& design : kDesigns) {
            int bufferSize = 0;
            qp::fir_gen_get_buf_size(static_cast<int>(design.tapsLen), &bufferSize);
            std::vector<unsigned char> buffer(static_cast<std::size_t>(bufferSize));
            std::vector<double> expected(design.tapsLen), actual(design.tapsLen);
            const std::string detail = std::string(window.name) + ", " + std::to_string(design.tapsLen) + " taps, " +
                                       std::to_string(design.rFreq) + (design.normalize ? ", normalised" : "");
            Timed(context, "CPP::GenerateLowpassFIRCoefficients", detail, [&] {
                PlainLowpass(design.rFreq, design.tapsLen, window.window, design.normalize, expected.data());
            });
            Timed(context, "QP::GenerateLowpassFIRCoefficients", detail, [&] {
                utility::GenerateLowpassFIRCoefficients(design.rFreq, design.tapsLen, actual.data(), window.window,
                                                        design.normalize, buffer.data());
            });
            BreakResult(actual.data(), actual.size());
            const std::string mismatch = CompareArrays<double>("QP::GenerateLowpassFIRCoefficients[" + detail + "]",
                                                       expected.data(), actual.data(), design.tapsLen, nullptr,
                                                       kDesignTolerance);
            if (!mismatch.empty()) QP_TEST_FAIL(mismatch.c_str());
        }
    }

    // The FIR filter with designed taps (rounded to float), on a random signal and history.
    RandomValues<float> random(-1.0f, 1.0f);
    std::vector<float> x(kSignal), history0(kFIRTaps - 1);
    random.Fill(x);
    random.Fill(history0);
    for (const WindowCase& window : kWindows) {
        int bufferSize = 0;
        qp::fir_gen_get_buf_size(static_cast<int>(kFIRTaps), &bufferSize);
        std::vector<unsigned char> buffer(static_cast<std::size_t>(bufferSize));
        std::vector<double> design(kFIRTaps);
        utility::GenerateLowpassFIRCoefficients(kFIRCutoff, kFIRTaps, design.data(), window.window, true,
                                                buffer.data());
        const std::vector<float> taps(design.begin(), design.end());
        for (const FIRCheck& check : kFIRChecks) {
            const std::string message = RunFIRCheck(context, check, taps, history0, x);
            if (!message.empty()) QP_TEST_FAIL(message.c_str());
        }
    }
}

namespace {

QP_TEST_CASE(T_TestIIR, TestIIR, "TestIIR", Test_IIR)
QP_TEST_CASE(T_TestIIRBiquad, TestIIR, "TestIIRBiquad", Test_IIRBiquad)
QP_TEST_CASE(T_GenerateLowpassFIRCoefficientsTest, TestFIR, "GenerateLowpassFIRCoefficientsTest",
             Test_GenerateLowpassFIRCoefficients)

}  // namespace

quorunittesting::Test* FilterIIRSuite() {
    auto* suite = new quorunittesting::TestSuite("filter");
    suite->AddTest(new T_TestIIR);
    suite->AddTest(new T_TestIIRBiquad);
    return suite;
}

quorunittesting::Test* FIRSuite() {
    auto* suite = new quorunittesting::TestSuite("FIR");
    suite->AddTest(new T_GenerateLowpassFIRCoefficientsTest);
    return suite;
}

}  // namespace test
}  // namespace quoraccelerate
