// Layout of the primitive IIR state, built by the initialisers inside a caller-supplied block and
// read by the filtering, get and set kernels of every code path. Types and constants only.
//
// Both forms keep the delay line of the transposed direct form II:
//   arbitrary order N:  y[n] = b0 x[n] + d[0],  d[k] <- b[k+1] x[n] - a[k+1] y[n] + d[k+1]  (d[N] = 0),
//                       so d[k] is the contribution of the past to the output k samples ahead;
//   biquad cascade:     two values (d0, d1) per section, section by section.
// The layout does not depend on the code path: a state built by one build can be run by another.
#pragma once

#include <cstdint>

namespace qp {
namespace iir {

enum Tag : std::int32_t {
    kTagArbitraryF32 = 0x49495201,
    kTagArbitraryF64 = 0x49495202,
    kTagBiquadF32 = 0x49495203,
    kTagBiquadF64 = 0x49495204,
};

constexpr int kAlign = 64;        // the state starts at the first 64-byte boundary of its block
constexpr int kChunk = 512;       // arbitrary order: samples per pass of the split form
constexpr int kMaxBlock = 16;     // biquad: longest block of outputs computed at once

// One biquad section, normalised by a0, with the tables of the block form: K outputs at once from
// K inputs and the state at the start of the block (K = 8 or 16, chosen by the vector width).
//   hz[16 + k] = h[k], hz[0..15] = 0   impulse response; column i of the block's input matrix is
//                                       hz + 16 - i (h shifted down by i, zeros above)
//   p[k], q[k]                         outputs of the zero-input section started from (1, 0), (0, 1)
//   f8, f16                            state after 8 or 16 zero inputs from (1,0) and (0,1), row-major:
//                                       (d0', d1') = (f[0] d0 + f[1] d1, f[2] d0 + f[3] d1)
template <typename T>
struct Section {
    T b0, b1, b2, a1, a2;
    T reserved[3];
    T hz[2 * kMaxBlock];
    T p[kMaxBlock];
    T q[kMaxBlock];
    T f8[4];
    T f16[4];
};

template <typename T>
struct State {
    std::int32_t tag;
    std::int32_t order;  // arbitrary form: N; biquad form: number of sections
    T* coef;             // arbitrary: b[0..N], then a[0..N] (a[0] = 1); biquad: Section<T>[order]
    T* dly;              // N or 2 * sections values
    T* xs;               // arbitrary form: N zeros, then the inputs of the current pass
    T* ys;               // arbitrary form: N zeros, then the outputs of the current pass
    T* w;                // arbitrary form: numerator part of the current pass
};

}  // namespace iir
}  // namespace qp
