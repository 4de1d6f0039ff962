// The state records of the stateful families, opaque to the caller (created by an ...Init function,
// released by the matching ...Free), and the window selector of the low-pass designer.
#pragma once

#include "quoraccelerate/export.h"

namespace quoraccelerate {

// FFT states: real, interleaved complex and split ("deinterleaved") complex, in both precisions.
// Marked for export: they are template arguments of the exported FFTImpl instantiations.
struct QUORACCELERATE_API FFTState_Float;
struct QUORACCELERATE_API FFTState_Double;
struct QUORACCELERATE_API FFTState_Complex_Float_Interleaved;
struct QUORACCELERATE_API FFTState_Complex_Double_Interleaved;
struct QUORACCELERATE_API FFTState_Complex_Float_Deinterleaved;
struct QUORACCELERATE_API FFTState_Complex_Double_Deinterleaved;

// Filter states.
struct FIRState_Float;
struct IIRState_Float;
struct IIRState_Double;
struct MRFState_Float;
struct MRFState_Double;

namespace utility {

// The window the low-pass designer applies; any other value is treated as DSPWindowHann.
enum DSPWindowType : int {
    DSPWindowBartlett = 0,
    DSPWindowBlackman = 1,
    DSPWindowHamming = 2,
    DSPWindowHann = 3,
};

}  // namespace utility
}  // namespace quoraccelerate
