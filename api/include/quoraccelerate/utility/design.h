// Low-pass FIR design by the window method.
#pragma once

#include "quoraccelerate/export.h"
#include "quoraccelerate/types.h"

namespace quoraccelerate {
namespace utility {

// The window selector, defined with its enumerators in types.h (0 Bartlett, 1 Blackman, 2 Hamming,
// 3 Hann).
enum DSPWindowType : int;

// Writes tapsLen (at least 5) linear-phase low-pass taps in natural order: the ideal response
// sin(2 pi rFreq (n - c)) / (pi (n - c)), c = (tapsLen - 1) / 2, times the chosen window (Blackman
// in its optimal form; values other than Bartlett, Blackman and Hamming select Hann). With normalize
// the taps are scaled so that the magnitude of their sum is 1. rFreq is the cut-off as a fraction of
// the sampling rate, 0 < rFreq < 0.5. buffer is scratch of filter::FIRGetWorkBufferSize(tapsLen)
// bytes. Invalid arguments leave taps untouched.
QUORACCELERATE_API void GenerateLowpassFIRCoefficients(double rFreq, unsigned int tapsLen, double* taps,
                                                       DSPWindowType window, bool normalize,
                                                       unsigned char* buffer);

}  // namespace utility
}  // namespace quoraccelerate
