// The stream of one kind of cameras: draws images and hands frame sets out to the clients.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IFrameConfigCallback.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "camera/camera_plan.h"
#include "camera/exposure_control.h"
#include "camera/frame_set_client.h"
#include "camera/image_buffers.h"
#include "camera/image_source.h"
#include "faults.h"
#include "sampler.h"

namespace Simulator {

/// Registers clients like a StreamServer. All clients see the same images. A buffer is reused when
/// no client holds a frame set that names it.
///
/// Threading: frame sets on the sampler's thread, everything else on HIDL threads.
class FrameSetServer : public StreamRegister<FrameSetClient> {
  public:
    /// Fewer than for other streams: each client needs image memory, and all of that is shared with
    /// every client.
    static constexpr size_t kMaxClients = 8;
    static constexpr size_t kMaxCallbacks = 16;
    /// Enough for every client to hold its maximum, plus one to draw into.
    static constexpr size_t kBuffers = kMaxClients * FrameSetLedger::kMaxOutstanding + 1;

    /// @param source draws the images
    FrameSetServer(const CameraStreamPlan& plan, std::shared_ptr<ImageSource> source,
                   std::shared_ptr<Faults> faults, std::shared_ptr<WorldClock> clock);

    const CameraStreamPlan& plan() const { return plan_; }
    const ImageSource& source() const { return *source_; }

    /// Sets a function that is called, under the server's lock, when the first client starts and
    /// when the last one stops. With it, frame sets come from play() instead of from the sampler.
    /// Call this once, before there are clients.
    void onListened(std::function<void(bool isListened)> function) {
        onListened_ = std::move(function);
    }
    /// Has the source draw the images of a frame set and hands it out. Call it from one thread at a
    /// time.
    /// @param frameSet complete except for the buffer, size and format of its images; a frame
    /// without an image has frame type NOT_RECEIVED or INVALID
    void play(Hidl::FrameSet frameSet);

    /// Whether there was memory for the images.
    bool isValid() const;

    /// Takes the client's queue; the stream is then stopped. @return null if it is refused
    std::shared_ptr<const FrameSetClient> prepare(const ClientIdentity& identity,
                                                  const FrameSetClient::Queue::Descriptor& queue,
                                                  const Hidl::FmqConfig& config);

    /// @return BAD_STATE unless the client's stream is prepared and stopped
    Hidl::Result addCallback(const ClientIdentity& identity,
                             const android::sp<Hidl::IFrameConfigCallback>& callback);
    std::vector<android::sp<Hidl::IFrameConfigCallback>> callbacks() const;

    /// Calls `action` for a client, under the lock. @return BAD_STATE if its stream is not prepared
    Hidl::Result overrideExposure(
        const ClientIdentity& identity,
        const std::function<Hidl::Result(ExposureControl::Claimant client)>& action) const;
    ExposureControl& exposure() { return exposure_; }

    Hidl::CameraStreamMetadata metadata() const;
    Hidl::CameraStreamConfiguration configuration() const;

    // These return FAILURE for unknown enumeration values.
    Hidl::Result setResolutions(const std::vector<Hidl::Resolution>& resolutions);
    Hidl::Result setSyncMode(Hidl::CameraSyncMode mode);
    Hidl::Result setFrameRate(Hidl::FrameRate rate);
    void setPhaseOffset(uint64_t offset);
    /// Switches all frame sets of the stream on or off.
    void setEnabled(bool isEnabled);

    /// @param header of the mux state
    /// @param since when the state takes effect: CLOCK_MONOTONIC, in ns
    /// @param isServed whether the mode serves the stream's purpose
    void setMux(uint32_t header, int64_t since, bool isServed);

    /// Stops handing out frame sets, permanently, and collects those that clients have returned.
    void stop();

    FrameSetCounts counts() const;
    /// A line for the user.
    std::string summary() const;

  private:
    struct Mux {
        uint32_t header = 0;
        int64_t since = 0;
        bool isServed = true;
    };

    bool isPlayedBack() const { return onListened_ != nullptr; }
    void deliver(const Batch& batch);
    bool isTooSoonLocked(const Batch& batch);
    bool beginLocked(const Batch& batch, Hidl::FrameSet* frameSet);
    uint32_t takeBufferLocked();
    uint32_t freeBufferLocked() const;
    void draw(const Batch& batch, Hidl::FrameSet* frameSet);
    std::chrono::nanoseconds exposureToArrival() const;
    int64_t worldTimeOf(const Batch& batch) const;
    bool awaitRoom();
    void handOut(const Hidl::FrameSet& frameSet);

    void onReplaceLocked(FrameSetClient& former, FrameSetClient& successor) override {
        successor.callbacks = former.callbacks;
    }
    void onRemovedLocked(FrameSetClient& client) override;
    void onChangeLocked() override;
    void onRelease(FrameSetClient& client, const char* reason) override;

    const CameraStreamPlan plan_;
    const std::shared_ptr<ImageSource> source_;
    const std::shared_ptr<Faults> faults_;
    const std::shared_ptr<WorldClock> clock_;
    std::vector<std::unique_ptr<ImageBuffers>> images_;  // by camera
    std::function<void(bool isListened)> onListened_;
    ExposureControl exposure_;
    // The register's lock guards everything below but the sampler.
    uint64_t clientsSoFar_ = 0;
    FrameSetCounts countsOfFormerClients_;
    std::vector<Hidl::Resolution> resolutions_;  // by camera
    Hidl::CameraSyncMode syncMode_ = Hidl::CameraSyncMode::FREE_RUNNING;
    Hidl::FrameRate frameRate_;
    uint64_t phaseOffset_ = 0;
    bool isEnabled_ = true;
    Mux mux_;
    Mux nextMux_;
    uint32_t nextSequence_ = 0;
    WorldClock::Time lastFrameSet_;
    uint32_t lastBuffer_ = 0;
    /// Recipients of the frame set that is being drawn, with the faults for each.
    std::vector<std::pair<ClientPointer, StreamEffects>> recipients_;
    uint64_t tooSoon_ = 0;
    std::atomic<bool> isEnding_{false};
    Sampler sampler_;  // the last: its thread uses all of the others
};

}  // namespace Simulator
