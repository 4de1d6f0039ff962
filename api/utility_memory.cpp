// Copy and the aligned allocators.
#include <cstdint>

#include "quoraccelerate/utility/memory.h"
#include "runtime/dispatch.h"

namespace quoraccelerate {
namespace utility {

void Copy(unsigned int len, const float* src, float* dst) {
    if (len == 0) return;
    qp::copy_f32(src, dst, static_cast<int>(len));
}

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
