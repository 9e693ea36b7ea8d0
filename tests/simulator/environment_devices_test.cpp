// The light, the clocks, the LEDs and the controllers around the simulated headset.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <memory>
#include <numeric>
#include <optional>
#include <vector>

#include "environment/led_service.h"
#include "environment/light_models.h"
#include "environment/tambril_service.h"
#include "support/client_end.h"
#include "support/refused_calls.h"
#include "world/clocks.h"

namespace {

using namespace Simulator;
using Hidl::Result;
using Hidl::TimeDomain;
using TestSupport::FakeClient;
using TestSupport::FakeSensorClient;

constexpr int64_t kSecond = 1'000'000'000;

SampleInstant instantAt(int64_t time) {
    return {time, time + 1000, 0, time, std::chrono::milliseconds{1}};
}

/// The share that flicker of a frequency has in a block, relative to the mean level.
double amplitudeOf(const Hidl::AdcFlickerData& block, double frequency) {
    std::complex<double> sum = 0;
    double mean = 0;
    for (uint32_t i = 0; i < block.sampleCount; ++i) {
        sum += std::polar<double>(block.samples[i], 2 * M_PI * frequency * i / block.sampleRate);
        mean += block.samples[i];
    }
    return 2 * std::abs(sum) / mean;
}

TEST(LightModelsTest, AllThreeStreamsFollowOneSignal) {
    for (const uint32_t flicker : {0U, 100U, 120U}) {
        const auto room = std::make_shared<RoomLight>(flicker, 300);
        AdcFlickerModel adcModel{room};
        for (int64_t time = 1000 * kSecond; time < 1100 * kSecond; time += 7 * kSecond) {
            const Hidl::AdcFlickerData block = adcModel.sample(instantAt(time));
            const Hidl::FlickerData analysis = FlickerModel{room}.sample(instantAt(time));
            const Hidl::AmbientLightData light = AmbientLightModel{room}.sample(instantAt(time));
            ASSERT_EQ(block.sampleCount, 4096U);
            EXPECT_NEAR(analysis.frequency, flicker, 0.03);
            EXPECT_NEAR(amplitudeOf(block, 100), flicker == 100 ? 0.3 : 0, 0.01);
            EXPECT_NEAR(amplitudeOf(block, 120), flicker == 120 ? 0.3 : 0, 0.01);
            EXPECT_NEAR(analysis.peaks[0].amplitude, flicker == 0 ? 0 : 0.3, 1e-6);
            const double mean =
                std::accumulate(block.samples.data(), block.samples.data() + 4096, 0.0) / 4096;
            EXPECT_NEAR(analysis.meanLevel / mean, 1, 0.01);
            EXPECT_NEAR(light.illuminance / (mean / UINT16_MAX * kIlluminanceRange), 1, 0.01);
            EXPECT_EQ(block.status | analysis.status | light.status, 0U);
        }
    }
}

TEST(ClocksTest, TranslationsLeadBackAndKeepTheOrderOfTimes) {
    const TimeDomain domains[] = {TimeDomain::MONOTONIC, TimeDomain::BOOTTIME,
                                  TimeDomain::CONTROLLER, TimeDomain::EXTERNAL};
    for (const TimeDomain from : domains) {
        for (const TimeDomain to : domains) {
            // How long the machine slept is measured anew each time.
            const bool isMeasured = from == TimeDomain::BOOTTIME || to == TimeDomain::BOOTTIME;
            const int64_t tolerance = isMeasured ? kSecond / 20 : 1;
            for (const int64_t time : {-3 * kSecond, int64_t{0}, 12'345 * kSecond + 678}) {
                const int64_t there = translate(time, from, to).value();
                EXPECT_LE(std::abs(translate(there, to, from).value() - time), tolerance);
                EXPECT_GE(translate(time + 2 * tolerance, from, to).value(), there);
            }
            using Limits = std::numeric_limits<int64_t>;
            EXPECT_GT(translate(Limits::max(), from, to).value(), Limits::max() / 2);
            EXPECT_LT(translate(Limits::min(), from, to).value(), Limits::min() / 2);
        }
        EXPECT_EQ(translate(0, from, static_cast<TimeDomain>(4)), std::nullopt);
        EXPECT_EQ(translate(0, static_cast<TimeDomain>(UINT32_MAX), from), std::nullopt);
    }
}

TEST(LedServiceTest, SettingsTakeEffectAllOrNoneAndEndWithTheirClient) {
    using Led = Hidl::FaceEyeTrackingLedConfiguration;
    using Group = Hidl::FaceEyeTrackingLedGroup;
    const android::sp<LedService> leds = new LedService;
    const android::sp<FakeSensorClient> client = new FakeSensorClient;
    // Of one LED as it shines; 0 if it does not.
    const auto current = [&] {
        uint32_t found = 0;
        for (const Led& led : leds->shining()) {
            found = led.group == Group::FACE && led.channel == 3 ? led.current : found;
        }
        return found;
    };
    EXPECT_EQ(leds->setConfigurations(client, {Led{Group::FACE, 3, 55, 10}}), Result::IGNORED);
    EXPECT_EQ(leds->enable(client), Result::SUCCESS);
    const uint32_t own = current();
    EXPECT_NE(own, 55U);
    EXPECT_EQ(leds->startOverridingLedSettings(client), Result::SUCCESS);
    EXPECT_EQ(current(), 55U);
    const Led bad[] = {{Group::FACE, 4, 66, 10},
                       {static_cast<Group>(3), 0, 66, 10},
                       {Group::FACE, 0, LedService::kMaxCurrent + 1, 10},
                       {Group::FACE, 0, 66, LedService::kMaxPulseWidth + 1}};
    for (const Led& led : bad) {
        EXPECT_EQ(leds->setConfigurations(client, {Led{Group::FACE, 3, 66, 10}, led}),
                  Result::FAILURE);
        EXPECT_EQ(current(), 55U);
    }
    // Clients that change nothing give way to others; those that do stay.
    for (size_t i = 0; i < 2 * LedService::kMaxClients; ++i) {
        EXPECT_EQ(leds->setConfigurations(new FakeSensorClient, {}), Result::BAD_STATE);
    }
    EXPECT_EQ(leds->stopOverridingLedSettings(client), Result::SUCCESS);
    EXPECT_EQ(current(), own);
    client->die();
    EXPECT_EQ(client->getStrongCount(), 1);
    EXPECT_EQ(current(), 0U) << "switched on by a client that is gone";
    EXPECT_EQ(leds->enable(nullptr), Result::FAILURE);
}

class Callback : public FakeClient<Hidl::ITambrilCallback> {
  public:
    android::hardware::Return<void> onKivraRpcMessage(const Hidl::KivraRpcMessage&) override {
        ++messages;
        return android::hardware::Void();
    }
    size_t messages = 0;
};

TEST(TambrilServiceTest, InvalidCallsAreRefused) {
    constexpr auto kId = Hidl::KivraRpcClientId::TRACKING;
    constexpr uint64_t kLeft = 0x5A'00'00'00'00'01;
    constexpr uint64_t kStylus = 0x5A'00'00'00'00'03;
    const auto clock = std::make_shared<WorldClock>();
    const auto fleet = std::make_shared<ControllerFleet>(
        ControllerSettings{}, std::make_shared<Faults>(FaultSettings{}), clock,
        std::make_shared<World>(WorldSettings{}));
    const android::sp<TambrilService> service = new TambrilService({100, 300, {}, 0}, fleet, clock);
    const android::sp<Callback> client = new Callback;
    const android::sp<Callback> other = new Callback;
    const auto send = [&](const android::sp<Callback>& from, uint64_t address,
                          size_t size) -> Result {
        return service->sendMessage(from, {address}, 0, std::vector<uint8_t>(size));
    };
    EXPECT_EQ(send(client, kLeft, 0), Result::BAD_STATE);
    EXPECT_EQ(service->unregisterClient(kId), Result::BAD_STATE);
    EXPECT_EQ(service->registerClient(kId, nullptr), Result::FAILURE);
    EXPECT_EQ(service->registerClient(static_cast<Hidl::KivraRpcClientId>(2), client),
              Result::FAILURE);
    other->isDead = true;
    EXPECT_EQ(service->registerClient(kId, other), Result::FAILURE);
    TestSupport::runAtThreadLimit(
        [&] { EXPECT_EQ(service->registerClient(kId, client), Result::FAILURE); });
    EXPECT_EQ(service->registerClient(kId, client), Result::SUCCESS);
    EXPECT_EQ(service->registerClient(kId, other), Result::BAD_STATE);
    EXPECT_EQ(send(other, kLeft, 0), Result::BAD_STATE);
    EXPECT_EQ(send(client, kStylus, 0), Result::FAILURE);  // not paired yet
    EXPECT_EQ(send(client, kLeft, TambrilService::kMaxPayloadSize + 1), Result::FAILURE);
    EXPECT_EQ(send(nullptr, kLeft, 0), Result::BAD_STATE);
    EXPECT_EQ(client->messages, 0U);
    EXPECT_EQ(fleet->pair({kStylus}), Result::SUCCESS);
    EXPECT_EQ(send(client, kStylus, 0), Result::SUCCESS);
    EXPECT_EQ(client->messages, 1U);
    EXPECT_EQ(service->translateTime(5, static_cast<TimeDomain>(9), TimeDomain::MONOTONIC), 0);
}

}  // namespace
