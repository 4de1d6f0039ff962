// Declarations of the per-path builds of every primitive: qp::path0 .. qp::path6 are linked into the
// library (with qp::path6n, the FFT of path 6 at 32-byte vectors, and qp::path4q and qp::path6q, the
// FFT of paths 4 and 6 at 16-byte vectors); qp::pathw is the test-only build
// of the 512-bit source lowered to 256-bit instructions.
#pragma once

#include "dispatch.h"

#define QP_PRIMITIVE(name, ...) name##_fn name;

namespace qp {
namespace path0 {
#include "primitives.def"
}
namespace path1 {
#include "primitives.def"
}
namespace path2 {
#include "primitives.def"
}
namespace path3 {
#include "primitives.def"
}
namespace path4 {
#include "primitives.def"
}
namespace path5 {
#include "primitives.def"
}
namespace path6 {
#include "primitives.def"
}
namespace pathw {
#include "primitives.def"
}
// The FFT alone is built once more with path 6's instruction sets at 32-byte vectors: path 6 hands
// it the orders where 32-byte vectors win, and there it keeps AVX-512VL's 32 vector registers.
namespace path6n {
#include "fft/fft.def"
}
// And at 16-byte vectors with fused multiply-adds (path 4's and path 6's instruction sets): the
// wider builds hand it their smallest orders.
namespace path4q {
#include "fft/fft.def"
}
namespace path6q {
#include "fft/fft.def"
}
}  // namespace qp

#undef QP_PRIMITIVE
