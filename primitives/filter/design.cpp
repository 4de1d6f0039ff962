// Low-pass FIR design by the window method, in double precision.
//
// With N taps, cut-off f (fraction of the sampling rate) and centre c = (N - 1) / 2, the ideal
// response is h[n] = sin(2 pi f (n - c)) / (pi (n - c)), and 2 f at the centre of an odd length.
// Only the first floor(N/2) taps (and the centre) are computed, windowed and normalised; the second
// half is their mirror image, so the result is exactly symmetric.
//
// The sines come from a tone generator that writes sin(2 pi f d) for the distances d = n - c of the
// first half into the caller's scratch buffer. It reduces the phase f * d to whole turns first, so
// the sine's argument stays within [-pi, pi] however long the filter.
#include "simd/simd.h"
#include "simd/window_math.h"

namespace qp {
namespace QP_PATH_NS {

namespace {

using simd::Vec;
namespace win = simd::win;
using win::VD;

constexpr double kPi = 3.14159265358979323846264338327950288;
constexpr double kTwoPi = 6.28318530717958647692528676655900577;
constexpr double kShifter = 6755399441055744.0;  // 1.5 * 2^52: adding it rounds to an integer

enum Window { kBartlett = 0, kBlackman = 1, kHamming = 2, kHann = 3 };

// Scratch bytes for tapsLen taps: 16 bytes per tap of the first half and alignment room.
QP_INLINE int ScratchBytes(int tapsLen) {
    const std::uint32_t half = static_cast<std::uint32_t>(tapsLen / 2);
    return static_cast<int>(((half * 16u + 46u) & ~31u) + 16u);
}

// tone[m] = sin(2 pi f d_m), d_m = m - c, for m = 0 .. count - 1.
QP_INLINE void Tone(double f, double c, double* tone, int count) {
    constexpr int L = simd::kLanes<double>;
    const auto sine = [=](VD m) {
        const VD turns = f * (m - c);
        const VD whole = (turns + kShifter) - kShifter;
        return win::Sin((turns - whole) * kTwoPi);
    };
    int m = 0;
    for (; m + L <= count; m += L) simd::Store(tone + m, sine(win::Iota<double>() + static_cast<double>(m)));
    if (m < count) {
        const VD s = sine(win::Iota<double>() + static_cast<double>(m));
        for (int i = 0; m + i < count; ++i) tone[m + i] = s[i];
    }
}

// Weight of position n of an N-tap window (n <= c).
QP_INLINE VD WindowWeight(int window, VD n, double N, double blackmanAlpha) {
    const double M = N - 1.0;
    const VD x = n * (kTwoPi / M);
    switch (window) {
        case kBartlett:
            return 1.0 - win::Abs(n * (2.0 / M) - 1.0);
        case kBlackman:
            return ((blackmanAlpha + 1.0) * 0.5 - 0.5 * win::Cos(x)) - (blackmanAlpha * 0.5) * win::Cos(x + x);
        case kHamming:
            return 0.54 - 0.46 * win::Cos(x);
        case kHann:
            return 0.5 - 0.5 * win::Cos(x);
        default:
            return simd::Broadcast(1.0);
    }
}

}  // namespace

Status fir_gen_get_buf_size(int tapsLen, int* bufSize) {
    if (bufSize == nullptr) return qpStsNullPtrErr;
    if (tapsLen < 5) return qpStsSizeErr;
    *bufSize = ScratchBytes(tapsLen);
    return qpStsNoErr;
}

Status fir_gen_lowpass_f64(double rFreq, int window, int normalize, double* taps, int tapsLen, unsigned char* buffer) {
    if (taps == nullptr || buffer == nullptr) return qpStsNullPtrErr;
    if (tapsLen < 5 || !(rFreq > 0.0) || !(rFreq < 0.5)) return qpStsSizeErr;
    constexpr int L = simd::kLanes<double>;
    const int N = tapsLen;
    const int half = N / 2;
    const bool odd = (N & 1) != 0;
    const double c = 0.5 * static_cast<double>(N - 1);

    // The scratch starts at the next multiple of 16 bytes; the size rule leaves room for that.
    const std::uintptr_t p = reinterpret_cast<std::uintptr_t>(buffer);
    double* tone = reinterpret_cast<double*>((p + 15) & ~std::uintptr_t{15});
    Tone(rFreq, c, tone, half);

    // Ideal response times window, first half (vectors, then the lanes of one more vector).
    // Optimal Blackman: alpha = -0.5 / (1 + cos(2 pi / (N - 1))).
    const double alpha = -0.5 / (1.0 + win::Cos(simd::Broadcast(kTwoPi / (N - 1.0)))[0]);
    const auto response = [=](int m0, VD t) {
        const VD m = win::Iota<double>() + static_cast<double>(m0);
        return t / (kPi * (m - c)) * WindowWeight(window, m, N, alpha);
    };
    int m = 0;
    for (; m + L <= half; m += L) simd::Store(taps + m, response(m, simd::Load(tone + m)));
    if (m < half) {
        double t[L] = {};
        for (int i = 0; m + i < half; ++i) t[i] = tone[m + i];
        const VD h = response(m, simd::Load(t));
        for (int i = 0; m + i < half; ++i) taps[m + i] = h[i];
    }
    if (odd) taps[half] = 2.0 * rFreq * WindowWeight(window, simd::Broadcast(c), N, alpha)[0];

    if (normalize != 0) {
        VD acc{};
        m = 0;
        for (; m + L <= half; m += L) acc += simd::Load(taps + m);
        double s = 0.0;
        for (int i = 0; i < L; ++i) s += acc[i];
        for (; m < half; ++m) s += taps[m];
        s *= 2.0;
        if (odd) s += taps[half];
        const double scale = 1.0 / (s < 0 ? -s : s);
        m = 0;
        for (; m + L <= half; m += L) simd::Store(taps + m, simd::Load(taps + m) * scale);
        for (; m < half; ++m) taps[m] *= scale;
        if (odd) taps[half] *= scale;
    }

    // Second half: the mirror image of the first.
    m = 0;
    for (; m + L <= half; m += L) {
        // taps[N - 1 - i] = taps[i] for i in [m, m + L): a reversed vector store at N - m - L.
        simd::Store(taps + N - m - L, win::Reverse<double>(simd::Load(taps + m)));
    }
    for (; m < half; ++m) taps[N - 1 - m] = taps[m];
    return qpStsNoErr;
}

}  // namespace QP_PATH_NS
}  // namespace qp
