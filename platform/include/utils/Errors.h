// Status codes of the runtime: 0 or a negative number, most of them those of errno.
#pragma once

#include <cerrno>
#include <cstdint>
#include <string>

namespace android {

typedef int32_t status_t;

enum : status_t {
    OK = 0,
    NO_ERROR = OK,
    UNKNOWN_ERROR = INT32_MIN,
    NO_MEMORY = -ENOMEM,
    INVALID_OPERATION = -ENOSYS,
    BAD_VALUE = -EINVAL,
    BAD_TYPE = UNKNOWN_ERROR + 1,
    NAME_NOT_FOUND = -ENOENT,
    ALREADY_EXISTS = -EEXIST,
    PERMISSION_DENIED = -EPERM,
    DEAD_OBJECT = -EPIPE,
    FAILED_TRANSACTION = UNKNOWN_ERROR + 2,
    TIMED_OUT = -ETIMEDOUT,
    UNKNOWN_TRANSACTION = -EBADMSG,
    UNEXPECTED_NULL = UNKNOWN_ERROR + 8,
};

/** The name of a code, or the text of its errno. */
std::string statusToString(status_t status);

}  // namespace android
