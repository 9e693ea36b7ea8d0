// Takes the headset's cameras through three exposures, and prints how bright the left image is.
#include <vek/sensors/factories.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <numeric>

using namespace Vek::Sensors;

namespace {

/// The mean of an image's pixels; -1 if there is none. All that a frame set says is the service's
/// word, so nothing is read before it is checked.
double brightness(const FrameSet& frameSet, const CameraStreamMetadata& metadata) {
    if (frameSet.numFrames == 0 || metadata.cameras.empty()) {
        return -1;
    }
    const CameraFrame& frame = frameSet.frames[0];
    const auto& buffers = metadata.cameras[0].buffers;
    if (frame.frameType != FrameType::HEADSET || frame.pixelFormat != PixelFormat::GREY_8 ||
        frame.bufferIndex >= buffers.size()) {
        return -1;
    }
    const auto pixels = buffers[frame.bufferIndex]->pixels();
    if (frame.width == 0 || frame.height == 0 || frame.stride < frame.width ||
        uint64_t{frame.stride} * frame.height > pixels.size()) {
        return -1;
    }
    uint64_t sum = 0;
    for (size_t row = 0; row < frame.height; ++row) {
        const auto* const begin = reinterpret_cast<const uint8_t*>(&pixels[row * frame.stride]);
        sum = std::accumulate(begin, begin + frame.width, sum);
    }
    return static_cast<double>(sum) / (double{1} * frame.width * frame.height);
}

}  // namespace

int main() {
    const auto provider = createCameraProvider();
    const auto cameras =
        provider == nullptr ? nullptr : provider->getStream(FrameType::HEADSET, "camera_client");
    if (cameras == nullptr) {
        std::fprintf(stderr, "no camera service is running\n");
        return 1;
    }
    const CameraStreamMetadata metadata = cameras->getMetadata();
    const auto composite = createStreamCompositor()->createCompositeStream("cameras");
    uint64_t wanted = 0;
    bool isSeen = false;
    // The images are the client's until the function returns.
    cameras->stream().setCallbackv([&](auto spans) {
        for (const auto& span : spans) {
            for (const FrameSet& frameSet : span) {
                // The settings take a few frames to get through.
                if (!isSeen && frameSet.frames[0].exposureTime == wanted) {
                    std::printf("%.1f ms: brightness %.1f\n", static_cast<double>(wanted) * 1e-6,
                                brightness(frameSet, metadata));
                    isSeen = true;
                }
            }
        }
    });
    cameras->stream().addTo(*composite);
    cameras->startOverridingExposureSettings();
    cameras->start();
    for (const uint64_t exposure : {1'000'000, 2'000'000, 4'000'000}) {
        ExposureGainSettings settings{};
        settings.numCameras = static_cast<uint32_t>(metadata.cameras.size());
        settings.cameras.fill({exposure, 1, 1});
        cameras->setExposureGain(settings);
        wanted = exposure;
        isSeen = false;
        while (!isSeen) {
            composite->wait();
        }
    }
    cameras->stop();
    cameras->stopOverridingExposureSettings();
}
