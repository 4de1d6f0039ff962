// FIR filter exports: the state record and its buffers, and one primitive call per operation.
#include <new>

#include "filter/fir_state.h"
#include "quoraccelerate/filter/fir.h"
#include "runtime/dispatch.h"

namespace quoraccelerate {
namespace filter {

namespace {

constexpr int kDataTypeReal32 = 13;
constexpr int kAlgDirect = 1;
constexpr int kSampleSlotLen = 5;

void ZeroFloats(float* p, std::uint32_t n) {
    if (p == nullptr) return;
    for (std::uint32_t i = 0; i < n; ++i) p[i] = 0.0f;
}

// Releases the buffers in the order sample slot, delay line, specification, work buffer, then the
// record.
void Release(FIRState_Float* s) {
    if (s->sampleSlot != nullptr) qp::AlignedFree(s->sampleSlot);
    if (s->dlyLine != nullptr) qp::AlignedFree(s->dlyLine);
    if (s->spec != nullptr) qp::AlignedFree(s->spec);
    if (s->workBuffer != nullptr) qp::AlignedFree(s->workBuffer);
    delete s;
}

}  // namespace

void FIRInit(FIRState_Float** state, const float* taps, unsigned int tapsLen, const float* dlyLine) {
    if (state == nullptr) return;
    *state = nullptr;
    const int len = static_cast<int>(tapsLen);
    int specSize = 0, bufSize = 0;
    if (qp::fir_sr_get_size(len, kDataTypeReal32, &specSize, &bufSize) != qp::qpStsNoErr) return;

    FIRState_Float* s = new (std::nothrow) FIRState_Float{};
    if (s == nullptr) return;
    s->tapsLen = tapsLen;
    s->dlyLen = tapsLen - 1;
    s->workBuffer = static_cast<unsigned char*>(qp::AlignedMalloc(bufSize));
    s->spec = static_cast<unsigned char*>(qp::AlignedMalloc(specSize));
    s->dlyLine = qp::AllocElements32(len - 1);
    ZeroFloats(s->dlyLine, s->dlyLen);
    s->sampleSlot = qp::AllocElements32(kSampleSlotLen);
    ZeroFloats(s->sampleSlot, kSampleSlotLen);
    if (s->spec == nullptr || qp::fir_sr_init_f32(taps, len, kAlgDirect, s->spec) != qp::qpStsNoErr) {
        Release(s);
        return;
    }
    s->dlyLen = tapsLen - 1;
    if (dlyLine != nullptr) qp::copy_f32(dlyLine, s->dlyLine, static_cast<int>(s->dlyLen));
    *state = s;
}

void FIR(FIRState_Float* state, unsigned int len, const float* src, float* dst) {
    qp::fir_sr_f32(src, dst, static_cast<int>(len), state->spec, state->dlyLine, state->dlyLine, state->workBuffer);
}

// The input goes through the aligned sample slot; no destination history, so the delay line is
// read and left as it is.
float FIR(FIRState_Float* state, float x) {
    state->sampleSlot[0] = x;
    float y = 0.0f;
    if (qp::fir_sr_f32(state->sampleSlot, &y, 1, state->spec, state->dlyLine, nullptr, state->workBuffer) !=
        qp::qpStsNoErr) {
        return 0.0f;
    }
    return y;
}

void FIRSetTaps(FIRState_Float* state, const float* taps) {
    qp::fir_sr_init_f32(taps, static_cast<int>(state->tapsLen), kAlgDirect, state->spec);
}

void FIRSetDlyLine(FIRState_Float* state, const float* dlyLine) {
    if (dlyLine == nullptr) {
        ZeroFloats(state->dlyLine, state->dlyLen);
    } else {
        qp::copy_f32(dlyLine, state->dlyLine, static_cast<int>(state->dlyLen));
    }
}

void FIRGetDlyLine(const FIRState_Float* state, float* dlyLine) {
    qp::copy_f32(state->dlyLine, dlyLine, static_cast<int>(state->dlyLen));
}

unsigned int FIRGetWorkBufferSize(unsigned int tapsLen) {
    int size = 0;
    qp::fir_gen_get_buf_size(static_cast<int>(tapsLen), &size);
    return static_cast<unsigned int>(size);
}

void FIRFree(FIRState_Float* state) {
    if (state == nullptr) return;
    Release(state);
}

}  // namespace filter
}  // namespace quoraccelerate
