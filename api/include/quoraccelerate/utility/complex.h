// Complex, polar and channel helpers.
#pragma once

#include "quoraccelerate/export.h"

namespace quoraccelerate {
namespace utility {

}  // namespace utility
}  // namespace quoraccelerate
