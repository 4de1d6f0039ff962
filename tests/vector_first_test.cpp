// The first vector kernels on every runnable code path, and the exported functions through dispatch.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "paths.h"
#include "quoraccelerate/utility.h"

namespace {

using qptest::RunnablePaths;

// Lengths around every vector width (4, 8, 16 lanes) and unroll factor (x4), plus large odd sizes.
constexpr int kLengths[] = {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 127, 1000, 4099};
constexpr int kOffsets[] = {0, 1, 3};  // element offsets from a 64-byte boundary
constexpr int kGuard = 24;             // elements of sentinel after the destination

template <typename T>
T Sentinel() {
    return static_cast<T>(-12345.5);
}

// An aligned arena with a sentinel-filled tail, to catch writes past the end.
template <typename T>
struct Buffer {
    explicit Buffer(int n, int offset) : storage(static_cast<std::size_t>(n + offset + kGuard + 64)), n(n) {
        auto base = reinterpret_cast<std::uintptr_t>(storage.data());
        const std::uintptr_t aligned = (base + 63) & ~std::uintptr_t{63};
        data = reinterpret_cast<T*>(aligned) + offset;
        std::fill(data, data + n + kGuard, Sentinel<T>());
    }
    bool TailIntact() const {
        for (int i = n; i < n + kGuard; ++i) {
            if (std::memcmp(&data[i], &kSentinel, sizeof(T)) != 0) return false;
        }
        return true;
    }
    std::vector<T> storage;
    T* data;
    int n;
    static inline const T kSentinel = Sentinel<T>();
};

template <typename T>
void FillRandom(T* p, int n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<T> dist(-100, 100);
    for (int i = 0; i < n; ++i) p[i] = dist(gen);
    if (n > 2) {
        p[0] = static_cast<T>(-0.0);
        p[n - 1] = -std::numeric_limits<T>::infinity();
    }
}

template <typename T>
bool SameBits(T a, T b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <typename T>
using BinaryKernel = qp::Status (*)(const T*, const T*, T*, int);
template <typename T>
using UnaryKernel = qp::Status (*)(const T*, T*, int);

template <typename T>
void CheckBinary(BinaryKernel<T> kernel, T (*ref)(T, T)) {
    for (int n : kLengths) {
        for (int offset : kOffsets) {
            SCOPED_TRACE(testing::Message() << "n=" << n << " offset=" << offset);
            Buffer<T> a(n, offset), b(n, (offset + 1) % 4), d(n, offset);
            FillRandom(a.data, n, 1u + n);
            FillRandom(b.data, n, 2u + n);
            ASSERT_EQ(kernel(a.data, b.data, d.data, n), qp::qpStsNoErr);
            for (int i = 0; i < n; ++i) ASSERT_TRUE(SameBits(d.data[i], ref(a.data[i], b.data[i]))) << "i=" << i;
            EXPECT_TRUE(d.TailIntact());

            // Destination equal to either source.
            std::vector<T> a0(a.data, a.data + n);
            ASSERT_EQ(kernel(a.data, b.data, a.data, n), qp::qpStsNoErr);
            for (int i = 0; i < n; ++i) ASSERT_TRUE(SameBits(a.data[i], ref(a0[i], b.data[i]))) << "i=" << i;
            std::vector<T> b0(b.data, b.data + n);
            ASSERT_EQ(kernel(a0.data(), b.data, b.data, n), qp::qpStsNoErr);
            for (int i = 0; i < n; ++i) ASSERT_TRUE(SameBits(b.data[i], ref(a0[i], b0[i]))) << "i=" << i;
        }
    }
}

template <typename T>
void CheckUnary(UnaryKernel<T> kernel, T (*ref)(T)) {
    for (int n : kLengths) {
        for (int offset : kOffsets) {
            SCOPED_TRACE(testing::Message() << "n=" << n << " offset=" << offset);
            Buffer<T> s(n, (offset + 2) % 4), d(n, offset);
            FillRandom(s.data, n, 3u + n);
            if (n > 3) s.data[1] = std::numeric_limits<T>::quiet_NaN();
            ASSERT_EQ(kernel(s.data, d.data, n), qp::qpStsNoErr);
            for (int i = 0; i < n; ++i) ASSERT_TRUE(SameBits(d.data[i], ref(s.data[i]))) << "i=" << i;
            EXPECT_TRUE(d.TailIntact());

            std::vector<T> s0(s.data, s.data + n);
            ASSERT_EQ(kernel(s.data, s.data, n), qp::qpStsNoErr);
            for (int i = 0; i < n; ++i) ASSERT_TRUE(SameBits(s.data[i], ref(s0[i]))) << "i=" << i;
        }
    }
}

// Refusals write nothing: null pointers, then non-positive lengths.
template <typename T>
void CheckBinaryRefusals(BinaryKernel<T> kernel) {
    T a[4] = {1, 2, 3, 4}, b[4] = {5, 6, 7, 8}, d[4] = {9, 9, 9, 9};
    EXPECT_EQ(kernel(nullptr, b, d, 4), qp::qpStsNullPtrErr);
    EXPECT_EQ(kernel(a, nullptr, d, 4), qp::qpStsNullPtrErr);
    EXPECT_EQ(kernel(a, b, nullptr, 4), qp::qpStsNullPtrErr);
    EXPECT_EQ(kernel(a, b, d, 0), qp::qpStsSizeErr);
    EXPECT_EQ(kernel(a, b, d, -1), qp::qpStsSizeErr);
    EXPECT_EQ(kernel(a, b, d, std::numeric_limits<int>::min()), qp::qpStsSizeErr);
    for (T x : d) EXPECT_EQ(x, 9);
}

template <typename T>
void CheckUnaryRefusals(UnaryKernel<T> kernel) {
    T s[4] = {-1, 2, -3, 4}, d[4] = {9, 9, 9, 9};
    EXPECT_EQ(kernel(nullptr, d, 4), qp::qpStsNullPtrErr);
    EXPECT_EQ(kernel(s, nullptr, 4), qp::qpStsNullPtrErr);
    EXPECT_EQ(kernel(s, d, 0), qp::qpStsSizeErr);
    EXPECT_EQ(kernel(s, d, -7), qp::qpStsSizeErr);
    for (T x : d) EXPECT_EQ(x, 9);
}

template <typename T>
T RefAdd(T x, T y) {
    return x + y;
}
template <typename T>
T RefAbs(T x) {
    return std::fabs(x);
}
float RefCopy(float x) { return x; }

class PathKernels : public testing::TestWithParam<int> {};

TEST_P(PathKernels, AddMatchesScalarAtEveryLengthAndAlignment) {
    CheckBinary<float>(qptest::add_f32_paths[GetParam()], &RefAdd<float>);
    CheckBinary<double>(qptest::add_f64_paths[GetParam()], &RefAdd<double>);
    CheckBinaryRefusals<float>(qptest::add_f32_paths[GetParam()]);
    CheckBinaryRefusals<double>(qptest::add_f64_paths[GetParam()]);
}

TEST_P(PathKernels, AbsClearsOnlyTheSignBit) {
    CheckUnary<float>(qptest::abs_f32_paths[GetParam()], &RefAbs<float>);
    CheckUnary<double>(qptest::abs_f64_paths[GetParam()], &RefAbs<double>);
    CheckUnaryRefusals<float>(qptest::abs_f32_paths[GetParam()]);
    CheckUnaryRefusals<double>(qptest::abs_f64_paths[GetParam()]);
}

TEST_P(PathKernels, CopyIsExact) {
    CheckUnary<float>(qptest::copy_f32_paths[GetParam()], &RefCopy);
    CheckUnaryRefusals<float>(qptest::copy_f32_paths[GetParam()]);
}

// Large enough to take the streaming-store branch, starting off a vector boundary so that the
// alignment prologue runs too.
TEST_P(PathKernels, LargeArraysTakeTheStreamingPath) {
    const int n = (4 << 20) / 4 + 37;
    std::vector<float> a(static_cast<std::size_t>(n) + 1), b(a.size()), d(a.size() + 1, 7.0f);
    for (int i = 0; i < n; ++i) {
        a[i + 1] = static_cast<float>(i % 1021) * 0.5f;
        b[i + 1] = static_cast<float>(i % 17);
    }
    ASSERT_EQ(qptest::add_f32_paths[GetParam()](a.data() + 1, b.data() + 1, d.data() + 1, n), qp::qpStsNoErr);
    for (int i = 0; i < n; ++i) ASSERT_EQ(d[i + 1], a[i + 1] + b[i + 1]) << i;
    EXPECT_EQ(d[0], 7.0f);
    EXPECT_EQ(d[n + 1], 7.0f);
}

INSTANTIATE_TEST_SUITE_P(Runnable, PathKernels, testing::ValuesIn(RunnablePaths()),
                         [](const testing::TestParamInfo<int>& info) { return "path" + qptest::PathName(info.param); });

// --- exported functions, through the dispatch tables --------------------------------------------

namespace qu = quoraccelerate::utility;

TEST(Exports, ForwardOperandsAndLength) {
    float a[5] = {1, -2, 3, -4, 5}, b[5] = {10, 20, 30, 40, 50}, d[5] = {};
    qu::Add(5, a, b, d);
    EXPECT_EQ(std::vector<float>(d, d + 5), (std::vector<float>{11, 18, 33, 36, 55}));
    double ad[3] = {0.5, -1.5, 2}, bd[3] = {1, 1, 1}, dd[3] = {};
    qu::Add(3, ad, bd, dd);
    EXPECT_EQ(std::vector<double>(dd, dd + 3), (std::vector<double>{1.5, -0.5, 3}));

    qu::Abs(4, a, d);
    EXPECT_EQ(std::vector<float>(d, d + 5), (std::vector<float>{1, 2, 3, 4, 55}));
    qu::Abs_InPlace(2, ad);
    EXPECT_EQ(std::vector<double>(ad, ad + 3), (std::vector<double>{0.5, 1.5, 2}));
    qu::Abs(1, bd, dd);
    EXPECT_EQ(dd[0], 1.0);

    float c[5] = {};
    qu::Copy(3, a, c);
    EXPECT_EQ(std::vector<float>(c, c + 5), (std::vector<float>{1, -2, 3, 0, 0}));
}

TEST(Exports, AbsInPlaceEqualsAbsOntoItself) {
    std::vector<float> x(33), y;
    FillRandom(x.data(), 33, 9);
    y = x;
    qu::Abs_InPlace(33, x.data());
    qu::Abs(33, y.data(), y.data());
    EXPECT_EQ(std::memcmp(x.data(), y.data(), 33 * sizeof(float)), 0);
}

// A zero count, a count of 2^31 or more (negative to the primitive) and null pointers leave the
// destination untouched and do not fault.
TEST(Exports, RefusedCallsWriteNothing) {
    float a[2] = {1, 2}, d[2] = {7, 7};
    double ad[2] = {1, 2}, dd[2] = {7, 7};
    for (unsigned int len : {0u, 0x80000000u, 0xFFFFFFFFu}) {
        qu::Add(len, a, a, d);
        qu::Add(len, ad, ad, dd);
        qu::Abs(len, a, d);
        qu::Abs_InPlace(len, dd);
        qu::Copy(len, a, d);
    }
    qu::Add(2, nullptr, a, d);
    qu::Add(2, a, a, static_cast<float*>(nullptr));
    qu::Abs(2, static_cast<const double*>(nullptr), dd);
    qu::Copy(2, nullptr, d);
    qu::Add(0, static_cast<const float*>(nullptr), nullptr, nullptr);
    qu::Abs_InPlace(0, static_cast<float*>(nullptr));
    EXPECT_EQ(d[0], 7.0f);
    EXPECT_EQ(d[1], 7.0f);
    EXPECT_EQ(dd[0], 7.0);
    EXPECT_EQ(dd[1], 7.0);
}

// The first call through a table whose index is still -1 initialises the library and then runs
// the kernel of the chosen path.
TEST(Dispatch, FirstCallInitialisesTheLibrary) {
    qp::ResetRuntime(nullptr);
    ASSERT_EQ(qp::g_codePath, -1);
    float a[3] = {1, 2, 3}, d[3] = {};
    EXPECT_EQ(qp::add_f32(a, a, d, 3), qp::qpStsNoErr);
    EXPECT_EQ(std::vector<float>(d, d + 3), (std::vector<float>{2, 4, 6}));
    EXPECT_GE(qp::g_codePath, 0);
    std::int32_t expected = -1;
    std::uint64_t mask = 0;
    qp::GetCpuFeatures(&mask, nullptr);
    qp::SetCpuFeatures(mask, &expected);
    EXPECT_EQ(qp::g_codePath, expected);
}

// Under emulation the test driver names the path the emulated processor must select.
TEST(Dispatch, SelectsTheExpectedPath) {
    const char* expected = std::getenv("QP_EXPECTED_PATH");
    if (expected == nullptr) GTEST_SKIP() << "QP_EXPECTED_PATH not set";
    qp::ResetRuntime(nullptr);
    qp::InitLibrary();
    EXPECT_EQ(qp::g_codePath, std::atoi(expected));
}

}  // namespace
