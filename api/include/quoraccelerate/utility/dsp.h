// Dot product, convolution and resampling.
#pragma once

#include "quoraccelerate/export.h"
#include "quoraccelerate/types.h"

namespace quoraccelerate {
namespace utility {

}  // namespace utility
}  // namespace quoraccelerate
