// Limits that a run must keep, for tests that run unattended.
#pragma once

#include <string>
#include <vector>

#include "measurement_table.h"
#include "rate_meter.h"

/// A limit for one quantity of one stream.
struct Expectation {
    /// A name that the user can choose: of one stream, or of several.
    std::string stream;
    const Quantity* quantity;
    std::string relation;
    /// In the quantity's unit.
    double limit;
    /// As the user wrote it: "gap<5ms".
    std::string text;
};

/// Reads "imu:rate>=990,drops=0,gap<5ms"; stream names may be shortened. Throws Failure with what
/// is wrong.
std::vector<Expectation> parseExpectations(const std::string& text);

/// The result of one expectation for one row of the measurements.
struct Verdict {
    std::string stream;
    /// Of streams that carry several; otherwise empty.
    std::string controller;
    std::string expectation;
    /// With its unit; "unknown" if it could not be measured.
    std::string actual;
    bool isMet;
};

std::vector<Verdict> judge(const std::vector<Expectation>& expectations,
                           const SensorStreams& streams, RateMeter::Time now);
