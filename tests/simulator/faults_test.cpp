// Faults: their texts, conditions and effects on records.
#include "faults.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <future>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "stream_faults.h"

namespace {

using namespace Simulator;
using namespace std::chrono_literals;
using namespace ::testing;

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream stream{text};
    return {std::istream_iterator<std::string>(stream), {}};
}

Fault faultOf(const std::string& text) {
    std::string error;
    const auto fault = parseFault(wordsOf(text), &error);
    EXPECT_TRUE(fault) << error;
    return fault.value_or(Fault{});
}

TEST(FaultTest, TextsAreReadAsTheyAreWritten) {
    for (const char* text :
         {"refuse IImu.controlStream BAD_STATE", "late IImu.getProperties 20ms once",
          "hang ICameraStream.setPhaseOffset client=77", "drop headset-imu 0.25 probability=0.5",
          "delay headset 3us nth=4", "clip headset-imu 9.5", "nan adc",
          "disconnect left-controller", "jump headset-imu 2s"}) {
        EXPECT_EQ(toText(faultOf(text)), text);
    }
    EXPECT_EQ(faultOf("jump x 1.5s").time, 1500ms);
    std::string error;
    EXPECT_EQ(parseFault({"stop", "headset IMU"}, &error)->target, "headset-imu");
    const std::pair<const char*, const char*> wrong[] = {
        {"refuse", "KIND TARGET"},
        {"break headset-imu", "not-received"},
        {"refuse IImu.start FAILURE", "IImu.start"},
        {"refuse ICameraStream.setPhaseOffset FAILURE", "setPhaseOffset"},
        {"refuse IImu.controlStream SUCCESS", "'SUCCESS' of 'refuse' is no RESULT"},
        {"late IImu.controlStream 20", "TIME"},
        {"delay headset-imu 2h", "TIME"},
        {"drop headset-imu", "SHARE"},
        {"drop headset-imu 1.5", "SHARE"},
        {"stop headset-imu nth=0", "nth=0"},
        {"stop headset-imu client=3000000000", "client="},
        {"stop headset-imu probability=nan", "probability=nan"},
    };
    for (const auto& [text, words] : wrong) {
        EXPECT_FALSE(parseFault(wordsOf(text), &error)) << text;
        EXPECT_THAT(error, HasSubstr(words));
    }
}

class FaultsTest : public Test {
  protected:
    uint32_t set(const std::string& text) {
        std::string error;
        return faults.set(faultOf(text), &error);
    }
    /// Whether each of so many calls of a process is refused.
    std::vector<bool> calls(int count, int process = 1) {
        std::vector<bool> refused(static_cast<size_t>(count));
        for (auto&& call : refused) {
            call = faults.beginCall("IImu.controlStream", process) != Hidl::Result::SUCCESS;
        }
        return refused;
    }

    Faults faults{{5, {}}};
};

TEST_F(FaultsTest, OccurForTheirClientAndAtTheirTime) {
    const std::string refuse = "refuse IImu.controlStream FAILURE ";
    set(refuse + "nth=2");
    EXPECT_THAT(calls(4), ElementsAre(false, true, false, false));
    set(refuse + "once");
    EXPECT_THAT(calls(2), ElementsAre(true, false));
    const uint32_t mine = set(refuse + "client=7");
    EXPECT_THAT(calls(1, 8), ElementsAre(false));
    EXPECT_THAT(calls(1, 7), ElementsAre(true));
    EXPECT_EQ(faults.beginCall("IMag.controlStream", 7), Hidl::Result::SUCCESS);
    EXPECT_THAT(faults.active(), ElementsAre("3: " + refuse + "client=7: came 1 times"));
    EXPECT_TRUE(faults.clear(mine));
    EXPECT_FALSE(faults.clear(mine));
    EXPECT_THAT(calls(1, 7), ElementsAre(false));
    EXPECT_THAT(faults.active(), IsEmpty());
    EXPECT_THAT(faults.account(), SizeIs(3));

    set(refuse + "probability=0.5");
    const std::vector<bool> chances = calls(100);
    Faults again{{5, {}}};
    std::string error;
    again.set(faultOf(refuse + "probability=0.5"), &error);
    for (const bool refused : chances) {
        EXPECT_EQ(again.beginCall("IImu.controlStream", 1) != Hidl::Result::SUCCESS, refused);
    }
    EXPECT_THAT(std::count(chances.begin(), chances.end(), true), AllOf(Gt(25), Lt(75)));
}

TEST_F(FaultsTest, RefuseUnknownTargets) {
    faults.addTarget(FaultTarget::SAMPLES, "headset IMU");
    faults.addTarget(FaultTarget::FRAME_SETS, "headset");
    EXPECT_EQ(set("nan headset"), 0U);
    EXPECT_EQ(set("invalid headset-imu"), 0U);
    EXPECT_EQ(set("disconnect headset-imu"), 0U);
    EXPECT_NE(set("stop headset"), 0U);
    EXPECT_NE(set("stop headset-imu"), 0U);
    EXPECT_TRUE(faults.onBatch("headset IMU", 1).isStopped);
    EXPECT_FALSE(faults.onBatch("board IMU", 1).isAny);
    for (size_t i = 2; i < Faults::kMaxFaults; ++i) {
        EXPECT_NE(set("nan headset-imu"), 0U);
    }
    EXPECT_EQ(set("nan headset-imu"), 0U);
    faults.clearAll();
    EXPECT_FALSE(faults.onBatch("headset IMU", 1).isAny);
}

TEST_F(FaultsTest, CallHangsUntilItsFaultIsClearedOrTheServiceEnds) {
    for (const bool isCleared : {true, false}) {
        const uint32_t number = set("hang IImu.controlStream once");
        auto call = std::async(std::launch::async, [this] { return calls(1); });
        while (faults.active().empty() || faults.active()[0].find("came 1") == std::string::npos) {
            std::this_thread::yield();
        }
        EXPECT_THAT(calls(1), ElementsAre(false)) << "only one hangs";
        EXPECT_EQ(call.wait_for(0s), std::future_status::timeout);
        isCleared ? static_cast<void>(faults.clear(number)) : faults.stop();
        EXPECT_THAT(call.get(), ElementsAre(false));
    }
}

class StreamFaultsTest : public Test {
  protected:
    using Record = Hidl::ImuData;

    Record record(uint32_t sequence) const {
        Record imu{};
        imu.sequence = sequence;
        imu.timestamp = imu.arrivalTimestamp = 1000;
        imu.acceleration[2] = 9.5F;
        imu.accelerationRange = 80;
        return imu;
    }
    /// Of records with the sequence numbers 0, 1, …, each a batch, 1 ms apart.
    std::vector<Record> pass(const StreamEffects& effects, uint32_t count) {
        std::vector<Record> arrived;
        for (uint32_t i = 0; i < count; ++i) {
            now += 1ms;
            for (const auto& batch : faults.apply(effects, {record(next++)}, now,
                                                  [&](uint64_t n) { return n % drops != 0; })) {
                arrived.insert(arrived.end(), batch.begin(), batch.end());
            }
        }
        return arrived;
    }
    static std::vector<uint32_t> sequencesOf(const std::vector<Record>& records) {
        std::vector<uint32_t> sequences;
        for (const Record& imu : records) {
            sequences.push_back(imu.sequence);
        }
        return sequences;
    }

    StreamFaults<Record> faults;
    std::chrono::steady_clock::time_point now;
    uint32_t next = 0;
    uint64_t drops = UINT64_MAX;
};

TEST_F(StreamFaultsTest, EachDoesWhatItSaysAndLeavesNothingBehind) {
    StreamEffects effects;
    effects.isStuck = true;
    EXPECT_THAT(sequencesOf(pass(effects, 3)), ElementsAre(0, 0, 0));
    effects = {};
    effects.isStopped = true;
    EXPECT_THAT(pass(effects, 2), IsEmpty());
    effects = {};
    effects.delay = 2ms;
    EXPECT_THAT(sequencesOf(pass(effects, 4)), ElementsAre(5, 6));
    EXPECT_TRUE(faults.isBusy());
    EXPECT_THAT(sequencesOf(pass({}, 1)), ElementsAre(7, 8, 9)) << "what waits comes first";
    drops = 2;
    EXPECT_THAT(pass({}, 4), SizeIs(2));
    drops = UINT64_MAX;
    effects = {};
    effects.isWrapped = true;
    EXPECT_THAT(sequencesOf(pass(effects, 101)),
                AllOf(Contains(UINT32_MAX - 99).Times(1), Contains(UINT32_MAX).Times(1),
                      Contains(0).Times(1)));
    effects = {};
    effects.limit = 2;
    effects.jump = 5s;
    const Record clipped = pass(effects, 1).at(0);
    EXPECT_EQ(clipped.acceleration[2], 2);
    EXPECT_EQ(clipped.accelerationRange, 80);
    EXPECT_EQ(clipped.status, static_cast<uint32_t>(Hidl::MotionSampleStatus::CLIPPED));
    EXPECT_EQ(clipped.timestamp, 5'000'001'000);
    effects = {};
    effects.isNotANumber = true;
    EXPECT_TRUE(std::isnan(pass(effects, 1).at(0).angularRate[1]));
    const Record plain = pass({}, 1).at(0);
    EXPECT_EQ(toString(plain), toString(record(next - 1)));
    EXPECT_FALSE(faults.isBusy());
}

}  // namespace
