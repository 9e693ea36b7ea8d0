// How the library calls the HAL: every call's transport is checked, and a control call that cannot
// be delivered or is refused ends the process.
#pragma once

#include <hidl/Status.h>

#include <string>

#include "foundation/hal.h"
#include "foundation/log.h"

namespace Vek::Sensors::HidlWrapper {

/// The value that a HIDL call returned. Look at the transport's status first.
template <typename T>
T unwrap(const android::hardware::Return<T>& hidlReturn) {
    return hidlReturn;
}

/// Ends the process by a fatal assertion, so that a crash dump is taken.
/// @param function signature text of the function whose HAL call failed.
[[noreturn]] void handleCrashDumps(const char* function, const std::string& description);

/// Ends the process by SIGUSR2, which leaves no crash dump. Blocks the calling thread until the
/// signal takes effect. (The name is spelled as the system's tools know it.)
[[noreturn]] void handleSupressCrashDumps(const char* function, const std::string& description);

/// Ends the process in the way that was chosen with suppressTransportCrashDumps().
[[noreturn]] void handleTransportFailure(const char* function, const std::string& description);

/// Ends the process unless the call reached the service and returned.
inline void checkTransport(const android::hardware::details::return_status& hidlReturn,
                           const char* function) {
    if (__builtin_expect(!hidlReturn.isOk(), false)) {
        handleTransportFailure(function, hidlReturn.description());
    }
}

}  // namespace Vek::Sensors::HidlWrapper

/// Makes a control call and ends the process unless its Result is SUCCESS. Use it in the API method
/// itself: a transport failure reports the signature of the enclosing function.
/// @param message names the operation and ends in "%d" for the Result.
#define MORIAK_CONTROL_CALL(call, message)                                 \
    do {                                                                   \
        const android::hardware::Return<Hidl::Result> hidlReturn = (call); \
        checkTransport(hidlReturn, __PRETTY_FUNCTION__);                   \
        MORIAK_FATAL_IF(hidlReturn != Hidl::Result::SUCCESS, message,      \
                        static_cast<int>(unwrap(hidlReturn)));             \
    } while (false)
