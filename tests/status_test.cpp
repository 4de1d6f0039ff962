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
        {-6, "qpStsSizeErr: Incorrect value for data size"},
        {-8, "qpStsNullPtrErr: Null pointer error"},
        {-17, "qpStsFftOrderErr: Invalid value for the FFT order parameter"},
        {-18, "qpStsFftFlagErr: Invalid value for the FFT flag parameter"},
        {-25, "qpStsIIROrderErr: Order of an IIR filter is not valid"},
        {-26, "qpStsFIRLenErr: Length of a FIR filter is less than, or equal to zero"},
        {-28, "qpStsFIRMRPhaseErr: MR FIR sampling phase is negative, or greater than, or equal to the sampling factor"},
        {-29, "qpStsFIRMRFactorErr: MR FIR sampling factor is less than, or equal to zero"},
        {-216, kUnknown},
        {-9700, "Error at loading of %s library"},
        // Codes without a row.
        {-1, kUnknown}, {6, kUnknown}, {53, kUnknown}, {-9703, kUnknown}, {-10000, kUnknown},
        {std::numeric_limits<qp::Status>::min(), kUnknown}, {std::numeric_limits<qp::Status>::max(), kUnknown},
    };
    for (const auto& c : cases) EXPECT_STREQ(qp::StatusText(c.code), c.text) << c.code;
}

// Every named code has a row whose message starts with the code's name.
TEST(StatusText, RowsStartWithTheirName) {
    const struct {
        qp::Status code;
        const char* name;
    } named[] = {
#define N(x) {qp::x, #x},
        N(qpStsCpuNotSupportedErr) N(qpStsInplaceModeNotSupportedErr) N(qpStsIIRIIRLengthErr)
        N(qpStsWarpTransformTypeErr) N(qpStsExceededSizeErr) N(qpStsWarpDirectionErr) N(qpStsFilterTypeErr)
        N(qpStsNormErr) N(qpStsAlgTypeErr) N(qpStsMisalignedOffsetErr) N(qpStsBorderErr) N(qpStsDitherTypeErr)
        N(qpStsLoadDynErr) N(qpStsUnknownStatusCodeErr) N(qpStsLzoBrokenStreamErr)
        N(qpStsRoundModeNotSupportedErr) N(qpStsDecimateFractionErr) N(qpStsWeightErr) N(qpStsQualityIndexErr)
        N(qpStsIIRPassbandRippleErr) N(qpStsFilterFrequencyErr) N(qpStsIIRGenOrderErr) N(qpStsConvergeErr)
        N(qpStsSizeMatchMatrixErr) N(qpStsCountMatrixErr) N(qpStsRoiShiftMatrixErr) N(qpStsSrcDataErr)
        N(qpStsSingularErr) N(qpStsSparseErr) N(qpStsRegExpOptionsErr) N(qpStsRegExpErr)
        N(qpStsRegExpMatchLimitErr) N(qpStsRegExpQuantifierErr) N(qpStsRegExpGroupingErr)
        N(qpStsRegExpBackRefErr) N(qpStsRegExpChClassErr) N(qpStsRegExpMetaChErr) N(qpStsStrideMatrixErr)
        N(qpStsNoiseRangeErr) N(qpStsNotEvenStepErr) N(qpStsHistoNofLevelsErr) N(qpStsLUTNofLevelsErr)
        N(qpStsChannelOrderErr) N(qpStsDataTypeErr) N(qpStsQuadErr) N(qpStsRectErr) N(qpStsCoeffErr)
        N(qpStsNoiseValErr) N(qpStsDitherLevelsErr) N(qpStsNumChannelsErr) N(qpStsCOIErr) N(qpStsDivisorErr)
        N(qpStsAlphaTypeErr) N(qpStsGammaRangeErr) N(qpStsChannelErr) N(qpStsToneMagnErr) N(qpStsToneFreqErr)
        N(qpStsTonePhaseErr) N(qpStsTrnglMagnErr) N(qpStsTrnglFreqErr) N(qpStsTrnglPhaseErr)
        N(qpStsTrnglAsymErr) N(qpStsHugeWinErr) N(qpStsJaehneErr) N(qpStsStrideErr) N(qpStsEpsValErr)
        N(qpStsWtOffsetErr) N(qpStsAnchorErr) N(qpStsMaskSizeErr) N(qpStsShiftErr) N(qpStsSampleFactorErr)
        N(qpStsSamplePhaseErr) N(qpStsFIRMRFactorErr) N(qpStsFIRMRPhaseErr) N(qpStsRelFreqErr)
        N(qpStsFIRLenErr) N(qpStsIIROrderErr) N(qpStsResizeFactorErr) N(qpStsInterpolationErr)
        N(qpStsMirrorFlipErr) N(qpStsMoment00ZeroErr) N(qpStsThreshNegLevelErr) N(qpStsThresholdErr)
        N(qpStsFftFlagErr) N(qpStsFftOrderErr) N(qpStsStepErr) N(qpStsLengthErr) N(qpStsNotSupportedModeErr)
        N(qpStsContextMatchErr) N(qpStsScaleRangeErr) N(qpStsOutOfRangeErr) N(qpStsDivByZeroErr)
        N(qpStsMemAllocErr) N(qpStsNullPtrErr) N(qpStsRangeErr) N(qpStsSizeErr) N(qpStsBadArgErr)
        N(qpStsNoMemErr) N(qpStsErr) N(qpStsNoErr) N(qpStsNoOperation) N(qpStsDivByZero) N(qpStsSqrtNegArg)
        N(qpStsInvZero) N(qpStsEvenMedianMaskSize) N(qpStsLnZeroArg) N(qpStsLnNegArg) N(qpStsNanArg)
        N(qpStsOverflow) N(qpStsUnderflow) N(qpStsSingularity) N(qpStsDomain) N(qpStsNonReferenceCpu)
        N(qpStsCpuMismatch) N(qpStsOvermuchStrings) N(qpStsOverlongString) N(qpStsAffineQuadChanged)
        N(qpStsWrongIntersectROI) N(qpStsWrongIntersectQuad) N(qpStsSrcSizeLessExpected)
        N(qpStsDstSizeLessExpected) N(qpStsDoubleSize) N(qpStsNotSupportedCpu) N(qpStsUnknownCacheSize)
        N(qpStsSymKernelExpected) N(qpStsEvenMedianWeight) N(qpStsWrongIntersectVOI) N(qpStsWaterfall)
        N(qpStsNoAntialiasing) N(qpStsRepetitiveSrcData) N(qpStsSizeWrn) N(qpStsFeatureNotSupported)
        N(qpStsUnknownFeature) N(qpStsFeaturesCombination) N(qpStsAccurateModeNotSupported)
#undef N
    };
    for (const auto& n : named) {
        const std::string text = qp::StatusText(n.code);
        EXPECT_EQ(text.rfind(std::string(n.name) + ": ", 0), 0u) << n.code << " " << text;
    }
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
