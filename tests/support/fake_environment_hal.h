// Light sensor, LEDs, external timing and KivraRpc services in the test's own process.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IExternalTimingProvider.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFaceEyeTrackingLed.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>
#include <vendor/zelvan/hardware/sensors/1.0/ITambril.h>

#include <functional>
#include <string>
#include <vector>

#include "support/fake_motion_hal.h"

namespace TestSupport {

using FakeExternalTiming = FakeSensor<Hidl::IExternalTimingProvider, Hidl::ExternalTimestampData>;

class FakeFlickerSensor : public FakeService<Hidl::IFlickerSensor> {
  public:
    using Client = android::sp<Hidl::ISensorClient>;
    template <typename Record>
    using Queue = android::hardware::MQDescriptorSync<Record>;

    /// What every control call came to.
    struct Command {
        std::string stream;
        Hidl::StreamCommand command;
        Client client;
    };

    Return<void> getProperties(getProperties_cb callback) override {
        if (transportFails) {
            return deadObject();
        }
        if (hasProperties) {
            callback({"name", "vendor", "serial"});
        }
        return android::hardware::Void();
    }
    Return<Hidl::Result> prepareFlickerStream(const Queue<Hidl::FlickerData>& queue,
                                              const Client& client,
                                              const Hidl::FmqConfig& config) override {
        flicker.accept(queue, client, config);
        return answer();
    }
    Return<Hidl::Result> prepareAdcFlickerStream(const Queue<Hidl::AdcFlickerData>& queue,
                                                 const Client& client,
                                                 const Hidl::FmqConfig& config) override {
        adcFlicker.accept(queue, client, config);
        return answer();
    }
    Return<Hidl::Result> prepareAmbientLightStream(const Queue<Hidl::AmbientLightData>& queue,
                                                   const Client& client,
                                                   const Hidl::FmqConfig& config) override {
        ambientLight.accept(queue, client, config);
        return answer();
    }
    Return<Hidl::Result> controlFlickerStream(const Client& client,
                                              Hidl::StreamCommand command) override {
        commands.push_back({"flicker", command, client});
        return answer();
    }
    Return<Hidl::Result> controlAdcFlickerStream(const Client& client,
                                                 Hidl::StreamCommand command) override {
        commands.push_back({"ADC flicker", command, client});
        return answer();
    }
    Return<Hidl::Result> controlAmbientLightStream(const Client& client,
                                                   Hidl::StreamCommand command) override {
        commands.push_back({"ambient light", command, client});
        return answer();
    }

    bool hasProperties = true;
    ServiceEnd<Hidl::FlickerData> flicker;
    ServiceEnd<Hidl::AdcFlickerData> adcFlicker;
    ServiceEnd<Hidl::AmbientLightData> ambientLight;
    std::vector<Command> commands;
};

class FakeFaceEyeTrackingLed : public FakeService<Hidl::IFaceEyeTrackingLed> {
  public:
    using Client = android::sp<Hidl::ISensorClient>;
    using Configurations = android::hardware::hidl_vec<Hidl::FaceEyeTrackingLedConfiguration>;

    Return<Hidl::Result> setConfigurations(const Client& client,
                                           const Configurations& newConfigurations) override {
        configurations.push_back(newConfigurations);
        return answerTo(client, "setConfigurations");
    }
    Return<Hidl::Result> enable(const Client& client) override {
        return answerTo(client, "enable");
    }
    Return<Hidl::Result> disable(const Client& client) override {
        return answerTo(client, "disable");
    }
    Return<uint8_t> getChannelCount(Hidl::FaceEyeTrackingLedGroup group) override {
        if (transportFails) {
            return deadObject();
        }
        // Tells which group was asked for.
        return static_cast<uint8_t>(group);
    }
    Return<Hidl::Result> startOverridingLedSettings(const Client& client) override {
        return answerTo(client, "startOverridingLedSettings");
    }
    Return<Hidl::Result> stopOverridingLedSettings(const Client& client) override {
        return answerTo(client, "stopOverridingLedSettings");
    }

    std::vector<Configurations> configurations;
    std::vector<std::string> calls;
    std::vector<Client> clients;

  private:
    Return<Hidl::Result> answerTo(const Client& client, const char* call) {
        calls.push_back(call);
        clients.push_back(client);
        return answer();
    }
};

class FakeTambril : public FakeService<Hidl::ITambril> {
  public:
    using Callback = android::sp<Hidl::ITambrilCallback>;

    struct Sent {
        Callback callback;
        uint64_t address;
        uint32_t procedure;
        std::vector<uint8_t> payload;
    };
    struct Translation {
        int64_t time;
        Hidl::TimeDomain from;
        Hidl::TimeDomain to;
    };

    Return<uint32_t> getProtocolVersion() override { return 1U; }
    Return<uint32_t> getMaxPayloadSize() override { return 8192U; }
    Return<Hidl::Result> registerClient(Hidl::KivraRpcClientId id,
                                        const Callback& newCallback) override {
        calls.push_back("register " + toString(id));
        callback = newCallback;
        if (duringRegistration) {
            duringRegistration();
        }
        return answer();
    }
    Return<Hidl::Result> unregisterClient(Hidl::KivraRpcClientId id) override {
        calls.push_back("unregister " + toString(id));
        return answer();
    }
    Return<Hidl::Result> sendMessage(const Callback& sender, uint64_t address, uint32_t procedure,
                                     const android::hardware::hidl_vec<uint8_t>& payload) override {
        sent.push_back({sender, address, procedure, payload});
        return answer();
    }
    Return<int64_t> translateTime(int64_t time, Hidl::TimeDomain from,
                                  Hidl::TimeDomain to) override {
        if (transportFails) {
            return deadObject();
        }
        translations.push_back({time, from, to});
        return translated;
    }

    Callback callback;
    std::function<void()> duringRegistration;
    std::vector<std::string> calls;
    std::vector<Sent> sent;
    std::vector<Translation> translations;
    int64_t translated = 0;
};

}  // namespace TestSupport
