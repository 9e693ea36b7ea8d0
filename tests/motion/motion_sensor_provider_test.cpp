// The provider alive, and dead with its service.
#include "motion/motion_sensor_provider.h"

#include <log/log.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "support/captured_log.h"
#include "support/fake_service.h"
#include "support/fatal_calls.h"

namespace {

using namespace ::testing;
using namespace TestSupport;
using Vek::Sensors::HidlWrapper::MotionSensorProvider;

const std::string kScope = "Vek::Sensors::HidlWrapper::MotionSensorProvider::";

class MotionSensorProviderTest : public Test {
  protected:
    sp<Fake<Hidl::IMotionSensorProvider>> service = new Fake<Hidl::IMotionSensorProvider>;
    MotionSensorProvider provider{sp<Hidl::IMotionSensorProvider>(service)};
};
using MotionSensorProviderDeathTest = MotionSensorProviderTest;

TEST_F(MotionSensorProviderTest, SensorListIsReturnedEvenWithAnErrorWhichIsLogged) {
    Hidl::MotionSensorMetadata metadata;
    metadata.sensors = {
        {7, Hidl::MotionSensorKind::MAGNETOMETER, Hidl::MotionSensorMount::BOARD, 3},
        {8, static_cast<Hidl::MotionSensorKind>(200), Hidl::MotionSensorMount::HEADSET, 4}};
    service->returns<&Hidl::IMotionSensorProvider::getSensorInfo>(metadata);
    service->result = Hidl::Result::FAILURE;
    CapturedLog log;
    const auto sensors = provider.getSensorInfo().sensors;
    EXPECT_THAT(log.take(), ElementsAre(errorLine("Error fetching sensor info: 1")));
    using Vek::Sensors::MotionSensorKind;
    using Vek::Sensors::MotionSensorMount;
    EXPECT_THAT(
        sensors,
        ElementsAre(FieldsAre(7, MotionSensorKind::MAGNETOMETER, MotionSensorMount::BOARD, 3),
                    FieldsAre(8, MotionSensorKind(200), MotionSensorMount::HEADSET, 4)));
}

TEST_F(MotionSensorProviderTest, SensorsAreRequestedByTheirNumber) {
    using I = Hidl::IMotionSensorProvider;
    service->on<&I::getImu>([](uint32_t sensor) -> sp<Hidl::IImu> {
        return sensor == 7 ? new Fake<Hidl::IImu> : nullptr;
    });
    service->on<&I::getMag>([](uint32_t sensor) -> sp<Hidl::IMag> {
        return sensor == 8 ? new Fake<Hidl::IMag> : nullptr;
    });
    EXPECT_NE(provider.getImu(7), nullptr);
    EXPECT_EQ(provider.getImu(8), nullptr);
    EXPECT_NE(provider.getMag(8), nullptr);
    EXPECT_EQ(provider.getMag(7), nullptr);
}

TEST_F(MotionSensorProviderDeathTest, FailedTransportIsFatalWithTheSignature) {
    expectFatal(
        *service, "MotionSensorProvider::",
        {{"Vek::Sensors::MotionSensorMetadata ", "getSensorInfo()",
          [&] { provider.getSensorInfo(); }},
         {"std::unique_ptr<IImuSensor> ", "getImu(uint32_t)", [&] { provider.getImu(0); }},
         {"std::unique_ptr<IMagSensor> ", "getMag(uint32_t)", [&] { provider.getMag(0); }}});
}

// The reaction to a death happens once for a process, so this runs in a child.
TEST_F(MotionSensorProviderTest, DeadProviderAnswersEmptyWithALineForEachCall) {
    const auto dead = [](const std::string& type, const std::string& function) {
        return "E/Moriak-HidlWrapper: virtual " + type + kScope + function +
               " called on dead MotionSensorProvider object\n";
    };
    EXPECT_EXIT(
        {
            service->die();
            const bool empty = provider.getSensorInfo().sensors.empty() &&
                               provider.getImu(0) == nullptr && provider.getMag(1) == nullptr &&
                               service->unlinkCalls == 1;
            _exit(empty ? 0 : 1);
        },
        ExitedWithCode(0),
        AllOf(HasSubstr("motion_tests invoking custom coronaries.\n"
                        "E/Moriak-HidlWrapper: MotionSensorProvider death callback\n"
                        "E/Moriak-HidlWrapper: Unexpected service death detected. "),
              HasSubstr("motion_tests ignoring.\n" +
                        dead("Vek::Sensors::MotionSensorMetadata ", "getSensorInfo()") +
                        dead("std::unique_ptr<IImuSensor> ", "getImu(uint32_t)") +
                        dead("std::unique_ptr<IMagSensor> ", "getMag(uint32_t)"))));
}

// A death that comes during a call is handled after it; the provider's end waits for both.
TEST_F(MotionSensorProviderTest, CallsDeathAndDestructionComeOneAfterAnother) {
    using I = Hidl::IMotionSensorProvider;
    /// Dies during each call, and notices what happens while it is being unlinked.
    struct Service : Fake<I> {
        android::hardware::Return<bool> unlinkToDeath(const Recipient& linked) override {
            duringUnlink();
            return Fake<I>::unlinkToDeath(linked);
        }
        std::function<void()> duringUnlink = [] {};
    };
    const auto isHeldUp = [](const std::future<void>& other) {
        return other.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout;
    };
    const auto expectHeldUp = [&](auto call) {
        EXPECT_EXIT(
            {
                const sp<Service> mortal = new Service;
                auto doomed = std::make_unique<MotionSensorProvider>(sp<I>(mortal));
                std::future<void> death;
                std::future<void> destruction;
                bool deathWaits = false;
                bool destructionWaits = false;
                const auto die = [&] {
                    death = std::async(std::launch::async, [&] { mortal->die(); });
                    deathWaits = isHeldUp(death);
                };
                mortal->duringUnlink = [&] {
                    destruction = std::async(std::launch::async, [&] { doomed.reset(); });
                    destructionWaits = isHeldUp(destruction);
                };
                mortal->on<&I::getSensorInfo>([&](const auto&) {
                    die();
                    return android::hardware::Void();
                });
                mortal->on<&I::getImu>([&](uint32_t) {
                    die();
                    return nullptr;
                });
                mortal->on<&I::getMag>([&](uint32_t) {
                    die();
                    return nullptr;
                });
                call(*doomed);
                death.wait();
                destruction.wait();
                _exit(deathWaits && destructionWaits ? 0 : 1);
            },
            ExitedWithCode(0), "");
    };
    expectHeldUp([](MotionSensorProvider& p) { p.getSensorInfo(); });
    expectHeldUp([](MotionSensorProvider& p) { p.getImu(0); });
    expectHeldUp([](MotionSensorProvider& p) { p.getMag(0); });
}

TEST_F(MotionSensorProviderTest, DestructionWaitsForTheDeathThatIsBeingHandled) {
    EXPECT_EXIT(
        {
            static std::promise<void> handling;
            static std::promise<void> handled;
            __android_log_set_logger([](const __android_log_message* line) {
                if (line->message == std::string("MotionSensorProvider death callback")) {
                    handling.set_value();
                    handled.get_future().wait();
                }
            });
            auto doomed =
                std::make_unique<MotionSensorProvider>(sp<Hidl::IMotionSensorProvider>(service));
            std::thread death{[&] { service->die(); }};
            handling.get_future().wait();
            const auto destruction = std::async(std::launch::async, [&] { doomed.reset(); });
            const bool waits =
                destruction.wait_for(std::chrono::milliseconds(50)) == std::future_status::timeout;
            handled.set_value();
            destruction.wait();
            death.join();
            _exit(waits ? 0 : 1);
        },
        ExitedWithCode(0), "");
}

}  // namespace
