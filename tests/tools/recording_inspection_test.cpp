// What sensorctl finds in recordings, whole and damaged.
#include "recording_inspection.h"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "recording/recorder.h"
#include "recording/temporary_directory.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using namespace Recording;

constexpr int64_t kMillisecond = 1'000'000;

/// Two controllers in one stream, and a camera.
class InspectionTest : public testing::Test {
  protected:
    InspectionTest() {
        Plan plan;
        plan.streams = {{"controller-imu", "controller,timestamp_ns,sequence"},
                        {"camera-hand", "timestamp_ns,sequence"}};
        CameraInfo camera;
        camera.directory = "cam0";
        camera.stream = "camera-hand";
        plan.cameras = {camera};
        Recorder recorder(std::make_unique<Writer>(path_, plan, false), {});
        // The second one loses three samples, and its clock is behind the first one's.
        for (int64_t i = 0; i < 10; ++i) {
            const int64_t time = 10 * kMillisecond * (i + 1);
            recorder.add(0, fmt::format("{},0x1,{},{}\n", time + kMillisecond, time, i), 1);
            if (i < 3 || i > 5) {
                recorder.add(0, fmt::format("{},0x2,{},{}\n", time + kMillisecond, time - 1, i), 1);
            }
        }
        const std::vector<uint8_t> pixels(12, 7);
        for (int64_t time = 1; time <= 3; ++time) {
            recorder.addFrameSet(1, fmt::format("{0},{0},{0}\n", time), time,
                                 {{0, {4, 3, Recording::PixelFormat::GREY_8, pixels.data(), 4}}});
        }
        recorder.finish({}, {});
    }

    std::string read(const std::string& file) const {
        std::ostringstream text;
        text << std::ifstream(path_ / file, std::ios::binary).rdbuf();
        return text.str();
    }
    void write(const std::string& file, const std::string& text) const {
        directory_.write("walk/" + file, text);
    }

    std::vector<std::string> problems() const { return inspect(Reader(path_), true).problems; }

    const TemporaryDirectory directory_;
    const std::filesystem::path path_ = directory_.path() / "walk";
};

}  // namespace

TEST_F(InspectionTest, DropsAndIntervalsAreThoseOfEachSource) {
    const RecordingReport report = inspect(Reader(path_), true);
    EXPECT_TRUE(report.isSound());
    const StreamReport& imu = report.streams.at(0);
    EXPECT_EQ(imu.records, 17U);
    EXPECT_EQ(imu.drops, 3U);
    EXPECT_EQ(imu.intervals.shortest().count(), 10 * kMillisecond);
    EXPECT_EQ(imu.intervals.longest().count(), 40 * kMillisecond);
    EXPECT_NEAR(static_cast<double>(imu.latencies.percentile(0.1)->count()), kMillisecond,
                0.04 * kMillisecond);
    const CameraReport& camera = report.cameras.at(0);
    EXPECT_EQ(camera.images, 3U);
    EXPECT_EQ(camera.width, 4U);
    EXPECT_FALSE(camera.isCalibrated);
}

TEST_F(InspectionTest, EveryDamageIsNamedWithItsPlace) {
    const std::string rows = "streams/camera-hand.csv";
    const std::string images = "mav0/cam0/data.csv";
    const std::string whole = read(rows);
    const std::string wholeImages = read(images);
    const std::string png = read("mav0/cam0/data/2.png");

    write(rows, whole + "2,2,4\n");
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("camera-hand.csv:5: 2 ns is before")));
    write(rows, whole + "3,3,4\n");
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("camera-hand.csv:5: 3 ns is the time of")));
    write(rows, whole + "4,4,4");
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("ends in the middle of a line")));
    write(rows, whole + "4,4\n");
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("camera-hand.csv:5: 2 cells under 3 titles")));
    std::filesystem::remove(path_ / rows);
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("camera-hand.csv: No such file")));
    write(rows, whole);

    write(images, wholeImages + "4,4.png\n");
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("data.csv:5: ")));
    write(images, wholeImages);
    write("mav0/cam0/data/2.png", png.substr(0, png.size() / 2));
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("data/2.png: ")));
    write("mav0/cam0/data/2.png",
          encodePng({3, 4, Recording::PixelFormat::GREY_8, std::vector<uint8_t>(12)},
                    Compression::FAST));
    EXPECT_THAT(problems(), ElementsAre(HasSubstr("3x4 pixels among images of 4x3")));
}

TEST_F(InspectionTest, ACutOffRecordingMayEndInTheMiddleOfALine) {
    std::string description = read("recording.json");
    description.replace(description.find("\"complete\""), 10, "\"recording\"");
    write("recording.json", description);
    write("streams/camera-hand.csv", read("streams/camera-hand.csv") + "4,4");
    EXPECT_TRUE(Reader(path_).isCutOff());
    EXPECT_THAT(problems(), ElementsAre());
}
