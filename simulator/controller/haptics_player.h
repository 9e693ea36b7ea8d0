// Plays the haptic commands of one simulated controller and counts them.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <vector>

#include "hal.h"

namespace Simulator {

/// Counts of haptic commands since the service started.
struct HapticsRecord {
    uint64_t commands = 0;
    uint64_t bufferedSamples = 0;
    uint64_t pcmFrames = 0;
    uint64_t refused = 0;
};

/// Plays segments of one amplitude each, one after the other.
///
/// Threading: one thread at a time.
class HapticsPlayer {
  public:
    using Time = std::chrono::steady_clock::time_point;

    static constexpr size_t kPcmFrame = 72;
    static constexpr size_t kSteps = 6;

    /// Stops playing. Does not count as a command.
    void stop(Time now) { restart(Mode::SIMPLE, now); }

    /// Vibrates until the next command; 0 stops.
    void vibrate(uint8_t intensity, Time now);
    void playPattern(const std::array<Hidl::SimpleHapticIntensity, kSteps>& steps, Time now);

    /// Replaces what plays. This and the next three: @return false if the command is refused
    bool playBuffer(double sampleRate, bool repeat, const std::vector<uint8_t>& samples, Time now);
    /// Appends to the samples of a buffer, even if those have been played already.
    bool appendBuffer(const std::vector<uint8_t>& samples, Time now);
    /// Appends to earlier PCM frames; replaces anything else that plays.
    bool appendPcm(const std::vector<int8_t>& samples, Time now);

    /// Gets the state if it has changed since the last call. The caller fills in controller and
    /// time. @return whether it has changed
    bool takeChange(Time now, Hidl::HapticsState* state);

    bool isPlaying() const { return !segments_.empty(); }
    const HapticsRecord& record() const { return record_; }

  private:
    enum class Mode { SIMPLE, BUFFER, PCM };
    struct Segment {
        std::chrono::nanoseconds duration;
        float amplitude;
        uint32_t samples;
        bool isEndless;
    };

    void restart(Mode mode, Time now);
    void dropPlayed(Time now);
    bool append(const std::vector<uint8_t>& intensities, bool repeat, Time now);
    uint32_t bufferedSamples(Time now) const;

    Mode mode_ = Mode::SIMPLE;
    double sampleRate_ = 0;
    std::deque<Segment> segments_;
    Time frontBegin_{};
    bool hasSamples_ = false;
    bool isUnderrun_ = false;
    bool isCommanded_ = false;
    Hidl::HapticsActivity lastActivity_ = Hidl::HapticsActivity::IDLE;
    float lastAmplitude_ = 0;
    HapticsRecord record_;
};

}  // namespace Simulator
