// Every adapter watches the service that it wraps, from its construction to its destruction.
#include <gtest/gtest.h>
#include <vek/sensors/controller_provider.h>

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
#include "support/fake_service.h"
#include "support/runtime_directory.h"

namespace {

using namespace TestSupport;
using namespace Vek::Sensors::HidlWrapper;

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

}  // namespace
