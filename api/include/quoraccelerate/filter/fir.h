// FIR filter: direct form, block and single-sample processing with a delay line.
#pragma once

#include "quoraccelerate/export.h"
#include "quoraccelerate/types.h"

namespace quoraccelerate {
namespace filter {

}  // namespace filter
}  // namespace quoraccelerate
