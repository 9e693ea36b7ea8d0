// What sensorctl prints and writes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

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

TEST(TableTest, NothingOfTheServiceGrowsBeyondABound) {
    EXPECT_EQ(printable(std::string(300'000, 'x')), std::string(77, 'x') + "...");
    const std::vector<std::string> names(300'000, "name");
    EXPECT_LT(listOf(names).size(), 200U);
    Table table({{"name", Table::Align::LEFT}});
    for (const std::string& name : names) {
        table.addRow({name});
    }
    EXPECT_EQ(table.lines().size(), Table::kMostRows + 2);
    EXPECT_EQ(table.lines().back(), "and 299000 more");
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

std::string textIn(const std::string& path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

TEST(OutputFileTest, ReplacesAFileOnceItIsWholeAndNoneBefore) {
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
