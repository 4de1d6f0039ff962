// Filters: stateful FIR, IIR and multi-rate FIR.
#pragma once

#include "quoraccelerate/filter/fir.h"
#include "quoraccelerate/filter/iir.h"
#include "quoraccelerate/filter/mrf.h"
