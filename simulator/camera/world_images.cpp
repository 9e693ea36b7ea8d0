#include "camera/world_images.h"

#include <fmt/format.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "camera/calibration.h"
#include "camera/frame_counter.h"
#include "camera/readout.h"
#include "time_units.h"

namespace Simulator {
namespace {

Lens lensOf(const CameraStreamPlan& stream, const CameraPlan& camera, uint32_t width) {
    unsigned halvings = 0;
    while (stream.width >> halvings > width) {
        ++halvings;
    }
    return camera.lens.binned(halvings);
}

Vector eyeBefore(const CameraPlan& camera) {
    return camera.mount * Vector(0, 0, kEyeCameraDistance);
}

/// Lowers the priority of the drawing thread. Drawing is nearly all of the service's work, and on a
/// busy machine it is better to miss images than samples of other sensors.
void giveWayToOtherThreads() {
    constexpr int kNice = 10;
    thread_local const int done = setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), kNice);
    static_cast<void>(done);
}

}  // namespace

WorldImages::WorldImages(const CameraSettings& settings, std::shared_ptr<const World> world,
                         std::shared_ptr<const RoomLight> lamps, android::sp<const LedService> leds)
    : hasFrameCounter_(settings.hasFrameCounter),
      world_(std::move(world)),
      lamps_(std::move(lamps)),
      leds_(std::move(leds)) {
    if (!settings.markers.empty() &&
        !(std::ofstream(settings.markers) << listOf(Room::markers())).flush()) {
        throw std::runtime_error(
            fmt::format("cannot write --markers {}: {}", settings.markers, std::strerror(errno)));
    }
}

void WorldImages::prepare(const CameraStreamPlan& stream) {
    for (const CameraPlan& camera : stream.cameras) {
        if (stream.frameType == Hidl::FrameType::EYE) {
            eyeRendererOf(stream, camera, stream.width, stream.height);
        } else {
            room();
            rendererOf(stream, camera, stream.width, stream.height);
        }
    }
}

bool WorldImages::draw(const ImageRequest& request, const PixelPlane& plane) {
    giveWayToOtherThreads();
    if (request.stream.frameType == Hidl::FrameType::EYE) {
        drawEye(request, plane);
    } else {
        drawRoom(request, plane);
    }
    if (hasFrameCounter_) {
        printFrameCounter(request, plane);
    }
    return true;
}

CalibrationTexts WorldImages::calibration(const CameraStreamPlan& stream, const CameraPlan& camera,
                                          const std::vector<std::string>& sessionData) const {
    return {factoryCalibration(stream, camera),
            deviceCalibration(camera, world_->sensors.headsetImu, sessionData)};
}

double WorldImages::brightness(int64_t worldTime) const {
    return lamps_->meanAt(toSeconds(worldTime)) / RoomLight::kUsualIlluminance;
}

const Room& WorldImages::room() {
    const std::lock_guard lock{mutex_};
    if (room_ == nullptr) {
        room_ = std::make_unique<Room>(world_->seed);
    }
    return *room_;
}

const Renderer& WorldImages::rendererOf(const CameraStreamPlan& stream, const CameraPlan& camera,
                                        uint32_t width, uint32_t height) {
    const std::lock_guard lock{mutex_};
    auto& made = renderers_[{camera.id, width}];
    if (made == nullptr) {
        made = std::make_unique<Renderer>(lensOf(stream, camera, width), width, height);
    }
    return *made;
}

const EyeRenderer& WorldImages::eyeRendererOf(const CameraStreamPlan& stream,
                                              const CameraPlan& camera, uint32_t width,
                                              uint32_t height) {
    const std::lock_guard lock{mutex_};
    auto& made = eyeRenderers_[{camera.id, width}];
    if (made == nullptr) {
        made = std::make_unique<EyeRenderer>(lensOf(stream, camera, width), width, height,
                                             camera.mount, eyeBefore(camera));
    }
    return *made;
}

/// Number of moments that are averaged for motion blur. Chosen so that the image moves by at most
/// about three pixels from one moment to the next, unless the head turns very fast.
uint32_t WorldImages::momentsOf(const ImageRequest& request) const {
    constexpr double kPixelsApart = 3;
    constexpr double kMostMoments = 3;
    constexpr double kUsualDistance = 1.5;  // in m
    if (request.stream.frameType == Hidl::FrameType::DEPTH) {
        return 1;
    }
    const Motion motion = world_->trajectory.at(request.worldTime);
    const double rate = motion.angularRate.norm() + motion.velocity.norm() / kUsualDistance;
    const double pixels = rate * static_cast<double>(request.exposure.exposureTime) * 1e-9 *
                          request.camera.lens.intrinsics[0];
    return static_cast<uint32_t>(std::clamp(std::ceil(pixels / kPixelsApart), 1.0, kMostMoments));
}

void WorldImages::drawRoom(const ImageRequest& request, const PixelPlane& plane) {
    const Room& room = this->room();
    const Renderer& renderer =
        rendererOf(request.stream, request.camera, plane.width, plane.height);
    const Readout readout(request, *lamps_, world_->seed, plane);
    const bool isColored = plane.format == Hidl::PixelFormat::RGBA_8888;
    const uint32_t moments = momentsOf(request);
    std::vector<int64_t> times;
    std::vector<Scene> scenes;
    for (uint32_t i = 0; i < moments; ++i) {
        const double part = (i + 0.5) / moments - 0.5;
        times.push_back(request.worldTime +
                        std::llround(part * static_cast<double>(request.exposure.exposureTime)));
        scenes.push_back(room.at(world_->trajectory, times.back()));
    }
    std::vector<View> views;
    for (uint32_t row = 0; row < renderer.tileRows(); ++row) {
        if (row == 0 || request.stream.rowTime > 0) {
            const int64_t late =
                exposureOfRow(request, plane, row * kTileHeight + (kTileHeight - 1) / 2.0);
            views.clear();
            for (uint32_t i = 0; i < moments; ++i) {
                const Pose headset = world_->trajectory.at(times[i] + late).pose;
                views.push_back(renderer.viewOf(scenes[i], headset * request.camera.mount));
            }
        }
        renderer.draw(row, views, isColored, [&](const Tile& tile) { readout.write(tile); });
    }
}

void WorldImages::drawEye(const ImageRequest& request, const PixelPlane& plane) {
    const bool isLeft = request.camera.id == request.stream.cameras.front().id;
    const Vector eye = eyeBefore(request.camera);
    const EyeRenderer& renderer =
        eyeRendererOf(request.stream, request.camera, plane.width, plane.height);
    // The LEDs pulse in the middle of the exposure; light outside of it does not count.
    constexpr double kUsualCharge = 20'000.0 * 400;  // in uA times us
    const double exposure = static_cast<double>(request.exposure.exposureTime) / 1000;
    std::array<float, EyeRenderer::kIlluminators> illuminators{};
    for (const LedService::Configuration& led : leds_->shining()) {
        const auto group = isLeft ? Hidl::FaceEyeTrackingLedGroup::LEFT_EYE
                                  : Hidl::FaceEyeTrackingLedGroup::RIGHT_EYE;
        if (led.group == group && led.channel < illuminators.size()) {
            const double charge = led.current * std::min<double>(led.pulseWidth, exposure);
            // Expresses the pulse's light as that of a lamp that shines during the whole exposure.
            const double usual = static_cast<double>(kAutomaticExposure.exposureTime) / 1000;
            illuminators[led.channel] =
                static_cast<float>(charge / kUsualCharge * usual / exposure);
        }
    }
    const Readout readout(request, *lamps_, world_->seed, plane);
    renderer.draw(eyeStateAt(Random(world_->seed, "eyes"), eye, request.worldTime), illuminators,
                  [&](const Tile& tile) { readout.write(tile); });
}

}  // namespace Simulator
