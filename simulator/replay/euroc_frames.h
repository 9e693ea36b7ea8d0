// Makes frame sets from the cameras of a EuRoC data set, which has none.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "hal.h"
#include "recording/reader.h"
#include "replay/player.h"

namespace Simulator {

/// Images with the same time stamp form a frame set. A camera without an image of that time has
/// frame type NOT_RECEIVED.
class EurocFrames final : public PlayedRecords {
  public:
    /// @param files images of the frame set, by camera; empty where none was received
    using Deliver = std::function<void(const Hidl::FrameSet& frameSet,
                                       const std::vector<std::filesystem::path>& files)>;

    /// Throws Recording::Error.
    EurocFrames(const Recording::Reader& recording,
                const std::vector<Recording::CameraInfo>& cameras, Deliver deliver);

    std::optional<int64_t> time() const override { return time_; }
    void advance() override;
    void rewind() override;
    void deliver(int64_t shift, bool isFirst) override;

  private:
    struct Camera {
        Recording::CameraInfo info;
        Recording::ImageCursor images;
        /// Time of the camera's next image; empty at the end.
        std::optional<int64_t> time;
    };

    void advance(Camera* camera) const;

    const Recording::Reader& recording_;
    const Deliver deliver_;
    std::vector<Camera> cameras_;
    std::optional<int64_t> time_;
    std::vector<std::filesystem::path> files_;
    uint32_t sequence_ = 0;
};

}  // namespace Simulator
