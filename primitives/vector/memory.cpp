// Copy, move, fill, byte-order reversal and byte comparison kernels.
//
// Copies, moves and fills work on the bytes of the range whatever the element type: whole vectors
// at any alignment, the last vector placed flush with the end of the range (overlapping the one
// before it) instead of a scalar remainder, and non-temporal stores for destinations of 4 MiB and
// more.
#include "simd/convert.h"

namespace qp {
namespace QP_PATH_NS {

namespace {

template <typename T>
QP_INLINE std::size_t ByteCount(int len) {
    return static_cast<std::size_t>(len) * sizeof(T);
}

template <typename T>
QP_INLINE Status Copy(const T* src, T* dst, int len) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    // Forward copying also serves dst == src; other overlaps are not supported.
    simd::CopyForward(reinterpret_cast<unsigned char*>(dst), reinterpret_cast<const unsigned char*>(src),
                      ByteCount<T>(len));
    return qpStsNoErr;
}

template <typename T>
QP_INLINE Status Move(const T* src, T* dst, int len) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    simd::MoveBytes(reinterpret_cast<unsigned char*>(dst), reinterpret_cast<const unsigned char*>(src),
                    ByteCount<T>(len));
    return qpStsNoErr;
}

template <typename T>
QP_INLINE Status Set(T value, T* dst, int len) {
    if (dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    simd::FillBytes(reinterpret_cast<unsigned char*>(dst), simd::BitCast<unsigned char>(simd::Broadcast(value)),
                    ByteCount<T>(len));
    return qpStsNoErr;
}

template <typename T>
QP_INLINE T SwapScalar(T x) {
    if constexpr (sizeof(T) == 2) {
        return __builtin_bswap16(x);
    } else if constexpr (sizeof(T) == 4) {
        return __builtin_bswap32(x);
    } else {
        return __builtin_bswap64(x);
    }
}

template <typename T>
QP_INLINE Status SwapBytes(const T* src, T* dst, int len) {
    if (src == nullptr || dst == nullptr) return qpStsNullPtrErr;
    if (len <= 0) return qpStsSizeErr;
    constexpr int L = simd::kLanes<T>;
    if (len < L) {
        // Shorter than a vector: through a zero-padded vector, so every length takes the same code.
        T buffer[L] = {};
        __builtin_memcpy(buffer, src, ByteCount<T>(len));
        simd::Store(buffer, simd::SwapBytes<T>(simd::Load(buffer)));
        __builtin_memcpy(dst, buffer, ByteCount<T>(len));
        return qpStsNoErr;
    }
    // The last vector is read before any store, so dst == src works with the flush-end remainder.
    const simd::Vec<T> tail = simd::SwapBytes<T>(simd::Load(src + len - L));
    const int body = len - len % L;
    const auto vop = [](simd::Vec<T> x) { return simd::SwapBytes<T>(x); };
    const auto sop = [](T x) { return SwapScalar(x); };
    if (dst != src) {
        simd::Map(dst, body, vop, sop, src);
    } else {
        // In place every destination line is read anyway: streaming stores would only evict it.
        // Blocks below the streaming threshold keep the ordinary stores.
        constexpr int kBlock = static_cast<int>(simd::kStreamBytes / sizeof(T) / 2);
        for (int i = 0; i < body; i += kBlock) {
            simd::Map(dst + i, body - i < kBlock ? body - i : kBlock, vop, sop, src + i);
        }
    }
    if (len % L != 0) simd::Store(dst + len - L, tail);
    return qpStsNoErr;
}

QP_INLINE Status Compare(const unsigned char* a, const unsigned char* b, int len, int* result) {
    if (a == nullptr || b == nullptr || result == nullptr) return qpStsNullPtrErr;
    if (len < 0) return qpStsLengthErr;
    constexpr int V = simd::kVecBytes;
    const std::size_t n = static_cast<std::size_t>(len);
    bool same = true;
    if (n < static_cast<std::size_t>(V)) {
        for (std::size_t i = 0; i < n && same; ++i) same = a[i] == b[i];
    } else {
        std::size_t i = 0;
        for (; same && i + 4 * V <= n; i += 4 * V) {
            const simd::Bytes x = (simd::Load(a + i) ^ simd::Load(b + i)) | (simd::Load(a + i + V) ^ simd::Load(b + i + V)) |
                                  (simd::Load(a + i + 2 * V) ^ simd::Load(b + i + 2 * V)) |
                                  (simd::Load(a + i + 3 * V) ^ simd::Load(b + i + 3 * V));
            same = simd::AllZero(x);
        }
        for (; same && i + V <= n; i += V) same = simd::AllZero(simd::Load(a + i) ^ simd::Load(b + i));
        if (same) same = simd::AllZero(simd::Load(a + n - V) ^ simd::Load(b + n - V));
    }
    *result = same ? 1 : 0;
    return qpStsNoErr;
}

}  // namespace

Status copy_8u(const unsigned char* src, unsigned char* dst, int len) { return Copy(src, dst, len); }
Status copy_16s(const short* src, short* dst, int len) { return Copy(src, dst, len); }
Status copy_32s(const int* src, int* dst, int len) { return Copy(src, dst, len); }
Status copy_f32(const float* src, float* dst, int len) { return Copy(src, dst, len); }
Status copy_f64(const double* src, double* dst, int len) { return Copy(src, dst, len); }

Status move_8u(const unsigned char* src, unsigned char* dst, int len) { return Move(src, dst, len); }
Status move_16s(const short* src, short* dst, int len) { return Move(src, dst, len); }
Status move_f32(const float* src, float* dst, int len) { return Move(src, dst, len); }
Status move_f64(const double* src, double* dst, int len) { return Move(src, dst, len); }

Status set_8u(unsigned char value, unsigned char* dst, int len) { return Set(value, dst, len); }
Status set_16s(short value, short* dst, int len) { return Set(value, dst, len); }
Status set_32s(int value, int* dst, int len) { return Set(value, dst, len); }
Status set_f32(float value, float* dst, int len) { return Set(value, dst, len); }
Status set_f64(double value, double* dst, int len) { return Set(value, dst, len); }

Status zero_8u(unsigned char* dst, int len) { return Set<unsigned char>(0, dst, len); }
Status zero_16s(short* dst, int len) { return Set<short>(0, dst, len); }
Status zero_f32(float* dst, int len) { return Set(0.0f, dst, len); }
Status zero_f64(double* dst, int len) { return Set(0.0, dst, len); }

Status swap_bytes_16u(const unsigned short* src, unsigned short* dst, int len) { return SwapBytes(src, dst, len); }
Status swap_bytes_32u(const unsigned int* src, unsigned int* dst, int len) { return SwapBytes(src, dst, len); }
Status swap_bytes_64u(const unsigned long long* src, unsigned long long* dst, int len) {
    return SwapBytes(src, dst, len);
}

Status compare_8u(const unsigned char* a, const unsigned char* b, int len, int* result) {
    return Compare(a, b, len, result);
}

}  // namespace QP_PATH_NS
}  // namespace qp
