// The whole interface of the library.
#pragma once

#include "quoraccelerate/utility.h"
