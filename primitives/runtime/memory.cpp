// 64-byte aligned allocation on top of malloc: the heap pointer is kept in the 8 bytes just below
// the aligned address.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "runtime.h"

namespace qp {

namespace {
constexpr std::int32_t kAlignment = 64;
constexpr std::int32_t kOverhead = kAlignment + 8;  // room to align and to keep the heap pointer

template <typename T>
T* AllocElements(std::int32_t count) {
    if (count <= 0 || static_cast<std::int64_t>(count) * sizeof(T) > 0x7FFFFFFF) return nullptr;
    return static_cast<T*>(AlignedMalloc(count * static_cast<std::int32_t>(sizeof(T))));
}
}  // namespace

void* AlignedMalloc(std::int32_t bytes) {
    if (bytes <= 0 || bytes > std::numeric_limits<std::int32_t>::max() - kOverhead) return nullptr;
    void* heap = std::malloc(static_cast<std::size_t>(bytes) + kOverhead);
    if (heap == nullptr) return nullptr;
    const std::uintptr_t base = reinterpret_cast<std::uintptr_t>(heap);
    const std::uintptr_t aligned = (base + 8 + kAlignment - 1) & ~static_cast<std::uintptr_t>(kAlignment - 1);
    std::memcpy(reinterpret_cast<void*>(aligned - 8), &heap, sizeof heap);
    return reinterpret_cast<void*>(aligned);
}

void AlignedFree(void* ptr) {
    if (ptr == nullptr) return;
    void* heap = nullptr;
    std::memcpy(&heap, static_cast<char*>(ptr) - 8, sizeof heap);
    std::free(heap);
}

std::uint8_t* AllocElements8(std::int32_t count) { return AllocElements<std::uint8_t>(count); }
std::int16_t* AllocElements16(std::int32_t count) { return AllocElements<std::int16_t>(count); }
float* AllocElements32(std::int32_t count) { return AllocElements<float>(count); }
double* AllocElements64(std::int32_t count) { return AllocElements<double>(count); }

}  // namespace qp
