// Result of a call: the transport's status, and the returned value.
#pragma once

#include <hidl/HidlInternal.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>

namespace android::hardware {

/** The transport's status. A transport error carries a status_t, other errors a message. */
class Status final {
  public:
    enum Exception : int32_t {
        EX_NONE = 0,
        EX_SECURITY = -1,
        EX_BAD_PARCELABLE = -2,
        EX_ILLEGAL_ARGUMENT = -3,
        EX_NULL_POINTER = -4,
        EX_ILLEGAL_STATE = -5,
        EX_NETWORK_MAIN_THREAD = -6,
        EX_UNSUPPORTED_OPERATION = -7,
        EX_HAS_REPLY_HEADER = -128,
        EX_TRANSACTION_FAILED = -129,
    };

    Status() = default;
    static Status ok() { return {}; }
    static Status fromExceptionCode(int32_t exception) { return fromExceptionCode(exception, ""); }
    static Status fromExceptionCode(int32_t exception, const char* message) {
        return {exception, FAILED_TRANSACTION, message};
    }
    static Status fromStatusT(status_t error) {
        return {error == OK ? EX_NONE : EX_TRANSACTION_FAILED, error, ""};
    }
    void setFromStatusT(status_t error) { *this = fromStatusT(error); }

    int32_t exceptionCode() const { return exception_; }
    const char* exceptionMessage() const { return message_.c_str(); }
    status_t transactionError() const { return exception_ == EX_TRANSACTION_FAILED ? error_ : OK; }
    bool isOk() const { return exception_ == EX_NONE; }
    /** For log lines. */
    std::string description() const;

  private:
    Status(int32_t exception, status_t error, const char* message)
        : exception_(exception), error_(error), message_(message) {}

    int32_t exception_ = EX_NONE;
    status_t error_ = OK;  // of a failed transaction
    std::string message_;
};

template <typename T>
class Return;

namespace details {

template <typename T, typename U>
Return<U> StatusOf(const Return<T>& other);

/**
 * A status that must be checked: destroying or overwriting a failed status that was never checked
 * ends the process.
 */
class return_status {
  public:
    return_status() = default;
    return_status(const Status& status) : status_(status) {}  // NOLINT: implicit as published
    return_status(return_status&& other) noexcept { *this = std::move(other); }
    return_status& operator=(return_status&& other) noexcept;
    return_status(const return_status&) = delete;
    return_status& operator=(const return_status&) = delete;
    ~return_status() { assertChecked(); }

    bool isOk() const {
        checked_ = true;
        return status_.isOk();
    }
    /**
     * Counts as a check only if it returns true, so that other failures still end a process that
     * checks nothing else.
     */
    bool isDeadObject() const {
        const bool isDead = status_.transactionError() == DEAD_OBJECT;
        checked_ = checked_ || isDead;
        return isDead;
    }
    /** Does not count as a check. */
    std::string description() const { return status_.description(); }

    /** Ends the process if the call failed. Called by generated code. */
    void assertOk() const;

  private:
    template <typename T, typename U>
    friend Return<U> StatusOf(const Return<T>& other);

    void assertChecked() const;

    Status status_;
    mutable bool checked_ = false;
};

}  // namespace details

/** The value that a call returned. Reading it ends the process if the call failed. */
template <typename T>
class Return : public details::return_status {
  public:
    Return(T value) : value_(std::move(value)) {}            // NOLINT: implicit as published
    Return(const Status& status) : return_status(status) {}  // NOLINT: implicit as published
    /** For values that are pointers: accepts null and pointers to derived interfaces. */
    template <typename U,
              typename = std::enable_if_t<!std::is_base_of_v<return_status, std::decay_t<U>> &&
                                          std::is_class_v<T> && std::is_convertible_v<U, T>>>
    Return(U&& value) : value_(std::forward<U>(value)) {}  // NOLINT: implicit as published

    operator T() const {  // NOLINT: implicit as published
        assertOk();
        return value_;
    }
    T withDefault(T fallback) { return isOk() ? value_ : fallback; }

  private:
    T value_{};
};

template <>
class Return<void> : public details::return_status {
  public:
    Return() = default;
    Return(const Status& status) : return_status(status) {}  // NOLINT: implicit as published
};

inline Return<void> Void() {
    return {};
}

/** Converts the status of a failed call to the result of another call. */
template <typename T, typename U>
Return<U> details::StatusOf(const Return<T>& other) {
    other.checked_ = true;
    return Return<U>(other.status_);
}

}  // namespace android::hardware
