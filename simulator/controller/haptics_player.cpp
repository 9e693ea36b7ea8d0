#include "controller/haptics_player.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace Simulator {
namespace {

constexpr double kPcmSampleRate = 2000;     // Hz
constexpr double kMinSampleRate = 1e-3;     // Hz
constexpr double kMaxSampleRate = 8000;     // Hz
constexpr uint32_t kBufferCapacity = 4096;  // samples
constexpr float kActuatorFrequency = 160;   // Hz, the resonance of the moving mass
constexpr float kFullScale = 255;

}  // namespace

void HapticsPlayer::restart(Mode mode, Time now) {
    mode_ = mode;
    segments_.clear();
    frontBegin_ = now;
    hasSamples_ = false;
}

void HapticsPlayer::vibrate(uint8_t intensity, Time now) {
    restart(Mode::SIMPLE, now);
    if (intensity > 0) {
        segments_.push_back({{}, static_cast<float>(intensity) / kFullScale, 0, true});
    }
    ++record_.commands;
    isCommanded_ = true;
}

void HapticsPlayer::playPattern(const std::array<Hidl::SimpleHapticIntensity, kSteps>& steps,
                                Time now) {
    restart(Mode::SIMPLE, now);
    for (const Hidl::SimpleHapticIntensity& step : steps) {
        segments_.push_back({step.duration * std::chrono::milliseconds{10},
                             static_cast<float>(step.intensity) / kFullScale, 0, false});
    }
    ++record_.commands;
    isCommanded_ = true;
}

bool HapticsPlayer::playBuffer(double sampleRate, bool repeat, const std::vector<uint8_t>& samples,
                               Time now) {
    // Written so that NaN is refused.
    if (!(sampleRate >= kMinSampleRate && sampleRate <= kMaxSampleRate)) {
        ++record_.refused;
        return false;
    }
    restart(Mode::BUFFER, now);
    sampleRate_ = sampleRate;
    record_.bufferedSamples += samples.size();
    return append(samples, repeat, now);
}

bool HapticsPlayer::appendBuffer(const std::vector<uint8_t>& samples, Time now) {
    if (mode_ != Mode::BUFFER) {
        ++record_.refused;
        return false;
    }
    const bool fits = append(samples, false, now);
    record_.bufferedSamples += fits ? samples.size() : 0;
    return fits;
}

bool HapticsPlayer::appendPcm(const std::vector<int8_t>& samples, Time now) {
    if (samples.size() != kPcmFrame) {
        ++record_.refused;
        return false;
    }
    if (mode_ != Mode::PCM) {
        restart(Mode::PCM, now);
        sampleRate_ = kPcmSampleRate;
    }
    std::vector<uint8_t> intensities;
    for (const int8_t sample : samples) {
        intensities.push_back(static_cast<uint8_t>(std::min(2 * std::abs(sample), 255)));
    }
    const bool fits = append(intensities, false, now);
    record_.pcmFrames += fits ? 1 : 0;
    return fits;
}

bool HapticsPlayer::append(const std::vector<uint8_t>& intensities, bool repeat, Time now) {
    dropPlayed(now);
    const auto count = static_cast<uint32_t>(intensities.size());
    if (bufferedSamples(now) + count > kBufferCapacity) {
        ++record_.refused;
        return false;
    }
    ++record_.commands;
    isCommanded_ = true;
    if (intensities.empty()) {
        return true;
    }
    if (segments_.empty()) {
        // If earlier samples have been played to their end, this is an underrun.
        isUnderrun_ = hasSamples_;
        frontBegin_ = now;
    }
    hasSamples_ = true;
    const auto peak = *std::max_element(intensities.begin(), intensities.end());
    const std::chrono::duration<double> duration{count / sampleRate_};
    segments_.push_back({std::chrono::duration_cast<std::chrono::nanoseconds>(duration),
                         static_cast<float>(peak) / kFullScale, count, repeat});
    return true;
}

void HapticsPlayer::dropPlayed(Time now) {
    while (!segments_.empty() && !segments_.front().isEndless &&
           frontBegin_ + segments_.front().duration <= now) {
        frontBegin_ += segments_.front().duration;
        segments_.pop_front();
    }
}

uint32_t HapticsPlayer::bufferedSamples(Time now) const {
    uint32_t samples = 0;
    for (const Segment& segment : segments_) {
        samples += segment.samples;
    }
    if (!segments_.empty() && !segments_.front().isEndless && segments_.front().samples > 0) {
        const std::chrono::duration<double> played = now - frontBegin_;
        samples -= std::min(segments_.front().samples,
                            static_cast<uint32_t>(played.count() * sampleRate_));
    }
    return samples;
}

bool HapticsPlayer::takeChange(Time now, Hidl::HapticsState* state) {
    using Activity = Hidl::HapticsActivity;
    dropPlayed(now);
    const Activity activity = isUnderrun_         ? Activity::UNDERRUN
                              : segments_.empty() ? Activity::IDLE
                                                  : Activity::PLAYING;
    const float amplitude = segments_.empty() ? 0 : segments_.front().amplitude;
    const bool isChange = isCommanded_ || activity != lastActivity_ || amplitude != lastAmplitude_;
    isUnderrun_ = false;
    isCommanded_ = false;
    lastActivity_ = activity;
    lastAmplitude_ = amplitude;
    state->amplitude = amplitude;
    state->frequency = segments_.empty() ? 0 : kActuatorFrequency;
    state->bufferedSamples = bufferedSamples(now);
    state->activity = activity;
    return isChange;
}

}  // namespace Simulator
