// Shared pieces of the FFT tests: the six kinds behind one calling shape, an exact reference (a
// long-double FFT), error measures and guarded buffers.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "fft/fft_spec.h"
#include "paths.h"

namespace fftt {

enum class Shape { kSplit, kInterleaved, kReal };

// One FFT kind: its primitives on every path, behind untyped pointers of its precision.
struct Kind {
    const char* name;
    int tag;
    bool isDouble;
    Shape shape;
    int limit;
    qp::fft_size_c32i_fn* const* size;
    qp::fft_init_c32i_fn* const* init;
    const void* const* fwd;
    const void* const* inv;
};

// Calls a transform of kind k on path p. Layouts: split data is re block then im block of N each;
// interleaved data N pairs; real data N samples / N + 2 packed values.
template <typename T>
qp::Status Apply(const Kind& k, int path, bool inverse, const T* src, T* dst, const void* spec, unsigned char* buf,
                 std::int64_t n) {
    const void* fn = inverse ? k.inv[path] : k.fwd[path];
    if (k.shape == Shape::kSplit) {
        using F = qp::Status (*)(const T*, const T*, T*, T*, const void*, unsigned char*);
        return reinterpret_cast<F>(const_cast<void*>(fn))(src, src == nullptr ? nullptr : src + n, dst,
                                                         dst == nullptr ? nullptr : dst + n, spec, buf);
    }
    using F = qp::Status (*)(const T*, T*, const void*, unsigned char*);
    return reinterpret_cast<F>(const_cast<void*>(fn))(src, dst, spec, buf);
}

// The six kinds (the tests index this table: 0 c32s, 1 c32i, 2 r32, 3 c64s, 4 c64i, 5 r64) with the
// largest order each accepts.
#define FFTT_KIND(s, tag, isDouble, shape, limit)                                                          \
    {#s, qp::fft::tag, isDouble, Shape::shape, limit, qptest::fft_size_##s##_paths,                        \
     qptest::fft_init_##s##_paths, reinterpret_cast<const void* const*>(qptest::fft_fwd_##s##_paths),     \
     reinterpret_cast<const void* const*>(qptest::fft_inv_##s##_paths)}
inline const std::vector<Kind>& Kinds() {
    static const std::vector<Kind> kinds = {
        FFTT_KIND(c32s, kKindC32Split, false, kSplit, 29),
        FFTT_KIND(c32i, kKindC32Interleaved, false, kInterleaved, 28),
        FFTT_KIND(r32, kKindR32, false, kReal, 29),
        FFTT_KIND(c64s, kKindC64Split, true, kSplit, 28),
        FFTT_KIND(c64i, kKindC64Interleaved, true, kInterleaved, 27),
        FFTT_KIND(r64, kKindR64, true, kReal, 28),
    };
    return kinds;
}
#undef FFTT_KIND

// Runs f(T{}) with T the kind's precision.
template <typename F>
decltype(auto) WithType(const Kind& k, F&& f) {
    if (k.isDouble) return f(0.0);
    return f(0.0f);
}

// Values a transform reads and writes.
inline std::int64_t InCount(const Kind& k, bool inverse, std::int64_t n) {
    return k.shape != Shape::kReal ? 2 * n : (inverse ? n + 2 : n);
}
inline std::int64_t OutCount(const Kind& k, bool inverse, std::int64_t n) {  // order 0 real forward: 2
    return k.shape != Shape::kReal ? 2 * n : (inverse ? n : (n == 1 ? 2 : n + 2));
}
// Positions of the real and imaginary parts of complex value i of n: the split kinds hold the real
// parts then the imaginary ones, the interleaved kinds and the packed real spectrum pairs.
inline std::int64_t RePos(const Kind& k, std::int64_t, std::int64_t i) { return k.shape == Shape::kSplit ? i : 2 * i; }
inline std::int64_t ImPos(const Kind& k, std::int64_t n, std::int64_t i) {
    return k.shape == Shape::kSplit ? n + i : 2 * i + 1;
}

// The first 64-byte boundary at or after p.
template <typename T>
T* AlignUp64(T* p) {
    return reinterpret_cast<T*>((reinterpret_cast<std::uintptr_t>(p) + 63) & ~std::uintptr_t{63});
}

// A spec of one kind and order, built on one path with flag 2, in a block of the reported size,
// and a work buffer of the reported size (plus one byte: never null).
struct SpecHolder {
    std::vector<unsigned char> block, buffer;
    void* spec = nullptr;
    int bufSize = 0;
    qp::Status status = qp::qpStsErr;
    SpecHolder(const Kind& k, int path, int order, int flag = qp::fft::kNormInverse, int hint = 1) {
        int specSize = 0, initSize = 0;
        status = k.size[path](order, flag, hint, &specSize, &initSize, &bufSize);
        if (status != qp::qpStsNoErr) return;
        block.assign(static_cast<std::size_t>(specSize), 0xA5);
        buffer.resize(static_cast<std::size_t>(bufSize) + 1);
        std::vector<unsigned char> scratch(static_cast<std::size_t>(initSize) + 1);
        status = k.init[path](&spec, order, flag, hint, block.data(), scratch.data());
    }
};

// Storage with a sentinel tail, placed `offset` elements past a 64-byte boundary.
template <typename T>
struct Guarded {
    static constexpr int kGuard = 32;
    static constexpr T kSentinel = static_cast<T>(-7777.25);
    std::vector<T> storage;
    T* data;
    std::int64_t n;
    Guarded(std::int64_t count, int offset) : storage(static_cast<std::size_t>(count + offset + kGuard + 64)), n(count) {
        data = AlignUp64(storage.data()) + offset;
        std::fill(data, data + n + kGuard, kSentinel);
    }
    bool TailIntact() const {
        return std::all_of(data + n, data + n + kGuard, [](T v) { return v == kSentinel; });
    }
};

// Iterative radix-2 FFT in long double with exactly indexed twiddles: error near 1e-19.
inline void LongDoubleFFT(std::vector<std::complex<long double>>& x, bool inverse) {
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

// The exact result of a kind's transform of `in` (inverse divided by N), in the kind's output
// layout. A real inverse reads the packed spectrum and ignores positions 1 and N + 1.
inline std::vector<long double> ExactOutput(const Kind& k, bool inverse, const std::vector<double>& in, int order) {
    const std::int64_t n = std::int64_t{1} << order;
    const bool real = k.shape == Shape::kReal;
    auto re = [&](std::int64_t i) { return RePos(k, n, i); };
    auto im = [&](std::int64_t i) { return ImPos(k, n, i); };
    std::vector<std::complex<long double>> x(static_cast<std::size_t>(n));
    for (std::int64_t i = 0; i < n; ++i) x[i] = real ? in[i] : std::complex<long double>(in[re(i)], in[im(i)]);
    if (real && inverse) {
        x[0] = in[0];
        if (n > 1) x[n / 2] = in[n];
        for (std::int64_t i = 1; i < n / 2; ++i) {
            x[i] = {in[re(i)], in[im(i)]};
            x[n - i] = std::conj(x[i]);
        }
    }
    LongDoubleFFT(x, inverse);
    std::vector<long double> out(static_cast<std::size_t>(OutCount(k, inverse, n)));
    const long double s = inverse ? 1.0L / static_cast<long double>(n) : 1.0L;
    for (std::int64_t i = 0; i < n; ++i) {
        if (real && inverse) {
            out[i] = x[i].real() * s;
        } else if (!real || i <= n / 2) {
            out[re(i)] = x[i].real() * s;
            out[im(i)] = x[i].imag() * s;
        }
    }
    return out;
}

// Random input of a kind (values in [-1, 1) of the kind's precision, stored in double). A real
// inverse gets the packed spectrum of a real signal with garbage at positions 1 and N + 1.
inline std::vector<double> RandomInput(const Kind& k, bool inverse, int order, unsigned seed) {
    const std::int64_t n = std::int64_t{1} << order;
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> dist(-1.0, 1.0);
    std::vector<double> v(static_cast<std::size_t>(InCount(k, inverse, n)));
    for (auto& x : v) x = k.isDouble ? dist(gen) : static_cast<double>(static_cast<float>(dist(gen)));
    if (k.shape == Shape::kReal && inverse) {
        v[1] = 1e3;
        v[n + 1] = -5e2;
    }
    return v;
}

struct Error {
    double rms;  // relative RMS error
    double max;  // largest error relative to the largest reference value
};

// Errors of `got` against `want` (an exact result, or the input of a round trip).
template <typename T, typename W>
Error Compare(const T* got, const std::vector<W>& want) {
    long double e2 = 0, r2 = 0, emax = 0, rmax = 0;
    for (std::size_t i = 0; i < want.size(); ++i) {
        const long double d = static_cast<long double>(got[i]) - want[i];
        e2 += d * d;
        r2 += static_cast<long double>(want[i]) * want[i];
        emax = std::max(emax, std::fabs(d));
        rmax = std::max(rmax, std::fabs(static_cast<long double>(want[i])));
    }
    if (r2 == 0) return {static_cast<double>(std::sqrt(e2)), static_cast<double>(emax)};
    return {static_cast<double>(std::sqrt(e2 / r2)), static_cast<double>(emax / rmax)};
}

// Tolerances: a few units of rounding times the depth of the transform.
inline double RmsTolerance(const Kind& k, int order) {
    const double eps = k.isDouble ? 1.1e-16 : 6e-8;
    return eps * (3.0 + 1.0 * order);
}
inline double MaxTolerance(const Kind& k, int order) { return 8.0 * RmsTolerance(k, order); }

}  // namespace fftt
