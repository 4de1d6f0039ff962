// IIR filter: the kernels on every runnable code path against a long-double direct recursion, the
// delay-line layout, and the exported functions through dispatch.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "paths.h"
#include "quoraccelerate/filter.h"
#include "runtime/runtime.h"

namespace {

using qptest::RunnablePaths;
using LD = long double;

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
    int DelayLength() const { return sections > 0 ? 2 * sections : order; }
};

// Denominator with the given poles (complex pairs of radius r, one real pole for odd orders),
// random numerator, every coefficient scaled by `scale` so that a0 = scale.
template <typename T>
void AppendStage(Design<T>* d, int order, std::mt19937& gen, LD scale) {
    std::uniform_real_distribution<double> radius(0.3, 0.9), angle(0.1, 3.0), coef(-1.0, 1.0);
    std::vector<LD> a{1};
    auto mul = [&a](std::vector<LD> f) {
        std::vector<LD> r(a.size() + f.size() - 1, 0);
        for (std::size_t i = 0; i < a.size(); ++i)
            for (std::size_t j = 0; j < f.size(); ++j) r[i + j] += a[i] * f[j];
        a = r;
    };
    for (int k = 0; k + 1 < order; k += 2) {
        const LD r = radius(gen), t = angle(gen);
        mul({1, -2 * r * std::cos(t), r * r});
    }
    if (order % 2 == 1) mul({1, static_cast<LD>(coef(gen) * 0.8)});
    std::vector<T> b(order + 1), araw(order + 1);
    for (int k = 0; k <= order; ++k) {
        b[k] = static_cast<T>(coef(gen) * scale);
        araw[k] = static_cast<T>(a[k] * scale);
    }
    Stage s;
    for (int k = 0; k <= order; ++k) {
        s.b.push_back(static_cast<LD>(b[k]) / static_cast<LD>(araw[0]));
        s.a.push_back(static_cast<LD>(araw[k]) / static_cast<LD>(araw[0]));
    }
    d->stages.push_back(s);
    d->taps.insert(d->taps.end(), b.begin(), b.end());
    d->taps.insert(d->taps.end(), araw.begin(), araw.end());
}

template <typename T>
Design<T> MakeDesign(int order, int sections, unsigned seed) {
    std::mt19937 gen(seed);
    Design<T> d;
    d.order = order;
    d.sections = sections;
    const LD scales[] = {1.0L, 2.5L, -0.75L};
    if (sections == 0) {
        AppendStage(&d, order, gen, scales[seed % 3]);
    } else {
        for (int m = 0; m < sections; ++m) AppendStage(&d, 2, gen, scales[(seed + m) % 3]);
    }
    return d;
}

// Direct recursion of every stage over x (zero history); returns the signal before each stage
// and after the last (stage m reads signals[m] and writes signals[m + 1]).
std::vector<std::vector<LD>> Reference(const std::vector<Stage>& stages, const std::vector<LD>& x) {
    std::vector<std::vector<LD>> s{x};
    for (const Stage& st : stages) {
        const std::vector<LD>& in = s.back();
        std::vector<LD> out(in.size());
        const int order = static_cast<int>(st.b.size()) - 1;
        for (std::size_t n = 0; n < in.size(); ++n) {
            LD acc = 0;
            for (int k = 0; k <= order && k <= static_cast<int>(n); ++k) acc += st.b[k] * in[n - k];
            for (int k = 1; k <= order && k <= static_cast<int>(n); ++k) acc -= st.a[k] * out[n - k];
            out[n] = acc;
        }
        s.push_back(out);
    }
    return s;
}

// The delay line by its definition, after the first n samples: per stage,
// d[k] = sum over j = k+1 .. N of b[j] x[n+k-j] - a[j] y[n+k-j] (zero before the signal).
std::vector<LD> DelayAfter(const std::vector<Stage>& stages, const std::vector<std::vector<LD>>& s, int n) {
    std::vector<LD> d;
    for (std::size_t m = 0; m < stages.size(); ++m) {
        const int order = static_cast<int>(stages[m].b.size()) - 1;
        for (int k = 0; k < order; ++k) {
            LD v = 0;
            for (int j = k + 1; j <= order; ++j) {
                const int i = n + k - j;
                if (i >= 0) v += stages[m].b[j] * s[m][i] - stages[m].a[j] * s[m + 1][i];
            }
            d.push_back(v);
        }
    }
    return d;
}

template <typename T>
std::vector<T> Signal(int n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> dist(-1, 1);
    std::vector<T> x(n);
    for (T& v : x) v = static_cast<T>(dist(gen));
    return x;
}

template <typename T>
std::vector<LD> Widen(const std::vector<T>& x) {
    return std::vector<LD>(x.begin(), x.end());
}

template <typename T>
constexpr double kTol = sizeof(T) == 4 ? 2e-4 : 1e-11;

// |got - want| within the tolerance, relative to the largest reference value.
template <typename T>
void ExpectClose(const T* got, const std::vector<LD>& want, int from, int n) {
    LD scale = 1;
    for (int i = 0; i < n; ++i) scale = std::max(scale, std::fabs(want[from + i]));
    for (int i = 0; i < n; ++i) {
        ASSERT_NEAR(static_cast<double>(got[i]), static_cast<double>(want[from + i]), kTol<T> * static_cast<double>(scale))
            << "i=" << i;
    }
}

// --- the primitives of one code path -------------------------------------------------------------

// A primitive state in its own block (deliberately not 64-byte aligned).
template <typename T>
struct PrimState {
    PrimState(int path, const Design<T>& d, const T* dly) : path(path) {
        int size = 0;
        const int n = d.sections > 0 ? d.sections : d.order;
        const auto sizeOf = d.sections > 0 ? QP_TYPED(iir_state_size_bq, path) : QP_TYPED(iir_state_size, path);
        EXPECT_EQ(sizeOf(n, &size), qp::qpStsNoErr);
        block.assign(static_cast<std::size_t>(size) + 8, 0xA5);
        const qp::Status s = (d.sections > 0 ? QP_TYPED(iir_init_bq, path) : QP_TYPED(iir_init, path))(
            &state, d.taps.data(), n, dly, block.data() + 8);
        EXPECT_EQ(s, qp::qpStsNoErr);
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

struct Case {
    int order, sections;
};
constexpr Case kDesigns[] = {{1, 0}, {2, 0}, {3, 0}, {5, 0}, {10, 0}, {0, 1}, {0, 2}, {0, 5}};

// Around every block size (8, 16 outputs), vector width and pass length (512 for the arbitrary
// order, 512 or 1024 for cascades).
std::vector<int> Lengths() {
    std::vector<int> l = {1, 2, 3, 7, 8, 9, 15, 16, 17, 33, 100, 511, 512, 513};
    if (!qptest::Emulated()) l.insert(l.end(), {1023, 1024, 1025, 2100});
    return l;
}

class IIRPaths : public testing::TestWithParam<int> {};

template <typename T>
void CheckAgainstReference(int path) {
    for (const Case& c : kDesigns) {
        const Design<T> d = MakeDesign<T>(c.order, c.sections, 11u + c.order + 7u * c.sections);
        for (int n : Lengths()) {
            SCOPED_TRACE(testing::Message() << "order=" << c.order << " sections=" << c.sections << " n=" << n);
            const std::vector<T> x = Signal<T>(n, 5u + n);
            const auto ref = Reference(d.stages, Widen(x));
            PrimState<T> st(path, d, nullptr);
            // Source and destination off any vector boundary, with a guard after the destination.
            std::vector<T> in(n + 1), out(n + 4, T(-7));
            std::copy(x.begin(), x.end(), in.begin() + 1);
            ASSERT_EQ(st.Run(in.data() + 1, out.data() + 1, n), qp::qpStsNoErr);
            ExpectClose(out.data() + 1, ref.back(), 0, n);
            EXPECT_EQ(out[0], T(-7));
            EXPECT_EQ(out[n + 1], T(-7));
            // The delay line is the transposed direct form II state.
            const std::vector<LD> want = DelayAfter(d.stages, ref, n);
            ExpectClose(st.Delay(d.DelayLength()).data(), want, 0, d.DelayLength());
        }
    }
}

TEST_P(IIRPaths, MatchesDirectRecursionAndExposesTheTransposedState) {
    CheckAgainstReference<float>(GetParam());
    CheckAgainstReference<double>(GetParam());
}

// Blocks of varying size carry the history; in-place runs give the same bits as separate buffers.
template <typename T>
void CheckBlocks(int path) {
    const int blocks[] = {1, 7, 8, 9, 3, 16, 600, 1, 1030, 2, 17};
    int total = 0;
    for (int b : blocks) total += b;
    for (const Case& c : kDesigns) {
        SCOPED_TRACE(testing::Message() << "order=" << c.order << " sections=" << c.sections);
        const Design<T> d = MakeDesign<T>(c.order, c.sections, 3u + c.order + c.sections);
        const std::vector<T> x = Signal<T>(total, 99);
        const auto ref = Reference(d.stages, Widen(x));
        PrimState<T> a(path, d, nullptr), b(path, d, nullptr);
        std::vector<T> out(total), inplace = x;
        int at = 0;
        for (int len : blocks) {
            ASSERT_EQ(a.Run(x.data() + at, out.data() + at, len), qp::qpStsNoErr);
            ASSERT_EQ(b.Run(inplace.data() + at, inplace.data() + at, len), qp::qpStsNoErr);
            at += len;
        }
        ExpectClose(out.data(), ref.back(), 0, total);
        EXPECT_EQ(std::memcmp(out.data(), inplace.data(), total * sizeof(T)), 0);
    }
}

TEST_P(IIRPaths, CarriesHistoryAcrossBlocksAndRunsInPlace) {
    CheckBlocks<float>(GetParam());
    CheckBlocks<double>(GetParam());
}

// A delay line given at init, or set later, is the history the filter continues from.
template <typename T>
void CheckGivenHistory(int path) {
    for (const Case& c : kDesigns) {
        SCOPED_TRACE(testing::Message() << "order=" << c.order << " sections=" << c.sections);
        const Design<T> d = MakeDesign<T>(c.order, c.sections, 21u + c.order + c.sections);
        const int prefix = 37, n = 300;
        const std::vector<T> x = Signal<T>(prefix + n, 4);
        const auto ref = Reference(d.stages, Widen(x));
        const std::vector<LD> wide = DelayAfter(d.stages, ref, prefix);
        const std::vector<T> history(wide.begin(), wide.end());

        PrimState<T> given(path, d, history.data()), set(path, d, nullptr);
        EXPECT_EQ(given.Delay(d.DelayLength()), history);
        ASSERT_EQ(QP_TYPED(iir_set_dly, path)(set.state, history.data()), qp::qpStsNoErr);
        EXPECT_EQ(set.Delay(d.DelayLength()), history);
        std::vector<T> out1(n), out2(n);
        ASSERT_EQ(given.Run(x.data() + prefix, out1.data(), n), qp::qpStsNoErr);
        ASSERT_EQ(set.Run(x.data() + prefix, out2.data(), n), qp::qpStsNoErr);
        ExpectClose(out1.data(), ref.back(), prefix, n);
        EXPECT_EQ(out1, out2);

        // Null clears it.
        ASSERT_EQ(QP_TYPED(iir_set_dly, path)(set.state, nullptr), qp::qpStsNoErr);
        EXPECT_EQ(set.Delay(d.DelayLength()), std::vector<T>(d.DelayLength(), T(0)));
    }
}

TEST_P(IIRPaths, StartsFromAGivenOrSetDelayLine) {
    CheckGivenHistory<float>(GetParam());
    CheckGivenHistory<double>(GetParam());
}

template <typename T>
void CheckRefusals(int path) {
    const Design<T> arb = MakeDesign<T>(3, 0, 1), bq = MakeDesign<T>(0, 2, 1);
    int size = -1;
    const auto sizeOf = QP_TYPED(iir_state_size, path);
    EXPECT_EQ(sizeOf(0, &size), qp::qpStsIIROrderErr);
    EXPECT_EQ(sizeOf(-4, &size), qp::qpStsIIROrderErr);
    EXPECT_EQ(QP_TYPED(iir_state_size_bq, path)(0, &size), qp::qpStsIIROrderErr);
    EXPECT_EQ(sizeOf(3, nullptr), qp::qpStsNullPtrErr);
    EXPECT_EQ(sizeOf(0x7FFFFFFF, &size), qp::qpStsIIROrderErr);  // does not fit 32 bits
    EXPECT_EQ(size, -1);

    // Initialisers: null pointers, then the order, then a zero a0 (of the filter or of any section).
    std::vector<unsigned char> block(1 << 16, 0x5A);
    void* const kUntouched = reinterpret_cast<void*>(0x1234);
    void* state = kUntouched;
    std::vector<T> zeroA0 = arb.taps, zeroSectionA0 = bq.taps;
    zeroA0[4] = T(0);
    zeroSectionA0[9] = T(0);
    struct Refusal {
        bool biquad;
        const T* taps;
        int order;
        void** pp;
        unsigned char* buffer;
        qp::Status want;
    } const refusals[] = {
        {false, nullptr, 3, &state, block.data(), qp::qpStsNullPtrErr},
        {false, arb.taps.data(), 3, nullptr, block.data(), qp::qpStsNullPtrErr},
        {false, arb.taps.data(), 3, &state, nullptr, qp::qpStsNullPtrErr},
        {false, nullptr, 0, &state, block.data(), qp::qpStsNullPtrErr},
        {false, arb.taps.data(), 0, &state, block.data(), qp::qpStsIIROrderErr},
        {false, arb.taps.data(), -1, &state, block.data(), qp::qpStsIIROrderErr},
        {false, zeroA0.data(), 3, &state, block.data(), qp::qpStsDivByZeroErr},
        {true, nullptr, 2, &state, block.data(), qp::qpStsNullPtrErr},
        {true, bq.taps.data(), 0, &state, block.data(), qp::qpStsIIROrderErr},
        {true, zeroSectionA0.data(), 2, &state, block.data(), qp::qpStsDivByZeroErr},
    };
    for (const Refusal& r : refusals) {
        const auto init = r.biquad ? QP_TYPED(iir_init_bq, path) : QP_TYPED(iir_init, path);
        EXPECT_EQ(init(r.pp, r.taps, r.order, nullptr, r.buffer), r.want);
    }
    EXPECT_EQ(state, kUntouched);
    for (unsigned char byte : block) ASSERT_EQ(byte, 0x5A);

    // Filtering, get and set: pointers first, then the length; state and destination untouched.
    const std::vector<T> history = {T(0.5), T(-1), T(2)};
    PrimState<T> st(path, arb, history.data());
    T src[4] = {1, 2, 3, 4}, dst[4] = {9, 9, 9, 9};
    const auto filter = QP_TYPED(iir, path);
    EXPECT_EQ(filter(nullptr, dst, 4, st.state), qp::qpStsNullPtrErr);
    EXPECT_EQ(filter(src, nullptr, 4, st.state), qp::qpStsNullPtrErr);
    EXPECT_EQ(filter(src, dst, 4, nullptr), qp::qpStsNullPtrErr);
    EXPECT_EQ(filter(src, dst, 0, st.state), qp::qpStsSizeErr);
    EXPECT_EQ(filter(src, dst, -3, st.state), qp::qpStsSizeErr);
    for (T v : dst) EXPECT_EQ(v, T(9));
    EXPECT_EQ(st.Delay(3), history);
    EXPECT_EQ(QP_TYPED(iir_get_dly, path)(nullptr, dst), qp::qpStsNullPtrErr);
    EXPECT_EQ(QP_TYPED(iir_get_dly, path)(st.state, nullptr), qp::qpStsNullPtrErr);
    EXPECT_EQ(QP_TYPED(iir_set_dly, path)(nullptr, src), qp::qpStsNullPtrErr);
    // A state of the other precision is refused.
    PrimState<float> other(path, MakeDesign<float>(3, 0, 1), nullptr);
    if (sizeof(T) == 8) {
        EXPECT_EQ(filter(src, dst, 4, other.state), qp::qpStsContextMatchErr);
        EXPECT_EQ(QP_TYPED(iir_set_dly, path)(other.state, src), qp::qpStsContextMatchErr);
        for (T v : dst) EXPECT_EQ(v, T(9));
    }
}

TEST_P(IIRPaths, RefusalsWriteNothing) {
    CheckRefusals<float>(GetParam());
    CheckRefusals<double>(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Runnable, IIRPaths, testing::ValuesIn(RunnablePaths()),
                         [](const testing::TestParamInfo<int>& info) { return "path" + qptest::PathName(info.param); });

// --- exported functions ---------------------------------------------------------------------------

namespace qf = quoraccelerate::filter;
using quoraccelerate::IIRState_Double;
using quoraccelerate::IIRState_Float;

template <typename T>
struct RecordOf;
template <>
struct RecordOf<float> {
    using type = IIRState_Float;
};
template <>
struct RecordOf<double> {
    using type = IIRState_Double;
};

template <typename T>
typename RecordOf<T>::type* Create(const Design<T>& d, const T* dly = nullptr) {
    typename RecordOf<T>::type* s = nullptr;
    if (d.sections > 0) {
        qf::IIRInit_BiQuad(&s, d.taps.data(), static_cast<unsigned int>(d.sections), dly);
    } else {
        qf::IIRInit(&s, d.taps.data(), static_cast<unsigned int>(d.order), dly);
    }
    return s;
}

template <typename T>
void CheckExportForms() {
    for (const Case& c : kDesigns) {
        SCOPED_TRACE(testing::Message() << "order=" << c.order << " sections=" << c.sections);
        const Design<T> d = MakeDesign<T>(c.order, c.sections, 8u + c.order + c.sections);
        const int n = 203;
        const std::vector<T> x = Signal<T>(n, 17);
        const auto ref = Reference(d.stages, Widen(x));
        auto *block = Create(d), *single = Create(d), *inplace = Create(d);
        ASSERT_NE(block, nullptr);
        std::vector<T> dly(d.DelayLength(), T(1));
        qf::IIRGetDlyLine(block, dly.data());
        EXPECT_EQ(dly, std::vector<T>(d.DelayLength(), T(0)));

        std::vector<T> y(n), z(n), w = x;
        qf::IIR(100u, x.data(), y.data(), block);
        qf::IIR(static_cast<unsigned int>(n - 100), x.data() + 100, y.data() + 100, block);
        for (int i = 0; i < n; ++i) z[i] = qf::IIR(x[i], single);
        qf::IIR_InPlace(static_cast<unsigned int>(n), w.data(), inplace);
        ExpectClose(y.data(), ref.back(), 0, n);
        ExpectClose(z.data(), ref.back(), 0, n);
        ExpectClose(w.data(), ref.back(), 0, n);
        // Every form leaves the same history behind (the single-sample form moves it too).
        const std::vector<LD> want = DelayAfter(d.stages, ref, n);
        for (auto* s : {block, single, inplace}) {
            qf::IIRGetDlyLine(s, dly.data());
            ExpectClose(dly.data(), want, 0, d.DelayLength());
        }
        qf::IIRSetDlyLine(block, nullptr);
        qf::IIRGetDlyLine(block, dly.data());
        EXPECT_EQ(dly, std::vector<T>(d.DelayLength(), T(0)));
        qf::IIRFree(block);
        qf::IIRFree(single);
        qf::IIRFree(inplace);
    }
}

TEST(IIRExports, BlockSingleSampleAndInPlaceFollowTheRecursion) {
    CheckExportForms<float>();
    CheckExportForms<double>();
}

// Scaling a filter's (or a section's) coefficients by a power of two changes no bit of the output.
template <typename T>
void CheckNormalisation() {
    const std::vector<T> x = Signal<T>(77, 3);
    std::vector<T> y(77);
    for (const Case& c : kDesigns) {
        Design<T> d = MakeDesign<T>(c.order, c.sections, 40u + c.order);
        auto* plain = Create(d);
        const int per = c.sections > 0 ? 6 : 2 * (c.order + 1);
        const T factor = c.sections > 0 ? T(-4) : T(0.25);
        for (int i = 0; i < per; ++i) d.taps[(c.sections > 1 ? 6 : 0) + i] *= factor;  // one section (or the filter)
        auto* scaled = Create(d);
        std::vector<T> y2(77);
        qf::IIR(77u, x.data(), y.data(), plain);
        qf::IIR(77u, x.data(), y2.data(), scaled);
        EXPECT_EQ(y, y2) << "order=" << c.order << " sections=" << c.sections;
        qf::IIRFree(plain);
        qf::IIRFree(scaled);
    }
}

TEST(IIRExports, NormalisesByA0) {
    CheckNormalisation<float>();
    CheckNormalisation<double>();
}

// IIRSetTaps keeps the history: with the same taps the output continues bit for bit; with new
// taps it continues from the same transposed state under the new coefficients.
TEST(IIRExports, SetTapsKeepsTheHistory) {
    for (const Case& c : kDesigns) {
        SCOPED_TRACE(testing::Message() << "order=" << c.order << " sections=" << c.sections);
        const Design<double> d = MakeDesign<double>(c.order, c.sections, 60u + c.order);
        const Design<double> e = MakeDesign<double>(c.order, c.sections, 61u + c.order);
        const std::vector<double> x = Signal<double>(400, 8);
        auto *a = Create(d), *b = Create(d), *f = Create(d);
        std::vector<double> ya(400), yb(400), yf(400);
        qf::IIR(150u, x.data(), ya.data(), a);
        qf::IIR(150u, x.data(), yb.data(), b);
        qf::IIR(150u, x.data(), yf.data(), f);
        qf::IIRSetTaps(b, d.taps.data());
        qf::IIR(250u, x.data() + 150, ya.data() + 150, a);
        qf::IIR(250u, x.data() + 150, yb.data() + 150, b);
        EXPECT_EQ(ya, yb);

        std::vector<double> kept(d.DelayLength()), after(d.DelayLength());
        qf::IIRGetDlyLine(f, kept.data());
        qf::IIRSetTaps(f, e.taps.data());
        qf::IIRGetDlyLine(f, after.data());
        EXPECT_EQ(kept, after);
        qf::IIR(250u, x.data() + 150, yf.data() + 150, f);
        auto* fresh = Create(e, kept.data());
        std::vector<double> yg(250);
        qf::IIR(250u, x.data() + 150, yg.data(), fresh);
        EXPECT_EQ(std::vector<double>(yf.begin() + 150, yf.end()), yg);
        // A rejected set (a0 = 0) leaves the filter as it was.
        std::vector<double> bad = e.taps;
        bad[c.sections > 0 ? 3 : c.order + 1] = 0;
        qf::IIRSetTaps(f, bad.data());
        qf::IIRSetTaps(fresh, e.taps.data());
        double p = qf::IIR(0.5, f), q = qf::IIR(0.5, fresh);
        EXPECT_EQ(p, q);
        for (auto* s : {a, b, f, fresh}) qf::IIRFree(s);
    }
}

template <typename T>
void CheckExportFailures() {
    using R = typename RecordOf<T>::type;
    R* const kUntouched = reinterpret_cast<R*>(0x4321);
    const Design<T> arb = MakeDesign<T>(2, 0, 2), bq = MakeDesign<T>(0, 1, 2);
    std::vector<T> zeroA0 = arb.taps;
    zeroA0[3] = T(0);
    R* s = kUntouched;
    qf::IIRInit(&s, arb.taps.data(), 0u, nullptr);
    qf::IIRInit(&s, arb.taps.data(), 0x80000000u, nullptr);
    qf::IIRInit(&s, zeroA0.data(), 2u, nullptr);
    qf::IIRInit(&s, static_cast<const T*>(nullptr), 2u, nullptr);
    qf::IIRInit_BiQuad(&s, bq.taps.data(), 0u, nullptr);
    qf::IIRInit_BiQuad(&s, zeroA0.data(), 1u, nullptr);  // a0 of the section is taps[3]
    qf::IIRInit_BiQuad(&s, static_cast<const T*>(nullptr), 1u, nullptr);
    EXPECT_EQ(s, kUntouched);
    qf::IIRFree(static_cast<R*>(nullptr));

    // Processing refusals write nothing and keep the history.
    const T history[] = {T(0.25), T(-0.5)};
    R* st = Create(arb, history);
    ASSERT_NE(st, nullptr);
    T dst[2] = {7, 7};
    qf::IIR(0u, history, dst, st);
    qf::IIR(0x80000000u, history, dst, st);
    qf::IIR(2u, static_cast<const T*>(nullptr), dst, st);
    qf::IIR_InPlace(0u, dst, st);
    EXPECT_EQ(dst[0], T(7));
    EXPECT_EQ(dst[1], T(7));
    T dly[2] = {};
    qf::IIRGetDlyLine(st, dly);
    EXPECT_EQ(dly[0], history[0]);
    EXPECT_EQ(dly[1], history[1]);
    qf::IIRFree(st);
}

TEST(IIRExports, FailuresLeaveTheHandleAndTheStateAlone) {
    CheckExportFailures<float>();
    CheckExportFailures<double>();
}

}  // namespace
