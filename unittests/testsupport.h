// Checks shared by the self-tests: value comparison with a tolerance, element-wise comparison of
// result arrays, timing traces and input generation.
#pragma once

#include <boost/type_index.hpp>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iomanip>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>

#include "quorcore/time.h"
#include "quorunittesting/test.h"

namespace quoraccelerate {
namespace test {

// Fails the running test at this line of the calling test body, whose qualified name is in the
// caller's kTestFunction.
#define QP_TEST_FAIL(message) \
    ::quorunittesting::ThrowTestFailure((message), ::quorunittesting::LocationInfo{kTestFunction, __FILE__, __LINE__})

// A test build of the library (QP_SELFTEST_FAULTS) can break the library's results on purpose, when
// QP_SELFTEST_FAULT is set in the environment, to show that every check fails when the function it
// checks is wrong. Each test passes what the library returned through BreakResult before comparing;
// in the shipped library this compiles to nothing.
inline bool FaultInjected() {
#ifdef QP_SELFTEST_FAULTS
    return std::getenv("QP_SELFTEST_FAULT") != nullptr;
#else
    return false;
#endif
}

template <typename T>
T BreakResult(T value) {
    if (!FaultInjected()) return value;
    if constexpr (std::is_same_v<T, bool>) {
        return !value;
    } else if constexpr (std::is_floating_point_v<T>) {
        if (!std::isfinite(value)) return 0;
        return std::fabs(value) >= 1 ? value / 2 : value + 1;
    } else {
        return value + 1;
    }
}

template <typename T>
void BreakResult(T* values, std::size_t count) {
    if (count != 0) values[count / 2] = BreakResult(values[count / 2]);
}

// Equal when both are NaN, when both are infinite (whatever their signs), when the difference is
// within factor x epsilon absolutely, or within factor x epsilon relative to the larger magnitude.
template <typename T>
bool equal_values(T expected, T actual, unsigned int epsilonFactor) {
    if (std::isnan(expected) && std::isnan(actual)) return true;
    if (std::isinf(expected) && std::isinf(actual)) return true;
    if (std::isnan(expected) || std::isnan(actual) || std::isinf(expected) || std::isinf(actual)) return false;
    const T epsilon = std::numeric_limits<T>::epsilon();
    const T difference = std::fabs(expected - actual);
    if (difference <= static_cast<T>(epsilonFactor) * epsilon) return true;
    return difference <= std::fmax(std::fabs(expected), std::fabs(actual)) * epsilon * static_cast<T>(epsilonFactor);
}

template <typename T>
std::string TypeName() {
    return boost::typeindex::type_id<T>().pretty_name();
}

template <typename T>
std::string Fixed(T value) {
    std::ostringstream out;
    out << std::fixed << std::setprecision(std::numeric_limits<T>::max_digits10) << value;
    return out.str();
}

// The first index where the library's result differs from the reference, as a failure message;
// empty when all agree.
template <typename T>
std::string CompareArrays(const std::string& operation, const T* expected, const T* actual, std::size_t count,
                          const T* input, unsigned int epsilonFactor) {
    for (std::size_t i = 0; i < count; ++i) {
        if (!equal_values(expected[i], actual[i], epsilonFactor)) {
            std::ostringstream out;
            out << operation << " at input index " << i << ". Expected: " << Fixed(expected[i])
                << ", actual: " << Fixed(actual[i]) << ". Input = " << (input != nullptr ? Fixed(input[i]) : "");
            return out.str();
        }
    }
    return {};
}

inline std::string CountMismatch(std::size_t expected, std::size_t actual) {
    std::ostringstream out;
    out << "Equality check failed: expected: " << expected << ", actual: " << actual;
    return out.str();
}

// Runs a call and traces "Function <name>[<detail>] took <ms> ms".
template <typename F>
void Timed(const quorunittesting::TestContext& context, const std::string& name, const std::string& detail, F&& call) {
    using quorcore::utility::HighPrecisionTime;
    const std::uint64_t start = HighPrecisionTime::GetCurrentTime();
    call();
    const std::uint64_t end = HighPrecisionTime::GetCurrentTime();
    const double ms = static_cast<double>(HighPrecisionTime::ConvertToNanos(end - start)) / 1e6;
    context.TraceOut() << "Function " << name << (detail.empty() ? "" : "[" + detail + "]") << " took " << ms
                       << " ms\n";
}

// Uniform values on [low, high) from a 32-bit Mersenne Twister. A span wider than half the largest
// float is drawn at half scale and doubled, so that it never overflows; a draw equal to high is
// drawn again.
template <typename T>
class RandomValues {
public:
    RandomValues(T low, T high, std::uint32_t seed = 5489u) : engine_(seed), low_(low), high_(high) {
        halve_ = (high / 2 - low / 2) > static_cast<T>(1.7014117e38);
        dist_ = halve_ ? std::uniform_real_distribution<T>(low / 2, high / 2) : std::uniform_real_distribution<T>(low, high);
    }
    T operator()() {
        for (;;) {
            T v = dist_(engine_);
            if (halve_) v *= 2;
            if (v != high_) return v;
        }
    }
    template <typename Container>
    void Fill(Container& values) {
        for (auto& v : values) v = (*this)();
    }

private:
    std::mt19937 engine_;
    std::uniform_real_distribution<T> dist_;
    T low_;
    T high_;
    bool halve_ = false;
};

}  // namespace test
}  // namespace quoraccelerate
