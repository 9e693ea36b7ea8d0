// The fields of frame sets: `R` is the record in the client API's form or
// in the HAL's, whose members have the same names.
#pragma once

#include <fmt/format.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "recording/field_words.h"
#include "recording/fields.h"

namespace Recording {

inline std::string milliseconds(std::string_view cell) {
    uint64_t nanoseconds = 0;
    return readCell(cell, nanoseconds)
               ? fmt::format("{:.2f} ms", static_cast<double>(nanoseconds) * 1e-6)
               : "";
}

template <typename R>
FieldList<R> cameraFrameFields() {
    return {number("timestamp", "ns", &R::timestamp),
            number("arrival_timestamp", "ns", &R::arrivalTimestamp),
            number("exposure_time", "ns", &R::exposureTime).shownAs(milliseconds),
            number("analog_gain", "", &R::analogGain).shown("gain", 1),
            number("digital_gain", "", &R::digitalGain),
            number("camera", "", &R::cameraId),
            number("buffer", "", &R::bufferIndex),
            number("sequence", "", &R::sequence),
            number("frame_type", "", &R::frameType),
            number("width", "", &R::width).shown("width"),
            number("height", "", &R::height).shown("height"),
            number("stride", "", &R::stride),
            number("pixel_format", "", &R::pixelFormat),
            number("row_time", "ns", &R::rowTime),
            number("temperature", "C", &R::temperature)};
}

template <typename R>
FieldList<R> frameSetFields() {
    std::vector<Field<R>> frames =
        each("frame{i}_{name}", &R::frames, [](const R& record) { return record.numFrames; });
    // One frame has to stand for all: tables are not that wide.
    const size_t fieldsOfFrame = frames.size() / std::size(R{}.frames);
    for (size_t i = fieldsOfFrame; i < frames.size(); ++i) {
        frames[i].isShown = false;
    }
    return FieldList<R>(
        joined<R>({{number("timestamp", "ns", &R::timestamp), number("sequence", "", &R::sequence),
                    number("frame_type", "", &R::frameType),
                    number("frames", "", &R::numFrames).shown("frames"),
                    number("mux_state", "", &R::muxState).shown("mux state")},
                   frames}));
}

}  // namespace Recording
