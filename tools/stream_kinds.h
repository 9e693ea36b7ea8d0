// The streams that commands can name.
#pragma once

#include <vek/sensors/motion.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "sensor_stream.h"

/// The options of the commands that stream.
struct SessionOptions {
    /// Names of stream kinds.
    std::vector<std::string> streams;
    /// Address or name of the only controller whose records are used; empty: all.
    std::string controller;
    /// Number or name of the only camera whose frames are used; empty: all.
    std::string camera;
    /// Requested configuration of the IMU; 0 keeps the sensor's default.
    Vek::Sensors::MotionStreamProperties imu{};
    /// Empty: the run lasts until the user ends it.
    std::optional<double> durationSeconds;
};

/// A name that the user can choose, for one stream or for all streams of a kind of devices.
struct StreamKind {
    std::string name;
    /// Throws Failure if there is no service or an option does not fit the stream.
    std::function<std::vector<std::unique_ptr<SensorStream>>(const SessionOptions& options)> open;
    /// Whether another name includes this stream.
    bool isInGroup = false;
};

/// Name of the group of all streams whose services run.
inline constexpr char kAllStreams[] = "all";

// Each area adds its stream kinds.
void addMotionStreams(std::vector<StreamKind>& kinds);
/// Adds "cameras" for all camera streams, and "camera-headset" etc. for single ones.
void addCameraStreams(std::vector<StreamKind>& kinds);
/// Adds "controllers" for all controller streams, and a name for each.
void addControllerStreams(std::vector<StreamKind>& kinds);
void addEnvironmentStreams(std::vector<StreamKind>& kinds);

/// All of them, in the order in which tables show their streams.
std::vector<StreamKind> streamKinds();
std::vector<std::string> streamNames();
