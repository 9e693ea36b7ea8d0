// Gets the mux state and formats it as tables.
#include "camera/mux_state.h"

#include <fmt/format.h>
#include <vek/sensors/factories.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "camera/camera_names.h"

using namespace Vek::Sensors;

std::optional<FrameSetConfigurationUpdate> muxStateInForce(ICameraProvider& provider) {
    for (const FrameType type : streamFrameTypes()) {
        if (const auto stream = provider.getStream(type, "sensorctl")) {
            const auto composite = createStreamCompositor()->createCompositeStream("sensorctl");
            stream->stream().addTo(*composite);
            return stream->registerFrameSetConfigurationUpdateCallback({});
        }
    }
    return std::nullopt;
}

Table muxModeTable(const FrameSetConfigurationUpdate& state) {
    Table table({"mux mode", "state", "purposes"});
    const MuxMode& mode = state.muxMode;
    table.addRow({mode.name, "in force", mode.purposes});
    if (!mode.secondaryName.empty()) {
        std::vector<std::string> purposes;
        for (const auto& [purpose, data] : mode.secondaryPurposeData) {
            purposes.push_back(purpose);
        }
        std::sort(purposes.begin(), purposes.end());
        table.addRow({mode.secondaryName, "fallback", purposes});
    }
    return table;
}

Table muxSlotTable(const FrameSetConfigurationUpdate& state) {
    Table table({"slot", "camera", "frames", "image", "resolution"});
    for (size_t slot = 0; slot < state.slotConfigurations.size(); ++slot) {
        for (const CameraPerSlotConfiguration& camera : state.slotConfigurations[slot].cameras) {
            table.addRow({slot, camera.cameraId, nameOf(camera.frameType),
                          fmt::format("{}x{}", camera.cropWidth, camera.cropHeight),
                          nameOf(camera.resolution)});
        }
    }
    return table;
}
