// IIR filter: arbitrary order and biquad cascades, in both precisions.
#pragma once

#include "quoraccelerate/export.h"
#include "quoraccelerate/types.h"

namespace quoraccelerate {
namespace filter {

}  // namespace filter
}  // namespace quoraccelerate
