#include "testbasicmath.h"

#include <cmath>
#include <string>
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
std::string Label(const char* prefix, const char* name) {
    return std::string(prefix) + name + "<" + TypeName<T>() + ">";
}

// Fills a and b, runs the library's function and the reference on them, and fails at the first
// element that differs.
template <typename T, typename Library, typename Reference>
void CompareBinary(quorunittesting::TestContext& context, const char* function, const char* name, Library library,
                   Reference reference, T low, T high, unsigned int epsilonFactor) {
    RandomValues<T> random(low, high);
    for (unsigned int n : kLengths) {
        std::vector<T> a(n), b(n), expected(n), actual(n);
        random.Fill(a);
        random.Fill(b);
        Timed(context, Label<T>("CPP::", name), std::to_string(n), [&] { reference(n, a.data(), b.data(), expected.data()); });
        Timed(context, Label<T>("QP::", name), std::to_string(n), [&] { library(n, a.data(), b.data(), actual.data()); });
        const std::string mismatch =
            CompareArrays(Label<T>("QP::", name), expected.data(), actual.data(), n, a.data(), epsilonFactor);
        if (!mismatch.empty()) quorunittesting::ThrowTestFailure(mismatch.c_str(), {function, __FILE__, __LINE__});
    }
}

template <typename T, typename Library, typename Reference>
void CompareUnary(quorunittesting::TestContext& context, const char* function, const char* name, Library library,
                  Reference reference, T low, T high, unsigned int epsilonFactor) {
    RandomValues<T> random(low, high);
    for (unsigned int n : kLengths) {
        std::vector<T> a(n), expected(n), actual(n);
        random.Fill(a);
        Timed(context, Label<T>("CPP::", name), std::to_string(n), [&] { reference(n, a.data(), expected.data()); });
        Timed(context, Label<T>("QP::", name), std::to_string(n), [&] { library(n, a.data(), actual.data()); });
        const std::string mismatch =
            CompareArrays(Label<T>("QP::", name), expected.data(), actual.data(), n, a.data(), epsilonFactor);
        if (!mismatch.empty()) quorunittesting::ThrowTestFailure(mismatch.c_str(), {function, __FILE__, __LINE__});
    }
}

template <typename T>
void PlainAdd(unsigned int n, const T* a, const T* b, T* d) {
    for (unsigned int i = 0; i < n; ++i) d[i] = a[i] + b[i];
}

template <typename T>
void PlainAbs(unsigned int n, const T* a, T* d) {
    for (unsigned int i = 0; i < n; ++i) d[i] = std::fabs(a[i]);
}

}  // namespace

void TestBasicMath::Test_Add(quorunittesting::TestContext& context) {
    const char* const function = "quoraccelerate::test::TestBasicMath::Test_Add";
    auto addF = [](unsigned int n, const float* a, const float* b, float* d) { utility::Add(n, a, b, d); };
    auto addD = [](unsigned int n, const double* a, const double* b, double* d) { utility::Add(n, a, b, d); };
    CompareBinary<float>(context, function, "Add", addF, &PlainAdd<float>, -1e6f, 1e6f, 1);
    CompareBinary<double>(context, function, "Add", addD, &PlainAdd<double>, -1e12, 1e12, 1);
}

void TestBasicMath::Test_Abs(quorunittesting::TestContext& context) {
    const char* const function = "quoraccelerate::test::TestBasicMath::Test_Abs";
    auto absF = [](unsigned int n, const float* a, float* d) { utility::Abs(n, a, d); };
    auto absD = [](unsigned int n, const double* a, double* d) { utility::Abs(n, a, d); };
    CompareUnary<float>(context, function, "Abs", absF, &PlainAbs<float>, -3e38f, 3e38f, 0);
    CompareUnary<double>(context, function, "Abs", absD, &PlainAbs<double>, -1e300, 1e300, 0);
}

void TestBasicMath::Test_Abs_InPlace(quorunittesting::TestContext& context) {
    const char* const function = "quoraccelerate::test::TestBasicMath::Test_Abs_InPlace";
    auto absF = [](unsigned int n, const float* a, float* d) {
        utility::Copy(n, a, d);
        utility::Abs_InPlace(n, d);
    };
    CompareUnary<float>(context, function, "Abs_InPlace", absF, &PlainAbs<float>, -1e30f, 1e30f, 0);
}

QP_TEST_CASE(T_AddTest, TestBasicMath, "AddTest", Test_Add)
QP_TEST_CASE(T_AbsTest, TestBasicMath, "AbsTest", Test_Abs)
QP_TEST_CASE(T_Abs_InPlaceTest, TestBasicMath, "Abs_InPlaceTest", Test_Abs_InPlace)

quorunittesting::Test* BasicMathSuite() {
    auto* suite = new quorunittesting::TestSuite("BasicMath");
    suite->AddTest(new T_AddTest);
    suite->AddTest(new T_AbsTest);
    suite->AddTest(new T_Abs_InPlaceTest);
    return suite;
}

}  // namespace test
}  // namespace quoraccelerate
