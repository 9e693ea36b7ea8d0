// The fields of the motion streams' records: `R` is the record in the client API's form or
// in the HAL's, whose members have the same names.
#pragma once

#include "recording/field_words.h"
#include "recording/fields.h"

namespace Recording {

template <typename R>
FieldList<R> imuFields() {
    return {number("timestamp", "ns", &R::timestamp),
            number("arrival_timestamp", "ns", &R::arrivalTimestamp),
            array("acceleration", kXyz, "m/s^2", &R::acceleration).shown(2),
            array("angular_rate", kXyz, "rad/s", &R::angularRate).shown(3),
            number("temperature", "C", &R::temperature).shown(1),
            number("sequence", "", &R::sequence),
            number("sensor", "", &R::sensor),
            number("status", "", &R::status).shownAs(wordsOfBits({{0, "clipped"}})),
            number("acceleration_range", "m/s^2", &R::accelerationRange),
            number("angular_rate_range", "rad/s", &R::angularRateRange)};
}

template <typename R>
FieldList<R> magFields() {
    return {number("timestamp", "ns", &R::timestamp),
            array("field", kXyz, "uT", &R::field).shown(2),
            number("temperature", "C", &R::temperature).shown(1),
            number("sequence", "", &R::sequence),
            number("sensor", "", &R::sensor),
            number("status", "", &R::status).shownAs(wordsOfBits({{0, "clipped"}})),
            number("range", "uT", &R::range)};
}

template <typename R>
FieldList<R> iadFields() {
    return {number("distance", "mm", &R::distance).shown(2)};
}

}  // namespace Recording
