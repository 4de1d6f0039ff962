#include "testfft.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

#include "api/fft_state.h"
#include "quoraccelerate/transform.h"
#include "suites.h"
#include "testsupport.h"

namespace quoraccelerate {
namespace test {

namespace {

constexpr double kPi = 3.14159265358979323846;

using Complex = std::complex<double>;
using Signal = std::vector<Complex>;

// Straight-line kernels (orders up to 5, real up to 6), the radix passes above, and order 0, whose
// real transform writes only two values. The largest order is timed.
constexpr unsigned int kOrders[] = {0, 1, 2, 3, 4, 5, 6, 7, 9};
constexpr unsigned int kTimedOrder = 9;

// Plain DFT, X[k] = sum x[n] e^(-+2 pi i n k / N); the inverse (+) is divided by N.
Signal PlainDFT(const Signal& x, bool inverse) {
    const std::size_t N = x.size();
    std::vector<double> cosines(N), sines(N);
    for (std::size_t m = 0; m < N; ++m) {
        cosines[m] = std::cos(2 * kPi * static_cast<double>(m) / static_cast<double>(N));
        sines[m] = (inverse ? 1 : -1) * std::sin(2 * kPi * static_cast<double>(m) / static_cast<double>(N));
    }
    Signal X(N);
    for (std::size_t k = 0; k < N; ++k) {
        double re = 0, im = 0;
        for (std::size_t n = 0; n < N; ++n) {
            const std::size_t m = n * k % N;
            re += x[n].real() * cosines[m] - x[n].imag() * sines[m];
            im += x[n].real() * sines[m] + x[n].imag() * cosines[m];
        }
        X[k] = inverse ? Complex(re / N, im / N) : Complex(re, im);
    }
    return X;
}

enum class Shape { Real, Interleaved, Split };

template <typename T, Shape S>
struct StateOf;
template <>
struct StateOf<float, Shape::Real> {
    using type = FFTState_Float;
};
template <>
struct StateOf<double, Shape::Real> {
    using type = FFTState_Double;
};
template <>
struct StateOf<float, Shape::Interleaved> {
    using type = FFTState_Complex_Float_Interleaved;
};
template <>
struct StateOf<double, Shape::Interleaved> {
    using type = FFTState_Complex_Double_Interleaved;
};
template <>
struct StateOf<float, Shape::Split> {
    using type = FFTState_Complex_Float_Deinterleaved;
};
template <>
struct StateOf<double, Shape::Split> {
    using type = FFTState_Complex_Double_Deinterleaved;
};

// One kind: its flat layouts of N time samples and of a spectrum, and its transforms.
template <typename T, Shape S>
struct Kind {
    using State = typename StateOf<T, S>::type;

    static std::string Name() {
        return std::string(S == Shape::Real ? "real" : S == Shape::Interleaved ? "interleaved" : "split") + "<" +
               TypeName<T>() + ">";
    }

    // Real: the real parts; interleaved: re, im pairs; split: all real parts, then all imaginary.
    static std::vector<T> Time(const Signal& x) {
        std::vector<T> flat;
        if (S == Shape::Real) {
            for (const Complex& v : x) flat.push_back(static_cast<T>(v.real()));
        } else if (S == Shape::Interleaved) {
            for (const Complex& v : x) {
                flat.push_back(static_cast<T>(v.real()));
                flat.push_back(static_cast<T>(v.imag()));
            }
        } else {
            for (const Complex& v : x) flat.push_back(static_cast<T>(v.real()));
            for (const Complex& v : x) flat.push_back(static_cast<T>(v.imag()));
        }
        return flat;
    }

    // Real: the packed spectrum X[0], 0, Re X[1], Im X[1], ..., X[N/2], 0 (N + 2 values; 2 for
    // N = 1); complex: as Time.
    static std::vector<T> Spectrum(const Signal& X) {
        if (S != Shape::Real) return Time(X);
        const std::size_t N = X.size();
        std::vector<T> flat = {static_cast<T>(X[0].real()), T(0)};
        for (std::size_t k = 1; k < N / 2; ++k) {
            flat.push_back(static_cast<T>(X[k].real()));
            flat.push_back(static_cast<T>(X[k].imag()));
        }
        if (N > 1) {
            flat.push_back(static_cast<T>(X[N / 2].real()));
            flat.push_back(T(0));
        }
        return flat;
    }

    static void Transform(bool inverse, const T* in, T* out, std::size_t N, State* state, unsigned char* buffer) {
        if constexpr (S == Shape::Real) {
            inverse ? transform::FFTInv(in, out, state, buffer) : transform::FFTFwd(in, out, state, buffer);
        } else if constexpr (S == Shape::Interleaved) {
            auto* src = reinterpret_cast<const std::complex<T>*>(in);
            auto* dst = reinterpret_cast<std::complex<T>*>(out);
            inverse ? transform::FFTInv(src, dst, state, buffer) : transform::FFTFwd(src, dst, state, buffer);
        } else {
            inverse ? transform::FFTInv(in, in + N, out, out + N, state, buffer)
                    : transform::FFTFwd(in, in + N, out, out + N, state, buffer);
        }
    }
};

// Both divided by the expected output's RMS: the error of an FFT grows with the signal's energy,
// not with the size of each bin.
template <typename T>
std::string CompareScaled(const std::string& operation, const std::vector<T>& expected, const std::vector<T>& actual,
                          unsigned int epsilonFactor) {
    double sum = 0;
    for (T v : expected) sum += static_cast<double>(v) * v;
    double rms = std::sqrt(sum / static_cast<double>(expected.size()));
    if (rms == 0) rms = 1;
    std::vector<T> e(expected.size()), a(actual.size());
    for (std::size_t i = 0; i < e.size(); ++i) {
        e[i] = static_cast<T>(expected[i] / rms);
        a[i] = static_cast<T>(actual[i] / rms);
    }
    return CompareArrays(operation + " (divided by " + std::to_string(rms) + ")", e.data(), a.data(), e.size(),
                         static_cast<const T*>(nullptr), epsilonFactor);
}

// Tolerances in ulps of the output's RMS, by precision: a few ulps per pass of the transform.
template <typename T>
unsigned int Tolerance(unsigned int order) {
    return (std::is_same_v<T, float> ? 4 : 8) * (order + 2);
}

// The state API around one call: FFTInit, FFTGetBufSize, a buffer of that size, the call, FFTFree
// (and the record, which FFTFree leaves to its owner).
template <typename K, typename Call>
void WithState(unsigned int order, Call call) {
    typename K::State* state = nullptr;
    transform::FFTInit(&state, order);
    unsigned int size = 0;
    transform::FFTGetBufSize(state, &size);
    std::vector<unsigned char> buffer(size);
    call(state, size == 0 ? nullptr : buffer.data());
    transform::FFTFree(state);
    delete state;
}

template <typename Call>
void MaybeTimed(const quorunittesting::TestContext& context, unsigned int order, const std::string& name, Call call) {
    if (order == kTimedOrder) {
        Timed(context, name, "order " + std::to_string(order), call);
    } else {
        call();
    }
}

// One transform of kind K at one order, out of place, against `expected`. The output starts as
// garbage so that every value must be written.
template <typename T, Shape S>
std::string CheckTransform(const quorunittesting::TestContext& context, bool inverse, unsigned int order,
                           const Signal& input, const Signal& expected, unsigned int epsilonFactor) {
    using K = Kind<T, S>;
    const std::size_t N = std::size_t{1} << order;
    const std::vector<T> in = inverse ? K::Spectrum(input) : K::Time(input);
    const std::vector<T> want = inverse ? K::Time(expected) : K::Spectrum(expected);
    std::vector<T> actual(want.size(), T(7777));
    const std::string name = std::string(inverse ? "QP::FFTInv<" : "QP::FFTFwd<") + K::Name() + ">";
    WithState<K>(order, [&](typename K::State* state, unsigned char* buffer) {
        MaybeTimed(context, order, name, [&] { K::Transform(inverse, in.data(), actual.data(), N, state, buffer); });
    });
    BreakResult(actual.data(), actual.size());
    return CompareScaled(name + "[order " + std::to_string(order) + "]", want, actual, epsilonFactor);
}

// The real kinds take their own input (the real parts forward, a Hermitian spectrum inverse) and
// reference; the complex kinds the complex ones.
struct Case {
    Signal realInput, realExpected, complexInput, complexExpected;
};

std::string CheckAllKinds(const quorunittesting::TestContext& context, bool inverse, unsigned int order,
                          const Case& c, bool exact) {
    const unsigned int f = exact ? 0 : Tolerance<float>(order), d = exact ? 0 : Tolerance<double>(order);
    for (const std::string& message :
         {CheckTransform<float, Shape::Real>(context, inverse, order, c.realInput, c.realExpected, f),
          CheckTransform<double, Shape::Real>(context, inverse, order, c.realInput, c.realExpected, d),
          CheckTransform<float, Shape::Interleaved>(context, inverse, order, c.complexInput, c.complexExpected, f),
          CheckTransform<double, Shape::Interleaved>(context, inverse, order, c.complexInput, c.complexExpected, d),
          CheckTransform<float, Shape::Split>(context, inverse, order, c.complexInput, c.complexExpected, f),
          CheckTransform<double, Shape::Split>(context, inverse, order, c.complexInput, c.complexExpected, d)}) {
        if (!message.empty()) return message;
    }
    return {};
}

// Forward transforms of a signal given as real part and imaginary part (the latter for the complex
// kinds only), against the plain DFT of each order.
std::string CheckForward(const quorunittesting::TestContext& context,
                         const std::function<double(std::size_t, std::size_t)>& re,
                         const std::function<double(std::size_t, std::size_t)>& im) {
    for (unsigned int order : kOrders) {
        const std::size_t N = std::size_t{1} << order;
        Case c;
        for (std::size_t n = 0; n < N; ++n) {
            c.realInput.emplace_back(re(n, N), 0.0);
            c.complexInput.emplace_back(re(n, N), im(n, N));
        }
        Timed(context, "CPP::DFT", "order " + std::to_string(order), [&] {
            c.realExpected = PlainDFT(c.realInput, false);
            c.complexExpected = PlainDFT(c.complexInput, false);
        });
        const std::string message = CheckAllKinds(context, false, order, c, false);
        if (!message.empty()) return message;
    }
    return {};
}

Signal RandomSignal(std::size_t N, std::uint32_t seed) {
    RandomValues<double> random(-1.0, 1.0, seed);
    Signal x(N);
    for (Complex& v : x) v = Complex(random(), random());
    return x;
}

// A random spectrum with X[N-k] = conj X[k] and real X[0], X[N/2]: the spectrum of a real signal.
Signal HermitianSpectrum(std::size_t N, std::uint32_t seed) {
    Signal X = RandomSignal(N, seed);
    X[0] = X[0].real();
    if (N > 1) X[N / 2] = X[N / 2].real();
    for (std::size_t k = 1; k < N / 2; ++k) X[N - k] = std::conj(X[k]);
    return X;
}

#define QP_CHECK(expression)                                  \
    do {                                                      \
        const std::string message_ = (expression);           \
        if (!message_.empty()) QP_TEST_FAIL(message_.c_str()); \
    } while (0)

}  // namespace

// Zeros in, zeros out, exactly.
void TestFFT::Test_FFTFwdEmpty(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestFFT::Test_FFTFwdEmpty";
    for (unsigned int order : kOrders) {
        const std::size_t N = std::size_t{1} << order;
        Case c;
        c.realInput = c.complexInput = c.realExpected = c.complexExpected = Signal(N, 0.0);
        QP_CHECK(CheckAllKinds(context, false, order, c, true));
    }
}

// An impulse at 0 gives 1 in every bin: the forward transform is not scaled.
void TestFFT::Test_FFTFwdUnitImpulse(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestFFT::Test_FFTFwdUnitImpulse";
    for (unsigned int order : kOrders) {
        const std::size_t N = std::size_t{1} << order;
        Case c;
        c.realInput = c.complexInput = Signal(N, 0.0);
        c.realInput[0] = c.complexInput[0] = 1.0;
        c.realExpected = c.complexExpected = Signal(N, 1.0);
        QP_CHECK(CheckAllKinds(context, false, order, c, false));
    }
}

// A unit step half-way (the complex kinds' imaginary part steps at a quarter).
void TestFFT::Test_FFTFwdHeaviside(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestFFT::Test_FFTFwdHeaviside";
    QP_CHECK(CheckForward(
        context, [](std::size_t n, std::size_t N) { return n >= N / 2 ? 1.0 : 0.0; },
        [](std::size_t n, std::size_t N) { return n >= N / 4 ? 1.0 : 0.0; }));
}

// A pulse of a quarter of the length starting at an eighth (the complex kinds' imaginary part: a
// pulse of -0.5 from the middle).
void TestFFT::Test_FFTFwdRectangular(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestFFT::Test_FFTFwdRectangular";
    QP_CHECK(CheckForward(
        context,
        [](std::size_t n, std::size_t N) { return n >= N / 8 && n <= N / 8 + N / 4 ? 1.0 : 0.0; },
        [](std::size_t n, std::size_t N) { return n >= N / 2 && n <= N / 2 + N / 8 ? -0.5 : 0.0; }));
}

// Random spectra (Hermitian for the real kinds) against the plain inverse DFT divided by N.
void TestFFT::Test_FFTInv(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestFFT::Test_FFTInv";
    for (unsigned int order : kOrders) {
        const std::size_t N = std::size_t{1} << order;
        Case c;
        c.realInput = HermitianSpectrum(N, order);
        c.complexInput = RandomSignal(N, 100 + order);
        Timed(context, "CPP::InverseDFT", "order " + std::to_string(order), [&] {
            c.realExpected = PlainDFT(c.realInput, true);
            c.complexExpected = PlainDFT(c.complexInput, true);
        });
        QP_CHECK(CheckAllKinds(context, true, order, c, false));
    }
}

namespace {

// Forward in place against the plain DFT, then inverse in place back to the input, on one state.
template <typename T, Shape S>
std::string CheckRoundtrip(const quorunittesting::TestContext& context, unsigned int order, const Signal& x,
                           const Signal& X) {
    using K = Kind<T, S>;
    const std::size_t N = std::size_t{1} << order;
    const std::vector<T> time = K::Time(x), spectrum = K::Spectrum(X);
    std::vector<T> io(std::max(time.size(), spectrum.size()), T(7777));
    std::copy(time.begin(), time.end(), io.begin());
    std::vector<T> forward, back;
    WithState<K>(order, [&](typename K::State* state, unsigned char* buffer) {
        MaybeTimed(context, order, "QP::FFTFwd<" + K::Name() + ">",
                   [&] { K::Transform(false, io.data(), io.data(), N, state, buffer); });
        forward.assign(io.begin(), io.begin() + static_cast<std::ptrdiff_t>(spectrum.size()));
        MaybeTimed(context, order, "QP::FFTInv<" + K::Name() + ">",
                   [&] { K::Transform(true, io.data(), io.data(), N, state, buffer); });
        back.assign(io.begin(), io.begin() + static_cast<std::ptrdiff_t>(time.size()));
    });
    const std::string where = "<" + K::Name() + ">[order " + std::to_string(order) + ", in place]";
    BreakResult(forward.data(), forward.size());
    std::string message = CompareScaled("QP::FFTFwd" + where, spectrum, forward, Tolerance<T>(order));
    if (!message.empty()) return message;
    BreakResult(back.data(), back.size());
    return CompareScaled("QP::FFTInv(QP::FFTFwd)" + where, time, back, 2 * Tolerance<T>(order));
}

}  // namespace

void TestFFT::Test_FFTRoundtrip(quorunittesting::TestContext& context) {
    const char* const kTestFunction = "quoraccelerate::test::TestFFT::Test_FFTRoundtrip";
    for (unsigned int order : kOrders) {
        const std::size_t N = std::size_t{1} << order;
        const Signal x = RandomSignal(N, 200 + order);
        Signal real(N);
        for (std::size_t n = 0; n < N; ++n) real[n] = x[n].real();
        const Signal X = PlainDFT(x, false), realX = PlainDFT(real, false);
        QP_CHECK((CheckRoundtrip<float, Shape::Real>(context, order, real, realX)));
        QP_CHECK((CheckRoundtrip<double, Shape::Real>(context, order, real, realX)));
        QP_CHECK((CheckRoundtrip<float, Shape::Interleaved>(context, order, x, X)));
        QP_CHECK((CheckRoundtrip<double, Shape::Interleaved>(context, order, x, X)));
        QP_CHECK((CheckRoundtrip<float, Shape::Split>(context, order, x, X)));
        QP_CHECK((CheckRoundtrip<double, Shape::Split>(context, order, x, X)));
    }
}

namespace {

QP_TEST_CASE(T_FFTFwdEmptyTest, TestFFT, "FFTFwdEmptyTest", Test_FFTFwdEmpty)
QP_TEST_CASE(T_FFTFwdUnitImpulseTest, TestFFT, "FFTFwdUnitImpulseTest", Test_FFTFwdUnitImpulse)
QP_TEST_CASE(T_FFTFwdHeavisideTest, TestFFT, "FFTFwdHeavisideTest", Test_FFTFwdHeaviside)
QP_TEST_CASE(T_FFTFwdRectangularTest, TestFFT, "FFTFwdRectangularTest", Test_FFTFwdRectangular)
QP_TEST_CASE(T_FFTInvTest, TestFFT, "FFTInvTest", Test_FFTInv)
QP_TEST_CASE(T_FFTRoundtripTest, TestFFT, "FFTRoundtripTest", Test_FFTRoundtrip)

}  // namespace

quorunittesting::Test* FFTSuite() {
    auto* suite = new quorunittesting::TestSuite("FFT");
    suite->AddTest(new T_FFTFwdEmptyTest);
    suite->AddTest(new T_FFTFwdUnitImpulseTest);
    suite->AddTest(new T_FFTFwdHeavisideTest);
    suite->AddTest(new T_FFTFwdRectangularTest);
    suite->AddTest(new T_FFTInvTest);
    suite->AddTest(new T_FFTRoundtripTest);
    return suite;
}

}  // namespace test
}  // namespace quoraccelerate
