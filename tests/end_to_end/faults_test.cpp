// Faults that are set while the service runs, as its user sets them.
#include <gmock/gmock.h>

#include <cmath>
#include <fstream>

#include "end_to_end/environment.h"
#include "end_to_end/inbox.h"

namespace {

using namespace Vek::Sensors;
using namespace TestSupport;
using ::testing::HasSubstr;

int control(std::vector<std::string> words) {
    words.insert(words.begin(), {MORIAK_SIMULATOR, "ctl"});
    return ChildProcess(words, "/dev/null").wait();
}

TEST_F(EndToEndTest, FaultsComeAndGoWhileAClientStreams) {
    EXPECT_EQ(control({"list"}), 1) << "there is no service yet";
    Simulator simulator;
    const auto composite = makeComposite();
    const auto imu = createImuSensor();
    Inbox<ImuData> samples{imu->stream(), *composite};
    imu->start();
    const auto becomesNan = [&](bool isNan) {
        return receiveUntil(*composite, [&] {
            return !samples.records.empty() &&
                   std::isnan(samples.records.back().acceleration[0]) == isNan;
        });
    };
    EXPECT_TRUE(becomesNan(false));
    EXPECT_EQ(control({"set", "nan", "headset IMU"}), 0);
    EXPECT_TRUE(becomesNan(true));
    EXPECT_EQ(control({"clear", "1"}), 0);
    EXPECT_TRUE(becomesNan(false));
    EXPECT_EQ(samples.lost(), 0U);
    EXPECT_EQ(control({"set", "nan", "nobody"}), 2);
    EXPECT_EQ(control({"set", "refuse", "IImu.controlStream", "IGNORED", "client=1"}), 0);
    imu->stop();
    EXPECT_THAT(simulator.finish(), HasSubstr("fault 1: nan headset-imu: came "));
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
