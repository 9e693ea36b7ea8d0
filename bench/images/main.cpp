// Measures what drawing the simulated cameras' images costs.
//
// usage: bench-images [--quick]
#include <time.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "camera/exposure_control.h"
#include "camera/world_images.h"
#include "report.h"

namespace Bench {
namespace {

using namespace Simulator;

/// What all cameras together may take of a processor.
constexpr double kBudget = 0.6;

/// In s, of this thread.
double processorTime() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// @param frames spread over the first minute of the wearer's way
/// @return in s, for a frame
double costOf(WorldImages& images, const CameraStreamPlan& stream, const CameraPlan& camera,
              uint32_t frames) {
    const ImageGeometry geometry = geometryOf(stream, Hidl::Resolution::FULL);
    std::vector<uint8_t> pixels(size_t{geometry.stride} * geometry.height);
    const PixelPlane plane{pixels.data(), stream.pixelFormat, geometry.width, geometry.height,
                           geometry.stride};
    double begin = 0;
    // The first is not counted: what is expensive is made with it.
    for (uint32_t i = 0; i <= frames; ++i) {
        const int64_t time = int64_t{60'000'000'000} * i / frames;
        images.draw({stream, camera, i, time, kAutomaticExposure}, plane);
        begin = i == 0 ? processorTime() : begin;
    }
    return (processorTime() - begin) / frames;
}

void run(bool isQuick) {
    const uint32_t frames = isQuick ? 4 : 240;
    WorldImages images(CameraSettings{}, std::make_shared<World>(WorldSettings{}),
                       std::make_shared<RoomLight>(100, RoomLight::kUsualIlluminance),
                       new LedService);
    beginTable("Images of the simulated cameras, at their own rates and automatic exposure",
               "measured", "budget");
    double all = 0;
    for (const CameraStreamPlan& stream : cameraStreamPlans()) {
        for (const CameraPlan& camera : stream.cameras) {
            const double cost = costOf(images, stream, camera, frames);
            const double share = cost * static_cast<uint32_t>(stream.frameRate);
            all += share;
            addRow(camera.name, "ns/pixel", cost * 1e9 / (stream.width * stream.height));
            addRow(camera.name, "processors", share);
        }
    }
    addRow("all cameras", "processors", all, kBudget, ratioOf(1));
}

}  // namespace
}  // namespace Bench

int main(int argc, char** argv) {
    Bench::run(argc > 1 && std::strcmp(argv[1], "--quick") == 0);
    return 0;
}
