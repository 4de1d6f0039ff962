// Accuracy of every kind against a long-double reference, side by side with FFTW's error on the
// same inputs; a few orders in the normal run, the whole table (orders 4..20) in LargeFFTAccuracy.
// Also the large orders (21..24, label large) and each kind's largest order (label huge).
#include <cstdio>

#include "fft_support.h"

namespace {

using fftt::Kind;
using fftt::Kinds;
using fftt::Shape;

// Iterative radix-2 FFT in long double with exactly indexed twiddles: error near 1e-19.
void LongDoubleFFT(std::vector<std::complex<long double>>& x, bool inverse) {
    const std::size_t n = x.size();
    for (std::size_t i = 1, j = 0; i < n; ++i) {
        std::size_t bit = n >> 1;
        for (; j & bit; bit >>= 1) j ^= bit;
        j ^= bit;
        if (i < j) std::swap(x[i], x[j]);
    }
    const long double kPi = 3.141592653589793238462643383279502884L;
    std::vector<std::complex<long double>> w(n / 2 + 1);
    for (std::size_t k = 0; k < w.size(); ++k) {
        const long double a = (inverse ? 2 : -2) * kPi * static_cast<long double>(k) / static_cast<long double>(n);
        w[k] = {std::cos(a), std::sin(a)};
    }
    for (std::size_t len = 2; len <= n; len <<= 1) {
        const std::size_t step = n / len;
        for (std::size_t i = 0; i < n; i += len)
            for (std::size_t j = 0; j < len / 2; ++j) {
                const auto u = x[i + j], v = x[i + j + len / 2] * w[j * step];
                x[i + j] = u + v;
                x[i + j + len / 2] = u - v;
            }
    }
}

struct Row {
    double ours, fftw;
};

// Forward transform of a random input on the dispatched path and by FFTW in the same precision,
// both measured against the long-double reference.
Row MeasureForward(const Kind& k, int order) {
    const std::int64_t n = std::int64_t{1} << order;
    const std::vector<double> in = fftt::RandomInput(k, false, order, 4242u + order);
    std::vector<std::complex<long double>> x(static_cast<std::size_t>(n));
    for (std::int64_t i = 0; i < n; ++i) {
        if (k.shape == Shape::kSplit) x[i] = {in[i], in[n + i]};
        if (k.shape == Shape::kInterleaved) x[i] = {in[2 * i], in[2 * i + 1]};
        if (k.shape == Shape::kReal) x[i] = {in[i], 0};
    }
    LongDoubleFFT(x, false);
    const std::int64_t bins = k.shape == Shape::kReal ? n / 2 + 1 : n;
    std::vector<double> ours(static_cast<std::size_t>(2 * n + 2)), theirs(ours.size());

    qp::InitLibrary();
    const int path = qp::g_codePath;
    fftt::SpecHolder spec(k, path, order);
    std::vector<unsigned char> buf(static_cast<std::size_t>(spec.bufSize) + 1);
    if (k.isDouble) {
        std::vector<double> out(static_cast<std::size_t>(fftt::OutCount(k, false, n)));
        fftt::Apply<double>(k, path, false, in.data(), out.data(), spec.spec, buf.data(), n);
        for (std::int64_t b = 0; b < bins; ++b) {
            ours[2 * b] = k.shape == Shape::kSplit ? out[b] : out[2 * b];
            ours[2 * b + 1] = k.shape == Shape::kSplit ? out[n + b] : out[2 * b + 1];
        }
        std::vector<fftw_complex> c(static_cast<std::size_t>(n));
        if (k.shape == Shape::kReal) {
            std::vector<double> r(in.begin(), in.begin() + n);
            fftw_plan p = fftw_plan_dft_r2c_1d(static_cast<int>(n), r.data(), c.data(), FFTW_ESTIMATE);
            fftw_execute(p);
            fftw_destroy_plan(p);
        } else {
            for (std::int64_t i = 0; i < n; ++i) {
                c[i][0] = k.shape == Shape::kSplit ? in[i] : in[2 * i];
                c[i][1] = k.shape == Shape::kSplit ? in[n + i] : in[2 * i + 1];
            }
            fftw_plan p = fftw_plan_dft_1d(static_cast<int>(n), c.data(), c.data(), FFTW_FORWARD, FFTW_ESTIMATE);
            fftw_execute(p);
            fftw_destroy_plan(p);
        }
        for (std::int64_t b = 0; b < bins; ++b) {
            theirs[2 * b] = c[b][0];
            theirs[2 * b + 1] = c[b][1];
        }
    } else {
        std::vector<float> inf(in.begin(), in.end()), out(static_cast<std::size_t>(fftt::OutCount(k, false, n)));
        fftt::Apply<float>(k, path, false, inf.data(), out.data(), spec.spec, buf.data(), n);
        for (std::int64_t b = 0; b < bins; ++b) {
            ours[2 * b] = k.shape == Shape::kSplit ? out[b] : out[2 * b];
            ours[2 * b + 1] = k.shape == Shape::kSplit ? out[n + b] : out[2 * b + 1];
        }
        std::vector<fftwf_complex> c(static_cast<std::size_t>(n));
        if (k.shape == Shape::kReal) {
            std::vector<float> r(inf.begin(), inf.begin() + n);
            fftwf_plan p = fftwf_plan_dft_r2c_1d(static_cast<int>(n), r.data(), c.data(), FFTW_ESTIMATE);
            fftwf_execute(p);
            fftwf_destroy_plan(p);
        } else {
            for (std::int64_t i = 0; i < n; ++i) {
                c[i][0] = k.shape == Shape::kSplit ? inf[i] : inf[2 * i];
                c[i][1] = k.shape == Shape::kSplit ? inf[n + i] : inf[2 * i + 1];
            }
            fftwf_plan p = fftwf_plan_dft_1d(static_cast<int>(n), c.data(), c.data(), FFTW_FORWARD, FFTW_ESTIMATE);
            fftwf_execute(p);
            fftwf_destroy_plan(p);
        }
        for (std::int64_t b = 0; b < bins; ++b) {
            theirs[2 * b] = c[b][0];
            theirs[2 * b + 1] = c[b][1];
        }
    }
    long double eo = 0, et = 0, r = 0;
    for (std::int64_t b = 0; b < bins; ++b) {
        const auto ref = x[b];
        eo += std::norm(std::complex<long double>(ours[2 * b], ours[2 * b + 1]) - ref);
        et += std::norm(std::complex<long double>(theirs[2 * b], theirs[2 * b + 1]) - ref);
        r += std::norm(ref);
    }
    return {static_cast<double>(std::sqrt(eo / r)), static_cast<double>(std::sqrt(et / r))};
}

// Ours no worse than FFTW's error times 2 (plus one unit of rounding for the tiny errors of the
// smallest orders, where either may be exact).
void CheckRow(const Kind& k, int order, const Row& row) {
    const double eps = k.isDouble ? 1.1e-16 : 6e-8;
    EXPECT_LE(row.ours, 2.0 * row.fftw + eps) << k.name << " order " << order;
}

TEST(FFTAccuracy, NoWorseThanFFTWAtSomeOrders) {
    for (const Kind& k : Kinds())
        for (int order : {4, 7, 11}) CheckRow(k, order, MeasureForward(k, order));
}

TEST(LargeFFTAccuracy, TableOfOrders4To20) {
    std::printf("relative RMS error against a long-double reference (forward, dispatched path %d)\n", qp::g_codePath);
    std::printf("%-6s", "order");
    for (const Kind& k : Kinds()) std::printf("  %9s %9s", k.name, "fftw");
    std::printf("\n");
    for (int order = 4; order <= 20; ++order) {
        std::printf("%-6d", order);
        for (const Kind& k : Kinds()) {
            const Row row = MeasureForward(k, order);
            std::printf("  %9.2e %9.2e", row.ours, row.fftw);
            CheckRow(k, order, row);
        }
        std::printf("\n");
        std::fflush(stdout);
    }
}

// Round trip in place and one forward against FFTW on the dispatched path.
void CheckLargeOrder(const Kind& k, int order, bool againstReference) {
    SCOPED_TRACE(testing::Message() << k.name << " order " << order);
    qp::InitLibrary();
    const int path = qp::g_codePath;
    const std::int64_t n = std::int64_t{1} << order;
    fftt::SpecHolder spec(k, path, order);
    ASSERT_EQ(spec.status, qp::qpStsNoErr);
    std::vector<unsigned char> buf(static_cast<std::size_t>(spec.bufSize) + 1);
    const std::vector<double> in = fftt::RandomInput(k, false, order, 99u + order);
    auto run = [&](auto zero) {
        using T = decltype(zero);
        std::vector<T> io(static_cast<std::size_t>(fftt::OutCount(k, false, n)));
        std::copy(in.begin(), in.end(), io.begin());
        ASSERT_EQ(fftt::Apply<T>(k, path, false, io.data(), io.data(), spec.spec, buf.data(), n), qp::qpStsNoErr);
        if (againstReference) {
            const fftt::Error e = fftt::Compare(io.data(), fftt::Reference(k, false, in, order));
            EXPECT_LE(e.rms, fftt::RmsTolerance(k, order));
            EXPECT_LE(e.max, fftt::MaxTolerance(k, order));
        }
        ASSERT_EQ(fftt::Apply<T>(k, path, true, io.data(), io.data(), spec.spec, buf.data(), n), qp::qpStsNoErr);
        const fftt::Error back = fftt::Compare(io.data(), in);
        EXPECT_LE(back.rms, 2 * fftt::RmsTolerance(k, order));
    };
    if (k.isDouble)
        run(0.0);
    else
        run(0.0f);
}

TEST(LargeFFTOrders, Orders21To24) {
    for (const Kind& k : Kinds())
        for (int order = 21; order <= 24; ++order) CheckLargeOrder(k, order, true);
}

TEST(HugeFFTOrders, LargestOrderOfEachKind) {
    for (const Kind& k : Kinds()) CheckLargeOrder(k, k.limit, false);
}

}  // namespace
