// Copy, move, set, zero, byte order, comparison and conversions: every kernel on every runnable code
// path against plain references, and the exports through dispatch.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "vector_support.h"
#include "quoraccelerate/utility.h"

namespace {


// Lengths around every vector width (16, 32, 64 bytes), its unroll and the short-copy size classes.
const std::vector<int>& Lengths() {
    static const std::vector<int> all = {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 127, 128, 129, 255, 1000, 4099};
    static const std::vector<int> emulated = {1, 3, 7, 8, 15, 16, 17, 33, 65, 129, 1000};
    return qptest::Emulated() ? emulated : all;
}
using qptest::kOffsets;
constexpr unsigned char kFill = qptest::Buffer<char>::kFill;
using qptest::FillBits;
template <typename T>
using Arena = qptest::Buffer<T>;

class DataPaths : public testing::TestWithParam<int> {
protected:
    int path() const { return GetParam(); }
};

template <typename T>
T Reversed(T x) {
    T r = 0;
    for (unsigned i = 0; i < sizeof(T); ++i) r = static_cast<T>((r << 8) | ((x >> (8 * i)) & 0xFF));
    return r;
}

// --- copy, move, set, zero ----------------------------------------------------------------------

template <typename T>
using CopyKernel = qp::Status (*)(const T*, T*, int);

// Copy is exact and onto itself leaves the data as it was; byte swapping reverses each element and,
// in place, swaps back to the source.
template <typename T>
void CheckCopy(CopyKernel<T> kernel, bool swap) {
    qptest::ForLayouts(Lengths(), [&](int n, int offset) {
        Arena<T> s(n, (offset + 2) % 4), d(n, offset);
        FillBits(s.data, n, 7u + n);
        ASSERT_EQ(kernel(s.data, d.data, n), qp::qpStsNoErr);
        for (int i = 0; i < n; ++i) {
            if constexpr (std::is_integral_v<T>) {
                ASSERT_EQ(d.data[i], swap ? Reversed(s.data[i]) : s.data[i]) << i;
            } else {
                ASSERT_TRUE(qptest::SameBits(d.data[i], s.data[i])) << i;
            }
        }
        EXPECT_TRUE(d.GuardsIntact());
        const std::vector<T> before(d.data, d.data + n);
        ASSERT_EQ(kernel(d.data, d.data, n), qp::qpStsNoErr);
        EXPECT_EQ(std::memcmp(d.data, swap ? s.data : before.data(), d.bytes), 0);
    });
}

// Ranges shifted against each other by a few elements in both directions, against memmove.
template <typename T>
void CheckMove(CopyKernel<T> kernel) {
    for (int n : Lengths()) {
        for (int shift : {1, -1, 3, -3, n / 2 + 1, -(n / 2 + 1), n - 1, -(n - 1)}) {
            SCOPED_TRACE(testing::Message() << "n=" << n << " shift=" << shift);
            const int span = n + (shift < 0 ? -shift : shift);
            Arena<T> a(span, 1);
            FillBits(a.data, span, 11u + n);
            std::vector<T> expected(a.data, a.data + span);
            T* src = a.data + (shift < 0 ? -shift : 0);
            T* dst = a.data + (shift < 0 ? 0 : shift);
            std::memmove(expected.data() + (dst - a.data), expected.data() + (src - a.data), n * sizeof(T));
            ASSERT_EQ(kernel(src, dst, n), qp::qpStsNoErr);
            EXPECT_EQ(std::memcmp(a.data, expected.data(), span * sizeof(T)), 0);
            EXPECT_TRUE(a.GuardsIntact());
        }
    }
}

// Set writes value's bits to every element; zero is checked as setting T{}.
template <typename T>
void CheckSet(std::function<qp::Status(T, T*, int)> kernel, T value) {
    qptest::ForLayouts(Lengths(), [&](int n, int offset) {
        Arena<T> d(n, offset);
        ASSERT_EQ(kernel(value, d.data, n), qp::qpStsNoErr);
        for (int i = 0; i < n; ++i) ASSERT_TRUE(qptest::SameBits(d.data[i], value)) << i;
        EXPECT_TRUE(d.GuardsIntact());
    });
}
template <typename T>
void CheckZero(qp::Status (*kernel)(T*, int)) {
    CheckSet<T>([kernel](T, T* d, int n) { return kernel(d, n); }, T{});
}

TEST_P(DataPaths, CopyIsExactAtEveryLengthAndAlignment) {
    CheckCopy<unsigned char>(qptest::copy_8u_paths[path()], false);
    CheckCopy<short>(qptest::copy_16s_paths[path()], false);
    CheckCopy<int>(qptest::copy_32s_paths[path()], false);
    CheckCopy<float>(qptest::copy_f32_paths[path()], false);
    CheckCopy<double>(qptest::copy_f64_paths[path()], false);
}

TEST_P(DataPaths, MoveMatchesMemmoveOnOverlaps) {
    CheckMove<unsigned char>(qptest::move_8u_paths[path()]);
    CheckMove<short>(qptest::move_16s_paths[path()]);
    CheckMove<float>(qptest::move_f32_paths[path()]);
    CheckMove<double>(qptest::move_f64_paths[path()]);
}

TEST_P(DataPaths, SetAndZeroFillEveryElement) {
    CheckSet<unsigned char>(qptest::set_8u_paths[path()], 0x3C);
    CheckSet<short>(qptest::set_16s_paths[path()], static_cast<short>(0x8E12));
    CheckSet<int>(qptest::set_32s_paths[path()], static_cast<int>(0xC0DE1234u));
    CheckSet<float>(qptest::set_f32_paths[path()], -1.25e-3f);
    CheckSet<double>(qptest::set_f64_paths[path()], 6.02214076e23);
    CheckZero<unsigned char>(qptest::zero_8u_paths[path()]);
    CheckZero<short>(qptest::zero_16s_paths[path()]);
    CheckZero<float>(qptest::zero_f32_paths[path()]);
    CheckZero<double>(qptest::zero_f64_paths[path()]);
}

// --- byte order and comparison ------------------------------------------------------------------

TEST_P(DataPaths, SwapBytesReversesEveryElement) {
    CheckCopy<unsigned short>(qptest::swap_bytes_16u_paths[path()], true);
    CheckCopy<unsigned int>(qptest::swap_bytes_32u_paths[path()], true);
    CheckCopy<unsigned long long>(qptest::swap_bytes_64u_paths[path()], true);
}

TEST_P(DataPaths, CompareFindsAnyDifferingByte) {
    auto* kernel = qptest::compare_8u_paths[path()];
    for (int n : Lengths()) {
        std::vector<unsigned char> a(n + 1), b;
        FillBits(a.data(), n + 1, 3u + n);
        b = a;
        int result = -1;
        ASSERT_EQ(kernel(a.data() + 1, b.data() + 1, n, &result), qp::qpStsNoErr);
        EXPECT_EQ(result, 1) << n;
        // One differing byte anywhere, including the first and last of the range.
        for (int at : {0, n / 3, n / 2, n - 2, n - 1}) {
            if (at < 0) continue;
            b = a;
            b[at + 1] ^= 0x40;
            result = -1;
            ASSERT_EQ(kernel(a.data() + 1, b.data() + 1, n, &result), qp::qpStsNoErr);
            EXPECT_EQ(result, 0) << "n=" << n << " at=" << at;
        }
        // A difference just outside the range does not count.
        b = a;
        b[0] ^= 1;
        ASSERT_EQ(kernel(a.data() + 1, b.data() + 1, n, &result), qp::qpStsNoErr);
        EXPECT_EQ(result, 1);
    }
}

// Refusals: every kernel's status, and not one byte written.
TEST_P(DataPaths, RefusalsWriteNothing) {
    const int p = path();
    unsigned char b[8] = {1, 2, 3, 4, 5, 6, 7, 8}, db[8];
    std::memset(db, kFill, sizeof db);
    const qptest::Snapshot before(db);
    auto* d16 = reinterpret_cast<short*>(db);
    auto* d32 = reinterpret_cast<int*>(db);
    auto* dF = reinterpret_cast<float*>(db);
    auto* dD = reinterpret_cast<double*>(db);
    const float f[2] = {1.5f, 2.5f};
    const double g[2] = {1.5, 2.5};
    const short s16[2] = {1, 2};
    const int s32[2] = {1, 2};
    const auto* hs = reinterpret_cast<const unsigned short*>(b);
    const auto* qs = reinterpret_cast<const unsigned long long*>(b);
    auto* h = reinterpret_cast<unsigned short*>(db);
    auto* q = reinterpret_cast<unsigned long long*>(db);
    // call(z, n) passes its pointer number z (0 = first) as nullptr; each row says how many it has.
    const auto at = [](auto* ptr, int z, int k) { return z == k ? nullptr : ptr; };
    const std::vector<std::pair<int, std::function<qp::Status(int, int)>>> calls = {
        {2, [&](int z, int n) { return qptest::copy_8u_paths[p](at(b, z, 0), at(db, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::copy_16s_paths[p](at(s16, z, 0), at(d16, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::copy_f64_paths[p](at(g, z, 0), at(dD, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::move_8u_paths[p](at(b, z, 0), at(db, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::move_f64_paths[p](at(g, z, 0), at(dD, z, 1), n); }},
        {1, [&](int z, int n) { return qptest::set_32s_paths[p](5, at(d32, z, 0), n); }},
        {1, [&](int z, int n) { return qptest::set_f64_paths[p](1.0, at(dD, z, 0), n); }},
        {1, [&](int z, int n) { return qptest::zero_f32_paths[p](at(dF, z, 0), n); }},
        {1, [&](int z, int n) { return qptest::zero_16s_paths[p](at(d16, z, 0), n); }},
        {2, [&](int z, int n) { return qptest::swap_bytes_16u_paths[p](at(hs, z, 0), at(h, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::swap_bytes_64u_paths[p](at(qs, z, 0), at(q, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::convert_8u_f32_paths[p](at(b, z, 0), at(dF, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::convert_16s_f32_sfs_paths[p](at(s16, z, 0), 0, at(dF, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::convert_16s_f64_sfs_paths[p](at(s16, z, 0), 0, at(dD, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::convert_32s_f32_sfs_paths[p](at(s32, z, 0), 200, at(dF, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::convert_32s_f64_sfs_paths[p](at(s32, z, 0), 0, at(dD, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::convert_f32_f64_paths[p](at(f, z, 0), at(dD, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::convert_f64_f32_paths[p](at(g, z, 0), at(dF, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::convert_f32_8u_sfs_paths[p](at(f, z, 0), at(db, z, 1), n, 0, 0); }},
        {2, [&](int z, int n) { return qptest::convert_f32_16s_sfs_paths[p](at(f, z, 0), at(d16, z, 1), n, 1, 0); }},
        {2, [&](int z, int n) { return qptest::convert_f32_32s_sfs_paths[p](at(f, z, 0), at(d32, z, 1), n, 1, 0); }},
        {2, [&](int z, int n) { return qptest::convert_f64_32s_sfs_paths[p](at(g, z, 0), at(d32, z, 1), n, 0, 0); }},
    };
    for (std::size_t k = 0; k < calls.size(); ++k) {
        for (int z = 0; z < calls[k].first; ++z) EXPECT_EQ(calls[k].second(z, 1), qp::qpStsNullPtrErr) << k << " " << z;
        for (int len : qptest::kBadLengths) EXPECT_EQ(calls[k].second(-1, len), qp::qpStsSizeErr) << k << " " << len;
    }
    // Only modes 0 and 1 exist.
    for (int mode : {-1, 2, 3}) {
        EXPECT_EQ(qptest::convert_f32_8u_sfs_paths[p](f, db, 2, mode, 0), qp::qpStsRoundModeNotSupportedErr);
        EXPECT_EQ(qptest::convert_f32_16s_sfs_paths[p](f, d16, 2, mode, 0), qp::qpStsRoundModeNotSupportedErr);
        EXPECT_EQ(qptest::convert_f32_32s_sfs_paths[p](f, d32, 2, mode, 0), qp::qpStsRoundModeNotSupportedErr);
        EXPECT_EQ(qptest::convert_f64_32s_sfs_paths[p](g, d32, 1, mode, 0), qp::qpStsRoundModeNotSupportedErr);
    }
    EXPECT_TRUE(before.Unchanged());
    // The comparison: a negative length is a length error; the result word is left alone.
    int result = 7;
    EXPECT_EQ(qptest::compare_8u_paths[p](b, b, -1, &result), qp::qpStsLengthErr);
    EXPECT_EQ(qptest::compare_8u_paths[p](nullptr, b, 1, &result), qp::qpStsNullPtrErr);
    EXPECT_EQ(qptest::compare_8u_paths[p](b, nullptr, 1, &result), qp::qpStsNullPtrErr);
    EXPECT_EQ(result, 7);
    EXPECT_EQ(qptest::compare_8u_paths[p](b, b, 1, nullptr), qp::qpStsNullPtrErr);
    EXPECT_EQ(qptest::compare_8u_paths[p](b, db, 0, &result), qp::qpStsNoErr);
    EXPECT_EQ(result, 1);  // empty ranges are equal
}

// --- conversions --------------------------------------------------------------------------------

// Exact x * 2^-sf in long double (64-bit significand, wide exponent), or 0 / infinity beyond.
long double Scaled(long double x, int sf) {
    if (sf > 20000) sf = 20000;
    if (sf < -20000) sf = -20000;
    return std::ldexp(x, -sf);
}

template <typename D>
D RefToInt(long double x, int sf, bool nearest) {
    if (std::isnan(x)) return 0;
    long double v = Scaled(x, sf);
    v = nearest ? std::nearbyint(v) : std::trunc(v);  // the default rounding: ties to even
    const long double lo = std::numeric_limits<D>::min(), hi = std::numeric_limits<D>::max();
    return static_cast<D>(v < lo ? lo : (v > hi ? hi : v));
}

// Scale factors: 0, small ones, and the ones at the edges of the float and double exponent ranges.
constexpr int kScaleFactors[] = {0,   1,    2,    -1,   -8,   8,    15,   24,    126,   127,  128,   140,
                                 149, 150,  200,  252,  253,  300,  -126, -127,  -128,  -149, -200,  -253,
                                 -300, 1022, 1074, 1100, 2044, 2100, -1022, -1080, -2045, -2100,
                                 std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};

const std::vector<float>& FloatSpecials() {
    static const std::vector<float> v = {
        0.0f, -0.0f, 0.5f, -0.5f, 1.5f, -1.5f, 2.5f, -2.5f, 3.5f, 0.49999997f, 0.50000006f, 1.4f, 1.6f, -2.0f,
        300.0f, 254.5f, 255.5f, 255.49f, -0.6f, 32767.5f, 32766.5f, -32768.5f, -32769.0f, 2147483648.0f,
        -2147483648.0f, 2147483520.0f, -2147483904.0f, 4294967296.0f, 1e-45f, -1e-45f, 1.2e-38f,
        std::numeric_limits<float>::max(), -std::numeric_limits<float>::max(),
        std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
        std::numeric_limits<float>::quiet_NaN(), -std::numeric_limits<float>::quiet_NaN(), 8388609.0f, 16777215.0f};
    return v;
}

// Specials cycled through the array, random values of every magnitude between them.
template <typename T>
void FillConvertSource(T* p, int n, unsigned seed, const std::vector<T>& specials) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> mant(-1.0, 1.0);
    std::uniform_int_distribution<int> expo(-40, 40);
    for (int i = 0; i < n; ++i) {
        p[i] = (i % 3 == 0) ? specials[(i / 3) % specials.size()] : static_cast<T>(std::ldexp(mant(gen), expo(gen)));
    }
}

template <typename S, typename D>
using ToIntKernel = qp::Status (*)(const S*, D*, int, int, int);

template <typename S, typename D>
void CheckToInt(ToIntKernel<S, D> kernel, const std::vector<S>& specials) {
    // Every length and alignment at a few scale factors, then every scale factor at one length.
    struct Case {
        int n, offset, sf;
    };
    std::vector<Case> cases;
    for (int n : Lengths()) {
        for (int offset : kOffsets) {
            for (int sf : {0, 3, -2}) cases.push_back({n, offset, sf});
        }
    }
    for (int sf : kScaleFactors) cases.push_back({61, 1, sf});
    for (const Case& c : cases) {
        Arena<S> s(c.n, (c.offset + 1) % 4);
        FillConvertSource(s.data, c.n, 17u + c.n, specials);
        for (int mode : {0, 1}) {
            SCOPED_TRACE(testing::Message() << "n=" << c.n << " offset=" << c.offset << " sf=" << c.sf << " mode=" << mode);
            Arena<D> d(c.n, c.offset);
            ASSERT_EQ(kernel(s.data, d.data, c.n, mode, c.sf), qp::qpStsNoErr);
            for (int i = 0; i < c.n; ++i) {
                ASSERT_EQ(d.data[i], RefToInt<D>(s.data[i], c.sf, mode == 1)) << "i=" << i << " x=" << s.data[i];
            }
            EXPECT_TRUE(d.GuardsIntact());
        }
    }
}

TEST_P(DataPaths, FloatToIntegerTruncatesOrRoundsAndSaturates) {
    CheckToInt<float, unsigned char>(qptest::convert_f32_8u_sfs_paths[path()], FloatSpecials());
    CheckToInt<float, short>(qptest::convert_f32_16s_sfs_paths[path()], FloatSpecials());
    CheckToInt<float, int>(qptest::convert_f32_32s_sfs_paths[path()], FloatSpecials());
    std::vector<double> specials(FloatSpecials().begin(), FloatSpecials().end());
    for (double x : {2147483647.0, 2147483647.5, 2147483646.5, -2147483648.5, -2147483649.0, 1e300, -1e300, 4.9e-324,
                     std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min() * 3}) {
        specials.push_back(x);
    }
    CheckToInt<double, int>(qptest::convert_f64_32s_sfs_paths[path()], specials);
}

// Integer to floating point: the exact scaled value rounded once to the target.
template <typename S, typename D>
void CheckFromInt(qp::Status (*kernel)(const S*, int, D*, int)) {
    std::vector<S> specials = {0, 1, -1, 2, 3, 5, std::numeric_limits<S>::max(), std::numeric_limits<S>::min(),
                               static_cast<S>(std::numeric_limits<S>::max() - 1)};
    if (sizeof(S) == 4) {
        for (long long x : {16777217LL, 16777219LL, -16777217LL, 33554435LL, 0x7FFFFFC0LL, 0x40000041LL, 0x1000003LL}) {
            specials.push_back(static_cast<S>(x));
        }
    }
    std::mt19937 gen(99);
    for (int n : Lengths()) {
        for (int offset : kOffsets) {
            std::vector<int> sfs = {0, 5, -4};
            if (n == 61 || (n == 65 && offset == 1)) sfs.assign(std::begin(kScaleFactors), std::end(kScaleFactors));
            Arena<S> s(n, (offset + 3) % 4);
            for (int i = 0; i < n; ++i) {
                s.data[i] = (i % 2 == 0) ? specials[(i / 2) % specials.size()] : static_cast<S>(gen() >> (sizeof(S) == 2 ? 16 : 0));
            }
            for (int sf : sfs) {
                SCOPED_TRACE(testing::Message() << "n=" << n << " offset=" << offset << " sf=" << sf);
                Arena<D> d(n, offset);
                ASSERT_EQ(kernel(s.data, sf, d.data, n), qp::qpStsNoErr);
                for (int i = 0; i < n; ++i) {
                    const D expected = static_cast<D>(Scaled(s.data[i], sf));
                    ASSERT_EQ(std::memcmp(&d.data[i], &expected, sizeof(D)), 0)
                        << "i=" << i << " x=" << s.data[i] << " got " << d.data[i] << " expected " << expected;
                }
                EXPECT_TRUE(d.GuardsIntact());
            }
        }
    }
}

TEST_P(DataPaths, IntegerToFloatScalesExactlyAndRoundsOnce) {
    CheckFromInt<short, float>(qptest::convert_16s_f32_sfs_paths[path()]);
    CheckFromInt<short, double>(qptest::convert_16s_f64_sfs_paths[path()]);
    CheckFromInt<int, float>(qptest::convert_32s_f32_sfs_paths[path()]);
    CheckFromInt<int, double>(qptest::convert_32s_f64_sfs_paths[path()]);
}

template <typename S, typename D>
void CheckPlainConversion(qp::Status (*kernel)(const S*, D*, int), bool finiteRandom) {
    for (int n : Lengths()) {
        for (int offset : kOffsets) {
            SCOPED_TRACE(testing::Message() << "n=" << n << " offset=" << offset);
            Arena<S> s(n, (offset + 1) % 4);
            if (finiteRandom) {
                std::vector<S> specials;
                for (float x : FloatSpecials()) specials.push_back(static_cast<S>(x));
                specials.push_back(static_cast<S>(1e300));  // overflows float when S is double
                specials.push_back(static_cast<S>(1.0000000596046448));  // a float tie, to even
                specials.push_back(static_cast<S>(1e-40));                  // float subnormal
                FillConvertSource(s.data, n, 23u + n, specials);
            } else {
                FillBits(s.data, n, 29u + n);
            }
            Arena<D> d(n, offset);
            ASSERT_EQ(kernel(s.data, d.data, n), qp::qpStsNoErr);
            for (int i = 0; i < n; ++i) {
                const D expected = static_cast<D>(s.data[i]);
                if (std::isnan(static_cast<double>(expected))) {
                    ASSERT_TRUE(std::isnan(static_cast<double>(d.data[i]))) << i;
                } else {
                    ASSERT_EQ(std::memcmp(&d.data[i], &expected, sizeof(D)), 0) << "i=" << i << " x=" << s.data[i];
                }
            }
            EXPECT_TRUE(d.GuardsIntact());
        }
    }
}

TEST_P(DataPaths, ConversionsBetweenFloatingTypesAndFromBytes) {
    CheckPlainConversion<unsigned char, float>(qptest::convert_8u_f32_paths[path()], false);
    CheckPlainConversion<float, double>(qptest::convert_f32_f64_paths[path()], true);
    CheckPlainConversion<double, float>(qptest::convert_f64_f32_paths[path()], true);
}

// Same-size conversions may write over their source.
TEST_P(DataPaths, FloatToIntInPlace) {
    std::vector<float> buffer(37);
    for (int i = 0; i < 37; ++i) buffer[i] = static_cast<float>(i) * 1.5f - 20.0f;
    const std::vector<float> source = buffer;
    auto* out = reinterpret_cast<int*>(buffer.data());
    ASSERT_EQ(qptest::convert_f32_32s_sfs_paths[path()](buffer.data(), out, 37, 1, -1), qp::qpStsNoErr);
    for (int i = 0; i < 37; ++i) {
        int value;
        std::memcpy(&value, &buffer[i], sizeof value);
        EXPECT_EQ(value, RefToInt<int>(source[i], -1, true)) << i;
    }
}

// The rounding conversions' MXCSR handling (see the header): switch to nearest with the invalid
// exception masked when needed, and write the caller's word back only when the invalid flag or mask
// changed.
TEST_P(DataPaths, RoundingConversionControlWord) {
    const unsigned original = _mm_getcsr();
    constexpr unsigned kDefault = 0x1F80, kDown = 0x2000, kUp = 0x4000, kInvalidMask = 0x80, kInvalidFlag = 0x1;
    constexpr unsigned kOtherFlags = 0x3E;  // denormal, divide, overflow, underflow, precision
    const float values[4] = {2.5f, -2.5f, 0.7f, 3.5f};
    const int nearest[4] = {2, -2, 1, 4};
    float snan;
    const std::uint32_t snanBits = 0x7F800001u;
    std::memcpy(&snan, &snanBits, sizeof snan);
    const float withSnan[2] = {snan, 1.5f};
    auto* f32 = qptest::convert_f32_32s_sfs_paths[path()];
    auto* f64 = qptest::convert_f64_32s_sfs_paths[path()];
    const double dvalues[4] = {2.5, -2.5, 0.7, 3.5};
    struct Case {
        unsigned before;
        bool snanInput;
        unsigned after;
    };
    const Case cases[] = {
        {kDefault, false, kDefault},                                        // nothing to change
        {kDefault | kDown, false, kDefault},                                // left at nearest
        {kDefault | kUp, false, kDefault},                                  // left at nearest
        {(kDefault | kDown) & ~kInvalidMask, false, (kDefault | kDown) & ~kInvalidMask},  // mask differed: restored
        {kDefault | kDown, true, kDefault | kDown},                         // invalid raised: restored
        {kDefault | kInvalidFlag | kDown, true, kDefault | kInvalidFlag},   // flag already set: not restored
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << "mxcsr=" << c.before);
        int out[4] = {};
        _mm_setcsr(c.before);
        const qp::Status st = c.snanInput ? f32(withSnan, out, 2, 1, 0) : f32(values, out, 4, 1, 0);
        const unsigned after = _mm_getcsr();
        _mm_setcsr(original);
        ASSERT_EQ(st, qp::qpStsNoErr);
        if (c.snanInput && qptest::Emulated()) continue;  // the emulators differ on signalling-NaN flags
        EXPECT_EQ(after & ~kOtherFlags, c.after);
        if (c.snanInput) {
            EXPECT_EQ(out[0], 0);
            EXPECT_EQ(out[1], 2);
        } else {
            for (int i = 0; i < 4; ++i) EXPECT_EQ(out[i], nearest[i]) << i;
        }
        // The double source follows the same rule.
        if (!c.snanInput) {
            _mm_setcsr(c.before);
            ASSERT_EQ(f64(dvalues, out, 4, 1, 0), qp::qpStsNoErr);
            const unsigned afterD = _mm_getcsr();
            _mm_setcsr(original);
            EXPECT_EQ(afterD & ~kOtherFlags, c.after);
            for (int i = 0; i < 4; ++i) EXPECT_EQ(out[i], nearest[i]) << i;
        }
    }
    // Mode 0 truncates whatever the rounding mode and leaves the control word alone.
    int out[4] = {};
    _mm_setcsr(kDefault | kUp);
    ASSERT_EQ(f32(values, out, 4, 0, 0), qp::qpStsNoErr);
    const unsigned after = _mm_getcsr();
    _mm_setcsr(original);
    EXPECT_EQ(after & ~kOtherFlags, kDefault | kUp);
    EXPECT_EQ(std::vector<int>(out, out + 4), (std::vector<int>{2, -2, 0, 3}));
}

// Destinations of 4 MiB and more take the streaming stores after an alignment prologue.
TEST_P(DataPaths, LargeRangesStream) {
    const int n = (4 << 20) / 4 + 21;
    std::vector<float> s(n + 2);
    for (int i = 0; i < n + 2; ++i) s[i] = static_cast<float>(i % 1000) * 0.75f - 300.0f;
    std::vector<int> d(n + 2, -7);
    ASSERT_EQ(qptest::convert_f32_32s_sfs_paths[path()](s.data() + 1, d.data() + 1, n, 1, 1), qp::qpStsNoErr);
    // The sources repeat with period 1000 and are in range: halving is exact, nearbyint ties to even.
    int expected[1000];
    for (int i = 0; i < 1000; ++i) expected[i] = static_cast<int>(std::nearbyint(s[i] * 0.5));
    for (int i = 0; i < n; ++i) ASSERT_EQ(d[i + 1], expected[(i + 1) % 1000]) << i;
    EXPECT_EQ(d[0], -7);
    EXPECT_EQ(d[n + 1], -7);
    std::vector<float> c(n + 2, 9.0f);
    ASSERT_EQ(qptest::copy_f32_paths[path()](s.data() + 1, c.data() + 1, n), qp::qpStsNoErr);
    EXPECT_EQ(std::memcmp(c.data() + 1, s.data() + 1, n * sizeof(float)), 0);
    EXPECT_EQ(c[0], 9.0f);
    EXPECT_EQ(c[n + 1], 9.0f);
    ASSERT_EQ(qptest::set_32s_paths[path()](0x01020304, d.data() + 1, n), qp::qpStsNoErr);
    for (int i = 0; i < n; ++i) ASSERT_EQ(d[i + 1], 0x01020304) << i;
    EXPECT_EQ(d[0], -7);
    EXPECT_EQ(d[n + 1], -7);
    // In place, in blocks below the streaming threshold.
    std::vector<unsigned int> u(n + 2);
    for (int i = 0; i < n + 2; ++i) u[i] = 0x01020304u * static_cast<unsigned int>(i);
    ASSERT_EQ(qptest::swap_bytes_32u_paths[path()](u.data() + 1, u.data() + 1, n), qp::qpStsNoErr);
    for (int i = 0; i < n; ++i) ASSERT_EQ(u[i + 1], __builtin_bswap32(0x01020304u * static_cast<unsigned int>(i + 1))) << i;
    EXPECT_EQ(u[0], 0u);
    EXPECT_EQ(u[n + 1], 0x01020304u * static_cast<unsigned int>(n + 1));
    std::vector<double> w(n + 2, 4.0);
    ASSERT_EQ(qptest::convert_f32_f64_paths[path()](s.data() + 1, w.data() + 1, n), qp::qpStsNoErr);
    for (int i = 0; i < n; ++i) ASSERT_EQ(w[i + 1], static_cast<double>(s[i + 1])) << i;
    EXPECT_EQ(w[0], 4.0);
    EXPECT_EQ(w[n + 1], 4.0);
}

QP_INSTANTIATE_PATHS(DataPaths);

// --- the exports, through dispatch --------------------------------------------------------------

namespace qu = quoraccelerate::utility;

// Converts src through one export into a destination one longer, preset to 9; the outputs as double.
template <typename D, typename S, typename F>
std::vector<double> Converted(std::initializer_list<S> src, F convert) {
    std::vector<D> d(src.size() + 1, D(9));
    convert(static_cast<unsigned int>(src.size()), std::data(src), d.data());
    return std::vector<double>(d.begin(), d.end());
}

TEST(DataExports, ConversionExamples) {
    constexpr float fNaN = std::numeric_limits<float>::quiet_NaN(), fInf = std::numeric_limits<float>::infinity();
    constexpr double dNaN = std::numeric_limits<double>::quiet_NaN(), dInf = std::numeric_limits<double>::infinity();
    constexpr double iMax = std::numeric_limits<int>::max(), iMin = std::numeric_limits<int>::min();
    struct Row {
        const char* what;
        std::vector<double> got, want;
    };
    const Row rows[] = {
        {"f32->8u truncate", Converted<unsigned char>({1.4f, 1.6f, -2.0f, 300.0f}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 0, false); }), {1, 1, 0, 255, 9}},
        {"f32->8u round", Converted<unsigned char>({1.4f, 1.6f, -2.0f, 300.0f}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 0, true); }), {1, 2, 0, 255, 9}},
        {"f32->16s scaled round", Converted<short>({3.0f}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 2, true); }), {1, 9}},
        {"f32->16s scaled truncate", Converted<short>({3.0f}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 2, false); }), {0, 9}},
        {"f32->16s saturate", Converted<short>({40000.0f, -40000.0f, fNaN, -fInf}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 0, true); }), {32767, -32768, 0, -32768, 9}},
        {"f32->32s ties to even", Converted<int>({2.5f, 3.5f, -2.5f, 0.5f, -0.5f}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 0, true); }), {2, 4, -2, 0, 0, 9}},
        {"f32->32s saturate", Converted<int>({40000.0f, -40000.0f, fNaN}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, -20, false); }), {iMax, iMin, 0, 9}},
        {"f64->32s saturate", Converted<int>({3e9, -3e9, dNaN, dInf}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 0, false); }), {iMax, iMin, 0, iMax, 9}},
        {"16s->f32 scaled", Converted<float>({short{256}}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 8); }), {1, 9}},
        {"16s->f64 scaled", Converted<double>({short{256}}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 8); }), {1, 9}},
        {"32s->f64 scaled up", Converted<double>({3, -1024}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, -2); }), {12, -4096, 9}},
        {"32s->f32 scaled down", Converted<float>({3, -1024}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 1); }), {1.5, -512, 9}},
        {"8u->f32", Converted<float>({(unsigned char)0, (unsigned char)128, (unsigned char)255}, [](auto n, auto s, auto d) { qu::Convert(n, s, d); }), {0, 128, 255, 9}},
        {"f32->f64", Converted<double>({0.1f, -1e30f}, [](auto n, auto s, auto d) { qu::Convert(n, s, d); }), {double(0.1f), double(-1e30f), 9}},
        {"f64->f32", Converted<float>({double(0.1f), 1e300}, [](auto n, auto s, auto d) { qu::Convert(n, s, d); }), {double(0.1f), dInf, 9}},
    };
    for (const Row& r : rows) EXPECT_EQ(r.got, r.want) << r.what;
}

TEST(DataExports, SwapBytesInPlaceAndOutOfPlace) {
    unsigned short h[2] = {0x1234, 0xABCD}, h2[2] = {};
    unsigned int w[1] = {0x11223344u}, w2[1] = {};
    unsigned long long q[1] = {0x1122334455667788ull}, q2[1] = {};
    qu::SwapBytes(2, h, h2);
    qu::SwapBytes(1, w, w2);
    qu::SwapBytes(1, q, q2);
    EXPECT_TRUE(h2[0] == 0x3412 && h2[1] == 0xCDAB && w2[0] == 0x44332211u && q2[0] == 0x8877665544332211ull);
    qu::SwapBytes(2, h);
    qu::SwapBytes(1, w);
    qu::SwapBytes(1, q);
    EXPECT_TRUE(h[0] == 0x3412 && h[1] == 0xCDAB && w[0] == 0x44332211u && q[0] == 0x8877665544332211ull);
}

template <typename T>
void MoveByOne() {
    T a[6] = {1, 2, 3, 4, 5, 6};
    qu::Move(5, a, a + 1);  // upward: {1, 1, 2, 3, 4, 5}
    EXPECT_EQ(std::vector<T>(a, a + 6), (std::vector<T>{1, 1, 2, 3, 4, 5}));
    qu::Move(5, a + 1, a);  // downward: {1, 2, 3, 4, 5, 5}
    EXPECT_EQ(std::vector<T>(a, a + 6), (std::vector<T>{1, 2, 3, 4, 5, 5}));
}

TEST(DataExports, MoveOverlappingByOneElement) {
    MoveByOne<unsigned char>();
    MoveByOne<short>();
    MoveByOne<float>();
    MoveByOne<double>();
    // The unsigned int overload does nothing.
    unsigned int s[3] = {1, 2, 3}, d[3] = {7, 7, 7};
    qu::Move(3, s, d);
    EXPECT_EQ(std::vector<unsigned int>(d, d + 3), (std::vector<unsigned int>{7, 7, 7}));
}

template <typename T>
void CopyAndSet(T value) {
    T s[3] = {T(1), T(2), T(3)}, d[4] = {T(9), T(9), T(9), T(9)};
    qu::Copy(3, s, d);
    EXPECT_EQ(std::vector<T>(d, d + 4), (std::vector<T>{T(1), T(2), T(3), T(9)}));
    qu::Copy(0, static_cast<const T*>(nullptr), static_cast<T*>(nullptr));
    if constexpr (!std::is_same_v<T, signed char>) {
        qu::Set(2, d, value);
        EXPECT_EQ(std::vector<T>(d, d + 4), (std::vector<T>{value, value, T(3), T(9)}));
        qu::Zero(3, d);
        EXPECT_EQ(std::vector<T>(d, d + 4), (std::vector<T>{T(0), T(0), T(0), T(9)}));
        qu::Set(0, static_cast<T*>(nullptr), value);
        qu::Zero(0, static_cast<T*>(nullptr));
    }
}

TEST(DataExports, CopySetZeroEveryType) {
    CopyAndSet<signed char>(-5);
    CopyAndSet<unsigned char>(200);
    CopyAndSet<short>(-300);
    CopyAndSet<int>(-70000);
    CopyAndSet<unsigned int>(0xFFFFFFF0u);
    CopyAndSet<float>(-0.25f);
    CopyAndSet<double>(1e-300);
    float negZero[2] = {-1.0f, -1.0f};
    qu::Zero(2, negZero);
    EXPECT_FALSE(std::signbit(negZero[0]));
}

// The 32-bit element overloads count bytes in 32 bits: count * 4 wraps.
TEST(DataExports, ByteCountWrapsInThirtyTwoBits) {
    int d[4] = {7, 7, 7, 7};
    unsigned int u[4] = {7, 7, 7, 7};
    const int s[4] = {1, 2, 3, 4};
    for (unsigned int count : {0x40000000u, 0x80000000u, 0xC0000000u}) {  // product 0: nothing written
        qu::Zero(count, d);
        qu::Zero(count, u);
        qu::Copy(count, s, d);
    }
    EXPECT_EQ(std::vector<int>(d, d + 4), (std::vector<int>{7, 7, 7, 7}));
    EXPECT_EQ(std::vector<unsigned int>(u, u + 4), (std::vector<unsigned int>{7, 7, 7, 7}));
    qu::Zero(0x40000001u, d);  // 4 bytes: one element
    qu::Zero(0xC0000002u, u);  // 8 bytes: two elements
    qu::Copy(0x80000003u, s, d + 1);  // 12 bytes: three elements
    EXPECT_EQ(std::vector<int>(d, d + 4), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(std::vector<unsigned int>(u, u + 4), (std::vector<unsigned int>{0, 0, 7, 7}));
}

TEST(DataExports, EqualComparesBytes) {
    unsigned char a[40], b[40];
    for (int i = 0; i < 40; ++i) a[i] = b[i] = static_cast<unsigned char>(i * 7);
    EXPECT_TRUE(qu::Equal(40, a, a));
    EXPECT_TRUE(qu::Equal(40, a, b));
    b[39] ^= 1;
    EXPECT_FALSE(qu::Equal(40, a, b));
    EXPECT_TRUE(qu::Equal(39, a, b));
    EXPECT_TRUE(qu::Equal(0, a, b));
    EXPECT_FALSE(qu::Equal(1, nullptr, b));
    EXPECT_FALSE(qu::Equal(0x80000000u, a, b));
}

// A count of 2^31 or more is negative to the primitives: nothing written anywhere.
TEST(DataExports, RefusedCountsWriteNothing) {
    float f[2] = {1.5f, 2.5f}, df[2] = {7, 7};
    double g[2] = {1.5, 2.5}, dg[2] = {7, 7};
    short s[2] = {1, 2}, ds[2] = {7, 7};
    unsigned char b[2] = {1, 2}, db[2] = {7, 7};
    int i[2] = {1, 2}, di[2] = {7, 7};
    unsigned short h[2] = {7, 7};
    const qptest::Snapshot before(df, dg, ds, db, di, h);
    for (unsigned int len : qptest::kBadCounts) {
        qu::Copy(len, f, df);
        qu::Copy(len, s, ds);
        qu::Move(len, g, dg);
        qu::Move(len, b, db);
        qu::Set(len, df, 3.0f);
        qu::Set(len, di, 3);
        qu::Zero(len, dg);
        qu::Zero(len, ds);
        qu::SwapBytes(len, h);
        qu::Convert(len, b, df);
        qu::Convert(len, s, dg, 0);
        qu::Convert(len, i, df, 0);
        qu::Convert(len, f, di, 0, true);
        qu::Convert(len, g, di, 0, false);
        qu::Convert(len, f, db, 0, true);
        qu::Convert(len, f, dg);
        qu::Convert(len, g, df);
    }
    qu::Copy(2, static_cast<const float*>(nullptr), df);
    qu::Convert(2, static_cast<const float*>(nullptr), ds, 0, true);
    qu::SwapBytes(2, static_cast<const unsigned short*>(nullptr), h);
    EXPECT_TRUE(before.Unchanged());
}

}  // namespace
