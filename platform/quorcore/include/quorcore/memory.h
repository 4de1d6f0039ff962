// Small-block allocation: a thread-safe pool of fixed size classes for small objects, with large
// blocks going straight to the heap, and a standard-library allocator on top of it. The pool's
// memory, once obtained, is kept until the process exits.
#pragma once

#include <cstddef>
#include <new>

#include "quorcore/export.h"

namespace quorcore {
namespace utility {

class QUORCORE_API SmallBlockAllocator {
public:
    // Largest block the pool serves; larger requests use operator new.
    static constexpr std::size_t kMaxSmallBlock = 512;

    // Storage for `bytes` bytes aligned for any standard type (16 bytes); never null, throws
    // std::bad_alloc when memory is exhausted. Zero bytes gives a valid unique block.
    static void* Allocate(std::size_t bytes);
    // Releases a block; `bytes` must be the size it was allocated with. Null is ignored.
    static void Deallocate(void* block, std::size_t bytes) noexcept;

    // Blocks currently handed out by the pool (not counting large blocks), for tests and reports.
    static std::size_t OutstandingSmallBlocks();
};

// Stateless: every instance compares equal, so containers may swap and move storage freely.
template <typename T>
class STLAllocator {
public:
    using value_type = T;

    STLAllocator() noexcept = default;
    template <typename U>
    STLAllocator(const STLAllocator<U>&) noexcept {}

    T* allocate(std::size_t n) {
        if (n > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_array_new_length();
        return static_cast<T*>(SmallBlockAllocator::Allocate(n * sizeof(T)));
    }
    void deallocate(T* p, std::size_t n) noexcept { SmallBlockAllocator::Deallocate(p, n * sizeof(T)); }

    template <typename U>
    bool operator==(const STLAllocator<U>&) const noexcept {
        return true;
    }
    template <typename U>
    bool operator!=(const STLAllocator<U>&) const noexcept {
        return false;
    }
};

}  // namespace utility
}  // namespace quorcore
