// Light sensor, LED, external timing and KivraRpc services in the test's own process.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IExternalTimingProvider.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFaceEyeTrackingLed.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>
#include <vendor/zelvan/hardware/sensors/1.0/ITambril.h>

#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "support/fake_motion_hal.h"

namespace TestSupport {

using Client = android::sp<Hidl::ISensorClient>;

using FakeExternalTiming = FakeSensor<Hidl::IExternalTimingProvider, Hidl::ExternalTimestampData>;

/// Notes which calls came, and whose they were.
template <typename Interface>
class RecordingService : public FakeService<Interface> {
  public:
    std::vector<std::tuple<std::string, Client>> calls;

  protected:
    Return<Hidl::Result> called(const std::string& call, const Client& client) {
        calls.emplace_back(call, client);
        return this->answer();
    }
};

class FakeFlickerSensor : public RecordingService<Hidl::IFlickerSensor> {
  public:
    template <typename Record>
    using Queue = android::hardware::MQDescriptorSync<Record>;
    using Config = Hidl::FmqConfig;
    using Command = Hidl::StreamCommand;

    Return<void> getProperties(getProperties_cb callback) override {
        if (transportFails) {
            return deadObject();
        }
        if (hasProperties) {
            callback({"name", "vendor", "serial"});
        }
        return android::hardware::Void();
    }
    Return<Hidl::Result> prepareFlickerStream(const Queue<Hidl::FlickerData>&, const Client& client,
                                              const Config&) override {
        return called("prepare flicker", client);
    }
    Return<Hidl::Result> prepareAdcFlickerStream(const Queue<Hidl::AdcFlickerData>&,
                                                 const Client& client, const Config&) override {
        return called("prepare ADC flicker", client);
    }
    Return<Hidl::Result> prepareAmbientLightStream(const Queue<Hidl::AmbientLightData>&,
                                                   const Client& client, const Config&) override {
        return called("prepare ambient light", client);
    }
    Return<Hidl::Result> controlFlickerStream(const Client& client, Command command) override {
        return called(toString(command) + " flicker", client);
    }
    Return<Hidl::Result> controlAdcFlickerStream(const Client& client, Command command) override {
        return called(toString(command) + " ADC flicker", client);
    }
    Return<Hidl::Result> controlAmbientLightStream(const Client& client, Command command) override {
        return called(toString(command) + " ambient light", client);
    }

    bool hasProperties = true;
};

class FakeFaceEyeTrackingLed : public RecordingService<Hidl::IFaceEyeTrackingLed> {
  public:
    using Configurations = android::hardware::hidl_vec<Hidl::FaceEyeTrackingLedConfiguration>;

    Return<Hidl::Result> setConfigurations(const Client& client,
                                           const Configurations& newConfigurations) override {
        configurations = newConfigurations;
        return called("setConfigurations", client);
    }
    Return<Hidl::Result> enable(const Client& client) override { return called("enable", client); }
    Return<Hidl::Result> disable(const Client& client) override {
        return called("disable", client);
    }
    /// The count tells which group was asked for.
    Return<uint8_t> getChannelCount(Hidl::FaceEyeTrackingLedGroup group) override {
        if (transportFails) {
            return deadObject();
        }
        return static_cast<uint8_t>(group);
    }
    Return<Hidl::Result> startOverridingLedSettings(const Client& client) override {
        return called("startOverriding", client);
    }
    Return<Hidl::Result> stopOverridingLedSettings(const Client& client) override {
        return called("stopOverriding", client);
    }

    Configurations configurations;
};

class FakeTambril : public FakeService<Hidl::ITambril> {
  public:
    using Callback = android::sp<Hidl::ITambrilCallback>;
    using Id = Hidl::KivraRpcClientId;

    Return<uint32_t> getProtocolVersion() override { return 1U; }
    Return<uint32_t> getMaxPayloadSize() override { return 8192U; }
    Return<Hidl::Result> registerClient(Id id, const Callback& newCallback) override {
        calls.push_back("register " + toString(id));
        callback = newCallback;
        duringChange();
        return answer();
    }
    Return<Hidl::Result> unregisterClient(Id id) override {
        calls.push_back("unregister " + toString(id));
        duringChange();
        return answer();
    }
    Return<Hidl::Result> sendMessage(const Callback& sender, const Hidl::ControllerAddr& address,
                                     uint32_t procedure,
                                     const android::hardware::hidl_vec<uint8_t>& payload) override {
        duringSend(sender, address, procedure, payload);
        return answer();
    }
    Return<int64_t> translateTime(int64_t time, Hidl::TimeDomain from,
                                  Hidl::TimeDomain to) override {
        translations.emplace_back(time, from, to);
        if (transportFails) {
            return deadObject();
        }
        return INT64_MIN;
    }

    std::vector<std::string> calls;
    Callback callback;
    std::vector<std::tuple<int64_t, Hidl::TimeDomain, Hidl::TimeDomain>> translations;
    std::function<void()> duringChange = [] {};
    std::function<void(const Callback&, const Hidl::ControllerAddr&, uint32_t,
                       std::vector<uint8_t>)>
        duringSend = [](auto&&...) {};
};

}  // namespace TestSupport
