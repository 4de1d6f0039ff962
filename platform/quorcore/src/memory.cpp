// The small-block pool: ten size classes, each with a free list threaded through its released
// blocks and fed from 64 KiB chunks. Requests above the largest class go to operator new.
//
// Chunks are never returned: a block may be released long after the chunk it came from stopped
// being busy, so the pool keeps every chunk for the life of the process. Each class links its
// chunks from a static pointer, so leak checkers see them as reachable.
#include "quorcore/memory.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <type_traits>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
// Free blocks, uncarved chunk space and the slack past a request are poisoned, so the address
// sanitizer reports use after release and overruns inside the pool as it does on the heap.
#define QC_POISON(address, bytes) ASAN_POISON_MEMORY_REGION(address, bytes)
#define QC_UNPOISON(address, bytes) ASAN_UNPOISON_MEMORY_REGION(address, bytes)
#else
#define QC_POISON(address, bytes) ((void)(address), (void)(bytes))
#define QC_UNPOISON(address, bytes) ((void)(address), (void)(bytes))
#endif

namespace quorcore {
namespace utility {

namespace {

// Multiples of 16, so that every block of a 16-byte aligned chunk is 16-byte aligned too.
constexpr std::size_t kClassSizes[] = {16, 32, 48, 64, 96, 128, 192, 256, 384, 512};
constexpr std::size_t kClassCount = sizeof kClassSizes / sizeof kClassSizes[0];
constexpr std::size_t kChunkBytes = 64 * 1024;
constexpr std::size_t kChunkHeader = 16;  // the link to the previous chunk, padded for alignment
static_assert(kClassSizes[kClassCount - 1] == SmallBlockAllocator::kMaxSmallBlock, "classes cover the pool");

// The class serving n bytes, by (n + 15) / 16.
struct ClassTable {
    unsigned char index[SmallBlockAllocator::kMaxSmallBlock / 16 + 1];
};
constexpr ClassTable MakeClassTable() {
    ClassTable table{};
    std::size_t c = 0;
    for (std::size_t i = 0; i <= SmallBlockAllocator::kMaxSmallBlock / 16; ++i) {
        while (kClassSizes[c] < i * 16) ++c;
        table.index[i] = static_cast<unsigned char>(c);
    }
    return table;
}
constexpr ClassTable kClassOf = MakeClassTable();

struct FreeBlock {
    FreeBlock* next;
};

struct SizeClass {
    std::mutex mutex;
    FreeBlock* free = nullptr;  // released blocks, most recent first
    char* carve = nullptr;      // the part of the newest chunk not yet handed out
    char* carveEnd = nullptr;
    void* chunks = nullptr;  // the newest chunk; each begins with a pointer to the one before
};

// Constant-initialised and trivially destructible: the pool works from any static constructor or
// destructor, whatever the order in which libraries start and stop.
static_assert(std::is_trivially_destructible<SizeClass>::value, "no destruction order to care about");
SizeClass gClasses[kClassCount];
std::atomic<std::size_t> gOutstanding{0};

void AddChunk(SizeClass& sizeClass) {
    char* chunk = static_cast<char*>(::operator new(kChunkBytes));
    *reinterpret_cast<void**>(chunk) = sizeClass.chunks;
    sizeClass.chunks = chunk;
    sizeClass.carve = chunk + kChunkHeader;
    sizeClass.carveEnd = chunk + kChunkBytes;
    QC_POISON(sizeClass.carve, kChunkBytes - kChunkHeader);
}

}  // namespace

void* SmallBlockAllocator::Allocate(std::size_t bytes) {
    if (bytes > kMaxSmallBlock) return ::operator new(bytes);
    const std::size_t index = kClassOf.index[(bytes + 15) / 16];
    const std::size_t blockSize = kClassSizes[index];
    SizeClass& sizeClass = gClasses[index];
    char* block;
    {
        std::lock_guard<std::mutex> lock(sizeClass.mutex);
        if (sizeClass.free != nullptr) {
            block = reinterpret_cast<char*>(sizeClass.free);
            QC_UNPOISON(block, sizeof(FreeBlock));
            sizeClass.free = sizeClass.free->next;
        } else {
            if (static_cast<std::size_t>(sizeClass.carveEnd - sizeClass.carve) < blockSize) AddChunk(sizeClass);
            block = sizeClass.carve;
            sizeClass.carve += blockSize;
        }
        QC_POISON(block, blockSize);
        QC_UNPOISON(block, bytes);
    }
    gOutstanding.fetch_add(1, std::memory_order_relaxed);
    return block;
}

void SmallBlockAllocator::Deallocate(void* block, std::size_t bytes) noexcept {
    if (block == nullptr) return;
    if (bytes > kMaxSmallBlock) {
        ::operator delete(block, bytes);
        return;
    }
    const std::size_t index = kClassOf.index[(bytes + 15) / 16];
    SizeClass& sizeClass = gClasses[index];
    {
        std::lock_guard<std::mutex> lock(sizeClass.mutex);
        QC_UNPOISON(block, sizeof(FreeBlock));
        auto* freed = static_cast<FreeBlock*>(block);
        freed->next = sizeClass.free;
        sizeClass.free = freed;
        QC_POISON(block, kClassSizes[index]);
    }
    gOutstanding.fetch_sub(1, std::memory_order_relaxed);
}

std::size_t SmallBlockAllocator::OutstandingSmallBlocks() {
    return gOutstanding.load(std::memory_order_relaxed);
}

}  // namespace utility
}  // namespace quorcore
