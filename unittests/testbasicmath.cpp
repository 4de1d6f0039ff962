#include "testbasicmath.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "quoraccelerate/utility.h"
#include "suites.h"
#include "testsupport.h"

namespace quoraccelerate {
namespace test {

namespace {

// Lengths that end inside and on the vector widths, and one long enough to time.
constexpr unsigned int kLengths[] = {1, 7, 16, 33, 1000, 65536};

template <typename T>
struct Type {
    using type = T;
};
// Runs f once per listed type, with a Type<T> tag: one test body covers every overload.
template <typename... T, typename F>
void ForTypes(F f) {
    (f(Type<T>{}), ...);
}

// How an element type is drawn and compared: complex arrays are compared as their (re, im) parts,
// shorts are drawn as reals and rounded down.
template <typename T>
struct Traits {
    using Scalar = T;
    using Random = T;
    static constexpr std::size_t kParts = 1;
};
template <typename R>
struct Traits<std::complex<R>> {
    using Scalar = R;
    using Random = R;
    static constexpr std::size_t kParts = 2;
};
template <>
struct Traits<short> {
    using Scalar = short;
    using Random = double;
    static constexpr std::size_t kParts = 1;
};
template <typename T>
using RandomOf = typename Traits<T>::Random;

template <typename T>
T Draw(RandomValues<RandomOf<T>>& random) {
    if constexpr (std::is_same_v<T, short>) {
        return static_cast<short>(std::floor(random()));
    } else if constexpr (Traits<T>::kParts == 2) {
        const auto re = random();
        return T(re, random());
    } else {
        return random();
    }
}

// "QP::Name<float>[params]" from "Name[params]".
template <typename T>
std::string Label(const char* prefix, const std::string& name) {
    const std::size_t at = std::min(name.find('['), name.size());
    return prefix + name.substr(0, at) + "<" + TypeName<T>() + ">" + name.substr(at);
}

// The checks of one test body. Every comparison first passes what the library returned through
// BreakResult (a fault-injection build breaks it there) and fails the test at the first difference.
class Checks {
public:
    Checks(quorunittesting::TestContext& context, const char* function) : context_(context), function_(function) {}

    template <typename F>
    void Time(const std::string& name, unsigned int n, F&& call) const {
        Timed(context_, name, std::to_string(n), call);
    }

    template <typename T>
    void Arrays(const std::string& label, const T* expected, T* actual, std::size_t n, const T* input,
                unsigned int epsilonFactor) const {
        using S = typename Traits<T>::Scalar;
        const std::size_t count = n * Traits<T>::kParts;
        S* result = reinterpret_cast<S*>(actual);
        BreakResult(result, count);
        const std::string mismatch = CompareArrays(label, reinterpret_cast<const S*>(expected), result, count,
                                                   reinterpret_cast<const S*>(input), epsilonFactor);
        if (!mismatch.empty()) Fail(mismatch);
    }

    // A scalar result; indices are compared exactly, as doubles.
    template <typename T>
    void Value(const std::string& what, T expected, T actual, unsigned int epsilonFactor) const {
        using C = std::conditional_t<std::is_floating_point_v<T>, T, double>;
        actual = BreakResult(actual);
        if (equal_values(static_cast<C>(expected), static_cast<C>(actual), epsilonFactor)) return;
        context_.TraceOut() << what << ": resCPP = " << Fixed(static_cast<C>(expected))
                            << ", resQP = " << Fixed(static_cast<C>(actual)) << "\n";
        Fail("equal_values(resCPP, resQP, epsilonFactor) : " + what);
    }

private:
    [[noreturn]] void Fail(const std::string& message) const {
        quorunittesting::ThrowTestFailure(message.c_str(), {function_, __FILE__, __LINE__});
    }

    quorunittesting::TestContext& context_;
    const char* function_;
};

enum class Form { kOutOfPlace, kInPlace };

template <typename T, std::size_t K = 1>
using Sources = std::array<std::vector<T>, K>;

struct NoChange {
    template <typename S>
    void operator()(S&) const {}
};

template <typename F, typename S, std::size_t... I>
auto ApplyAt(const F& f, const S& s, unsigned int i, std::index_sequence<I...>) {
    return f(s[I][i]...);
}

// A reference that applies f to the i-th element of every source.
template <typename F>
auto Each(F f) {
    return [f](unsigned int n, const auto& s, auto* d) {
        constexpr std::size_t K = std::tuple_size_v<std::decay_t<decltype(s)>>;
        for (unsigned int i = 0; i < n; ++i) d[i] = ApplyAt(f, s, i, std::make_index_sequence<K>());
    };
}

// For every length: draws K sources of S on [low, high), lets prepare plant particular values, runs
// the reference and the library and compares their destinations of n T (labelled with the source
// type, which names the overload). An in-place call finds the last source already copied into its
// destination; an out-of-place call finds a value no result has, so an element it leaves unwritten
// is caught.
template <typename T, std::size_t K, typename S = T, typename Library, typename Reference, typename Prepare = NoChange>
void Elementwise(const Checks& check, const std::string& name, Form form, RandomOf<S> low, RandomOf<S> high,
                 unsigned int epsilonFactor, Library library, Reference reference, Prepare prepare = {}) {
    RandomValues<RandomOf<S>> random(low, high);
    for (unsigned int n : kLengths) {
        Sources<S, K> s;
        for (auto& v : s) {
            v.resize(n);
            for (auto& x : v) x = Draw<S>(random);
        }
        prepare(s);
        std::vector<T> expected(n), actual(n, T(12345));
        if constexpr (std::is_same_v<S, T>) {
            if (form == Form::kInPlace) actual = s[K - 1];
        }
        check.Time(Label<S>("CPP::", name), n, [&] { reference(n, s, expected.data()); });
        check.Time(Label<S>("QP::", name), n, [&] { library(n, s, actual.data()); });
        const T* input = nullptr;
        if constexpr (std::is_same_v<S, T>) input = s[0].data();
        check.Arrays(Label<S>("QP::", name), expected.data(), actual.data(), n, input, epsilonFactor);
    }
}

// For every length: one source on [low, high) (after prepare), compared as one value.
template <typename T, typename Library, typename Reference, typename Prepare = NoChange>
void Reduction(const Checks& check, const std::string& name, T low, T high, unsigned int epsilonFactor,
               Library library, Reference reference, Prepare prepare = {}) {
    RandomValues<T> random(low, high);
    for (unsigned int n : kLengths) {
        Sources<T> s;
        s[0].resize(n);
        random.Fill(s[0]);
        prepare(s);
        T expected{}, actual{};
        check.Time(Label<T>("CPP::", name), n, [&] { expected = reference(n, s[0].data()); });
        check.Time(Label<T>("QP::", name), n, [&] { actual = library(n, s[0].data()); });
        check.Value(Label<T>("QP::", name) + "[n=" + std::to_string(n) + "]", expected, actual, epsilonFactor);
    }
}

// Sets every element whose index i satisfies i % period == phase to value.
template <typename T>
void Plant(std::vector<T>& v, std::size_t period, std::size_t phase, T value) {
    for (std::size_t i = phase; i < v.size(); i += period) v[i] = value;
}

template <typename T>
constexpr T kNaN = std::numeric_limits<T>::quiet_NaN();

// Turns uniform draws on [-1, 1) into whole numbers in [-(n/8 + 1), n/8]: every array holds ties
// of its extremes, so a search that does not report the first occurrence is caught. NaN at every
// period-th element from index 3 (the extrema ignore NaN).
template <typename T>
void Tie(std::vector<T>& v, std::size_t period = 13) {
    const T range = static_cast<T>(v.size() / 8 + 1);
    for (T& x : v) x = std::floor(x * range);
    Plant(v, period, 3, kNaN<T>);
}
// Two sources get NaN every 13th and every 11th element: alone mostly, together at 3, 146, ...
struct Ties {
    template <typename S>
    void operator()(S& s) const {
        for (std::size_t k = 0; k < s.size(); ++k) Tie(s[k], 13 - 2 * k);
    }
};

// Index of the first extreme: better(x, y) when x beats y. NaN is skipped; 0 when all are NaN.
template <typename T, typename Better>
unsigned int PlainExtremeIndex(unsigned int n, const T* x, Better better) {
    unsigned int best = 0;
    bool found = false;
    for (unsigned int i = 0; i < n; ++i) {
        if (std::isnan(x[i])) continue;
        if (!found || better(x[i], x[best])) best = i;
        found = true;
    }
    return best;
}
const auto kGreater = [](auto x, auto y) { return x > y; };
const auto kLess = [](auto x, auto y) { return x < y; };

// The element-wise extreme: the other operand where one is NaN.
template <typename Better>
auto EveryReference(Better better) {
    return Each([better](float a, float b) { return std::isnan(a) ? b : (std::isnan(b) ? a : (better(b, a) ? b : a)); });
}

// round(x c 2^-scale), exact halves to the even neighbour, saturated to 16 bits, in exact integer
// arithmetic. Shifts beyond 40 give what 40 gives, since |x c| <= 2^30.
short ScaledProduct(short x, short c, int scale) {
    std::int64_t p = std::int64_t{x} * c;
    if (scale > 0) {
        const std::int64_t unit = std::int64_t{1} << std::min(scale, 40), half = unit / 2;
        std::int64_t q = p >= 0 ? p / unit : -((-p + unit - 1) / unit);  // floor
        const std::int64_t rest = p - q * unit;
        if (rest > half || (rest == half && (q & 1) != 0)) ++q;
        p = q;
    } else {
        p *= std::int64_t{1} << std::min(-scale, 32);
    }
    return static_cast<short>(std::clamp<std::int64_t>(p, -32768, 32767));
}

// ln(x) rounded once from extended precision.
template <typename T>
T PlainLn(T x) {
    return static_cast<T>(std::log(static_cast<long double>(x)));
}

// Logarithm inputs: the draws u become e^u, spread over every exponent from the subnormals to the
// largest finite values, and every 9th element is one of the special inputs.
struct LogInputs {
    template <typename T>
    void operator()(Sources<T>& s) const {
        using L = std::numeric_limits<T>;
        const T special[] = {L::denorm_min(), L::min() / 3,  L::min(),       T(1), L::max(),   std::nextafter(T(1), T(2)),
                             std::nextafter(T(1), T(0)), T(0), -T(0), T(-1), L::infinity(), kNaN<T>};
        std::vector<T>& v = s[0];
        for (std::size_t i = 0; i < v.size(); ++i) {
            v[i] = i % 9 == 4 ? special[(i / 9) % (sizeof special / sizeof special[0])]
                              : static_cast<T>(std::exp(static_cast<long double>(v[i])));
        }
    }
};

// Log tests draw u over the whole exponent range: ln(denorm_min) .. ln(max).
template <typename T>
void LogCase(const Checks& check, const std::string& name, Form form, unsigned int epsilonFactor,
             void (*library)(unsigned int, T*)) {
    using L = std::numeric_limits<T>;
    Elementwise<T, 1>(
        check, name, form, std::log(L::denorm_min()), std::log(L::max()), epsilonFactor,
        [library](unsigned int n, const Sources<T>&, T* d) { library(n, d); }, Each(&PlainLn<T>), LogInputs{});
}

// Accuracy factors of the logarithms: the library's bound plus half an ulp for the rounding of the
// reference (or of e^u in ExpTest), in units of epsilon relative to the result: within 1 ulp for
// Ln and Ln_Prec24, 2^-21.7 relative for Ln_Prec21, 2^-14 relative for Ln_Prec11.
constexpr unsigned int kLn24 = 2, kLn21 = 3, kLn11 = (1u << 9) + 1;

}  // namespace

void TestBasicMath::Test_AddConstant_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_AddConstant_InPlace");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        const T c = T(1) / T(3);
        Elementwise<T, 1>(
            check, "AddConstant_InPlace", Form::kInPlace, -1e6, 1e6, 0,
            [c](unsigned int n, const Sources<T>&, T* d) { utility::AddConstant_InPlace(n, d, c); },
            Each([c](T x) { return x + c; }));
    });
}

void TestBasicMath::Test_Add_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Add_InPlace");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        Elementwise<T, 2>(
            check, "Add_InPlace", Form::kInPlace, -1e6, 1e6, 0,
            [](unsigned int n, const Sources<T, 2>& s, T* d) { utility::Add_InPlace(n, s[0].data(), d); },
            Each([](T a, T d) { return d + a; }));
    });
}

void TestBasicMath::Test_AddConstant(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_AddConstant");
    const float c = -2.0f / 7.0f;
    Elementwise<float, 1>(
        check, "AddConstant", Form::kOutOfPlace, -1e6f, 1e6f, 0,
        [c](unsigned int n, const Sources<float>& s, float* d) { utility::AddConstant(n, s[0].data(), c, d); },
        Each([c](float x) { return x + c; }));
}

void TestBasicMath::Test_Add(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Add");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        Elementwise<T, 2>(
            check, "Add", Form::kOutOfPlace, -1e12, 1e12, 0,
            [](unsigned int n, const Sources<T, 2>& s, T* d) { utility::Add(n, s[0].data(), s[1].data(), d); },
            Each([](T a, T b) { return a + b; }));
    });
}

// The builds with FMA fuse d + a b, the others round a b first: on [-1, 1) the two differ by at
// most one rounding of the product and one of the sum, both below epsilon.
void TestBasicMath::Test_AddProduct(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_AddProduct");
    Elementwise<float, 3>(
        check, "AddProduct", Form::kInPlace, -1.0f, 1.0f, 2,
        [](unsigned int n, const Sources<float, 3>& s, float* d) {
            utility::AddProduct(n, s[0].data(), s[1].data(), d);
        },
        Each([](float a, float b, float d) { return d + a * b; }));
}

void TestBasicMath::Test_Sub(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Sub");
    Elementwise<float, 2>(
        check, "Sub", Form::kOutOfPlace, -1e6f, 1e6f, 0,
        [](unsigned int n, const Sources<float, 2>& s, float* d) { utility::Sub(n, s[0].data(), s[1].data(), d); },
        Each([](float a, float b) { return b - a; }));
}

void TestBasicMath::Test_SubConstant_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_SubConstant_InPlace");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        const T c = T(10) / T(3);
        Elementwise<T, 1>(
            check, "SubConstant_InPlace", Form::kInPlace, -1e3, 1e3, 0,
            [c](unsigned int n, const Sources<T>&, T* d) { utility::SubConstant_InPlace(n, d, c); },
            Each([c](T x) { return x - c; }));
    });
}

void TestBasicMath::Test_SubConstantRev_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_SubConstantRev_InPlace");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        const T c = T(10) / T(3);
        Elementwise<T, 1>(
            check, "SubConstantRev_InPlace", Form::kInPlace, -1e3, 1e3, 0,
            [c](unsigned int n, const Sources<T>&, T* d) { utility::SubConstantRev_InPlace(n, d, c); },
            Each([c](T x) { return c - x; }));
    });
}

void TestBasicMath::Test_Sub_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Sub_InPlace");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        Elementwise<T, 2>(
            check, "Sub_InPlace", Form::kInPlace, -1e6, 1e6, 0,
            [](unsigned int n, const Sources<T, 2>& s, T* d) { utility::Sub_InPlace(n, s[0].data(), d); },
            Each([](T a, T d) { return d - a; }));
    });
}

void TestBasicMath::Test_MulConstant_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_MulConstant_InPlace");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        const T c = T(-7) / T(3);
        Elementwise<T, 1>(
            check, "MulConstant_InPlace", Form::kInPlace, -1e6, 1e6, 0,
            [c](unsigned int n, const Sources<T>&, T* d) { utility::MulConstant_InPlace(n, d, c); },
            Each([c](T x) { return x * c; }));
    });
    // Scaled shorts: rounding of exact halves, both shift directions, saturation at both ends.
    const struct {
        short c;
        int scale;
    } cases[] = {{3, 2}, {20000, 0}, {-20000, 0}, {-7, -3}, {12345, 15}, {-32768, 16}, {5, -20}, {7, 40}, {-1, 1}};
    for (const auto& k : cases) {
        const short c = k.c;
        const int scale = k.scale;
        Elementwise<short, 1>(
            check, "MulConstant_InPlace[c=" + std::to_string(c) + ", scale=" + std::to_string(scale) + "]",
            Form::kInPlace, -32768.0, 32768.0, 0,
            [c, scale](unsigned int n, const Sources<short>&, short* d) { utility::MulConstant_InPlace(n, d, c, scale); },
            Each([c, scale](short x) { return ScaledProduct(x, c, scale); }));
    }
}

void TestBasicMath::Test_MulConstant(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_MulConstant");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        const T c = T(5) / T(3);
        Elementwise<T, 1>(
            check, "MulConstant", Form::kOutOfPlace, -1e6, 1e6, 0,
            [c](unsigned int n, const Sources<T>& s, T* d) { utility::MulConstant(n, s[0].data(), d, c); },
            Each([c](T x) { return x * c; }));
    });
}

namespace {

// Complex products: the builds with FMA fuse one product into each part's sum, so the parts may
// differ from the plain formula by a rounding of a product; on [-1, 1) that is below epsilon.
template <typename T>
std::complex<T> PlainComplexProduct(std::complex<T> a, std::complex<T> b) {
    return {a.real() * b.real() - a.imag() * b.imag(), a.real() * b.imag() + a.imag() * b.real()};
}

}  // namespace

void TestBasicMath::Test_Mul_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Mul_InPlace");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        Elementwise<T, 2>(
            check, "Mul_InPlace", Form::kInPlace, -1e6, 1e6, 0,
            [](unsigned int n, const Sources<T, 2>& s, T* d) { utility::Mul_InPlace(n, s[0].data(), d); },
            Each([](T a, T d) { return d * a; }));
        using C = std::complex<T>;
        Elementwise<C, 2>(
            check, "Mul_InPlace", Form::kInPlace, -1, 1, 2,
            [](unsigned int n, const Sources<C, 2>& s, C* d) { utility::Mul_InPlace(n, s[0].data(), d); },
            Each([](C a, C d) { return PlainComplexProduct(d, a); }));
    });
}

void TestBasicMath::Test_Mul(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Mul");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        Elementwise<T, 2>(
            check, "Mul", Form::kOutOfPlace, -1e6, 1e6, 0,
            [](unsigned int n, const Sources<T, 2>& s, T* d) { utility::Mul(n, s[0].data(), s[1].data(), d); },
            Each([](T a, T b) { return a * b; }));
    });
    using C = std::complex<float>;
    Elementwise<C, 2>(
        check, "Mul", Form::kOutOfPlace, -1.0f, 1.0f, 2,
        [](unsigned int n, const Sources<C, 2>& s, C* d) { utility::Mul(n, s[0].data(), s[1].data(), d); },
        Each(&PlainComplexProduct<float>));
}

// Divisions are true, correctly rounded divisions: a multiplication by a reciprocal fails here.
void TestBasicMath::Test_DivConstant_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_DivConstant_InPlace");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        for (const T c : {T(3), T(-0.7)}) {
            Elementwise<T, 1>(
                check, "DivConstant_InPlace", Form::kInPlace, -1e6, 1e6, 0,
                [c](unsigned int n, const Sources<T>&, T* d) { utility::DivConstant_InPlace(n, d, c); },
                Each([c](T x) { return x / c; }));
        }
    });
}

namespace {

// Zero divisors give the IEEE infinities, 0 / 0 gives NaN.
struct ZeroDivisors {
    template <typename S>
    void operator()(S& s) const {
        using T = typename S::value_type::value_type;
        Plant(s[0], 10, 9, T(0));
        if (s.size() > 1) Plant(s[1], 20, 19, T(0));
    }
};

}  // namespace

void TestBasicMath::Test_Div_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Div_InPlace");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        Elementwise<T, 2>(
            check, "Div_InPlace", Form::kInPlace, -1e3, 1e3, 0,
            [](unsigned int n, const Sources<T, 2>& s, T* d) { utility::Div_InPlace(n, s[0].data(), d); },
            Each([](T a, T d) { return d / a; }), ZeroDivisors{});
    });
}

void TestBasicMath::Test_DivConstantRev(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_DivConstantRev");
    const float c = 2.5f;
    Elementwise<float, 1>(
        check, "DivConstantRev", Form::kOutOfPlace, -1e3f, 1e3f, 0,
        [c](unsigned int n, const Sources<float>& s, float* d) { utility::DivConstantRev(n, c, s[0].data(), d); },
        Each([c](float x) { return c / x; }), ZeroDivisors{});
}

void TestBasicMath::Test_Sqr(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Sqr");
    // Up to 1e20: the largest squares overflow to infinity.
    Elementwise<float, 1>(
        check, "Sqr", Form::kOutOfPlace, -1e20f, 1e20f, 0,
        [](unsigned int n, const Sources<float>& s, float* d) { utility::Sqr(n, s[0].data(), d); },
        Each([](float x) { return x * x; }));
}

void TestBasicMath::Test_Ln_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Ln_InPlace");
    LogCase<float>(check, "Ln_InPlace", Form::kInPlace, kLn24, [](unsigned int n, float* d) { utility::Ln_InPlace(n, d); });
}

namespace {

// Every grade of the logarithm with its accuracy factor.
template <typename T>
struct LnGrade {
    const char* name;
    void (*function)(unsigned int, const T*, T*);
    unsigned int epsilonFactor;
};
template <typename T>
std::vector<LnGrade<T>> LnGrades() {
    std::vector<LnGrade<T>> grades = {{"Ln", &utility::Ln, kLn24}};
    if constexpr (std::is_same_v<T, float>) {
        grades.push_back({"Ln_Prec24", &utility::Ln_Prec24, kLn24});
        grades.push_back({"Ln_Prec21", &utility::Ln_Prec21, kLn21});
        grades.push_back({"Ln_Prec11", &utility::Ln_Prec11, kLn11});
    }
    return grades;
}

}  // namespace

void TestBasicMath::Test_Ln(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Ln");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        using L = std::numeric_limits<T>;
        for (const auto& grade : LnGrades<T>()) {
            const auto ln = grade.function;
            Elementwise<T, 1>(
                check, grade.name, Form::kOutOfPlace, std::log(L::denorm_min()), std::log(L::max()), grade.epsilonFactor,
                [ln](unsigned int n, const Sources<T>& s, T* d) { ln(n, s[0].data(), d); }, Each(&PlainLn<T>),
                LogInputs{});
        }
    });
}

// There is no exported exponential: this checks the logarithms against the C library's one.
// For u drawn over the range where e^u is a finite normal number, every grade of Ln applied to e^u
// (rounded once) gives back u within its accuracy; the rounding of e^u moves the logarithm by at
// most half an epsilon.
void TestBasicMath::Test_Exp(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Exp");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        using L = std::numeric_limits<T>;
        const T low = std::ceil(std::log(L::min())), high = std::floor(std::log(L::max()));
        const auto exponentials = [](Sources<T, 2>& s) {
            for (std::size_t i = 0; i < s[0].size(); ++i) s[1][i] = static_cast<T>(std::exp(static_cast<long double>(s[0][i])));
        };
        for (const auto& grade : LnGrades<T>()) {
            const auto ln = grade.function;
            Elementwise<T, 2>(
                check, std::string(grade.name) + "[exp]", Form::kOutOfPlace, low, high, grade.epsilonFactor,
                [ln](unsigned int n, const Sources<T, 2>& s, T* d) { ln(n, s[1].data(), d); },
                Each([](T u, T) { return u; }), exponentials);
        }
    });
}

void TestBasicMath::Test_Normalize(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Normalize");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        const T sub = T(0.3), div = T(-7);
        Elementwise<T, 1>(
            check, "Normalize", Form::kOutOfPlace, -1e4, 1e4, 0,
            [=](unsigned int n, const Sources<T>& s, T* d) { utility::Normalize(n, s[0].data(), d, sub, div); },
            Each([=](T x) { return (x - sub) / div; }));
    });
}

void TestBasicMath::Test_Abs(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Abs");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        const T big = std::numeric_limits<T>::max() * T(0.9);
        Elementwise<T, 1>(
            check, "Abs", Form::kOutOfPlace, -big, big, 0,
            [](unsigned int n, const Sources<T>& s, T* d) { utility::Abs(n, s[0].data(), d); },
            Each([](T x) { return std::fabs(x); }));
    });
}

void TestBasicMath::Test_Abs_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Abs_InPlace");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        Elementwise<T, 1>(
            check, "Abs_InPlace", Form::kInPlace, -1e30, 1e30, 0,
            [](unsigned int n, const Sources<T>&, T* d) { utility::Abs_InPlace(n, d); },
            Each([](T x) { return std::fabs(x); }));
    });
}

namespace {

// Whole multiples of 2^-20 below 2^10: every partial sum is exact in double, in any order.
struct Grid {
    int exponent = -20;
    void operator()(Sources<double>& s) const {
        for (double& x : s[0]) x = std::ldexp(std::round(std::ldexp(x, -exponent)), exponent);
    }
};

}  // namespace

// Float sums accumulate in double: the result is the exact sum rounded once. Double sums of grid
// values are exact.
void TestBasicMath::Test_Sum(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Sum");
    Reduction<float>(
        check, "Sum", -1e3f, 1e3f, 1, [](unsigned int n, const float* x) { return utility::Sum(n, x); },
        [](unsigned int n, const float* x) {
            long double s = 0;
            for (unsigned int i = 0; i < n; ++i) s += x[i];
            return static_cast<float>(s);
        });
    Reduction<double>(
        check, "Sum", -1e3, 1e3, 0, [](unsigned int n, const double* x) { return utility::Sum(n, x); },
        [](unsigned int n, const double* x) {
            double s = 0;
            for (unsigned int i = 0; i < n; ++i) s += x[i];
            return s;
        },
        Grid{});
}

namespace {

template <typename Better>
auto ExtremeReference(Better better) {
    return [better](unsigned int n, const auto* x) { return x[PlainExtremeIndex(n, x, better)]; };
}

}  // namespace

void TestBasicMath::Test_Max(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Max");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        Reduction<T>(
            check, "Max", -1, 1, 0, [](unsigned int n, const T* x) { return utility::Max(n, x); },
            ExtremeReference(kGreater), Ties{});
    });
}

void TestBasicMath::Test_Min(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Min");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        Reduction<T>(
            check, "Min", -1, 1, 0, [](unsigned int n, const T* x) { return utility::Min(n, x); },
            ExtremeReference(kLess), Ties{});
    });
}

namespace {

// Runs body(n, x) on tied whole numbers with NaN (see Tie) for every length.
template <typename Body>
void ForTiedInputs(Body body) {
    RandomValues<float> random(-1.0f, 1.0f);
    for (unsigned int n : kLengths) {
        std::vector<float> x(n);
        random.Fill(x);
        Tie(x);
        body(n, x);
    }
}

// MaxIndex and MinIndex: the index of the first extreme, its value through the pointer, and the
// same index without a value pointer.
template <typename Library, typename Better>
void IndexSearch(const Checks& check, const std::string& name, Library library, Better better) {
    ForTiedInputs([&](unsigned int n, const std::vector<float>& x) {
        unsigned int expected = 0, actual = 0, withoutValue = 0;
        float value = 0;
        check.Time(Label<float>("CPP::", name), n, [&] { expected = PlainExtremeIndex(n, x.data(), better); });
        check.Time(Label<float>("QP::", name), n, [&] { actual = library(n, x.data(), &value); });
        withoutValue = library(n, x.data(), nullptr);
        const std::string what = Label<float>("QP::", name) + "[n=" + std::to_string(n);
        check.Value(what + ", index]", expected, actual, 0);
        check.Value(what + ", value]", x[expected], value, 0);
        check.Value(what + ", index without value]", expected, withoutValue, 0);
    });
}

}  // namespace

void TestBasicMath::Test_MaxIndex(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_MaxIndex");
    IndexSearch(
        check, "MaxIndex", [](unsigned int n, const float* x, float* v) { return utility::MaxIndex(n, x, v); },
        kGreater);
}

void TestBasicMath::Test_MinIndex(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_MinIndex");
    IndexSearch(
        check, "MinIndex", [](unsigned int n, const float* x, float* v) { return utility::MinIndex(n, x, v); },
        kLess);
}

namespace {

// Magnitudes behave like hypot: within about one ulp, without overflow of the squares. The huge
// ranges square far beyond the largest finite value.
template <typename T>
T PlainMagnitude(T re, T im) {
    const long double r = re, i = im;
    return static_cast<T>(std::sqrt(r * r + i * i));
}

}  // namespace

void TestBasicMath::Test_Magnitude(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Magnitude");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        for (const T range : {T(1e3), std::numeric_limits<T>::max() / 2}) {
            Elementwise<T, 2>(
                check, "Magnitude", Form::kOutOfPlace, -range, range, 2,
                [](unsigned int n, const Sources<T, 2>& s, T* d) {
                    utility::Magnitude(n, s[0].data(), s[1].data(), d);
                },
                Each(&PlainMagnitude<T>));
        }
    });
    using C = std::complex<float>;
    for (const float range : {1e3f, 1e30f}) {
        Elementwise<float, 1, C>(
            check, "Magnitude[complex]", Form::kOutOfPlace, -range, range, 2,
            [](unsigned int n, const Sources<C>& s, float* d) { utility::Magnitude(n, s[0].data(), d); },
            Each([](C z) { return PlainMagnitude(z.real(), z.imag()); }));
    }
}

// re^2 + im^2: the builds with FMA round once less than the others, within 1.5 ulp of the exact
// value either way. Up to 1e18 the power stays finite.
void TestBasicMath::Test_PowerSpectr(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_PowerSpectr");
    using C = std::complex<float>;
    for (const float range : {1e3f, 1e18f}) {
        Elementwise<float, 1, C>(
            check, "PowerSpectr", Form::kOutOfPlace, -range, range, 2,
            [](unsigned int n, const Sources<C>& s, float* d) { utility::PowerSpectr(n, s[0].data(), d); },
            Each([](C z) {
                const double re = z.real(), im = z.imag();
                return static_cast<float>(re * re + im * im);
            }));
    }
}

namespace {

template <typename T>
void PlainFlip(unsigned int n, const Sources<T>& s, T* d) {
    for (unsigned int i = 0; i < n; ++i) d[i] = s[0][n - 1 - i];
}

}  // namespace

void TestBasicMath::Test_Flip_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Flip_InPlace");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        Elementwise<T, 1>(
            check, "Flip_InPlace", Form::kInPlace, -1e3, 1e3, 0,
            [](unsigned int n, const Sources<T>&, T* d) { utility::Flip_InPlace(n, d); }, &PlainFlip<T>);
    });
}

void TestBasicMath::Test_Flip(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Flip");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        Elementwise<T, 1>(
            check, "Flip", Form::kOutOfPlace, -1e3, 1e3, 0,
            [](unsigned int n, const Sources<T>& s, T* d) { utility::Flip(n, s[0].data(), d); }, &PlainFlip<T>);
    });
}

namespace {

// Values equal to the level (kept: the comparisons are strict) and NaN (kept).
template <typename T>
auto LevelsAndNaN(T level) {
    return [level](Sources<T>& s) {
        Plant(s[0], 7, 2, level);
        Plant(s[0], 17, 5, kNaN<T>);
    };
}

}  // namespace

void TestBasicMath::Test_Threshold_LT_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Threshold_LT_InPlace");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        const T level = T(0.25);
        Elementwise<T, 1>(
            check, "Threshold_LT_InPlace", Form::kInPlace, -1, 1, 0,
            [level](unsigned int n, const Sources<T>&, T* d) { utility::Threshold_LT_InPlace(n, d, level); },
            Each([level](T x) { return x < level ? level : x; }), LevelsAndNaN(level));
    });
}

void TestBasicMath::Test_Threshold_GT_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Threshold_GT_InPlace");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        const T level = T(0.25);
        Elementwise<T, 1>(
            check, "Threshold_GT_InPlace", Form::kInPlace, -1, 1, 0,
            [level](unsigned int n, const Sources<T>&, T* d) { utility::Threshold_GT_InPlace(n, d, level); },
            Each([level](T x) { return x > level ? level : x; }), LevelsAndNaN(level));
    });
}

// Real data: 1 / x after |x| is raised to the level, keeping the sign; exact divisions. At level 0
// the planted zeros give infinities. Complex data: conj(z) / |z|^2, or conj(z) / (|z| level) where
// |z| < level; single precision runs in double and rounds once, double precision rounds in up to
// four operations.
void TestBasicMath::Test_Invert_Threshold_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Invert_Threshold_InPlace");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        for (const T level : {T(0.5), T(0)}) {
            Elementwise<T, 1>(
                check, "Invert_Threshold_InPlace[level=" + std::to_string(level) + "]", Form::kInPlace, -2, 2, 0,
                [level](unsigned int n, const Sources<T>&, T* d) { utility::Invert_Threshold_InPlace(n, d, level); },
                Each([level](T x) { return T(1) / (std::fabs(x) < level ? std::copysign(level, x) : x); }),
                [](Sources<T>& s) {
                    Plant(s[0], 11, 6, T(0));
                    Plant(s[0], 11, 9, -T(0));
                });
        }
        using C = std::complex<T>;
        const T level = T(1);
        Elementwise<C, 1>(
            check, "Invert_Threshold_InPlace[level=1]", Form::kInPlace, -2, 2, std::is_same_v<T, float> ? 1 : 3,
            [level](unsigned int n, const Sources<C>&, C* d) { utility::Invert_Threshold_InPlace(n, d, level); },
            Each([level](C z) {
                const long double re = z.real(), im = z.imag(), r2 = re * re + im * im, m = std::sqrt(r2);
                const long double den = m >= level ? r2 : m * level;
                return C(static_cast<T>(re / den), static_cast<T>(-im / den));
            }));
    });
}

// sin and cos are within 2.3 ulp, the product with the magnitude rounds once more and the reference
// once: factor 4. The phases need argument reduction.
void TestBasicMath::Test_PolarToCart(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_PolarToCart");
    using C = std::complex<float>;
    Elementwise<C, 2, float>(
        check, "PolarToCart", Form::kOutOfPlace, -20.0f, 20.0f, 4,
        [](unsigned int n, const Sources<float, 2>& s, C* d) {
            utility::PolarToCart(n, s[0].data(), s[1].data(), reinterpret_cast<float*>(d));
        },
        Each([](float m, float phase) {
            const long double p = phase;
            return C(static_cast<float>(m * std::cos(p)), static_cast<float>(m * std::sin(p)));
        }),
        [](Sources<float, 2>& s) {
            for (float& m : s[0]) m = std::fabs(m);
        });
}

// Magnitude as in MagnitudeTest; the phase is atan2 within 2 ulp, plus the reference's rounding.
void TestBasicMath::Test_CartToPolar(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_CartToPolar");
    using C = std::complex<float>;
    for (const bool phase : {false, true}) {
        Elementwise<float, 1, C>(
            check, phase ? "CartToPolar[phase]" : "CartToPolar[magnitude]", Form::kOutOfPlace, -100.0f, 100.0f,
            phase ? 3 : 2,
            [phase](unsigned int n, const Sources<C>& s, float* d) {
                std::vector<float> other(n);
                const float* src = reinterpret_cast<const float*>(s[0].data());
                if (phase) {
                    utility::CartToPolar(n, src, other.data(), d);
                } else {
                    utility::CartToPolar(n, src, d, other.data());
                }
            },
            Each([phase](C z) {
                return phase ? static_cast<float>(std::atan2(static_cast<long double>(z.imag()), z.real()))
                             : PlainMagnitude(z.real(), z.imag());
            }));
    }
}

void TestBasicMath::Test_Trim(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Trim");
    const float low = -0.5f, high = 0.25f;
    Elementwise<float, 1>(
        check, "Trim", Form::kInPlace, -1.0f, 1.0f, 0,
        [=](unsigned int n, const Sources<float>&, float* d) { utility::Trim(n, d, low, high); },
        Each([=](float x) { return x < low ? low : (x > high ? high : x); }),
        [=](Sources<float>& s) {
            Plant(s[0], 7, 2, low);
            Plant(s[0], 7, 4, high);
        });
}

// There is no exported peak-magnitude function: the largest magnitude of a complex vector is found
// with Magnitude, then Max and MaxIndex, against a plain loop over the complex values. The parts are
// whole numbers below 2000, so equal magnitudes come from equal sums of squares (exact in float)
// and distinct ones are far apart: the first occurrence is well defined.
void TestBasicMath::Test_MaxMagnitude(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_MaxMagnitude");
    using C = std::complex<float>;
    RandomValues<float> random(-1.0f, 1.0f);
    for (unsigned int n : kLengths) {
        const float range = static_cast<float>(std::min(n / 8 + 1, 2000u));
        std::vector<C> z(n);
        for (C& v : z) {
            const float re = std::floor(random() * range);
            v = C(re, std::floor(random() * range));
        }
        unsigned int expectedIndex = 0;
        float expected = 0;
        check.Time(Label<float>("CPP::", "MaxMagnitude"), n, [&] {
            double best = -1;
            for (unsigned int i = 0; i < n; ++i) {
                const double s = double(z[i].real()) * z[i].real() + double(z[i].imag()) * z[i].imag();
                if (s > best) {
                    best = s;
                    expectedIndex = i;
                }
            }
            expected = static_cast<float>(std::sqrt(best));
        });
        std::vector<float> magnitude(n);
        float actual = 0, value = 0;
        unsigned int actualIndex = 0;
        check.Time(Label<float>("QP::", "MaxMagnitude"), n, [&] {
            utility::Magnitude(n, z.data(), magnitude.data());
            actual = utility::Max(n, magnitude.data());
            actualIndex = utility::MaxIndex(n, magnitude.data(), &value);
        });
        const std::string what = Label<float>("QP::", "MaxMagnitude") + "[n=" + std::to_string(n);
        check.Value(what + "]", expected, actual, 1);
        check.Value(what + ", index]", expectedIndex, actualIndex, 0);
        check.Value(what + ", value]", expected, value, 1);
    }
}

// Both overloads: the smallest and largest element (NaN ignored), and the largest magnitude from
// the export's own loop, which aligns the pointer first: it runs from every offset of a 16-byte
// block.
void TestBasicMath::Test_MinMax(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_MinMax");
    ForTiedInputs([&](unsigned int n, const std::vector<float>& x) {
        float expectedMin = 0, expectedMax = 0, actualMin = 0, actualMax = 0;
        check.Time(Label<float>("CPP::", "MinMax"), n, [&] {
            expectedMin = x[PlainExtremeIndex(n, x.data(), kLess)];
            expectedMax = x[PlainExtremeIndex(n, x.data(), kGreater)];
        });
        check.Time(Label<float>("QP::", "MinMax"), n, [&] { utility::MinMax(n, x.data(), actualMin, actualMax); });
        const std::string what = Label<float>("QP::", "MinMax") + "[n=" + std::to_string(n);
        check.Value(what + ", min]", expectedMin, actualMin, 0);
        check.Value(what + ", max]", expectedMax, actualMax, 0);
    });
    RandomValues<float> random(-1e6f, 1e6f);
    for (unsigned int n : kLengths) {
        std::vector<float> x(n + 3);
        random.Fill(x);
        for (unsigned int offset = 0; offset < 4; ++offset) {
            const float* p = x.data() + offset;
            float expected = 0, actual = 0;
            check.Time(Label<float>("CPP::", "MinMax[magnitude]"), n, [&] {
                for (unsigned int i = 0; i < n; ++i) expected = std::max(expected, std::fabs(p[i]));
            });
            check.Time(Label<float>("QP::", "MinMax[magnitude]"), n, [&] { actual = utility::MinMax(p, n); });
            check.Value(Label<float>("QP::", "MinMax[magnitude, n=") + std::to_string(n) + ", offset=" +
                            std::to_string(offset) + "]",
                        expected, actual, 0);
        }
    }
}

void TestBasicMath::Test_MinMaxIndex(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_MinMaxIndex");
    ForTiedInputs([&](unsigned int n, const std::vector<float>& x) {
        unsigned int expectedMinIndex = 0, expectedMaxIndex = 0, minIndex = 0, maxIndex = 0;
        float min = 0, max = 0;
        check.Time(Label<float>("CPP::", "MinMaxIndex"), n, [&] {
            expectedMinIndex = PlainExtremeIndex(n, x.data(), kLess);
            expectedMaxIndex = PlainExtremeIndex(n, x.data(), kGreater);
        });
        check.Time(Label<float>("QP::", "MinMaxIndex"), n,
                   [&] { utility::MinMaxIndex(n, x.data(), min, max, minIndex, maxIndex); });
        const std::string what = Label<float>("QP::", "MinMaxIndex") + "[n=" + std::to_string(n);
        check.Value(what + ", min index]", expectedMinIndex, minIndex, 0);
        check.Value(what + ", max index]", expectedMaxIndex, maxIndex, 0);
        check.Value(what + ", min]", x[expectedMinIndex], min, 0);
        check.Value(what + ", max]", x[expectedMaxIndex], max, 0);
    });
}

// Element-wise extremes of tied whole numbers; NaN in either source gives the other operand, in
// both (every 26th element) NaN.
void TestBasicMath::Test_MinEvery(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_MinEvery");
    Elementwise<float, 2>(
        check, "MinEvery", Form::kOutOfPlace, -1.0f, 1.0f, 0,
        [](unsigned int n, const Sources<float, 2>& s, float* d) {
            utility::MinEvery(n, s[0].data(), s[1].data(), d);
        },
        EveryReference(kLess), Ties{});
}

void TestBasicMath::Test_MinEvery_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_MinEvery_InPlace");
    Elementwise<float, 2>(
        check, "MinEvery_InPlace", Form::kInPlace, -1.0f, 1.0f, 0,
        [](unsigned int n, const Sources<float, 2>& s, float* d) { utility::MinEvery_InPlace(n, s[0].data(), d); },
        EveryReference(kLess), Ties{});
}

void TestBasicMath::Test_MaxEvery(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_MaxEvery");
    Elementwise<float, 2>(
        check, "MaxEvery", Form::kOutOfPlace, -1.0f, 1.0f, 0,
        [](unsigned int n, const Sources<float, 2>& s, float* d) {
            utility::MaxEvery(n, s[0].data(), s[1].data(), d);
        },
        EveryReference(kGreater), Ties{});
}

void TestBasicMath::Test_MaxEvery_InPlace(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_MaxEvery_InPlace");
    Elementwise<float, 2>(
        check, "MaxEvery_InPlace", Form::kInPlace, -1.0f, 1.0f, 0,
        [](unsigned int n, const Sources<float, 2>& s, float* d) { utility::MaxEvery_InPlace(n, s[0].data(), d); },
        EveryReference(kGreater), Ties{});
}

namespace {

// Channel counts around the unrolling by four of the channel loops.
constexpr unsigned int kChannelCounts[] = {1, 3, 4, 7};

}  // namespace

// Two channels compare as the (re, im) parts of complex pairs; C channels as frames of C values.
void TestBasicMath::Test_Interleave(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_Interleave");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        using C = std::complex<T>;
        Elementwise<C, 2, T>(
            check, "Interleave", Form::kOutOfPlace, -1e3, 1e3, 0,
            [](unsigned int n, const Sources<T, 2>& s, C* d) {
                utility::Interleave(n, s[0].data(), s[1].data(), reinterpret_cast<T*>(d));
            },
            Each([](T a, T b) { return C(a, b); }));
        RandomValues<T> random(-1e3, 1e3);
        for (unsigned int channels : kChannelCounts) {
            for (unsigned int frames : kLengths) {
                std::vector<std::vector<T>> source(channels, std::vector<T>(frames));
                std::vector<const T*> pointers;
                for (auto& v : source) {
                    random.Fill(v);
                    pointers.push_back(v.data());
                }
                std::vector<T> expected(channels * frames), actual(channels * frames, T(12345));
                const std::string name = "Interleave[channels=" + std::to_string(channels) + "]";
                check.Time(Label<T>("CPP::", name), frames, [&] {
                    for (unsigned int f = 0; f < frames; ++f) {
                        for (unsigned int c = 0; c < channels; ++c) expected[f * channels + c] = source[c][f];
                    }
                });
                check.Time(Label<T>("QP::", name), frames,
                           [&] { utility::Interleave(channels, frames, pointers.data(), actual.data()); });
                check.Arrays(Label<T>("QP::", name), expected.data(), actual.data(), expected.size(),
                             static_cast<const T*>(nullptr), 0);
            }
        }
    });
}

void TestBasicMath::Test_DeInterleave(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_DeInterleave");
    ForTypes<float, double>([&](auto type) {
        using T = typename decltype(type)::type;
        using C = std::complex<T>;
        for (const bool second : {false, true}) {
            Elementwise<T, 1, C>(
                check, second ? "Deinterleave[second]" : "Deinterleave[first]", Form::kOutOfPlace, -1e3, 1e3, 0,
                [second](unsigned int n, const Sources<C>& s, T* d) {
                    std::vector<T> other(n);
                    const T* src = reinterpret_cast<const T*>(s[0].data());
                    utility::Deinterleave(n, src, second ? other.data() : d, second ? d : other.data());
                },
                Each([second](C z) { return second ? z.imag() : z.real(); }));
        }
        RandomValues<T> random(-1e3, 1e3);
        for (unsigned int channels : kChannelCounts) {
            for (unsigned int frames : kLengths) {
                std::vector<T> source(channels * frames), expected(channels * frames),
                    actual(channels * frames, T(12345));
                random.Fill(source);
                std::vector<T*> pointers;
                for (unsigned int c = 0; c < channels; ++c) pointers.push_back(actual.data() + c * frames);
                const std::string name = "Deinterleave[channels=" + std::to_string(channels) + "]";
                check.Time(Label<T>("CPP::", name), frames, [&] {
                    for (unsigned int f = 0; f < frames; ++f) {
                        for (unsigned int c = 0; c < channels; ++c) expected[c * frames + f] = source[f * channels + c];
                    }
                });
                check.Time(Label<T>("QP::", name), frames,
                           [&] { utility::Deinterleave(channels, frames, source.data(), pointers.data()); });
                check.Arrays(Label<T>("QP::", name), expected.data(), actual.data(), expected.size(),
                             static_cast<const T*>(nullptr), 0);
            }
        }
    });
}

// Float norms accumulate in double: the exact norm rounded once. Double norms of grid values have
// exact sums of squares, in any order, so the root is correctly rounded; values near 2^600 square
// beyond the double range and are rescaled by the library.
void TestBasicMath::Test_NormL2(quorunittesting::TestContext& context) {
    const Checks check(context, "quoraccelerate::test::TestBasicMath::Test_NormL2");
    for (const float range : {1e3f, 1e30f}) {
        Reduction<float>(
            check, "NormL2", -range, range, 1, [](unsigned int n, const float* x) { return utility::NormL2(n, x); },
            [](unsigned int n, const float* x) {
                long double s = 0;
                for (unsigned int i = 0; i < n; ++i) s += static_cast<long double>(x[i]) * x[i];
                return static_cast<float>(std::sqrt(s));
            });
    }
    for (const int exponent : {-10, 590}) {
        Reduction<double>(
            check, "NormL2[2^" + std::to_string(exponent + 10) + "]", -1024, 1024, exponent > 0 ? 1 : 0,
            [](unsigned int n, const double* x) { return utility::NormL2(n, x); },
            [exponent](unsigned int n, const double* x) {
                double s = 0;
                for (unsigned int i = 0; i < n; ++i) s += std::pow(std::ldexp(x[i], -exponent), 2);
                return std::ldexp(std::sqrt(s), exponent);
            },
            [exponent](Sources<double>& s) {
                for (double& x : s[0]) x = std::ldexp(std::round(x), exponent);
            });
    }
}

QP_TEST_CASE(T_AddConstant_InPlaceTest, TestBasicMath, "AddConstant_InPlaceTest", Test_AddConstant_InPlace)
QP_TEST_CASE(T_Add_InPlaceTest, TestBasicMath, "Add_InPlaceTest", Test_Add_InPlace)
QP_TEST_CASE(T_AddConstantTest, TestBasicMath, "AddConstantTest", Test_AddConstant)
QP_TEST_CASE(T_AddTest, TestBasicMath, "AddTest", Test_Add)
QP_TEST_CASE(T_AddProductTest, TestBasicMath, "AddProductTest", Test_AddProduct)
QP_TEST_CASE(T_SubTest, TestBasicMath, "SubTest", Test_Sub)
QP_TEST_CASE(T_SubConstant_InPlaceTest, TestBasicMath, "SubConstant_InPlaceTest", Test_SubConstant_InPlace)
QP_TEST_CASE(T_SubConstantRev_InPlaceTest, TestBasicMath, "SubConstantRev_InPlaceTest", Test_SubConstantRev_InPlace)
QP_TEST_CASE(T_Sub_InPlaceTest, TestBasicMath, "Sub_InPlaceTest", Test_Sub_InPlace)
QP_TEST_CASE(T_MulConstant_InPlaceTest, TestBasicMath, "MulConstant_InPlaceTest", Test_MulConstant_InPlace)
QP_TEST_CASE(T_MulConstantTest, TestBasicMath, "MulConstantTest", Test_MulConstant)
QP_TEST_CASE(T_Mul_InPlaceTest, TestBasicMath, "Mul_InPlaceTest", Test_Mul_InPlace)
QP_TEST_CASE(T_MulTest, TestBasicMath, "MulTest", Test_Mul)
QP_TEST_CASE(T_DivConstant_InPlaceTest, TestBasicMath, "DivConstant_InPlaceTest", Test_DivConstant_InPlace)
QP_TEST_CASE(T_Div_InPlaceTest, TestBasicMath, "Div_InPlaceTest", Test_Div_InPlace)
QP_TEST_CASE(T_DivConstantRevTest, TestBasicMath, "DivConstantRevTest", Test_DivConstantRev)
QP_TEST_CASE(T_SqrTest, TestBasicMath, "SqrTest", Test_Sqr)
QP_TEST_CASE(T_Ln_InPlaceTest, TestBasicMath, "Ln_InPlaceTest", Test_Ln_InPlace)
QP_TEST_CASE(T_LnTest, TestBasicMath, "LnTest", Test_Ln)
QP_TEST_CASE(T_ExpTest, TestBasicMath, "ExpTest", Test_Exp)
QP_TEST_CASE(T_NormalizeTest, TestBasicMath, "NormalizeTest", Test_Normalize)
QP_TEST_CASE(T_AbsTest, TestBasicMath, "AbsTest", Test_Abs)
QP_TEST_CASE(T_Abs_InPlaceTest, TestBasicMath, "Abs_InPlaceTest", Test_Abs_InPlace)
QP_TEST_CASE(T_SumTest, TestBasicMath, "SumTest", Test_Sum)
QP_TEST_CASE(T_MaxTest, TestBasicMath, "MaxTest", Test_Max)
QP_TEST_CASE(T_MaxIndexTest, TestBasicMath, "MaxIndexTest", Test_MaxIndex)
QP_TEST_CASE(T_MinTest, TestBasicMath, "MinTest", Test_Min)
QP_TEST_CASE(T_MinIndexTest, TestBasicMath, "MinIndexTest", Test_MinIndex)
QP_TEST_CASE(T_MagnitudeTest, TestBasicMath, "MagnitudeTest", Test_Magnitude)
QP_TEST_CASE(T_PowerSpectrTest, TestBasicMath, "PowerSpectrTest", Test_PowerSpectr)
QP_TEST_CASE(T_Flip_InPlaceTest, TestBasicMath, "Flip_InPlaceTest", Test_Flip_InPlace)
QP_TEST_CASE(T_FlipTest, TestBasicMath, "FlipTest", Test_Flip)
QP_TEST_CASE(T_Threshold_LT_InPlaceTest, TestBasicMath, "Threshold_LT_InPlaceTest", Test_Threshold_LT_InPlace)
QP_TEST_CASE(T_Threshold_GT_InPlaceTest, TestBasicMath, "Threshold_GT_InPlaceTest", Test_Threshold_GT_InPlace)
QP_TEST_CASE(T_Invert_Threshold_InPlaceTest, TestBasicMath, "Invert_Threshold_InPlaceTest",
             Test_Invert_Threshold_InPlace)
QP_TEST_CASE(T_PolarToCartTest, TestBasicMath, "PolarToCartTest", Test_PolarToCart)
QP_TEST_CASE(T_CartToPolarTest, TestBasicMath, "CartToPolarTest", Test_CartToPolar)
QP_TEST_CASE(T_TrimTest, TestBasicMath, "TrimTest", Test_Trim)
QP_TEST_CASE(T_MaxMagnitudeTest, TestBasicMath, "MaxMagnitudeTest", Test_MaxMagnitude)
QP_TEST_CASE(T_MinMaxTest, TestBasicMath, "MinMaxTest", Test_MinMax)
QP_TEST_CASE(T_MinMaxIndexTest, TestBasicMath, "MinMaxIndexTest", Test_MinMaxIndex)
QP_TEST_CASE(T_MinEveryTest, TestBasicMath, "MinEveryTest", Test_MinEvery)
QP_TEST_CASE(T_MinEveryTestInPlace, TestBasicMath, "MinEveryTestInPlace", Test_MinEvery_InPlace)
QP_TEST_CASE(T_MaxEveryTest, TestBasicMath, "MaxEveryTest", Test_MaxEvery)
QP_TEST_CASE(T_MaxEveryInPlaceTest, TestBasicMath, "MaxEveryInPlaceTest", Test_MaxEvery_InPlace)
QP_TEST_CASE(T_InterleaveTest, TestBasicMath, "InterleaveTest", Test_Interleave)
QP_TEST_CASE(T_DeInterleaveTest, TestBasicMath, "DeInterleaveTest", Test_DeInterleave)
QP_TEST_CASE(T_NormL2Test, TestBasicMath, "NormL2Test", Test_NormL2)

quorunittesting::Test* BasicMathSuite() {
    auto* suite = new quorunittesting::TestSuite("BasicMath");
    suite->AddTest(new T_AddConstant_InPlaceTest);
    suite->AddTest(new T_Add_InPlaceTest);
    suite->AddTest(new T_AddConstantTest);
    suite->AddTest(new T_AddTest);
    suite->AddTest(new T_AddProductTest);
    suite->AddTest(new T_SubTest);
    suite->AddTest(new T_SubConstant_InPlaceTest);
    suite->AddTest(new T_SubConstantRev_InPlaceTest);
    suite->AddTest(new T_Sub_InPlaceTest);
    suite->AddTest(new T_MulConstant_InPlaceTest);
    suite->AddTest(new T_MulConstantTest);
    suite->AddTest(new T_Mul_InPlaceTest);
    suite->AddTest(new T_MulTest);
    suite->AddTest(new T_DivConstant_InPlaceTest);
    suite->AddTest(new T_Div_InPlaceTest);
    suite->AddTest(new T_DivConstantRevTest);
    suite->AddTest(new T_SqrTest);
    suite->AddTest(new T_Ln_InPlaceTest);
    suite->AddTest(new T_LnTest);
    suite->AddTest(new T_ExpTest);
    suite->AddTest(new T_NormalizeTest);
    suite->AddTest(new T_AbsTest);
    suite->AddTest(new T_Abs_InPlaceTest);
    suite->AddTest(new T_SumTest);
    suite->AddTest(new T_MaxTest);
    suite->AddTest(new T_MaxIndexTest);
    suite->AddTest(new T_MinTest);
    suite->AddTest(new T_MinIndexTest);
    suite->AddTest(new T_MagnitudeTest);
    suite->AddTest(new T_PowerSpectrTest);
    suite->AddTest(new T_Flip_InPlaceTest);
    suite->AddTest(new T_FlipTest);
    suite->AddTest(new T_Threshold_LT_InPlaceTest);
    suite->AddTest(new T_Threshold_GT_InPlaceTest);
    suite->AddTest(new T_Invert_Threshold_InPlaceTest);
    suite->AddTest(new T_PolarToCartTest);
    suite->AddTest(new T_CartToPolarTest);
    suite->AddTest(new T_TrimTest);
    suite->AddTest(new T_MaxMagnitudeTest);
    suite->AddTest(new T_MinMaxTest);
    suite->AddTest(new T_MinMaxIndexTest);
    suite->AddTest(new T_MinEveryTest);
    suite->AddTest(new T_MinEveryTestInPlace);
    suite->AddTest(new T_MaxEveryTest);
    suite->AddTest(new T_MaxEveryInPlaceTest);
    suite->AddTest(new T_InterleaveTest);
    suite->AddTest(new T_DeInterleaveTest);
    suite->AddTest(new T_NormL2Test);
    return suite;
}

}  // namespace test
}  // namespace quoraccelerate
