// The block FFT class and its two exported instantiations.
#include <cmath>

#include "api/fft_state.h"
#include "quoraccelerate/transform.h"
#include "quoraccelerate/utility/memory.h"

namespace quoraccelerate {
namespace transform {

namespace {

// log2 rounded to the nearest integer, halves up (1000 -> 10, 724 -> 9, 725 -> 10); 0 gives 0.
unsigned int OrderOfSize(unsigned int fftSize) {
    const double l = std::log2(static_cast<double>(fftSize)) + 0.5;
    return l > 0.0 ? static_cast<unsigned int>(l) : 0u;
}

}  // namespace

template <typename State, typename Complex>
FFTImpl<State, Complex>::FFTImpl() : order(0), fftSize(0), state(nullptr), workBuffer(nullptr) {}

template <typename State, typename Complex>
FFTImpl<State, Complex>::FFTImpl(unsigned int order_, unsigned int fftSize_)
    : order(order_), fftSize(fftSize_), state(nullptr), workBuffer(nullptr) {
    if (fftSize != 0) order = OrderOfSize(fftSize);
    FFTInit(&state, order);
    if (state->bufferSize != 0) workBuffer = utility::Malloc_Byte(state->bufferSize);
}

// The state record itself stays allocated, as after FFTFree.
template <typename State, typename Complex>
FFTImpl<State, Complex>::~FFTImpl() {
    if (state != nullptr) FFTFree(state);
    if (workBuffer != nullptr) utility::Free(workBuffer);
}

template <typename State, typename Complex>
void FFTImpl<State, Complex>::SetFFTSize(unsigned int fftSize_) {
    if (fftSize_ == fftSize) return;
    fftSize = fftSize_;
    if (state != nullptr) {
        utility::Free(workBuffer);
        FFTFree(state);
        state = nullptr;
        workBuffer = nullptr;
    }
    order = OrderOfSize(fftSize);
    FFTInit(&state, order);
    workBuffer = utility::Malloc_Byte(state->bufferSize);
}

template <typename State, typename Complex>
unsigned int FFTImpl<State, Complex>::GetFFTSize() const {
    return fftSize;
}

template <typename State, typename Complex>
unsigned int FFTImpl<State, Complex>::GetOrder() const {
    return order;
}

template <typename State, typename Complex>
unsigned int FFTImpl<State, Complex>::GetBlockSize() const {
    return 1u << (order % 32);
}

template <typename State, typename Complex>
void FFTImpl<State, Complex>::ProcessFwd(const Sample* inRe, const Sample* inIm, Sample* outRe, Sample* outIm) {
    FFTFwd(inRe, inIm, outRe, outIm, state, workBuffer);
}

template <typename State, typename Complex>
void FFTImpl<State, Complex>::ProcessInv(const Sample* inRe, const Sample* inIm, Sample* outRe, Sample* outIm) {
    FFTInv(inRe, inIm, outRe, outIm, state, workBuffer);
}

template class FFTImpl<FFTState_Complex_Double_Deinterleaved, std::complex<double>>;
template class FFTImpl<FFTState_Complex_Float_Deinterleaved, std::complex<float>>;

}  // namespace transform
}  // namespace quoraccelerate
