// Light sensor, LED, external timing and KivraRpc services in the test's own process.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IExternalTimingProvider.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFaceEyeTrackingLed.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>
#include <vendor/zelvan/hardware/sensors/1.0/ITambril.h>

#include <functional>

#include "support/recording_service.h"

namespace TestSupport {

class FakeExternalTiming : public RecordingService<Hidl::IExternalTimingProvider> {
  public:
    FAKE_STREAM(, ExternalTimestampData, end)
};

class FakeFlickerSensor : public RecordingService<Hidl::IFlickerSensor> {
  public:
    FAKE_QUERY(getProperties, (getProperties_cb callback),
               (Hidl::FlickerSensorProperties{"name", "vendor", "serial"}))
    FAKE_STREAM(Flicker, FlickerData, flicker)
    FAKE_STREAM(AdcFlicker, AdcFlickerData, adcFlicker)
    FAKE_STREAM(AmbientLight, AmbientLightData, ambientLight)
};

class FakeFaceEyeTrackingLed : public RecordingService<Hidl::IFaceEyeTrackingLed> {
  public:
    using Configurations = hidl_vec<Hidl::FaceEyeTrackingLedConfiguration>;

    FAKE_CONTROL(setConfigurations, (Client c, const Configurations& all), (isSame(c), all))
    FAKE_CONTROL(enable, (Client c), (isSame(c)))
    FAKE_CONTROL(disable, (Client c), (isSame(c)))
    /// The count tells which group was asked for.
    FAKE_GETTER(uint8_t, getChannelCount, (Hidl::FaceEyeTrackingLedGroup group),
                static_cast<uint8_t>(group))
    FAKE_CONTROL(startOverridingLedSettings, (Client c), (isSame(c)))
    FAKE_CONTROL(stopOverridingLedSettings, (Client c), (isSame(c)))

  private:
    bool isSame(Client client) {
        first_ = first_ == nullptr ? client : first_;
        return client != nullptr && client == first_;
    }
    sp<Hidl::ISensorClient> first_;
};

class FakeTambril : public RecordingService<Hidl::ITambril> {
  public:
    using Callback = sp<Hidl::ITambrilCallback>;
    using Id = Hidl::KivraRpcClientId;
    using Domain = Hidl::TimeDomain;
    using Payload = hidl_vec<uint8_t>;

    FAKE_GETTER(uint32_t, getProtocolVersion, (), 1)
    FAKE_GETTER(uint32_t, getMaxPayloadSize, (), 8192)
    Return<Hidl::Result> registerClient(Id id, const Callback& newCallback) override {
        callback = newCallback;
        duringChange();
        return record("register", result)(id);
    }
    Return<Hidl::Result> unregisterClient(Id id) override {
        duringChange();
        return record("unregister", result)(id);
    }
    Return<Hidl::Result> sendMessage(const Callback& sender, const Hidl::ControllerAddr& address,
                                     uint32_t procedure, const Payload& payload) override {
        duringSend(sender, address, procedure, payload);
        return answer(result);
    }
    Return<int64_t> translateTime(int64_t time, Domain from, Domain to) override {
        return record("translate", INT64_MIN)(time, from, to);
    }

    Callback callback;
    std::function<void()> duringChange = [] {};
    std::function<void(const Callback&, const Hidl::ControllerAddr&, uint32_t, const Payload&)>
        duringSend = [](auto&&...) {};
};

}  // namespace TestSupport
