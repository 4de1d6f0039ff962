// IIR filter: the kernels on every runnable code path against a long-double direct recursion, the
// delay-line layout, and the exported functions through dispatch.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <type_traits>
#include <vector>

#include "filter_support.h"
#include "quoraccelerate/filter.h"

namespace {

using LD = long double;
using qptest::ForEachType;

// One recursive section, normalised: b[0..N], a[0..N] with a[0] = 1.
struct Stage {
    std::vector<LD> b, a;
};

// A filter as the kernels take it: raw coefficients (before the division by a0) and the same
// filter normalised in long double, as one stage (arbitrary order) or one stage per biquad.
template <typename T>
struct Design {
    int order = 0;     // arbitrary form
    int sections = 0;  // biquad form (order 0)
    std::vector<T> taps;
    std::vector<Stage> stages;
    int Count() const { return sections > 0 ? sections : order; }
    int DelayLength() const { return sections > 0 ? 2 * sections : order; }
};

// Denominator with poles of radius 0.3..0.9 (complex pairs, one real pole for odd orders), random
// numerator, every coefficient of a section scaled so that its a0 is 1, 2.5 or -0.75.
template <typename T>
Design<T> MakeDesign(int order, int sections, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> radius(0.3, 0.9), angle(0.1, 3.0), coef(-1.0, 1.0);
    const LD scales[] = {1.0L, 2.5L, -0.75L};
    Design<T> d;
    d.order = order;
    d.sections = sections;
    for (int m = 0; m < std::max(sections, 1); ++m) {
        const int n = sections > 0 ? 2 : order;
        const LD scale = scales[(seed + m) % 3];
        std::vector<LD> a{1};
        auto mul = [&a](std::vector<LD> f) {
            std::vector<LD> r(a.size() + f.size() - 1, 0);
            for (std::size_t i = 0; i < a.size(); ++i)
                for (std::size_t j = 0; j < f.size(); ++j) r[i + j] += a[i] * f[j];
            a = r;
        };
        for (int k = 0; k + 1 < n; k += 2) {
            const LD r = radius(gen), t = angle(gen);
            mul({1, -2 * r * std::cos(t), r * r});
        }
        if (n % 2 == 1) mul({1, static_cast<LD>(coef(gen) * 0.8)});
        std::vector<T> b(n + 1), araw(n + 1);
        Stage s;
        for (int k = 0; k <= n; ++k) {
            b[k] = static_cast<T>(coef(gen) * scale);
            araw[k] = static_cast<T>(a[k] * scale);
        }
        for (int k = 0; k <= n; ++k) {
            s.b.push_back(static_cast<LD>(b[k]) / static_cast<LD>(araw[0]));
            s.a.push_back(static_cast<LD>(araw[k]) / static_cast<LD>(araw[0]));
        }
        d.stages.push_back(s);
        d.taps.insert(d.taps.end(), b.begin(), b.end());
        d.taps.insert(d.taps.end(), araw.begin(), araw.end());
    }
    return d;
}

// The filter in long double, in transposed direct form II: n outputs from x and the state carried
// in and out, per stage N values d[k] = sum over j = k+1 .. N of b[j] x[n+k-j] - a[j] y[n+k-j].
template <typename T>
std::vector<LD> Filter(const std::vector<Stage>& stages, std::vector<LD>& state, const T* x, int n) {
    std::vector<LD> y(x, x + n);
    LD* d = state.data();
    for (const Stage& s : stages) {
        const int N = static_cast<int>(s.b.size()) - 1;
        for (LD& v : y) {
            const LD in = v;
            v = s.b[0] * in + d[0];
            for (int k = 0; k < N; ++k) d[k] = (k + 1 < N ? d[k + 1] : 0) + s.b[k + 1] * in - s.a[k + 1] * v;
        }
        d += N;
    }
    return y;
}

// |got - want| within the tolerance, relative to the largest reference value (at least 1).
template <typename T>
void ExpectClose(const T* got, const std::vector<LD>& want) {
    const double tol = sizeof(T) == 4 ? 2e-4 : 1e-11;
    LD scale = 1;
    for (LD w : want) scale = std::max(scale, std::fabs(w));
    for (std::size_t i = 0; i < want.size(); ++i) {
        ASSERT_NEAR(static_cast<double>(got[i]), static_cast<double>(want[i]), tol * static_cast<double>(scale)) << "i=" << i;
    }
}

struct Case {
    int order, sections;
};
constexpr Case kDesigns[] = {{1, 0}, {2, 0}, {3, 0}, {5, 0}, {10, 0}, {0, 1}, {0, 2}, {0, 5}};

// --- the primitives of one code path -------------------------------------------------------------

// A primitive state in its own block (deliberately not 64-byte aligned).
template <typename T>
struct PrimState {
    PrimState(int path, const Design<T>& d, const T* dly) : path(path) {
        int size = 0;
        const bool bq = d.sections > 0;
        EXPECT_EQ((bq ? QP_TYPED(iir_state_size_bq, path) : QP_TYPED(iir_state_size, path))(d.Count(), &size), qp::qpStsNoErr);
        block.assign(static_cast<std::size_t>(size) + 8, 0xA5);
        EXPECT_EQ((bq ? QP_TYPED(iir_init_bq, path) : QP_TYPED(iir_init, path))(&state, d.taps.data(), d.Count(), dly, block.data() + 8),
                  qp::qpStsNoErr);
    }
    qp::Status Run(const T* src, T* dst, int len) { return QP_TYPED(iir, path)(src, dst, len, state); }
    std::vector<T> Delay(int n) {
        std::vector<T> d(n);
        EXPECT_EQ(QP_TYPED(iir_get_dly, path)(state, d.data()), qp::qpStsNoErr);
        return d;
    }
    int path;
    std::vector<unsigned char> block;
    void* state = nullptr;
};

class IIRPaths : public testing::TestWithParam<int> {};

// One signal through blocks of every length around the block sizes (8, 16 outputs), vector widths
// and passes (512 for the arbitrary order, 512 or 1024 for cascades): each block's outputs against
// the recursion, nothing written past them, the transposed direct form II delay line after each
// block; in place the same bits. A delay line given at init, or set later, is the history the
// filter continues from; a null one clears it.
TEST_P(IIRPaths, FollowsTheRecursionAcrossBlocksInPlaceAndFromAGivenHistory) {
    const int path = GetParam();
    std::vector<int> blocks = {1, 2, 3, 7, 8, 9, 15, 16, 17, 33, 100, 511, 512, 513};
    if (!qptest::Emulated()) blocks.insert(blocks.end(), {1023, 1024, 1025, 2100});
    int total = 0;
    for (int b : blocks) total += b;
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        for (const Case& c : kDesigns) {
            SCOPED_TRACE(testing::Message() << "order=" << c.order << " sections=" << c.sections);
            const Design<T> d = MakeDesign<T>(c.order, c.sections, 11u + c.order + 7u * c.sections);
            const int D = d.DelayLength();
            const std::vector<T> x = qptest::Random<T>(total, 5u + c.order);
            std::vector<LD> state(D, 0);
            PrimState<T> a(path, d, nullptr), b(path, d, nullptr);
            std::vector<T> out(total + 2, T(-7)), io = x;
            int at = 0;
            for (int len : blocks) {
                SCOPED_TRACE(testing::Message() << "block of " << len << " at " << at);
                ASSERT_EQ(a.Run(x.data() + at, out.data() + 1 + at, len), qp::qpStsNoErr);
                ASSERT_EQ(b.Run(io.data() + at, io.data() + at, len), qp::qpStsNoErr);
                ExpectClose(out.data() + 1 + at, Filter(d.stages, state, x.data() + at, len));
                ASSERT_EQ(out[1 + at + len], T(-7)) << "written past the end";
                at += len;
                ExpectClose(a.Delay(D).data(), state);
            }
            EXPECT_EQ(out[0], T(-7));
            EXPECT_EQ(std::memcmp(out.data() + 1, io.data(), total * sizeof(T)), 0) << "in place";

            std::vector<LD> wide(D, 0);
            Filter(d.stages, wide, x.data(), 37);
            const std::vector<T> history(wide.begin(), wide.end());
            PrimState<T> given(path, d, history.data()), set(path, d, nullptr);
            ASSERT_EQ(QP_TYPED(iir_set_dly, path)(set.state, history.data()), qp::qpStsNoErr);
            EXPECT_EQ(given.Delay(D), history);
            EXPECT_EQ(set.Delay(D), history);
            std::vector<T> y1(300), y2(300);
            ASSERT_EQ(given.Run(x.data() + 37, y1.data(), 300), qp::qpStsNoErr);
            ASSERT_EQ(set.Run(x.data() + 37, y2.data(), 300), qp::qpStsNoErr);
            ExpectClose(y1.data(), Filter(d.stages, wide, x.data() + 37, 300));
            EXPECT_EQ(y1, y2);
            ASSERT_EQ(QP_TYPED(iir_set_dly, path)(set.state, nullptr), qp::qpStsNoErr);
            EXPECT_EQ(set.Delay(D), std::vector<T>(D, T(0)));
        }
    });
}

// Null pointers first, then the order, then a zero a0 (of the filter or of any section); filtering,
// get and set: pointers, then the length, then the state's precision. Nothing written on refusal.
TEST_P(IIRPaths, RefusalsWriteNothing) {
    const int path = GetParam();
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        const Design<T> arb = MakeDesign<T>(3, 0, 1), bq = MakeDesign<T>(0, 2, 1);
        int size = -1;
        const auto sizeOf = QP_TYPED(iir_state_size, path);
        EXPECT_EQ(sizeOf(0, &size), qp::qpStsIIROrderErr);
        EXPECT_EQ(sizeOf(-4, &size), qp::qpStsIIROrderErr);
        EXPECT_EQ(QP_TYPED(iir_state_size_bq, path)(0, &size), qp::qpStsIIROrderErr);
        EXPECT_EQ(sizeOf(3, nullptr), qp::qpStsNullPtrErr);
        EXPECT_EQ(sizeOf(0x7FFFFFFF, &size), qp::qpStsIIROrderErr);  // does not fit 32 bits
        EXPECT_EQ(size, -1);

        std::vector<unsigned char> block(1 << 16, 0x5A);
        unsigned char* buf = block.data();
        void* const kUntouched = reinterpret_cast<void*>(0x1234);
        void* state = kUntouched;
        std::vector<T> zeroA0 = arb.taps, zeroSectionA0 = bq.taps;
        zeroA0[4] = T(0);
        zeroSectionA0[9] = T(0);
        const T* taps = arb.taps.data();
        const struct { bool biquad; const T* taps; int order; void** pp; unsigned char* buffer; qp::Status want; } refusals[] = {
            {false, nullptr, 3, &state, buf, qp::qpStsNullPtrErr},      {false, taps, 3, nullptr, buf, qp::qpStsNullPtrErr},
            {false, taps, 3, &state, nullptr, qp::qpStsNullPtrErr},     {false, nullptr, 0, &state, buf, qp::qpStsNullPtrErr},
            {false, taps, 0, &state, buf, qp::qpStsIIROrderErr},        {false, taps, -1, &state, buf, qp::qpStsIIROrderErr},
            {false, zeroA0.data(), 3, &state, buf, qp::qpStsDivByZeroErr}, {true, nullptr, 2, &state, buf, qp::qpStsNullPtrErr},
            {true, bq.taps.data(), 0, &state, buf, qp::qpStsIIROrderErr},
            {true, zeroSectionA0.data(), 2, &state, buf, qp::qpStsDivByZeroErr},
        };
        for (const auto& r : refusals) {
            const auto init = r.biquad ? QP_TYPED(iir_init_bq, path) : QP_TYPED(iir_init, path);
            EXPECT_EQ(init(r.pp, r.taps, r.order, nullptr, r.buffer), r.want);
        }
        EXPECT_EQ(state, kUntouched);
        EXPECT_TRUE(std::all_of(block.begin(), block.end(), [](unsigned char v) { return v == 0x5A; }));

        const std::vector<T> history = {T(0.5), T(-1), T(2)};
        PrimState<T> st(path, arb, history.data());
        PrimState<float> other(path, MakeDesign<float>(3, 0, 1), nullptr);
        T src[4] = {1, 2, 3, 4}, dst[4] = {9, 9, 9, 9};
        const auto filter = QP_TYPED(iir, path);
        const auto get = QP_TYPED(iir_get_dly, path);
        const auto set = QP_TYPED(iir_set_dly, path);
        EXPECT_EQ(filter(nullptr, dst, 4, st.state), qp::qpStsNullPtrErr);
        EXPECT_EQ(filter(src, nullptr, 4, st.state), qp::qpStsNullPtrErr);
        EXPECT_EQ(filter(src, dst, 4, nullptr), qp::qpStsNullPtrErr);
        EXPECT_EQ(filter(src, dst, 0, st.state), qp::qpStsSizeErr);
        EXPECT_EQ(filter(src, dst, -3, st.state), qp::qpStsSizeErr);
        EXPECT_EQ(get(nullptr, dst), qp::qpStsNullPtrErr);
        EXPECT_EQ(get(st.state, nullptr), qp::qpStsNullPtrErr);
        EXPECT_EQ(set(nullptr, src), qp::qpStsNullPtrErr);
        if (std::is_same_v<T, double>) {
            EXPECT_EQ(filter(src, dst, 4, other.state), qp::qpStsContextMatchErr);
            EXPECT_EQ(set(other.state, src), qp::qpStsContextMatchErr);
        }
        EXPECT_EQ(std::vector<T>(dst, dst + 4), std::vector<T>(4, T(9)));
        EXPECT_EQ(st.Delay(3), history);
    });
}

QP_INSTANTIATE_PATHS(IIRPaths);

// --- exported functions ---------------------------------------------------------------------------

namespace qf = quoraccelerate::filter;

template <typename T>
using Record = std::conditional_t<std::is_same_v<T, float>, quoraccelerate::IIRState_Float, quoraccelerate::IIRState_Double>;

template <typename T>
Record<T>* Create(const Design<T>& d, const T* dly = nullptr) {
    Record<T>* s = nullptr;
    if (d.sections > 0) {
        qf::IIRInit_BiQuad(&s, d.taps.data(), static_cast<unsigned int>(d.sections), dly);
    } else {
        qf::IIRInit(&s, d.taps.data(), static_cast<unsigned int>(d.order), dly);
    }
    return s;
}

// The block (split in two), single-sample and in-place forms follow the recursion and leave the
// same delay line; a filter (or one section) whose coefficients are scaled by a power of two gives
// the same bits, a0 being divided out. IIRSetTaps keeps the history: with the same taps the output
// continues bit for bit, with new taps as a filter of those taps started from that delay line; a
// refused set (a0 = 0) leaves the filter as it was.
TEST(IIRExports, EveryFormFollowsTheRecursion) {
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        for (const Case& c : kDesigns) {
            SCOPED_TRACE(testing::Message() << "order=" << c.order << " sections=" << c.sections);
            const Design<T> d = MakeDesign<T>(c.order, c.sections, 8u + c.order + c.sections);
            Design<T> scaledDesign = d;
            const int per = c.sections > 0 ? 6 : 2 * (c.order + 1);
            for (int i = 0; i < per; ++i) scaledDesign.taps[(c.sections > 1 ? 6 : 0) + i] *= c.sections > 0 ? T(-4) : T(0.25);
            const int n = 203, D = d.DelayLength();
            const std::vector<T> x = qptest::Random<T>(n + 100, 17);
            std::vector<LD> state(D, 0);
            const std::vector<LD> ref = Filter(d.stages, state, x.data(), n);
            auto *block = Create(d), *single = Create(d), *inplace = Create(d), *scaled = Create(scaledDesign);
            ASSERT_NE(block, nullptr);
            std::vector<T> dly(D, T(1));
            qf::IIRGetDlyLine(block, dly.data());
            EXPECT_EQ(dly, std::vector<T>(D, T(0)));

            std::vector<T> y(n), z(n), w(x.begin(), x.begin() + n), v(n);
            qf::IIR(100u, x.data(), y.data(), block);
            qf::IIR(100u, x.data(), v.data(), scaled);
            if constexpr (std::is_same_v<T, double>) qf::IIRSetTaps(block, d.taps.data());  // the same taps again
            qf::IIR(static_cast<unsigned int>(n - 100), x.data() + 100, y.data() + 100, block);
            qf::IIR(static_cast<unsigned int>(n - 100), x.data() + 100, v.data() + 100, scaled);
            for (int i = 0; i < n; ++i) z[i] = qf::IIR(x[i], single);
            qf::IIR_InPlace(static_cast<unsigned int>(n), w.data(), inplace);
            for (const auto& got : {y, z, w}) ExpectClose(got.data(), ref);
            EXPECT_EQ(v, y) << "scaled coefficients";
            for (auto* s : {block, single, inplace}) {
                qf::IIRGetDlyLine(s, dly.data());
                ExpectClose(dly.data(), state);
            }

            if constexpr (std::is_same_v<T, double>) {
                const Design<T> e = MakeDesign<T>(c.order, c.sections, 61u + c.order);
                qf::IIRSetTaps(inplace, e.taps.data());
                std::vector<T> after(D);
                qf::IIRGetDlyLine(inplace, after.data());
                EXPECT_EQ(after, dly);
                auto* fresh = Create(e, dly.data());
                std::vector<T> p(100), q(100);
                qf::IIR(100u, x.data() + n, p.data(), inplace);
                qf::IIR(100u, x.data() + n, q.data(), fresh);
                EXPECT_EQ(p, q) << "new taps";
                std::vector<T> bad = e.taps;
                bad[c.sections > 0 ? 3 : c.order + 1] = 0;
                qf::IIRSetTaps(inplace, bad.data());
                EXPECT_EQ(qf::IIR(T(0.5), inplace), qf::IIR(T(0.5), fresh));
                qf::IIRFree(fresh);
            }
            qf::IIRSetDlyLine(block, nullptr);
            qf::IIRGetDlyLine(block, dly.data());
            EXPECT_EQ(dly, std::vector<T>(D, T(0)));
            for (auto* s : {block, single, inplace, scaled}) qf::IIRFree(s);
        }
    });
}

// Refused initialisations leave the handle; refused processing writes nothing and keeps the history.
TEST(IIRExports, FailuresLeaveTheHandleAndTheStateAlone) {
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        using R = Record<T>;
        R* const kUntouched = reinterpret_cast<R*>(0x4321);
        const Design<T> arb = MakeDesign<T>(2, 0, 2), bq = MakeDesign<T>(0, 1, 2);
        std::vector<T> zeroA0 = arb.taps;
        zeroA0[3] = T(0);
        const T* none = nullptr;
        R* s = kUntouched;
        qf::IIRInit(&s, arb.taps.data(), 0u, nullptr);
        qf::IIRInit(&s, arb.taps.data(), 0x80000000u, nullptr);
        qf::IIRInit(&s, zeroA0.data(), 2u, nullptr);
        qf::IIRInit(&s, none, 2u, nullptr);
        qf::IIRInit_BiQuad(&s, bq.taps.data(), 0u, nullptr);
        qf::IIRInit_BiQuad(&s, zeroA0.data(), 1u, nullptr);  // a0 of the section is taps[3]
        qf::IIRInit_BiQuad(&s, none, 1u, nullptr);
        EXPECT_EQ(s, kUntouched);
        qf::IIRFree(static_cast<R*>(nullptr));

        const T history[] = {T(0.25), T(-0.5)};
        R* st = Create(arb, history);
        ASSERT_NE(st, nullptr);
        T dst[2] = {7, 7}, dly[2] = {};
        qf::IIR(0u, history, dst, st);
        qf::IIR(0x80000000u, history, dst, st);
        qf::IIR(2u, none, dst, st);
        qf::IIR_InPlace(0u, dst, st);
        qf::IIRGetDlyLine(st, dly);
        EXPECT_EQ(std::vector<T>(dst, dst + 2), std::vector<T>(2, T(7)));
        EXPECT_EQ(std::vector<T>(dly, dly + 2), std::vector<T>(history, history + 2));
        qf::IIRFree(st);
    });
}

}  // namespace
