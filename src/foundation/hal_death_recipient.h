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
/// thread. Then the process reacts as suppressTransportCrashDumps() had chosen when this object was
/// made. Both happen only for the first death in the process: later deaths, of any service, are
/// ignored.
class HalDeathRecipient {
  public:
    /// A failure to link is ignored: the object then never reacts to the death.
    explicit HalDeathRecipient(
        const gsl::not_null<android::sp<android::hidl::base::V1_0::IBase>>& service);
    /// Waits for running handlers; no handler runs afterwards. If a handler destroys the recipient,
    /// the destructor does not wait and the handlers that were registered after it still run, so
    /// the contexts of all must live until the last handler has returned.
    ~HalDeathRecipient();

    HalDeathRecipient(const HalDeathRecipient&) = delete;
    HalDeathRecipient& operator=(const HalDeathRecipient&) = delete;

    /// Has no effect once the service has died. May be called from any thread; waits for handlers
    /// that are running.
    void registerDisconnectHandler(ServiceDisconnectHandler handler);

    static void setSuppressCrashDumps(bool suppress);

    /// False until suppressTransportCrashDumps() was called.
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
