// The users' provider, found through the registry as clients find it.
#include <stdlib.h>
#include <vek/sensors/controller_provider.h>
#include <vek/sensors/factories.h>

#include <filesystem>
#include <optional>

#include "foundation/hal.h"
#include "support/fake_controller_hal.h"
#include "support/fatal_calls.h"

namespace {

using namespace Vek::Sensors;
using HidlWrapper::ControllerProvider;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kContract =
    "GSL Precondition failure at external/Microsoft-GSL/include/gsl/pointers: 83 "
    "`ptr_ != nullptr`";

class ControllerProviderTest : public ::testing::Test {
  protected:
    ControllerProviderTest() {
        std::string name = ::testing::TempDir() + "moriak-controllers-XXXXXX";
        directory_ = mkdtemp(name.data());
        setenv("MORIAK_HIDL_RUNTIME_DIR", directory_.c_str(), 1);
    }
    ~ControllerProviderTest() override { std::filesystem::remove_all(directory_); }

    /// Makes the service known and the provider on it.
    ControllerProvider& start() {
        EXPECT_EQ(service->registerAsService("default"), android::OK);
        return provider.emplace();
    }

    android::sp<TestSupport::FakeControllerProvider> service =
        new TestSupport::FakeControllerProvider;
    std::optional<ControllerProvider> provider;

  private:
    std::string directory_;
};
using ControllerProviderDeathTest = ControllerProviderTest;

TEST_F(ControllerProviderTest, StreamsMeetTheirOwnMethodsOnlyWhenAdded) {
    start();
    const auto composite = createStreamCompositor()->createCompositeStream("controllers");
    const auto open = [&](auto stream) {
        EXPECT_THAT(service->calls, IsEmpty());
        stream->addTo(*composite);
        return std::exchange(service->calls, {}).at(0);
    };
    EXPECT_EQ(open(provider->streamStateChanges()), "prepareStateChangeStream");
    EXPECT_EQ(open(provider->streamCurl()), "prepareCurlStream");
    EXPECT_EQ(open(provider->streamImu()), "prepareImuStream");
    EXPECT_EQ(open(provider->streamInput()), "prepareButtonStream");
    EXPECT_EQ(open(provider->streamPrecisionPad()), "preparePrecisionPadStream");
    EXPECT_EQ(open(provider->streamMultiTouch()), "prepareMultiTouchStream");
    EXPECT_EQ(open(provider->streamStylus()), "prepareStylusStream");
    EXPECT_EQ(open(provider->streamWirelessDeviceStats()), "prepareWirelessDeviceStatsStream");
    EXPECT_EQ(open(provider->streamPose()), "preparePoseInputStream");
    EXPECT_EQ(open(provider->streamInputADC()), "prepareInputADCStream");
    EXPECT_EQ(open(provider->streamCollisionEvent()), "prepareCollisionEventStream");
}

TEST_F(ControllerProviderTest, ClientsWrapWhatTheServiceHandsOut) {
    start();
    EXPECT_EQ(provider->getManagementClient(), nullptr);
    const android::sp<TestSupport::FakeManagementClient> management =
        new TestSupport::FakeManagementClient;
    const android::sp<TestSupport::FakeStreamingClient> streaming =
        new TestSupport::FakeStreamingClient;
    service->management = management;
    service->streaming = streaming;
    EXPECT_EQ(provider->getManagementClient()->enterDMM({}), ControllerResult::SUCCESS);
    EXPECT_TRUE(provider->getStreamingClient()->wakeController({}));
    EXPECT_THAT(management->calls, ElementsAre("enterDMM {.address = 0}", "release"));
    EXPECT_THAT(streaming->calls, ElementsAre("wakeController {.address = 0}", "release"));
}

TEST_F(ControllerProviderTest, QueriesReturnWhatTheServiceDeliversAndNothingElse) {
    start();
    EXPECT_TRUE(provider->getPairedControllers().empty());
    service->paired.resize(3);
    service->paired[2].address.address = 9;
    const auto controllers = provider->getPairedControllers();
    ASSERT_EQ(controllers.size(), 3U);
    EXPECT_EQ(controllers[2].address, ControllerAddr{9});

    EXPECT_EQ(provider->getHostInfo().hostId, 6U);
    EXPECT_EQ(provider->getHostInfo().key, (std::array<uint8_t, 16>{1, 2, 3}));

    ControllerWirelessFreqBlocklist blocklist{1};
    EXPECT_TRUE(provider->getWirelessFreqBlocklist(blocklist));
    EXPECT_EQ(blocklist.channels, 0xF0U);
    service->succeeds = false;
    EXPECT_FALSE(provider->getWirelessFreqBlocklist(blocklist));

    service->callsBack = false;
    blocklist.channels = 1;
    EXPECT_FALSE(provider->getWirelessFreqBlocklist(blocklist));
    EXPECT_EQ(blocklist.channels, 1U);
    EXPECT_EQ(provider->getHostInfo().hostId, 0U);
}

TEST_F(ControllerProviderTest, SettingsAreTrueOnlyIfDeliveredAndAccepted) {
    start();
    const SecureDeviceInfo device{ControllerAddr{4}, 5, {6}};
    const auto allAre = [&](bool answer) {
        return provider->setWirelessFreqBlocklist({12}) == answer &&
               provider->clearWirelessFreqBlocklist() == answer &&
               provider->allowDevice(device) == answer;
    };
    EXPECT_TRUE(allAre(true));
    EXPECT_THAT(
        service->calls,
        ElementsAre("setWirelessFreqBlocklist {.channels = 12}", "clearWirelessFreqBlocklist",
                    "allowDevice {.address = {.address = 4}, .deviceId = 5, .key = [6, 0, 0, 0, "
                    "0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0]}"));
    service->succeeds = false;
    EXPECT_TRUE(allAre(false));
    service->succeeds = service->transportFails = true;
    EXPECT_TRUE(allAre(false));
}

TEST_F(ControllerProviderTest, StateOwnersFactoryFindsItsService) {
    const android::sp<TestSupport::FakeControllerStateProvider> state =
        new TestSupport::FakeControllerStateProvider;
    ASSERT_EQ(state->registerAsService("default"), android::OK);
    EXPECT_TRUE(createControllerStateProvider()->notifyBatteryState(1));
}

TEST_F(ControllerProviderDeathTest, MissingServiceAndMissingStreamingClientAreContractFailures) {
    TestSupport::expectFatal({{kContract, [] { ControllerProvider(); }}});
    start();
    TestSupport::expectFatal({{kContract, [&] { provider->getStreamingClient(); }}});
}

TEST_F(ControllerProviderDeathTest, FailedQueriesAreFatalWithTheirSignatures) {
    start();
    service->transportFails = true;
    const auto error = [](const std::string& type, const std::string& method) {
        return TestSupport::transportError(type + " ", "ControllerProvider::", method);
    };
    ControllerWirelessFreqBlocklist blocklist{};
    TestSupport::expectFatal({
        {error("std::unique_ptr<IControllerManagementClient>", "getManagementClient()"),
         [&] { provider->getManagementClient(); }},
        {error("std::unique_ptr<IControllerStreamingClient>", "getStreamingClient()"),
         [&] { provider->getStreamingClient(); }},
        {error("std::vector<PairedControllerInfo>", "getPairedControllers()"),
         [&] { provider->getPairedControllers(); }},
        {error("bool", "getWirelessFreqBlocklist(Vek::Sensors::ControllerWirelessFreqBlocklist &)"),
         [&] { provider->getWirelessFreqBlocklist(blocklist); }},
        {error("Vek::Sensors::SecureHostInfo", "getHostInfo()"), [&] { provider->getHostInfo(); }},
    });
}

}  // namespace
