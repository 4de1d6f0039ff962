#include "testdsp.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "quoraccelerate/utility.h"
#include "suites.h"
#include "testsupport.h"

namespace quoraccelerate {
namespace test {

namespace {

constexpr unsigned int kLengths[] = {1, 7, 16, 33, 1000, 65536};
constexpr unsigned int kFactors[] = {1, 2, 3, 5};

template <typename T>
std::string Label(const char* prefix, const char* name) {
    return std::string(prefix) + name + "<" + TypeName<T>() + ">";
}

template <typename T>
long double PlainDot(unsigned int n, const T* a, const T* b) {
    long double s = 0;
    for (unsigned int i = 0; i < n; ++i) s += static_cast<long double>(a[i]) * b[i];
    return s;
}

template <typename T>
void PlainUpSample(unsigned int n, const T* src, T* dst, unsigned int factor, unsigned int phase) {
    for (unsigned int i = 0; i < n * factor; ++i) dst[i] = 0;
    for (unsigned int i = 0; i < n; ++i) dst[i * factor + phase] = src[i];
}

// The whole signal at once: every factor-th sample from the phase on.
template <typename T>
std::vector<T> PlainDownSample(const std::vector<T>& src, unsigned int factor, unsigned int phase) {
    std::vector<T> out;
    for (std::size_t i = phase; i < src.size(); i += factor) out.push_back(src[i]);
    return out;
}

template <typename T>
void PlainConvolve(unsigned int n1, const T* a, unsigned int n2, const T* b, T* dst) {
    std::vector<long double> acc(n1 + n2 - 1, 0.0L);
    for (unsigned int i = 0; i < n1; ++i)
        for (unsigned int j = 0; j < n2; ++j) acc[i + j] += static_cast<long double>(a[i]) * b[j];
    for (std::size_t k = 0; k < acc.size(); ++k) dst[k] = static_cast<T>(acc[k]);
}

// Positive inputs keep the sums free of cancellation, so a relative tolerance holds everywhere.
template <typename T>
void DotProductCase(quorunittesting::TestContext& context, const char* function, unsigned int epsilonFactor) {
    RandomValues<T> random(static_cast<T>(0.5), static_cast<T>(2.0));
    for (unsigned int n : kLengths) {
        std::vector<T> a(n), b(n);
        random.Fill(a);
        random.Fill(b);
        T expected = 0, actual = 0;
        Timed(context, Label<T>("CPP::", "DotProduct"), std::to_string(n),
              [&] { expected = static_cast<T>(PlainDot(n, a.data(), b.data())); });
        Timed(context, Label<T>("QP::", "DotProduct"), std::to_string(n),
              [&] { actual = utility::DotProduct(n, a.data(), b.data()); });
        actual = BreakResult(actual);
        if (!equal_values(expected, actual, epsilonFactor)) {
            const std::string message = "equal_values(resCPP, resQP, epsilonFactor) : DotProduct[" + std::to_string(n) +
                                        "] expected " + Fixed(expected) + ", actual " + Fixed(actual);
            quorunittesting::ThrowTestFailure(message.c_str(), {function, __FILE__, __LINE__});
        }
    }
}

template <typename T>
void UpSampleCase(quorunittesting::TestContext& context, const char* function) {
    RandomValues<T> random(static_cast<T>(-1000), static_cast<T>(1000));
    for (unsigned int n : kLengths) {
        for (unsigned int factor : kFactors) {
            std::vector<T> src(n), expected(n * factor), actual(n * factor, static_cast<T>(-1));
            random.Fill(src);
            const unsigned int phase = (n + factor) % factor;
            unsigned int libraryPhase = phase;
            const std::string detail = std::to_string(n) + ", factor " + std::to_string(factor) + ", phase " + std::to_string(phase);
            Timed(context, Label<T>("CPP::", "UpSample"), detail,
                  [&] { PlainUpSample(n, src.data(), expected.data(), factor, phase); });
            Timed(context, Label<T>("QP::", "UpSample"), detail,
                  [&] { utility::UpSample(n, src.data(), actual.data(), factor, &libraryPhase); });
            BreakResult(actual.data(), actual.size());
            std::string mismatch = CompareArrays(Label<T>("QP::", "UpSample") + "[" + detail + "]", expected.data(),
                                                 actual.data(), actual.size(), static_cast<const T*>(nullptr), 0);
            if (mismatch.empty() && BreakResult(libraryPhase) != phase)
                mismatch = "UpSample[" + detail + "] changed the phase to " + std::to_string(libraryPhase);
            if (!mismatch.empty()) quorunittesting::ThrowTestFailure(mismatch.c_str(), {function, __FILE__, __LINE__});
        }
    }
}

// The signal goes through the library in blocks of uneven lengths, carrying the phase from block
// to block; the concatenation must equal the whole signal decimated at once.
template <typename T>
void DownSampleCase(quorunittesting::TestContext& context, const char* function) {
    RandomValues<T> random(static_cast<T>(-1000), static_cast<T>(1000));
    for (unsigned int n : kLengths) {
        for (unsigned int factor : kFactors) {
            std::vector<T> src(n);
            random.Fill(src);
            const unsigned int phase = factor - 1;
            const std::string detail = std::to_string(n) + ", factor " + std::to_string(factor) + ", phase " + std::to_string(phase);
            std::vector<T> expected;
            Timed(context, Label<T>("CPP::", "DownSample"), detail, [&] { expected = PlainDownSample(src, factor, phase); });
            std::vector<T> actual(n + 1, static_cast<T>(-1));
            unsigned int streamPhase = phase;
            std::size_t written = 0;
            Timed(context, Label<T>("QP::", "DownSample"), detail, [&] {
                unsigned int at = 0, block = 1;
                while (at < n) {
                    const unsigned int len = std::min(block, n - at);
                    utility::DownSample(len, src.data() + at, actual.data() + written, factor, &streamPhase);
                    // Samples the block held: the phase says where the next one starts.
                    written = (at + len + streamPhase - phase) / factor;
                    at += len;
                    block = block * 3 + 1;
                }
            });
            BreakResult(actual.data(), written);
            written = BreakResult(written);
            if (written != expected.size()) {
                const std::string message = CountMismatch(expected.size(), written) + " : DownSample[" + detail + "]";
                quorunittesting::ThrowTestFailure(message.c_str(), {function, __FILE__, __LINE__});
            }
            const std::string mismatch = CompareArrays(Label<T>("QP::", "DownSample") + "[" + detail + "]",
                                                       expected.data(), actual.data(), expected.size(),
                                                       static_cast<const T*>(nullptr), 0);
            if (!mismatch.empty()) quorunittesting::ThrowTestFailure(mismatch.c_str(), {function, __FILE__, __LINE__});
        }
    }
}

// Lengths of a direct evaluation and of the transform method. The transform's rounding error is
// spread evenly over the output, so its small first and last values get a wide relative tolerance.
struct ConvolveSize {
    unsigned int n1, n2, epsilonFactor;
};
constexpr ConvolveSize kConvolveSizes[] = {
    {1, 1, 2}, {7, 3, 8}, {33, 16, 32}, {1000, 31, 64}, {16, 1000, 64}, {4096, 4096, 1u << 17}, {16384, 512, 1u << 17},
};

template <typename T>
void ConvolveCase(quorunittesting::TestContext& context, const char* function) {
    RandomValues<T> random(static_cast<T>(0.5), static_cast<T>(1.0));
    const T unwritten = std::numeric_limits<T>::quiet_NaN();
    for (const ConvolveSize& size : kConvolveSizes) {
        const unsigned int n1 = size.n1, n2 = size.n2, out = n1 + n2 - 1;
        std::vector<T> a(n1), b(n2), expected(out), actual(out + 8, unwritten);
        random.Fill(a);
        random.Fill(b);
        const std::string detail = std::to_string(n1) + " x " + std::to_string(n2);
        Timed(context, Label<T>("CPP::", "Convolve"), detail, [&] { PlainConvolve(n1, a.data(), n2, b.data(), expected.data()); });
        Timed(context, Label<T>("QP::", "Convolve"), detail, [&] { utility::Convolve(n1, a.data(), n2, b.data(), actual.data()); });
        std::size_t length = 0;  // values written before the first untouched element
        while (length < actual.size() && !std::isnan(actual[length])) ++length;
        BreakResult(actual.data(), length);
        length = BreakResult(length);
        if (length != expected.size()) {
            const std::string message = CountMismatch(expected.size(), length) + " : Convolve[" + detail + "]";
            quorunittesting::ThrowTestFailure(message.c_str(), {function, __FILE__, __LINE__});
        }
        const std::string mismatch = CompareArrays(Label<T>("QP::", "Convolve") + "[" + detail + "]", expected.data(),
                                                   actual.data(), expected.size(), static_cast<const T*>(nullptr),
                                                   size.epsilonFactor);
        if (!mismatch.empty()) quorunittesting::ThrowTestFailure(mismatch.c_str(), {function, __FILE__, __LINE__});
    }
}

}  // namespace

void TestDSP::Test_DotProduct(quorunittesting::TestContext& context) {
    const char* const function = "quoraccelerate::test::TestDSP::Test_DotProduct";
    DotProductCase<float>(context, function, 32);
    DotProductCase<double>(context, function, 256);
}

void TestDSP::Test_UpSample(quorunittesting::TestContext& context) {
    const char* const function = "quoraccelerate::test::TestDSP::Test_UpSample";
    UpSampleCase<float>(context, function);
    UpSampleCase<double>(context, function);
}

void TestDSP::Test_DownSample(quorunittesting::TestContext& context) {
    const char* const function = "quoraccelerate::test::TestDSP::Test_DownSample";
    DownSampleCase<float>(context, function);
    DownSampleCase<double>(context, function);
}

void TestDSP::Test_Convolve(quorunittesting::TestContext& context) {
    const char* const function = "quoraccelerate::test::TestDSP::Test_Convolve";
    ConvolveCase<float>(context, function);
    ConvolveCase<double>(context, function);
}

QP_TEST_CASE(T_DotProductTest, TestDSP, "DotProductTest", Test_DotProduct)
QP_TEST_CASE(T_UpSampleTest, TestDSP, "UpSampleTest", Test_UpSample)
QP_TEST_CASE(T_DownSampleTest, TestDSP, "DownSampleTest", Test_DownSample)
QP_TEST_CASE(T_ConvolveTest, TestDSP, "ConvolveTest", Test_Convolve)

quorunittesting::Test* DspSuite() {
    auto* suite = new quorunittesting::TestSuite("Dsp");
    suite->AddTest(new T_DotProductTest);
    suite->AddTest(new T_UpSampleTest);
    suite->AddTest(new T_DownSampleTest);
    suite->AddTest(new T_ConvolveTest);
    return suite;
}

}  // namespace test
}  // namespace quoraccelerate
