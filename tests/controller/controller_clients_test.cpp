// The streaming and the management client: arguments, results, and the reaction to a failed
// transport, which differs from call to call.
#include <array>
#include <cstdint>
#include <memory>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "controller/controller_management_client.h"
#include "controller/controller_streaming_client.h"
#include "support/fake_service.h"
#include "support/fatal_calls.h"

namespace {

using namespace ::testing;
using namespace TestSupport;
using namespace Vek::Sensors;
using namespace HidlWrapper;

constexpr ControllerAddr kAddress{5};
const std::string kTo = " {.address = 5}";

template <typename Client, typename Interface>
class ClientTest : public Test {
  protected:
    // A client that is destroyed calls its service, which must be reachable for that.
    void TearDown() override { service->transportFails = false; }

    sp<Fake<Interface>> service = new Fake<Interface>;
    Client client{sp<Interface>(service)};
};
using HalStreaming = Hidl::IControllerStreamingClient;
using HalManagement = Hidl::IControllerManagementClient;
using StreamingClientTest = ClientTest<ControllerStreamingClient, HalStreaming>;
using StreamingClientDeathTest = StreamingClientTest;
using ManagementClientTest = ClientTest<ControllerManagementClient, HalManagement>;
using ManagementClientDeathTest = ManagementClientTest;

TEST_F(StreamingClientTest, CommandsAreTrueOnlyIfDeliveredAndAccepted) {
    using C = IControllerStreamingClient;
    static std::array<uint8_t, 255> bytes;
    std::iota(bytes.begin(), bytes.end(), uint8_t{0});
    static std::array<int8_t, 72> frame;
    std::iota(frame.begin(), frame.end(), int8_t{-36});
    const struct {
        std::string call;
        bool (*make)(C&);
        /// Whether a failed transport counts as a refusal.
        bool folded = true;
    } commands[]{
        {"controlInputADCStreaming" + kTo + " true",
         [](C& c) { return c.controlInputADCStreaming(kAddress, true); }, false},
        {"sleepController" + kTo, [](C& c) { return c.sleepController(kAddress); }, false},
        {"wakeController" + kTo, [](C& c) { return c.wakeController(kAddress); }, false},
        {"setLedConfig {.hand = LEFT, .pattern = BLINK, .red = 1, .green = 2, .blue = 3, "
         ".brightness = 4, .period = 500}",
         [](C& c) {
             return c.setLedConfig({ControllerHand::LEFT, LedPattern::BLINK, 1, 2, 3, 4, 500});
         }},
        {"setTransmitPowerBoost -3", [](C& c) { return c.setTransmitPowerBoost(-3); }},
        {"setMaxHostTransmitPower -128", [](C& c) { return c.setMaxHostTransmitPower(-128); }},
        {"setSimpleHaptics" + kTo + " 255", [](C& c) { return c.setSimpleHaptics(kAddress, 255); }},
        {"setSimpleHapticsPattern" + kTo +
             " [{.intensity = 1, .duration = 2}, {.intensity = 3, .duration = 4}, {.intensity = 5, "
             ".duration = 6}, {.intensity = 7, .duration = 8}, {.intensity = 9, .duration = 10}, "
             "{.intensity = 11, .duration = 12}]",
         [](C& c) {
             return c.setSimpleHaptics(kAddress,
                                       {{{1, 2}, {3, 4}, {5, 6}, {7, 8}, {9, 10}, {11, 12}}});
         }},
        {"setBufferedHaptics" + kTo + " 1.500000 255 true " +
             toString(hidl_vec<uint8_t>(bytes.begin(), bytes.end())),
         [](C& c) { return c.setBufferedHaptics(kAddress, 1.5, 255, true, bytes.data()); }},
        {"setBufferedHaptics" + kTo + " -1.000000 2 false [0, 1]",
         [](C& c) { return c.setBufferedHaptics(kAddress, -1, 2, false, bytes.data()); }},
        {"appendBufferedHaptics" + kTo + " 3 [0, 1, 2]",
         [](C& c) { return c.appendBufferedHaptics(kAddress, 3, bytes.data()); }},
        {"appendBufferedHaptics" + kTo + " 0 []",
         [](C& c) { return c.appendBufferedHaptics(kAddress, 0, nullptr); }},
        {"appendPCMHaptics" + kTo + " " + toString(hidl_vec<int8_t>(frame.begin(), frame.end())),
         [](C& c) { return c.appendPCMHaptics(kAddress, frame); }},
        {"setThumbstickMaxADCRange" + kTo +
             " {.minimumX = 1, .maximumX = 65535, .minimumY = 3, .maximumY = 4}",
         [](C& c) {
             return c.setThumbstickMaxADCRange(kAddress, {1, 65535, 3, 4});
         }},
        {"resetThumbstickMaxADCRange" + kTo,
         [](C& c) { return c.resetThumbstickMaxADCRange(kAddress); }},
        {"setThumbstickDeadzone" + kTo + " 7.500000",
         [](C& c) { return c.setThumbstickDeadzone(kAddress, 7.5F); }},
        {"resetThumbstickDeadzone" + kTo, [](C& c) { return c.resetThumbstickDeadzone(kAddress); }},
    };
    for (const auto& command : commands) {
        SCOPED_TRACE(command.call);
        service->calls.clear();
        EXPECT_TRUE(command.make(client));
        EXPECT_THAT(service->calls, ElementsAre(command.call));
        for (bool* const flag : {&service->succeeds, &service->transportFails}) {
            if (command.folded || flag == &service->succeeds) {
                *flag = !*flag;
                EXPECT_FALSE(command.make(client));
                *flag = !*flag;
            }
        }
    }
}

TEST_F(StreamingClientTest, OptionalValuesAreThereOnlyIfDeliveredAndAccepted) {
    service->returns<&HalStreaming::getThumbstickMaxADCRange>(Hidl::ThumbstickADCRange{1, 2, 3, 4});
    service->returns<&HalStreaming::getThumbstickDeadzone>(0.25F);
    EXPECT_EQ(client.getThumbstickMaxADCRange(kAddress)->maximumY, 4);
    EXPECT_EQ(client.getThumbstickDeadzone(kAddress), 0.25F);
    for (bool* const flag : {&service->succeeds, &service->transportFails, &service->callsBack}) {
        *flag = !*flag;
        EXPECT_FALSE(client.getThumbstickMaxADCRange(kAddress).has_value());
        EXPECT_FALSE(client.getThumbstickDeadzone(kAddress).has_value());
        *flag = !*flag;
    }
}

TEST_F(StreamingClientTest, QueriesReturnWhatIsDeliveredEvenWithAFailure) {
    service->returns<&HalStreaming::getCalibrationData>(uint16_t{7}, hidl_string("data"));
    service->returns<&HalStreaming::getLedConfig>(Hidl::ControllerLedConfig{
        Hidl::ControllerHand::RIGHT, Hidl::LedPattern::BREATHE, 1, 2, 3, 4, 500});
    client.enable(kAddress);
    client.disable(kAddress);
    EXPECT_THAT(service->calls, ElementsAre("enable" + kTo, "disable" + kTo));
    const ControllerCalibrationData calibration = client.getCalibrationData(kAddress);
    EXPECT_EQ(calibration.version, 7);
    EXPECT_EQ(calibration.data, "data");
    ControllerLedConfig config{};
    EXPECT_TRUE(client.getLedConfig(kAddress, config));
    config = {};
    service->succeeds = false;
    EXPECT_FALSE(client.getLedConfig(kAddress, config));
    EXPECT_EQ(config.hand, ControllerHand::RIGHT);
    EXPECT_EQ(config.period, 500);

    service->callsBack = false;
    config.period = 77;
    EXPECT_FALSE(client.getLedConfig(kAddress, config));
    EXPECT_EQ(config.period, 77);
    EXPECT_EQ(client.getCalibrationData(kAddress).version, 0);
}

TEST_F(StreamingClientDeathTest, FailedTransportIsFatalUnlessItCountsAsARefusal) {
    ControllerLedConfig config;
    const std::string controller = "(Vek::Sensors::ControllerAddr";
    expectFatal(
        *service, "ControllerStreamingClient::",
        {{"Vek::Sensors::ControllerCalibrationData ", "getCalibrationData" + controller + ")",
          [&] { client.getCalibrationData(kAddress); }},
         {"void ", "enable" + controller + ")", [&] { client.enable(kAddress); }},
         {"void ", "disable" + controller + ")", [&] { client.disable(kAddress); }},
         {"bool ", "controlInputADCStreaming" + controller + ", bool)",
          [&] { client.controlInputADCStreaming(kAddress, true); }},
         {"bool ", "getLedConfig" + controller + ", Vek::Sensors::ControllerLedConfig &)",
          [&] { client.getLedConfig(kAddress, config); }}});
    service->transportFails = true;
    expectFatal({{"Failed HIDL call: Status(", [&] { client.sleepController(kAddress); }},
                 {"Failed HIDL call: Status(", [&] { client.wakeController(kAddress); }}});
}

template <typename Client, typename Interface>
void expectRelease(const std::string& name) {
    const sp<Fake<Interface>> service = new Fake<Interface>;
    { const Client client{sp<Interface>(service)}; }
    EXPECT_THAT(service->calls, ElementsAre("release"));
    EXPECT_EQ(service->unlinkCalls, 1);
    auto* const client = new Client{sp<Interface>(service)};
    expectFatal(*service, name + "::", {{"", "~" + name + "()", [&] { delete client; }}});
    delete client;
    expectFatal({{"/pointers: 77 `ptr_ != nullptr`", [] { Client{sp<Fake<Interface>>()}; }},
                 {kNullPointer, [] { Client{sp<Interface>()}; }}});
}

TEST(ControllerClientsDeathTest, DestructionReleasesTheServicesObjectAndNullIsAContractFailure) {
    expectRelease<ControllerStreamingClient, HalStreaming>("ControllerStreamingClient");
    expectRelease<ControllerManagementClient, HalManagement>("ControllerManagementClient");
}

TEST_F(ManagementClientTest, ResultsAreTheServicesOwnAndBadStateIfNotDelivered) {
    const auto resultsOfAll = [&] {
        return std::vector<ControllerResult>{
            client.enterDMM(kAddress), client.exitDMM(kAddress), client.pairController(kAddress),
            client.unpairController(kAddress),
            client.updateFirmware(kAddress, ControllerType::STYLUS, {{}, 1000, 0.5F})};
    };
    for (const int result : {0, 1, 2, 4, 77}) {
        service->result = static_cast<Hidl::Result>(result);
        EXPECT_THAT(resultsOfAll(), Each(static_cast<ControllerResult>(result)));
    }
    service->result = Hidl::Result::SUCCESS;
    service->transportFails = true;
    service->calls.clear();
    EXPECT_THAT(resultsOfAll(), Each(ControllerResult::BAD_STATE));
    EXPECT_THAT(service->calls, ElementsAre("enterDMM" + kTo, "exitDMM" + kTo,
                                            "pairController" + kTo, "unpairController" + kTo,
                                            StartsWith("updateFirmware" + kTo + " STYLUS {")));
}

TEST_F(ManagementClientTest, ProgressReachesTheFunctionAsLongAsTheServiceHoldsTheCallback) {
    HalManagement::FWUpdateCallbackConfig update{};
    service->on<&HalManagement::updateFirmware>([&](auto&, auto, const auto& config) {
        update = config;
        return Hidl::Result::SUCCESS;
    });
    std::vector<float> seen;
    auto token = std::make_shared<int>();
    const std::weak_ptr<int> held = token;
    client.updateFirmware(
        kAddress, ControllerType::HANDHELD,
        {[&seen, token = std::move(token)](float progress) { seen.push_back(progress); }, 1000,
         0.5F});
    EXPECT_EQ(update.minimumInterval, 1000);
    EXPECT_EQ(update.minimumStep, 0.5F);
    EXPECT_EQ(update.callback->handleProgressUpdate(0.5F), Hidl::Result::SUCCESS);
    EXPECT_THAT(seen, ElementsAre(0.5F));
    EXPECT_FALSE(held.expired());
    update.callback = nullptr;
    EXPECT_TRUE(held.expired());

    client.updateFirmware(kAddress, ControllerType::HANDHELD, {});
    EXPECT_THROW((void)update.callback->handleProgressUpdate(0.5F).isOk(), std::bad_function_call);
}

TEST_F(ManagementClientDeathTest, FailedQueryIsFatalWithTheSignature) {
    service->returns<&HalManagement::getAdvertisingControllers>(
        hidl_vec<Hidl::AdvertisingControllerInfo>(2));
    EXPECT_EQ(client.getAdvertisingControllers().size(), 2U);
    expectFatal(*service, "ControllerManagementClient::",
                {{"std::vector<AdvertisingControllerInfo> ", "getAdvertisingControllers()",
                  [&] { client.getAdvertisingControllers(); }}});
}

}  // namespace
