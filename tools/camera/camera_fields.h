// The fields of frame sets.
#pragma once

#include <vek/sensors/frame_set.h>

#include <cstddef>
#include <cstdint>
#include <optional>

#include "record_origin.h"
#include "recording/fields.h"

/// Frames are numbered from 0; the columns of frames that a set does not have are empty.
template <>
struct Recording::Fields<Vek::Sensors::FrameSet> {
    static FieldList<Vek::Sensors::FrameSet> list();
};

RecordOrigin originOf(const Vek::Sensors::FrameSet& frameSet);

/// Origin of one camera's frame; empty if the set has no frame of it, or one without an image.
std::optional<RecordOrigin> originOfFrame(const Vek::Sensors::FrameSet& frameSet,
                                          uint32_t cameraId);
