// Conversions between element types, with a power-of-two scale factor and a rounding mode where the
// target is an integer.
//
// Every kernel converts blocks of K elements that fill whole vectors of both types; a remainder
// shorter than a block goes through a zero-padded block on the stack, so it takes exactly the same
// operations as the body (same rounding, same NaN rule) in every code path. Destinations of 4 MiB
// and more are written with non-temporal stores once they reach a vector boundary.
//
// Scaling by 2^-scaleFactor (see simd::MakeScale) is a multiplication by exact powers of two.
#include "simd/convert.h"

namespace qp {
namespace QP_PATH_NS {

namespace {

using simd::Vec;

template <bool B>
struct StreamTag {
    static constexpr bool value = B;
};

template <int N>
struct Steps {
    static constexpr int value = N;
};

template <int kSteps, typename T>
QP_INLINE Vec<T> ApplyScale(Vec<T> v, const simd::Scale<T>& s) {
    if constexpr (kSteps >= 1) v = v * s.f1;
    if constexpr (kSteps >= 2) v = v * s.f2;
    return v;
}

// Calls f with Steps<0>, Steps<1> or Steps<2>: none, one or both factors of s differ from 1.
template <typename T, typename F>
QP_INLINE void WithSteps(const simd::Scale<T>& s, F f) {
    if (!s.any) {
        f(Steps<0>());
    } else if (!s.two) {
        f(Steps<1>());
    } else {
        f(Steps<2>());
    }
}

template <int K, typename S, typename D, typename Block>
QP_INLINE void Partial(const S* s, D* d, int r, Block& block) {
    S in[K] = {};
    D out[K];
    __builtin_memcpy(in, s, static_cast<std::size_t>(r) * sizeof(S));
    block(in, out, StreamTag<false>());
    __builtin_memcpy(d, out, static_cast<std::size_t>(r) * sizeof(D));
}

// Converts n elements in blocks of K with block(s, d, StreamTag<stream>).
template <int K, typename S, typename D, typename Block>
QP_INLINE void ConvertLoop(const S* s, D* d, int n, Block block) {
    int i = 0;
    const auto address = reinterpret_cast<std::uintptr_t>(d);
    if (static_cast<std::int64_t>(n) * static_cast<std::int64_t>(sizeof(D)) >= simd::kStreamBytes &&
        address % sizeof(D) == 0) {
        const int head = static_cast<int>((simd::kVecBytes - address % simd::kVecBytes) % simd::kVecBytes / sizeof(D));
        if (head > 0) {
            Partial<K>(s, d, head, block);
            i = head;
        }
        for (; i + K <= n; i += K) block(s + i, d + i, StreamTag<true>());
        simd::StreamFence();
    }
    for (; i + K <= n; i += K) block(s + i, d + i, StreamTag<false>());
    if (i < n) Partial<K>(s + i, d + i, n - i, block);
}

constexpr int LF = simd::kLanes<float>;   // floats (and int32) per vector
constexpr int LD = simd::kLanes<double>;  // doubles per vector

// --- integer and float sources to floating point -----------------------------------------------

Status ConvertU8F32(const unsigned char* src, float* dst, int len) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    ConvertLoop<4 * LF>(src, dst, len, [](const unsigned char* s, float* d, auto stream) {
        for (int u = 0; u < 4; ++u) {
            const Vec<float> v = __builtin_convertvector(simd::LoadU8AsI32(s + u * LF), Vec<float>);
            simd::Put<decltype(stream)::value>(d + u * LF, v);
        }
    });
    return qpStsNoErr;
}

// Loads kLanes<float> integers as int32 lanes.
QP_INLINE Vec<std::int32_t> LoadAsI32(const short* p) { return simd::LoadS16AsI32(p); }
QP_INLINE Vec<std::int32_t> LoadAsI32(const int* p) { return simd::Load(p); }

// Integer source to floating-point T, scaled in T: converts exactly (int16 to either type, int32 to
// double), so the single rounding is that of the last scaling step.
template <int S, typename I, typename T>
QP_INLINE void ConvertIntScaledSteps(const I* src, T* dst, int len, const simd::Scale<T> scale) {
    ConvertLoop<2 * LF>(src, dst, len, [scale](const I* s, T* d, auto stream) {
        constexpr bool kStream = decltype(stream)::value;
        for (int u = 0; u < 2; ++u) {
            const Vec<std::int32_t> x = LoadAsI32(s + u * LF);
            if constexpr (sizeof(T) == 4) {
                simd::Put<kStream>(d + u * LF, ApplyScale<S>(__builtin_convertvector(x, Vec<float>), scale));
            } else {
                Vec<double> lo, hi;
                simd::WidenToF64(x, lo, hi);
                simd::Put<kStream>(d + u * LF, ApplyScale<S>(lo, scale));
                simd::Put<kStream>(d + u * LF + LD, ApplyScale<S>(hi, scale));
            }
        }
    });
}

// The step count is chosen here by plain calls rather than through WithSteps: a generic lambda is
// not inlined there, and its by-reference captures cost a round trip through the stack per call
// (about 7 ns, the whole conversion of 256 elements took 15).
template <typename I, typename T>
QP_INLINE Status ConvertIntScaled(const I* src, T* dst, int len, const simd::Scale<T>& scale) {
    if (!scale.any) {
        ConvertIntScaledSteps<0>(src, dst, len, scale);
    } else if (!scale.two) {
        ConvertIntScaledSteps<1>(src, dst, len, scale);
    } else {
        ConvertIntScaledSteps<2>(src, dst, len, scale);
    }
    return qpStsNoErr;
}

// int16 -> float: |src| <= 2^15, so the first factor (up to 2^+-126) keeps a non-zero value normal
// or overflows only when the exact result overflows too; only the second factor can round.
// Beyond [-253, 252] every non-zero result is infinite or rounds to zero as at the bounds.
Status ConvertS16F32(const short* src, int sf, float* dst, int len) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    return ConvertIntScaled(src, dst, len, simd::MakeScale<float>(sf, 126, -253, 252));
}

// int16 and int32 -> double: both convert exactly; the first factor (up to 2^+-1022) keeps a
// non-zero value normal, the second alone can round (to a subnormal, zero or infinity).
Status ConvertS16F64(const short* src, int sf, double* dst, int len) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    return ConvertIntScaled(src, dst, len, simd::MakeScale<double>(sf, 1022, -2045, 2044));
}

Status ConvertS32F64(const int* src, int sf, double* dst, int len) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    return ConvertIntScaled(src, dst, len, simd::MakeScale<double>(sf, 1022, -2045, 2044));
}

// int32 -> float must round once, but the conversion itself rounds (31 significant bits into 24).
// For -127 <= sf <= 126 every non-zero scaled value is at least 2^-126 in magnitude, i.e. normal:
// scaling a rounded value by a power of two then changes only its exponent (or overflows exactly
// when the exact value rounds to infinity), so float(src) * 2^-sf equals the exact value rounded
// once. Beyond that range the result may be subnormal, where a second rounding could differ: there
// the value is formed exactly in double (31 bits, factor 2^+-300 at most, no overflow or underflow)
// and rounded to float once. |sf| > 300 gives zero or infinity for every non-zero value, as 300.
Status ConvertS32F32(const int* src, int sf, float* dst, int len) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    if (sf >= -127 && sf <= 126) {
        return ConvertIntScaled(src, dst, len, simd::MakeScale<float>(sf, 127, -127, 126));
    }
    const double factor = simd::MakeScale<double>(sf, 1022, -300, 300).f1;
    ConvertLoop<4 * LF>(src, dst, len, [factor](const int* s, float* d, auto stream) {
        for (int u = 0; u < 4; ++u) {
            Vec<double> lo, hi;
            simd::WidenToF64(simd::Load(s + u * LF), lo, hi);
            const auto r = simd::NarrowF64<simd::Narrowing::kFloat>(lo * factor, hi * factor);
            simd::Put<decltype(stream)::value>(d + u * LF, simd::BitCast<float>(r));
        }
    });
    return qpStsNoErr;
}

Status ConvertF32F64(const float* src, double* dst, int len) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    ConvertLoop<2 * LF>(src, dst, len, [](const float* s, double* d, auto stream) {
        for (int u = 0; u < 2; ++u) {
            Vec<double> lo, hi;
            simd::WidenToF64(simd::Load(s + u * LF), lo, hi);
            simd::Put<decltype(stream)::value>(d + u * LF, lo);
            simd::Put<decltype(stream)::value>(d + u * LF + LD, hi);
        }
    });
    return qpStsNoErr;
}

// Rounds by the MXCSR rounding mode (to nearest unless the caller changed it).
Status ConvertF64F32(const double* src, float* dst, int len) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    ConvertLoop<2 * LF>(src, dst, len, [](const double* s, float* d, auto stream) {
        for (int u = 0; u < 2; ++u) {
            const auto r = simd::NarrowF64<simd::Narrowing::kFloat>(simd::Load(s + u * LF), simd::Load(s + u * LF + LD));
            simd::Put<decltype(stream)::value>(d + u * LF, simd::BitCast<float>(r));
        }
    });
    return qpStsNoErr;
}

// --- floating point to integers ------------------------------------------------------------------
//
// v = src * 2^-sf, then NaN -> 0, then the value is clamped to the target range and converted:
// truncated (mode 0) or rounded to nearest, ties to even (mode 1, under the MXCSR handling of
// simd::EnterNearest). Removing NaN first with an equality test (a quiet compare) keeps the clamping
// free of invalid operations, so only a signalling NaN raises the invalid flag. Scaling rounds only
// where the exact value is far below 1/2 (then every rounding gives 0) or overflows (then every
// rounding saturates).

template <bool kNearest>
QP_INLINE Vec<std::int32_t> FloatToInt(Vec<float> v, float lo, float hi) {
    v = simd::BitCast<float>(simd::BitCast<std::int32_t>(v) & (v == v));
    v = simd::MinF(simd::MaxF(v, lo), hi);
    if constexpr (kNearest) {
        return simd::CvtNearest(v);
    } else {
        return __builtin_convertvector(v, Vec<std::int32_t>);
    }
}

template <bool kNearest>
QP_INLINE Vec<std::int32_t> FloatToInt32(Vec<float> v) {
    // 2^31 - 1 is no float: the largest float below 2^31 converts to 0x7FFFFF80, and lanes at or
    // above 2^31 get the missing low bits ORed in.
    const Vec<std::int32_t> high = v >= simd::Broadcast(2147483648.0f);
    const Vec<std::int32_t> r = FloatToInt<kNearest>(v, -2147483648.0f, 2147483520.0f);
    return r | (high & 0x7FFFFFFF);
}

// NaN -> 0, clamped to the int32 range (whose bounds are doubles).
QP_INLINE Vec<double> ClampDoubleToInt32(Vec<double> v) {
    v = simd::BitCast<double>(simd::BitCast<std::int64_t>(v) & (v == v));
    return simd::MinD(simd::MaxD(v, -2147483648.0), 2147483647.0);
}

template <typename D, typename Kernel>
QP_INLINE Status RoundingConversion(const void* src, D* dst, int len, int rndMode, Kernel kernel) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    if (rndMode != 0 && rndMode != 1) return qpStsRoundModeNotSupportedErr;
    if (rndMode == 0) {
        kernel(StreamTag<false>());
    } else {
        const unsigned saved = simd::EnterNearest();
        kernel(StreamTag<true>());
        simd::LeaveNearest(saved);
    }
    return qpStsNoErr;
}

// Float sources: |src| < 2^128 and >= 2^-149 when not 0, so beyond [-253, 252] every value
// saturates or gives 0 as at the bounds.
QP_INLINE simd::Scale<float> FloatScale(int sf) { return simd::MakeScale<float>(sf, 126, -253, 252); }

Status ConvertF32S32(const float* src, int* dst, int len, int rndMode, int sf) {
    const auto scale = FloatScale(sf);
    return RoundingConversion(src, dst, len, rndMode, [=](auto nearest) {
        WithSteps(scale, [=](auto steps) {
            ConvertLoop<4 * LF>(src, dst, len, [scale](const float* s, int* d, auto stream) {
                for (int u = 0; u < 4; ++u) {
                    const Vec<float> v = ApplyScale<decltype(steps)::value>(simd::Load(s + u * LF), scale);
                    simd::Put<decltype(stream)::value>(d + u * LF, FloatToInt32<decltype(nearest)::value>(v));
                }
            });
        });
    });
}

Status ConvertF32S16(const float* src, short* dst, int len, int rndMode, int sf) {
    const auto scale = FloatScale(sf);
    static constexpr int L = simd::kLanes<short>;
    return RoundingConversion(src, dst, len, rndMode, [=](auto nearest) {
        WithSteps(scale, [=](auto steps) {
            ConvertLoop<2 * L>(src, dst, len, [scale](const float* s, short* d, auto stream) {
                for (int u = 0; u < 2; ++u) {
                    Vec<std::int32_t> r[2];
                    for (int h = 0; h < 2; ++h) {
                        const Vec<float> v = ApplyScale<decltype(steps)::value>(simd::Load(s + u * L + h * LF), scale);
                        r[h] = FloatToInt<decltype(nearest)::value>(v, -32768.0f, 32767.0f);
                    }
                    simd::Put<decltype(stream)::value>(d + u * L, simd::PackToS16(r[0], r[1]));
                }
            });
        });
    });
}

Status ConvertF32U8(const float* src, unsigned char* dst, int len, int rndMode, int sf) {
    const auto scale = FloatScale(sf);
    return RoundingConversion(src, dst, len, rndMode, [=](auto nearest) {
        WithSteps(scale, [=](auto steps) {
            ConvertLoop<4 * LF>(src, dst, len, [scale](const float* s, unsigned char* d, auto stream) {
                Vec<std::int32_t> r[4];
                for (int q = 0; q < 4; ++q) {
                    const Vec<float> v = ApplyScale<decltype(steps)::value>(simd::Load(s + q * LF), scale);
                    r[q] = FloatToInt<decltype(nearest)::value>(v, 0.0f, 255.0f);
                }
                simd::Put<decltype(stream)::value>(d, simd::PackToU8(r[0], r[1], r[2], r[3]));
            });
        });
    });
}

// Double sources: beyond [-2045, 2044] every value saturates or gives 0 as at the bounds.
Status ConvertF64S32(const double* src, int* dst, int len, int rndMode, int sf) {
    const auto scale = simd::MakeScale<double>(sf, 1022, -2045, 2044);
    return RoundingConversion(src, dst, len, rndMode, [=](auto nearest) {
        WithSteps(scale, [=](auto steps) {
            ConvertLoop<2 * LF>(src, dst, len, [scale](const double* s, int* d, auto stream) {
                for (int u = 0; u < 2; ++u) {
                    constexpr int S = decltype(steps)::value;
                    constexpr bool N = decltype(nearest)::value;
                    const Vec<double> lo = ClampDoubleToInt32(ApplyScale<S>(simd::Load(s + u * LF), scale));
                    const Vec<double> hi = ClampDoubleToInt32(ApplyScale<S>(simd::Load(s + u * LF + LD), scale));
                    constexpr auto kTo = N ? simd::Narrowing::kIntNearest : simd::Narrowing::kIntTruncate;
                    simd::Put<decltype(stream)::value>(d + u * LF, simd::NarrowF64<kTo>(lo, hi));
                }
            });
        });
    });
}

}  // namespace

Status convert_8u_f32(const unsigned char* src, float* dst, int len) { return ConvertU8F32(src, dst, len); }
Status convert_16s_f32_sfs(const short* src, int scaleFactor, float* dst, int len) {
    return ConvertS16F32(src, scaleFactor, dst, len);
}
Status convert_16s_f64_sfs(const short* src, int scaleFactor, double* dst, int len) {
    return ConvertS16F64(src, scaleFactor, dst, len);
}
Status convert_32s_f32_sfs(const int* src, int scaleFactor, float* dst, int len) {
    return ConvertS32F32(src, scaleFactor, dst, len);
}
Status convert_32s_f64_sfs(const int* src, int scaleFactor, double* dst, int len) {
    return ConvertS32F64(src, scaleFactor, dst, len);
}
Status convert_f32_f64(const float* src, double* dst, int len) { return ConvertF32F64(src, dst, len); }
Status convert_f64_f32(const double* src, float* dst, int len) { return ConvertF64F32(src, dst, len); }

Status convert_f32_8u_sfs(const float* src, unsigned char* dst, int len, int rndMode, int scaleFactor) {
    return ConvertF32U8(src, dst, len, rndMode, scaleFactor);
}
Status convert_f32_16s_sfs(const float* src, short* dst, int len, int rndMode, int scaleFactor) {
    return ConvertF32S16(src, dst, len, rndMode, scaleFactor);
}
Status convert_f32_32s_sfs(const float* src, int* dst, int len, int rndMode, int scaleFactor) {
    return ConvertF32S32(src, dst, len, rndMode, scaleFactor);
}
Status convert_f64_32s_sfs(const double* src, int* dst, int len, int rndMode, int scaleFactor) {
    return ConvertF64S32(src, dst, len, rndMode, scaleFactor);
}

}  // namespace QP_PATH_NS
}  // namespace qp
