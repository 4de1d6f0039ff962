// Copy, move, set, zero, byte order, comparison and conversions: every kernel on every runnable code
// path against plain references, and the exports through dispatch.
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <vector>

#include "vector_support.h"
#include "quoraccelerate/utility.h"

namespace {

namespace qu = quoraccelerate::utility;
using qptest::FillBits;
template <typename T>
using Buffer = qptest::Buffer<T>;

// Lengths around every vector width (16, 32, 64 bytes), its unroll and the short-copy size classes.
const std::vector<int>& Lengths() {
    static const std::vector<int> all = {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 127, 128, 129, 255, 1000, 4099};
    static const std::vector<int> emulated = {1, 3, 7, 8, 15, 16, 17, 33, 65, 129, 1000};
    return qptest::Emulated() ? emulated : all;
}

class DataPaths : public testing::TestWithParam<int> {};

// --- every element-wise kernel through one driver ----------------------------------------------

// Runs kernel(s, d, n) at every length and alignment on a source from fill(s, n) and compares the
// bits of every output with ref(source element); a kernel from one type to itself runs once more in
// place on its output, which must give ref of that output, and one between types of one size over
// its own source. Then the refusals (of the source pointer too unless the kernel reads none), which
// must leave the destination alone.
template <typename S, typename D, typename K, typename R, typename F>
void CheckMap(K kernel, R ref, F fill, const std::vector<int>& lengths = Lengths(), bool sourced = true) {
    qptest::ForLayouts(lengths, [&](int n, int offset) {
        Buffer<S> s(n, (offset + 2) % 4);
        Buffer<D> d(n, offset);
        fill(s.data, n);
        ASSERT_EQ(kernel(s.data, d.data, n), qp::qpStsNoErr);
        for (int i = 0; i < n; ++i) ASSERT_TRUE(qptest::SameBits(d.data[i], ref(s.data[i]))) << i << ": " << +s.data[i] << " gave " << +d.data[i];
        EXPECT_TRUE(d.GuardsIntact());
        if constexpr (std::is_same_v<S, D>) {
            const std::vector<D> out(d.data, d.data + n);
            ASSERT_EQ(kernel(d.data, d.data, n), qp::qpStsNoErr);
            for (int i = 0; i < n; ++i) ASSERT_TRUE(qptest::SameBits(d.data[i], ref(out[i]))) << "in place " << i;
        } else if constexpr (sizeof(S) == sizeof(D)) {  // over its own source, as the same bits
            const std::vector<D> out(d.data, d.data + n);
            std::memcpy(d.data, s.data, d.bytes);
            ASSERT_EQ(kernel(reinterpret_cast<const S*>(d.data), d.data, n), qp::qpStsNoErr);
            EXPECT_EQ(std::memcmp(d.data, out.data(), d.bytes), 0) << "in place";
        }
    });
    S s[2] = {};
    D d[2] = {};
    const qptest::Snapshot before(d);
    if (sourced) {
        qptest::ExpectRefusals([&](int n, auto x, auto y) { return kernel(x, y, n); }, s, d);
    } else {
        qptest::ExpectRefusals([&](int n, auto y) { return kernel(s, y, n); }, d);
    }
    EXPECT_TRUE(before.Unchanged());
}

const auto kBits = [](auto* p, int n) { FillBits(p, n, 7u + n); };

TEST_P(DataPaths, CopyIsExactAtEveryLengthAndAlignment) {
    const int p = GetParam();
    const auto same = [](auto x) { return x; };
    CheckMap<unsigned char, unsigned char>(qptest::copy_8u_paths[p], same, kBits);
    CheckMap<short, short>(qptest::copy_16s_paths[p], same, kBits);
    CheckMap<int, int>(qptest::copy_32s_paths[p], same, kBits);
    CheckMap<float, float>(qptest::copy_f32_paths[p], same, kBits);
    CheckMap<double, double>(qptest::copy_f64_paths[p], same, kBits);
}

// Byte swapping reverses each element (and in place swaps back).
TEST_P(DataPaths, SwapBytesReversesEveryElement) {
    const auto reversed = [](auto x) {
        std::reverse(reinterpret_cast<unsigned char*>(&x), reinterpret_cast<unsigned char*>(&x + 1));
        return x;
    };
    CheckMap<unsigned short, unsigned short>(qptest::swap_bytes_16u_paths[GetParam()], reversed, kBits);
    CheckMap<unsigned int, unsigned int>(qptest::swap_bytes_32u_paths[GetParam()], reversed, kBits);
    CheckMap<unsigned long long, unsigned long long>(qptest::swap_bytes_64u_paths[GetParam()], reversed, kBits);
}

// Set writes the value's bits to every element; zero (value 0) writes +0.
template <typename T, typename K>
void CheckSet(K kernel, T value) {
    const auto run = [=](const T*, T* d, int n) {
        if constexpr (std::is_invocable_v<K, T, T*, int>) {
            return kernel(value, d, n);
        } else {
            return kernel(d, n);
        }
    };
    CheckMap<T, T>(run, [=](T) { return value; }, kBits, Lengths(), false);
}

TEST_P(DataPaths, SetAndZeroFillEveryElement) {
    const int p = GetParam();
    CheckSet<unsigned char>(qptest::set_8u_paths[p], 0x3C);
    CheckSet<short>(qptest::set_16s_paths[p], static_cast<short>(0x8E12));
    CheckSet<int>(qptest::set_32s_paths[p], static_cast<int>(0xC0DE1234u));
    CheckSet<float>(qptest::set_f32_paths[p], -1.25e-3f);
    CheckSet<double>(qptest::set_f64_paths[p], 6.02214076e23);
    CheckSet<unsigned char>(qptest::zero_8u_paths[p], 0);
    CheckSet<short>(qptest::zero_16s_paths[p], 0);
    CheckSet<float>(qptest::zero_f32_paths[p], 0);
    CheckSet<double>(qptest::zero_f64_paths[p], 0);
}

// Ranges shifted against each other by a few elements in both directions, against memmove.
template <typename T>
void CheckMove(qp::Status (*kernel)(const T*, T*, int)) {
    for (int n : Lengths()) {
        for (int shift : {1, -1, 3, -3, n / 2 + 1, -(n / 2 + 1), n - 1, -(n - 1)}) {
            SCOPED_TRACE(testing::Message() << "n=" << n << " shift=" << shift);
            const int span = n + std::abs(shift), from = shift < 0 ? -shift : 0, to = shift < 0 ? 0 : shift;
            Buffer<T> a(span, 1);
            FillBits(a.data, span, 11u + n);
            std::vector<T> want(a.data, a.data + span);
            std::memmove(want.data() + to, want.data() + from, n * sizeof(T));
            ASSERT_EQ(kernel(a.data + from, a.data + to, n), qp::qpStsNoErr);
            EXPECT_EQ(std::memcmp(a.data, want.data(), span * sizeof(T)), 0);
            EXPECT_TRUE(a.GuardsIntact());
        }
    }
    T s[2] = {}, d[2] = {};
    const qptest::Snapshot before(d);
    qptest::ExpectRefusals([&](int n, auto x, auto y) { return kernel(x, y, n); }, s, d);
    EXPECT_TRUE(before.Unchanged());
}

TEST_P(DataPaths, MoveMatchesMemmoveOnOverlaps) {
    CheckMove(qptest::move_8u_paths[GetParam()]);
    CheckMove(qptest::move_16s_paths[GetParam()]);
    CheckMove(qptest::move_f32_paths[GetParam()]);
    CheckMove(qptest::move_f64_paths[GetParam()]);
}

// One differing byte anywhere in the range (the first and last included) makes it unequal, one
// just before the range does not; empty ranges are equal. A negative length is a length error and
// leaves the result word alone.
TEST_P(DataPaths, CompareFindsAnyDifferingByte) {
    const auto compare = qptest::compare_8u_paths[GetParam()];
    for (int n : Lengths()) {
        std::vector<unsigned char> a(n + 1), b;
        FillBits(a.data(), n + 1, 3u + n);
        for (int at : {-1, 0, n / 3, n / 2, n - 2, n - 1}) {  // -1: the byte before the range
            b = a;
            b[at + 1] ^= 0x40;
            int result = -1;
            ASSERT_EQ(compare(a.data() + 1, b.data() + 1, n, &result), qp::qpStsNoErr);
            EXPECT_EQ(result, at < 0 ? 1 : 0) << "n=" << n << " at=" << at;
        }
    }
    unsigned char b[2] = {1, 2}, c[2] = {3, 4};
    int result = 7;
    EXPECT_EQ(compare(b, b, -1, &result), qp::qpStsLengthErr);
    EXPECT_EQ(compare(nullptr, b, 1, &result), qp::qpStsNullPtrErr);
    EXPECT_EQ(compare(b, nullptr, 1, &result), qp::qpStsNullPtrErr);
    EXPECT_EQ(result, 7);
    EXPECT_EQ(compare(b, b, 1, nullptr), qp::qpStsNullPtrErr);
    EXPECT_EQ(compare(b, c, 0, &result), qp::qpStsNoErr);
    EXPECT_EQ(result, 1);
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

// Float to integer at every length and alignment at a few scale factors, every scale factor at one
// length; both rounding modes, and the modes that do not exist refused.
template <typename S, typename D>
void CheckToInt(qp::Status (*kernel)(const S*, D*, int, int, int), const std::vector<S>& specials) {
    for (int sf : kScaleFactors) {
        for (int mode : {0, 1}) {
            SCOPED_TRACE(testing::Message() << "sf=" << sf << " mode=" << mode);
            CheckMap<S, D>([=](const S* s, D* d, int n) { return kernel(s, d, n, mode, sf); },
                           [=](S x) { return RefToInt<D>(x, sf, mode == 1); },
                           [&](S* p, int n) { FillConvertSource(p, n, 17u + n, specials); },
                           sf == 0 || sf == 3 || sf == -2 ? Lengths() : std::vector<int>{61});
        }
    }
    S s[2] = {1, 2};
    D d[2] = {7, 7};
    for (int mode : {-1, 2, 3}) EXPECT_EQ(kernel(s, d, 2, mode, 0), qp::qpStsRoundModeNotSupportedErr) << mode;
    EXPECT_TRUE(d[0] == 7 && d[1] == 7);
}

TEST_P(DataPaths, FloatToIntegerTruncatesOrRoundsAndSaturates) {
    CheckToInt<float, unsigned char>(qptest::convert_f32_8u_sfs_paths[GetParam()], FloatSpecials());
    CheckToInt<float, short>(qptest::convert_f32_16s_sfs_paths[GetParam()], FloatSpecials());
    CheckToInt<float, int>(qptest::convert_f32_32s_sfs_paths[GetParam()], FloatSpecials());
    std::vector<double> specials(FloatSpecials().begin(), FloatSpecials().end());
    for (double x : {2147483647.0, 2147483647.5, 2147483646.5, -2147483648.5, -2147483649.0, 1e300, -1e300, 4.9e-324,
                     std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min() * 3}) {
        specials.push_back(x);
    }
    CheckToInt<double, int>(qptest::convert_f64_32s_sfs_paths[GetParam()], specials);
}

// Integer to floating point: the exact scaled value rounded once to the target, on specials
// (extremes, and 32-bit values just beyond float's precision) between random values.
template <typename S, typename D>
void CheckFromInt(qp::Status (*kernel)(const S*, int, D*, int)) {
    std::vector<S> specials = {0, 1, -1, 2, 3, 5, std::numeric_limits<S>::max(), std::numeric_limits<S>::min(),
                               static_cast<S>(std::numeric_limits<S>::max() - 1)};
    if (sizeof(S) == 4) {
        for (long long x : {16777217LL, 16777219LL, -16777217LL, 33554435LL, 0x7FFFFFC0LL, 0x40000041LL, 0x1000003LL}) {
            specials.push_back(static_cast<S>(x));
        }
    }
    const auto fill = [&](S* p, int n) {
        std::mt19937 gen(99u + n);
        for (int i = 0; i < n; ++i) p[i] = i % 2 == 0 ? specials[(i / 2) % specials.size()] : static_cast<S>(gen() >> (sizeof(S) == 2 ? 16 : 0));
    };
    for (int sf : kScaleFactors) {
        SCOPED_TRACE(testing::Message() << "sf=" << sf);
        CheckMap<S, D>([=](const S* s, D* d, int n) { return kernel(s, sf, d, n); }, [=](S x) { return static_cast<D>(Scaled(x, sf)); },
                       fill, sf == 0 || sf == 5 || sf == -4 ? Lengths() : std::vector<int>{61});
    }
}

TEST_P(DataPaths, IntegerToFloatScalesExactlyAndRoundsOnce) {
    CheckFromInt(qptest::convert_16s_f32_sfs_paths[GetParam()]);
    CheckFromInt(qptest::convert_16s_f64_sfs_paths[GetParam()]);
    CheckFromInt(qptest::convert_32s_f32_sfs_paths[GetParam()]);
    CheckFromInt(qptest::convert_32s_f64_sfs_paths[GetParam()]);
}

// Bytes to float from every bit pattern; float to double and back from the specials, an overflow
// of float, a float tie (to even) and a float subnormal.
TEST_P(DataPaths, ConversionsBetweenFloatingTypesAndFromBytes) {
    std::vector<double> specials(FloatSpecials().begin(), FloatSpecials().end());
    for (double x : {1e300, 1.0000000596046448, 1e-40}) specials.push_back(x);
    const std::vector<float> fspecials(specials.begin(), specials.end());
    const auto to = [](auto x) { return [](auto s) { return static_cast<decltype(x)>(s); }; };
    CheckMap<unsigned char, float>(qptest::convert_8u_f32_paths[GetParam()], to(0.0f), kBits);
    CheckMap<float, double>(qptest::convert_f32_f64_paths[GetParam()], to(0.0), [&](float* p, int n) { FillConvertSource(p, n, 23u + n, fspecials); });
    CheckMap<double, float>(qptest::convert_f64_f32_paths[GetParam()], to(0.0f), [&](double* p, int n) { FillConvertSource(p, n, 23u + n, specials); });
}

// The rounding conversions switch to nearest with the invalid exception masked when needed, and
// write the caller's control word back only when the invalid flag or mask changed. Mode 0
// truncates whatever the rounding mode and leaves the control word alone.
TEST_P(DataPaths, RoundingConversionControlWord) {
    const unsigned original = _mm_getcsr();
    constexpr unsigned kDefault = 0x1F80, kDown = 0x2000, kUp = 0x4000, kInvalidMask = 0x80, kInvalidFlag = 0x1;
    constexpr unsigned kOtherFlags = 0x3E;  // denormal, divide, overflow, underflow, precision
    const float values[4] = {2.5f, -2.5f, 0.7f, 3.5f};
    const double dvalues[4] = {2.5, -2.5, 0.7, 3.5};
    float snan;
    const std::uint32_t snanBits = 0x7F800001u;
    std::memcpy(&snan, &snanBits, sizeof snan);
    const float withSnan[4] = {snan, 1.5f, 1.5f, 1.5f};
    const auto f32 = qptest::convert_f32_32s_sfs_paths[GetParam()];
    const auto f64 = qptest::convert_f64_32s_sfs_paths[GetParam()];
    const struct {
        unsigned before;
        int source, mode;  // source 0: values, 1: doubles, 2: with a signalling NaN
        unsigned after;
        std::vector<int> want;
    } cases[] = {
        {kDefault, 0, 1, kDefault, {2, -2, 1, 4}},                                   // nothing to change
        {kDefault | kDown, 0, 1, kDefault, {2, -2, 1, 4}},                           // left at nearest
        {kDefault | kUp, 1, 1, kDefault, {2, -2, 1, 4}},                             // left at nearest
        {(kDefault | kDown) & ~kInvalidMask, 0, 1, (kDefault | kDown) & ~kInvalidMask, {2, -2, 1, 4}},  // mask differed
        {(kDefault | kDown) & ~kInvalidMask, 1, 1, (kDefault | kDown) & ~kInvalidMask, {2, -2, 1, 4}},
        {kDefault | kDown, 2, 1, kDefault | kDown, {0, 2, 2, 2}},                    // invalid raised: restored
        {kDefault | kInvalidFlag | kDown, 2, 1, kDefault | kInvalidFlag, {0, 2, 2, 2}},  // flag already set
        {kDefault | kUp, 0, 0, kDefault | kUp, {2, -2, 0, 3}},                       // truncation
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << "mxcsr=" << c.before << " source " << c.source);
        int out[4] = {};
        _mm_setcsr(c.before);
        const qp::Status st = c.source == 1 ? f64(dvalues, out, 4, c.mode, 0) : f32(c.source == 2 ? withSnan : values, out, 4, c.mode, 0);
        const unsigned after = _mm_getcsr();
        _mm_setcsr(original);
        ASSERT_EQ(st, qp::qpStsNoErr);
        EXPECT_EQ(std::vector<int>(out, out + 4), c.want);
        // The emulators differ on the flags of a signalling NaN.
        EXPECT_TRUE((c.source == 2 && qptest::Emulated()) || (after & ~kOtherFlags) == c.after) << std::hex << after;
    }
}

// Destinations of 4 MiB and more take the streaming stores after an alignment prologue; in place,
// blocks below the streaming threshold.
TEST_P(DataPaths, LargeRangesStream) {
    const int p = GetParam(), n = (4 << 20) / 4 + 21;
    std::vector<float> s(n + 2), c(n + 2, 9.0f);
    for (int i = 0; i < n + 2; ++i) s[i] = static_cast<float>(i % 1000) * 0.75f - 300.0f;
    std::vector<int> d(n + 2, -7), e(n + 2, -7);
    std::vector<unsigned int> u(n + 2);
    for (int i = 0; i < n + 2; ++i) u[i] = 0x01020304u * static_cast<unsigned int>(i);
    std::vector<double> w(n + 2, 4.0);
    ASSERT_EQ(qptest::convert_f32_32s_sfs_paths[p](s.data() + 1, d.data() + 1, n, 1, 1) | qptest::copy_f32_paths[p](s.data() + 1, c.data() + 1, n) |
                  qptest::set_32s_paths[p](0x01020304, e.data() + 1, n) | qptest::swap_bytes_32u_paths[p](u.data() + 1, u.data() + 1, n) |
                  qptest::convert_f32_f64_paths[p](s.data() + 1, w.data() + 1, n),
              qp::qpStsNoErr);
    for (int i = 1; i <= n; ++i) {
        ASSERT_EQ(d[i], static_cast<int>(std::nearbyint(s[i] * 0.5))) << i;  // halving is exact, ties to even
        ASSERT_TRUE(c[i] == s[i] && e[i] == 0x01020304 && w[i] == s[i]) << i;
        ASSERT_EQ(u[i], __builtin_bswap32(0x01020304u * static_cast<unsigned int>(i))) << i;
    }
    EXPECT_TRUE(d[0] == -7 && d[n + 1] == -7 && c[0] == 9 && c[n + 1] == 9 && e[0] == -7 && e[n + 1] == -7);
    EXPECT_TRUE(u[0] == 0 && u[n + 1] == 0x01020304u * static_cast<unsigned int>(n + 1) && w[0] == 4 && w[n + 1] == 4);
}

QP_INSTANTIATE_PATHS(DataPaths);

// --- the exports, through dispatch --------------------------------------------------------------

// Converts src through one export into a destination one longer, preset to 9; the outputs as
// double, or nothing when a refused count wrote anything.
template <typename D, typename S, typename F>
std::vector<double> Converted(std::initializer_list<S> src, F convert) {
    std::vector<D> d(src.size() + 1, D(9));
    for (unsigned int n : qptest::kBadCounts) convert(n, std::data(src), d.data());
    if (std::count(d.begin(), d.end(), D(9)) != static_cast<long>(d.size())) return {};
    convert(static_cast<unsigned int>(src.size()), std::data(src), d.data());
    return std::vector<double>(d.begin(), d.end());
}

TEST(DataExports, ConversionExamplesAndRefusedCounts) {
    constexpr float fNaN = std::numeric_limits<float>::quiet_NaN(), fInf = std::numeric_limits<float>::infinity();
    constexpr double dNaN = std::numeric_limits<double>::quiet_NaN(), dInf = std::numeric_limits<double>::infinity();
    constexpr double iMax = std::numeric_limits<int>::max(), iMin = std::numeric_limits<int>::min();
    using UC = unsigned char;
    const struct {
        const char* what;
        std::vector<double> got, want;
    } rows[] = {
        {"f32->8u truncate", Converted<UC>({1.4f, 1.6f, -2.0f, 300.0f}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 0, false); }), {1, 1, 0, 255, 9}},
        {"f32->8u round", Converted<UC>({1.4f, 1.6f, -2.0f, 300.0f}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 0, true); }), {1, 2, 0, 255, 9}},
        {"f32->16s scaled round", Converted<short>({3.0f}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 2, true); }), {1, 9}},
        {"f32->16s scaled truncate", Converted<short>({3.0f}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 2, false); }), {0, 9}},
        {"f32->16s saturate", Converted<short>({40000.0f, -40000.0f, fNaN, -fInf}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 0, true); }), {32767, -32768, 0, -32768, 9}},
        {"f32->32s ties to even", Converted<int>({2.5f, 3.5f, -2.5f, 0.5f, -0.5f}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 0, true); }), {2, 4, -2, 0, 0, 9}},
        {"f32->32s saturate", Converted<int>({40000.0f, -40000.0f, fNaN}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, -20, false); }), {iMax, iMin, 0, 9}},
        {"f64->32s saturate", Converted<int>({3e9, -3e9, dNaN, dInf}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 0, false); }), {iMax, iMin, 0, iMax, 9}},
        {"f64->32s round", Converted<int>({2.5, -1.5}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 1, true); }), {1, -1, 9}},
        {"16s->f32 scaled", Converted<float>({short{256}}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 8); }), {1, 9}},
        {"16s->f64 scaled", Converted<double>({short{256}}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 8); }), {1, 9}},
        {"32s->f64 scaled up", Converted<double>({3, -1024}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, -2); }), {12, -4096, 9}},
        {"32s->f32 scaled down", Converted<float>({3, -1024}, [](auto n, auto s, auto d) { qu::Convert(n, s, d, 1); }), {1.5, -512, 9}},
        {"8u->f32", Converted<float>({UC{0}, UC{128}, UC{255}}, [](auto n, auto s, auto d) { qu::Convert(n, s, d); }), {0, 128, 255, 9}},
        {"f32->f64", Converted<double>({0.1f, -1e30f}, [](auto n, auto s, auto d) { qu::Convert(n, s, d); }), {double(0.1f), double(-1e30f), 9}},
        {"f64->f32", Converted<float>({double(0.1f), 1e300}, [](auto n, auto s, auto d) { qu::Convert(n, s, d); }), {double(0.1f), dInf, 9}},
    };
    for (const auto& r : rows) EXPECT_EQ(r.got, r.want) << r.what;
    short d[2] = {7, 7};
    qu::Convert(2, static_cast<const float*>(nullptr), d, 0, true);
    EXPECT_TRUE(d[0] == 7 && d[1] == 7);
}

// Copy, Set and Zero of every element type and Move of the types that have it: the values, nothing
// written for refused counts or a null source, and +0 from Zero.
template <typename T>
void CheckMemoryExports(T value) {
    constexpr bool kSet = !std::is_same_v<T, signed char>;
    constexpr bool kMove = std::is_floating_point_v<T> || std::is_same_v<T, unsigned char> || std::is_same_v<T, short>;
    T s[3] = {T(1), T(2), T(3)}, d[4] = {T(9), T(9), T(9), T(9)};
    const auto is = [&](std::vector<T> want) { return std::vector<T>(d, d + 4) == want; };
    for (unsigned int n : qptest::kBadCounts) {
        qu::Copy(n, s, d);
        if constexpr (kSet) qu::Set(n, d, value), qu::Zero(n, d);
        if constexpr (kMove) qu::Move(n, s, d);
    }
    qu::Copy(2, static_cast<const T*>(nullptr), d);
    EXPECT_TRUE(is({T(9), T(9), T(9), T(9)}));
    qu::Copy(3, s, d);
    EXPECT_TRUE(is({T(1), T(2), T(3), T(9)}));
    if constexpr (kSet) {
        qu::Set(2, d, value);
        EXPECT_TRUE(is({value, value, T(3), T(9)}));
        qu::Zero(3, d);
        EXPECT_TRUE(is({T(0), T(0), T(0), T(9)}) && !std::signbit(static_cast<double>(d[0])));
        qu::Set(0, static_cast<T*>(nullptr), value);
        qu::Zero(0, static_cast<T*>(nullptr));
    }
    if constexpr (kMove) {
        T a[4] = {1, 2, 3, 4};
        qu::Move(3, a, a + 1);  // upward
        EXPECT_EQ(std::vector<T>(a, a + 4), (std::vector<T>{1, 1, 2, 3}));
        qu::Move(3, a + 1, a);  // downward
        EXPECT_EQ(std::vector<T>(a, a + 4), (std::vector<T>{1, 2, 3, 3}));
    }
}

TEST(DataExports, CopyMoveSetZeroEveryType) {
    CheckMemoryExports<signed char>(-5);
    CheckMemoryExports<unsigned char>(200);
    CheckMemoryExports<short>(-300);
    CheckMemoryExports<int>(-70000);
    CheckMemoryExports<unsigned int>(0xFFFFFFF0u);
    CheckMemoryExports<float>(-0.25f);
    CheckMemoryExports<double>(-1e-300);
    unsigned int s[3] = {1, 2, 3}, d[3] = {7, 7, 7};
    qu::Move(3, s, d);  // the unsigned int overload does nothing
    EXPECT_EQ(std::vector<unsigned int>(d, d + 3), (std::vector<unsigned int>{7, 7, 7}));
}

// The 32-bit element overloads count bytes in 32 bits: count * 4 wraps, and a product of 0 writes
// nothing.
TEST(DataExports, ByteCountWrapsInThirtyTwoBits) {
    int d[4] = {7, 7, 7, 7};
    unsigned int u[4] = {7, 7, 7, 7};
    const int s[4] = {1, 2, 3, 4};
    for (unsigned int count : {0x40000000u, 0x80000000u, 0xC0000000u}) qu::Zero(count, d), qu::Zero(count, u), qu::Copy(count, s, d);
    EXPECT_EQ(std::vector<int>(d, d + 4), (std::vector<int>{7, 7, 7, 7}));
    EXPECT_EQ(std::vector<unsigned int>(u, u + 4), (std::vector<unsigned int>{7, 7, 7, 7}));
    qu::Zero(0x40000001u, d);         // 4 bytes: one element
    qu::Zero(0xC0000002u, u);         // 8 bytes: two elements
    qu::Copy(0x80000003u, s, d + 1);  // 12 bytes: three elements
    EXPECT_EQ(std::vector<int>(d, d + 4), (std::vector<int>{0, 1, 2, 3}));
    EXPECT_EQ(std::vector<unsigned int>(u, u + 4), (std::vector<unsigned int>{0, 0, 7, 7}));
}

TEST(DataExports, SwapBytesAndEqual) {
    unsigned short h[2] = {0x1234, 0xABCD}, h2[2] = {7, 7};
    unsigned int w[1] = {0x11223344u}, w2[1] = {7};
    unsigned long long q[1] = {0x1122334455667788ull}, q2[1] = {7};
    for (unsigned int n : qptest::kBadCounts) {
        qu::SwapBytes(n, h, h2), qu::SwapBytes(n, w, w2), qu::SwapBytes(n, q, q2);
        qu::SwapBytes(n, h2), qu::SwapBytes(n, w2), qu::SwapBytes(n, q2);
    }
    qu::SwapBytes(2, static_cast<const unsigned short*>(nullptr), h2);
    EXPECT_TRUE(h2[0] == 7 && h2[1] == 7 && w2[0] == 7 && q2[0] == 7);
    qu::SwapBytes(2, h, h2), qu::SwapBytes(1, w, w2), qu::SwapBytes(1, q, q2);
    EXPECT_TRUE(h2[0] == 0x3412 && h2[1] == 0xCDAB && w2[0] == 0x44332211u && q2[0] == 0x8877665544332211ull);
    qu::SwapBytes(2, h), qu::SwapBytes(1, w), qu::SwapBytes(1, q);
    EXPECT_TRUE(h[0] == 0x3412 && h[1] == 0xCDAB && w[0] == 0x44332211u && q[0] == 0x8877665544332211ull);

    unsigned char a[40], b[40];
    for (int i = 0; i < 40; ++i) a[i] = b[i] = static_cast<unsigned char>(i * 7);
    EXPECT_TRUE(qu::Equal(40, a, a) && qu::Equal(40, a, b));
    b[39] ^= 1;
    EXPECT_FALSE(qu::Equal(40, a, b));
    EXPECT_TRUE(qu::Equal(39, a, b) && qu::Equal(0, a, b));
    EXPECT_FALSE(qu::Equal(1, nullptr, b) || qu::Equal(0x80000000u, a, b));
}

}  // namespace
