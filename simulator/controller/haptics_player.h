// What one simulated controller's haptic actuator plays, and what it was ever sent.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <vector>

#include "hal.h"

namespace Simulator {

/// What arrived since the service began.
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

    /// Ends what plays. No command of a client.
    void stop(Time now) { restart(Mode::SIMPLE, now); }

    /// Until the next command; 0 ends what plays.
    void vibrate(uint8_t intensity, Time now);
    void playPattern(const std::array<Hidl::SimpleHapticIntensity, kSteps>& steps, Time now);

    /// In place of what plays. The next four: @return false if it is refused
    bool playBuffer(double sampleRate, bool repeat, const std::vector<uint8_t>& samples, Time now);
    /// Behind the samples of a buffer, even if they have been played.
    bool appendBuffer(const std::vector<uint8_t>& samples, Time now);
    /// Behind the frames before, or in place of anything else.
    bool appendPcm(const std::vector<int8_t>& samples, Time now);

    /// The state of now, if it is not the one of the last call. The fields of the controller and of
    /// the time are the caller's.
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
