// Multi-rate FIR filter: up-sampling by an integer factor, one FIR, down-sampling by another
// integer factor, in one polyphase pass that computes only the outputs that survive.
//
// Taps are in natural order at the up-sampled rate; branch p (0 <= p < upFactor) of the polyphase
// form uses taps p, p + upFactor, p + 2 upFactor, .... Output j is the up-sampled filter output at
// time downPhase - upPhase + j * downFactor (in up-sampled samples, input k sitting at time
// k * upFactor). One iteration consumes downFactor inputs and produces upFactor outputs.
//
// Delay line: the inputs before the first block, oldest first; the first ceil(tapsLen / upFactor)
// elements are used, so a non-empty vector must hold at least that many (MRFInit fails otherwise).
// With a non-empty vector the state carries the history from one MRFProcess call to the next; with
// an empty one every call starts from zero history and keeps none.
//
// MRFInit writes *state only on success.
#pragma once

#include <vector>

#include "quorcore/memory.h"
#include "quoraccelerate/export.h"
#include "quoraccelerate/types.h"

namespace quoraccelerate {

// The state records (opaque; also declared with the others in types.h).
struct MRFState_Float;
struct MRFState_Double;

namespace filter {

QUORACCELERATE_API void MRFInit(MRFState_Float** state, unsigned int upFactor, unsigned int downFactor, const float* taps,
                                unsigned int tapsLen,
                                const std::vector<float, quorcore::utility::STLAllocator<float>>& dlyLine,
                                unsigned int upPhase, unsigned int downPhase);
QUORACCELERATE_API void MRFInit(MRFState_Double** state, unsigned int upFactor, unsigned int downFactor,
                                const double* taps, unsigned int tapsLen,
                                const std::vector<double, quorcore::utility::STLAllocator<double>>& dlyLine,
                                unsigned int upPhase, unsigned int downPhase);

// numIters iterations: numIters * downFactor inputs from src, numIters * upFactor outputs to dst.
QUORACCELERATE_API void MRFProcess(const float* src, float* dst, unsigned int numIters, MRFState_Float* state);
QUORACCELERATE_API void MRFProcess(const double* src, double* dst, unsigned int numIters, MRFState_Double* state);

// Releases everything; null is accepted.
QUORACCELERATE_API void MRFFree(MRFState_Float* state);
QUORACCELERATE_API void MRFFree(MRFState_Double* state);

}  // namespace filter
}  // namespace quoraccelerate
