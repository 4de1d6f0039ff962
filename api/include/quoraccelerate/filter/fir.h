// FIR filter: direct form, block and single-sample processing with a delay line.
//
// Taps are in natural order: taps[0] multiplies the current input, taps[k] the input k samples ago.
// The delay line holds the last tapsLen - 1 inputs, oldest first: dlyLine[tapsLen - 2] is the most
// recent one. No function reports a failure; a failed FIRInit leaves the handle null.
#pragma once

#include "quoraccelerate/export.h"
#include "quoraccelerate/types.h"

namespace quoraccelerate {

struct FIRState_Float;  // opaque; also declared with the other state records in types.h

namespace filter {

// Creates a filter of tapsLen taps; dlyLine (tapsLen - 1 values, may be null for a zero history)
// is copied. *state is null on any failure (tapsLen 0, out of memory).
QUORACCELERATE_API void FIRInit(FIRState_Float** state, const float* taps, unsigned int tapsLen,
                                const float* dlyLine);

// Filters len samples from src into dst (which may be src) and moves the delay line on.
QUORACCELERATE_API void FIR(FIRState_Float* state, unsigned int len, const float* src, float* dst);

// Filters one sample against the current delay line, which it leaves unchanged: the history moves
// only through the block FIR or FIRSetDlyLine. Returns 0 if the filter fails.
QUORACCELERATE_API float FIR(FIRState_Float* state, float x);

// Replaces the taps (exactly tapsLen of them); the delay line is kept.
QUORACCELERATE_API void FIRSetTaps(FIRState_Float* state, const float* taps);

// Copies tapsLen - 1 values into the delay line; null zeroes it.
QUORACCELERATE_API void FIRSetDlyLine(FIRState_Float* state, const float* dlyLine);

// Copies the tapsLen - 1 values of the delay line out, oldest first.
QUORACCELERATE_API void FIRGetDlyLine(const FIRState_Float* state, float* dlyLine);

// Bytes of scratch that GenerateLowpassFIRCoefficients needs for tapsLen taps: 0 below 5 taps,
// else ((floor(tapsLen / 2) * 16 + 46) & ~31) + 16.
QUORACCELERATE_API unsigned int FIRGetWorkBufferSize(unsigned int tapsLen);

// Releases the filter; null is accepted.
QUORACCELERATE_API void FIRFree(FIRState_Float* state);

}  // namespace filter
}  // namespace quoraccelerate
