// The state records of the stateful families, opaque to the caller (created by an ...Init function,
// released by the matching ...Free), and the window selector of the low-pass designer.
#pragma once

namespace quoraccelerate {

// FFT states: real, interleaved complex and split ("deinterleaved") complex, in both precisions.
struct FFTState_Float;
struct FFTState_Double;
struct FFTState_Complex_Float_Interleaved;
struct FFTState_Complex_Double_Interleaved;
struct FFTState_Complex_Float_Deinterleaved;
struct FFTState_Complex_Double_Deinterleaved;

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
