// Texts and checks of call statuses.
#define LOG_TAG "HidlStatus"

#include <hidl/Status.h>
#include <log/log.h>

#include <cstring>

namespace android {

std::string statusToString(status_t status) {
    constexpr struct {
        status_t status;
        const char* name;
    } kNames[] = {
        {OK, "OK"},
        {UNKNOWN_ERROR, "UNKNOWN_ERROR"},
        {BAD_TYPE, "BAD_TYPE"},
        {BAD_VALUE, "BAD_VALUE"},
        {DEAD_OBJECT, "DEAD_OBJECT"},
        {FAILED_TRANSACTION, "FAILED_TRANSACTION"},
        {UNKNOWN_TRANSACTION, "UNKNOWN_TRANSACTION"},
        {UNEXPECTED_NULL, "UNEXPECTED_NULL"},
    };
    for (const auto& known : kNames) {
        if (known.status == status) return known.name;
    }
    return std::to_string(status) + " (" + strerror(-status) + ")";
}

namespace hardware {

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
