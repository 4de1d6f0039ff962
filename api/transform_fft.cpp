// FFT state API: records holding a spec, transforms that tail-call the kind's primitive.
#include "api/fft_state.h"
#include "quoraccelerate/transform.h"
#include "runtime/dispatch.h"
#include "runtime/runtime.h"

namespace quoraccelerate {
namespace transform {

namespace {

// Fixed by the library: inverse divided by N, algorithm hint 1.
constexpr int kNormFlag = 2;
constexpr int kHint = 1;

// Creates the record first and always hands it out; a failed size query leaves it all zero, a
// failed spec allocation keeps the buffer size only, a failed scratch allocation keeps the spec
// block without a spec, and a failed initialiser releases the spec block again.
template <typename State>
void InitState(State** out, unsigned int order, qp::fft_size_c32i_fn* size, qp::fft_init_c32i_fn* init) {
    State* state = new State;
    state->spec = nullptr;
    state->specMemory = nullptr;
    state->bufferSize = 0;
    int specSize = 0, initSize = 0, bufSize = 0;
    if (size(static_cast<int>(order), kNormFlag, kHint, &specSize, &initSize, &bufSize) == qp::qpStsNoErr) {
        auto* specMemory = static_cast<unsigned char*>(qp::AlignedMalloc(specSize));
        if (specMemory == nullptr) {
            state->bufferSize = static_cast<unsigned int>(bufSize);
        } else {
            unsigned char* scratch = nullptr;
            bool scratchOk = true;
            if (initSize != 0) {
                scratch = static_cast<unsigned char*>(qp::AlignedMalloc(initSize));
                scratchOk = scratch != nullptr;
            }
            if (!scratchOk) {
                state->specMemory = specMemory;
                state->bufferSize = static_cast<unsigned int>(bufSize);
            } else {
                const qp::Status st = init(&state->spec, static_cast<int>(order), kNormFlag, kHint, specMemory, scratch);
                qp::AlignedFree(scratch);
                if (st != qp::qpStsNoErr) {
                    qp::AlignedFree(specMemory);
                    state->spec = nullptr;
                } else {
                    state->specMemory = specMemory;
                    state->bufferSize = static_cast<unsigned int>(bufSize);
                }
            }
        }
    }
    *out = state;
}

template <typename State>
void FreeState(State* state) {
    qp::AlignedFree(state->specMemory);
    state->specMemory = nullptr;
}

}  // namespace

void FFTInit(FFTState_Float** state, unsigned int order) { InitState(state, order, qp::fft_size_r32, qp::fft_init_r32); }
void FFTInit(FFTState_Double** state, unsigned int order) { InitState(state, order, qp::fft_size_r64, qp::fft_init_r64); }
void FFTInit(FFTState_Complex_Float_Interleaved** state, unsigned int order) {
    InitState(state, order, qp::fft_size_c32i, qp::fft_init_c32i);
}
void FFTInit(FFTState_Complex_Double_Interleaved** state, unsigned int order) {
    InitState(state, order, qp::fft_size_c64i, qp::fft_init_c64i);
}
void FFTInit(FFTState_Complex_Float_Deinterleaved** state, unsigned int order) {
    InitState(state, order, qp::fft_size_c32s, qp::fft_init_c32s);
}
void FFTInit(FFTState_Complex_Double_Deinterleaved** state, unsigned int order) {
    InitState(state, order, qp::fft_size_c64s, qp::fft_init_c64s);
}

void FFTGetBufSize(const FFTState_Float* state, unsigned int* size) { *size = state->bufferSize; }
void FFTGetBufSize(const FFTState_Double* state, unsigned int* size) { *size = state->bufferSize; }
void FFTGetBufSize(const FFTState_Complex_Float_Interleaved* state, unsigned int* size) { *size = state->bufferSize; }
void FFTGetBufSize(const FFTState_Complex_Double_Interleaved* state, unsigned int* size) { *size = state->bufferSize; }
void FFTGetBufSize(const FFTState_Complex_Float_Deinterleaved* state, unsigned int* size) { *size = state->bufferSize; }
void FFTGetBufSize(const FFTState_Complex_Double_Deinterleaved* state, unsigned int* size) { *size = state->bufferSize; }

void FFTFwd(const float* src, float* dst, FFTState_Float* state, unsigned char* buffer) {
    qp::fft_fwd_r32(src, dst, state->spec, buffer);
}
void FFTFwd(const double* src, double* dst, FFTState_Double* state, unsigned char* buffer) {
    qp::fft_fwd_r64(src, dst, state->spec, buffer);
}
void FFTFwd(const std::complex<float>* src, std::complex<float>* dst, FFTState_Complex_Float_Interleaved* state,
            unsigned char* buffer) {
    qp::fft_fwd_c32i(reinterpret_cast<const float*>(src), reinterpret_cast<float*>(dst), state->spec, buffer);
}
void FFTFwd(const std::complex<double>* src, std::complex<double>* dst, FFTState_Complex_Double_Interleaved* state,
            unsigned char* buffer) {
    qp::fft_fwd_c64i(reinterpret_cast<const double*>(src), reinterpret_cast<double*>(dst), state->spec, buffer);
}
void FFTFwd(const float* srcRe, const float* srcIm, float* dstRe, float* dstIm, FFTState_Complex_Float_Deinterleaved* state,
            unsigned char* buffer) {
    qp::fft_fwd_c32s(srcRe, srcIm, dstRe, dstIm, state->spec, buffer);
}
void FFTFwd(const double* srcRe, const double* srcIm, double* dstRe, double* dstIm,
            FFTState_Complex_Double_Deinterleaved* state, unsigned char* buffer) {
    qp::fft_fwd_c64s(srcRe, srcIm, dstRe, dstIm, state->spec, buffer);
}

void FFTInv(const float* src, float* dst, FFTState_Float* state, unsigned char* buffer) {
    qp::fft_inv_r32(src, dst, state->spec, buffer);
}
void FFTInv(const double* src, double* dst, FFTState_Double* state, unsigned char* buffer) {
    qp::fft_inv_r64(src, dst, state->spec, buffer);
}
void FFTInv(const std::complex<float>* src, std::complex<float>* dst, FFTState_Complex_Float_Interleaved* state,
            unsigned char* buffer) {
    qp::fft_inv_c32i(reinterpret_cast<const float*>(src), reinterpret_cast<float*>(dst), state->spec, buffer);
}
void FFTInv(const std::complex<double>* src, std::complex<double>* dst, FFTState_Complex_Double_Interleaved* state,
            unsigned char* buffer) {
    qp::fft_inv_c64i(reinterpret_cast<const double*>(src), reinterpret_cast<double*>(dst), state->spec, buffer);
}
void FFTInv(const float* srcRe, const float* srcIm, float* dstRe, float* dstIm, FFTState_Complex_Float_Deinterleaved* state,
            unsigned char* buffer) {
    qp::fft_inv_c32s(srcRe, srcIm, dstRe, dstIm, state->spec, buffer);
}
void FFTInv(const double* srcRe, const double* srcIm, double* dstRe, double* dstIm,
            FFTState_Complex_Double_Deinterleaved* state, unsigned char* buffer) {
    qp::fft_inv_c64s(srcRe, srcIm, dstRe, dstIm, state->spec, buffer);
}

void FFTFree(FFTState_Float* state) { FreeState(state); }
void FFTFree(FFTState_Double* state) { FreeState(state); }
void FFTFree(FFTState_Complex_Float_Interleaved* state) { FreeState(state); }
void FFTFree(FFTState_Complex_Double_Interleaved* state) { FreeState(state); }
void FFTFree(FFTState_Complex_Float_Deinterleaved* state) { FreeState(state); }
void FFTFree(FFTState_Complex_Double_Deinterleaved* state) { FreeState(state); }

}  // namespace transform
}  // namespace quoraccelerate
