// Shared helpers of the vector-family tests: guarded buffers at chosen alignments, bit comparisons
// and the per-path instantiation.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <limits>
#include <random>
#include <vector>

#include "paths.h"

namespace qptest {

// n elements starting `offset` elements past a 64-byte boundary, framed on both sides by guard
// bytes that catch any write outside the range.
template <typename T>
struct Buffer {
    static constexpr int kGuardBytes = 96;
    static constexpr unsigned char kFill = 0xA5;
    Buffer(int n, int offset)
        : bytes(static_cast<std::size_t>(n) * sizeof(T)),
          storage(bytes + 3 * kGuardBytes + 64 + static_cast<std::size_t>(offset) * sizeof(T), kFill) {
        const auto base = reinterpret_cast<std::uintptr_t>(storage.data()) + kGuardBytes;
        data = reinterpret_cast<T*>(((base + 63) & ~std::uintptr_t{63}) + static_cast<std::size_t>(offset) * sizeof(T));
    }
    bool GuardsIntact() const {
        const auto* p = reinterpret_cast<const unsigned char*>(data);
        for (int i = 1; i <= kGuardBytes; ++i) {
            if (p[-i] != kFill || p[bytes + i - 1] != kFill) return false;
        }
        return true;
    }
    bool TailIntact() const { return GuardsIntact(); }
    // Nothing written anywhere: the range still holds the fill pattern.
    bool Untouched() const {
        const auto* p = reinterpret_cast<const unsigned char*>(data);
        return GuardsIntact() && std::all_of(p, p + bytes, [](unsigned char b) { return b == kFill; });
    }
    std::size_t bytes;
    std::vector<unsigned char> storage;
    T* data;
};

template <typename T>
bool SameBits(T a, T b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <typename T>
bool SameOrBothNaN(T a, T b) {
    return SameBits(a, b) || (a != a && b != b);
}

// Random bit patterns, every value of the type included.
template <typename T>
void FillBits(T* p, int n, unsigned seed) {
    std::mt19937 gen(seed);
    for (int i = 0; i < n; ++i) {
        unsigned char b[sizeof(T)];
        for (auto& x : b) x = static_cast<unsigned char>(gen());
        std::memcpy(&p[i], b, sizeof(T));
    }
}

// Element offsets from a 64-byte boundary, and the lengths every kernel refuses.
constexpr int kOffsets[] = {0, 1, 3};
constexpr int kBadLengths[] = {0, -1, std::numeric_limits<int>::min()};
// Export counts that are zero or negative once converted to the primitives' int.
constexpr unsigned int kBadCounts[] = {0u, 0x80000000u, 0xFFFFFFFFu};

// Runs fn(n, offset) for every length and offset, traced; stops at the first fatal failure.
template <typename Lengths, typename F>
void ForLayouts(const Lengths& lengths, F&& fn, std::initializer_list<int> offsets = {0, 1, 3}) {
    for (int n : lengths) {
        for (int offset : offsets) {
            SCOPED_TRACE(testing::Message() << "n=" << n << " offset=" << offset);
            fn(n, offset);
            if (testing::Test::HasFatalFailure()) return;
        }
    }
}

// The bytes of a few objects, to show that refused calls left them alone (NaN and -0 included).
class Snapshot {
public:
    template <typename... T>
    explicit Snapshot(const T&... objects) {
        (Add(&objects, sizeof objects), ...);
    }
    void Add(const void* p, std::size_t size) {
        const auto* b = static_cast<const unsigned char*>(p);
        parts_.push_back({b, std::vector<unsigned char>(b, b + size)});
    }
    bool Unchanged() const {
        for (const auto& part : parts_) {
            if (std::memcmp(part.first, part.second.data(), part.second.size()) != 0) return false;
        }
        return true;
    }

private:
    std::vector<std::pair<const unsigned char*, std::vector<unsigned char>>> parts_;
};

// A call and the status it must return.
struct Expect {
    const char* what;
    std::function<qp::Status()> call;
    qp::Status status;
};
inline void ExpectStatuses(const std::vector<Expect>& calls) {
    for (const Expect& e : calls) EXPECT_EQ(e.call(), e.status) << e.what;
}

}  // namespace qptest

// Runs a TEST_P suite of path numbers on every path this processor can execute.
#define QP_INSTANTIATE_PATHS(Suite)                                                      \
    INSTANTIATE_TEST_SUITE_P(Runnable, Suite, testing::ValuesIn(qptest::RunnablePaths()), \
                             [](const testing::TestParamInfo<int>& info) { return "path" + qptest::PathName(info.param); })

#include <tuple>
#include <utility>

namespace qptest {

template <typename F, typename Tuple, std::size_t... I>
qp::Status CallWithNull(F& fn, int len, std::size_t null, const Tuple& ptrs, std::index_sequence<I...>) {
    return fn(len, (I == null ? nullptr : std::get<I>(ptrs))...);
}

// The refusals of one kernel: fn(len, pointers...) with each pointer in turn replaced by nullptr,
// then with every refused length. The caller checks that its outputs kept their bytes.
template <typename F, typename... P>
void ExpectRefusals(F fn, P*... ptrs) {
    const auto all = std::make_tuple(ptrs...);
    for (std::size_t z = 0; z < sizeof...(P); ++z) {
        EXPECT_EQ(CallWithNull(fn, 1, z, all, std::index_sequence_for<P...>{}), qp::qpStsNullPtrErr) << "pointer " << z;
    }
    for (int len : kBadLengths) {
        EXPECT_EQ(CallWithNull(fn, len, sizeof...(P), all, std::index_sequence_for<P...>{}), qp::qpStsSizeErr)
            << "length " << len;
    }
}

}  // namespace qptest
