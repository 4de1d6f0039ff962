// Layout of an FFT spec: the header every transform checks, then the pass plans and tables that the
// initialiser lays out behind it inside the caller's spec block. Types and constants only, so that
// kernels of every code path, the state API and the tests read the same layout.
#pragma once

#include <cstdint>

namespace qp {
namespace fft {

// Kind tags, the first word of every spec.
enum Kind : std::int32_t {
    kKindC32Interleaved = 4,
    kKindC32Split = 5,
    kKindR32 = 6,
    kKindC64Interleaved = 7,
    kKindC64Split = 8,
    kKindR64 = 9,
};

// Normalisation flags.
enum Norm : std::int32_t {
    kNormForward = 1,  // forward divided by N
    kNormInverse = 2,  // inverse divided by N (the library's choice)
    kNormSqrt = 4,     // both divided by sqrt(N)
    kNormNone = 8,
};

constexpr int kMaxOrder = 30;        // refused first, whatever the kind
constexpr int kHeaderBytes = 144;    // the header area, cleared before it is filled
constexpr int kSpecAlign = 64;       // the spec starts at the first 64-byte boundary of its block
constexpr int kBufferSlack = 64;     // work buffers are aligned up by the transforms
constexpr int kMaxPasses = 32;

// One radix pass of a plan: radix 2, 4 or 8 over sub-transforms of length n = N / stride, reading
// its twiddles from tw (layout chosen by the pass form, see fft_engine.h).
struct Pass {
    std::int32_t radix;
    std::int32_t stride;  // s: distance between the elements of one butterfly input group
    const void* tw;
};

// A sequence of passes that transforms `batch` interleaved sequences of 2^order points each.
struct Plan {
    std::int32_t order;
    std::int32_t batch;
    std::int32_t count;
    std::int32_t pad;
    Pass pass[kMaxPasses];
};

// Lane method of one vector width (16, 32 or 64 bytes, L lanes): M = N / L point transforms down
// the L columns of the data viewed as M rows of L, then per group of L rows a twiddle, an L x L
// transpose in registers and L-point transforms. lanes = 0: not used at this width (N < L * L).
template <typename T>
struct LanePlan {
    std::int32_t lanes;
    std::int32_t pad;
    const T* tw;  // W_N^(l k), [k][l] for k < M, l < L: real block then imaginary block
    Plan cols;    // column passes of the M-point transforms (count 0: done in registers, M <= 16)
};

// The header: fields in this order, then pointers to the tables inside the same block.
template <typename T>
struct Header {
    std::int32_t tag;
    std::int32_t order;
    std::int32_t forwardScaled;
    std::int32_t inverseScaled;
    T scale;
    std::int32_t hint;
    std::int32_t bufferSize;
    const std::int32_t* bitReverse;  // unused by the autosorting passes: always null
    const T* twiddle;                // W_N^k, k < N (direct kernels) or the main plan's first table
    const T* split;                  // real kinds: W_N^k for k <= N/4, re then im
};

// Everything behind the header area. `engineOrder` is the order of the complex engine (order - 1
// for the real kinds).
template <typename T>
struct Body {
    std::int32_t engineOrder;
    std::int32_t method;  // kMethod* below
    std::int32_t rows;    // large method: N = rows * cols, rows = cols or 2 * cols
    std::int32_t cols;
    std::int32_t loBits;  // large method: W_N^e = hi[e >> loBits] * lo[e & (2^loBits - 1)]
    std::int32_t pad;
    Plan main;         // in-cache method
    Plan columns;      // large method: batched transforms of length rows
    Plan rowsPlan;     // large method: batched transforms of length cols
    const T* small;    // direct method: W_n^k for k < n, re then im (n = 2^engineOrder)
    const T* laneTw;   // large method: W_N^(b k1), [k1][b] for b < batch, re block then im block
    const T* hi;       // large method: two-level table of W_N^e
    const T* lo;
    LanePlan<T> lanes[3];  // lane method, by vector width: 16, 32, 64 bytes
};

enum Method : std::int32_t {
    kMethodDirect = 0,
    kMethodInCache = 1,
    kMethodLarge = 2,
    kMethodLanes = 3,
};

template <typename T>
struct Spec {
    Header<T> h;
    unsigned char headerPad[kHeaderBytes - sizeof(Header<T>)];
    Body<T> b;
};

static_assert(sizeof(Header<double>) <= kHeaderBytes, "header fits its area");
static_assert(sizeof(Header<float>) <= kHeaderBytes, "header fits its area");

}  // namespace fft
}  // namespace qp
