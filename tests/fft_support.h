// Shared pieces of the FFT tests: the six kinds behind one calling shape, references (a long-double
// DFT for small orders, FFTW in double precision above), error measures and guarded buffers.
#pragma once

#include <fftw3.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
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

#define FFTT_PATHS(fn) reinterpret_cast<const void* const*>(qptest::fn##_paths)
inline const std::vector<Kind>& Kinds() {
    static const std::vector<Kind> kinds = {
        {"c32s", qp::fft::kKindC32Split, false, Shape::kSplit, 29, qptest::fft_size_c32s_paths, qptest::fft_init_c32s_paths,
         FFTT_PATHS(fft_fwd_c32s), FFTT_PATHS(fft_inv_c32s)},
        {"c32i", qp::fft::kKindC32Interleaved, false, Shape::kInterleaved, 28, qptest::fft_size_c32i_paths,
         qptest::fft_init_c32i_paths, FFTT_PATHS(fft_fwd_c32i), FFTT_PATHS(fft_inv_c32i)},
        {"r32", qp::fft::kKindR32, false, Shape::kReal, 29, qptest::fft_size_r32_paths, qptest::fft_init_r32_paths,
         FFTT_PATHS(fft_fwd_r32), FFTT_PATHS(fft_inv_r32)},
        {"c64s", qp::fft::kKindC64Split, true, Shape::kSplit, 28, qptest::fft_size_c64s_paths, qptest::fft_init_c64s_paths,
         FFTT_PATHS(fft_fwd_c64s), FFTT_PATHS(fft_inv_c64s)},
        {"c64i", qp::fft::kKindC64Interleaved, true, Shape::kInterleaved, 27, qptest::fft_size_c64i_paths,
         qptest::fft_init_c64i_paths, FFTT_PATHS(fft_fwd_c64i), FFTT_PATHS(fft_inv_c64i)},
        {"r64", qp::fft::kKindR64, true, Shape::kReal, 28, qptest::fft_size_r64_paths, qptest::fft_init_r64_paths,
         FFTT_PATHS(fft_fwd_r64), FFTT_PATHS(fft_inv_r64)},
    };
    return kinds;
}
#undef FFTT_PATHS

// Values a transform reads and writes.
inline std::int64_t InCount(const Kind& k, bool inverse, std::int64_t n) {
    if (k.shape != Shape::kReal) return 2 * n;
    return inverse ? n + 2 : n;
}
inline std::int64_t OutCount(const Kind& k, bool inverse, std::int64_t n) {
    if (k.shape != Shape::kReal) return 2 * n;
    if (n == 1 && !inverse) return 2;
    return inverse ? n : n + 2;
}

// A spec of one kind and order, built on one path with flag 2, in a block of the reported size.
struct SpecHolder {
    std::vector<unsigned char> block;
    void* spec = nullptr;
    int bufSize = 0;
    qp::Status status = qp::qpStsErr;
    SpecHolder(const Kind& k, int path, int order, int flag = qp::fft::kNormInverse, int hint = 1) {
        int specSize = 0, initSize = 0;
        status = k.size[path](order, flag, hint, &specSize, &initSize, &bufSize);
        if (status != qp::qpStsNoErr) return;
        block.assign(static_cast<std::size_t>(specSize), 0xA5);
        std::vector<unsigned char> scratch(static_cast<std::size_t>(initSize) + 1);
        status = k.init[path](&spec, order, flag, hint, block.data(), scratch.data());
    }
};

// Storage with a sentinel tail, placed `offset` elements past a 64-byte boundary.
template <typename T>
struct Guarded {
    static constexpr int kGuard = 32;
    std::vector<T> storage;
    T* data;
    std::int64_t n;
    Guarded(std::int64_t count, int offset) : storage(static_cast<std::size_t>(count + offset + kGuard + 64)), n(count) {
        auto base = reinterpret_cast<std::uintptr_t>(storage.data());
        data = reinterpret_cast<T*>((base + 63) & ~std::uintptr_t{63}) + offset;
        for (std::int64_t i = 0; i < n + kGuard; ++i) data[i] = Sentinel();
    }
    static T Sentinel() { return static_cast<T>(-7777.25); }
    bool TailIntact() const {
        for (std::int64_t i = n; i < n + kGuard; ++i)
            if (data[i] != Sentinel()) return false;
        return true;
    }
};

// Reference transform in double (long double DFT up to order 8, FFTW above) of `in` in the kind's
// layout; the result in the kind's layout, unscaled forward or inverse divided by N.
inline std::vector<double> Reference(const Kind& k, bool inverse, const std::vector<double>& in, int order) {
    const std::int64_t n = std::int64_t{1} << order;
    std::vector<std::complex<long double>> x(static_cast<std::size_t>(n)), y(x.size());
    // Complex view of the input.
    for (std::int64_t i = 0; i < n; ++i) {
        if (k.shape == Shape::kSplit) x[i] = {in[i], in[n + i]};
        if (k.shape == Shape::kInterleaved) x[i] = {in[2 * i], in[2 * i + 1]};
        if (k.shape == Shape::kReal && !inverse) x[i] = {in[i], 0.0};
    }
    if (k.shape == Shape::kReal && inverse) {
        x[0] = {in[0], 0.0};
        if (n > 1) x[n / 2] = {in[n], 0.0};
        for (std::int64_t i = 1; i < n / 2; ++i) {
            x[i] = {in[2 * i], in[2 * i + 1]};
            x[n - i] = std::conj(x[i]);
        }
    }
    const long double sign = inverse ? 1.0L : -1.0L;
    if (order <= 8) {
        const long double kPi = 3.141592653589793238462643383279502884L;
        for (std::int64_t kk = 0; kk < n; ++kk) {
            std::complex<long double> acc = 0;
            for (std::int64_t i = 0; i < n; ++i) {
                const long double a = sign * 2 * kPi * static_cast<long double>((i * kk) % n) / static_cast<long double>(n);
                acc += x[i] * std::complex<long double>(std::cos(a), std::sin(a));
            }
            y[kk] = acc;
        }
    } else {
        std::vector<fftw_complex> a(static_cast<std::size_t>(n)), b(a.size());
        for (std::int64_t i = 0; i < n; ++i) {
            a[i][0] = static_cast<double>(x[i].real());
            a[i][1] = static_cast<double>(x[i].imag());
        }
        fftw_plan plan = fftw_plan_dft_1d(static_cast<int>(n), a.data(), b.data(), inverse ? FFTW_BACKWARD : FFTW_FORWARD,
                                          FFTW_ESTIMATE);
        fftw_execute(plan);
        fftw_destroy_plan(plan);
        for (std::int64_t i = 0; i < n; ++i) y[i] = {b[i][0], b[i][1]};
    }
    if (inverse)
        for (auto& v : y) v /= static_cast<long double>(n);
    std::vector<double> out(static_cast<std::size_t>(OutCount(k, inverse, n)));
    for (std::int64_t i = 0; i < n; ++i) {
        if (k.shape == Shape::kSplit) {
            out[i] = static_cast<double>(y[i].real());
            out[n + i] = static_cast<double>(y[i].imag());
        } else if (k.shape == Shape::kInterleaved) {
            out[2 * i] = static_cast<double>(y[i].real());
            out[2 * i + 1] = static_cast<double>(y[i].imag());
        }
    }
    if (k.shape == Shape::kReal) {
        if (inverse) {
            for (std::int64_t i = 0; i < n; ++i) out[i] = static_cast<double>(y[i].real());
        } else {
            out[0] = static_cast<double>(y[0].real());
            out[1] = 0;
            for (std::int64_t i = 1; i < n / 2; ++i) {
                out[2 * i] = static_cast<double>(y[i].real());
                out[2 * i + 1] = static_cast<double>(y[i].imag());
            }
            if (n > 1) {
                out[n] = static_cast<double>(y[n / 2].real());
                out[n + 1] = 0;
            }
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

template <typename T>
Error Compare(const T* got, const std::vector<double>& want) {
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
