// Limits that a run must keep, for tests that run unattended.
#pragma once

#include <string>
#include <vector>

#include "measurement_table.h"
#include "rate_meter.h"

/// A limit for one quantity of one stream.
struct Expectation {
    /// A name from the list of stream kinds: one stream, or a group of streams.
    std::string stream;
    const Quantity* quantity;
    std::string relation;
    /// In the quantity's unit.
    double limit;
    /// As the user wrote it: "gap<5ms".
    std::string text;
};

/// Parses "imu:rate>=990,drops=0,gap<5ms"; stream names may be shortened. Throws Failure if it is
/// wrong.
std::vector<Expectation> parseExpectations(const std::string& text);

/// The result of one expectation for one row of the measurements.
struct Verdict {
    std::string stream;
    /// For streams that carry several controllers; otherwise empty.
    std::string controller;
    std::string expectation;
    /// The measured value with its unit; "unknown" if it could not be measured.
    std::string actual;
    bool isMet;
};

std::vector<Verdict> judge(const std::vector<Expectation>& expectations,
                           const SensorStreams& streams, RateMeter::Time now);
