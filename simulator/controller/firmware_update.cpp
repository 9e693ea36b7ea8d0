// See firmware_update.h.
#include "controller/firmware_update.h"

#include <log/log.h>

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <utility>

namespace Simulator {
namespace {

/// Finer steps are not to be had, whatever the client asks for.
constexpr float kFinestStep = 1.0F / 128;

using Callback = android::sp<Hal::IProgressUpdateCallback>;

/// Why reports cannot be made like that; null if they can.
const char* problemOf(const FirmwareReports& reports) {
    if (reports.callback == nullptr) {
        return "it has no callback";
    }
    // Not a number is in no range.
    if (reports.minimumInterval < 0 || !(reports.minimumStep >= 0 && reports.minimumStep <= 1)) {
        return "its interval or its step is out of range";
    }
    return nullptr;
}

class Reporter {
  public:
    Reporter(uint64_t address, Callback callback)
        : address_(address), callback_(std::move(callback)) {}

    /// Waits for the client to take the report, but not for ever: others wait for the controller.
    void report(float progress) {
        constexpr std::chrono::seconds kPatience{5};
        if (callback_ == nullptr) {
            return;
        }
        const auto taken = std::make_shared<std::promise<bool>>();
        std::future<bool> answer = taken->get_future();
        // For as long as a client that does not answer lives.
        std::thread([callback = callback_, progress, taken] {
            const auto result = callback->handleProgressUpdate(progress);
            taken->set_value(result.isOk() && result == Hal::Result::SUCCESS);
        }).detach();
        if (answer.wait_for(kPatience) != std::future_status::ready || !answer.get()) {
            ALOGW("controller %llx: nobody takes the progress of its update any more",
                  static_cast<unsigned long long>(address_));
            callback_ = nullptr;
        }
    }

  private:
    const uint64_t address_;
    Callback callback_;
};

/// @return whether it was completed
bool runUpdate(const ControllerSettings& settings, uint64_t address,
               const FirmwareReports& reports) {
    using Clock = std::chrono::steady_clock;
    const float end = std::min(settings.firmwareFailsAt.value_or(1), 1.0F);
    const float step = std::max(reports.minimumStep, kFinestStep);
    const std::chrono::duration<double> duration{settings.firmwareSeconds};
    const Clock::time_point begin = Clock::now();
    Reporter reporter(address, reports.callback);
    reporter.report(0);
    float progress = 0;
    while (progress < end) {
        // By its number of steps, or as many as the client's interval takes.
        const double interval = static_cast<double>(reports.minimumInterval) * 1e-9;
        const auto least = static_cast<float>(
            duration.count() > 0 ? std::min(1.0, interval / duration.count()) : 0.0);
        progress = std::min(end, progress + std::max(step, least));
        std::this_thread::sleep_until(
            begin + std::chrono::duration_cast<Clock::duration>(duration * progress));
        reporter.report(progress);
    }
    return !settings.firmwareFailsAt;
}

}  // namespace

Hal::Result beginFirmwareUpdate(const std::shared_ptr<ControllerFleet>& fleet,
                                Hal::ControllerAddr address, Hal::ControllerType type,
                                const FirmwareReports& reports) {
    if (const char* const problem = problemOf(reports)) {
        ALOGW("controller %llx: refused to update it for a client: %s",
              static_cast<unsigned long long>(address.address), problem);
        return Hal::Result::FAILURE;
    }
    const Hal::Result result =
        fleet->with(address, Hal::Result::FAILURE,
                    [type](ControllerDevice& device) { return device.beginUpdate(type); });
    if (result == Hal::Result::SUCCESS) {
        // Nobody waits for its end: a client that does not return from a report would hold up the
        // end of the process.
        std::thread([fleet, address, reports] {
            const bool isComplete = runUpdate(fleet->settings(), address.address, reports);
            ALOGI("controller %llx: firmware update %s",
                  static_cast<unsigned long long>(address.address),
                  isComplete ? "complete" : "failed");
            fleet->with(address, false, [isComplete](ControllerDevice& device) {
                device.endUpdate(isComplete);
                return true;
            });
        }).detach();
    }
    return result;
}

}  // namespace Simulator
