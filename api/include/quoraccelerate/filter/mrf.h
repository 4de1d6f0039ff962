// Multi-rate FIR filter: polyphase up- and down-sampling filtering.
#pragma once

#include "quoraccelerate/export.h"
#include "quoraccelerate/types.h"

namespace quoraccelerate {
namespace filter {

}  // namespace filter
}  // namespace quoraccelerate
