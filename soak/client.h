// A client of the service, as a process that a trial starts.
#pragma once

#include <csignal>
#include <cstdint>
#include <optional>
#include <string>

namespace Soak {

// Options of a client.
constexpr int kStop = SIGUSR1;
constexpr int kServiceChanged = SIGHUP;  // it is dead, or there is a new one

/// Of this process and those that it starts: a client may be told before it has begun to listen.
void blockWhatIsTold();

// What a client says: see ChildProcess::awaitNotice.
constexpr char kIdle[] = "idle.";
constexpr char kStreaming[] = "streaming.";
constexpr char kIgnored[] = "ignored.";     // the death of its service
constexpr char kSaidAll[] = "that's all.";  // after what it received

/// Of what a client writes to standard error.
constexpr char kPhase[] = "phase: ";
constexpr char kNoService[] = "no service";

constexpr char kNobody[] = "nobody";

struct ClientPlan {
    /// What it uses, with commas between: motion, cameras, controllers, environment.
    std::string areas;
    /// The KivraRpc client that it is, of which there is one at a time.
    std::string rpcClient = kNobody;
    /// Samples of a motion sensor that come together.
    uint32_t motionBatch = 1;
    /// Of the cameras, in Hz: 15, 30, 60 or 90.
    uint32_t frameRate = 60;
    /// What it says to suppressTransportCrashDumps, if anything, before it has objects or later.
    std::optional<bool> suppressesDumps;
    bool suppressesThemLater = false;
    /// Makes control calls while it receives, and goes through its life over and over.
    bool isBusy = false;
    /// Waits to be told of each service, and survives its death.
    bool outlivesServices = false;
    uint32_t seed = 0;
};

/// As an argument of this program.
std::string textOf(const ClientPlan& plan);
ClientPlan planFrom(const std::string& text);

/// Writes each phase of its life to standard error, and what is wrong. Ends when it is told so,
/// having received once more from each stream, and says then how many records came and were lost in
/// sum, and how many frame sets.
void runClient(const ClientPlan& plan);

}  // namespace Soak
