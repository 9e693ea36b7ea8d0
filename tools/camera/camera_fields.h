// The fields of frame sets.
#pragma once

#include <vek/sensors/frame_set.h>

#include <cstddef>
#include <cstdint>
#include <optional>

#include "record_origin.h"
#include "recording/fields.h"

/// The frames are numbered from 0; the columns of those that a set does not have are empty.
template <>
struct Recording::Fields<Vek::Sensors::FrameSet> {
    static FieldList<Vek::Sensors::FrameSet> list();
};

RecordOrigin originOf(const Vek::Sensors::FrameSet& frameSet);

/// Of the frame of one camera; empty if the set has none, or one without an image.
std::optional<RecordOrigin> originOfFrame(const Vek::Sensors::FrameSet& frameSet,
                                          uint32_t cameraId);
