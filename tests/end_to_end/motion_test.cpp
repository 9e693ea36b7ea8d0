// Client programs on the public API alone, against the simulated service in its own process.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vek/sensors/factories.h>
#include <vek/sensors/service.h>

#include <memory>
#include <optional>

#include "end_to_end/environment.h"

namespace {

using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::ExitedWithCode;
using ::testing::HasSubstr;
using ::testing::KilledBySignal;
using TestSupport::awaitDeath;
using TestSupport::ChildProcess;
using TestSupport::EndToEndTest;
using TestSupport::Simulator;
using TestSupport::watchForDeath;
using namespace Vek::Sensors;

/// Reads one IMU stream and checks that no sample is missing.
class ImuReader {
  public:
    ImuReader() {
        imu->stream().setCallbackv([this](gsl::span<const gsl::span<const ImuData>> spans) {
            for (const auto& span : spans) {
                for (const ImuData& sample : span) {
                    lost += last && sample.sequence != *last + 1 ? 1U : 0U;
                    last = sample.sequence;
                    ++samples;
                }
            }
        });
        imu->stream().addTo(*composite);
        imu->start();
    }

    /// False if they do not come within a generous bound.
    bool receive(size_t count) {
        const auto deadline = std::chrono::steady_clock::now() + 30s;
        const size_t target = samples + count;
        while (samples < target && std::chrono::steady_clock::now() < deadline) {
            composite->waitUntil(deadline);
        }
        return samples >= target;
    }

    std::unique_ptr<IImuSensor> imu = createImuSensor();
    std::unique_ptr<ICompositeStream> composite =
        createStreamCompositor()->createCompositeStream("test");
    size_t samples = 0;
    size_t lost = 0;
    std::optional<uint32_t> last;
};

const TestSupport::ClientRole kImuClient{
    "imu", [] {
        ImuReader reader;
        if (!reader.receive(20) || !TestSupport::sendNotice("streaming")) {
            return 1;
        }
        while (reader.receive(1000)) {
        }
        return 1;
    }};

using EndToEndDeathTest = EndToEndTest;

TEST_F(EndToEndTest, ThreeStreamsArriveTogetherWithoutLoss) {
    const Simulator simulator;
    ImuReader reader;
    const auto mag = createMagSensor();
    const auto iad = createIadSensor();
    size_t magSamples = 0;
    size_t iadSamples = 0;
    mag->stream().setCallbackv([&](auto spans) { magSamples += spans[0].size(); });
    iad->stream().setCallbackv([&](auto spans) { iadSamples += spans[0].size(); });
    mag->stream().addTo(*reader.composite);
    iad->stream().addTo(*reader.composite);
    mag->start();
    iad->start();
    ASSERT_TRUE(reader.receive(1000));
    EXPECT_EQ(reader.lost, 0U);
    EXPECT_GT(magSamples, 0U);
    EXPECT_GT(iadSamples, 0U);
    reader.imu->stop();
    mag->stop();
    iad->stop();
}

TEST_F(EndToEndTest, ProviderListsAndHandsOutWhatExists) {
    const Simulator simulator;
    const auto provider = createMotionSensorProvider();
    ASSERT_NE(provider, nullptr);
    const MotionSensorMetadata metadata = provider->getSensorInfo();
    ASSERT_FALSE(metadata.sensors.empty());
    for (const MotionSensorInfo& info : metadata.sensors) {
        const bool isImu = info.kind == MotionSensorKind::IMU;
        const auto imu = provider->getImu(info.sensor);
        const auto mag = provider->getMag(info.sensor);
        EXPECT_EQ(imu != nullptr, isImu);
        EXPECT_EQ(mag != nullptr, !isImu);
        EXPECT_FALSE((isImu ? imu->props() : mag->props()).name.empty());
    }
    EXPECT_EQ(provider->getImu(999), nullptr);
}

TEST_F(EndToEndTest, ServiceThatCameBackIsFoundAgain) {
    EXPECT_EXIT(
        {
            watchForDeath();
            Simulator first;
            auto reader = std::make_unique<ImuReader>();
            bool works = reader->receive(10);
            first.kill();
            awaitDeath();
            works = works && createImuSensor() == nullptr;
            reader.reset();
            const Simulator second;
            works = works && ImuReader().receive(10);
            _exit(works ? 0 : 1);
        },
        ExitedWithCode(0), "");
}

TEST_F(EndToEndTest, DeathIsLoggedAndTheProcessLivesOnByDefault) {
    EXPECT_EXIT(
        {
            watchForDeath();
            Simulator simulator;
            ImuReader reader;
            const bool streamed = reader.receive(10);
            simulator.kill();
            awaitDeath();
            reader.composite->waitFor(0ns);
            _exit(streamed ? 0 : 1);
        },
        ExitedWithCode(0),
        "^E/Moriak-HidlWrapper: Unexpected service death detected. [^ ]*end_to_end_tests "
        "ignoring.\n$");
}

TEST_F(EndToEndTest, DeadProviderAnswersEmptyWithItsLogLine) {
    EXPECT_EXIT(
        {
            watchForDeath();
            Simulator simulator;
            const auto provider = createMotionSensorProvider();
            simulator.kill();
            awaitDeath();
            _exit(provider->getSensorInfo().sensors.empty() && !provider->getImu(0) ? 0 : 1);
        },
        ExitedWithCode(0),
        AllOf(HasSubstr("E/Moriak-HidlWrapper: MotionSensorProvider death callback\n"),
              HasSubstr("::getImu(uint32_t) called on dead MotionSensorProvider object\n")));
}

TEST_F(EndToEndDeathTest, SuppressedDumpsEndTheProcessBySignalOnDeath) {
    EXPECT_EXIT(
        {
            suppressTransportCrashDumps(true);
            Simulator simulator;
            ImuReader reader;
            reader.receive(10);
            simulator.kill();
            reader.composite->waitFor(30s);
            pause();
        },
        KilledBySignal(SIGUSR2),
        "E/Moriak-HidlWrapper: Unexpected service death detected. [^ ]*end_to_end_tests "
        "Exiting.\n$");
}

TEST_F(EndToEndDeathTest, DumpsSuppressedAfterwardsTakeEffectAtTheNextCall) {
    EXPECT_EXIT(
        {
            watchForDeath();
            Simulator simulator;
            ImuReader reader;
            suppressTransportCrashDumps(true);
            simulator.kill();
            awaitDeath();
            reader.imu->stop();
        },
        KilledBySignal(SIGUSR2),
        "ignoring.\nE/Moriak-HidlWrapper: HIDL error in virtual void "
        "Vek::Sensors::HidlWrapper::ImuSensor::stop\\(\\): [^\n]*DEAD_OBJECT[^\n]*\n$");
}

TEST_F(EndToEndDeathTest, UnsuppressedDumpsAbortOnDeath) {
    EXPECT_EXIT(
        {
            suppressTransportCrashDumps(false);
            Simulator simulator;
            ImuReader reader;
            simulator.kill();
            pause();
        },
        KilledBySignal(SIGABRT),
        "F/Moriak-HidlWrapper: Unexpected service death detected. [^ ]*end_to_end_tests "
        "Aborting.\n");
}

TEST_F(EndToEndDeathTest, RefusedStartIsFatal) {
    EXPECT_DEATH(
        {
            const Simulator simulator({"--refuse", "IImu.controlStream=BAD_STATE"});
            ImuReader reader;
        },
        "F/Moriak-HidlWrapper: Start imu stream command failed with result: 2\n");
}

TEST_F(EndToEndTest, TenKilledClientsLeaveNothingInTheService) {
    const Simulator simulator;
    // The first client makes the service grow what it keeps for good, its threads above all.
    const auto runClients = [](size_t count) {
        std::vector<std::unique_ptr<ChildProcess>> clients;
        for (size_t i = 0; i < count; ++i) {
            clients.push_back(TestSupport::startClient("imu"));
        }
        for (const auto& client : clients) {
            EXPECT_EQ(client->awaitNotice(), "streaming");
        }
    };
    const TestSupport::ProcessResources before = TestSupport::resourcesOf(simulator.pid());
    runClients(1);
    EXPECT_TRUE(simulator.settlesAt({before.descriptors, before.threads + 64, before.mappings}));
    runClients(10);
    const TestSupport::ProcessResources grown = TestSupport::resourcesOf(simulator.pid());
    runClients(10);
    EXPECT_TRUE(simulator.settlesAt({before.descriptors, grown.threads, before.mappings}));

    ImuReader reader;
    EXPECT_TRUE(reader.receive(1000));
    EXPECT_EQ(reader.lost, 0U);
}

}  // namespace
