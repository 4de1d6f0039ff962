// IIR filter exports: the state record around the primitive state, and one primitive call per
// processing, get or set operation.
#include <new>

#include "filter/iir_state.h"
#include "quoraccelerate/filter/iir.h"
#include "runtime/dispatch.h"
#include "runtime/runtime.h"

namespace quoraccelerate {
namespace filter {

namespace {

template <typename T>
struct Prims;

template <>
struct Prims<float> {
    static constexpr auto size = qp::iir_state_size_f32;
    static constexpr auto sizeBiquad = qp::iir_state_size_bq_f32;
    static constexpr auto init = qp::iir_init_f32;
    static constexpr auto initBiquad = qp::iir_init_bq_f32;
    static constexpr auto filter = qp::iir_f32;
    static constexpr auto getDly = qp::iir_get_dly_f32;
    static constexpr auto setDly = qp::iir_set_dly_f32;
};

template <>
struct Prims<double> {
    static constexpr auto size = qp::iir_state_size_f64;
    static constexpr auto sizeBiquad = qp::iir_state_size_bq_f64;
    static constexpr auto init = qp::iir_init_f64;
    static constexpr auto initBiquad = qp::iir_init_bq_f64;
    static constexpr auto filter = qp::iir_f64;
    static constexpr auto getDly = qp::iir_get_dly_f64;
    static constexpr auto setDly = qp::iir_set_dly_f64;
};

template <typename Record>
void Release(Record* r) {
    if (r->savedDlyLine != nullptr) qp::AlignedFree(r->savedDlyLine);
    if (r->stateBuffer != nullptr) qp::AlignedFree(r->stateBuffer);
    delete r;
}

template <typename T, typename Record>
void Init(Record** state, const T* taps, unsigned int order, const T* dlyLine, bool biquad) {
    if (state == nullptr) return;
    using P = Prims<T>;
    int stateSize = 0;
    const qp::Status sizeStatus =
        biquad ? P::sizeBiquad(static_cast<int>(order), &stateSize) : P::size(static_cast<int>(order), &stateSize);
    if (sizeStatus != qp::qpStsNoErr) return;

    Record* r = new (std::nothrow) Record{};
    if (r == nullptr) return;
    r->stateSize = static_cast<std::uint32_t>(stateSize);
    r->order = biquad ? 2u : order;
    r->numBiquads = biquad ? order : 0u;
    r->dlyBytes = biquad ? 2u * (order > 1u ? order : 1u) * sizeof(T) : order * sizeof(T);
    if (r->stateSize != 0) r->stateBuffer = static_cast<unsigned char*>(qp::AlignedMalloc(stateSize));
    if (biquad || order != 0) {
        r->savedDlyLine = static_cast<unsigned char*>(qp::AlignedMalloc(static_cast<std::int32_t>(r->dlyBytes)));
    }
    if (r->stateBuffer == nullptr) {
        Release(r);
        return;
    }
    const qp::Status initStatus =
        biquad ? P::initBiquad(&r->primState, taps, static_cast<int>(order), dlyLine, r->stateBuffer)
               : P::init(&r->primState, taps, static_cast<int>(order), dlyLine, r->stateBuffer);
    if (initStatus != qp::qpStsNoErr) {
        Release(r);
        return;
    }
    *state = r;
}

template <typename T, typename Record>
T FilterOne(T x, Record* state) {
    T out = T(0);
    if (Prims<T>::filter(&x, &out, 1, state->primState) != qp::qpStsNoErr) return T(0);
    return out;
}

template <typename Record>
void Free(Record* state) {
    if (state == nullptr) return;
    Release(state);
}

}  // namespace

void IIRInit(IIRState_Float** state, const float* taps, unsigned int order, const float* dlyLine) {
    Init(state, taps, order, dlyLine, false);
}
void IIRInit(IIRState_Double** state, const double* taps, unsigned int order, const double* dlyLine) {
    Init(state, taps, order, dlyLine, false);
}
void IIRInit_BiQuad(IIRState_Float** state, const float* taps, unsigned int numBiquads, const float* dlyLine) {
    Init(state, taps, numBiquads, dlyLine, true);
}
void IIRInit_BiQuad(IIRState_Double** state, const double* taps, unsigned int numBiquads, const double* dlyLine) {
    Init(state, taps, numBiquads, dlyLine, true);
}

float IIR(float x, IIRState_Float* state) { return FilterOne(x, state); }
double IIR(double x, IIRState_Double* state) { return FilterOne(x, state); }

void IIR(unsigned int len, const float* src, float* dst, IIRState_Float* state) {
    qp::iir_f32(src, dst, static_cast<int>(len), state->primState);
}
void IIR(unsigned int len, const double* src, double* dst, IIRState_Double* state) {
    qp::iir_f64(src, dst, static_cast<int>(len), state->primState);
}
void IIR_InPlace(unsigned int len, float* srcDst, IIRState_Float* state) {
    qp::iir_f32(srcDst, srcDst, static_cast<int>(len), state->primState);
}
void IIR_InPlace(unsigned int len, double* srcDst, IIRState_Double* state) {
    qp::iir_f64(srcDst, srcDst, static_cast<int>(len), state->primState);
}

void IIRGetDlyLine(const IIRState_Float* state, float* dlyLine) { qp::iir_get_dly_f32(state->primState, dlyLine); }
void IIRGetDlyLine(const IIRState_Double* state, double* dlyLine) { qp::iir_get_dly_f64(state->primState, dlyLine); }
void IIRSetDlyLine(IIRState_Float* state, const float* dlyLine) { qp::iir_set_dly_f32(state->primState, dlyLine); }
void IIRSetDlyLine(IIRState_Double* state, const double* dlyLine) { qp::iir_set_dly_f64(state->primState, dlyLine); }

void IIRSetTaps(IIRState_Double* state, const double* taps) {
    double* saved = reinterpret_cast<double*>(state->savedDlyLine);
    qp::iir_get_dly_f64(state->primState, saved);
    if (state->numBiquads != 0) {
        qp::iir_init_bq_f64(&state->primState, taps, static_cast<int>(state->numBiquads), saved, state->stateBuffer);
    } else {
        qp::iir_init_f64(&state->primState, taps, static_cast<int>(state->order), saved, state->stateBuffer);
    }
}

void IIRFree(IIRState_Float* state) { Free(state); }
void IIRFree(IIRState_Double* state) { Free(state); }

}  // namespace filter
}  // namespace quoraccelerate
