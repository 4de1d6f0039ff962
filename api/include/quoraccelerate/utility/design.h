// Low-pass FIR design by the window method.
#pragma once

#include "quoraccelerate/export.h"
#include "quoraccelerate/types.h"

namespace quoraccelerate {
namespace utility {

}  // namespace utility
}  // namespace quoraccelerate
