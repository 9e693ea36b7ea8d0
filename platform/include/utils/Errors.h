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
    PERMISSION_DENIED = -EPERM,
    NO_INIT = -ENODEV,
    ALREADY_EXISTS = -EEXIST,
    DEAD_OBJECT = -EPIPE,
    FAILED_TRANSACTION = UNKNOWN_ERROR + 2,
    BAD_INDEX = -EOVERFLOW,
    NOT_ENOUGH_DATA = -ENODATA,
    WOULD_BLOCK = -EWOULDBLOCK,
    TIMED_OUT = -ETIMEDOUT,
    UNKNOWN_TRANSACTION = -EBADMSG,
    FDS_NOT_ALLOWED = UNKNOWN_ERROR + 7,
    UNEXPECTED_NULL = UNKNOWN_ERROR + 8,
};

/** The name of a code, or the text of its errno. */
std::string statusToString(status_t status);

}  // namespace android
