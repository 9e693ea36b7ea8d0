// Motion sensors: inertial measurement units, magnetometers and the IAD sensor.
#pragma once

#include <vek/sensors/stream.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace Vek::Sensors {

enum class MotionSensorKind : uint8_t {
    IMU = 0,
    MAGNETOMETER = 1,
};

/// The rigid body that a motion sensor is fixed to.
enum class MotionSensorMount : uint8_t {
    HEADSET = 0,
    /// The compute board, which may be mounted with damping.
    BOARD = 1,
};

/// One motion sensor that the service offers (8 bytes). The enumerations are carried as the
/// service sent them and may hold values that have no name here.
struct MotionSensorInfo {
    /// The key for IMotionSensorProvider::getImu and getMag.
    uint32_t sensor;
    MotionSensorKind kind;
    MotionSensorMount mount;
    /// Counts the sensors of one kind on one mount, from 0.
    uint8_t index;
};

struct MotionSensorMetadata {
    std::vector<MotionSensorInfo> sensors;
};

/// Static description of one motion sensor.
struct MotionSensorProperties {
    std::string name;
    std::string vendor;
    std::string serialNumber;
    std::string firmwareVersion;
    /// Highest sample rate that configureStream accepts, in Hz.
    float maxSampleRate{};
};

/// Configuration of a motion sensor's stream (8 bytes).
struct MotionStreamProperties {
    /// Samples a second, in Hz; 0 asks for the sensor's default.
    uint32_t sampleRate;
    /// Samples that the service gathers before it wakes the client; 0 asks for the default.
    uint32_t batchSize;
};

/// Bits of ImuData::status and MagData::status.
enum MotionSampleStatus : uint32_t {
    /// At least one axis is at the end of its range.
    MOTION_SAMPLE_CLIPPED = 1U << 0,
    /// Records before this one were dropped because the client's queue was full.
    MOTION_SAMPLE_DISCONTINUITY = 1U << 1,
};

/// One sample of an inertial measurement unit (64 bytes).
struct ImuData {
    /// When the sample was taken: CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    /// When the service received the sample: CLOCK_MONOTONIC, in ns.
    int64_t arrivalTimestamp;
    /// Specific force along x, y, z of the sensor, in m/s^2; +9.81 on the axis that points up at
    /// rest.
    std::array<float, 3> acceleration;
    /// Rotation about x, y, z of the sensor, right-handed, in rad/s.
    std::array<float, 3> angularRate;
    /// Temperature of the die, in degrees Celsius.
    float temperature;
    /// Counts the sensor's samples, including dropped ones; wraps.
    uint32_t sequence;
    /// The sensor, as in MotionSensorInfo.
    uint32_t sensor;
    /// MotionSampleStatus bits.
    uint32_t status;
    /// The largest value that an acceleration axis can have, in m/s^2.
    float accelerationRange;
    /// The largest value that an angular rate axis can have, in rad/s.
    float angularRateRange;
};

/// One sample of a magnetometer (40 bytes).
struct MagData {
    /// When the sample was taken: CLOCK_MONOTONIC, in ns.
    int64_t timestamp;
    /// Flux density along x, y, z of the sensor, in microtesla.
    std::array<float, 3> field;
    /// Temperature of the die, in degrees Celsius.
    float temperature;
    /// Counts the sensor's samples, including dropped ones; wraps.
    uint32_t sequence;
    /// The sensor, as in MotionSensorInfo.
    uint32_t sensor;
    /// MotionSampleStatus bits.
    uint32_t status;
    /// The largest value that an axis can have, in microtesla.
    float range;
};

/// One reading of the IAD (interaxial distance) sensor (4 bytes).
struct IadData {
    /// Distance between the optical axes of the lenses, in mm.
    float distance;
};

/// An inertial measurement unit: accelerometer and gyroscope on one clock; 1000 Hz by default.
///
/// A control call that the service refuses ends the process, and so does any call that cannot be
/// delivered. The library does not check whether a stream is started twice, or before it was added
/// to a composite; the service decides what happens. Destroying the object does not stop the
/// stream: stop it first. The object must outlive the last wait on the composite; it may outlive
/// the provider that made it.
///
/// Threading: no locks; use from one thread. The samples arrive on the thread that waits on the
/// stream's composite.
class IImuSensor {
  public:
    virtual ~IImuSensor() = default;

    /// Asks the service. An error result is logged, and the values that came with it are returned.
    virtual MotionSensorProperties props() = 0;

    /// The sample stream; owned by this object.
    virtual IDataStream<ImuData>& stream() = 0;

    /// Starts the samples. Add the stream to a composite first.
    virtual void start() = 0;

    virtual void stop() = 0;

    /// Sets rate and batch size of the sensor, for all of its clients; the settings stay when this
    /// object is destroyed. A large batch saves power (see ICompositeStream) at the price of
    /// latency; the queue must hold it.
    virtual void configureStream(const MotionStreamProperties& properties) = 0;
};

/// A magnetometer; 100 Hz by default. Otherwise the same as IImuSensor.
class IMagSensor {
  public:
    virtual ~IMagSensor() = default;

    virtual MotionSensorProperties props() = 0;
    virtual IDataStream<MagData>& stream() = 0;
    virtual void start() = 0;
    virtual void stop() = 0;
    virtual void configureStream(const MotionStreamProperties& properties) = 0;
};

/// The sensor of the distance between the lenses' optical axes; 10 Hz. Otherwise the same as
/// IImuSensor.
class IIadSensor {
  public:
    virtual ~IIadSensor() = default;

    /// Always 0: the range is unknown.
    virtual float range() = 0;
    virtual IDataStream<IadData>& stream() = 0;
    virtual void start() = 0;
    virtual void stop() = 0;
};

/// Lists the motion sensors and creates the objects that read them.
///
/// Can survive the death of its service: after it every call logs an error and returns an empty
/// result. To continue, make a new provider. It survives only if its own handler is the one that
/// runs: in a process, only the first object that learns of a death reacts (see
/// ServiceDisconnectHandler). Therefore make the provider before all other sensor objects of the
/// service. Otherwise its calls after the death end the process, as those of all other objects do.
///
/// Threading: may be used from any thread; calls run one at a time.
class IMotionSensorProvider {
  public:
    virtual ~IMotionSensorProvider() = default;

    /// Asks the service. An error result is logged, and the values that came with it are returned.
    virtual MotionSensorMetadata getSensorInfo() = 0;

    /// @return empty if there is no IMU with this number.
    virtual std::unique_ptr<IImuSensor> getImu(uint32_t sensor) = 0;

    /// @return empty if there is no magnetometer with this number.
    virtual std::unique_ptr<IMagSensor> getMag(uint32_t sensor) = 0;
};

}  // namespace Vek::Sensors
