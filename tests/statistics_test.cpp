// Statistics and extrema: every kernel on every runnable code path against long double references,
// and the exports through dispatch.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "vector_support.h"
#include "quoraccelerate/utility/statistics.h"

namespace {

namespace qu = quoraccelerate::utility;
using qptest::SameOrBothNaN;
template <typename T>
using Buffer = qptest::Buffer<T>;

// Around every vector width (4, 8, 16 lanes), the x4 unroll and the 1024-element blocks.
constexpr int kLengths[] = {1, 2, 3, 7, 8, 15, 16, 17, 31, 33, 63, 64, 65, 127, 1000, 1024, 1025, 4099};
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN(), kInf = std::numeric_limits<float>::infinity();

template <typename T>
void Fill(T* p, int n, std::mt19937& gen, T lo = -100, T hi = 100) {
    std::uniform_real_distribution<T> d(lo, hi);
    for (int i = 0; i < n; ++i) p[i] = d(gen);
}

// Distance in units in the last place of float, against a long double reference.
double Ulps(float got, long double ref) {
    const float r = static_cast<float>(ref);
    return static_cast<double>(std::fabs(got - ref) / (std::nextafter(std::fabs(r), kInf) - std::fabs(r)));
}

// Equal values (either zero for a +0/-0 tie) or both NaN.
template <typename T>
bool Same(T a, float b) { return a == b || (a != a && b != b); }

class StatsPaths : public testing::TestWithParam<int> {};

TEST_P(StatsPaths, SumsNormsAndDeviationMatchLongDouble) {
    const int p = GetParam();
    std::mt19937 gen(11);
    qptest::ForLayouts(kLengths, [&](int n, int off) {
        Buffer<float> f(n, off);
        Buffer<double> d(n, (off + 1) % 4);
        Fill(f.data, n, gen);
        Fill(d.data, n, gen);
        long double sf = 0, qf = 0, sd = 0, qd = 0, ad = 0, v = 0;
        for (int i = 0; i < n; ++i) {
            sf += f.data[i], qf += static_cast<long double>(f.data[i]) * f.data[i];
            sd += d.data[i], qd += static_cast<long double>(d.data[i]) * d.data[i], ad += std::fabs(d.data[i]);
        }
        for (int i = 0; i < n; ++i) v += (f.data[i] - sf / n) * (f.data[i] - sf / n);
        float rf = 0;
        double rd = 0;
        ASSERT_EQ(qptest::sum_f32_paths[p](f.data, 0, &rf, n), qp::qpStsNoErr);
        EXPECT_LE(Ulps(rf, sf), 1.0) << rf << " vs " << static_cast<double>(sf);
        ASSERT_EQ(qptest::norml2_f32_paths[p](f.data, &rf, n), qp::qpStsNoErr);
        EXPECT_LE(Ulps(rf, std::sqrt(qf)), 1.0);
        const double bound = n * 0x1p-52 * static_cast<double>(ad);  // n eps sum |x|
        ASSERT_EQ(qptest::sum_f64_paths[p](d.data, &rd, n), qp::qpStsNoErr);
        EXPECT_NEAR(rd, static_cast<double>(sd), bound);
        ASSERT_EQ(qptest::norml2_f64_paths[p](d.data, &rd, n), qp::qpStsNoErr);
        EXPECT_NEAR(rd, static_cast<double>(std::sqrt(qd)), bound);
        if (n > 1) {
            ASSERT_EQ(qptest::stddev_f32_paths[p](f.data, 2, &rf, n), qp::qpStsNoErr);
            EXPECT_LE(Ulps(rf, std::sqrt(v / (n - 1))), 2.0);
        }
    });
}

// Known answers: the double norm rescales squares that over- or underflow, non-finite input, a
// deviation of equal values is exactly 0, and the float sum rounds once (2^24 + 1 + 1).
TEST_P(StatsPaths, SpecialInputs) {
    const int p = GetParam();
    const double nan = std::nan("");
    const struct {
        std::vector<double> x;
        double norm;
    } norms[] = {{{3, 4}, 5},   {{3e200, -4e200}, 5e200}, {{3e-200, 4e-200, 0, 0, 0, 0, 0, 0, 0}, 5e-200},
                 {{0, 0, 0}, 0}, {{1, kInf, 2}, kInf},      {{1, nan, 2}, nan}};
    for (const auto& c : norms) {
        double r = -1;
        ASSERT_EQ(qptest::norml2_f64_paths[p](c.x.data(), &r, static_cast<int>(c.x.size())), qp::qpStsNoErr);
        EXPECT_TRUE(std::isfinite(c.norm) ? std::fabs(r - c.norm) <= c.norm * 1e-15 : Same(r, c.norm)) << c.x[0];
    }
    const float four[] = {1, 2, 3, 4}, same[] = {7.25f, 7.25f, 7.25f}, inf[] = {1, kInf, 3}, big[] = {16777216.0f, 1, 1};
    float s[4];
    ASSERT_EQ(qptest::stddev_f32_paths[p](four, 2, &s[0], 4) | qptest::stddev_f32_paths[p](same, 2, &s[1], 3) |
                  qptest::stddev_f32_paths[p](inf, 2, &s[2], 3) | qptest::sum_f32_paths[p](big, 0, &s[3], 3),
              qp::qpStsNoErr);
    EXPECT_LE(Ulps(s[0], std::sqrt(5.0L / 3)), 1.0);
    EXPECT_TRUE(s[1] == 0 && std::isnan(s[2]) && s[3] == 16777218.0f) << s[1] << " " << s[2] << " " << s[3];
}

// Every extreme kernel against the rule: the first strictly better non-NaN element, index 0 and
// NaN when all are NaN. Value-only kernels may return either zero on a +0/-0 tie.
void CheckExtrema(int p, const float* x, int n) {
    int hi = -1, lo = -1;
    for (int i = 0; i < n; ++i) {
        if (std::isnan(x[i])) continue;
        if (hi < 0 || x[i] > x[hi]) hi = i;
        if (lo < 0 || x[i] < x[lo]) lo = i;
    }
    hi = std::max(hi, 0), lo = std::max(lo, 0);
    float v[8];
    int k[4];
    double d[2];
    const std::vector<double> xd(x, x + n);
    ASSERT_EQ(qptest::max_f32_paths[p](x, &v[0], n) | qptest::min_f32_paths[p](x, &v[1], n) |
                  qptest::minmax_f32_paths[p](x, &v[2], &v[3], n) | qptest::maxindx_f32_paths[p](x, &v[4], &k[0], n) |
                  qptest::minindx_f32_paths[p](x, &v[5], &k[1], n) |
                  qptest::minmaxindx_f32_paths[p](x, &v[6], &k[2], &v[7], &k[3], n) |
                  qptest::max_f64_paths[p](xd.data(), &d[0], n) | qptest::min_f64_paths[p](xd.data(), &d[1], n),
              qp::qpStsNoErr);
    const int want[] = {hi, lo, lo, hi, hi, lo, lo, hi};
    for (int m = 0; m < 8; ++m) {
        EXPECT_TRUE(m < 4 ? Same(v[m], x[want[m]]) : SameOrBothNaN(v[m], x[want[m]])) << m << ": " << v[m];
    }
    EXPECT_EQ(std::vector<int>(k, k + 4), (std::vector<int>{hi, lo, lo, hi}));
    EXPECT_TRUE(Same(d[0], x[hi]) && Same(d[1], x[lo])) << d[0] << " " << d[1];
}

// Positions worth planting an extreme at: both ends, every lane of the first and last vectors, the
// scalar remainder, the middle and the block boundaries.
std::vector<int> Positions(int n) {
    std::vector<int> pos;
    for (int k : {0, n / 2, 1023, 1024, 2047, 2048, 4096}) pos.push_back(k);
    for (int k = 1; k < 17; ++k) pos.push_back(k), pos.push_back(n - k);
    pos.erase(std::remove_if(pos.begin(), pos.end(), [n](int k) { return k < 0 || k >= n; }), pos.end());
    return pos;
}

TEST_P(StatsPaths, ExtremaPlantedTiedAmongNaNAndInfinities) {
    std::mt19937 gen(5);
    for (int n : kLengths) {
        Buffer<float> a(n, n % 3 + 1);
        for (int at : Positions(n)) {
            SCOPED_TRACE(testing::Message() << "n=" << n << " at=" << at);
            Fill(a.data, n, gen);
            a.data[at] = 500, a.data[n - 1 - at] = -500;
            CheckExtrema(GetParam(), a.data, n);
            a.data[(at + 5) % n] = 500, a.data[at / 3] = -500;  // a later tie, and an earlier one
            CheckExtrema(GetParam(), a.data, n);
        }
        // Small integers (many ties, +-0) among NaN and infinities; then all NaN with lone infinities.
        const float specials[] = {kNaN, kNaN, kInf, -kInf, 0.0f, -0.0f};
        std::uniform_int_distribution<int> small(-9, 9), pick(0, 9);
        for (int round = 0; round < 4; ++round) {
            SCOPED_TRACE(testing::Message() << "n=" << n << " round=" << round);
            for (int i = 0; i < n; ++i) {
                const int k = pick(gen);
                a.data[i] = k < 6 && round > 0 ? specials[k] : static_cast<float>(small(gen));
            }
            CheckExtrema(GetParam(), a.data, n);
        }
        std::fill(a.data, a.data + n, kNaN);
        CheckExtrema(GetParam(), a.data, n);
        a.data[n / 2] = -kInf;
        CheckExtrema(GetParam(), a.data, n);
        a.data[n / 2] = kInf, a.data[n - 1] = -kInf;
        CheckExtrema(GetParam(), a.data, n);
    }
}

// Element-wise max / min: the other operand where one is NaN; the destination separate, equal to
// a, and (in-place form) equal to b.
TEST_P(StatsPaths, EveryMatchesTheRuleOnAllLengthsAndAliasings) {
    const int p = GetParam();
    const struct {
        qp::maxevery_f32_fn* binary;
        qp::maxevery_inplace_f32_fn* inPlace;
        bool max;
    } ops[] = {{qptest::maxevery_f32_paths[p], qptest::maxevery_inplace_f32_paths[p], true},
               {qptest::minevery_f32_paths[p], qptest::minevery_inplace_f32_paths[p], false}};
    std::mt19937 gen(3);
    const float specials[] = {kNaN, 0.0f, -0.0f, kInf, -kInf};
    for (const auto& op : ops) {
        qptest::ForLayouts(kLengths, [&](int n, int off) {
            Buffer<float> a(n, off), b(n, (off + 2) % 4), d(n, (off + 1) % 4);
            Fill(a.data, n, gen, -4.0f, 4.0f);
            Fill(b.data, n, gen, -4.0f, 4.0f);
            for (int i = 0; i < n; i += 3) a.data[i] = specials[(i / 3) % 5];
            for (int i = 0; i < n; i += 2) b.data[i] = specials[(i / 2) % 5];
            std::vector<float> want(n), a0(a.data, a.data + n);
            for (int i = 0; i < n; ++i) {
                const float x = a.data[i], y = b.data[i];
                want[i] = std::isnan(y) ? x : std::isnan(x) ? y : (op.max ? x > y : x < y) ? x : y;
            }
            const auto expect = [&](const Buffer<float>& out) {
                for (int i = 0; i < n; ++i) ASSERT_TRUE(SameOrBothNaN(out.data[i], want[i])) << i;
                EXPECT_TRUE(out.GuardsIntact());
            };
            ASSERT_EQ(op.binary(a.data, b.data, d.data, n), qp::qpStsNoErr);
            expect(d);
            ASSERT_EQ(op.binary(a.data, b.data, a.data, n), qp::qpStsNoErr);
            expect(a);
            ASSERT_EQ(op.inPlace(a0.data(), b.data, n), qp::qpStsNoErr);
            expect(b);
        });
    }
}

TEST_P(StatsPaths, RefusalsWriteNothing) {
    const int p = GetParam();
    float x[4] = {1, 2, 3, 4}, o = 9, o2 = 9;
    double xd[4] = {1, 2, 3, 4}, od = 9;
    int i = 9, j = 9;
    const qptest::Snapshot before(o, o2, od, i, j);
    const auto one = [](int n) { return std::min(n, 1); };  // the element-wise forms get one element
    using qptest::ExpectRefusals;
    ExpectRefusals([&](int n, auto s, auto r) { return qptest::sum_f32_paths[p](s, 0, r, n); }, x, &o);
    ExpectRefusals([&](int n, auto s, auto r) { return qptest::sum_f64_paths[p](s, r, n); }, xd, &od);
    ExpectRefusals([&](int n, auto s, auto r) { return qptest::max_f32_paths[p](s, r, n); }, x, &o);
    ExpectRefusals([&](int n, auto s, auto r) { return qptest::min_f32_paths[p](s, r, n); }, x, &o);
    ExpectRefusals([&](int n, auto s, auto r) { return qptest::max_f64_paths[p](s, r, n); }, xd, &od);
    ExpectRefusals([&](int n, auto s, auto r) { return qptest::min_f64_paths[p](s, r, n); }, xd, &od);
    ExpectRefusals([&](int n, auto s, auto r) { return qptest::norml2_f32_paths[p](s, r, n); }, x, &o);
    ExpectRefusals([&](int n, auto s, auto r) { return qptest::norml2_f64_paths[p](s, r, n); }, xd, &od);
    ExpectRefusals([&](int n, auto s, auto r) { return qptest::stddev_f32_paths[p](s, 2, r, n); }, x, &o);
    ExpectRefusals([&](int n, auto s, auto v, auto k) { return qptest::maxindx_f32_paths[p](s, v, k, n); }, x, &o, &i);
    ExpectRefusals([&](int n, auto s, auto v, auto k) { return qptest::minindx_f32_paths[p](s, v, k, n); }, x, &o, &i);
    ExpectRefusals([&](int n, auto s, auto v, auto w) { return qptest::minmax_f32_paths[p](s, v, w, n); }, x, &o, &o2);
    ExpectRefusals([&](int n, auto s, auto v, auto k, auto w, auto l) { return qptest::minmaxindx_f32_paths[p](s, v, k, w, l, n); },
                   x, &o, &i, &o2, &j);
    ExpectRefusals([&](int n, auto a, auto b, auto d) { return qptest::maxevery_f32_paths[p](a, b, d, one(n)); }, x, x, &o);
    ExpectRefusals([&](int n, auto a, auto d) { return qptest::minevery_inplace_f32_paths[p](a, d, one(n)); }, x, &o);
    EXPECT_EQ(qptest::stddev_f32_paths[p](x, 2, &o, 1), qp::qpStsSizeErr);  // no deviation of one sample
    EXPECT_TRUE(before.Unchanged());
}

QP_INSTANTIATE_PATHS(StatsPaths);

// Worst error of the float Sum, NormL2 and StandardDeviation on a million elements (a sixteenth of
// that under emulation) on every path: zero-mean data makes the sum cancel, a large mean the deviation.
TEST(StatsAccuracy, FloatReductionsOnAMillionElements) {
    const int n = qptest::Emulated() ? 1 << 16 : 1 << 20;
    std::mt19937 gen(2024);
    std::vector<float> x(n), y(n);
    Fill(x.data(), n, gen, -1.0f, 1.0f);
    for (int i = 0; i < n; ++i) y[i] = 10000.0f + static_cast<float>(i % 1000) * 0.001f + x[i];
    long double s = 0, q = 0, sy = 0, vy = 0;
    for (int i = 0; i < n; ++i) s += x[i], q += static_cast<long double>(x[i]) * x[i], sy += y[i];
    for (int i = 0; i < n; ++i) vy += (y[i] - sy / n) * (y[i] - sy / n);
    for (int p : qptest::RunnablePaths()) {
        float r = 0;
        qptest::sum_f32_paths[p](x.data(), 0, &r, n);
        EXPECT_LE(Ulps(r, s), 1.0) << "sum, path " << p;
        qptest::norml2_f32_paths[p](x.data(), &r, n);
        EXPECT_LE(Ulps(r, std::sqrt(q)), 1.0) << "norm, path " << p;
        qptest::stddev_f32_paths[p](y.data(), 2, &r, n);
        EXPECT_LE(Ulps(r, std::sqrt(vy / (n - 1))), 1.0) << "deviation, path " << p;
    }
}

// --- exports ------------------------------------------------------------------------------------

TEST(StatsExports, ForwardAndReturnTheDescribedResults) {
    const float a[] = {1, 3, 3, 2}, b[] = {2, 1, 1}, c[] = {4, -2, 9, -2, 9}, four[] = {1, 2, 3, 4}, pair[] = {3, 4};
    const double cd[] = {4, -2, 9, 0.5}, pd[] = {3, 4};
    float v = -1, w = -1, lo = 0, hi = 0, mlo = 0, mhi = 0, sd = 0;
    unsigned int li = 7, hj = 7;
    qu::MinMax(5, c, lo, hi);
    qu::MinMaxIndex(5, c, mlo, mhi, li, hj);
    qu::StandardDeviation(4, four, sd);
    EXPECT_EQ((std::vector<double>{double(qu::MaxIndex(4, a, &v)), v, double(qu::MinIndex(3, b, &w)), w,
                                   double(qu::MinIndex(3, b, nullptr)), lo, hi, mlo, mhi, double(li), double(hj)}),
              (std::vector<double>{1, 3, 1, 1, 1, -2, 9, -2, 9, 1, 2}));
    EXPECT_EQ((std::vector<double>{qu::Sum(5, c), qu::Sum(4, cd), qu::Max(5, c), qu::Min(5, c), qu::Max(4, cd),
                                   qu::Min(4, cd), qu::NormL2(2, pair), qu::NormL2(2, pd)}),
              (std::vector<double>{18, 11.5, 9, -2, 9, -2, 5, 5}));
    EXPECT_FLOAT_EQ(sd, std::sqrt(5.0f / 3.0f));
    // Operand order: equal operands (+0, -0) give the second one, b, or d for the in-place form.
    const float x[] = {0.0f, kNaN, 1}, y[] = {-0.0f, 5, 2};
    float d[3], e[3] = {-0.0f, 5, 2};
    qu::MaxEvery(3, x, y, d);
    EXPECT_TRUE(std::signbit(d[0]) && d[1] == 5 && d[2] == 2);
    qu::MinEvery(3, y, x, d);
    EXPECT_TRUE(!std::signbit(d[0]) && d[1] == 5 && d[2] == 1);
    qu::MaxEvery_InPlace(3, x, e);
    EXPECT_TRUE(std::signbit(e[0]) && e[1] == 5 && e[2] == 2);
    qu::MinEvery_InPlace(3, x, e);
    EXPECT_TRUE(std::signbit(e[0]) && e[1] == 5 && e[2] == 1);
}

// Refused: value results are 0, reference outputs keep their values except the indices and the
// values MaxIndex and MinIndex preset to 0.
TEST(StatsExports, RefusedCallsReturnZeroAndKeepOutputs) {
    const float x[] = {5, 6, 7};
    const double xd[] = {5, 6, 7};
    for (unsigned int n : qptest::kBadCounts) {
        float v = 9, w = 9, lo = 9, hi = 9, sd = 9, d[3] = {1, 1, 1};
        unsigned int li = 9, hj = 9;
        EXPECT_EQ((std::vector<double>{qu::Sum(n, x), qu::Sum(n, xd), qu::Max(n, x), qu::Min(n, xd), qu::NormL2(n, x),
                                       qu::NormL2(n, xd), double(qu::MaxIndex(n, x, &v)), v,
                                       double(qu::MinIndex(n, x, &w)), w}),
                  std::vector<double>(10, 0.0)) << n;
        qu::MinMax(n, x, lo, hi);
        qu::MinMaxIndex(n, x, lo, hi, li, hj);
        qu::StandardDeviation(n, x, sd);
        qu::MaxEvery(n, x, x, d);
        qu::MinEvery_InPlace(n, x, d);
        EXPECT_TRUE(lo == 9 && hi == 9 && sd == 9 && li == 0 && hj == 0 && d[0] == 1 && d[1] == 1 && d[2] == 1) << n;
    }
    float sd = 9;
    qu::StandardDeviation(1, x, sd);
    EXPECT_TRUE(qu::Max(3, static_cast<const float*>(nullptr)) == 0 && qu::Sum(3, static_cast<const double*>(nullptr)) == 0);
    EXPECT_EQ(sd, 9.0f);
}

// The largest-magnitude MinMax is computed by the export: every length and alignment with the
// extreme anywhere, a NaN seed that must not stick, a count of 0 and -0.
TEST(StatsExports, LargestMagnitudeOverLengthsAndAlignments) {
    std::mt19937 gen(9);
    qptest::ForLayouts(kLengths, [&](int n, int off) {
        Buffer<float> a(n, off);
        for (int at : Positions(n)) {
            Fill(a.data, n, gen);
            a.data[at] = (at % 2) ? -300.0f : 300.0f;
            ASSERT_EQ(qu::MinMax(a.data, static_cast<unsigned int>(n)), 300.0f) << "at " << at;
        }
        a.data[0] = kNaN;
        float want = 0;
        for (int i = 1; i < n; ++i) want = std::max(want, std::fabs(a.data[i]));
        const float got = qu::MinMax(a.data, static_cast<unsigned int>(n));
        EXPECT_TRUE(n > 1 ? got == want : std::isnan(got)) << got;
    });
    const float m53[] = {-5, 3}, p27[] = {2, 7}, nan2[] = {kNaN, kNaN}, nz[] = {-0.0f};
    EXPECT_TRUE(qu::MinMax(m53, 2) == 5 && qu::MinMax(p27, 2) == 7 && qu::MinMax(m53, 0) == 5);
    EXPECT_TRUE(std::isnan(qu::MinMax(nan2, 2)));
    EXPECT_FALSE(std::signbit(qu::MinMax(nz, 1)));
}

}  // namespace
