// The fields of the records of the light sensor and of external clocks: `R` is the record in the
// client API's form or in the HAL's, whose members have the same names.
#pragma once

#include <fmt/format.h>

#include <string>
#include <string_view>

#include "recording/field_words.h"
#include "recording/fields.h"

namespace Recording {

inline Words saturated() {
    return wordsOfBits({{0, "saturated"}});
}

/// How far a clock is off, rather than how many of its seconds pass in one.
inline std::string rateError(std::string_view cell) {
    double rate = 0;
    return readCell(cell, rate) ? fmt::format("{:+.2f} ppm", (rate - 1) * 1e6) : "";
}

template <typename R>
FieldList<R> flickerPeakFields() {
    return {number("", "Hz", &R::frequency), number("amplitude", "", &R::amplitude)};
}

template <typename R>
FieldList<R> flickerFields() {
    return FieldList<R>(joined<R>(
        {{number("timestamp", "ns", &R::timestamp),
          number("arrival_timestamp", "ns", &R::arrivalTimestamp),
          number("sequence", "", &R::sequence),
          number("status", "", &R::status).shownAs(saturated()),
          number("frequency", "Hz", &R::frequency).shown(2),
          number("confidence", "", &R::confidence).shown("confidence", 2),
          number("modulation_depth", "", &R::modulationDepth).shown("depth", 2),
          number("flicker_index", "", &R::flickerIndex),
          number("mean_level", "", &R::meanLevel).shown("mean", 0), number("gain", "", &R::gain),
          number("sample_rate", "Hz", &R::sampleRate), number("peak_count", "", &R::peakCount)},
         each("peak_{i}_{name}", &R::peaks)}));
}

template <typename R>
FieldList<R> adcFlickerFields() {
    return {number("timestamp", "ns", &R::timestamp),
            number("arrival_timestamp", "ns", &R::arrivalTimestamp),
            number("sequence", "", &R::sequence),
            number("status", "", &R::status).shownAs(saturated()),
            number("sample_rate", "Hz", &R::sampleRate).shown("", 0),
            number("sample_count", "", &R::sampleCount).shown("samples"),
            list("samples", "", &R::samples, &R::sampleCount)};
}

template <typename R>
FieldList<R> ambientLightFields() {
    return {number("timestamp", "ns", &R::timestamp),
            number("arrival_timestamp", "ns", &R::arrivalTimestamp),
            number("sequence", "", &R::sequence),
            number("status", "", &R::status).shownAs(saturated()),
            number("illuminance", "lx", &R::illuminance).shown(1),
            number("color_temperature", "K", &R::colorTemperature).shown("", 0),
            array("chromaticity", kXy, "", &R::chromaticity).shown("xy", 4),
            number("infrared", "W/m^2", &R::infrared),
            number("integration_time", "s", &R::integrationTime),
            number("gain", "", &R::gain),
            number("illuminance_range", "lx", &R::illuminanceRange),
            number("channel_count", "", &R::channelCount),
            number("saturated_channels", "", &R::saturatedChannels),
            array("channel", kNumbers, "", &R::channels)};
}

template <typename R>
FieldList<R> externalTimestampFields() {
    return {number("timestamp", "ns", &R::timestamp),
            number("arrival_timestamp", "ns", &R::arrivalTimestamp),
            number("external_timestamp", "ns", &R::externalTimestamp).shown(),
            number("clock_rate", "", &R::clockRate).shownAs(rateError),
            number("uncertainty", "ns", &R::uncertainty),
            number("sequence", "", &R::sequence),
            number("source", "", &R::source).shown("clock"),
            number("status", "", &R::status).shownAs(wordsOfBits({{0, "locked"}}))};
}

}  // namespace Recording
