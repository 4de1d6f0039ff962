// Low-pass FIR design export: maps the window selector and forwards to the designer primitive.
#include "quoraccelerate/utility/design.h"
#include "runtime/dispatch.h"

namespace quoraccelerate {
namespace utility {

void GenerateLowpassFIRCoefficients(double rFreq, unsigned int tapsLen, double* taps, DSPWindowType window,
                                    bool normalize, unsigned char* buffer) {
    // Bartlett (0), Blackman (1) and Hamming (2) as they are; any other value selects Hann (3).
    const int value = static_cast<int>(window);
    const int w = (value >= 0 && value <= 2) ? value : 3;
    qp::fir_gen_lowpass_f64(rFreq, w, normalize ? 1 : 0, taps, static_cast<int>(tapsLen), buffer);
}

}  // namespace utility
}  // namespace quoraccelerate
