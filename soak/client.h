// A client of the service, as a process that a trial starts.
#pragma once

#include <csignal>
#include <cstdint>
#include <optional>
#include <string>

namespace Soak {

// Signals to a client.
constexpr int kStop = SIGUSR1;
constexpr int kServiceChanged = SIGHUP;  // the service has died, or a new one runs

/// Blocks the signals above in this process and its children, because a client may be signalled
/// before it waits for them.
void blockWhatIsTold();

// Notices of a client, see ChildProcess::awaitNotice.
constexpr char kIdle[] = "idle.";
constexpr char kStreaming[] = "streaming.";
constexpr char kIgnored[] = "ignored.";     // the death of its service
constexpr char kSaidAll[] = "that's all.";  // after what it received

/// Lines that a client writes to standard error.
constexpr char kPhase[] = "phase: ";
constexpr char kNoService[] = "no service";

constexpr char kNobody[] = "nobody";

struct ClientPlan {
    /// Areas that it uses, separated by commas: motion, cameras, controllers, environment.
    std::string areas;
    /// Its KivraRpc client id; only one process at a time may use an id.
    std::string rpcClient = kNobody;
    /// Samples of a motion sensor that come together.
    uint32_t motionBatch = 1;
    /// Frame rate of the cameras in Hz: 15, 30, 60 or 90.
    uint32_t frameRate = 60;
    /// Argument of its call of suppressTransportCrashDumps; empty: no call.
    std::optional<bool> suppressesDumps;
    bool suppressesThemLater = false;
    /// Makes control calls while it receives, and repeats its life cycle.
    bool isBusy = false;
    /// Survives the deaths of services, and uses each new one when it is signalled.
    bool outlivesServices = false;
    uint32_t seed = 0;
};

/// As an argument of this program.
std::string textOf(const ClientPlan& plan);
ClientPlan planFrom(const std::string& text);

/// Runs a client. Writes each phase of its life, and errors, to standard error. At kStop it
/// receives once more from each stream, reports the total numbers of received and lost records and
/// frame sets, and ends.
void runClient(const ClientPlan& plan);

}  // namespace Soak
