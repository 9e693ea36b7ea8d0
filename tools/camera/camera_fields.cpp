// In the order of the columns.
#include "camera/camera_fields.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

using Vek::Sensors::CameraFrame;
using Vek::Sensors::FrameSet;
using Vek::Sensors::FrameType;
using Vek::Sensors::kMaxFrameSetSize;

namespace {

/// The service's count may be anything.
size_t countOf(const FrameSet& frameSet) {
    return std::min<size_t>(frameSet.numFrames, kMaxFrameSetSize);
}

std::string milliseconds(std::string_view cell) {
    uint64_t nanoseconds = 0;
    return Recording::readCell(cell, nanoseconds)
               ? fmt::format("{:.2f} ms", static_cast<double>(nanoseconds) * 1e-6)
               : "";
}

}  // namespace

template <>
struct Recording::Fields<CameraFrame> {
    static FieldList<CameraFrame> list() {
        using Data = CameraFrame;
        return {number("timestamp", "ns", &Data::timestamp),
                number("arrival_timestamp", "ns", &Data::arrivalTimestamp),
                number("exposure_time", "ns", &Data::exposureTime).shownAs(milliseconds),
                number("analog_gain", "", &Data::analogGain).shown("gain", 1),
                number("digital_gain", "", &Data::digitalGain),
                number("camera", "", &Data::cameraId),
                number("buffer", "", &Data::bufferIndex),
                number("sequence", "", &Data::sequence),
                number("frame_type", "", &Data::frameType),
                number("width", "", &Data::width).shown("width"),
                number("height", "", &Data::height).shown("height"),
                number("stride", "", &Data::stride),
                number("pixel_format", "", &Data::pixelFormat),
                number("row_time", "ns", &Data::rowTime),
                number("temperature", "C", &Data::temperature)};
    }
};

Recording::FieldList<FrameSet> Recording::Fields<FrameSet>::list() {
    std::vector<Field<FrameSet>> frames = each("frame{i}_{name}", &FrameSet::frames, countOf);
    // One frame has to stand for all: tables are not that wide.
    const size_t fieldsOfFrame = frames.size() / kMaxFrameSetSize;
    for (size_t i = fieldsOfFrame; i < frames.size(); ++i) {
        frames[i].isShown = false;
    }
    return FieldList<FrameSet>(
        joined<FrameSet>({{number("timestamp", "ns", &FrameSet::timestamp),
                           number("sequence", "", &FrameSet::sequence),
                           number("frame_type", "", &FrameSet::frameType),
                           number("frames", "", &FrameSet::numFrames).shown("frames"),
                           number("mux_state", "", &FrameSet::muxState).shown("mux state")},
                          frames}));
}

RecordOrigin originOf(const FrameSet& frameSet) {
    return {0, frameSet.timestamp, frameSet.sequence, false};
}

std::optional<RecordOrigin> originOfFrame(const FrameSet& frameSet, uint32_t cameraId) {
    const auto* const end = frameSet.frames.data() + countOf(frameSet);
    const auto* const frame =
        std::find_if(frameSet.frames.data(), end,
                     [cameraId](const CameraFrame& f) { return f.cameraId == cameraId; });
    if (frame == end || frame->frameType == FrameType::NOT_RECEIVED ||
        frame->frameType == FrameType::INVALID) {
        return std::nullopt;
    }
    return RecordOrigin{0, frame->timestamp, frame->sequence, false};
}
