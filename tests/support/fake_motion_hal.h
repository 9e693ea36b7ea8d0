// Motion services in the test's own process, whose answers the test chooses.
#pragma once

#include <vendor/zelvan/hardware/sensors/1.0/IIad.h>
#include <vendor/zelvan/hardware/sensors/1.0/IImu.h>
#include <vendor/zelvan/hardware/sensors/1.0/IMag.h>
#include <vendor/zelvan/hardware/sensors/1.0/IMotionSensorProvider.h>

#include <vector>

#include "support/mortal_object.h"
#include "support/service_end.h"

namespace TestSupport {

using android::hardware::Return;

/// What every fake service has: a result that its control calls answer with, or a transport that
/// fails.
template <typename Interface>
class FakeService : public MortalObject<Interface> {
  public:
    Hidl::Result result = Hidl::Result::SUCCESS;
    bool transportFails = false;

  protected:
    Return<Hidl::Result> answer() const {
        if (transportFails) {
            return deadObject();
        }
        return result;
    }
    static android::hardware::Status deadObject() {
        return android::hardware::Status::fromStatusT(android::DEAD_OBJECT);
    }
};

template <typename Interface, typename Record>
class FakeSensor : public FakeService<Interface> {
  public:
    Return<Hidl::Result> prepareStream(const android::hardware::MQDescriptorSync<Record>& queue,
                                       const android::sp<Hidl::ISensorClient>& client,
                                       const Hidl::FmqConfig& config) override {
        end.accept(queue, client, config);
        return this->answer();
    }
    Return<Hidl::Result> controlStream(const android::sp<Hidl::ISensorClient>& client,
                                       Hidl::StreamCommand command) override {
        commands.push_back(command);
        controlClient = client;
        return this->answer();
    }

    ServiceEnd<Record> end;
    std::vector<Hidl::StreamCommand> commands;
    android::sp<Hidl::ISensorClient> controlClient;
};

/// Of an IMU or a magnetometer.
template <typename Interface, typename Record>
class FakeConfigurableSensor : public FakeSensor<Interface, Record> {
  public:
    Return<void> getProperties(typename Interface::getProperties_cb callback) override {
        if (this->transportFails) {
            return this->deadObject();
        }
        callback(this->result, {"name", "vendor", "serial", "firmware", 2000.0F});
        return android::hardware::Void();
    }
    Return<Hidl::Result> configureStream(const Hidl::MotionStreamProperties& properties) override {
        configuration = properties;
        return this->answer();
    }

    Hidl::MotionStreamProperties configuration{};
};

using FakeImu = FakeConfigurableSensor<Hidl::IImu, Hidl::ImuData>;
using FakeMag = FakeConfigurableSensor<Hidl::IMag, Hidl::MagData>;
using FakeIad = FakeSensor<Hidl::IIad, Hidl::IadData>;

class FakeMotionSensorProvider : public FakeService<Hidl::IMotionSensorProvider> {
  public:
    Return<void> getSensorInfo(getSensorInfo_cb callback) override {
        if (transportFails) {
            return deadObject();
        }
        callback(result, metadata);
        return android::hardware::Void();
    }
    Return<android::sp<Hidl::IImu>> getImu(uint32_t sensor) override {
        return found<Hidl::IImu>(sensor == 0 ? new FakeImu : nullptr);
    }
    Return<android::sp<Hidl::IMag>> getMag(uint32_t sensor) override {
        return found<Hidl::IMag>(sensor == 1 ? new FakeMag : nullptr);
    }

    Hidl::MotionSensorMetadata metadata;

  private:
    template <typename Sensor>
    Return<android::sp<Sensor>> found(android::sp<Sensor> sensor) {
        if (transportFails) {
            return deadObject();
        }
        return sensor;
    }
};

}  // namespace TestSupport
