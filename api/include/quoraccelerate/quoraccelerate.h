// The whole interface of the library.
#pragma once

#include "quoraccelerate/types.h"
#include "quoraccelerate/utility.h"
#include "quoraccelerate/transform.h"
#include "quoraccelerate/filter.h"
#include "quoraccelerate/test.h"
