// sensorctl records the simulated device.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <thread>

#include "end_to_end/environment.h"
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
