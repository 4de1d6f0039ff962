// Layout of the FIR state record, private to the library: the record the exports hand out behind
// the opaque FIRState_Float. Every buffer comes from the 64-byte aligned allocator.
#pragma once

#include <cstdint>

namespace quoraccelerate {

struct FIRState_Float {
    unsigned char* spec;        // the filter primitive's specification (taps, algorithm)
    float* dlyLine;             // the last tapsLen - 1 inputs, oldest first
    unsigned char* workBuffer;  // scratch of the filter primitive
    std::uint32_t tapsLen;
    std::uint32_t dlyLen;       // tapsLen - 1
    float* sampleSlot;          // 5 floats; the single-sample filter reads its input from element 0
};

}  // namespace quoraccelerate
