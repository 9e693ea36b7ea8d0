#include "client.h"

#include <fmt/format.h>
#include <log/log.h>
#include <unistd.h>
#include <vek/sensors/service.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <sstream>
#include <utility>

#include "areas.h"
#include "support/child_process.h"

namespace Soak {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using TestSupport::sendNotice;

sigset_t toldSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, kStop);
    sigaddset(&signals, kServiceChanged);
    return signals;
}

/// The signal that arrived since the last call; 0: none.
int told() {
    const sigset_t signals = toldSignals();
    constexpr timespec kNow{};
    return std::max(sigtimedwait(&signals, nullptr, &kNow), 0);
}

int waitUntilTold() {
    const sigset_t signals = toldSignals();
    return sigwaitinfo(&signals, nullptr);
}

void note(const std::string& text) {
    const std::string line = text + "\n";
    static_cast<void>(!write(STDERR_FILENO, line.data(), line.size()));
}

void enter(const char* phase) {
    note(kPhase + std::string(phase));
}

void announceIgnoredDeath() {
    __android_log_set_logger([](const __android_log_message* line) {
        __android_log_stderr_logger(line);
        if (std::string(line->message).find(" ignoring.") != std::string::npos) {
            sendNotice(kIgnored);
        }
    });
}

enum class Ending { NO_SERVICE, SERVICE_DIED, STOPPED, TIME_IS_UP };

class Client {
  public:
    explicit Client(const ClientPlan& plan) : plan_(plan), generator_(plan.seed) {}

    /// Runs all phases from look-up to destruction.
    Ending live() {
        enter("look-up");
        const Areas areas = areasOf(plan_);
        const auto isThere = [](const auto& area) { return area->lookUp(); };
        if (!std::all_of(areas.begin(), areas.end(), isThere)) {
            enter(kNoService);
            return Ending::NO_SERVICE;
        }
        enter("prepare");
        Streams streams{tally_};
        for (const auto& area : areas) {
            area->prepare(streams);
        }
        if (plan_.suppressesDumps && plan_.suppressesThemLater) {
            Vek::Sensors::suppressTransportCrashDumps(*plan_.suppressesDumps);
        }
        enter("start");
        for (const auto& area : areas) {
            area->start();
        }
        enter("stream");
        const Ending ending = stream(areas, streams);
        enter("stop");
        for (const auto& area : areas) {
            ending == Ending::SERVICE_DIED ? area->abandon() : area->stop();
        }
        enter("destroy");
        return ending;
    }

    const Tally& tally() const { return tally_; }

  private:
    using Areas = std::vector<std::unique_ptr<Area>>;

    Ending stream(const Areas& areas, Streams& streams) {
        // The service keeps prepared streams until the process ends, and has room for eight camera
        // clients.
        constexpr uint32_t kMostLives = 6;
        const bool isBusy = plan_.isBusy && ++lives_ < kMostLives;
        const Clock::time_point end =
            isBusy ? Clock::now() + std::chrono::milliseconds(generator_() % 10)
                   : Clock::time_point::max();
        bool saysSo = true;
        std::optional<uint64_t> lastRecords;
        while (Clock::now() < end && streams.fewest() < lastRecords.value_or(UINT64_MAX)) {
            streams.receiveUntil(std::min(end, Clock::now() + 10ms));
            for (const auto& area : areas) {
                area->send();
                if (isBusy && !area->call()) {
                    note("a call was refused");
                }
            }
            if (streams.most() > 0 && std::exchange(saysSo, false)) {
                sendNotice(kStreaming);
            }
            const int signal = told();
            if (signal == kServiceChanged) {
                return Ending::SERVICE_DIED;
            }
            if (signal == kStop) {
                lastRecords = streams.fewest() + 1;
                isStopping_ = true;
            }
        }
        return isStopping_ ? Ending::STOPPED : Ending::TIME_IS_UP;
    }

    const ClientPlan& plan_;
    std::mt19937 generator_;
    uint32_t lives_ = 0;
    bool isStopping_ = false;
    Tally tally_;
};

}  // namespace

void blockWhatIsTold() {
    const sigset_t signals = toldSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

std::string textOf(const ClientPlan& plan) {
    return fmt::format("{} {} {} {} {} {:d} {:d} {:d} {}", plan.areas, plan.rpcClient,
                       plan.motionBatch, plan.frameRate,
                       plan.suppressesDumps ? int{*plan.suppressesDumps} : -1,
                       plan.suppressesThemLater, plan.isBusy, plan.outlivesServices, plan.seed);
}

ClientPlan planFrom(const std::string& text) {
    ClientPlan plan;
    int suppressesDumps = 0;
    std::istringstream{text} >> plan.areas >> plan.rpcClient >> plan.motionBatch >>
        plan.frameRate >> suppressesDumps >> plan.suppressesThemLater >> plan.isBusy >>
        plan.outlivesServices >> plan.seed;
    plan.suppressesDumps = suppressesDumps < 0 ? std::nullopt : std::optional(suppressesDumps == 1);
    return plan;
}

void runClient(const ClientPlan& plan) {
    announceIgnoredDeath();
    if (plan.suppressesDumps && !plan.suppressesThemLater) {
        Vek::Sensors::suppressTransportCrashDumps(*plan.suppressesDumps);
    }
    Client client{plan};
    Ending ending = Ending::TIME_IS_UP;
    while (ending == Ending::TIME_IS_UP) {
        if (plan.outlivesServices) {
            sendNotice(kIdle);
            if (waitUntilTold() == kStop) {
                break;
            }
        }
        ending = client.live();
        if (plan.outlivesServices && ending == Ending::SERVICE_DIED) {
            for (const auto& area : areasOf(plan)) {
                if (area->lookUp()) {
                    note("there is a service after its death");
                }
            }
            ending = Ending::TIME_IS_UP;
        }
    }
    const auto& [records, frameSets] = client.tally();
    sendNotice(fmt::format("{} {} {} {} {}", records.received, records.lost, frameSets.received,
                           frameSets.lost, kSaidAll));
    if (records.lost > 0) {
        note(fmt::format("{} records were lost", records.lost));
    }
}

}  // namespace Soak
