// The FFT state records: the same three fields for every kind, one type per kind.
#pragma once

#include "quoraccelerate/types.h"

namespace quoraccelerate {

#define QP_FFT_STATE_RECORD(Name)                                                              \
    struct QUORACCELERATE_API Name {                                                                              \
        void* spec;                /* the initialised spec, at the aligned start of specMemory */ \
        unsigned char* specMemory; /* the block from the aligned allocator */                  \
        unsigned int bufferSize;   /* work-buffer bytes the transforms need */                 \
    };
QP_FFT_STATE_RECORD(FFTState_Float)
QP_FFT_STATE_RECORD(FFTState_Double)
QP_FFT_STATE_RECORD(FFTState_Complex_Float_Interleaved)
QP_FFT_STATE_RECORD(FFTState_Complex_Double_Interleaved)
QP_FFT_STATE_RECORD(FFTState_Complex_Float_Deinterleaved)
QP_FFT_STATE_RECORD(FFTState_Complex_Double_Deinterleaved)
#undef QP_FFT_STATE_RECORD

}  // namespace quoraccelerate
