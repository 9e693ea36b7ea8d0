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
    /// Only the records of this controller, by its address or name; empty: of all.
    std::string controller;
    /// Only the frames of this camera, by its number or name; empty: of all.
    std::string camera;
    /// Asked of the IMU; 0 leaves a field at the sensor's default.
    Vek::Sensors::MotionStreamProperties imu{};
    /// Empty: until the user ends it.
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

/// The name of all streams whose services run.
inline constexpr char kAllStreams[] = "all";

// The areas'.
void addMotionStreams(std::vector<StreamKind>& kinds);
/// "cameras" for all camera streams, "camera-headset" and the like for one.
void addCameraStreams(std::vector<StreamKind>& kinds);
/// All of them as "controllers", and each by its own name.
void addControllerStreams(std::vector<StreamKind>& kinds);
void addEnvironmentStreams(std::vector<StreamKind>& kinds);

/// All of them, in the order in which tables show their streams.
std::vector<StreamKind> streamKinds();
std::vector<std::string> streamNames();
