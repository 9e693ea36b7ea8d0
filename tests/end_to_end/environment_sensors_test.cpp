// Clients of the light sensor, the LEDs, external timing and KivraRpc against the simulated
// service.
#include <gtest/gtest.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdint>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "end_to_end/environment.h"
#include "end_to_end/inbox.h"
#include "support/captured_log.h"

namespace {

using namespace std::chrono_literals;
using namespace Vek::Sensors;
using TestSupport::becomesTrue;
using TestSupport::EndToEndTest;
using TestSupport::Inbox;
using TestSupport::Simulator;
using Kind = KivraRpcMessageKind;

/// A message's payload follows from its number: 0 to 8192 bytes.
std::vector<uint8_t> payloadOf(uint32_t number) {
    std::vector<uint8_t> payload(size_t{number} * 7919 % 8193);
    for (size_t i = 0; i < payload.size(); ++i) {
        payload[i] = static_cast<uint8_t>(number + i * 31);
    }
    return payload;
}

/// The address of the left controller; the next one is the right controller's.
constexpr uint64_t kLeftNumber = 0x5A'00'00'00'00'01;

/// Sends numbered messages from four threads and checks the answers. Shared with the callback,
/// which may be called later than the test thinks.
class Traffic : public std::enable_shared_from_this<Traffic> {
  public:
    static constexpr uint32_t kThreads = 4;

    KivraRpcMsgCallback callback() {
        return [self = shared_from_this()](const KivraRpcMessage& message) { self->take(message); };
    }

    /// Each thread sends `count` messages and has `mostOpen` unanswered at a time. With a thousand
    /// of them, the queue of one-way calls to this process could overflow, which ends the
    /// connection.
    void start(ITambStream& stream, uint32_t count, int64_t mostOpen) {
        times_.resize(size_t{count} * kThreads);
        for (uint32_t thread = 0; thread < kThreads; ++thread) {
            threads_.emplace_back([=, &stream] {
                for (uint32_t i = 0; i < count && !isOver && awaitOpen(thread, mostOpen); ++i) {
                    const uint32_t number = i * kThreads + thread;
                    std::vector<uint8_t> payload = payloadOf(number);
                    change(thread, 1);
                    const bool isSent = stream.sendKivraRpcMsg(
                        ControllerAddr{kLeftNumber + number % 2}, number, payload);
                    change(thread, isSent ? 0 : -1);
                    accepted += isSent ? 1U : 0U;
                }
            });
        }
    }

    /// Whether every accepted message was answered, in the end.
    bool finish() {
        for (std::thread& thread : threads_) {
            thread.join();
        }
        bool isAnswered = true;
        for (uint32_t thread = 0; thread < kThreads; ++thread) {
            isAnswered = awaitOpen(thread, 0) && isAnswered;
        }
        return isAnswered && std::count(times_.begin(), times_.end(), 1) == accepted;
    }

    std::atomic<bool> isOver{false};
    std::atomic<uint32_t> accepted{0};
    std::atomic<uint32_t> damaged{0};
    std::atomic<uint32_t> disordered{0};
    std::atomic<uint32_t> unasked{0};

  private:
    void take(const KivraRpcMessage& message) {
        // Messages of one registration arrive in sequence, but may overlap with the last of an
        // earlier one.
        const std::lock_guard lock(mutex_);
        const uint32_t number = message.header.procedure;
        const auto sequence = static_cast<int64_t>(message.header.sequence);
        int64_t& last = lastSequence_.at(static_cast<uint64_t>(message.address) - kLeftNumber);
        disordered += sequence <= std::exchange(last, sequence) ? 1U : 0U;
        if (message.kind == Kind::NOTIFICATION) {
            ++unasked;
        } else if (number < times_.size() &&
                   message.address == ControllerAddr{kLeftNumber + number % 2} &&
                   message.payload == payloadOf(number)) {
            ++times_[number];
            open_.at(number % kThreads) -= 1;
            changed_.notify_all();
        } else {
            ++damaged;
        }
    }
    void change(uint32_t thread, int64_t open) {
        const std::lock_guard lock(mutex_);
        open_.at(thread) += open;
        changed_.notify_all();
    }
    bool awaitOpen(uint32_t thread, int64_t most) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, 60s, [&] { return open_.at(thread) <= most; });
    }

    std::vector<std::thread> threads_;
    std::vector<uint8_t> times_;
    std::array<int64_t, 2> lastSequence_{-1, -1};
    std::mutex mutex_;
    std::condition_variable changed_;
    std::array<int64_t, kThreads> open_{};
};

/// The answer to one message; none if it was refused.
std::optional<KivraRpcMessage> ask(uint32_t procedure,
                                   ControllerAddr address = ControllerAddr{kLeftNumber}) {
    const auto answer = std::make_shared<std::promise<KivraRpcMessage>>();
    const auto stream = createTambStream();
    stream->registerKivraRpcClient("tracking", [answer](const KivraRpcMessage& message) {
        if (message.kind != Kind::NOTIFICATION) {
            answer->set_value(message);
        }
    });
    std::vector<uint8_t> payload = payloadOf(procedure);
    const bool isSent = stream->sendKivraRpcMsg(address, procedure, payload);
    auto future = answer->get_future();
    const bool isAnswered = isSent && future.wait_for(30s) == std::future_status::ready;
    stream->unregisterKivraRpcClient("tracking");
    return isAnswered ? std::optional(future.get()) : std::nullopt;
}

using EnvironmentSensorsTest = EndToEndTest;

TEST_F(EnvironmentSensorsTest, AllStreamsArriveTogetherWithMotionAndNothingIsLost) {
    const Simulator simulator({"--flicker", "120"});
    const auto composite = TestSupport::makeComposite();
    const auto light = createFlickerSensor(nullptr);
    const auto timing = createExternalTimingProvider();
    const auto imu = createImuSensor();
    Inbox<FlickerData> flicker(light->flickerStream(), *composite);
    Inbox<AdcFlickerData> blocks(light->adcFlickerStream(), *composite);
    Inbox<AmbientLightData> ambient(light->ambientLightStream(), *composite);
    Inbox<ExternalTimestampData> pulses(timing->streamExternalTimestampData(), *composite);
    Inbox<ImuData> samples(imu->stream(), *composite);
    light->flickerStart();
    light->adcFlickerStart();
    light->ambientLightStart();
    timing->startExternalTimestampDataStream();
    imu->start();
    ASSERT_TRUE(flicker.receive(12) && blocks.receive(12) && ambient.receive(12) &&
                pulses.receive(2) && samples.receive(1000));
    EXPECT_EQ(flicker.lost() + blocks.lost() + ambient.lost() + pulses.lost() + samples.lost(), 0U);
    EXPECT_NEAR(flicker.records.back().frequency, 120, 0.1);
    EXPECT_EQ(blocks.records.back().sampleCount, blocks.records.back().samples.size());
    EXPECT_GT(ambient.records.back().illuminance, 100);
    EXPECT_FALSE(light->properties().name.empty());

    // The pulses and the translation are of one clock, as far as the pulses' jitter allows.
    const auto tamb = createTambStream();
    const ExternalTimestampData& pulse = pulses.records.back();
    const int64_t translated =
        tamb->getTimeTranslation(pulse.timestamp, TimeDomain::MONOTONIC, TimeDomain::EXTERNAL);
    EXPECT_LT(std::abs(translated - pulse.externalTimestamp), 50'000);
    EXPECT_EQ(tamb->getTimeTranslation(translated, TimeDomain::EXTERNAL, TimeDomain::MONOTONIC),
              pulse.timestamp);
}

TEST_F(EnvironmentSensorsTest, TenThousandMessagesEachWayFromFourThreadsArriveIntactAndInOrder) {
    const Simulator simulator({"--rpc-notifications", "50"});
    const auto stream = createTambStream();
    const auto traffic = std::make_shared<Traffic>();
    stream->registerKivraRpcClient("CMS", traffic->callback());
    traffic->start(*stream, 2500, 64);
    EXPECT_TRUE(traffic->finish());
    EXPECT_TRUE(becomesTrue([&] { return traffic->unasked > 0; }));
    stream->unregisterKivraRpcClient("CMS");
    EXPECT_EQ(traffic->accepted, 10'000U);
    EXPECT_EQ(traffic->damaged, 0U);
    EXPECT_EQ(traffic->disordered, 0U);
}

TEST_F(EnvironmentSensorsTest, RegistrationsRaceWithSendsAndEveryAcceptedMessageIsAnswered) {
    const Simulator simulator({"--rpc-notifications", "1000"});
    const TestSupport::CapturedLog log;  // of the sends while nobody is registered
    const auto stream = createTambStream();
    const auto traffic = std::make_shared<Traffic>();
    // Each waits for its answers: threads that do nothing but send would hardly ever let go of the
    // lock that a registration needs.
    traffic->start(*stream, 1'000'000, 0);
    for (int round = 0; round < 50; ++round) {
        const char* const id = round % 2 == 0 ? "CMS" : "tracking";
        stream->registerKivraRpcClient(id, traffic->callback());
        // Each registration lasts until at least one message was accepted.
        const uint32_t before = traffic->accepted;
        EXPECT_TRUE(becomesTrue([&] { return traffic->accepted > before; }));
        stream->unregisterKivraRpcClient(id);
    }
    traffic->isOver = true;
    EXPECT_TRUE(traffic->finish());
    EXPECT_EQ(traffic->damaged, 0U);
    EXPECT_TRUE(ask(5));
}

TEST_F(EnvironmentSensorsTest, ControllersRefuseWhatTheyWereToldTo) {
    const Simulator simulator({"--rpc-refuse", "9"});
    const auto answer = ask(9, ControllerAddr{kLeftNumber + 1});
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->kind, Kind::ERROR);
    EXPECT_EQ(answer->address, ControllerAddr{kLeftNumber + 1});
    EXPECT_EQ(ask(8)->kind, Kind::RESPONSE);
    EXPECT_FALSE(ask(8, ControllerAddr{77})) << "there is no such controller";
}

}  // namespace
