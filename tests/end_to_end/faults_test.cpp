// Faults that are set while the service runs, as its user sets them.
#include <gmock/gmock.h>
#include <unistd.h>
#include <vendor/zelvan/hardware/sensors/1.0/IFlickerSensor.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "end_to_end/environment.h"
#include "end_to_end/inbox.h"

namespace {

using namespace Vek::Sensors;
using namespace TestSupport;
using namespace std::chrono_literals;
using ::testing::HasSubstr;
using Clock = std::chrono::steady_clock;

int control(std::vector<std::string> words) {
    words.insert(words.begin(), {MORIAK_SIMULATOR, "ctl"});
    return ChildProcess(words, "/dev/null").wait();
}

/// What it prints, without the end of its last line.
std::string answerOf(const std::string& command) {
    std::FILE* const pipe = popen((std::string(MORIAK_SIMULATOR) + " ctl " + command).c_str(), "r");
    std::string text(1 << 16, '\0');
    text.resize(std::fread(text.data(), 1, text.size(), pipe));
    EXPECT_EQ(pclose(pipe), 0) << command;
    return text.substr(0, text.find_last_not_of('\n') + 1);
}

/// Frame sets of one kind of cameras, without their images.
struct FrameSets {
    FrameSets(ICameraProvider& provider, FrameType type, ICompositeStream& composite)
        : camera(provider.getStream(type, "test")), metadata(camera->getMetadata()) {
        camera->stream().setCallbackv([this](IDataStream<FrameSet>::Batch spans) {
            records.push_back(spans[0][0]);
            if (isHolding) {
                ++held;
                isDrawnOver = isDrawnOver || changesInHand(records.back().frames[0]);
            }
        });
        camera->stream().addTo(composite);
    }

    /// Whether an image changes while the client holds it.
    bool changesInHand(const CameraFrame& frame) const {
        constexpr auto kFewFrames = 150ms;
        const auto pixels = metadata.cameras[0].buffers.at(frame.bufferIndex)->pixels();
        const std::vector<std::byte> before(pixels.begin(), pixels.end());
        const auto isChanged = [&] {
            return std::memcmp(before.data(), pixels.data(), before.size()) != 0;
        };
        for (const auto end = Clock::now() + kFewFrames; Clock::now() < end && !isChanged();) {
            std::this_thread::sleep_for(5ms);
        }
        return isChanged();
    }

    std::shared_ptr<ICameraStream> camera;
    CameraStreamMetadata metadata;
    std::vector<FrameSet> records;
    /// Whether the client holds frame sets until the next ones have been drawn.
    bool isHolding = false;
    size_t held = 0;
    bool isDrawnOver = false;
};

/// A client that streams of all areas at once.
struct Client {
    Client() {
        cameras->startEvery({headset.camera, eyes.camera});
        imu->start();
        mag->start();
        light->ambientLightStart();
        for (const auto& info : controllers.getPairedControllers()) {
            streaming->enable(info.address);
        }
    }
    ~Client() {
        cameras->stopEvery({headset.camera, eyes.camera});
        imu->stop();
        mag->stop();
        light->ambientLightStop();
    }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    bool waitUntil(const std::function<bool()>& condition) const {
        return receiveUntil(*composite, condition);
    }
    void forget() {
        headset.records.clear();
        headset.isHolding = headset.isDrawnOver = false;
        headset.held = 0;
        eyes.records.clear();
        imuSamples.records.clear();
        magSamples.records.clear();
        lightSamples.records.clear();
        states.records.clear();
        controllerImu.records.clear();
    }

    std::unique_ptr<ICompositeStream> composite = makeComposite();
    std::unique_ptr<ICameraProvider> cameras = createCameraProvider();
    FrameSets headset{*cameras, FrameType::HEADSET, *composite};
    FrameSets eyes{*cameras, FrameType::EYE, *composite};
    std::unique_ptr<IImuSensor> imu = createImuSensor();
    std::unique_ptr<IMagSensor> mag = createMagSensor();
    std::unique_ptr<IFlickerSensorProvider> light = createFlickerSensor(nullptr);
    HidlWrapper::ControllerProvider controllers;
    std::unique_ptr<IControllerStreamingClient> streaming = controllers.getStreamingClient();
    Inbox<ImuData> imuSamples{imu->stream(), *composite};
    Inbox<MagData> magSamples{mag->stream(), *composite};
    Inbox<AmbientLightData> lightSamples{light->ambientLightStream(), *composite};
    Inbox<PairedControllerInfo> states{controllers.streamStateChanges(), *composite};
    Inbox<ControllerImuData> controllerImu{controllers.streamImu(), *composite};
};

/// Whether the client sees the fault in the records since the last forget(); empty if there are too
/// few.
using Sight = std::function<std::optional<bool>(Client&)>;

constexpr size_t kEnough = 12;

/// Whether any record meets the condition.
template <typename Records, typename Condition>
std::optional<bool> see(const Records& records, const Condition& condition) {
    return records.size() < kEnough
               ? std::nullopt
               : std::optional(std::any_of(records.begin(), records.end(), condition));
}

/// As `see`, of each record and the next.
template <typename Records, typename Condition>
std::optional<bool> seePairs(const Records& records, const Condition& condition) {
    return records.size() < kEnough
               ? std::nullopt
               : std::optional(std::adjacent_find(records.begin(), records.end(), condition) !=
                               records.end());
}

/// Whether one stream is behind another.
template <typename Records, typename Others>
std::optional<bool> seeDelay(const Records& records, const Others& others) {
    constexpr int64_t kBehind = 100'000'000;  // ns
    if (others.empty()) {
        return std::nullopt;
    }
    if (records.empty()) {
        return others.back().timestamp - others.front().timestamp > kBehind ? std::optional(true)
                                                                            : std::nullopt;
    }
    return others.back().timestamp - records.back().timestamp > kBehind;
}

std::vector<ControllerImuData> ofHand(const Client& client, ControllerHand hand) {
    std::vector<ControllerImuData> records;
    constexpr uint64_t kLeft = 0x5A'00'00'00'00'01;
    for (const ControllerImuData& record : client.controllerImu.records) {
        if ((record.controller == ControllerAddr{kLeft}) == (hand == ControllerHand::LEFT)) {
            records.push_back(record);
        }
    }
    return records;
}

Sight seeState(const std::function<bool(const PairedControllerInfo&)>& condition) {
    return [condition](const Client& client) -> std::optional<bool> {
        const auto& states = client.states.records;
        const auto last = std::find_if(states.rbegin(), states.rend(), [](const auto& info) {
            return info.hand == ControllerHand::LEFT;
        });
        return last == states.rend() || last->connection == ControllerConnection::CONNECTING
                   ? std::nullopt
                   : std::optional(condition(*last));
    };
}

Sight seeFrames(FrameType type) {
    return [type](const Client& client) {
        return see(client.headset.records, [type](const FrameSet& frameSet) {
            return std::all_of(frameSet.frames.begin(),
                               frameSet.frames.begin() + frameSet.numFrames,
                               [type](const CameraFrame& f) { return f.frameType == type; });
        });
    };
}

struct Effect {
    std::string fault;
    Sight sight;
};

const std::vector<Effect>& effects() {
    const auto isImuBehind = [](const Client& client) {
        return seeDelay(client.imuSamples.records, client.magSamples.records);
    };
    const auto areCamerasBehind = [](const Client& client) {
        return seeDelay(client.headset.records, client.eyes.records);
    };
    static const std::vector<Effect> all{
        {"late IImu.getProperties 300ms",
         [](const Client& client) {
             const auto begin = Clock::now();
             client.imu->props();
             return Clock::now() - begin >= 300ms;
         }},
        {"refuse IControllerStreamingClient.setTransmitPowerBoost FAILURE",
         [](const Client& client) { return !client.streaming->setTransmitPowerBoost(1); }},
        {"stop headset-imu", isImuBehind},
        {"delay headset-imu 200ms", isImuBehind},
        {"drop headset-imu 0.3",
         [](const Client& client) {
             return seePairs(client.imuSamples.records, [](const auto& a, const auto& b) {
                 return b.sequence - a.sequence > 1 && (b.status & MOTION_SAMPLE_DISCONTINUITY);
             });
         }},
        {"stick headset-magnetometer",
         [](const Client& client) {
             return seePairs(client.magSamples.records, [](const auto& a, const auto& b) {
                 return a.sequence == b.sequence && a.timestamp == b.timestamp;
             });
         }},
        {"nan ambient-light-sensor",
         [](const Client& client) -> std::optional<bool> {
             const auto& records = client.lightSamples.records;
             return records.empty() ? std::nullopt
                                    : std::optional(std::isnan(records.back().illuminance));
         }},
        {"clip headset-imu 0.25",
         [](const Client& client) {
             return see(client.imuSamples.records, [](const ImuData& record) {
                 return std::abs(record.acceleration[0]) <= 0.25F &&
                        (record.status & MOTION_SAMPLE_CLIPPED);
             });
         }},
        {"jump headset-imu 1000s",
         [](const Client& client) {
             return see(client.imuSamples.records, [](const ImuData& record) {
                 return record.timestamp >
                        std::chrono::nanoseconds(Clock::now().time_since_epoch()).count();
             });
         }},
        {"wrap controller-imu",
         [](const Client& client) {
             return seePairs(
                 ofHand(client, ControllerHand::LEFT), [](const auto& a, const auto& b) {
                     return a.controllerTime > b.controllerTime && b.controllerTime < 100'000;
                 });
         }},
        {"stop headset-cameras", areCamerasBehind},
        {"delay headset-cameras 300ms", areCamerasBehind},
        {"drop headset-cameras 0.5",
         [](const Client& client) {
             return seePairs(client.headset.records, [](const auto& a, const auto& b) {
                 return b.sequence - a.sequence > 1;
             });
         }},
        {"not-received headset-cameras", seeFrames(FrameType::NOT_RECEIVED)},
        {"invalid headset-cameras", seeFrames(FrameType::INVALID)},
        {"reuse headset-cameras",
         [](Client& client) {
             client.headset.isHolding = true;
             return client.headset.held < 2 ? std::nullopt
                                            : std::optional(client.headset.isDrawnOver);
         }},
        {"disconnect left-controller", seeState([](const auto& info) {
             return info.connection == ControllerConnection::DISCONNECTED;
         })},
        {"sleep left-controller", seeState([](const auto& info) {
             return info.connection == ControllerConnection::ASLEEP;
         })},
        {"flat left-controller", seeState([](const auto& info) { return info.batteryLevel == 0; })},
        {"out-of-reach left-controller",
         [](const Client& client) {
             return seeDelay(ofHand(client, ControllerHand::LEFT),
                             ofHand(client, ControllerHand::RIGHT));
         }},
    };
    return all;
}

/// Streams until it is ended.
int streamImu() {
    const auto composite = makeComposite();
    const auto imu = createImuSensor();
    Inbox<ImuData> samples{imu->stream(), *composite};
    imu->start();
    return samples.receive(1) && sendNotice("streaming") && samples.receive(SIZE_MAX / 2) ? 0 : 1;
}

const ClientRole kImuClient{"IMU", streamImu};

TEST_F(EndToEndTest, ClientSeesEveryKindOfFaultComeAndGo) {
    EXPECT_EQ(control({"list"}), 1) << "there is no service yet";
    Simulator simulator;
    std::optional<Client> streaming{std::in_place};
    Client& client = *streaming;
    const auto becomes = [&](const Effect& effect, bool isThere) {
        // What came while the command was given.
        client.composite->waitFor(0ns);
        return client.waitUntil([&] {
            const std::optional<bool> isSeen = effect.sight(client);
            if (isSeen == true && !isThere) {
                client.forget();
            }
            return isSeen == isThere;
        });
    };
    for (const Effect& effect : effects()) {
        client.forget();
        const std::string number = answerOf("set " + effect.fault);
        EXPECT_TRUE(becomes(effect, true)) << effect.fault;
        // A machine that is too busy delays a frame set, too: only the service knows its faults.
        const std::string entry = number + ": " + effect.fault + ": came ";
        EXPECT_TRUE(client.waitUntil([&] {
            const std::string list = answerOf("list");
            return list.find(entry) != std::string::npos &&
                   list.find(entry + "0 ") == std::string::npos;
        })) << entry;
        client.forget();
        EXPECT_EQ(control({"clear", number}), 0);
        EXPECT_TRUE(becomes(effect, false)) << effect.fault << " is over";
    }
    EXPECT_EQ(answerOf("set hang IImu.getProperties"), std::to_string(effects().size() + 1));
    auto call = std::async(std::launch::async, [&] { client.imu->props(); });
    EXPECT_TRUE(
        client.waitUntil([] { return answerOf("list").find("came 1") != std::string::npos; }));
    EXPECT_EQ(call.wait_for(0s), std::future_status::timeout);
    EXPECT_EQ(control({"set", "nan", "headset IMU", "client=1"}), 0) << "somebody else's";
    EXPECT_EQ(control({"set", "nan", "nobody"}), 2);
    EXPECT_EQ(control({"clear", "all"}), 0);
    call.get();

    const auto others = startClients("IMU", 1);
    EXPECT_EQ(
        control({"set", "corrupt", "headset-imu", "client=" + std::to_string(others[0]->pid())}),
        0);
    EXPECT_EQ(others[0]->wait(), -SIGABRT);
    EXPECT_EQ(control({"clear", "all"}), 0);

    // Nothing is left.
    EXPECT_EQ(answerOf("list"), "");
    client.forget();
    EXPECT_TRUE(client.waitUntil([&] {
        return client.imuSamples.records.size() >= 500 && client.headset.records.size() >= 10 &&
               client.controllerImu.records.size() >= 200;
    }));
    EXPECT_EQ(client.imuSamples.lost() + client.magSamples.lost() + client.controllerImu.lost(),
              0U);
    for (const ImuData& record : client.imuSamples.records) {
        EXPECT_EQ(record.status, 0U);
    }
    streaming.reset();
    const std::string account = simulator.finish();
    for (const Effect& effect : effects()) {
        EXPECT_THAT(account, HasSubstr(": " + effect.fault + ": came "));
        EXPECT_THAT(account, Not(HasSubstr(": " + effect.fault + ": came 0 ")));
    }
    EXPECT_THAT(account, Not(HasSubstr("still there")));
}

TEST_F(EndToEndTest, ServiceDiesAndComesBackWhereItsScriptStopped) {
    const std::string script = std::string(getenv("MORIAK_HIDL_RUNTIME_DIR")) + "/script";
    std::ofstream(script) << "# a comment\n0 die 10ms\n\n0.1 set hang IMag.getProperties\n";
    Simulator simulator({"--script", script});
    // The first of the two processes has no time to get that far.
    EXPECT_TRUE(becomesTrue([] { return control({"clear", "1"}) == 0; }));
    EXPECT_TRUE(becomesTrue([] { return createImuSensor() != nullptr; }));
    EXPECT_THAT(simulator.finish(), HasSubstr("fault 1: hang IMag.getProperties: came 0 times"));
}

}  // namespace
