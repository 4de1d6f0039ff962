// Copy, move, set, byte order, comparison, conversions and the aligned allocators: each export moves
// the length last and calls its primitive once.
#include <cstdint>

#include "quoraccelerate/utility/memory.h"
#include "runtime/dispatch.h"

namespace quoraccelerate {
namespace utility {

namespace {

int Len(unsigned int len) { return static_cast<int>(len); }

// 32-bit element counts moved as bytes: the byte count is formed in 32 bits and may wrap.
unsigned int Bytes32(unsigned int len) { return len * 4u; }

}  // namespace

void Copy(unsigned int len, const signed char* src, signed char* dst) {
    if (len == 0) return;
    qp::copy_8u(reinterpret_cast<const unsigned char*>(src), reinterpret_cast<unsigned char*>(dst), Len(len));
}
void Copy(unsigned int len, const unsigned char* src, unsigned char* dst) {
    if (len == 0) return;
    qp::copy_8u(src, dst, Len(len));
}
void Copy(unsigned int len, const short* src, short* dst) {
    if (len == 0) return;
    qp::copy_16s(src, dst, Len(len));
}
void Copy(unsigned int len, const int* src, int* dst) {
    if (len == 0 || Bytes32(len) == 0) return;
    qp::copy_8u(reinterpret_cast<const unsigned char*>(src), reinterpret_cast<unsigned char*>(dst),
                Len(Bytes32(len)));
}
void Copy(unsigned int len, const unsigned int* src, unsigned int* dst) {
    if (len == 0) return;
    qp::copy_32s(reinterpret_cast<const int*>(src), reinterpret_cast<int*>(dst), Len(len));
}
void Copy(unsigned int len, const float* src, float* dst) {
    if (len == 0) return;
    qp::copy_f32(src, dst, Len(len));
}
void Copy(unsigned int len, const double* src, double* dst) {
    if (len == 0) return;
    qp::copy_f64(src, dst, Len(len));
}

void Move(unsigned int len, const unsigned char* src, unsigned char* dst) {
    if (len == 0) return;
    qp::move_8u(src, dst, Len(len));
}
void Move(unsigned int len, const short* src, short* dst) {
    if (len == 0) return;
    qp::move_16s(src, dst, Len(len));
}
void Move(unsigned int len, const float* src, float* dst) {
    if (len == 0) return;
    qp::move_f32(src, dst, Len(len));
}
void Move(unsigned int len, const double* src, double* dst) {
    if (len == 0) return;
    qp::move_f64(src, dst, Len(len));
}
// Deliberately a no-op.
void Move(unsigned int, const unsigned int*, unsigned int*) {}

void Set(unsigned int len, unsigned char* dst, unsigned char value) {
    if (len == 0) return;
    qp::set_8u(value, dst, Len(len));
}
void Set(unsigned int len, short* dst, short value) {
    if (len == 0) return;
    qp::set_16s(value, dst, Len(len));
}
void Set(unsigned int len, int* dst, int value) {
    if (len == 0) return;
    qp::set_32s(value, dst, Len(len));
}
void Set(unsigned int len, unsigned int* dst, unsigned int value) {
    if (len == 0) return;
    qp::set_32s(static_cast<int>(value), reinterpret_cast<int*>(dst), Len(len));
}
void Set(unsigned int len, float* dst, float value) {
    if (len == 0) return;
    qp::set_f32(value, dst, Len(len));
}
void Set(unsigned int len, double* dst, double value) {
    if (len == 0) return;
    qp::set_f64(value, dst, Len(len));
}

void Zero(unsigned int len, unsigned char* dst) {
    if (len == 0) return;
    qp::zero_8u(dst, Len(len));
}
void Zero(unsigned int len, short* dst) {
    if (len == 0) return;
    qp::zero_16s(dst, Len(len));
}
void Zero(unsigned int len, int* dst) {
    if (len == 0 || Bytes32(len) == 0) return;
    qp::zero_8u(reinterpret_cast<unsigned char*>(dst), Len(Bytes32(len)));
}
void Zero(unsigned int len, unsigned int* dst) {
    if (len == 0 || Bytes32(len) == 0) return;
    qp::zero_8u(reinterpret_cast<unsigned char*>(dst), Len(Bytes32(len)));
}
void Zero(unsigned int len, float* dst) {
    if (len == 0) return;
    qp::zero_f32(dst, Len(len));
}
void Zero(unsigned int len, double* dst) {
    if (len == 0) return;
    qp::zero_f64(dst, Len(len));
}

void SwapBytes(unsigned int len, unsigned short* srcDst) { qp::swap_bytes_16u(srcDst, srcDst, Len(len)); }
void SwapBytes(unsigned int len, unsigned int* srcDst) { qp::swap_bytes_32u(srcDst, srcDst, Len(len)); }
void SwapBytes(unsigned int len, unsigned long long* srcDst) { qp::swap_bytes_64u(srcDst, srcDst, Len(len)); }
void SwapBytes(unsigned int len, const unsigned short* src, unsigned short* dst) {
    qp::swap_bytes_16u(src, dst, Len(len));
}
void SwapBytes(unsigned int len, const unsigned int* src, unsigned int* dst) { qp::swap_bytes_32u(src, dst, Len(len)); }
void SwapBytes(unsigned int len, const unsigned long long* src, unsigned long long* dst) {
    qp::swap_bytes_64u(src, dst, Len(len));
}

bool Equal(unsigned int len, const unsigned char* first, const unsigned char* second) {
    int result = 0;
    return qp::compare_8u(first, second, Len(len), &result) == qp::qpStsNoErr && result != 0;
}

void Convert(unsigned int len, const unsigned char* src, float* dst) { qp::convert_8u_f32(src, dst, Len(len)); }
void Convert(unsigned int len, const short* src, float* dst, int scaleFactor) {
    qp::convert_16s_f32_sfs(src, scaleFactor, dst, Len(len));
}
void Convert(unsigned int len, const short* src, double* dst, int scaleFactor) {
    qp::convert_16s_f64_sfs(src, scaleFactor, dst, Len(len));
}
void Convert(unsigned int len, const int* src, float* dst, int scaleFactor) {
    qp::convert_32s_f32_sfs(src, scaleFactor, dst, Len(len));
}
void Convert(unsigned int len, const int* src, double* dst, int scaleFactor) {
    qp::convert_32s_f64_sfs(src, scaleFactor, dst, Len(len));
}
// round selects the primitive's rounding mode: 0 truncates, 1 rounds to nearest even.
void Convert(unsigned int len, const float* src, unsigned char* dst, int scaleFactor, bool round) {
    qp::convert_f32_8u_sfs(src, dst, Len(len), round ? 1 : 0, scaleFactor);
}
void Convert(unsigned int len, const float* src, short* dst, int scaleFactor, bool round) {
    qp::convert_f32_16s_sfs(src, dst, Len(len), round ? 1 : 0, scaleFactor);
}
void Convert(unsigned int len, const float* src, int* dst, int scaleFactor, bool round) {
    qp::convert_f32_32s_sfs(src, dst, Len(len), round ? 1 : 0, scaleFactor);
}
void Convert(unsigned int len, const double* src, int* dst, int scaleFactor, bool round) {
    qp::convert_f64_32s_sfs(src, dst, Len(len), round ? 1 : 0, scaleFactor);
}
void Convert(unsigned int len, const float* src, double* dst) { qp::convert_f32_f64(src, dst, Len(len)); }
void Convert(unsigned int len, const double* src, float* dst) { qp::convert_f64_f32(src, dst, Len(len)); }

// The counts are read as signed 32-bit values; Malloc_Int16 forms its byte count in 32 bits.
unsigned char* Malloc_Byte(unsigned int count) {
    return static_cast<unsigned char*>(qp::AlignedMalloc(static_cast<std::int32_t>(count)));
}
short* Malloc_Int16(unsigned int count) {
    return static_cast<short*>(qp::AlignedMalloc(static_cast<std::int32_t>(count * 2u)));
}
float* Malloc_Float(unsigned int count) { return qp::AllocElements32(static_cast<std::int32_t>(count)); }
double* Malloc_Double(unsigned int count) { return qp::AllocElements64(static_cast<std::int32_t>(count)); }

void Free(unsigned char* ptr) { qp::AlignedFree(ptr); }
void Free(short* ptr) { qp::AlignedFree(ptr); }
void Free(float* ptr) { qp::AlignedFree(ptr); }
void Free(double* ptr) { qp::AlignedFree(ptr); }

}  // namespace utility
}  // namespace quoraccelerate
