// What sensorctl prints and writes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "command_line.h"
#include "failure.h"
#include "names.h"
#include "output.h"
#include "output_file.h"
#include "table.h"

namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

TEST(TableTest, PeopleAndProgramsGetTheSameCells) {
    Table table({"stream", "battery %", "last values"});
    table.addRow({"imu", 1234567890U, "a\xff\n"});
    table.addRow({"thermometer", Cell(0.125, "0.1"), std::vector<std::string>{"b", "c"}});
    table.addRow({"barometer"});
    EXPECT_THAT(table.lines(), ElementsAre("stream        battery %  last values",  //
                                           "imu          1234567890  a??",          //
                                           "thermometer         0.1  b, c",         //
                                           "barometer             -  -"));
    EXPECT_EQ(Output::jsonLine(table.rows()),
              R"([{"stream":"imu","battery_percent":1234567890,"last_values":"a\ufffd\n"},)"
              R"({"stream":"thermometer","battery_percent":0.125,"last_values":["b","c"]},)"
              R"({"stream":"barometer","battery_percent":null,"last_values":null}])");
}

TEST(TableTest, TextOfTheServiceCannotSteerTheTerminal) {
    EXPECT_EQ(printable("a~ \x1b[2J\n\x7f\xc3\xa9"), "a~ ?[2J????");
}

TEST(TableTest, OutputFromTheServiceIsBounded) {
    EXPECT_EQ(printable(std::string(300'000, 'x')), std::string(77, 'x') + "...");
    const std::vector<std::string> names(300'000, "name");
    EXPECT_LT(listOf(names).size(), 400U);
    Table table({"name"});
    for (const std::string& name : names) {
        table.addRow({name});
    }
    EXPECT_EQ(table.lines().size(), Table::kMostRows + 2);
    EXPECT_EQ(table.lines().back(), "and 299000 more");
    table = Table({"name"});
    table.addRow({std::string(300'000'000, 'x')});
    EXPECT_LT(table.rows().dump().size(), 1100U);
}

/// The message of the Failure that `action` throws.
template <typename Action>
std::string failureOf(Action action, ExitCode exitCode = ExitCode::FAILED) {
    try {
        action();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.exitCode(), exitCode);
        return failure.what();
    }
    return "";
}

TEST(NamesTest, MayBeShortenedUnambiguouslyAndInAnyCase) {
    const std::vector<std::string> names{"imu", "controller-imu", "headset left", "eye left"};
    const auto choose = [&names](const std::string& wanted) {
        return names[chooseName(names, wanted, "stream")];
    };
    EXPECT_EQ(choose("IMU"), "imu") << "the whole name goes before a part of another";
    EXPECT_EQ(choose("c"), "controller-imu") << "so does a beginning";
    EXPECT_EQ(choose("Eye"), "eye left");
    EXPECT_EQ(choose("-i"), "controller-imu");
    const auto refusal = [&](const std::string& wanted) {
        return failureOf([&] { choose(wanted); }, ExitCode::USAGE);
    };
    EXPECT_EQ(refusal("left"), "stream 'left' could be any of: headset left, eye left");
    EXPECT_EQ(refusal("mag"),
              "stream 'mag' is none of: imu, controller-imu, headset left, eye left");
    EXPECT_EQ(refusal(""), "stream '' is none of: imu, controller-imu, headset left, eye left");
    EXPECT_EQ(failureOf([] { chooseName({}, "a", "paired controller"); }, ExitCode::USAGE),
              "there is no paired controller 'a', nor any other");
    EXPECT_EQ(nearestName({"list", "leds", "monitor"}, "lst"), "list");
    EXPECT_EQ(nearestName({"list", "leds", "monitor"}, "montior"), "monitor");
    EXPECT_EQ(nearestName({"list", "leds", "monitor"}, "mon"), "monitor");
    EXPECT_EQ(nearestName({"list", "leds", "monitor"}, "xyzzy"), "");
}

TEST(CommandLineTest, WrongCommandIsNamedWithTheNearestRightOne) {
    const auto refusal = [](const std::vector<std::string>& words) {
        return failureOf([&words] { runCommandLine(words); }, ExitCode::USAGE);
    };
    EXPECT_THAT(refusal({"lst"}),
                StartsWith("sensorctl has no command 'lst'. Did you mean 'list'? There are: "));
    EXPECT_THAT(refusal({"controllers", "biuzz", "left"}),
                StartsWith("controllers has no command 'biuzz'. Did you mean 'buzz'?"));
}

std::string textIn(const std::string& path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

TEST(OutputFileTest, ReplacesAFileOnlyWhenItIsComplete) {
    const std::string directory = ::testing::TempDir() + "/sensorctl-output-file";
    std::filesystem::remove_all(directory);
    std::filesystem::create_directory(directory);
    const std::string path = directory + "/file";
    std::ofstream(path) << "a longer text than the new one";
    std::filesystem::create_symlink(path, directory + "/link");
    {
        OutputFile failing(directory + "/link");
        failing.write("half of");
    }
    EXPECT_EQ(textIn(path), "a longer text than the new one");
    OutputFile file(directory + "/link");
    file.write("one\n");
    file.write("two\n");
    EXPECT_EQ(textIn(path), "a longer text than the new one");
    file.close();
    EXPECT_EQ(textIn(path), "one\ntwo\n");
    const std::filesystem::directory_iterator entries(directory);
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 2) << "a temporary file was left";
}

TEST(OutputFileTest, ErrorsNameTheFileAndTheReason) {
    EXPECT_EQ(failureOf([] { OutputFile("/nowhere/imu.csv"); }),
              "cannot write /nowhere/imu.csv: No such file or directory");
    OutputFile full("/dev/full");
    full.write(std::string(1'000'000, 'x'));
    EXPECT_EQ(failureOf([&full] { full.check(); }),
              "cannot write /dev/full: No space left on device");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
    OutputFile buffered("/dev/full");
    buffered.write("still in the buffer");
    EXPECT_EQ(failureOf([&buffered] { buffered.close(); }),
              "cannot write /dev/full: No space left on device");
}

}  // namespace
