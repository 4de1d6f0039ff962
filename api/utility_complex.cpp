// Complex, polar and channel helpers. The complex exports move the length last and tail-call their
// primitive; the channel exports are plain loops of their own.
#include <xmmintrin.h>

#include <cstddef>
#include <cstdint>
#include <utility>

#include "quoraccelerate/utility/complex.h"
#include "runtime/dispatch.h"

namespace quoraccelerate {
namespace utility {

void Magnitude(unsigned int len, const float* re, const float* im, float* dst) {
    qp::magnitude_f32(re, im, dst, static_cast<int>(len));
}
void Magnitude(unsigned int len, const double* re, const double* im, double* dst) {
    qp::magnitude_f64(re, im, dst, static_cast<int>(len));
}
void Magnitude(unsigned int len, const std::complex<float>* src, float* dst) {
    qp::magnitude_c32(reinterpret_cast<const float*>(src), dst, static_cast<int>(len));
}

void PowerSpectr(unsigned int len, const std::complex<float>* src, float* dst) {
    qp::power_spectrum_c32(reinterpret_cast<const float*>(src), dst, static_cast<int>(len));
}

void CartToPolar(unsigned int len, const float* src, float* magnitude, float* phase) {
    qp::cart_to_polar_c32(src, magnitude, phase, static_cast<int>(len));
}
void PolarToCart(unsigned int len, const float* magnitude, const float* phase, float* dst) {
    qp::polar_to_cart_c32(magnitude, phase, dst, static_cast<int>(len));
}

// Deliberately empty: no effect, kept for callers that link against them.
void Real(unsigned int, const float*, float*) {}
void Imag(unsigned int, const float*, float*) {}
void RealToComplex(unsigned int, const float*, const float*, float*) {}

namespace {

#define QP_CHANNEL_INLINE inline __attribute__((always_inline))

// Destinations at least this large are written with non-temporal stores (as by the element-wise
// kernels): they leave the caches anyway, and streaming saves reading every destination line first.
constexpr std::size_t kStreamBytes = 4 << 20;

// One element's bit pattern, so NaN payloads and signed zeros pass unchanged.
template <typename T>
inline void CopyBits(T* to, const T* from) {
    __builtin_memcpy(to, from, sizeof(T));
}

// The two-channel loops, written once over the element type and the vector width: vectors of
// Bytes bytes (compiler vector types) rearranged by two-source shuffles, which move bits without
// arithmetic. A round moves one 64-byte line of each channel: R = 64 / Bytes steps of one vector
// per channel, the loads of the round first, then its stores, and Deinterleave writes the round's
// vectors to one channel, then to the other. With 16-byte vectors and the three arrays at the same
// offset from a 4 KiB boundary, one step at a time took 1.35 times as long at 4096 frames (its
// stores stalled the next loads), and alternating single stores between the two channels ran at
// half the speed once the arrays left the caches; with 64-byte vectors, rounds of four vectors
// took 1.1 to 1.5 times as long as single steps. Then single steps, then the remaining frames one
// at a time. Each width is compiled with the instruction set that has it (below) and chosen by the
// code path in force, so these loops run as wide as the kernels of the primitives do. The loops
// over a round's vectors are unrolled by force: left rolled, GCC copied the loaded vectors through
// the stack (five times slower at 32 bytes).
template <typename T, int Bytes>
struct TwoChannels {
    typedef T V __attribute__((vector_size(Bytes)));
    static constexpr std::size_t N = Bytes / sizeof(T);  // frames per step
    static constexpr std::size_t R = 64 / Bytes;         // steps per round

    // Vectors pass by reference only: a vector wider than the file's baseline instruction set
    // must not cross a function boundary by value (the calls are inlined anyway).
    static QP_CHANNEL_INLINE void Load(V& v, const T* p) { __builtin_memcpy(&v, p, sizeof v); }
    // A non-temporal store needs a vector-aligned p.
    template <bool Stream>
    static QP_CHANNEL_INLINE void Store(T* p, const V& v) {
        if constexpr (!Stream)
            __builtin_memcpy(p, &v, sizeof v);
        else if constexpr (Bytes == 16)
            __asm__("movntps %1, %0" : "=m"(*reinterpret_cast<V*>(p)) : "x"(v));
        else
            __asm__("vmovntps %1, %0" : "=m"(*reinterpret_cast<V*>(p)) : "v"(v));
    }
    // Frames that go one at a time before p + step * frames is vector-aligned, or -1 when no
    // number of frames gets there.
    static QP_CHANNEL_INLINE std::ptrdiff_t HeadFrames(const T* p, std::size_t step) {
        const std::size_t gap = (Bytes - reinterpret_cast<std::uintptr_t>(p) % Bytes) % Bytes;
        return gap % (step * sizeof(T)) == 0 ? static_cast<std::ptrdiff_t>(gap / (step * sizeof(T))) : -1;
    }

    // Frames i .. i + N - 1 of a and b to dst (2 N values from 2 i).
    template <bool Stream, std::size_t... I>
    static QP_CHANNEL_INLINE void Zip(const V& a, const V& b, T* dst, std::index_sequence<I...>) {
        const V lo = __builtin_shufflevector(a, b, (I / 2 + I % 2 * N)...);
        const V hi = __builtin_shufflevector(a, b, (N / 2 + I / 2 + I % 2 * N)...);
        Store<Stream>(dst, lo);
        Store<Stream>(dst + N, hi);
    }
    // The even and the odd values of s0, s1.
    template <std::size_t... I>
    static QP_CHANNEL_INLINE void Unzip(const V& s0, const V& s1, V& even, V& odd, std::index_sequence<I...>) {
        even = __builtin_shufflevector(s0, s1, (2 * I)...);
        odd = __builtin_shufflevector(s0, s1, (2 * I + 1)...);
    }

    // Frames i .. end - 1 one at a time.
    static QP_CHANNEL_INLINE void InterleaveFrames(std::size_t i, std::size_t end, const T* a, const T* b, T* dst) {
        for (; i < end; ++i) {
            CopyBits(dst + 2 * i, a + i);
            CopyBits(dst + 2 * i + 1, b + i);
        }
    }
    static QP_CHANNEL_INLINE void DeinterleaveFrames(std::size_t i, std::size_t end, const T* src, T* a, T* b) {
        for (; i < end; ++i) {
            CopyBits(a + i, src + 2 * i);
            CopyBits(b + i, src + 2 * i + 1);
        }
    }

    // Rounds of Steps vectors per channel from frame i on; returns the first frame after them.
    template <bool Stream, std::size_t Steps>
    static QP_CHANNEL_INLINE std::size_t InterleaveRounds(std::size_t i, std::size_t len, const T* a, const T* b,
                                                          T* dst) {
        constexpr auto lanes = std::make_index_sequence<N>{};
        for (; i + Steps * N <= len; i += Steps * N) {
            V va[Steps], vb[Steps];
#pragma GCC unroll 4
            for (std::size_t k = 0; k < Steps; ++k) {
                Load(va[k], a + i + k * N);
                Load(vb[k], b + i + k * N);
            }
#pragma GCC unroll 4
            for (std::size_t k = 0; k < Steps; ++k) Zip<Stream>(va[k], vb[k], dst + 2 * (i + k * N), lanes);
        }
        return i;
    }

    template <bool Stream, std::size_t Steps>
    static QP_CHANNEL_INLINE std::size_t DeinterleaveRounds(std::size_t i, std::size_t len, const T* src, T* a, T* b) {
        constexpr auto lanes = std::make_index_sequence<N>{};
        for (; i + Steps * N <= len; i += Steps * N) {
            V s[2 * Steps], even[Steps], odd[Steps];
#pragma GCC unroll 8
            for (std::size_t k = 0; k < 2 * Steps; ++k) Load(s[k], src + 2 * i + k * N);
#pragma GCC unroll 4
            for (std::size_t k = 0; k < Steps; ++k) Unzip(s[2 * k], s[2 * k + 1], even[k], odd[k], lanes);
#pragma GCC unroll 4
            for (std::size_t k = 0; k < Steps; ++k) Store<Stream>(a + i + k * N, even[k]);
#pragma GCC unroll 4
            for (std::size_t k = 0; k < Steps; ++k) Store<Stream>(b + i + k * N, odd[k]);
        }
        return i;
    }

    static QP_CHANNEL_INLINE void Interleave(std::size_t len, const T* a, const T* b, T* dst) {
        std::size_t i = 0;
        const std::ptrdiff_t head = HeadFrames(dst, 2);
        if (2 * len * sizeof(T) >= kStreamBytes && head >= 0) {
            InterleaveFrames(0, static_cast<std::size_t>(head), a, b, dst);
            i = InterleaveRounds<true, R>(static_cast<std::size_t>(head), len, a, b, dst);
            _mm_sfence();
        }
        i = InterleaveRounds<false, R>(i, len, a, b, dst);
        i = InterleaveRounds<false, 1>(i, len, a, b, dst);
        InterleaveFrames(i, len, a, b, dst);
    }

    static QP_CHANNEL_INLINE void Deinterleave(std::size_t len, const T* src, T* a, T* b) {
        std::size_t i = 0;
        const std::ptrdiff_t head = HeadFrames(a, 1);
        if (2 * len * sizeof(T) >= kStreamBytes && head >= 0 && head == HeadFrames(b, 1)) {
            DeinterleaveFrames(0, static_cast<std::size_t>(head), src, a, b);
            i = DeinterleaveRounds<true, R>(static_cast<std::size_t>(head), len, src, a, b);
            _mm_sfence();
        }
        i = DeinterleaveRounds<false, R>(i, len, src, a, b);
        i = DeinterleaveRounds<false, 1>(i, len, src, a, b);
        DeinterleaveFrames(i, len, src, a, b);
    }
};

// One function per width and instruction set: 64-byte vectors on the AVX-512 paths (5, 6),
// 32-byte on the AVX2 path (4), 16-byte (SSE2) below. AVX alone (path 3) has no lane-crossing
// permute of single floats: its 32-byte interleave took five shuffles per vector, so it keeps
// the 16-byte loops.
template <typename T>
__attribute__((target("avx512f"))) void InterleaveTwo64(std::size_t len, const T* a, const T* b, T* dst) {
    TwoChannels<T, 64>::Interleave(len, a, b, dst);
}
template <typename T>
__attribute__((target("avx2"))) void InterleaveTwo32(std::size_t len, const T* a, const T* b, T* dst) {
    TwoChannels<T, 32>::Interleave(len, a, b, dst);
}
template <typename T>
__attribute__((target("avx512f"))) void DeinterleaveTwo64(std::size_t len, const T* src, T* a, T* b) {
    TwoChannels<T, 64>::Deinterleave(len, src, a, b);
}
template <typename T>
__attribute__((target("avx2"))) void DeinterleaveTwo32(std::size_t len, const T* src, T* a, T* b) {
    TwoChannels<T, 32>::Deinterleave(len, src, a, b);
}

// Vector bytes of the code path in force (the library initialises itself on first use).
int ChannelVectorBytes() {
    if (qp::g_codePath < 0) qp::InitLibrary();
    return qp::g_codePath >= 5 ? 64 : qp::g_codePath == 4 ? 32 : 16;
}

template <typename T>
void InterleaveTwo(std::size_t len, const T* a, const T* b, T* dst) {
    switch (ChannelVectorBytes()) {
        case 64: InterleaveTwo64(len, a, b, dst); break;
        case 32: InterleaveTwo32(len, a, b, dst); break;
        default: TwoChannels<T, 16>::Interleave(len, a, b, dst); break;
    }
}

template <typename T>
void DeinterleaveTwo(std::size_t len, const T* src, T* a, T* b) {
    switch (ChannelVectorBytes()) {
        case 64: DeinterleaveTwo64(len, src, a, b); break;
        case 32: DeinterleaveTwo32(len, src, a, b); break;
        default: TwoChannels<T, 16>::Deinterleave(len, src, a, b); break;
    }
}

// Frames outer, channels inner (four per round, then the remainder); dst is written in order.
template <typename T>
void InterleaveChannels(std::size_t channelCount, std::size_t frameCount, const T* const* channels, T* dst) {
    if (frameCount == 0) return;
    for (std::size_t f = 0; f < frameCount; ++f) {
        std::size_t c = 0;
        for (; c + 4 <= channelCount; c += 4, dst += 4) {
            CopyBits(dst, channels[c] + f);
            CopyBits(dst + 1, channels[c + 1] + f);
            CopyBits(dst + 2, channels[c + 2] + f);
            CopyBits(dst + 3, channels[c + 3] + f);
        }
        for (; c < channelCount; ++c, ++dst) CopyBits(dst, channels[c] + f);
    }
}

// Frames outer, channels inner (four per round, then the remainder); src is read in order.
template <typename T>
void DeinterleaveChannels(std::size_t channelCount, std::size_t frameCount, const T* src, T* const* channels) {
    if (frameCount == 0) return;
    for (std::size_t f = 0; f < frameCount; ++f) {
        std::size_t c = 0;
        for (; c + 4 <= channelCount; c += 4, src += 4) {
            CopyBits(channels[c] + f, src);
            CopyBits(channels[c + 1] + f, src + 1);
            CopyBits(channels[c + 2] + f, src + 2);
            CopyBits(channels[c + 3] + f, src + 3);
        }
        for (; c < channelCount; ++c, ++src) CopyBits(channels[c] + f, src);
    }
}

}  // namespace

void Interleave(unsigned int len, const float* a, const float* b, float* dst) { InterleaveTwo(len, a, b, dst); }
void Interleave(unsigned int len, const double* a, const double* b, double* dst) { InterleaveTwo(len, a, b, dst); }
void Interleave(unsigned int channelCount, unsigned int frameCount, const float* const* channels, float* dst) {
    InterleaveChannels(channelCount, frameCount, channels, dst);
}
void Interleave(unsigned int channelCount, unsigned int frameCount, const double* const* channels, double* dst) {
    InterleaveChannels(channelCount, frameCount, channels, dst);
}

void Deinterleave(unsigned int len, const float* src, float* a, float* b) { DeinterleaveTwo(len, src, a, b); }
void Deinterleave(unsigned int len, const double* src, double* a, double* b) { DeinterleaveTwo(len, src, a, b); }
void Deinterleave(unsigned int channelCount, unsigned int frameCount, const float* src, float* const* channels) {
    DeinterleaveChannels(channelCount, frameCount, src, channels);
}
void Deinterleave(unsigned int channelCount, unsigned int frameCount, const double* src, double* const* channels) {
    DeinterleaveChannels(channelCount, frameCount, src, channels);
}

}  // namespace utility
}  // namespace quoraccelerate
