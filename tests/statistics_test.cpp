// Statistics and extrema: every kernel on every runnable code path against long double references,
// and the exports through dispatch.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "vector_support.h"
#include "quoraccelerate/utility/statistics.h"

namespace {

namespace qu = quoraccelerate::utility;
using qp::Status;

// Around every vector width (4, 8, 16 lanes), the x4 unroll and the 1024-element blocks.
constexpr int kLengths[] = {1, 2, 3, 7, 8, 15, 16, 17, 31, 33, 63, 64, 65, 127, 1000, 1024, 1025, 4099};
constexpr int kOffsets[] = {0, 1, 3};  // elements past a 64-byte boundary
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

template <typename T>
using Arena = qptest::Buffer<T>;
using qptest::SameOrBothNaN;

template <typename T>
void Fill(T* p, int n, std::mt19937& gen, T lo = -100, T hi = 100) {
    std::uniform_real_distribution<T> d(lo, hi);
    for (int i = 0; i < n; ++i) p[i] = d(gen);
}

// Distance in units in the last place of float, against a long double reference.
double Ulps(float got, long double ref) {
    const float r = static_cast<float>(ref);
    const double ulp = std::nextafter(std::fabs(r), kInf) - std::fabs(r);
    return static_cast<double>(std::fabs(static_cast<long double>(got) - ref) / ulp);
}

// The documented extreme: the first strictly better non-NaN element; index 0 when all are NaN.
struct RefExtreme {
    int index;
    float value;
};
RefExtreme Reference(const float* x, int n, bool larger) {
    int best = -1;
    for (int i = 0; i < n; ++i) {
        if (std::isnan(x[i])) continue;
        if (best < 0 || (larger ? x[i] > x[best] : x[i] < x[best])) best = i;
    }
    if (best < 0) best = 0;
    return {best, x[best]};
}

class StatsPaths : public testing::TestWithParam<int> {
  protected:
    int P() const { return GetParam(); }
};

// --- sums, norms, standard deviation ----------------------------------------------------------

TEST_P(StatsPaths, SumsAndNormsMatchLongDouble) {
    std::mt19937 gen(11);
    for (int n : kLengths) {
        for (int off : kOffsets) {
            SCOPED_TRACE(testing::Message() << "n=" << n << " offset=" << off);
            Arena<float> f(n, off);
            Arena<double> d(n, off);
            Fill(f.data, n, gen);
            Fill(d.data, n, gen);
            long double sf = 0, qf = 0, sd = 0, qd = 0, ad = 0;
            for (int i = 0; i < n; ++i) {
                sf += f.data[i];
                qf += static_cast<long double>(f.data[i]) * f.data[i];
                sd += d.data[i];
                qd += static_cast<long double>(d.data[i]) * d.data[i];
                ad += std::fabs(d.data[i]);
            }
            float rf = 0;
            double rd = 0;
            ASSERT_EQ(qptest::sum_f32_paths[P()](f.data, 0, &rf, n), qp::qpStsNoErr);
            EXPECT_LE(Ulps(rf, sf), 1.0) << rf << " vs " << static_cast<double>(sf);
            ASSERT_EQ(qptest::norml2_f32_paths[P()](f.data, &rf, n), qp::qpStsNoErr);
            EXPECT_LE(Ulps(rf, std::sqrt(qf)), 1.0);
            // Double sums: within the classic bound n * eps * sum |x|.
            const double bound = n * 0x1p-52 * static_cast<double>(ad);
            ASSERT_EQ(qptest::sum_f64_paths[P()](d.data, &rd, n), qp::qpStsNoErr);
            EXPECT_NEAR(rd, static_cast<double>(sd), bound);
            ASSERT_EQ(qptest::norml2_f64_paths[P()](d.data, &rd, n), qp::qpStsNoErr);
            EXPECT_NEAR(rd, static_cast<double>(std::sqrt(qd)), bound);
            if (n < 2) continue;
            const long double mean = sf / n;
            long double v = 0;
            for (int i = 0; i < n; ++i) v += (f.data[i] - mean) * (f.data[i] - mean);
            ASSERT_EQ(qptest::stddev_f32_paths[P()](f.data, 2, &rf, n), qp::qpStsNoErr);
            EXPECT_LE(Ulps(rf, std::sqrt(v / (n - 1))), 2.0);
        }
    }
}

// Small cases with known answers, overflow and underflow of the double norm, and non-finite input.
TEST_P(StatsPaths, ValueKernelsOnSpecialInputs) {
    struct Case {
        std::vector<double> x;
        double norm;
    } cases[] = {
        {{3, 4}, 5},
        {{3e200, -4e200}, 5e200},
        {{3e-200, 4e-200, 0, 0, 0, 0, 0, 0, 0}, 5e-200},
        {{0, 0, 0}, 0},
        {{1, kInf, 2}, kInf},
    };
    for (const Case& c : cases) {
        double r = -1;
        ASSERT_EQ(qptest::norml2_f64_paths[P()](c.x.data(), &r, static_cast<int>(c.x.size())), qp::qpStsNoErr);
        if (std::isinf(c.norm)) {
            EXPECT_EQ(r, c.norm);
        } else {
            EXPECT_NEAR(r, c.norm, c.norm * 1e-15) << c.x[0];
        }
    }
    const double withNaN[] = {1, std::nan(""), 2};
    double r = 0;
    qptest::norml2_f64_paths[P()](withNaN, &r, 3);
    EXPECT_TRUE(std::isnan(r));

    const float four[] = {1, 2, 3, 4}, same[] = {7.25f, 7.25f, 7.25f}, inf[] = {1, kInf, 3};
    float s = 0;
    qptest::stddev_f32_paths[P()](four, 2, &s, 4);
    EXPECT_FLOAT_EQ(s, std::sqrt(5.0f / 3.0f));
    qptest::stddev_f32_paths[P()](same, 2, &s, 3);
    EXPECT_EQ(s, 0.0f);
    qptest::stddev_f32_paths[P()](inf, 2, &s, 3);
    EXPECT_TRUE(std::isnan(s));
    // The float sum rounds once: 2^24 + 1 + 1 is exact in double.
    const float big[] = {16777216.0f, 1, 1};
    qptest::sum_f32_paths[P()](big, 0, &s, 3);
    EXPECT_EQ(s, 16777218.0f);
}

// --- extrema --------------------------------------------------------------------------------------

// Every extreme kernel against the documented rule on one array.
void CheckExtrema(int path, const float* x, int n) {
    const RefExtreme hi = Reference(x, n, true), lo = Reference(x, n, false);
    float v = 0, w = 0;
    int i = -1, j = -1;
    ASSERT_EQ(qptest::max_f32_paths[path](x, &v, n), qp::qpStsNoErr);
    EXPECT_TRUE(v == hi.value || (std::isnan(v) && std::isnan(hi.value))) << v << " vs " << hi.value;
    ASSERT_EQ(qptest::min_f32_paths[path](x, &v, n), qp::qpStsNoErr);
    EXPECT_TRUE(v == lo.value || (std::isnan(v) && std::isnan(lo.value))) << v << " vs " << lo.value;
    ASSERT_EQ(qptest::minmax_f32_paths[path](x, &v, &w, n), qp::qpStsNoErr);
    EXPECT_TRUE(v == lo.value || (std::isnan(v) && std::isnan(lo.value)));
    EXPECT_TRUE(w == hi.value || (std::isnan(w) && std::isnan(hi.value)));
    ASSERT_EQ(qptest::maxindx_f32_paths[path](x, &v, &i, n), qp::qpStsNoErr);
    EXPECT_EQ(i, hi.index);
    EXPECT_TRUE(SameOrBothNaN(v, hi.value));
    ASSERT_EQ(qptest::minindx_f32_paths[path](x, &v, &i, n), qp::qpStsNoErr);
    EXPECT_EQ(i, lo.index);
    EXPECT_TRUE(SameOrBothNaN(v, lo.value));
    ASSERT_EQ(qptest::minmaxindx_f32_paths[path](x, &v, &i, &w, &j, n), qp::qpStsNoErr);
    EXPECT_EQ(i, lo.index);
    EXPECT_EQ(j, hi.index);
    EXPECT_TRUE(SameOrBothNaN(v, lo.value));
    EXPECT_TRUE(SameOrBothNaN(w, hi.value));

    std::vector<double> d(x, x + n);
    double dv = 0;
    ASSERT_EQ(qptest::max_f64_paths[path](d.data(), &dv, n), qp::qpStsNoErr);
    EXPECT_TRUE(dv == hi.value || (std::isnan(dv) && std::isnan(hi.value)));
    ASSERT_EQ(qptest::min_f64_paths[path](d.data(), &dv, n), qp::qpStsNoErr);
    EXPECT_TRUE(dv == lo.value || (std::isnan(dv) && std::isnan(lo.value)));
}

// Positions worth planting an extreme at: both ends, every lane of the first and last vectors, the
// scalar remainder, the middle and the block boundaries.
std::vector<int> Positions(int n) {
    std::vector<int> pos = {0, n / 2, 1023, 1024, 2047, 2048, 4096};
    for (int k = 1; k < 17; ++k) {
        pos.push_back(k);
        pos.push_back(n - k);
    }
    std::vector<int> valid;
    for (int p : pos) {
        if (p >= 0 && p < n) valid.push_back(p);
    }
    return valid;
}

TEST_P(StatsPaths, PlantedExtremaAndTiesGiveTheFirstOccurrence) {
    std::mt19937 gen(5);
    for (int n : kLengths) {
        const int off = n % 3 + 1;
        Arena<float> a(n, off);
        for (int p : Positions(n)) {
            SCOPED_TRACE(testing::Message() << "n=" << n << " at=" << p);
            Fill(a.data, n, gen);
            a.data[p] = 500;
            a.data[n - 1 - p] = -500;
            CheckExtrema(P(), a.data, n);
            // A later tie, and an earlier one in another lane or block.
            a.data[(p + 5) % n] = 500;
            a.data[p / 3] = -500;
            CheckExtrema(P(), a.data, n);
        }
    }
}

// Small integer values (many ties, ±0) mixed with NaN and infinities at random places.
TEST_P(StatsPaths, ExtremaIgnoreNaNAndKeepInfinities) {
    std::mt19937 gen(7);
    const float specials[] = {kNaN, kNaN, kInf, -kInf, 0.0f, -0.0f};
    for (int n : kLengths) {
        for (int round = 0; round < 4; ++round) {
            SCOPED_TRACE(testing::Message() << "n=" << n << " round=" << round);
            std::vector<float> x(n);
            std::uniform_int_distribution<int> small(-9, 9), pick(0, 9);
            for (float& e : x) {
                const int k = pick(gen);
                e = k < 6 && round > 0 ? specials[k] : static_cast<float>(small(gen));
            }
            CheckExtrema(P(), x.data(), n);
        }
        std::vector<float> x(n, kNaN);  // all NaN, then a lone -inf / +inf among NaN
        CheckExtrema(P(), x.data(), n);
        x[n / 2] = -kInf;
        CheckExtrema(P(), x.data(), n);
        x[n / 2] = kInf;
        x[n - 1] = -kInf;
        CheckExtrema(P(), x.data(), n);
    }
}

// --- element-wise max / min ---------------------------------------------------------------------

float RefMaxOf(float a, float b) { return std::isnan(b) ? a : std::isnan(a) ? b : a > b ? a : b; }
float RefMinOf(float a, float b) { return std::isnan(b) ? a : std::isnan(a) ? b : a < b ? a : b; }

TEST_P(StatsPaths, EveryMatchesTheRuleOnAllLengthsAndAliasings) {
    struct Op {
        qp::maxevery_f32_fn* binary;
        qp::maxevery_inplace_f32_fn* inPlace;
        float (*ref)(float, float);
    } ops[] = {{qptest::maxevery_f32_paths[P()], qptest::maxevery_inplace_f32_paths[P()], RefMaxOf},
               {qptest::minevery_f32_paths[P()], qptest::minevery_inplace_f32_paths[P()], RefMinOf}};
    std::mt19937 gen(3);
    const float specials[] = {kNaN, 0.0f, -0.0f, kInf, -kInf};
    for (const Op& op : ops) {
        for (int n : kLengths) {
            for (int off : kOffsets) {
                SCOPED_TRACE(testing::Message() << "n=" << n << " offset=" << off);
                Arena<float> a(n, off), b(n, (off + 2) % 4), d(n, (off + 1) % 4);
                Fill(a.data, n, gen, -4.0f, 4.0f);
                Fill(b.data, n, gen, -4.0f, 4.0f);
                for (int i = 0; i < n; i += 3) a.data[i] = specials[(i / 3) % 5];
                for (int i = 0; i < n; i += 2) b.data[i] = specials[(i / 2) % 5];
                std::vector<float> want(n), a0(a.data, a.data + n), b0(b.data, b.data + n);
                for (int i = 0; i < n; ++i) want[i] = op.ref(a0[i], b0[i]);
                ASSERT_EQ(op.binary(a.data, b.data, d.data, n), qp::qpStsNoErr);
                for (int i = 0; i < n; ++i) ASSERT_TRUE(SameOrBothNaN(d.data[i], want[i])) << i;
                EXPECT_TRUE(d.TailIntact());
                ASSERT_EQ(op.binary(a.data, b.data, a.data, n), qp::qpStsNoErr);  // dst is a
                for (int i = 0; i < n; ++i) ASSERT_TRUE(SameOrBothNaN(a.data[i], want[i])) << i;
                ASSERT_EQ(op.inPlace(a0.data(), b.data, n), qp::qpStsNoErr);  // dst is b
                for (int i = 0; i < n; ++i) ASSERT_TRUE(SameOrBothNaN(b.data[i], want[i])) << i;
                EXPECT_TRUE(b.TailIntact());
            }
        }
    }
}

// --- refusals -------------------------------------------------------------------------------------

TEST_P(StatsPaths, RefusalsReturnTheStatusAndWriteNothing) {
    const int p = P();
    float x[4] = {1, 2, 3, 4}, o = 9, o2 = 9;
    double xd[4] = {1, 2, 3, 4}, od = 9;
    int i = 9, j = 9;
    // call(z, n) passes its pointer number z (0 = first) as nullptr; each row says how many it has.
    const auto at = [](auto* ptr, int z, int k) { return z == k ? nullptr : ptr; };
    const std::vector<std::pair<int, std::function<Status(int, int)>>> calls = {
        {2, [&](int z, int n) { return qptest::sum_f32_paths[p](at(x, z, 0), 0, at(&o, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::sum_f64_paths[p](at(xd, z, 0), at(&od, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::max_f32_paths[p](at(x, z, 0), at(&o, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::min_f32_paths[p](at(x, z, 0), at(&o, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::max_f64_paths[p](at(xd, z, 0), at(&od, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::min_f64_paths[p](at(xd, z, 0), at(&od, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::norml2_f32_paths[p](at(x, z, 0), at(&o, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::norml2_f64_paths[p](at(xd, z, 0), at(&od, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::stddev_f32_paths[p](at(x, z, 0), 2, at(&o, z, 1), n); }},
        {3, [&](int z, int n) { return qptest::maxindx_f32_paths[p](at(x, z, 0), at(&o, z, 1), at(&i, z, 2), n); }},
        {3, [&](int z, int n) { return qptest::minindx_f32_paths[p](at(x, z, 0), at(&o, z, 1), at(&i, z, 2), n); }},
        {3, [&](int z, int n) { return qptest::minmax_f32_paths[p](at(x, z, 0), at(&o, z, 1), at(&o2, z, 2), n); }},
        {5, [&](int z, int n) {
             return qptest::minmaxindx_f32_paths[p](at(x, z, 0), at(&o, z, 1), at(&i, z, 2), at(&o2, z, 3),
                                                    at(&j, z, 4), n);
         }},
        // The element-wise forms get one element: the destination is a single float.
        {3, [&](int z, int n) {
             return qptest::maxevery_f32_paths[p](at(x, z, 0), at(x, z, 1), at(&o, z, 2), std::min(n, 1));
         }},
        {2, [&](int z, int n) {
             return qptest::minevery_inplace_f32_paths[p](at(x, z, 0), at(&o, z, 1), std::min(n, 1));
         }},
    };
    for (std::size_t k = 0; k < calls.size(); ++k) {
        for (int z = 0; z < calls[k].first; ++z) EXPECT_EQ(calls[k].second(z, 4), qp::qpStsNullPtrErr) << k << " " << z;
        for (int len : qptest::kBadLengths) EXPECT_EQ(calls[k].second(-1, len), qp::qpStsSizeErr) << k << " " << len;
        EXPECT_TRUE(o == 9 && o2 == 9 && od == 9 && i == 9 && j == 9) << k;
    }
    // A single element has no sample deviation.
    EXPECT_EQ(qptest::stddev_f32_paths[p](x, 2, &o, 1), qp::qpStsSizeErr);
    EXPECT_EQ(o, 9);
}

QP_INSTANTIATE_PATHS(StatsPaths);

// Worst error of the float Sum, NormL2 and StandardDeviation on a million random elements (a
// sixteenth of that under emulation), against long double. Zero-mean data makes the sum cancel.
TEST(StatsAccuracy, FloatReductionsOnAMillionElements) {
    const int n = qptest::Emulated() ? 1 << 16 : 1 << 20;
    std::mt19937 gen(2024);
    std::vector<float> x(n), y(n);
    Fill(x.data(), n, gen, -1.0f, 1.0f);
    for (int i = 0; i < n; ++i) y[i] = 10000.0f + static_cast<float>(i % 1000) * 0.001f + x[i];  // large mean
    long double s = 0, q = 0, sy = 0;
    for (int i = 0; i < n; ++i) {
        s += x[i];
        q += static_cast<long double>(x[i]) * x[i];
        sy += y[i];
    }
    long double vy = 0;
    for (int i = 0; i < n; ++i) vy += (y[i] - sy / n) * (y[i] - sy / n);
    double worst[3] = {0, 0, 0};
    for (int p : qptest::RunnablePaths()) {
        float r = 0;
        qptest::sum_f32_paths[p](x.data(), 0, &r, n);
        worst[0] = std::max(worst[0], Ulps(r, s));
        qptest::norml2_f32_paths[p](x.data(), &r, n);
        worst[1] = std::max(worst[1], Ulps(r, std::sqrt(q)));
        qptest::stddev_f32_paths[p](y.data(), 2, &r, n);
        worst[2] = std::max(worst[2], Ulps(r, std::sqrt(vy / (n - 1))));
    }
    RecordProperty("sum_ulps", std::to_string(worst[0]));
    RecordProperty("norm_ulps", std::to_string(worst[1]));
    RecordProperty("stddev_ulps", std::to_string(worst[2]));
    std::printf("worst ulps over %d elements: sum %.3f, norm %.3f, stddev %.3f\n", n, worst[0], worst[1], worst[2]);
    EXPECT_LE(worst[0], 1.0);
    EXPECT_LE(worst[1], 1.0);
    EXPECT_LE(worst[2], 1.0);
}

// --- exports ------------------------------------------------------------------------------------

TEST(StatsExports, ForwardAndReturnTheDescribedResults) {
    const float a[] = {1, 3, 3, 2}, b[] = {2, 1, 1};
    float v = -1;
    EXPECT_EQ(qu::MaxIndex(4, a, &v), 1u);
    EXPECT_EQ(v, 3.0f);
    EXPECT_EQ(qu::MinIndex(3, b, &v), 1u);
    EXPECT_EQ(v, 1.0f);
    EXPECT_EQ(qu::MinIndex(3, b, nullptr), 1u);
    const float c[] = {4, -2, 9, -2, 9}, four[] = {1, 2, 3, 4}, pair[] = {3, 4};
    const double cd[] = {4, -2, 9, 0.5};
    float lo = 0, hi = 0;
    unsigned int li = 7, hj = 7;
    qu::MinMax(5, c, lo, hi);
    EXPECT_EQ(lo, -2.0f);
    EXPECT_EQ(hi, 9.0f);
    qu::MinMaxIndex(5, c, lo, hi, li, hj);
    EXPECT_EQ(li, 1u);
    EXPECT_EQ(hj, 2u);
    EXPECT_EQ(qu::Sum(5, c), 18.0f);
    EXPECT_EQ(qu::Sum(4, cd), 11.5);
    EXPECT_EQ(qu::Max(5, c), 9.0f);
    EXPECT_EQ(qu::Min(5, c), -2.0f);
    EXPECT_EQ(qu::Max(4, cd), 9.0);
    EXPECT_EQ(qu::Min(4, cd), -2.0);
    EXPECT_EQ(qu::NormL2(2, pair), 5.0f);
    const double pd[] = {3, 4};
    EXPECT_EQ(qu::NormL2(2, pd), 5.0);
    qu::StandardDeviation(4, four, v);
    EXPECT_FLOAT_EQ(v, std::sqrt(5.0f / 3.0f));

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

TEST(StatsExports, RefusedCallsReturnZeroAndKeepOutputs) {
    const float x[] = {5, 6, 7};
    const double xd[] = {5, 6, 7};
    for (unsigned int n : {0u, 0x80000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(n);
        EXPECT_EQ(qu::Sum(n, x), 0.0f);
        EXPECT_EQ(qu::Sum(n, xd), 0.0);
        EXPECT_EQ(qu::Max(n, x), 0.0f);
        EXPECT_EQ(qu::Min(n, xd), 0.0);
        EXPECT_EQ(qu::NormL2(n, x), 0.0f);
        EXPECT_EQ(qu::NormL2(n, xd), 0.0);
        float v = 9, lo = 9, hi = 9, sd = 9, d[3] = {1, 1, 1};
        unsigned int li = 9, hj = 9;
        EXPECT_EQ(qu::MaxIndex(n, x, &v), 0u);
        EXPECT_EQ(v, 0.0f);  // preset value written even on refusal
        v = 9;
        EXPECT_EQ(qu::MinIndex(n, x, &v), 0u);
        EXPECT_EQ(v, 0.0f);
        qu::MinMax(n, x, lo, hi);
        qu::MinMaxIndex(n, x, lo, hi, li, hj);
        qu::StandardDeviation(n, x, sd);
        qu::MaxEvery(n, x, x, d);
        qu::MinEvery_InPlace(n, x, d);
        EXPECT_TRUE(lo == 9 && hi == 9 && sd == 9 && li == 0 && hj == 0);
        EXPECT_TRUE(d[0] == 1 && d[1] == 1 && d[2] == 1);
    }
    EXPECT_EQ(qu::Max(3, static_cast<const float*>(nullptr)), 0.0f);
    EXPECT_EQ(qu::Sum(3, static_cast<const double*>(nullptr)), 0.0);
    float sd = 9;
    qu::StandardDeviation(1, x, sd);
    EXPECT_EQ(sd, 9.0f);
}

// The largest-magnitude MinMax is computed by the export: every length and alignment, with the
// extreme anywhere, NaN seeds and a count of 0.
TEST(StatsExports, LargestMagnitudeOverLengthsAndAlignments) {
    std::mt19937 gen(9);
    for (int n : kLengths) {
        for (int off : kOffsets) {
            Arena<float> a(n, off);
            for (int p : Positions(n)) {
                SCOPED_TRACE(testing::Message() << "n=" << n << " offset=" << off << " at=" << p);
                Fill(a.data, n, gen);
                a.data[p] = (p % 2) ? -300.0f : 300.0f;
                ASSERT_EQ(qu::MinMax(a.data, static_cast<unsigned int>(n)), 300.0f);
            }
            a.data[0] = kNaN;  // a NaN seed does not stick
            float want = 0;
            for (int i = 1; i < n; ++i) want = std::max(want, std::fabs(a.data[i]));
            const float got = qu::MinMax(a.data, static_cast<unsigned int>(n));
            EXPECT_TRUE(n > 1 ? got == want : std::isnan(got)) << n;
        }
    }
    const float m53[] = {-5, 3}, p27[] = {2, 7}, nan2[] = {kNaN, kNaN}, nz[] = {-0.0f};
    EXPECT_EQ(qu::MinMax(m53, 2), 5.0f);
    EXPECT_EQ(qu::MinMax(p27, 2), 7.0f);
    EXPECT_EQ(qu::MinMax(m53, 0), 5.0f);
    EXPECT_TRUE(std::isnan(qu::MinMax(nan2, 2)));
    EXPECT_FALSE(std::signbit(qu::MinMax(nz, 1)));
}

}  // namespace
