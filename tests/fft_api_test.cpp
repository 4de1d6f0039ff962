// The exported FFT interface: state records of the six kinds, buffers of exactly the reported size
// at every alignment, the empty record of a refused order, the narrow FFTFree, and FFTImpl.
#include <complex>
#include <memory>
#include <type_traits>
#include <random>
#include <vector>

#include "api/fft_state.h"
#include "fft_support.h"
#include "quoraccelerate/transform.h"
#include "quoraccelerate/utility/memory.h"

namespace {

using namespace quoraccelerate;  // the six state record types
namespace qt = quoraccelerate::transform;

// The state API's forward or inverse of kind K (an index into fftt::Kinds()) over flat arrays:
// split data is the re block then the im block.
template <int K, typename T, typename State>
void Transform(bool inverse, const T* s, T* d, State* st, unsigned char* b, std::int64_t n) {
    using C = std::complex<T>;
    if constexpr (K == 0 || K == 3) {
        inverse ? qt::FFTInv(s, s + n, d, d + n, st, b) : qt::FFTFwd(s, s + n, d, d + n, st, b);
    } else if constexpr (K == 1 || K == 4) {
        auto cs = reinterpret_cast<const C*>(s);
        auto cd = reinterpret_cast<C*>(d);
        inverse ? qt::FFTInv(cs, cd, st, b) : qt::FFTFwd(cs, cd, st, b);
    } else {
        inverse ? qt::FFTInv(s, d, st, b) : qt::FFTFwd(s, d, st, b);
    }
}

template <typename State, typename T, int K>
void CheckStateKind() {
    const fftt::Kind& k = fftt::Kinds()[K];
    SCOPED_TRACE(k.name);
    qp::InitLibrary();
    for (int order : {0, 1, 4, 5, 6, 9, 13}) {
        SCOPED_TRACE(testing::Message() << "order " << order);
        const std::int64_t n = std::int64_t{1} << order;
        State* st = nullptr;
        qt::FFTInit(&st, static_cast<unsigned>(order));
        ASSERT_NE(st, nullptr);
        ASSERT_NE(st->spec, nullptr);
        EXPECT_EQ(st->spec, fftt::AlignUp64(st->specMemory));
        unsigned int size = 12345;
        qt::FFTGetBufSize(st, &size);
        int a = 0, b = 0, c = 0;
        ASSERT_EQ(k.size[qp::g_codePath](order, 2, 1, &a, &b, &c), qp::qpStsNoErr);
        EXPECT_EQ(size, static_cast<unsigned>(c));

        // Forward against the reference; then a buffer of exactly `size` bytes at every offset
        // from a 64-byte boundary, followed by guard bytes that must survive.
        const std::vector<double> in = fftt::RandomInput(k, false, order, 77u + order);
        const std::vector<long double> want = fftt::ExactOutput(k, false, in, order);
        std::vector<T> src(in.begin(), in.end()), dst(static_cast<std::size_t>(fftt::OutCount(k, false, n)));
        std::vector<unsigned char> arena(size + 64 + 128);
        for (unsigned off = 0; off < (size == 0 ? 1u : 64u); off += (order >= 13 ? 7 : 1)) {
            unsigned char* buf = size == 0 ? nullptr : fftt::AlignUp64(arena.data()) + off;
            if (buf != nullptr) std::fill(buf + size, buf + size + 32, 0x5A);
            std::fill(dst.begin(), dst.end(), T(0));
            Transform<K>(false, src.data(), dst.data(), st, buf, n);
            ASSERT_LE(fftt::Compare(dst.data(), want).rms, fftt::RmsTolerance(k, order)) << "offset " << off;
            for (unsigned g = 0; buf != nullptr && g < 32; ++g) ASSERT_EQ(buf[size + g], 0x5A) << "offset " << off;
        }
        // Round trip in place.
        std::vector<unsigned char> buffer(size + 1);
        unsigned char* buf = size == 0 ? nullptr : buffer.data();
        std::vector<T> io(dst.size() + 2);
        std::copy(src.begin(), src.end(), io.begin());
        Transform<K>(false, io.data(), io.data(), st, buf, n);
        Transform<K>(true, io.data(), io.data(), st, buf, n);
        for (std::size_t i = 0; i < src.size(); ++i) ASSERT_NEAR(io[i], src[i], 50 * fftt::RmsTolerance(k, order)) << i;

        qt::FFTFree(st);
        EXPECT_EQ(st->specMemory, nullptr);
        unsigned int after = 0;
        qt::FFTGetBufSize(st, &after);
        EXPECT_EQ(after, size);  // the record stays readable after FFTFree
        delete st;
    }
    // Orders the kind refuses still give a record, all zero, whose transforms write nothing.
    for (unsigned int order : {static_cast<unsigned>(k.limit + 1), 31u, 0xFFFFFFFFu}) {
        State* st = nullptr;
        qt::FFTInit(&st, order);
        ASSERT_NE(st, nullptr);
        EXPECT_EQ(st->spec, nullptr);
        EXPECT_EQ(st->specMemory, nullptr);
        unsigned int size = 99;
        qt::FFTGetBufSize(st, &size);
        EXPECT_EQ(size, 0u);
        std::vector<T> s(64, T(1)), d(64, T(3));
        Transform<K>(false, s.data(), d.data(), st, nullptr, 16);
        Transform<K>(true, s.data(), d.data(), st, nullptr, 16);
        for (T v : d) ASSERT_EQ(v, T(3));
        qt::FFTFree(st);
        EXPECT_EQ(st->specMemory, nullptr);
        delete st;
    }
}

TEST(FFTStateApi, RealFloat) { CheckStateKind<FFTState_Float, float, 2>(); }
TEST(FFTStateApi, RealDouble) { CheckStateKind<FFTState_Double, double, 5>(); }
TEST(FFTStateApi, InterleavedFloat) { CheckStateKind<FFTState_Complex_Float_Interleaved, float, 1>(); }
TEST(FFTStateApi, InterleavedDouble) { CheckStateKind<FFTState_Complex_Double_Interleaved, double, 4>(); }
TEST(FFTStateApi, DeinterleavedFloat) { CheckStateKind<FFTState_Complex_Float_Deinterleaved, float, 0>(); }
TEST(FFTStateApi, DeinterleavedDouble) { CheckStateKind<FFTState_Complex_Double_Deinterleaved, double, 3>(); }

// --- FFTImpl ------------------------------------------------------------------------------------

using ImplD = qt::FFTImpl<FFTState_Complex_Double_Deinterleaved, std::complex<double>>;
using ImplF = qt::FFTImpl<FFTState_Complex_Float_Deinterleaved, std::complex<float>>;

static_assert(!std::is_copy_constructible_v<ImplD> && !std::is_copy_assignable_v<ImplF>, "copy is disabled");

// The class leaves its small state record behind by design; the tests release it after the object,
// so that the leak checker of the sanitizer build stays quiet.
template <typename Impl>
void Destroy(std::unique_ptr<Impl>& impl) {
    auto* record = impl->state;
    impl.reset();
    delete record;
}

TEST(FFTImpl, SizeToOrder) {
    struct Row {
        unsigned int order, size, wantOrder, wantBlock;
    };
    const Row rows[] = {{5, 0, 5, 32},     {0, 1000, 10, 1024}, {0, 700, 9, 512}, {3, 724, 9, 512},
                        {0, 725, 10, 1024}, {0, 1, 0, 1},        {0, 2, 1, 2},     {7, 3, 2, 4}};
    for (const Row& r : rows) {
        auto f = std::make_unique<ImplF>(r.order, r.size);
        EXPECT_EQ(f->GetOrder(), r.wantOrder) << r.size;
        EXPECT_EQ(f->GetFFTSize(), r.size);
        EXPECT_EQ(f->GetBlockSize(), r.wantBlock) << r.size;
        Destroy(f);
        auto d = std::make_unique<ImplD>(r.order, r.size);
        EXPECT_EQ(d->GetOrder(), r.wantOrder) << r.size;
        Destroy(d);
    }
}

// An impulse transforms to ones exactly, random data goes there and back in place; a resize
// rebuilds (the inverse of a DC bin at the new size is scaled by its N).
template <typename Impl, typename T>
void CheckImplTransforms() {
    auto f = std::make_unique<Impl>(0, 256);
    ASSERT_EQ(f->GetBlockSize(), 256u);
    std::vector<T> re(256, 0), im(256, 0), ore(256), oim(256);
    re[0] = 1;
    f->ProcessFwd(re.data(), im.data(), ore.data(), oim.data());
    for (int i = 0; i < 256; ++i) ASSERT_TRUE(ore[i] == T(1) && oim[i] == T(0)) << i;
    std::mt19937 gen(5);
    std::uniform_real_distribution<T> dist(-1, 1);
    for (int i = 0; i < 256; ++i) re[i] = dist(gen), im[i] = dist(gen);
    const std::vector<T> r0 = re, i0 = im;
    f->ProcessFwd(re.data(), im.data(), re.data(), im.data());
    f->ProcessInv(re.data(), im.data(), re.data(), im.data());
    const T tol = sizeof(T) == 8 ? T(1e-14) : T(2e-6);
    for (int i = 0; i < 256; ++i) ASSERT_TRUE(std::abs(re[i] - r0[i]) <= tol && std::abs(im[i] - i0[i]) <= tol) << i;

    // Same size: nothing changes. Another size: new state and buffer.
    auto* state = f->state;
    auto* buffer = f->workBuffer;
    f->SetFFTSize(256);
    EXPECT_EQ(f->state, state);
    EXPECT_EQ(f->workBuffer, buffer);
    f->SetFFTSize(4096);
    EXPECT_EQ(f->GetOrder(), 12u);
    EXPECT_EQ(f->GetBlockSize(), 4096u);
    EXPECT_NE(f->state, nullptr);
    EXPECT_EQ(state->specMemory, nullptr);  // the old record's tables were released
    EXPECT_NE(f->workBuffer, nullptr);
    delete state;
    std::vector<T> big(4096, 0), bigIm(4096, 0), outRe(4096), outIm(4096);
    big[0] = 2;
    f->ProcessInv(big.data(), bigIm.data(), outRe.data(), outIm.data());
    for (int i = 0; i < 4096; ++i) ASSERT_NEAR(outRe[i], T(2) / 4096, tol);

    // A small size needs no buffer: SetFFTSize asks for 0 bytes and gets null.
    state = f->state;
    f->SetFFTSize(8);
    EXPECT_EQ(f->workBuffer, nullptr);
    EXPECT_EQ(f->GetOrder(), 3u);
    delete state;
    Destroy(f);

    // Default construction: nothing built; the stored size 0 is a no-op, a new size builds.
    auto g = std::make_unique<Impl>();
    EXPECT_TRUE(g->GetOrder() == 0 && g->GetFFTSize() == 0 && g->GetBlockSize() == 1 && g->workBuffer == nullptr);
    g->SetFFTSize(0);
    EXPECT_EQ(g->state, nullptr);
    g->SetFFTSize(1000);
    EXPECT_EQ(g->GetOrder(), 10u);
    EXPECT_EQ(g->GetBlockSize(), 1024u);
    ASSERT_NE(g->state, nullptr);
    EXPECT_NE(g->state->spec, nullptr);
    Destroy(g);
}

TEST(FFTImpl, DoubleTransformsAndResizes) { CheckImplTransforms<ImplD, double>(); }
TEST(FFTImpl, FloatTransformsAndResizes) { CheckImplTransforms<ImplF, float>(); }

// An order the kind refuses: an empty record, transforms write nothing.
TEST(FFTImpl, RefusedOrderWritesNothing) {
    auto f = std::make_unique<ImplF>(30, 0);
    EXPECT_EQ(f->GetOrder(), 30u);
    ASSERT_NE(f->state, nullptr);
    EXPECT_EQ(f->state->spec, nullptr);
    EXPECT_EQ(f->workBuffer, nullptr);
    float re[4] = {1, 2, 3, 4}, im[4] = {}, o[4] = {9, 9, 9, 9}, oi[4] = {9, 9, 9, 9};
    f->ProcessFwd(re, im, o, oi);
    for (float v : o) EXPECT_EQ(v, 9.0f);
    Destroy(f);
}

}  // namespace
