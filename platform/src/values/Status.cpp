// Texts and checks of call statuses.
#define LOG_TAG "HidlStatus"

#include <hidl/Status.h>
#include <log/log.h>

#include <cstring>

namespace android {

std::string statusToString(status_t status) {
    switch (status) {
        case OK:
            return "OK";
        case UNKNOWN_ERROR:
            return "UNKNOWN_ERROR";
        case BAD_TYPE:
            return "BAD_TYPE";
        case BAD_VALUE:
            return "BAD_VALUE";
        case DEAD_OBJECT:
            return "DEAD_OBJECT";
        case FAILED_TRANSACTION:
            return "FAILED_TRANSACTION";
        case NOT_ENOUGH_DATA:
            return "NOT_ENOUGH_DATA";
        case UNKNOWN_TRANSACTION:
            return "UNKNOWN_TRANSACTION";
        case UNEXPECTED_NULL:
            return "UNEXPECTED_NULL";
        default:
            return std::to_string(status) + " (" + strerror(-status) + ")";
    }
}

namespace hardware {

Status Status::fromExceptionCode(int32_t exception, const char* message) {
    Status status;
    status.setException(exception, message);
    return status;
}

Status Status::fromStatusT(status_t error) {
    Status status;
    status.setFromStatusT(error);
    return status;
}

void Status::setException(int32_t exception, const char* message) {
    exception_ = exception;
    error_ = exception == EX_TRANSACTION_FAILED ? FAILED_TRANSACTION : OK;
    message_ = message;
}

void Status::setFromStatusT(status_t error) {
    exception_ = error == OK ? EX_NONE : EX_TRANSACTION_FAILED;
    error_ = error;
    message_.clear();
}

std::string Status::description() const {
    if (exception_ == EX_NONE) return "Status(EX_NONE)";
    std::string text = "Status(";
    if (exception_ == EX_TRANSACTION_FAILED) {
        text += "EX_TRANSACTION_FAILED): '" + statusToString(error_) + ": ";
    } else {
        text += std::to_string(exception_) + "): '";
    }
    return text + message_ + "'";
}

namespace details {

return_status& return_status::operator=(return_status&& other) noexcept {
    assertChecked();
    status_ = std::move(other.status_);
    checked_ = std::exchange(other.checked_, true);
    return *this;
}

void return_status::assertChecked() const {
    if (!checked_ && !status_.isOk()) {
        LOG_ALWAYS_FATAL("Failed HIDL return status not checked: %s", description().c_str());
    }
}

void return_status::assertOk() const {
    if (!isOk()) LOG_ALWAYS_FATAL("Failed HIDL call: %s", description().c_str());
}

}  // namespace details
}  // namespace hardware
}  // namespace android
