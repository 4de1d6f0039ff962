// Power-of-two FFTs of real and complex data, single and double precision.
//
//  - A state transforms N = 2^order points. FFTInit always hands out a record (also when the order
//    is out of range; that record then has a work-buffer size of 0 and its transforms do nothing);
//    FFTFree releases the tables it holds but not the small record itself.
//  - Every transform takes a caller-owned work buffer of at least FFTGetBufSize bytes, of any
//    alignment; it may be null when that size is 0. Threads may share a state if each passes its
//    own buffer.
//  - Forward: X[k] = sum x[n] e^(-2 pi i n k / N), not scaled; inverse: with e^(+...), divided by
//    N, so FFTInv(FFTFwd(x)) = x. Outputs may be the inputs (in place).
//  - Real states: forward of N samples gives the packed spectrum of N + 2 values, X[0], 0, then
//    Re X[k], Im X[k] for k = 1 .. N/2 - 1, then X[N/2], 0; the inverse reads it back (ignoring the
//    two zero positions) into N samples. Order 0 writes two values.
//  - Largest orders: 29 for real float and split float, 28 for interleaved float, real double and
//    split double, 27 for interleaved double.
#pragma once

#include <complex>

#include "quoraccelerate/export.h"
#include "quoraccelerate/types.h"

namespace quoraccelerate {
namespace transform {

QUORACCELERATE_API void FFTInit(FFTState_Float** state, unsigned int order);
QUORACCELERATE_API void FFTInit(FFTState_Double** state, unsigned int order);
QUORACCELERATE_API void FFTInit(FFTState_Complex_Float_Interleaved** state, unsigned int order);
QUORACCELERATE_API void FFTInit(FFTState_Complex_Double_Interleaved** state, unsigned int order);
QUORACCELERATE_API void FFTInit(FFTState_Complex_Float_Deinterleaved** state, unsigned int order);
QUORACCELERATE_API void FFTInit(FFTState_Complex_Double_Deinterleaved** state, unsigned int order);

QUORACCELERATE_API void FFTGetBufSize(const FFTState_Float* state, unsigned int* size);
QUORACCELERATE_API void FFTGetBufSize(const FFTState_Double* state, unsigned int* size);
QUORACCELERATE_API void FFTGetBufSize(const FFTState_Complex_Float_Interleaved* state, unsigned int* size);
QUORACCELERATE_API void FFTGetBufSize(const FFTState_Complex_Double_Interleaved* state, unsigned int* size);
QUORACCELERATE_API void FFTGetBufSize(const FFTState_Complex_Float_Deinterleaved* state, unsigned int* size);
QUORACCELERATE_API void FFTGetBufSize(const FFTState_Complex_Double_Deinterleaved* state, unsigned int* size);

QUORACCELERATE_API void FFTFwd(const float* src, float* dst, FFTState_Float* state, unsigned char* buffer);
QUORACCELERATE_API void FFTFwd(const double* src, double* dst, FFTState_Double* state, unsigned char* buffer);
QUORACCELERATE_API void FFTFwd(const std::complex<float>* src, std::complex<float>* dst,
                               FFTState_Complex_Float_Interleaved* state, unsigned char* buffer);
QUORACCELERATE_API void FFTFwd(const std::complex<double>* src, std::complex<double>* dst,
                               FFTState_Complex_Double_Interleaved* state, unsigned char* buffer);
QUORACCELERATE_API void FFTFwd(const float* srcRe, const float* srcIm, float* dstRe, float* dstIm,
                               FFTState_Complex_Float_Deinterleaved* state, unsigned char* buffer);
QUORACCELERATE_API void FFTFwd(const double* srcRe, const double* srcIm, double* dstRe, double* dstIm,
                               FFTState_Complex_Double_Deinterleaved* state, unsigned char* buffer);

QUORACCELERATE_API void FFTInv(const float* src, float* dst, FFTState_Float* state, unsigned char* buffer);
QUORACCELERATE_API void FFTInv(const double* src, double* dst, FFTState_Double* state, unsigned char* buffer);
QUORACCELERATE_API void FFTInv(const std::complex<float>* src, std::complex<float>* dst,
                               FFTState_Complex_Float_Interleaved* state, unsigned char* buffer);
QUORACCELERATE_API void FFTInv(const std::complex<double>* src, std::complex<double>* dst,
                               FFTState_Complex_Double_Interleaved* state, unsigned char* buffer);
QUORACCELERATE_API void FFTInv(const float* srcRe, const float* srcIm, float* dstRe, float* dstIm,
                               FFTState_Complex_Float_Deinterleaved* state, unsigned char* buffer);
QUORACCELERATE_API void FFTInv(const double* srcRe, const double* srcIm, double* dstRe, double* dstIm,
                               FFTState_Complex_Double_Deinterleaved* state, unsigned char* buffer);

QUORACCELERATE_API void FFTFree(FFTState_Float* state);
QUORACCELERATE_API void FFTFree(FFTState_Double* state);
QUORACCELERATE_API void FFTFree(FFTState_Complex_Float_Interleaved* state);
QUORACCELERATE_API void FFTFree(FFTState_Complex_Double_Interleaved* state);
QUORACCELERATE_API void FFTFree(FFTState_Complex_Float_Deinterleaved* state);
QUORACCELERATE_API void FFTFree(FFTState_Complex_Double_Deinterleaved* state);

// Owns one split-complex FFT state and its work buffer and transforms blocks of GetBlockSize()
// points. A size that is not a power of two selects the nearest power of two on the logarithmic
// scale (1000 -> 1024, 700 -> 512). Not copyable. A default-constructed object needs SetFFTSize
// before any transform.
template <typename State, typename Complex>
class QUORACCELERATE_API FFTImpl {
public:
    using Sample = typename Complex::value_type;

    FFTImpl();
    FFTImpl(unsigned int order, unsigned int fftSize);
    virtual ~FFTImpl();
    FFTImpl(const FFTImpl&) = delete;
    FFTImpl& operator=(const FFTImpl&) = delete;

    // Rebuilds state and buffer for a new size; the current size is a no-op.
    void SetFFTSize(unsigned int fftSize);
    unsigned int GetFFTSize() const;
    unsigned int GetOrder() const;
    unsigned int GetBlockSize() const;

    void ProcessFwd(const Sample* inRe, const Sample* inIm, Sample* outRe, Sample* outIm);
    // Divided by GetBlockSize().
    void ProcessInv(const Sample* inRe, const Sample* inIm, Sample* outRe, Sample* outIm);

    unsigned int order;
    unsigned int fftSize;
    State* state;
    unsigned char* workBuffer;
};

extern template class FFTImpl<FFTState_Complex_Double_Deinterleaved, std::complex<double>>;
extern template class FFTImpl<FFTState_Complex_Float_Deinterleaved, std::complex<float>>;

}  // namespace transform
}  // namespace quoraccelerate
