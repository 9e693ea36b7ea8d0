// Clients of the light sensor, the LEDs, external timing and KivraRpc against the simulated
// service.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <vek/sensors/factories.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "end_to_end/environment.h"
#include "support/captured_log.h"

namespace {

using namespace std::chrono_literals;
using namespace Vek::Sensors;
using ::testing::ExitedWithCode;
using TestSupport::EndToEndTest;
using TestSupport::Simulator;
using Kind = KivraRpcMessageKind;

/// Counts what a stream delivers, and what is missing in between.
template <typename Data>
class RecordCounter {
  public:
    RecordCounter(IDataStream<Data>& stream, ICompositeStream& composite) {
        stream.setCallbackv([this](gsl::span<const gsl::span<const Data>> spans) {
            for (const auto& span : spans) {
                for (const Data& record : span) {
                    lost += records > 0 && record.sequence != last.sequence + 1 ? 1U : 0U;
                    last = record;
                    ++records;
                }
            }
        });
        stream.addTo(composite);
    }
    RecordCounter(const RecordCounter&) = delete;
    RecordCounter& operator=(const RecordCounter&) = delete;

    size_t records = 0;
    size_t lost = 0;
    Data last{};
};

/// All numbered streams of the light sensor, of external timing and of motion.
class AllStreams {
  public:
    AllStreams() {
        light->flickerStart();
        light->adcFlickerStart();
        light->ambientLightStart();
        timing->startExternalTimestampDataStream();
        imuSensor->start();
        magSensor->start();
    }

    /// False if they do not come within a generous bound.
    bool receive(size_t blocks) {
        const auto deadline = std::chrono::steady_clock::now() + 60s;
        const auto isDone = [&] {
            return std::min({adc.records, flicker.records, ambient.records, pulses.records,
                             imu.records / 100, mag.records / 10}) >= blocks;
        };
        while (!isDone() && std::chrono::steady_clock::now() < deadline) {
            composite->waitUntil(deadline);
        }
        return isDone();
    }

    size_t lost() const {
        return adc.lost + flicker.lost + ambient.lost + pulses.lost + imu.lost + mag.lost;
    }

    std::unique_ptr<ICompositeStream> composite =
        createStreamCompositor()->createCompositeStream("test");
    std::unique_ptr<IFlickerSensorProvider> light = createFlickerSensor(nullptr);
    std::unique_ptr<IExternalTimingProvider> timing = createExternalTimingProvider();
    std::unique_ptr<IImuSensor> imuSensor = createImuSensor();
    std::unique_ptr<IMagSensor> magSensor = createMagSensor();
    RecordCounter<FlickerData> flicker{light->flickerStream(), *composite};
    RecordCounter<AdcFlickerData> adc{light->adcFlickerStream(), *composite};
    RecordCounter<AmbientLightData> ambient{light->ambientLightStream(), *composite};
    RecordCounter<ExternalTimestampData> pulses{timing->streamExternalTimestampData(), *composite};
    RecordCounter<ImuData> imu{imuSensor->stream(), *composite};
    RecordCounter<MagData> mag{magSensor->stream(), *composite};
};

/// Counts down on HIDL threads what a test waits for. Shared with the callback, which may be called
/// later than the test thinks.
class Countdown {
  public:
    void add(int64_t change) {
        const std::lock_guard lock(mutex_);
        open_ += change;
        changed_.notify_all();
    }
    /// Waits until no more than `most` are open. False if that takes too long.
    bool await(int64_t most) {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, 60s, [&] { return open_ <= most; });
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int64_t open_ = 0;
};

/// A message's payload follows from its number: 0 to 8192 bytes.
std::vector<uint8_t> payloadOf(uint32_t number) {
    std::vector<uint8_t> payload(size_t{number} * 7919 % 8193);
    for (size_t i = 0; i < payload.size(); ++i) {
        payload[i] = static_cast<uint8_t>(number + i * 31);
    }
    return payload;
}

/// Four threads that send.
class Senders {
  public:
    static constexpr size_t kThreads = 4;
    /// By one thread. With many more, the queue of one-way calls to this process could overflow,
    /// which ends the connection.
    static constexpr int64_t kMostOnTheWay = 64;

    ~Senders() {
        isOver = true;
        join();
    }

    /// @param next number of the message to send by the thread; none: no more
    void start(ITambStream& stream, int64_t mostOnTheWay,
               const std::function<std::optional<uint32_t>(size_t thread)>& next) {
        for (size_t thread = 0; thread < kThreads; ++thread) {
            threads_.emplace_back([this, &stream, mostOnTheWay, next, thread] {
                while (const auto number = isOver ? std::nullopt : next(thread)) {
                    std::vector<uint8_t> payload = payloadOf(*number);
                    onTheWay[thread].add(1);
                    if (!stream.sendKivraRpcMsg(ControllerAddr{1 + *number % 2}, *number,
                                                payload)) {
                        onTheWay[thread].add(-1);
                        ++refused;
                    } else if (++accepted; !onTheWay[thread].await(mostOnTheWay)) {
                        return;
                    }
                }
            });
        }
    }
    void join() {
        for (std::thread& thread : threads_) {
            thread.join();
        }
        threads_.clear();
    }

    std::array<Countdown, kThreads> onTheWay;
    std::atomic<size_t> accepted{0};
    std::atomic<size_t> refused{0};
    std::atomic<bool> isOver{false};

  private:
    std::vector<std::thread> threads_;
};

/// Polls for what follows from another process's end.
bool becomesTrue(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (std::chrono::steady_clock::now() < deadline) {
        if (condition()) {
            return true;
        }
        std::this_thread::yield();
    }
    return false;
}

/// One answer to one message; none if none comes.
std::optional<KivraRpcMessage> ask(uint32_t procedure, ControllerAddr address = ControllerAddr{1}) {
    struct Answer {
        Countdown missing;
        std::optional<KivraRpcMessage> message;
    };
    const auto answer = std::make_shared<Answer>();
    answer->missing.add(1);
    const auto stream = createTambStream();
    stream->registerKivraRpcClient("tracking", [answer](const KivraRpcMessage& message) {
        if (message.kind != Kind::NOTIFICATION && !answer->message) {
            answer->message = message;
            answer->missing.add(-1);
        }
    });
    std::vector<uint8_t> payload = payloadOf(procedure);
    const bool isAnswered =
        stream->sendKivraRpcMsg(address, procedure, payload) && answer->missing.await(0);
    stream->unregisterKivraRpcClient("tracking");
    return isAnswered ? answer->message : std::nullopt;
}

/// Uses everything that a client can leave behind.
const TestSupport::ClientRole kEverything{"environment", [] {
                                              AllStreams streams;
                                              const auto leds = createFaceEyeTrackingLed();
                                              const auto rpc = createTambStream();
                                              rpc->registerKivraRpcClient("tracking", {});
                                              if (!leds->startOverridingLedSettings() ||
                                                  !leds->enable() || !streams.receive(2) ||
                                                  !TestSupport::sendNotice("in use")) {
                                                  return 1;
                                              }
                                              while (streams.receive(streams.adc.records + 1000)) {
                                              }
                                              return 1;
                                          }};

using EnvironmentSensorsTest = EndToEndTest;
using EnvironmentSensorsDeathTest = EndToEndTest;

TEST_F(EnvironmentSensorsTest, AllStreamsArriveTogetherWithMotionAndNothingIsLost) {
    const Simulator simulator({"--flicker", "120"});
    AllStreams streams;
    ASSERT_TRUE(streams.receive(12));
    EXPECT_EQ(streams.lost(), 0U);
    EXPECT_NEAR(streams.flicker.last.frequency, 120, 0.1);
    EXPECT_EQ(streams.adc.last.sampleCount, streams.adc.last.samples.size());
    EXPECT_GT(streams.ambient.last.illuminance, 100);
    EXPECT_FALSE(streams.light->properties().name.empty());

    // The pulses and the translation are of one clock, as far as the pulses' jitter allows.
    const auto tamb = createTambStream();
    const ExternalTimestampData& pulse = streams.pulses.last;
    const int64_t translated =
        tamb->getTimeTranslation(pulse.timestamp, TimeDomain::MONOTONIC, TimeDomain::EXTERNAL);
    EXPECT_LT(std::abs(translated - pulse.externalTimestamp), 50'000);
    EXPECT_EQ(tamb->getTimeTranslation(translated, TimeDomain::EXTERNAL, TimeDomain::MONOTONIC),
              pulse.timestamp);
}

TEST_F(EnvironmentSensorsTest, TenThousandMessagesEachWayFromFourThreadsArriveIntactAndInOrder) {
    constexpr uint32_t kMessages = 10'000;
    const Simulator simulator({"--rpc-notifications", "50"});
    const auto stream = createTambStream();
    // Written by one thread at a time: the messages of a client come one after the other.
    struct Received {
        Senders senders;
        std::vector<uint8_t> times = std::vector<uint8_t>(kMessages);
        std::atomic<size_t> damaged{0};
        std::atomic<size_t> disordered{0};
        std::atomic<size_t> unasked{0};
        std::map<ControllerAddr, uint32_t> sequences;
    };
    const auto received = std::make_shared<Received>();
    stream->registerKivraRpcClient("CMS", [received](const KivraRpcMessage& message) {
        Received& r = *received;
        const auto [last, isFirst] =
            r.sequences.try_emplace(message.address, message.header.sequence);
        r.disordered += !isFirst && message.header.sequence != ++last->second ? 1U : 0U;
        if (message.kind == Kind::NOTIFICATION) {
            ++r.unasked;
            return;
        }
        const uint32_t number = message.header.procedure;
        const bool isIntact = number < kMessages && message.kind == Kind::RESPONSE &&
                              message.address == ControllerAddr{1 + number % 2} &&
                              message.payload == payloadOf(number);
        r.damaged += isIntact ? 0U : 1U;
        if (isIntact) {
            ++r.times[number];
            r.senders.onTheWay.at(number % Senders::kThreads).add(-1);
        }
    });
    std::array<uint32_t, Senders::kThreads> sent{};
    received->senders.start(
        *stream, Senders::kMostOnTheWay, [&sent](size_t thread) -> std::optional<uint32_t> {
            const auto number =
                static_cast<uint32_t>(sent.at(thread)++ * Senders::kThreads + thread);
            return number < kMessages ? std::optional(number) : std::nullopt;
        });
    received->senders.join();
    for (Countdown& onTheWay : received->senders.onTheWay) {
        EXPECT_TRUE(onTheWay.await(0));
    }
    EXPECT_TRUE(becomesTrue([&] { return received->unasked > 0; }));
    stream->unregisterKivraRpcClient("CMS");
    EXPECT_EQ(received->senders.accepted, kMessages);
    EXPECT_THAT(received->times, ::testing::Each(1));
    EXPECT_EQ(received->damaged, 0U);
    EXPECT_EQ(received->disordered, 0U);
}

TEST_F(EnvironmentSensorsTest, RegistrationsRaceWithSendsAndEveryAcceptedMessageIsAnswered) {
    const Simulator simulator({"--rpc-notifications", "1000"});
    const TestSupport::CapturedLog log;  // of the sends while nobody is registered
    const auto stream = createTambStream();
    const auto senders = std::make_shared<Senders>();
    const auto answered = std::make_shared<std::atomic<size_t>>(0);
    const auto damaged = std::make_shared<std::atomic<size_t>>(0);
    const auto receive = [senders, answered, damaged](const KivraRpcMessage& message) {
        if (message.kind == Kind::NOTIFICATION) {
            return;
        }
        *damaged += message.payload == payloadOf(message.header.procedure) ? 0 : 1;
        ++*answered;
        senders->onTheWay.at(message.header.procedure % Senders::kThreads).add(-1);
    };
    // Each waits for its answers: threads that do nothing but send would hardly ever let go of the
    // lock that a registration needs.
    senders->start(*stream, 0, [](size_t thread) { return static_cast<uint32_t>(thread); });
    for (int round = 0; round < 50; ++round) {
        const char* const id = round % 2 == 0 ? "CMS" : "tracking";
        stream->registerKivraRpcClient(id, receive);
        // Not an empty change: one send at least gets through it.
        const size_t before = senders->accepted;
        EXPECT_TRUE(becomesTrue([&] { return senders->accepted > before; }));
        stream->unregisterKivraRpcClient(id);
    }
    senders->isOver = true;
    senders->join();
    for (Countdown& onTheWay : senders->onTheWay) {
        EXPECT_TRUE(onTheWay.await(0));
    }
    EXPECT_EQ(*answered, senders->accepted);
    EXPECT_EQ(*damaged, 0U);
    EXPECT_TRUE(ask(5));
}

TEST_F(EnvironmentSensorsTest, ControllersAndServiceRefuseWhatTheyWereToldTo) {
    {
        const Simulator simulator({"--rpc-refuse", "9"});
        const auto answer = ask(9, ControllerAddr{2});
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->kind, Kind::ERROR);
        EXPECT_EQ(answer->address, ControllerAddr{2});
        EXPECT_EQ(ask(8)->kind, Kind::RESPONSE);
        EXPECT_FALSE(ask(8, ControllerAddr{77})) << "there is no such controller";
    }
    const Simulator simulator({"--refuse", "ITambril.sendMessage=FAILURE", "--refuse",
                               "IFaceEyeTrackingLed.enable=BAD_STATE", "--getter-error",
                               "IFlickerSensor.getProperties=FAILURE"});
    EXPECT_FALSE(ask(8));
    EXPECT_FALSE(createFaceEyeTrackingLed()->enable());
    EXPECT_EQ(createFlickerSensor(nullptr)->properties().name, "");
}

TEST_F(EnvironmentSensorsTest, LedsAreSetSwitchedAndOverridden) {
    using Group = FaceEyeTrackingLedGroup;
    const Simulator simulator;
    const auto leds = createFaceEyeTrackingLed();
    const auto other = createFaceEyeTrackingLed();
    EXPECT_EQ(leds->getNumChannels(Group::RIGHT_EYE), 8);
    EXPECT_EQ(leds->getNumChannels(Group::FACE), 4);
    EXPECT_EQ(leds->getNumChannels(static_cast<Group>(9)), 0);
    const FaceEyeTrackingLedConfiguration good{Group::FACE, 1, 30'000, 500};
    const FaceEyeTrackingLedConfiguration bad{Group::FACE, 4, 30'000, 500};

    TestSupport::CapturedLog log;
    EXPECT_TRUE(leds->setConfigs({good}));
    EXPECT_FALSE(leds->stopOverridingLedSettings());
    EXPECT_TRUE(leds->startOverridingLedSettings());
    EXPECT_FALSE(other->startOverridingLedSettings());
    EXPECT_TRUE(leds->setConfigs({good, good}));
    EXPECT_TRUE(leds->setConfigs({}));
    EXPECT_FALSE(leds->setConfigs({good, bad}));
    EXPECT_FALSE(other->setConfigs({good}));
    EXPECT_TRUE(leds->enable());
    EXPECT_TRUE(other->enable());
    EXPECT_TRUE(leds->disable());
    EXPECT_TRUE(leds->disable());
    EXPECT_TRUE(leds->stopOverridingLedSettings());
    const std::string refused = "Failed to update face eye tracking LED configurations with error ";
    EXPECT_THAT(log.take(),
                ::testing::ElementsAre(TestSupport::warningLine("Failed to set LED configurations"),
                                       TestSupport::errorLine(refused + "1l"),
                                       TestSupport::errorLine(refused + "2l"),
                                       TestSupport::warningLine("Failed to enable LEDs"),
                                       TestSupport::warningLine("Failed to disable LEDs")));
}

TEST_F(EnvironmentSensorsTest, KilledClientLeavesNothingInTheService) {
    const Simulator simulator;
    const auto leds = createFaceEyeTrackingLed();
    EXPECT_TRUE(leds->disable());  // makes the service know this client, for good
    const TestSupport::ProcessResources before = TestSupport::resourcesOf(simulator.pid());
    for (int round = 0; round < 3; ++round) {
        const auto client = TestSupport::startClient("environment");
        ASSERT_EQ(client->awaitNotice(), "in use");
        EXPECT_FALSE(leds->startOverridingLedSettings());
        client->end(SIGKILL);
        EXPECT_TRUE(
            simulator.settlesAt({before.descriptors, before.threads + 64, before.mappings}));
    }
    EXPECT_TRUE(becomesTrue([&] { return leds->startOverridingLedSettings(); }));
    EXPECT_TRUE(ask(1));
    AllStreams streams;
    EXPECT_TRUE(streams.receive(2));
    EXPECT_EQ(streams.lost(), 0U);
}

TEST_F(EnvironmentSensorsTest, ClientOutlivesTheServiceAndUsesTheNextOne) {
    EXPECT_EXIT(
        {
            TestSupport::watchForDeath();
            Simulator first({"--rpc-notifications", "1000"});
            auto streams = std::make_unique<AllStreams>();
            auto rpc = createTambStream();
            const auto unasked = std::make_shared<std::atomic<size_t>>(0);
            rpc->registerKivraRpcClient("CMS", [unasked](const auto& /*message*/) { ++*unasked; });
            bool works = streams->receive(2) && becomesTrue([&] { return *unasked > 100; });
            first.kill();
            TestSupport::awaitDeath();
            streams->composite->waitFor(0ns);
            works = works && createTambStream() == nullptr && createFaceEyeTrackingLed() == nullptr;
            streams.reset();
            rpc.reset();
            const Simulator second;
            works = works && AllStreams().receive(2) && ask(1) &&
                    createFaceEyeTrackingLed()->startOverridingLedSettings();
            _exit(works ? 0 : 1);
        },
        ExitedWithCode(0), "");
}

TEST_F(EnvironmentSensorsDeathTest, RefusedCallsEndTheProcessWithTheirOwnLine) {
    EXPECT_DEATH(
        {
            const Simulator simulator(
                {"--refuse", "IFlickerSensor.controlAdcFlickerStream=FAILURE"});
            AllStreams streams;
        },
        "F/Moriak-HidlWrapper: Start ADC flicker data stream command failed with result: 1\n");
    EXPECT_DEATH(
        {
            const Simulator simulator;
            const auto first = createTambStream();
            first->registerKivraRpcClient("tracking", {});
            createTambStream()->registerKivraRpcClient("tracking", {});
        },
        "F/Moriak-HidlWrapper: Failed to register KivraRpc client tracking\n");
}

}  // namespace
