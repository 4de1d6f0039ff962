// Multi-rate FIR exports: the state record around the primitive's specification, work buffer and
// the record's copy of the delay line.
#include <cstdint>
#include <new>

#include "filter/mrf_state.h"
#include "quoraccelerate/filter/mrf.h"
#include "runtime/dispatch.h"
#include "runtime/runtime.h"

namespace quoraccelerate {
namespace filter {

namespace {

template <typename T>
struct Prims;

template <>
struct Prims<float> {
    static constexpr auto size = qp::mrf_size_f32;
    static constexpr auto init = qp::mrf_init_f32;
    static constexpr auto filter = qp::mrf_f32;
};

template <>
struct Prims<double> {
    static constexpr auto size = qp::mrf_size_f64;
    static constexpr auto init = qp::mrf_init_f64;
    static constexpr auto filter = qp::mrf_f64;
};

template <typename Record>
void Release(Record* r) {
    if (r->workBuffer != nullptr) qp::AlignedFree(r->workBuffer);
    if (r->spec != nullptr) qp::AlignedFree(r->spec);
    delete r;  // the vector's storage goes back through utility::Free
}

template <typename T, typename Record, typename Vector>
void Init(Record** state, unsigned int upFactor, unsigned int downFactor, const T* taps, unsigned int tapsLen,
          const Vector& dlyLine, unsigned int upPhase, unsigned int downPhase) {
    if (state == nullptr) return;
    using P = Prims<T>;
    int specSize = 0, bufSize = 0;
    if (P::size(static_cast<int>(tapsLen), static_cast<int>(upFactor), static_cast<int>(downFactor), &specSize,
                &bufSize) != qp::qpStsNoErr) {
        return;
    }
    // The primitive reads and writes ceil(tapsLen / upFactor) history values.
    const std::uint64_t history = (static_cast<std::uint64_t>(tapsLen) + upFactor - 1) / upFactor;
    if (!dlyLine.empty() && dlyLine.size() < history) return;

    Record* r = new (std::nothrow) Record{};
    if (r == nullptr) return;
    try {
        r->dlyLine.assign(dlyLine.begin(), dlyLine.end());
    } catch (const std::bad_alloc&) {
        Release(r);
        return;
    }
    if (specSize != 0) r->spec = static_cast<unsigned char*>(qp::AlignedMalloc(specSize));
    if (bufSize != 0) r->workBuffer = static_cast<unsigned char*>(qp::AlignedMalloc(bufSize));
    if (r->workBuffer == nullptr) {
        Release(r);
        return;
    }
    if (P::init(taps, static_cast<int>(tapsLen), static_cast<int>(upFactor), static_cast<int>(upPhase),
                static_cast<int>(downFactor), static_cast<int>(downPhase), r->spec) != qp::qpStsNoErr) {
        Release(r);
        return;
    }
    *state = r;
}

template <typename T, typename Record>
void Process(const T* src, T* dst, unsigned int numIters, Record* state) {
    T* history = state->dlyLine.empty() ? nullptr : state->dlyLine.data();
    Prims<T>::filter(src, dst, static_cast<int>(numIters), state->spec, history, history, state->workBuffer);
}

}  // namespace

void MRFInit(MRFState_Float** state, unsigned int upFactor, unsigned int downFactor, const float* taps,
             unsigned int tapsLen, const std::vector<float, quorcore::utility::STLAllocator<float>>& dlyLine,
             unsigned int upPhase, unsigned int downPhase) {
    Init(state, upFactor, downFactor, taps, tapsLen, dlyLine, upPhase, downPhase);
}
void MRFInit(MRFState_Double** state, unsigned int upFactor, unsigned int downFactor, const double* taps,
             unsigned int tapsLen, const std::vector<double, quorcore::utility::STLAllocator<double>>& dlyLine,
             unsigned int upPhase, unsigned int downPhase) {
    Init(state, upFactor, downFactor, taps, tapsLen, dlyLine, upPhase, downPhase);
}

void MRFProcess(const float* src, float* dst, unsigned int numIters, MRFState_Float* state) {
    Process(src, dst, numIters, state);
}
void MRFProcess(const double* src, double* dst, unsigned int numIters, MRFState_Double* state) {
    Process(src, dst, numIters, state);
}

void MRFFree(MRFState_Float* state) {
    if (state != nullptr) Release(state);
}
void MRFFree(MRFState_Double* state) {
    if (state != nullptr) Release(state);
}

}  // namespace filter
}  // namespace quoraccelerate
