// Reacts to the death of a service: runs the handlers, then ends the process or not.
#include "foundation/hal_death_recipient.h"

#include <unistd.h>

#include <csignal>
#include <string>
#include <utility>
#include <vector>

#include "foundation/log.h"
#include "os/mutex.h"
#include "os/process.h"

namespace Vek::Sensors::HidlWrapper {
namespace {

enum class DeathReaction { IGNORE, EXIT, ABORT };

DeathReaction reactionFor(std::optional<bool> suppressCrashDumps) {
    if (!suppressCrashDumps.has_value()) {
        return DeathReaction::IGNORE;
    }
    return *suppressCrashDumps ? DeathReaction::EXIT : DeathReaction::ABORT;
}

}  // namespace

std::optional<bool> HalDeathRecipient::suppressHidlCrashDumps_;
std::once_flag HalDeathRecipient::setSuppressFlag_;
std::once_flag HalDeathRecipient::callServiceDiedflag_;

class HalDeathRecipient::HalDeathRecipientImpl : public android::hardware::hidl_death_recipient {
  public:
    explicit HalDeathRecipientImpl(DeathReaction reaction) : reaction_(reaction) {}

    void addHandler(ServiceDisconnectHandler handler) {
        const OS::LockGuard lock{mutex_};
        handlers_.push_back(handler);
        handlers_.shrink_to_fit();
    }

    /// When this returns, no handler is running and none will be called. Called from a handler, it
    /// does not wait: the handlers after that one still run.
    void removeHandlers() {
        const OS::LockGuard lock{mutex_};
        handlers_.clear();
    }

    void serviceDied(uint64_t /*cookie*/,
                     const android::wp<android::hidl::base::V1_0::IBase>& /*who*/) override {
        std::call_once(callServiceDiedflag_, [this] { react(); });
    }

  private:
    void runHandlers(const std::string& process) {
        const OS::LockGuard lock{mutex_};
        // Runs a copy of the list, because a handler may destroy the recipient or register another
        // handler. Every handler that was registered before the death runs.
        const std::vector<ServiceDisconnectHandler> handlers = handlers_;
        if (handlers.empty()) {
            return;
        }
        MORIAK_LOG_ERROR("Unexpected service death detected. %s invoking custom coronaries.",
                         process.c_str());
        for (const ServiceDisconnectHandler& handler : handlers) {
            handler.handler(handler.context);
        }
    }

    void react() {
        const std::string process = Vek::OS::Process::getCurrentProcessName();
        runHandlers(process);
        switch (reaction_) {
            case DeathReaction::EXIT:
                MORIAK_LOG_ERROR("Unexpected service death detected. %s Exiting.", process.c_str());
                kill(getpid(), SIGUSR2);
                break;
            case DeathReaction::ABORT:
                MORIAK_FATAL("Unexpected service death detected. %s Aborting.", process.c_str());
            case DeathReaction::IGNORE:
                MORIAK_LOG_ERROR("Unexpected service death detected. %s ignoring.",
                                 process.c_str());
                break;
        }
    }

    const DeathReaction reaction_;
    /// Also held while the handlers run, so that removeHandlers() waits for them. Recursive,
    /// because a handler may destroy the recipient or register another handler.
    OS::RecursiveMutex mutex_;
    std::vector<ServiceDisconnectHandler> handlers_ VEK_GUARDED_BY(mutex_);
};

HalDeathRecipient::HalDeathRecipient(
    const gsl::not_null<android::sp<android::hidl::base::V1_0::IBase>>& service)
    : service_(service.get()),
      impl_(new HalDeathRecipientImpl(reactionFor(suppressHidlCrashDumps_))) {
    service.get()->linkToDeath(impl_, 0).isOk();
}

HalDeathRecipient::~HalDeathRecipient() {
    if (const android::sp<android::hidl::base::V1_0::IBase> service = service_.promote()) {
        service->unlinkToDeath(impl_).isOk();
    }
    impl_->removeHandlers();
}

void HalDeathRecipient::registerDisconnectHandler(ServiceDisconnectHandler handler) {
    impl_->addHandler(handler);
}

void HalDeathRecipient::setSuppressCrashDumps(bool suppress) {
    std::call_once(setSuppressFlag_, [suppress] {
        MORIAK_LOG_INFO("Supressing HIDL transport crash dumps for current process: %s",
                        suppress ? "true" : "false");
        suppressHidlCrashDumps_ = suppress;
    });
}

}  // namespace Vek::Sensors::HidlWrapper

namespace Vek::Sensors {

void suppressTransportCrashDumps(bool suppress) {
    HidlWrapper::HalDeathRecipient::setSuppressCrashDumps(suppress);
}

}  // namespace Vek::Sensors
