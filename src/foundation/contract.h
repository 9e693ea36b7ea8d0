// Sends the contract failures of the Guidelines Support Library to the log. Included by vek/gsl.h
// between the checks' definition and their first use; include that header, not this one.
#pragma once

namespace Vek::Sensors::HidlWrapper {

/// Prints the failure to standard error, logs it at priority FATAL and ends in std::terminate().
/// @param type "Precondition" or "Postcondition".
/// @param file, line position of the check in the installed GSL; if the position in the system's
/// GSL is known, that is reported instead.
/// @param condition the text of the expression that was false.
[[noreturn]] void contractFailure(const char* type, const char* file, int line,
                                  const char* condition);

}  // namespace Vek::Sensors::HidlWrapper

#undef GSL_CONTRACT_CHECK
#define GSL_CONTRACT_CHECK(type, cond) \
    (GSL_LIKELY(cond)                  \
         ? static_cast<void>(0)        \
         : ::Vek::Sensors::HidlWrapper::contractFailure(type, __FILE__, __LINE__, #cond))
