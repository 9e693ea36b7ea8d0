// sensorctl controllers update-firmware
#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "commands.h"
#include "controller/controller_access.h"
#include "controller/controller_commands.h"
#include "controller/controller_text.h"
#include "display.h"
#include "failure.h"
#include "output.h"
#include "waiter.h"

using namespace Vek::Sensors;

namespace {

struct UpdateOptions {
    std::string key;
    double intervalSeconds = 0.1;
    double stepPercent = 5;
    double timeoutSeconds = 30;
};

/// Progress that the service reports. Shared with the callback, because reports may arrive after
/// the command has stopped waiting.
struct Progress {
    explicit Progress(std::shared_ptr<ICompositeStream> composite)
        : waiting(std::move(composite)) {}

    /// Runs on a HIDL thread.
    void report(float progress) {
        value = progress;
        ++reports;
        waiting->wake();
    }

    const std::shared_ptr<ICompositeStream> waiting;
    std::atomic<float> value{0};
    std::atomic<uint64_t> reports{0};
};

std::string barOf(float progress) {
    constexpr size_t kWidth = 40;
    const auto filled = static_cast<size_t>(std::lround(progress * kWidth));
    return fmt::format("[{:<{}}] {:3.0f} %", std::string(filled, '#'), kWidth, 100 * progress);
}

/// Observes an update through the stream of the controller's state changes.
class UpdateWatch {
  public:
    UpdateWatch(IControllerProvider& provider, const PairedControllerInfo& controller,
                ICompositeStream& composite)
        : controller_(controller), states_(provider.streamStateChanges()) {
        states_->setCallbackv([this](IDataStream<PairedControllerInfo>::Batch spans) {
            for (const auto& span : spans) {
                for (const PairedControllerInfo& info : span) {
                    take(info);
                }
            }
        });
        states_->addTo(composite);
    }

    bool isOver() const { return after_.has_value(); }
    const PairedControllerInfo& after() const { return *after_; }

  private:
    void take(const PairedControllerInfo& info) {
        if (info.address != controller_.address) {
            return;
        }
        const bool isUpdating = info.features[CONTROLLER_FEATURE_UPDATING];
        if (hasBegun_ && !isUpdating && !after_) {
            after_ = info;
        }
        hasBegun_ = hasBegun_ || isUpdating;
    }

    const PairedControllerInfo controller_;
    const std::unique_ptr<IDataStream<PairedControllerInfo>> states_;
    bool hasBegun_ = false;
    std::optional<PairedControllerInfo> after_;
};

void show(Display& display, const std::string& name, float progress) {
    if (display.isTerminal() && !Output::isJson()) {
        display.update({fmt::format("{}  {}", name, barOf(progress))});
    } else {
        Output::print(
            fmt::format("{}: {:.0f} %", name, 100 * progress),
            {{"state", "updating"}, {"name", name}, {"progress_percent", 100 * progress}});
    }
}

/// Shows the reports until the update is over. @return false if the user ended the run
bool follow(const UpdateWatch& watch, const Progress& progress, Waiter& waiter,
            const std::string& name, const UpdateOptions& options) {
    Display display;
    uint64_t shown = 0;
    while (!watch.isOver()) {
        const auto deadline = deadlineAfter(options.timeoutSeconds);
        const auto hasNews = [&] { return watch.isOver() || progress.reports != shown; };
        if (!waiter.until(hasNews, deadline)) {
            return false;
        }
        if (!hasNews()) {
            throw Failure(ExitCode::FAILED,
                          fmt::format("the firmware update of '{}' made no progress for {} s", name,
                                      options.timeoutSeconds));
        }
        if (progress.reports != shown) {
            shown = progress.reports;
            show(display, name, progress.value);
        }
    }
    return true;
}

/// Starts the update. Throws Failure if the service refuses.
void begin(IControllerProvider& provider, const PairedControllerInfo& controller,
           const std::shared_ptr<Progress>& progress, const UpdateOptions& options) {
    const ControllerResult result = requireManagementClient(provider)->updateFirmware(
        controller.address, controller.type,
        {[progress](float value) { progress->report(value); },
         static_cast<int64_t>(options.intervalSeconds * 1e9),
         static_cast<float>(options.stepPercent / 100)});
    if (result != ControllerResult::SUCCESS) {
        throw Failure(ExitCode::FAILED, fmt::format("cannot update '{}': the service answered {}",
                                                    options.key, text(result)));
    }
}

void updateFirmware(const UpdateOptions& options) {
    Shutdown shutdown(kShutdownGrace);
    Waiter waiter(shutdown);
    const auto provider = requireControllers();
    const PairedControllerInfo before = findPaired(*provider, options.key);
    const std::string name = text(before.name);
    const auto progress = std::make_shared<Progress>(waiter.composite());
    const UpdateWatch watch(*provider, before, *waiter.composite());
    begin(*provider, before, progress, options);
    if (!follow(watch, *progress, waiter, name, options)) {
        shutdown.requireService();
        Output::print("the update goes on without sensorctl", {{"state", "left"}, {"name", name}});
        return;
    }
    if (progress->value < 1) {
        throw Failure(ExitCode::FAILED,
                      fmt::format("the firmware update of '{}' failed at {:.0f} %", name,
                                  100 * progress->value));
    }
    const std::string from = text(before.firmwareVersion);
    const std::string to = text(watch.after().firmwareVersion);
    Output::print(fmt::format("updated {} from firmware {} to {}", name, from, to),
                  {{"state", "updated"}, {"name", name}, {"from", from}, {"to", to}});
}

}  // namespace

void addControllerUpdateCommand(CLI::App& controllers) {
    const auto options = std::make_shared<UpdateOptions>();
    CLI::App& command = *controllers.add_subcommand(
        "update-firmware", "Update the firmware of a controller and show how far it has come");
    addControllerArgument(command, options->key);
    command
        .add_option("--interval", options->intervalSeconds,
                    "Shortest time from one report of the service to the next")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 3600.0))
        ->capture_default_str();
    command
        .add_option("--step", options->stepPercent,
                    "Smallest progress from one report of the service to the next")
        ->type_name("PERCENT")
        ->check(CLI::Range(0.0, 100.0))
        ->capture_default_str();
    command
        .add_option("--timeout", options->timeoutSeconds,
                    "Give up when there is no report for so long")
        ->type_name("SECONDS")
        ->check(secondsFrom(0.1))
        ->capture_default_str();
    command.callback([options] { updateFirmware(*options); });
}
