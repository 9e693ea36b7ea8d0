// sensorctl records the simulated device.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "end_to_end/environment.h"
#include "recording/layout.h"
#include "recording/reader.h"
#include "recording/temporary_directory.h"

using namespace TestSupport;
using RecordingTest = EndToEndTest;
namespace fs = std::filesystem;

namespace {

int runSensorctl(std::vector<std::string> words) {
    words.insert(words.begin(), MORIAK_SENSORCTL);
    return ChildProcess(words).wait();
}

/// Whether a file of the recording comes to have so many bytes.
bool grows(const fs::path& file, uintmax_t bytes) {
    std::error_code error;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(90);
    while (fs::file_size(file, error) < bytes || error) {
        if (std::chrono::steady_clock::now() >= deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return true;
}

/// More than the titles.
constexpr uintmax_t kFirstRow = 30;

/// Rows that a reader gets of the stream.
size_t countRows(const Recording::Reader& recording, const char* name) {
    const Recording::StreamInfo* const stream = recording.findStream(name);
    size_t rows = 0;
    if (stream != nullptr) {
        for (Recording::CsvReader csv = recording.open(*stream); csv.next(); ++rows) {
        }
    }
    return rows;
}

std::string textOf(const fs::path& file) {
    std::ostringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

}  // namespace

TEST_F(RecordingTest, AllStreamsAtOnceAreMoreThanOneCompositeTakes) {
    const Simulator simulator;
    const TemporaryDirectory directory;
    const fs::path path = directory.path() / "walk";
    const std::vector<std::string> record{"record", "--streams", "all", "--out", path.string()};
    std::vector<std::string> words = record;
    words.insert(words.begin(), MORIAK_SENSORCTL);
    ChildProcess recorder(words);
    for (int camera = 0; camera < 7; ++camera) {
        ASSERT_TRUE(
            grows(path / "mav0" / ("cam" + std::to_string(camera)) / "data.csv", kFirstRow));
    }
    ASSERT_TRUE(grows(path / "streams/adc-flicker.csv", 1000));
    recorder.send(SIGINT);
    ASSERT_EQ(recorder.wait(), 0);
    EXPECT_EQ(runSensorctl({"recording", "check", path.string()}), 0);
    const Recording::Reader recording(path);
    EXPECT_FALSE(recording.isCutOff());
    EXPECT_GT(recording.streams().size(), 15U);
    for (const char* const stream :
         {"imu", "mag", "controller-imu", "controller-buttons", "ambient-light", "adc-flicker",
          "camera-headset", "mux-states"}) {
        EXPECT_GT(countRows(recording, stream), 0U) << stream;
    }
    for (const Recording::CameraInfo& camera : recording.cameras()) {
        Recording::ImageCursor images = recording.images(camera);
        EXPECT_TRUE(images.next()) << camera.name;
        EXPECT_TRUE(camera.calibration) << camera.factoryCalibration;
    }
    EXPECT_TRUE(recording.description()["inventory"]["services"].is_array());
    // Another one in its place is refused before a stream is started.
    EXPECT_EQ(runSensorctl(record), 1);
    EXPECT_EQ(runSensorctl({"recording", "check", path.string()}), 0);
}

TEST_F(RecordingTest, AKilledRecordingPassesTheCheckAsCutOff) {
    const Simulator simulator;
    const TemporaryDirectory directory;
    const fs::path path = directory.path() / "walk";
    ChildProcess recorder(
        {MORIAK_SENSORCTL, "record", "--streams", "imu,camera-headset", "--out", path.string()});
    ASSERT_TRUE(grows(path / "streams/imu.csv", 10'000));
    ASSERT_TRUE(grows(path / "mav0/cam1/data.csv", 2 * kFirstRow));
    recorder.end(SIGKILL);
    EXPECT_TRUE(Recording::Reader(path).isCutOff());
    EXPECT_GT(countRows(Recording::Reader(path), "imu"), 0U);
    EXPECT_EQ(runSensorctl({"recording", "check", path.string()}), 0);
}

TEST_F(RecordingTest, ProgressIsShownOnATerminalAndTheGroundTruthIsCopied) {
    const Simulator simulator;
    const TemporaryDirectory directory;
    const fs::path path = directory.path() / "walk";
    const fs::path truth = directory.path() / "truth.csv";
    std::ofstream(truth) << "#timestamp [ns],p_x,p_y,p_z,q_w,q_x,q_y,q_z\n"
                            "1000,1,2,3,1,0,0,0\n2000,1,2,3.5,1,0,0,0\n";
    const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(grantpt(terminal) == 0 && unlockpt(terminal) == 0);
    ChildProcess recorder({"/bin/sh", "-c",
                           std::string("TERM=xterm exec " MORIAK_SENSORCTL
                                       " record --streams imu,camera-eye --ground-truth ") +
                               truth.string() + " --out " + path.string() + " >" +
                               ptsname(terminal)});
    const std::regex progress(
        "[1-9][0-9]* s  [1-9][0-9]* records  [1-9][0-9]* frame sets  [0-9.]+ MB  [0-9]+ dropped  "
        "[0-9]+ left out  [0-9.]+ MB waiting");
    std::string shown;
    char some[1024];
    while (!std::regex_search(shown, progress)) {
        const ssize_t size = read(terminal, some, sizeof(some));
        ASSERT_GT(size, 0) << shown;
        shown.append(some, static_cast<size_t>(size));
    }
    recorder.send(SIGINT);
    EXPECT_EQ(recorder.wait(), 0);
    close(terminal);
    EXPECT_EQ(textOf(path / "mav0/state_groundtruth_estimate0/data.csv"), textOf(truth));
    EXPECT_EQ(runSensorctl({"recording", "check", path.string()}), 0);
}

TEST_F(RecordingTest, EchoPrintsTheSameRecordsAsARecordingHolds) {
    const Simulator simulator;
    const TemporaryDirectory directory;
    const fs::path path = directory.path() / "walk";
    const fs::path printed = directory.path() / "printed";
    ChildProcess recorder({MORIAK_SENSORCTL, "record", "--streams", "imu", "--out", path.string()});
    ASSERT_TRUE(grows(path / "streams/imu.csv", kFirstRow));
    ASSERT_EQ(ChildProcess({"/bin/sh", "-c",
                            std::string("exec " MORIAK_SENSORCTL " echo imu --json --count 100 >") +
                                printed.string()})
                  .wait(),
              0);
    // What was printed is on its way to the recording, too.
    ASSERT_TRUE(
        grows(path / "streams/imu.csv", fs::file_size(path / "streams/imu.csv") + 200 * kFirstRow));
    recorder.send(SIGINT);
    ASSERT_EQ(recorder.wait(), 0);

    const Recording::Reader recording(path);
    std::map<int64_t, std::vector<std::string>> recorded;  // by sequence number
    for (Recording::CsvReader csv = recording.open(*recording.findStream("imu")); csv.next();) {
        std::vector<std::string> fields;
        for (size_t i = 0; i < csv.titles().size(); ++i) {
            // Each of the two received it at a time of its own.
            if (csv.titles()[i] != Recording::kReceivedTitle) {
                fields.push_back("\"" + csv.titles()[i] + "\":" + std::string(csv.cells()[i]));
            }
        }
        recorded[csv.number<int64_t>(csv.column("sequence"))] = std::move(fields);
    }
    std::ifstream lines{printed};
    size_t count = 0;
    for (std::string line; std::getline(lines, line); ++count) {
        const auto record = recorded.find(nlohmann::json::parse(line)["sequence"]);
        ASSERT_NE(record, recorded.end()) << line;
        line.back() = ',';
        for (const std::string& field : record->second) {
            EXPECT_THAT(line, testing::HasSubstr(field + ","));
        }
    }
    EXPECT_EQ(count, 100U);
}
