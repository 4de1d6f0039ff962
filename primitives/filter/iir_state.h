// The IIR state records handed out by IIRInit and IIRInit_BiQuad. The primitive state (layout in
// filter/iir_layout.h) is built inside stateBuffer; savedDlyLine carries the delay line across
// IIRSetTaps, which rebuilds the primitive state in the same block.
#pragma once

#include <cstdint>

#include "quoraccelerate/types.h"

namespace quoraccelerate {

#define QP_IIR_RECORD_FIELDS                                                                    \
    void* primState;             /* the primitive state, inside stateBuffer */                   \
    unsigned char* stateBuffer;  /* stateSize bytes, aligned allocation */                       \
    unsigned char* savedDlyLine; /* dlyBytes bytes, aligned allocation */                        \
    std::uint32_t stateSize;                                                                     \
    std::uint32_t order;      /* arbitrary form: the order; biquad form: 2 */                     \
    std::uint32_t numBiquads; /* biquad form: the number of sections; arbitrary form: 0 */        \
    std::uint32_t dlyBytes;   /* order elements, or 2 * max(numBiquads, 1) elements */

struct IIRState_Float {
    QP_IIR_RECORD_FIELDS
};

struct IIRState_Double {
    QP_IIR_RECORD_FIELDS
};

#undef QP_IIR_RECORD_FIELDS

}  // namespace quoraccelerate
