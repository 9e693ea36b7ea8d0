// sensorctl capture
#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "camera/camera_access.h"
#include "camera/camera_names.h"
#include "camera/picture.h"
#include "commands.h"
#include "failure.h"
#include "output.h"
#include "table.h"
#include "waiter.h"

using namespace Vek::Sensors;

namespace {

struct CaptureOptions {
    /// A number or a name.
    std::string camera;
    std::string file;
    /// In ms; empty: exposure and gain stay automatic.
    std::optional<double> exposureTime;
    float gain = 1;
};

struct Camera {
    uint32_t id;
    std::string name;
    std::unique_ptr<ICameraStream> stream;
    /// Index of its frame in the frame sets.
    size_t index;
    CameraStreamMetadata metadata;
};

Camera openCamera(const std::string& wanted) {
    const auto provider = requireService(createCameraProvider(), "ICameraProvider");
    const CameraProperties properties = findCamera(*provider, wanted);
    for (const FrameType type : streamFrameTypes()) {
        auto stream = provider->getStream(type, "sensorctl");
        if (stream == nullptr) {
            continue;
        }
        CameraStreamMetadata metadata = stream->getMetadata();
        for (size_t i = 0; i < metadata.cameras.size(); ++i) {
            if (metadata.cameras[i].cameraId == properties.cameraId) {
                return {properties.cameraId, printable(properties.propertyText1), std::move(stream),
                        i, std::move(metadata)};
            }
        }
    }
    throw Failure(ExitCode::FAILED, fmt::format("camera '{}' has no stream", wanted));
}

void overrideExposure(Camera& camera, const CaptureOptions& options) {
    if (!options.exposureTime) {
        return;
    }
    ExposureGainSettings settings{};
    settings.numCameras =
        static_cast<uint32_t>(std::min(camera.metadata.cameras.size(), kMaxFrameSetSize));
    settings.cameras.fill({static_cast<uint64_t>(*options.exposureTime * 1e6), options.gain, 1.0F});
    camera.stream->startOverridingExposureSettings();
    camera.stream->setExposureGain(settings);
}

/// A frame and a copy of its pixels.
struct Shot {
    CameraFrame frame;
    std::vector<std::byte> buffer;
};

/// The camera's frame of a frame set; empty if it was not received or does not match the stream's
/// metadata.
std::optional<Shot> shotOf(const FrameSet& frameSet, const Camera& camera) {
    const auto& buffers = camera.metadata.cameras[camera.index].buffers;
    if (camera.index >= std::min<size_t>(frameSet.numFrames, kMaxFrameSetSize)) {
        return std::nullopt;
    }
    const CameraFrame& frame = frameSet.frames[camera.index];
    if (frame.cameraId != camera.id || frame.bufferIndex >= buffers.size()) {
        return std::nullopt;
    }
    const auto pixels = buffers[frame.bufferIndex]->pixels();
    return Shot{frame, {pixels.begin(), pixels.end()}};
}

/// Waits for a frame. Empty if the user ends the run. Throws Failure if none arrives in time, or
/// the service dies.
std::optional<Shot> takeShot(Camera& camera, const CaptureOptions& options, Shutdown& shutdown) {
    constexpr std::chrono::seconds kPatience{5};
    Waiter waiter(shutdown);
    std::optional<Shot> shot;
    camera.stream->stream().setCallbackv([&](IDataStream<FrameSet>::Batch spans) {
        for (const auto& span : spans) {
            for (const FrameSet& frameSet : span) {
                shot = shot ? shot : shotOf(frameSet, camera);
            }
        }
    });
    camera.stream->stream().addTo(*waiter.composite());
    overrideExposure(camera, options);
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    camera.stream->start();
    waiter.until([&] { return shot.has_value(); }, deadline);
    shutdown.requireService();
    camera.stream->stop();
    // Reads once more, so that frame sets that have arrived since are handed back.
    waiter.composite()->waitFor(std::chrono::nanoseconds::zero());
    if (!shot && shutdown.cause() == Shutdown::Cause::NONE) {
        throw Failure(ExitCode::FAILED,
                      fmt::format("no frame of camera {} '{}' came; is its purpose served by the "
                                  "mux mode in force?",
                                  camera.id, camera.name));
    }
    return shot;
}

void capture(const CaptureOptions& options) {
    Shutdown shutdown(kShutdownGrace);
    Camera camera = openCamera(options.camera);
    const std::optional<Shot> shot = takeShot(camera, options, shutdown);
    if (!shot) {
        return;
    }
    const CameraFrame& frame = shot->frame;
    const auto image = imageIn(frame, {shot->buffer.data(), shot->buffer.size()});
    writePng(options.file, Recording::copyOf(image));
    const float gain = frame.analogGain * frame.digitalGain;
    Output::print(
        fmt::format("{}: frame {} of camera {} '{}' at {} ns, {}x{} {}, {:.2f} ms, gain {:.1f}",
                    options.file, frame.sequence, camera.id, camera.name, frame.timestamp,
                    frame.width, frame.height, nameOf(frame.pixelFormat),
                    static_cast<double>(frame.exposureTime) * 1e-6, gain),
        {{"file", options.file},
         {"camera", camera.id},
         {"name", camera.name},
         {"sequence", frame.sequence},
         {"timestamp_ns", frame.timestamp},
         {"width", frame.width},
         {"height", frame.height},
         {"pixel_format", nameOf(frame.pixelFormat)},
         {"exposure_time_ns", frame.exposureTime},
         {"gain", gain}});
}

}  // namespace

void addCaptureCommand(CLI::App& app) {
    const auto options = std::make_shared<CaptureOptions>();
    CLI::App& command = *app.add_subcommand("capture", "Write one image of a camera to a PNG file");
    command.add_option("--camera", options->camera, "Which camera, by its number or its name")
        ->type_name("CAMERA")
        ->required();
    command
        .add_option(
            "--out", options->file,
            "The file; one of that name is replaced. Images of 10 bits fill the range of 16,\n"
            "those of depth are in mm")
        ->type_name("FILE")
        ->required()
        ->check([](const std::string& file) {
            const std::string extension = std::filesystem::path(file).extension();
            return extension.empty() || CLI::detail::to_lower(extension) == ".png"
                       ? std::string()
                       : fmt::format("'{}' is no name of a PNG file, and no other kind is written",
                                     file);
        });
    CLI::Option* const exposure =
        command
            .add_option("--exposure", options->exposureTime,
                        "Exposure time; otherwise the automatic control's. The service brings what "
                        "is out of the camera's limits to them")
            ->type_name("MS")
            ->check(CLI::Range(0.001, 1000.0));
    command.add_option("--gain", options->gain, "Analog gain, to go with --exposure")
        ->type_name("FACTOR")
        ->check(CLI::Range(1.0F, 1000.0F))
        ->needs(exposure)
        ->capture_default_str();
    command.callback([options] { capture(*options); });
}
