// Clients whose service is killed, and the service whose clients are.
#include <gtest/gtest.h>
#include <hidl/ServiceManagement.h>
#include <unistd.h>
#include <vek/sensors/service.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "end_to_end/environment.h"
#include "end_to_end/inbox.h"

namespace {

using namespace std::chrono_literals;
using namespace Vek::Sensors;
using ::testing::ExitedWithCode;
using ::testing::KilledBySignal;
using TestSupport::EndToEndTest;
using TestSupport::Inbox;
using TestSupport::Simulator;

/// Whether a look-up finds nothing. Skipped if look-ups wait for the next service, as on the
/// device.
template <typename Create>
bool findsNothing(Create create) {
    return android::hardware::details::isAsOnDevice() || create() == nullptr;
}

// A client of each area. It can
// - occupy everything that the service could keep for a client,
// - receive records, and say whether some came and none is missing,
// - say whether it is served as it is when there is no other client,
// - say whether it finds its service gone.

struct MotionClient {
    static constexpr char kRole[] = "motion";
    static constexpr size_t kKilled[] = {1, 10, 10};  // at a time

    MotionClient() { imu->start(); }
    void occupy() {}
    bool receive() { return samples.receive(20) && samples.lost() == 0; }
    bool isServed() { return samples.receive(1000) && samples.lost() == 0; }
    bool isOrphaned() { return findsNothing(createImuSensor); }

    std::unique_ptr<ICompositeStream> composite = TestSupport::makeComposite();
    std::unique_ptr<IImuSensor> imu = createImuSensor();
    Inbox<ImuData> samples{imu->stream(), *composite};
};

struct ControllerClient {
    static constexpr char kRole[] = "controllers";
    static constexpr size_t kKilled[] = {1, 10, 10};
    static constexpr ControllerAddr kLeft{0x5A'00'00'00'00'01};

    ControllerClient() { client->enable(kLeft); }
    void occupy() {
        client->setSimpleHaptics(kLeft, 255);
        owner = createControllerStateProvider();
        haptics.emplace(owner->streamHapticsState(), *composite);
        owner->startHapticsStateStream();
        owner->preparePoseOutputStream();
        owner->startPoseOutputStream();
        owner->sendPose({});
    }
    bool receive() { return samples.receive(20) && samples.lost() == 0; }
    /// Also checks poses of the simulated hands: they only arrive if the former owner of the poses
    /// is gone.
    bool isServed() {
        return receive() && poses.receive(10) && poses.lost() == 0 &&
               provider.getPairedControllers().size() == 2;
    }
    bool isOrphaned() {
        const bool isRefused = !client->setSimpleHaptics(kLeft, 1) &&
                               !client->getThumbstickDeadzone(kLeft) &&
                               management->pairController(kLeft) == ControllerResult::BAD_STATE &&
                               !provider.setWirelessFreqBlocklist({1});
        // Not destroyed: their destructors would call the dead service.
        client.release();
        management.release();
        return isRefused && findsNothing(createControllerStateProvider);
    }

    HidlWrapper::ControllerProvider provider;
    std::unique_ptr<ICompositeStream> composite = TestSupport::makeComposite();
    Inbox<PairedControllerInfo> states{provider.streamStateChanges(), *composite};
    Inbox<ControllerImuData> samples{provider.streamImu(), *composite};
    Inbox<PoseInput> poses{provider.streamPose(), *composite};
    decltype(provider.getStreamingClient()) client = provider.getStreamingClient();
    decltype(provider.getManagementClient()) management = provider.getManagementClient();
    decltype(createControllerStateProvider()) owner;
    std::optional<Inbox<HapticsState>> haptics;
};

struct EnvironmentClient {
    static constexpr char kRole[] = "environment";
    static constexpr size_t kKilled[] = {1, 1, 1};  // There is one KivraRpc client at a time.
    EnvironmentClient() {
        light->flickerStart();
        light->adcFlickerStart();
        light->ambientLightStart();
        timing->startExternalTimestampDataStream();
        rpc->registerKivraRpcClient("CMS", [told = told](const auto& /*message*/) { ++*told; });
    }
    void occupy() {
        leds->startOverridingLedSettings();
        leds->enable();
    }
    bool receive() {
        return flicker.receive(1) && blocks.receive(2) && ambient.receive(1) && pulses.receive(1) &&
               flicker.lost() + blocks.lost() + ambient.lost() + pulses.lost() == 0 &&
               TestSupport::becomesTrue([this] { return *told > 0; });
    }
    bool isServed() {
        return receive() &&
               TestSupport::becomesTrue([this] { return leds->startOverridingLedSettings(); });
    }
    bool isOrphaned() {
        return findsNothing(createTambStream) && findsNothing(createFaceEyeTrackingLed);
    }

    std::unique_ptr<ICompositeStream> composite = TestSupport::makeComposite();
    std::unique_ptr<IFlickerSensorProvider> light = createFlickerSensor(nullptr);
    std::unique_ptr<IExternalTimingProvider> timing = createExternalTimingProvider();
    decltype(createFaceEyeTrackingLed()) leds = createFaceEyeTrackingLed();
    decltype(createTambStream()) rpc = createTambStream();
    std::shared_ptr<std::atomic<size_t>> told = std::make_shared<std::atomic<size_t>>(0);
    Inbox<FlickerData> flicker{light->flickerStream(), *composite};
    Inbox<AdcFlickerData> blocks{light->adcFlickerStream(), *composite};
    Inbox<AmbientLightData> ambient{light->ambientLightStream(), *composite};
    Inbox<ExternalTimestampData> pulses{timing->streamExternalTimestampData(), *composite};
};

template <typename Client>
int runClient() {
    Client client;
    client.occupy();
    if (!client.receive() || !TestSupport::sendNotice("streaming")) {
        return 1;
    }
    while (client.receive()) {
    }
    return 1;
}

template <typename Client>
class DeathsTest : public EndToEndTest {};
struct RoleNames {
    template <typename Client>
    static std::string GetName(int /*index*/) {
        return Client::kRole;
    }
};
using Clients = ::testing::Types<MotionClient, ControllerClient, EnvironmentClient>;
TYPED_TEST_SUITE(DeathsTest, Clients, RoleNames);

const TestSupport::ClientRole kRoles[] = {{MotionClient::kRole, runClient<MotionClient>},
                                          {ControllerClient::kRole, runClient<ControllerClient>},
                                          {EnvironmentClient::kRole, runClient<EnvironmentClient>}};

const std::vector<std::string> kNotifications{"--rpc-notifications", "1000"};

TYPED_TEST(DeathsTest, KilledClientsLeaveNothingInTheService) {
    const Simulator simulator(kNotifications);
    const TestSupport::ProcessResources before = TestSupport::resourcesOf(simulator.pid());
    // The first clients make the service allocate what it keeps permanently, mainly threads.
    size_t threads = before.threads + 64;
    for (const size_t count : TypeParam::kKilled) {
        TestSupport::startClients(TypeParam::kRole, count);
        const size_t grown = TestSupport::resourcesOf(simulator.pid()).threads;
        EXPECT_TRUE(simulator.settlesAt({before.descriptors, threads, before.mappings}));
        threads = count > 1 ? grown : threads;
    }
    EXPECT_TRUE(TypeParam().isServed());
}

TYPED_TEST(DeathsTest, ClientOutlivesItsServiceAndFindsTheNextOne) {
    EXPECT_EXIT(
        {
            TestSupport::watchForDeath();
            Simulator first(kNotifications);
            auto client = std::make_unique<TypeParam>();
            bool works = client->receive();
            first.kill();
            TestSupport::awaitDeath();
            client->composite->waitFor(0ns);
            works = works && client->isOrphaned();
            client.reset();
            const Simulator second(kNotifications);
            works = works && TypeParam().isServed();
            _exit(works ? 0 : 1);
        },
        ExitedWithCode(0), "ignoring.\n");
}

TEST_F(EndToEndTest, ClientReactsToTheDeathOfItsServiceAsChosen) {
    struct Reaction {
        std::optional<bool> suppressesDumps;
        bool suppressesThemLater;
        std::function<bool(int)> end;
        std::string text;
    };
    const std::string text =
        "/Moriak-HidlWrapper: Unexpected service death detected. [^ ]*end_to_end_tests ";
    const Reaction reactions[] = {
        {std::nullopt, false, ExitedWithCode(0), "^E" + text + "ignoring.\n$"},
        {true, false, KilledBySignal(SIGUSR2), "E" + text + "Exiting.\n$"},
        {false, false, KilledBySignal(SIGABRT), "F" + text + "Aborting.\n"},
        {std::nullopt, true, KilledBySignal(SIGUSR2),
         "E" + text +
             "ignoring.\nE/Moriak-HidlWrapper: HIDL error in virtual void "
             "Vek::Sensors::HidlWrapper::ImuSensor::stop\\(\\): [^\n]*DEAD_OBJECT[^\n]*\n$"}};
    for (const Reaction& reaction : reactions) {
        EXPECT_EXIT(
            {
                TestSupport::watchForDeath();
                if (reaction.suppressesDumps) {
                    suppressTransportCrashDumps(*reaction.suppressesDumps);
                }
                Simulator simulator;
                MotionClient client;
                const bool streamed = client.receive();
                if (reaction.suppressesThemLater) {
                    suppressTransportCrashDumps(true);
                }
                simulator.kill();
                TestSupport::awaitDeath();
                client.composite->waitFor(0ns);
                if (reaction.suppressesThemLater) {
                    client.imu->stop();
                }
                _exit(streamed ? 0 : 1);
            },
            reaction.end, reaction.text);
    }
}

}  // namespace
