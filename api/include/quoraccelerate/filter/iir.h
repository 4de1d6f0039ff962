// IIR filter: arbitrary order and biquad cascades, in both precisions.
//
// Coefficients: arbitrary order N gives 2 (N + 1) values, b0 .. bN then a0 .. aN; a cascade of M
// biquads gives 6 M values, b0 b1 b2 a0 a1 a2 per section. Every coefficient is divided by its a0,
// which must be non-zero; the filter computes y[n] = sum b[k] x[n-k] - sum(k >= 1) a[k] y[n-k], and
// a cascade feeds each section's output to the next.
//
// Delay line: the state of the transposed direct form II. Arbitrary order N: N values, d[k] being
// the contribution of the inputs and outputs so far to the output k samples ahead
// (d[k] = sum over j = k+1 .. N of b[j] x[n+k-j] - a[j] y[n+k-j], n the next sample). Cascade: two
// values per section, in section order, with the same meaning for that section (order 2).
//
// Init functions write *state only on success (it keeps its value on any failure). Processing,
// get and set report nothing; the single-sample IIR returns 0 on failure.
#pragma once

#include "quoraccelerate/export.h"
#include "quoraccelerate/types.h"

namespace quoraccelerate {

// The state records (opaque; also declared with the others in types.h).
struct IIRState_Float;
struct IIRState_Double;

namespace filter {

// Arbitrary order; dlyLine (order values) may be null for zero history.
QUORACCELERATE_API void IIRInit(IIRState_Float** state, const float* taps, unsigned int order, const float* dlyLine);
QUORACCELERATE_API void IIRInit(IIRState_Double** state, const double* taps, unsigned int order, const double* dlyLine);
// Cascade of numBiquads sections; dlyLine (2 * numBiquads values) may be null.
QUORACCELERATE_API void IIRInit_BiQuad(IIRState_Float** state, const float* taps, unsigned int numBiquads,
                                       const float* dlyLine);
QUORACCELERATE_API void IIRInit_BiQuad(IIRState_Double** state, const double* taps, unsigned int numBiquads,
                                       const double* dlyLine);

// One sample; the delay line moves on.
QUORACCELERATE_API float IIR(float x, IIRState_Float* state);
QUORACCELERATE_API double IIR(double x, IIRState_Double* state);
// A block of len samples.
QUORACCELERATE_API void IIR(unsigned int len, const float* src, float* dst, IIRState_Float* state);
QUORACCELERATE_API void IIR(unsigned int len, const double* src, double* dst, IIRState_Double* state);
QUORACCELERATE_API void IIR_InPlace(unsigned int len, float* srcDst, IIRState_Float* state);
QUORACCELERATE_API void IIR_InPlace(unsigned int len, double* srcDst, IIRState_Double* state);

// Copy the delay line out (order or 2 * numBiquads values) / replace it (null sets zeros).
QUORACCELERATE_API void IIRGetDlyLine(const IIRState_Float* state, float* dlyLine);
QUORACCELERATE_API void IIRGetDlyLine(const IIRState_Double* state, double* dlyLine);
QUORACCELERATE_API void IIRSetDlyLine(IIRState_Float* state, const float* dlyLine);
QUORACCELERATE_API void IIRSetDlyLine(IIRState_Double* state, const double* dlyLine);

// New coefficients of the same shape; the delay line is kept.
QUORACCELERATE_API void IIRSetTaps(IIRState_Double* state, const double* taps);

// Releases everything; null is accepted.
QUORACCELERATE_API void IIRFree(IIRState_Float* state);
QUORACCELERATE_API void IIRFree(IIRState_Double* state);

}  // namespace filter
}  // namespace quoraccelerate
