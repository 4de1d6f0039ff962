// The multi-rate FIR state records handed out by MRFInit: the primitive's specification and work
// buffer, and the record's own copy of the caller's delay line, whose storage comes from the
// library's aligned float or double allocator.
#pragma once

#include <cstddef>
#include <new>
#include <vector>

#include "quoraccelerate/types.h"
#include "quoraccelerate/utility/memory.h"

namespace quoraccelerate {

// Standard-library allocator over utility::Malloc_Float / Malloc_Double and utility::Free.
template <typename T>
class AlignedElementAllocator {
public:
    using value_type = T;

    AlignedElementAllocator() noexcept = default;
    template <typename U>
    AlignedElementAllocator(const AlignedElementAllocator<U>&) noexcept {}

    T* allocate(std::size_t n) {
        if (n > 0x7FFFFFFFu / sizeof(T)) throw std::bad_alloc();
        T* p;
        if constexpr (sizeof(T) == 4) {
            p = utility::Malloc_Float(static_cast<unsigned int>(n));
        } else {
            p = utility::Malloc_Double(static_cast<unsigned int>(n));
        }
        if (p == nullptr) throw std::bad_alloc();
        return p;
    }
    void deallocate(T* p, std::size_t) noexcept { utility::Free(p); }

    template <typename U>
    bool operator==(const AlignedElementAllocator<U>&) const noexcept {
        return true;
    }
    template <typename U>
    bool operator!=(const AlignedElementAllocator<U>&) const noexcept {
        return false;
    }
};

struct MRFState_Float {
    unsigned char* spec;        // the primitive's specification, aligned allocation
    unsigned char* workBuffer;  // scratch of the primitive, aligned allocation
    std::vector<float, AlignedElementAllocator<float>> dlyLine;
};

struct MRFState_Double {
    unsigned char* spec;
    unsigned char* workBuffer;
    std::vector<double, AlignedElementAllocator<double>> dlyLine;
};

}  // namespace quoraccelerate
