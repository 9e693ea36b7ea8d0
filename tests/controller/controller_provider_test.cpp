// The users' provider, found through the registry as clients find it.
#include <vek/sensors/controller_provider.h>

#include <array>
#include <cstdint>
#include <optional>

#include "foundation/hal.h"
#include "support/fake_service.h"
#include "support/fatal_calls.h"
#include "support/runtime_directory.h"

namespace {

using namespace ::testing;
using namespace TestSupport;
using namespace Vek::Sensors;
using HidlWrapper::ControllerProvider;

class ControllerProviderTest : public Test {
  protected:
    ControllerProviderTest() {
        EXPECT_EQ(service->registerAsService("default"), android::OK);
        provider.emplace();
    }

    using I = Hidl::IControllerProvider;

    const RuntimeDirectory directory;
    sp<Fake<I>> service = new Fake<I>;
    std::optional<ControllerProvider> provider;
};
using ControllerProviderDeathTest = ControllerProviderTest;

TEST_F(ControllerProviderTest, QueriesReturnWhatTheServiceDeliversAndNothingElse) {
    EXPECT_EQ(provider->getManagementClient(), nullptr);
    EXPECT_NE(provider->streamPose(), nullptr);
    EXPECT_THAT(service->calls, IsEmpty()) << "a stream meets the service when it is added";
    hidl_vec<Hidl::PairedControllerInfo> paired(3);
    paired[2].address.address = 9;
    service->returns<&I::getPairedControllers>(paired);
    service->returns<&I::getHostInfo>(Hidl::SecureHostInfo{6, std::array<uint8_t, 16>{1, 2, 3}});
    service->returns<&I::getWirelessFreqBlocklist>(Hidl::ControllerWirelessFreqBlocklist{0xF0});
    const auto controllers = provider->getPairedControllers();
    ASSERT_EQ(controllers.size(), 3U);
    EXPECT_EQ(controllers[2].address, ControllerAddr{9});
    const auto host = provider->getHostInfo();
    EXPECT_EQ(host.hostId, 6U);
    EXPECT_EQ(host.key, (std::array<uint8_t, 16>{1, 2, 3}));

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

TEST_F(ControllerProviderDeathTest, MissingServiceAndMissingStreamingClientAreContractFailures) {
    expectFatal({{kNullPointer, [&] { provider->getStreamingClient(); }}});
    setenv("MORIAK_HIDL_RUNTIME_DIR", "/nonexistent", 1);
    expectFatal({{kNullPointer, [] { ControllerProvider(); }}});
}

TEST_F(ControllerProviderDeathTest, FailedQueriesAreFatalWithTheirSignatures) {
    ControllerWirelessFreqBlocklist blocklist{};
    expectFatal(
        *service, "ControllerProvider::",
        {{"std::unique_ptr<IControllerManagementClient> ", "getManagementClient()",
          [&] { provider->getManagementClient(); }},
         {"std::unique_ptr<IControllerStreamingClient> ", "getStreamingClient()",
          [&] { provider->getStreamingClient(); }},
         {"std::vector<PairedControllerInfo> ", "getPairedControllers()",
          [&] { provider->getPairedControllers(); }},
         {"bool ", "getWirelessFreqBlocklist(Vek::Sensors::ControllerWirelessFreqBlocklist &)",
          [&] { provider->getWirelessFreqBlocklist(blocklist); }},
         {"Vek::Sensors::SecureHostInfo ", "getHostInfo()", [&] { provider->getHostInfo(); }}});
}

}  // namespace
