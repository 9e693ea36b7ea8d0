#include "controller/firmware_update.h"

#include <log/log.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace Simulator {
namespace {

/// The smallest step of progress reports, even if a client asks for a smaller one.
constexpr float kFinestStep = 1.0F / 128;

using Callback = android::sp<Hidl::IProgressUpdateCallback>;

/// Why the requested reports are invalid; null if they are valid.
const char* problemOf(const FirmwareReports& reports) {
    if (reports.callback == nullptr) {
        return "it has no callback";
    }
    // Written so that NaN is refused.
    if (reports.minimumInterval < 0 || !(reports.minimumStep >= 0 && reports.minimumStep <= 1)) {
        return "its interval or its step is out of range";
    }
    return nullptr;
}

/// Calls the client on a separate thread. If the client does not answer, that thread stays until
/// the client dies.
///
/// Threading: one thread at a time.
class Reporter {
  public:
    /// @throws std::system_error if no thread can be started
    Reporter(uint64_t address, Callback callback) : address_(address) {
        std::thread([calls = calls_, client = std::move(callback)] {
            make(*calls, client);
        }).detach();
    }
    ~Reporter() {
        const std::lock_guard lock{calls_->mutex};
        calls_->isOver = true;
        calls_->changed.notify_all();
    }
    Reporter(const Reporter&) = delete;
    Reporter& operator=(const Reporter&) = delete;

    /// Waits for the client to take the report, but only for a few seconds: other clients wait for
    /// the controller.
    void report(float progress) {
        constexpr std::chrono::seconds kPatience{5};
        std::unique_lock lock{calls_->mutex};
        if (!calls_->isTaken) {
            return;
        }
        calls_->progress = progress;
        calls_->changed.notify_all();
        const bool isMade =
            calls_->changed.wait_for(lock, kPatience, [this] { return !calls_->progress; });
        if (!isMade || !calls_->isTaken) {
            ALOGW("controller %llx: nobody takes the progress of its update any more",
                  static_cast<unsigned long long>(address_));
            calls_->isTaken = false;
        }
    }

  private:
    struct Calls {
        std::mutex mutex;  // guards the rest
        std::condition_variable changed;
        /// Progress of the next report, until the client has taken it.
        std::optional<float> progress;
        /// Whether the client has taken all reports so far in time.
        bool isTaken = true;
        bool isOver = false;
    };

    static void make(Calls& calls, const Callback& client) {
        std::unique_lock lock{calls.mutex};
        while (true) {
            calls.changed.wait(lock, [&] { return calls.progress || calls.isOver; });
            if (calls.isOver) {
                return;
            }
            const float progress = *calls.progress;
            lock.unlock();
            const auto result = client->handleProgressUpdate(progress);
            const bool isTaken = result.isOk() && result == Hidl::Result::SUCCESS;
            lock.lock();
            calls.isTaken = calls.isTaken && isTaken;
            calls.progress.reset();
            calls.changed.notify_all();
        }
    }

    const uint64_t address_;
    const std::shared_ptr<Calls> calls_ = std::make_shared<Calls>();
};

/// @return whether the update succeeded
bool runUpdate(const ControllerSettings& settings, const FirmwareReports& reports,
               Reporter& reporter) {
    using Clock = std::chrono::steady_clock;
    const float end = std::min(settings.firmwareFailsAt.value_or(1), 1.0F);
    const float step = std::max(reports.minimumStep, kFinestStep);
    const std::chrono::duration<double> duration{settings.firmwareSeconds};
    const Clock::time_point begin = Clock::now();
    reporter.report(0);
    float progress = 0;
    while (progress < end) {
        // The larger of the client's minimum step and the progress during the client's minimum
        // interval.
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

Hidl::Result beginFirmwareUpdate(const std::shared_ptr<ControllerFleet>& fleet,
                                 Hidl::ControllerAddr address, Hidl::ControllerType type,
                                 const FirmwareReports& reports) {
    if (const char* const problem = problemOf(reports)) {
        ALOGW("controller %llx: refused to update it for a client: %s",
              static_cast<unsigned long long>(address.address), problem);
        return Hidl::Result::FAILURE;
    }
    const Hidl::Result result =
        fleet->with(address, Hidl::Result::FAILURE,
                    [type](ControllerDevice& device) { return device.beginUpdate(type); });
    if (result != Hidl::Result::SUCCESS) {
        return result;
    }
    const auto end = [fleet, address](bool isComplete) {
        fleet->with(address, false, [isComplete](ControllerDevice& device) {
            device.endUpdate(isComplete);
            return true;
        });
    };
    try {
        // Detached: a client that does not return from a report must not delay the end of the
        // process.
        const auto reporter = std::make_shared<Reporter>(address.address, reports.callback);
        std::thread([fleet, address, reports, reporter, end] {
            const bool isComplete = runUpdate(fleet->settings(), reports, *reporter);
            ALOGI("controller %llx: firmware update %s",
                  static_cast<unsigned long long>(address.address),
                  isComplete ? "complete" : "failed");
            end(isComplete);
        }).detach();
    } catch (const std::system_error& noThread) {
        ALOGW("controller %llx: cannot update it: %s",
              static_cast<unsigned long long>(address.address), noThread.what());
        end(false);
        return Hidl::Result::FAILURE;
    }
    return result;
}

}  // namespace Simulator
