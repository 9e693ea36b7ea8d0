// The faults that the service has at the moment, and what they do to its calls, streams and
// controllers.
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
    /// Of all that depends on chance.
    uint64_t seed = 1;
    /// After how many records, written into any queue, the process dies.
    std::optional<uint64_t> dieAfterRecords;
};

/// What happens to one batch of records for one client.
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
    /// Of the images of a frame set, in place of their own.
    std::optional<Hidl::FrameType> frameType;
    /// Its images are drawn over those of the last frame set.
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
    /// As many at once, so that a client's calls stay cheap.
    static constexpr size_t kMaxFaults = 100;
    static constexpr std::chrono::seconds kMaxDelay{10};

    explicit Faults(FaultSettings settings);

    /// Makes a name known that faults can be for.
    void addTarget(FaultTarget kind, const std::string& name);
    /// By kinds: the calls, the streams of samples, those of frame sets, the controllers.
    std::vector<std::string> targets() const;

    /// @param error receives what is wrong
    /// @return the number that it can be cleared by; 0 if there is no such target, or no room
    uint32_t set(const Fault& fault, std::string* error);
    /// @return whether it was there
    bool clear(uint32_t number);
    void clearAll();

    /// A line for each: number, text, how often it came.
    std::vector<std::string> active() const;
    /// The same of all that there were, for the end.
    std::vector<std::string> account() const;

    /// Waits if a fault has the call do so. @param call "Interface.method"
    /// @return what the call is to answer; SUCCESS: as it would
    Hidl::Result beginCall(const std::string& call, int process);
    StreamEffects onBatch(const std::string& stream, int process);
    ControllerEffects onController(const std::string& controller);
    /// From 0 to 1; the same for the same record of a stream in every run with the seed.
    double chance(const std::string& stream, uint64_t record) const;

    /// Kills the process when the records are enough.
    void countWritten(uint64_t records);

    /// Lets calls that hang go on, for good.
    void stop();

  private:
    struct Active {
        uint32_t number;
        Fault fault;
        uint64_t seen = 0;
        uint64_t taken = 0;
        /// At how many times to log; doubled each time, so that the log stays short.
        uint64_t nextLine = 1;
        /// It comes no more.
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
    /// Whether there are any: streams ask for each batch.
    std::atomic<bool> isAny_{false};
    mutable std::mutex mutex_;  // guards all below
    std::condition_variable changed_;
    std::multimap<FaultTarget, std::string> targets_;
    std::vector<Active> faults_;
    uint32_t nextNumber_ = 1;
    bool isStopped_ = false;
};

/// Ends the process as a crash would, without any clean-up. With a time, another process of the
/// same number and the same options takes its place after that.
[[noreturn]] void die(std::optional<std::chrono::nanoseconds> back = std::nullopt,
                      const std::vector<std::string>& options = {});

}  // namespace Simulator
