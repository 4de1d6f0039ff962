// Every build of every primitive, for tests that run a kernel on each code path this processor
// (or the emulated one) can execute, plus the test-only 512-bit build lowered to AVX2.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <type_traits>
#include <vector>

#include "runtime/kernels.h"
#include "runtime/runtime.h"

namespace qptest {

constexpr int kPathCount = 8;  // 0..6 and w
constexpr int kWidePath = 7;

#define QP_PRIMITIVE(name, ...)                                                                         \
    inline qp::name##_fn* const name##_paths[kPathCount] = {                                            \
        &qp::path0::name, &qp::path1::name, &qp::path2::name, &qp::path3::name, &qp::path4::name,      \
        &qp::path5::name, &qp::path6::name, &qp::pathw::name};
#include "primitives.def"
#undef QP_PRIMITIVE

// The path table of the float or the double build of a primitive, for checks written once for
// both types: QP_TYPED(add, p) in a template of T.
template <typename T, typename F, typename D>
auto Of(const F& f32, const D& f64, int p) {
    if constexpr (std::is_same_v<T, float>) {
        return f32[p];
    } else {
        return f64[p];
    }
}
#define QP_TYPED(name, path) qptest::Of<T>(qptest::name##_f32_paths, qptest::name##_f64_paths, path)

// True when the tests run under an emulated processor (the driver names the expected path): tests
// with large inputs shrink them there, the emulation being tens of times slower.
inline bool Emulated() { return std::getenv("QP_EXPECTED_PATH") != nullptr; }

inline std::string PathName(int path) { return path == kWidePath ? "w" : std::to_string(path); }

// Features the processor offers, read straight from the hardware (independent of whatever processor
// a test installed in the runtime).
inline std::uint64_t HardwareFeatures() {
    static const std::uint64_t mask = [] {
        qp::ResetRuntime(nullptr);
        std::uint64_t m = 0;
        qp::GetCpuFeatures(&m, nullptr);
        qp::InitLibrary();
        return m;
    }();
    return mask;
}

// Paths whose instruction sets this processor has; the 512-bit test build needs what path 4 needs.
// QP_RUN_ALL_PATHS=1 lists every path, to show that an emulated processor traps a foreign one.
inline std::vector<int> RunnablePaths() {
    std::vector<int> paths;
    if (std::getenv("QP_RUN_ALL_PATHS") != nullptr) {
        for (int p = 0; p < kPathCount; ++p) paths.push_back(p);
        return paths;
    }
    for (int p = 0; p < kPathCount; ++p) {
        const std::uint64_t needs = qp::kPathFeatures[p == kWidePath ? 4 : p];
        if ((HardwareFeatures() & needs) == needs) paths.push_back(p);
    }
    return paths;
}

}  // namespace qptest
