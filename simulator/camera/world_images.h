// The images of the simulated world.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "camera/camera_settings.h"
#include "camera/image_source.h"
#include "environment/led_service.h"
#include "environment/room_light.h"
#include "world/eye.h"
#include "world/renderer.h"
#include "world/room.h"
#include "world/world.h"

namespace Simulator {

/// Renderers are expensive. They are made when a stream is prepared, or when the first image of
/// another resolution is drawn.
class WorldImages : public ImageSource {
  public:
    /// Throws std::runtime_error if a file of the settings cannot be written.
    /// @param leds the illuminators of the eyes
    WorldImages(const CameraSettings& settings, std::shared_ptr<const World> world,
                std::shared_ptr<const RoomLight> lamps, android::sp<const LedService> leds);

    void prepare(const CameraStreamPlan& stream) override;
    bool draw(const ImageRequest& request, const PixelPlane& plane) override;
    CalibrationTexts calibration(const CameraStreamPlan& stream, const CameraPlan& camera,
                                 const std::vector<std::string>& sessionData) const override;
    double brightness(int64_t worldTime) const override;

  private:
    template <typename Type>
    using Cache = std::map<std::pair<uint32_t, uint32_t>, std::unique_ptr<const Type>>;

    const Room& room();
    const Renderer& rendererOf(const CameraStreamPlan& stream, const CameraPlan& camera,
                               uint32_t width, uint32_t height);
    const EyeRenderer& eyeRendererOf(const CameraStreamPlan& stream, const CameraPlan& camera,
                                     uint32_t width, uint32_t height);
    void drawRoom(const ImageRequest& request, const PixelPlane& plane);
    void drawEye(const ImageRequest& request, const PixelPlane& plane);
    uint32_t momentsOf(const ImageRequest& request) const;

    const bool hasFrameCounter_;
    const std::shared_ptr<const World> world_;
    const std::shared_ptr<const RoomLight> lamps_;
    const android::sp<const LedService> leds_;
    std::mutex mutex_;  // guards the renderers below
    std::unique_ptr<const Room> room_;
    // By camera and width.
    Cache<Renderer> renderers_;
    Cache<EyeRenderer> eyeRenderers_;
};

}  // namespace Simulator
