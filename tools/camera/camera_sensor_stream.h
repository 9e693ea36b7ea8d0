// A stream of frame sets, which a recording keeps with their images.
#pragma once

#include <vek/sensors/camera.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "camera/camera_fields.h"
#include "sensor_stream.h"

class CameraSensorStream final : public TypedSensorStream<Vek::Sensors::FrameSet> {
  public:
    /// @param wanted keeps only frame sets with an image of this camera, and only its images;
    /// empty: all.
    CameraSensorStream(std::string name, std::shared_ptr<Vek::Sensors::ICameraProvider> provider,
                       std::shared_ptr<Vek::Sensors::ICameraStream> camera,
                       std::optional<uint32_t> wanted);

    std::vector<Recording::CameraInfo> cameras() override;
    void recordTo(Recording::Recorder& recorder, size_t number, size_t firstCamera) override;

  private:
    void keep(const Vek::Sensors::FrameSet& frameSet, std::string_view row) override;

    const std::shared_ptr<Vek::Sensors::ICameraProvider> provider_;
    const std::shared_ptr<Vek::Sensors::ICameraStream> camera_;
    const std::optional<uint32_t> wanted_;
    /// Set by recordTo().
    Vek::Sensors::CameraStreamMetadata metadata_;
    size_t firstCamera_ = 0;
};
