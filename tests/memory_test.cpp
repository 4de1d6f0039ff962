// The 64-byte aligned allocators, internal and exported.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>

#include "quoraccelerate/utility.h"
#include "runtime/runtime.h"

namespace {

namespace util = quoraccelerate::utility;

constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();

template <auto Allocate, typename Count = std::int32_t>
void* Erased(Count count) { return Allocate(count); }
template <typename T>
void FreeAs(void* p) { util::Free(static_cast<T*>(p)); }

// The element allocators by element size (1, 2, 4 and 8 bytes), and the exported ones and their
// Free overloads in the same order.
void* (*const kElements[4])(std::int32_t) = {Erased<qp::AllocElements8>, Erased<qp::AllocElements16>,
                                             Erased<qp::AllocElements32>, Erased<qp::AllocElements64>};
void* (*const kExported[4])(unsigned) = {Erased<util::Malloc_Byte, unsigned>, Erased<util::Malloc_Int16, unsigned>,
                                         Erased<util::Malloc_Float, unsigned>, Erased<util::Malloc_Double, unsigned>};
void (*const kExportedFree[4])(void*) = {FreeAs<unsigned char>, FreeAs<short>, FreeAs<float>, FreeAs<double>};

// Checks the alignment and writes every byte, so that a short block shows up under the address
// sanitizer, then releases the block.
void CheckAndRelease(void* p, std::size_t bytes, void (*release)(void*)) {
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 64, 0u);
    std::memset(p, 0xA5, bytes);
    release(p);
}

TEST(MemoryAligned, SizesAndElementCounts) {
    for (const std::int32_t bytes : {1, 7, 8, 63, 64, 65, 127, 1000, 4099}) {
        SCOPED_TRACE(bytes);
        CheckAndRelease(qp::AlignedMalloc(bytes), static_cast<std::size_t>(bytes), qp::AlignedFree);
    }
    qp::AlignedFree(nullptr);
    for (const std::int32_t count : {1, 3, 17, 100}) {
        for (int i = 0; i < 4; ++i) {
            SCOPED_TRACE(testing::Message() << count << " of " << (1 << i) << " bytes");
            CheckAndRelease(kElements[i](count), static_cast<std::size_t>(count) << i, qp::AlignedFree);
        }
    }
}

TEST(MemoryAligned, RejectedSizesAndCounts) {
    for (const std::int32_t bytes : {0, -1, -64, kMin, kMax, kMax - 71})
        EXPECT_EQ(qp::AlignedMalloc(bytes), nullptr) << bytes;
    const struct {
        std::int32_t count;
        unsigned rejects;  // bit i: the allocator of 2^i-byte elements gives null
    } cases[] = {
        {0, 0xF}, {-1, 0xF}, {kMin, 0xF},
        {0x10000000, 0x8},  // 2^31 bytes of doubles
        {0x20000001, 0x8},  // byte count wraps to 8 in 32 bits
        {0x40000001, 0xC},  // wraps to 4 for floats
        {0x20000000, 0xC}, {0x40000000, 0xE},
        {kMax, 0xF},  // 8-bit: within the element limit, beyond the allocator's
    };
    // Only the rejections are tried: the accepted ones would allocate up to 1 GiB.
    for (const auto& c : cases) {
        for (int i = 0; i < 4; ++i) {
            if ((c.rejects >> i) & 1u) { EXPECT_EQ(kElements[i](c.count), nullptr) << c.count << ", " << (1 << i); }
        }
    }
}

// The exported allocators read the unsigned count as signed 32-bit; the 16-bit one forms its byte
// count in 32 bits, so large counts wrap.
TEST(MemoryUtility, RejectedCounts) {
    for (const unsigned count : {0u, 0x80000000u, 0xFFFFFFFFu})
        for (int a = 0; a < 4; ++a) EXPECT_EQ(kExported[a](count), nullptr) << count << ", " << a;
    EXPECT_EQ(util::Malloc_Int16(0x40000000u), nullptr);  // 2^31 bytes: negative
    EXPECT_EQ(util::Malloc_Int16(0xC0000000u), nullptr);  // wraps to 2^31 bytes
    EXPECT_EQ(util::Malloc_Float(0x20000000u), nullptr);
    EXPECT_EQ(util::Malloc_Double(0x10000000u), nullptr);
    CheckAndRelease(util::Malloc_Int16(0x80000001u), 2, kExportedFree[1]);  // wraps to 2 bytes
}

// Any Free overload releases what any of the allocators gave; null is accepted by every overload.
TEST(MemoryUtility, AnyFreeReleasesAnyAllocation) {
    for (int a = 0; a < 4; ++a) {
        for (int f = 0; f < 4; ++f) {
            SCOPED_TRACE(testing::Message() << "allocator " << a << ", free " << f);
            CheckAndRelease(kExported[a](37), std::size_t{37} << a, kExportedFree[f]);
        }
        kExportedFree[a](nullptr);
    }
}

}  // namespace
