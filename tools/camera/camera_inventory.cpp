// The cameras as their provider and their streams describe them.
#include "inventory.h"

#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <cstdint>
#include <map>
#include <vector>

#include "camera/camera_names.h"
#include "camera/mux_state.h"

using namespace Vek::Sensors;

namespace {

struct StreamOfCamera {
    FrameType type;
    CameraConfiguration configuration;
};

/// The stream of each camera, by the camera's number.
std::map<uint32_t, StreamOfCamera> streamsOf(ICameraProvider& provider) {
    std::map<uint32_t, StreamOfCamera> streams;
    for (const FrameType type : streamFrameTypes()) {
        if (const auto stream = provider.getStream(type, "sensorctl")) {
            for (const CameraConfiguration& camera : stream->getConfiguration().cameras) {
                streams.emplace(camera.cameraId, StreamOfCamera{type, camera});
            }
        }
    }
    return streams;
}

Table cameraTable(ICameraProvider& provider) {
    Table table({"camera", "name", "sensor", "stream", "rate Hz", "image", "resolution", "pixels",
                 "calibration"});
    const auto streams = streamsOf(provider);
    for (const CameraProperties& camera : provider.getProperties()) {
        const bool isCalibrated =
            !camera.calibrationData1.empty() && !camera.calibrationData2.empty();
        std::vector<Cell> row{camera.cameraId, camera.propertyText1, camera.propertyText2};
        if (const auto found = streams.find(camera.cameraId); found != streams.end()) {
            const auto& [type, c] = found->second;
            row.insert(row.end(), {"camera-" + nameOf(type), static_cast<uint32_t>(c.frameRate),
                                   fmt::format("{}x{}", c.width, c.height),
                                   fmt::format("{} of {}x{}", nameOf(c.resolution), c.sensorWidth,
                                               c.sensorHeight),
                                   nameOf(c.pixelFormat)});
        } else {
            row.insert(row.end(), 5, Cell());
        }
        row.push_back(isCalibrated ? "yes" : "incomplete");
        table.addRow(row);
    }
    return table;
}

}  // namespace

void listCameras(Inventory& inventory) {
    const auto provider = createCameraProvider();
    inventory.addService("ICameraProvider", provider != nullptr);
    if (provider == nullptr) {
        return;
    }
    inventory.addTable("cameras", cameraTable(*provider));
    if (const auto state = muxStateInForce(*provider)) {
        inventory.addTable("mux_modes", muxModeTable(*state));
    }
}
