// See world_images.h.
#include "camera/world_images.h"

#include <fmt/format.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include "camera/calibration.h"
#include "camera/frame_counter.h"
#include "camera/readout.h"
#include "time_units.h"

namespace Simulator {
namespace {

Lens lensOf(const ImageRequest& request, const PixelPlane& plane) {
    unsigned halvings = 0;
    while (request.stream.width >> halvings > plane.width) {
        ++halvings;
    }
    return request.camera.lens.binned(halvings);
}

/// Drawing is nearly all of the service's work. On a busy machine, images may be missed rather than
/// samples of the other sensors, which take next to no time.
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

bool WorldImages::draw(const ImageRequest& request, const PixelPlane& plane) {
    giveWayToOtherThreads();
    if (request.stream.frameType == Hal::FrameType::EYE) {
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

/// How many moments of the exposure make its motion blur: none moves the image by much more than
/// three pixels from the one before, unless the head turns very fast.
uint32_t WorldImages::momentsOf(const ImageRequest& request) const {
    constexpr double kPixelsApart = 3;
    constexpr double kMostMoments = 3;
    constexpr double kUsualDistance = 1.5;  // in m
    if (request.stream.frameType == Hal::FrameType::DEPTH) {
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
    const Renderer* renderer;
    {
        const std::lock_guard lock{mutex_};
        auto& made = renderers_[{request.camera.id, plane.width}];
        if (made == nullptr) {
            made = std::make_unique<Renderer>(lensOf(request, plane), plane.width, plane.height);
        }
        renderer = made.get();
    }
    const Readout readout(request, *lamps_, world_->seed, plane);
    const bool isColored = plane.format == Hal::PixelFormat::RGBA_8888;
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
    for (uint32_t row = 0; row < renderer->tileRows(); ++row) {
        if (row == 0 || request.stream.rowTime > 0) {
            const int64_t late =
                exposureOfRow(request, plane, row * kTileHeight + (kTileHeight - 1) / 2.0);
            views.clear();
            for (uint32_t i = 0; i < moments; ++i) {
                const Pose headset = world_->trajectory.at(times[i] + late).pose;
                views.push_back(renderer->viewOf(scenes[i], headset * request.camera.mount));
            }
        }
        renderer->draw(row, views, isColored, [&](const Tile& tile) { readout.write(tile); });
    }
}

void WorldImages::drawEye(const ImageRequest& request, const PixelPlane& plane) {
    const bool isLeft = request.camera.id == request.stream.cameras.front().id;
    const Vector eye = request.camera.mount * Vector(0, 0, kEyeCameraDistance);
    const EyeRenderer* renderer;
    {
        const std::lock_guard lock{mutex_};
        auto& made = eyeRenderers_[{request.camera.id, plane.width}];
        if (made == nullptr) {
            made = std::make_unique<EyeRenderer>(lensOf(request, plane), plane.width, plane.height,
                                                 request.camera.mount, eye);
        }
        renderer = made.get();
    }
    // In pulses in the middle of the exposure, as long as it lasts.
    constexpr double kUsualCharge = 20'000.0 * 400;  // in uA times us
    const double exposure = static_cast<double>(request.exposure.exposureTime) / 1000;
    std::array<float, EyeRenderer::kIlluminators> illuminators{};
    for (const LedService::Configuration& led : leds_->shining()) {
        const auto group = isLeft ? Hal::FaceEyeTrackingLedGroup::LEFT_EYE
                                  : Hal::FaceEyeTrackingLedGroup::RIGHT_EYE;
        if (led.group == group && led.channel < illuminators.size()) {
            const double charge = led.current * std::min<double>(led.pulseWidth, exposure);
            // Light of an exposure is counted as that of lamps is, which shine all the time.
            const double usual = static_cast<double>(kAutomaticExposure.exposureTime) / 1000;
            illuminators[led.channel] =
                static_cast<float>(charge / kUsualCharge * usual / exposure);
        }
    }
    const Readout readout(request, *lamps_, world_->seed, plane);
    renderer->draw(eyeStateAt(Random(world_->seed, "eyes"), eye, request.worldTime), illuminators,
                   [&](const Tile& tile) { readout.write(tile); });
}

}  // namespace Simulator
