// The simulator's command line.
#include "options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <variant>
#include <vector>

namespace {

using namespace Simulator;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

struct Parsed {
    std::variant<Options, ExitCode> result;
    std::string out;
    std::string err;
};

Parsed parse(std::vector<const char*> arguments) {
    arguments.insert(arguments.begin(), "moriak-sensor-simulator");
    std::ostringstream out;
    std::ostringstream err;
    auto result = parseOptions(static_cast<int>(arguments.size()), arguments.data(), out, err);
    return {result, out.str(), err.str()};
}

TEST(OptionsTest, EveryOptionReachesItsSetting) {
    const Parsed parsed = parse({"--quiet",
                                 "--ready-fd",
                                 "2",
                                 "--refuse",
                                 "IImu.controlStream=BAD_STATE",
                                 "--getter-error",
                                 "IMag.getProperties=FAILURE",
                                 "--refuse",
                                 "IIad.prepareStream=IGNORED",
                                 "--fault",
                                 "drop headset-imu 0.5",
                                 "--die-after-records",
                                 "100",
                                 "--die-after-seconds",
                                 "0.5",
                                 "--summary",
                                 "summary.txt",
                                 "--seed",
                                 "7",
                                 "--ideal",
                                 "--trajectory",
                                 "/dev/null",
                                 "--ground-truth",
                                 "truth.csv"});
    const auto* options = std::get_if<Options>(&parsed.result);
    ASSERT_NE(options, nullptr) << parsed.err;
    EXPECT_TRUE(options->isQuiet);
    EXPECT_EQ(options->readyDescriptor, 2);
    EXPECT_EQ(options->summaryFile, "summary.txt");
    EXPECT_EQ(options->faults.dieAfterRecords, 100U);
    EXPECT_EQ(options->dieAfterSeconds, 0.5);
    EXPECT_EQ(options->world.seed, 7U);
    EXPECT_TRUE(options->world.isIdeal);
    EXPECT_EQ(options->world.trajectory, "/dev/null");
    EXPECT_EQ(options->world.groundTruth, "truth.csv");
    std::vector<std::string> faults;
    for (const Fault& fault : options->initialFaults) {
        faults.push_back(toText(fault));
    }
    EXPECT_THAT(faults, ElementsAre("refuse IImu.controlStream BAD_STATE",
                                    "refuse IIad.prepareStream IGNORED",
                                    "refuse IMag.getProperties FAILURE", "drop headset-imu 0.5"));
}

TEST(OptionsTest, WrongUsageNamesTheOptionAndTheValue) {
    struct Case {
        std::vector<const char*> arguments;
        std::vector<const char*> words;
    };
    const Case cases[] = {
        {{"--refuse", "IImu.start=FAILURE"}, {"--refuse", "IImu.start", "IImu.controlStream"}},
        {{"--refuse", "IImu.getProperties=FAILURE"}, {"--refuse", "IImu.getProperties"}},
        {{"--refuse", "IImu.controlStream"}, {"--refuse", "IImu.controlStream", "BAD_STATE"}},
        {{"--refuse", "IImu.controlStream=SUCCESS"}, {"--refuse", "SUCCESS"}},
        {{"--getter-error", "IImu.controlStream=FAILURE"}, {"--getter-error", "controlStream"}},
        {{"--ready-fd", "987"}, {"--ready-fd", "987"}},
        {{"--die-after-records", "0"}, {"--die-after-records", "0"}},
        {{"--die-after-records", "many"}, {"--die-after-records", "many"}},
        {{"--die-after-seconds", "-1"}, {"--die-after-seconds", "-1"}},
        {{"--sensors", "/nonexistent"}, {"--sensors", "/nonexistent"}},
        {{"--ideal", "--sensors", "/dev/null"}, {"--ideal", "--sensors"}},
        {{"--fast"}, {"--fast"}},
        {{"file"}, {"file"}},
    };
    for (const Case& c : cases) {
        const Parsed parsed = parse(c.arguments);
        const auto* code = std::get_if<ExitCode>(&parsed.result);
        ASSERT_NE(code, nullptr) << c.arguments[0];
        EXPECT_EQ(*code, kWrongUsage);
        EXPECT_EQ(parsed.out, "");
        for (const char* word : c.words) {
            EXPECT_THAT(parsed.err, HasSubstr(word));
        }
    }
}

}  // namespace
