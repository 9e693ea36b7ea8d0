// IMU, magnetometer and IAD sensor. Their calls need no conversions of their own.
#include "areas.h"
#include "binding.h"

using namespace Vek::Sensors;

void defineMotion(py::module_& module) {
    Records::defineClasses<MotionSensorInfo, MotionSensorMetadata, MotionSensorProperties,
                           MotionStreamProperties>(module);
    Binding<IImuSensor>(module, "ImuSensor", "IImuSensor")
        .method("props", &IImuSensor::props)
        .stream("stream", &IImuSensor::stream, &IImuSensor::start, &IImuSensor::stop)
        .method("configureStream", &IImuSensor::configureStream);
    Binding<IMagSensor>(module, "MagSensor", "IMagSensor")
        .method("props", &IMagSensor::props)
        .stream("stream", &IMagSensor::stream, &IMagSensor::start, &IMagSensor::stop)
        .method("configureStream", &IMagSensor::configureStream);
    Binding<IIadSensor>(module, "IadSensor", "IIadSensor")
        .method("range", &IIadSensor::range)
        .stream("stream", &IIadSensor::stream, &IIadSensor::start, &IIadSensor::stop);
    Binding<IMotionSensorProvider>(module, "MotionSensorProvider", "IMotionSensorProvider")
        .method("getSensorInfo", &IMotionSensorProvider::getSensorInfo)
        .method("getImu", &IMotionSensorProvider::getImu)
        .method("getMag", &IMotionSensorProvider::getMag);

    defineFactory(module, "create_imu_sensor", createImuSensor);
    defineFactory(module, "create_mag_sensor", createMagSensor);
    defineFactory(module, "create_iad_sensor", createIadSensor);
    defineFactory(module, "create_motion_sensor_provider", createMotionSensorProvider);
}
