// Vector utilities: stateless operations on caller-owned arrays.
//
// Conventions shared by every function here:
//  - the element count comes first, then sources, then destinations, then scalars;
//  - functions returning void never report a failure: a null pointer or a count of zero (or of 2^31
//    and above) leaves every destination untouched;
//  - `_InPlace` names one array that is both source and destination.
#pragma once

#include "quoraccelerate/utility/arithmetic.h"
#include "quoraccelerate/utility/complex.h"
#include "quoraccelerate/utility/memory.h"
#include "quoraccelerate/utility/statistics.h"
#include "quoraccelerate/utility/window.h"
#include "quoraccelerate/utility/design.h"
#include "quoraccelerate/utility/dsp.h"
