// What all adapters do alike: factories make them if there is a service, and they watch the service
// that they wrap, start and stop their streams.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vek/sensors/controller_provider.h>
#include <vek/sensors/factories.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include <memory>
#include <string>

#include "camera/camera_provider.h"
#include "controller/controller_management_client.h"
#include "controller/controller_state_provider.h"
#include "controller/controller_streaming_client.h"
#include "environment/external_timing_provider.h"
#include "environment/face_eye_tracking_led.h"
#include "environment/flicker_sensor_provider.h"
#include "environment/tamb_stream.h"
#include "motion/motion_sensor_provider.h"
#include "motion/motion_sensors.h"
#include "support/captured_log.h"
#include "support/fake_service.h"
#include "support/runtime_directory.h"

namespace {

using namespace ::testing;
using namespace TestSupport;
using namespace Vek::Sensors;
using namespace Vek::Sensors::HidlWrapper;

TEST(Factories, ReturnEmptyAtOnceWithoutAServiceAndOnlyTheLightSensorsLogs) {
    const RuntimeDirectory withoutServices;
    CapturedLog log;
    EXPECT_EQ(createCameraProvider(), nullptr);
    EXPECT_EQ(createMotionSensorProvider(), nullptr);
    EXPECT_EQ(createImuSensor(), nullptr);
    EXPECT_EQ(createMagSensor(), nullptr);
    EXPECT_EQ(createIadSensor(), nullptr);
    EXPECT_EQ(createExternalTimingProvider(), nullptr);
    EXPECT_EQ(createFaceEyeTrackingLed(), nullptr);
    EXPECT_EQ(createTambStream(), nullptr);
    EXPECT_EQ(createControllerStateProvider(), nullptr);
    EXPECT_NE(createStreamCompositor(), nullptr);
    EXPECT_THAT(log.take(), IsEmpty());
    EXPECT_EQ(createFlickerSensor(nullptr), nullptr);
    EXPECT_THAT(log.take(), ElementsAre(errorLine("IFlickerSensor HAL service not running")));
}

template <typename Interface, typename Make>
void expectWatched(const char* name, Make make) {
    SCOPED_TRACE(name);
    const sp<Fake<Interface>> service = new Fake<Interface>;
    {
        const auto adapter = make(service);
        EXPECT_NE(service->recipient, nullptr);
    }
    EXPECT_EQ(service->recipient, nullptr);
    EXPECT_EQ(service->unlinkCalls, 1);
}

/// Around a proxy.
template <typename Adapter, typename Interface>
void expectWatched(const char* name) {
    expectWatched<Interface>(
        name, [](const sp<Interface>& service) { return std::make_unique<Adapter>(service); });
}

/// Looks its service up by itself.
template <typename Adapter, typename Interface>
void expectFoundAndWatched(const char* name) {
    const RuntimeDirectory directory;
    expectWatched<Interface>(name, [](const sp<Interface>& service) {
        EXPECT_EQ(service->registerAsService("default"), android::OK);
        return std::make_unique<Adapter>();
    });
}

TEST(Adapters, WatchTheirServicesAsLongAsTheyLive) {
    expectWatched<ImuSensor, Hidl::IImu>("IMU");
    expectWatched<MagSensor, Hidl::IMag>("magnetometer");
    expectWatched<IadSensor, Hidl::IIad>("IAD sensor");
    expectWatched<MotionSensorProvider, Hidl::IMotionSensorProvider>("motion sensors");
    expectWatched<CameraProvider, Hidl::ICameraProvider>("cameras");
    expectWatched<ControllerManagementClient, Hidl::IControllerManagementClient>("management");
    expectWatched<ControllerStreamingClient, Hidl::IControllerStreamingClient>("streaming");
    expectWatched<ControllerStateProvider, Hidl::IControllerStateProvider>("controllers' state");
    expectWatched<FlickerSensorProvider, Hidl::IFlickerSensor>("light sensor");
    expectWatched<ExternalTimingProvider, Hidl::IExternalTimingProvider>("external timing");
    expectWatched<TambStream, Hidl::ITambril>("KivraRpc");
    expectFoundAndWatched<FaceEyeTrackingLed, Hidl::IFaceEyeTrackingLed>("LEDs");
    expectFoundAndWatched<ControllerProvider, Hidl::IControllerProvider>("controllers");
}

/// One row of the table below.
/// @param command method of the service
template <typename Interface, typename Adapter, typename Stream>
void expectCommands(const std::string& command, Stream& (Adapter::*stream)(),
                    void (Adapter::*start)(), void (Adapter::*stop)()) {
    SCOPED_TRACE(command);
    const sp<Fake<Interface>> service = new Fake<Interface>;
    {
        Adapter adapter{sp<Interface>(service)};
        CompositeStream composite{"commands"};
        (adapter.*stream)().addTo(composite);
        for (const auto call : {start, stop, start}) {
            (adapter.*call)();
        }
    }
    EXPECT_THAT(service->calls, ElementsAre(command + " true START", command + " true STOP",
                                            command + " true START"))
        << "the last of which ends with no adapter";
}

TEST(Adapters, StartAndStopTheirStreamsForTheClientThatPreparedThem) {
    expectCommands<Hidl::IImu>("controlStream", &ImuSensor::stream, &ImuSensor::start,
                               &ImuSensor::stop);
    expectCommands<Hidl::IMag>("controlStream", &MagSensor::stream, &MagSensor::start,
                               &MagSensor::stop);
    expectCommands<Hidl::IIad>("controlStream", &IadSensor::stream, &IadSensor::start,
                               &IadSensor::stop);
    using Timing = ExternalTimingProvider;
    expectCommands<Hidl::IExternalTimingProvider>(
        "controlStream", &Timing::streamExternalTimestampData,
        &Timing::startExternalTimestampDataStream, &Timing::stopExternalTimestampDataStream);
    using Light = FlickerSensorProvider;
    expectCommands<Hidl::IFlickerSensor>("controlFlickerStream", &Light::flickerStream,
                                         &Light::flickerStart, &Light::flickerStop);
    expectCommands<Hidl::IFlickerSensor>("controlAdcFlickerStream", &Light::adcFlickerStream,
                                         &Light::adcFlickerStart, &Light::adcFlickerStop);
    expectCommands<Hidl::IFlickerSensor>("controlAmbientLightStream", &Light::ambientLightStream,
                                         &Light::ambientLightStart, &Light::ambientLightStop);
    using State = ControllerStateProvider;
    expectCommands<Hidl::IControllerStateProvider>(
        "controlHapticsStateStream", &State::streamHapticsState, &State::startHapticsStateStream,
        &State::stopHapticsStateStream);
    expectCommands<Hidl::IControllerStateProvider>(
        "controlWirelessStateTransitionStream", &State::streamWirelessStateTransition,
        &State::startWirelessStateTransitionStream, &State::stopWirelessStateTransitionStream);
    expectCommands<Hidl::IControllerStateProvider>(
        "controlControllerInputStream", &State::streamControllerInputData,
        &State::startControllerInputDataStream, &State::stopControllerInputDataStream);
}

}  // namespace
