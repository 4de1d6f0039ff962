// Dispatch of the exported functions: the first call initialises the library, and an emulated
// processor selects the path its instruction sets allow.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <vector>

#include "paths.h"

namespace {

// The first call through a table whose index is still -1 initialises the library and then runs
// the kernel of the chosen path.
TEST(Dispatch, FirstCallInitialisesTheLibrary) {
    qp::ResetRuntime(nullptr);
    ASSERT_EQ(qp::g_codePath, -1);
    float a[3] = {1, 2, 3}, d[3] = {};
    EXPECT_EQ(qp::add_f32(a, a, d, 3), qp::qpStsNoErr);
    EXPECT_EQ(std::vector<float>(d, d + 3), (std::vector<float>{2, 4, 6}));
    EXPECT_GE(qp::g_codePath, 0);
    std::int32_t expected = -1;
    std::uint64_t mask = 0;
    qp::GetCpuFeatures(&mask, nullptr);
    qp::SetCpuFeatures(mask, &expected);
    EXPECT_EQ(qp::g_codePath, expected);
}

// Under emulation the test driver names the path the emulated processor must select.
TEST(Dispatch, SelectsTheExpectedPath) {
    const char* expected = std::getenv("QP_EXPECTED_PATH");
    if (expected == nullptr) GTEST_SKIP() << "QP_EXPECTED_PATH not set";
    qp::ResetRuntime(nullptr);
    qp::InitLibrary();
    EXPECT_EQ(qp::g_codePath, std::atoi(expected));
}

}  // namespace
