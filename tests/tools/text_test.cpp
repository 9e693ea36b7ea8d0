// What sensorctl prints and writes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "failure.h"
#include "motion/motion_records.h"
#include "output_file.h"
#include "table.h"

namespace {

using ::testing::ElementsAre;
using Vek::Sensors::IadData;
using Vek::Sensors::ImuData;
using Vek::Sensors::MagData;

constexpr ImuData kImu{
    -1,
    1700000000000000002,
    {0.1F, -2.5F, 9.81F},
    {1e-7F, 0, -0.5F},
    31.25F,
    4294967295U,
    3,
    Vek::Sensors::MOTION_SAMPLE_CLIPPED | Vek::Sensors::MOTION_SAMPLE_DISCONTINUITY,
    156.9064F,
    34.9F};
constexpr MagData kMag{5, {20.5F, -3, 41}, 30, 6, 7, 0, 4900};

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

template <typename Data>
std::string csv(const Data& record) {
    fmt::memory_buffer out;
    RecordFormat<Data>::appendCsv(out, record);
    const std::string row = fmt::to_string(out);
    const std::string titles = RecordFormat<Data>::kCsvTitles;
    EXPECT_EQ(std::count(row.begin(), row.end(), ','),
              std::count(titles.begin(), titles.end(), ','));
    return row;
}

TEST(CsvTest, RowsHoldEveryFieldExactly) {
    EXPECT_EQ(csv(kImu),
              "-1,1700000000000000002,0.1,-2.5,9.81,1e-07,0,-0.5,31.25,4294967295,3,3,156.9064,"
              "34.9");
    EXPECT_EQ(csv(kMag), "5,20.5,-3,41,30,6,7,0,4900");
    EXPECT_EQ(csv(IadData{63.5F}), "63.5");
}

TEST(RecordTest, ValuesAndStatusAreTakenFromTheirFields) {
    EXPECT_EQ(RecordFormat<ImuData>::describe(kImu),
              "0.10 -2.50 9.81 m/s^2  0.000 0.000 -0.500 rad/s  31.2 C  clipped");
    EXPECT_EQ(RecordFormat<MagData>::describe(kMag), "20.50 -3.00 41.00 uT  30.0 C");
    EXPECT_EQ(RecordFormat<IadData>::describe(IadData{63.5F}), "63.50 mm");
    EXPECT_TRUE(RecordFormat<ImuData>::header(kImu)->isDiscontinuity);
    EXPECT_EQ(RecordFormat<ImuData>::header(kImu)->sequence, 4294967295U);
    EXPECT_FALSE(RecordFormat<MagData>::header(kMag)->isDiscontinuity);
    EXPECT_FALSE(RecordFormat<IadData>::header(IadData{}).has_value());
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
