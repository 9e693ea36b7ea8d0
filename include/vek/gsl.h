// The one place where the Guidelines Support Library is included.
#pragma once

#include <gsl/assert>

#ifdef MORIAK_HIDLWRAPPER_CONTRACTS
// Set by the library's own build only: its contract failures are logged before the process ends.
// The replacement must stand before the first header that uses the checks.
#include "foundation/contract.h"
#endif

#include <gsl/pointers>
#include <gsl/span>
