// What sensorctl prints and writes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "failure.h"
#include "output_file.h"
#include "table.h"

namespace {

using ::testing::ElementsAre;

TEST(TableTest, ColumnsAreAsWideAsTheirWidestCell) {
    Table table({{"stream", Table::Align::LEFT},
                 {"drops", Table::Align::RIGHT},
                 {"values", Table::Align::LEFT}});
    table.addRow({"imu", "1234567", "a"});
    table.addRow({"thermometer", "-", ""});
    EXPECT_THAT(table.lines(), ElementsAre("stream         drops  values",  //
                                           "imu          1234567  a",       //
                                           "thermometer        -"));
}

TEST(TableTest, TextOfTheServiceCannotSteerTheTerminal) {
    EXPECT_EQ(printable("a~ \x1b[2J\n\x7f\xc3\xa9"), "a~ ?[2J????");
}

/// The message of the Failure that `action` throws.
template <typename Action>
std::string failureOf(Action action) {
    try {
        action();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.exitCode(), ExitCode::FAILED);
        return failure.what();
    }
    return "";
}

TEST(OutputFileTest, HoldsWhatWasWrittenInPlaceOfWhatItHeld) {
    const std::string path = ::testing::TempDir() + "/sensorctl-output-file";
    std::ofstream(path) << "a longer text than the new one";
    OutputFile file(path);
    file.write("one\n");
    file.write("two\n");
    file.close();
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    EXPECT_EQ(text.str(), "one\ntwo\n");
}

TEST(OutputFileTest, ErrorsNameTheFileAndTheReason) {
    EXPECT_EQ(failureOf([] { OutputFile("/nowhere/imu.csv"); }),
              "cannot write /nowhere/imu.csv: No such file or directory");
    OutputFile full("/dev/full");
    full.write(std::string(1'000'000, 'x'));
    EXPECT_EQ(failureOf([&full] { full.check(); }),
              "cannot write /dev/full: No space left on device");
    OutputFile buffered("/dev/full");
    buffered.write("still in the buffer");
    EXPECT_EQ(failureOf([&buffered] { buffered.close(); }),
              "cannot write /dev/full: No space left on device");
}

}  // namespace
