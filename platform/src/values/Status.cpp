// Texts and checks of call statuses.
#define LOG_TAG "HidlStatus"

#include <hidl/Status.h>
#include <log/log.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

namespace android {

std::string statusToString(status_t status) {
    constexpr struct {
        status_t status;
        const char* name;
    } kNames[] = {
        {OK, "OK"},
        {UNKNOWN_ERROR, "UNKNOWN_ERROR"},
        {NO_MEMORY, "NO_MEMORY"},
        {INVALID_OPERATION, "INVALID_OPERATION"},
        {BAD_VALUE, "BAD_VALUE"},
        {BAD_TYPE, "BAD_TYPE"},
        {NAME_NOT_FOUND, "NAME_NOT_FOUND"},
        {PERMISSION_DENIED, "PERMISSION_DENIED"},
        {NO_INIT, "NO_INIT"},
        {ALREADY_EXISTS, "ALREADY_EXISTS"},
        {DEAD_OBJECT, "DEAD_OBJECT"},
        {FAILED_TRANSACTION, "FAILED_TRANSACTION"},
        {BAD_INDEX, "BAD_INDEX"},
        {NOT_ENOUGH_DATA, "NOT_ENOUGH_DATA"},
        {WOULD_BLOCK, "WOULD_BLOCK"},
        {TIMED_OUT, "TIMED_OUT"},
        {UNKNOWN_TRANSACTION, "UNKNOWN_TRANSACTION"},
        {FDS_NOT_ALLOWED, "FDS_NOT_ALLOWED"},
        {UNEXPECTED_NULL, "UNEXPECTED_NULL"},
    };
    for (const auto& known : kNames) {
        if (known.status == status) return known.name;
    }
    return std::to_string(status) + " (" + strerror(-status) + ")";
}

namespace hardware {

namespace {

std::string exceptionToString(int32_t exception) {
    constexpr struct {
        Status::Exception exception;
        const char* name;
    } kNames[] = {
        {Status::EX_SECURITY, "EX_SECURITY"},
        {Status::EX_BAD_PARCELABLE, "EX_BAD_PARCELABLE"},
        {Status::EX_ILLEGAL_ARGUMENT, "EX_ILLEGAL_ARGUMENT"},
        {Status::EX_NULL_POINTER, "EX_NULL_POINTER"},
        {Status::EX_ILLEGAL_STATE, "EX_ILLEGAL_STATE"},
        {Status::EX_NETWORK_MAIN_THREAD, "EX_NETWORK_MAIN_THREAD"},
        {Status::EX_UNSUPPORTED_OPERATION, "EX_UNSUPPORTED_OPERATION"},
        {Status::EX_HAS_REPLY_HEADER, "EX_HAS_REPLY_HEADER"},
        {Status::EX_TRANSACTION_FAILED, "EX_TRANSACTION_FAILED"},
    };
    for (const auto& known : kNames) {
        if (known.exception == exception) return known.name;
    }
    return std::to_string(exception);
}

}  // namespace

std::string Status::description() const {
    if (isOk()) return "No error";
    const bool isOfTransport = exception_ == EX_TRANSACTION_FAILED;
    return "Status(" + exceptionToString(exception_) + "): '" +
           (isOfTransport ? statusToString(error_) + ": " : "") + message_ + "'";
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
