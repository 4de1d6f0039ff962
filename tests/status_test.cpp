// Status messages.
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

#include "runtime/status.h"

namespace {

const char* const kUnknown = "qpStsUnknownStatusCodeErr: Unknown status code";

TEST(StatusText, ExactMessages) {
    const struct {
        qp::Status code;
        const char* text;
    } cases[] = {
        {0, "qpStsNoErr: No errors"},
        {20, "qpStsNonReferenceCpu: The target CPU is not of the reference vendor"},
        {36, "qpStsNotSupportedCpu: The CPU is not supported"},
        {37, "qpStsUnknownCacheSize: The CPU is supported, but the size of the cache is unknown"},
        {49, "qpStsFeatureNotSupported: Current CPU doesn't support at least 1 of the desired features"},
        {50, "qpStsUnknownFeature: At least one of the desired features is unknown"},
        {51, "qpStsFeaturesCombination: Wrong combination of features"},
        {-4, "qpStsNoMemErr: Not enough memory for the operation"},
        {-5, "qpStsBadArgErr: Incorrect arg/param of the function"},
        {-6, "qpStsSizeErr: Incorrect value for data size"}, {-8, "qpStsNullPtrErr: Null pointer error"},
        {-17, "qpStsFftOrderErr: Invalid value for the FFT order parameter"},
        {-18, "qpStsFftFlagErr: Invalid value for the FFT flag parameter"},
        {-25, "qpStsIIROrderErr: Order of an IIR filter is not valid"},
        {-26, "qpStsFIRLenErr: Length of a FIR filter is less than, or equal to zero"},
        {-28, "qpStsFIRMRPhaseErr: MR FIR sampling phase is negative, or greater than, or equal to the sampling factor"},
        {-29, "qpStsFIRMRFactorErr: MR FIR sampling factor is less than, or equal to zero"},
        {-216, kUnknown}, {-9700, "Error at loading of %s library"},
        // Codes without a row.
        {-1, kUnknown}, {6, kUnknown}, {53, kUnknown}, {-9703, kUnknown}, {-10000, kUnknown},
        {std::numeric_limits<qp::Status>::min(), kUnknown}, {std::numeric_limits<qp::Status>::max(), kUnknown},
    };
    for (const auto& c : cases) EXPECT_STREQ(qp::StatusText(c.code), c.text) << c.code;
}

// Scanning every code in the table's range finds each row once: the codes are unique.
TEST(StatusText, TableCodesAreUnique) {
    ASSERT_EQ(qp::StatusTableSize(), 138);
    int rows = 1;  // the unknown-code row itself
    for (qp::Status code = -10000; code <= 100; ++code) {
        const char* text = qp::StatusText(code);
        if (std::strcmp(text, kUnknown) == 0) continue;
        ++rows;
        const bool loader = code >= -9702 && code <= -9700;
        EXPECT_EQ(std::string(text).rfind("qpSts", 0) == 0, !loader) << code;
    }
    EXPECT_EQ(rows, qp::StatusTableSize());
}

}  // namespace
