// The current faults of the service, and their effects on calls, streams and controllers.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "fault.h"
#include "hal.h"

namespace Simulator {

struct FaultSettings {
    /// Seed for everything that depends on chance.
    uint64_t seed = 1;
    /// The process dies after this many records were written, in all queues together.
    std::optional<uint64_t> dieAfterRecords;
};

/// Effects of faults on one batch of records for one client.
struct StreamEffects {
    bool isAny = false;
    bool isStopped = false;
    bool isStuck = false;
    bool isNotANumber = false;
    bool isWrapped = false;
    bool isCorrupt = false;
    double dropShare = 0;
    std::chrono::nanoseconds delay{0};
    std::optional<double> limit;
    std::chrono::nanoseconds jump{0};
    /// Frame type that replaces that of the images.
    std::optional<Hidl::FrameType> frameType;
    /// Whether its images are drawn over those of the last frame set.
    bool isBufferReused = false;
};

struct ControllerEffects {
    bool isDisconnected = false;
    bool isAsleep = false;
    bool isFlat = false;
    bool isOutOfReach = false;

    bool isCutOff() const { return isDisconnected || isAsleep || isOutOfReach; }
};

/// Threading: every method may be called from any thread.
class Faults {
  public:
    /// Maximum number of active faults, so that calls stay cheap.
    static constexpr size_t kMaxFaults = 100;
    static constexpr std::chrono::seconds kMaxDelay{10};

    explicit Faults(FaultSettings settings);

    /// Adds a name that faults can have as their target.
    void addTarget(FaultTarget kind, const std::string& name);
    /// All targets, ordered by kind: calls, streams of samples, streams of frame sets, controllers.
    std::vector<std::string> targets() const;

    /// @param error receives an error message
    /// @return the number by which it can be cleared; 0 if there is no such target, or too many
    /// faults
    uint32_t set(const Fault& fault, std::string* error);
    /// @return whether there was such a fault
    bool clear(uint32_t number);
    void clearAll();

    /// A line for each active fault: number, text, how often it took effect.
    std::vector<std::string> active() const;
    /// The same for all faults since the start, for the summary.
    std::vector<std::string> account() const;

    /// Applies faults to a call; waits if one delays it. @param call "Interface.method"
    /// @return the error that the call must return; SUCCESS if it must proceed normally
    Hidl::Result beginCall(const std::string& call, int process);
    StreamEffects onBatch(const std::string& stream, int process);
    ControllerEffects onController(const std::string& controller);
    /// A random number from 0 to 1 that depends only on the seed, the stream and the record.
    double chance(const std::string& stream, uint64_t record) const;

    /// Counts records, and kills the process when dieAfterRecords is reached.
    void countWritten(uint64_t records);

    /// Releases calls that hang, permanently.
    void stop();

  private:
    struct Active {
        uint32_t number;
        Fault fault;
        uint64_t seen = 0;
        uint64_t taken = 0;
        /// Number of times at which to log next; doubled each time, so that the log stays short.
        uint64_t nextLine = 1;
        /// Takes effect no more, but is not over for a call that hangs.
        bool isSpent = false;
        bool isOver = false;
    };

    bool hasTargetLocked(const Fault& fault) const;
    bool takeLocked(Active* active, int process);
    template <typename Action>
    void forEachTaken(FaultTarget target, const std::string& name, int process,
                      const Action& action);
    static std::string describe(const Active& active);

    const FaultSettings settings_;
    std::atomic<uint64_t> recordsWritten_{0};
    /// Whether there is any fault; lets streams skip the lock for each batch.
    std::atomic<bool> isAny_{false};
    mutable std::mutex mutex_;  // guards all below
    std::condition_variable changed_;
    std::multimap<FaultTarget, std::string> targets_;
    std::vector<Active> faults_;
    uint32_t nextNumber_ = 1;
    bool isStopped_ = false;
};

/// Ends the process like a crash, without clean-up. If `back` is given, the service returns after
/// that time, with the same process number and options.
[[noreturn]] void die(std::optional<std::chrono::nanoseconds> back = std::nullopt,
                      const std::vector<std::string>& options = {});

}  // namespace Simulator
