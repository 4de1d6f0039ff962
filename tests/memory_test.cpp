// The 64-byte aligned allocators, internal and exported.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>

#include "quoraccelerate/utility.h"
#include "runtime/runtime.h"

namespace {

namespace util = quoraccelerate::utility;

constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();

bool Aligned64(const void* p) { return reinterpret_cast<std::uintptr_t>(p) % 64 == 0; }

// Writes every byte so that a short allocation shows up under the address sanitizer.
void Touch(void* p, std::size_t bytes) {
    std::memset(p, 0xA5, bytes);
    EXPECT_EQ(static_cast<unsigned char*>(p)[bytes - 1], 0xA5);
}

TEST(MemoryAligned, SmallSizesAndElementCounts) {
    for (const std::int32_t bytes : {1, 7, 8, 63, 64, 65, 127, 1000, 4099}) {
        void* p = qp::AlignedMalloc(bytes);
        ASSERT_NE(p, nullptr) << bytes;
        EXPECT_TRUE(Aligned64(p)) << bytes;
        Touch(p, static_cast<std::size_t>(bytes));
        qp::AlignedFree(p);
    }
    qp::AlignedFree(nullptr);
    for (const std::int32_t count : {1, 3, 17, 100}) {
        void* p[4] = {qp::AllocElements8(count), qp::AllocElements16(count), qp::AllocElements32(count),
                      qp::AllocElements64(count)};
        for (int i = 0; i < 4; ++i) {
            ASSERT_NE(p[i], nullptr) << count << " of " << (1 << i) << " bytes";
            EXPECT_TRUE(Aligned64(p[i]));
            Touch(p[i], (std::size_t{1} << i) * static_cast<std::size_t>(count));
            qp::AlignedFree(p[i]);
        }
    }
}

TEST(MemoryAligned, RejectedSizes) {
    for (const std::int32_t bytes : {0, -1, -64, std::numeric_limits<std::int32_t>::min(), kMax, kMax - 71})
        EXPECT_EQ(qp::AlignedMalloc(bytes), nullptr) << bytes;
}

TEST(MemoryElements, RejectedCounts) {
    const struct {
        std::int32_t count;
        bool e8, e16, e32, e64;  // the allocator with this element size gives null
    } cases[] = {
        {0, true, true, true, true},
        {-1, true, true, true, true},
        {std::numeric_limits<std::int32_t>::min(), true, true, true, true},
        {0x10000000, false, false, false, true},  // 2^31 bytes of doubles
        {0x20000001, false, false, false, true},  // byte count wraps to 8 in 32 bits
        {0x40000001, false, false, true, true},   // wraps to 4 for floats
        {0x20000000, false, false, true, true},
        {0x40000000, false, true, true, true},
        {kMax, true, true, true, true},  // 8-bit: within the element limit, beyond the allocator's
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.count);
        // Only the rejections are tried: the accepted ones would allocate up to 1 GiB.
        if (c.e8) { EXPECT_EQ(qp::AllocElements8(c.count), nullptr); }
        if (c.e16) { EXPECT_EQ(qp::AllocElements16(c.count), nullptr); }
        if (c.e32) { EXPECT_EQ(qp::AllocElements32(c.count), nullptr); }
        if (c.e64) { EXPECT_EQ(qp::AllocElements64(c.count), nullptr); }
    }
}

// The exported allocators read the unsigned count as signed 32-bit; the 16-bit one forms its byte
// count in 32 bits, so large counts wrap.
TEST(MemoryUtility, RejectedCounts) {
    for (const unsigned count : {0u, 0x80000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(count);
        EXPECT_EQ(util::Malloc_Byte(count), nullptr);
        EXPECT_EQ(util::Malloc_Int16(count), nullptr);
        EXPECT_EQ(util::Malloc_Float(count), nullptr);
        EXPECT_EQ(util::Malloc_Double(count), nullptr);
    }
    EXPECT_EQ(util::Malloc_Int16(0x40000000u), nullptr);  // 2^31 bytes: negative
    EXPECT_EQ(util::Malloc_Int16(0xC0000000u), nullptr);  // wraps to 2^31 bytes
    EXPECT_EQ(util::Malloc_Float(0x20000000u), nullptr);
    EXPECT_EQ(util::Malloc_Double(0x10000000u), nullptr);

    short* wrapped = util::Malloc_Int16(0x80000001u);  // wraps to 2 bytes
    ASSERT_NE(wrapped, nullptr);
    Touch(wrapped, 2);
    util::Free(wrapped);
}

// Each allocator, released by each Free overload; null is accepted by every overload.
TEST(MemoryUtility, AllocateAndFreeWithEveryOverload) {
    constexpr unsigned kCount = 37;
    const std::function<void*()> allocate[] = {
        [] { return static_cast<void*>(util::Malloc_Byte(kCount)); },
        [] { return static_cast<void*>(util::Malloc_Int16(kCount)); },
        [] { return static_cast<void*>(util::Malloc_Float(kCount)); },
        [] { return static_cast<void*>(util::Malloc_Double(kCount)); },
    };
    const std::size_t size[] = {1, 2, 4, 8};
    const std::function<void(void*)> release[] = {
        [](void* p) { util::Free(static_cast<unsigned char*>(p)); },
        [](void* p) { util::Free(static_cast<short*>(p)); },
        [](void* p) { util::Free(static_cast<float*>(p)); },
        [](void* p) { util::Free(static_cast<double*>(p)); },
    };
    for (int a = 0; a < 4; ++a) {
        for (int f = 0; f < 4; ++f) {
            SCOPED_TRACE(testing::Message() << "allocator " << a << ", free " << f);
            void* p = allocate[a]();
            ASSERT_NE(p, nullptr);
            EXPECT_TRUE(Aligned64(p));
            Touch(p, kCount * size[a]);
            release[f](p);
        }
        release[a](nullptr);
    }
}

}  // namespace
