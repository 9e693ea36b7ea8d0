// Watches one HAL service for the object that holds its proxy.
#pragma once

#include <android/hidl/base/1.0/IBase.h>
#include <utils/RefBase.h>
#include <vek/gsl.h>
#include <vek/sensors/service.h>

#include <cstdint>
#include <mutex>
#include <optional>

namespace Vek::Sensors::HidlWrapper {

/// Linked to the death of a service from construction to destruction.
///
/// When the service dies, the disconnect handlers run in the order of registration on a HIDL
/// thread, then the process meets the death as suppressTransportCrashDumps() had chosen when this
/// object was made. Both happen for the first death in the process only: later deaths, of whatever
/// service, pass unnoticed.
class HalDeathRecipient {
  public:
    /// A failure to link is not noticed: the object then has no reaction to the death.
    explicit HalDeathRecipient(
        const gsl::not_null<android::sp<android::hidl::base::V1_0::IBase>>& service);
    /// Waits for handlers that are running; none runs later. A handler that destroys the recipient
    /// does not wait, and the handlers that were registered after it still run: the contexts of all
    /// must live until the last has returned.
    ~HalDeathRecipient();

    HalDeathRecipient(const HalDeathRecipient&) = delete;
    HalDeathRecipient& operator=(const HalDeathRecipient&) = delete;

    /// Has no effect once the service has died. May be called from any thread; waits for handlers
    /// that are running.
    void registerDisconnectHandler(ServiceDisconnectHandler handler);

    static void setSuppressCrashDumps(bool suppress);

    /// False until it was chosen.
    static bool suppressesCrashDumps() { return suppressHidlCrashDumps_.value_or(false); }

  private:
    class HalDeathRecipientImpl;

    android::wp<android::hidl::base::V1_0::IBase> service_;
    android::sp<HalDeathRecipientImpl> impl_;

    static std::optional<bool> suppressHidlCrashDumps_;
    static std::once_flag setSuppressFlag_;
    static std::once_flag callServiceDiedflag_;
};

}  // namespace Vek::Sensors::HidlWrapper
