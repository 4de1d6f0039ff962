// Layout of the multi-rate FIR specification, built by the initialiser inside a caller-supplied
// block and read by the filtering kernel of every code path. Types and constants only.
//
// The taps are split into up-factor polyphase branches (branch p: taps p, p + up, p + 2 up, ...),
// each stored reversed (oldest input first) and front-padded with zeros to `padded` values, a
// multiple of 64 bytes whatever the code path: output = sum over i of row[i] * x[pos - padded + 1 + i].
// front[p] counts the leading zeros of row p (padding plus the tap a shorter branch lacks), which
// the kernel neither multiplies nor lets its inputs into the sum.
#pragma once

#include <cstdint>

namespace qp {
namespace mrf {

enum Tag : std::int32_t {
    kTagF32 = 0x4D524601,
    kTagF64 = 0x4D524602,
};

constexpr int kGuard = 16;          // work-buffer elements before the history, read only under a zero mask
constexpr int kPassInputs = 2048;   // inputs copied into the work buffer per pass (at least one iteration)

struct Spec {
    std::int32_t tag;
    std::int32_t tapsLen;
    std::int32_t up, down;
    std::int32_t upPhase, downPhase;
    std::int32_t history;  // ceil(tapsLen / up): inputs of the longest branch
    std::int32_t padded;   // history rounded up to 64 bytes of elements
    std::int32_t phase0;   // branch of the first output
    std::int32_t pos0;     // input position of the first output, relative to the block (-1 or 0)
    std::int32_t itersPerPass;
    std::int32_t rowsOffset;   // offset of the rows in the state block
    std::int32_t frontOffset;  // offset of front[up] in the state block
};

}  // namespace mrf
}  // namespace qp
