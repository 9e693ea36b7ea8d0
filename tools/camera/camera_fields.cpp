// The columns are in recording/camera_records.h; here is where a record comes from.
#include "camera/camera_fields.h"

#include <algorithm>

#include "recording/camera_records.h"

using Vek::Sensors::CameraFrame;
using Vek::Sensors::FrameSet;
using Vek::Sensors::FrameType;
using Vek::Sensors::kMaxFrameSetSize;

namespace {

/// Number of frames, limited to the array: the service may state any number.
size_t countOf(const FrameSet& frameSet) {
    return std::min<size_t>(frameSet.numFrames, kMaxFrameSetSize);
}

}  // namespace

template <>
struct Recording::Fields<CameraFrame> {
    static FieldList<CameraFrame> list() { return cameraFrameFields<CameraFrame>(); }
};

Recording::FieldList<FrameSet> Recording::Fields<FrameSet>::list() {
    return frameSetFields<FrameSet>();
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
