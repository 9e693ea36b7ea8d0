// Recordings written by threads, by processes that are killed, and over other recordings.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "recording/recorder.h"
#include "temporary_directory.h"

using namespace Recording;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

constexpr size_t kImu = 0;
constexpr size_t kCameras = 1;
constexpr char kImuTitles[] =
    "timestamp_ns,acceleration_x_m_s2,acceleration_y_m_s2,acceleration_z_m_s2,"
    "angular_rate_x_rad_s,angular_rate_y_rad_s,angular_rate_z_rad_s,name";

Plan planOfTwoStreams() {
    Plan plan;
    plan.program = "test";
    plan.streams = {{"imu", kImuTitles}, {"camera-headset", "timestamp_ns"}};
    for (const uint32_t id : {0U, 1U}) {
        CameraInfo camera;
        camera.directory = "cam" + std::to_string(id);
        camera.name = "camera: \"" + std::to_string(id) + "\"";
        camera.cameraId = id + 10;
        camera.stream = "camera-headset";
        camera.position = id;
        camera.factoryCalibration = "in a form of its own: \xff";
        plan.cameras.push_back(camera);
    }
    return plan;
}

std::string imuRow(int64_t timestamp) {
    return fmt::format("{},{},1,2,3,4,5,6.5,\"a,\nb\"\n", timestamp + 1, timestamp);
}

/// What an image of the frame set has in its first pixel.
uint8_t markOf(int64_t timestamp, size_t camera) {
    return static_cast<uint8_t>(timestamp * 2 + static_cast<int64_t>(camera));
}

class RecorderTest : public testing::Test {
  protected:
    std::unique_ptr<Recorder> start(Recorder::Options options = {}, bool isReplacing = false) {
        return std::make_unique<Recorder>(
            std::make_unique<Writer>(path_, planOfTwoStreams(), isReplacing), options);
    }

    /// Rows of the IMU and frame sets of two images with a stride, at 1, 2, ...
    static void add(Recorder& recorder, int64_t first, int64_t last,
                    Recorder::WhenFull whenFull = Recorder::WhenFull::LEAVE_OUT) {
        for (int64_t time = first; time <= last; ++time) {
            recorder.add(kImu, imuRow(time), 1);
            std::vector<uint8_t> pixels(100 * 60);
            std::vector<FrameView> frames;
            for (const size_t camera : {0U, 1U}) {
                pixels[camera * 50] = markOf(time, camera);
                frames.push_back(
                    {camera, {50, 60, PixelFormat::GREY_8, pixels.data() + camera * 50, 100}});
            }
            recorder.addFrameSet(kCameras, fmt::format("{0},{0}\n", time), time, frames, whenFull);
        }
    }

    /// The times of the frame sets. Fails if the images are not theirs, or the streams' rows and
    /// images do not agree.
    std::vector<int64_t> readFrameSets() const {
        const Reader reader(path_);
        std::vector<int64_t> times;
        CsvReader rows = reader.open(*reader.findStream("camera-headset"));
        ImageCursor left = reader.images(reader.cameras().at(0));
        ImageCursor right = reader.images(reader.cameras().at(1));
        while (rows.next()) {
            times.push_back(rows.number<int64_t>(rows.requireColumn("timestamp_ns")));
            for (ImageCursor* const images : {&left, &right}) {
                EXPECT_TRUE(images->next());
                EXPECT_EQ(images->timestamp(), times.back());
                const size_t camera = images == &left ? 0 : 1;
                EXPECT_EQ(images->file(), reader.imageFile(reader.cameras()[camera], times.back()));
                EXPECT_EQ(readPng(images->file()).pixels.at(0), markOf(times.back(), camera));
            }
        }
        return times;
    }

    size_t countImuRows() const {
        const Reader reader(path_);
        size_t rows = 0;
        for (CsvReader csv = reader.open(*reader.findStream("imu")); csv.next();) {
            EXPECT_EQ(csv.number<int64_t>(1), static_cast<int64_t>(++rows));
        }
        return rows;
    }

    const TemporaryDirectory directory_;
    const fs::path path_ = directory_.path() / "walk";
};

std::vector<int64_t> upTo(int64_t last) {
    std::vector<int64_t> times(static_cast<size_t>(last));
    std::iota(times.begin(), times.end(), 1);
    return times;
}

}  // namespace

TEST_F(RecorderTest, EveryAddedRecordIsWrittenInOrder) {
    auto recorder = start();
    add(*recorder, 1, 100);
    EXPECT_TRUE(recorder->finish({{3, 0}}, {}));
    EXPECT_EQ(countImuRows(), 100U);
    EXPECT_EQ(readFrameSets(), upTo(100));
    const Reader reader(path_);
    EXPECT_FALSE(reader.isCutOff());
    const nlohmann::json& description = reader.description();
    EXPECT_EQ(description["streams"][0]["records"], 100);
    EXPECT_EQ(description["streams"][0]["drops"], 3);
    EXPECT_EQ(description["streams"][0]["last_ns"], 100);
    EXPECT_EQ(description["cameras"][1]["camera"], 11);
    EXPECT_EQ(description["cameras"][1]["images"], 100);
    // The samples once more, as EuRoC has them.
    CsvReader euroc(path_ / "mav0/imu0/data.csv");
    ASSERT_TRUE(euroc.next());
    EXPECT_EQ(euroc.titles()[1], "w_RS_S_x [rad s^-1]");
    EXPECT_THAT(euroc.cells(), testing::ElementsAre("1", "4", "5", "6.5", "1", "2", "3"));
}

TEST_F(RecorderTest, EurocFilesOfTheSensorsSayHowTheyAreCalibrated) {
    CameraCalibration calibration{
        50, 60, {30.5, 31, 25, 29.5}, "equidistant", {0.1, -0.02, 3e-3, 4e-4}, {}};
    // Turned about x, and beside the IMU.
    calibration.cameraToImu = {1, 0, 0, 0.03, 0, 0, -1, -0.01, 0, 1, 0, 0.002, 0, 0, 0, 1};
    Plan plan = planOfTwoStreams();
    plan.cameras[1].calibration = calibration;
    plan.cameras[1].deviceCalibration =
        R"({"imu":{"gyroscopeNoiseDensity":1.5e-4,"gyroscopeRandomWalk":2e-5,)"
        R"("accelerometerNoiseDensity":2e-3,"accelerometerRandomWalk":3e-3}})";
    Recorder recorder(std::make_unique<Writer>(path_, plan, false), {});
    add(recorder, 1, 2);
    EXPECT_TRUE(recorder.finish({}, {}));
    EXPECT_FALSE(readCameraYaml(path_ / "mav0/cam0/sensor.yaml").calibration);
    const auto read = readCameraYaml(path_ / "mav0/cam1/sensor.yaml").calibration;
    ASSERT_TRUE(read);
    EXPECT_EQ(read->width, calibration.width);
    EXPECT_EQ(read->height, calibration.height);
    EXPECT_EQ(read->intrinsics, calibration.intrinsics);
    EXPECT_EQ(read->distortionModel, calibration.distortionModel);
    EXPECT_EQ(read->distortion, calibration.distortion);
    EXPECT_EQ(read->cameraToImu, calibration.cameraToImu);
    std::ifstream imu(path_ / "mav0/imu0/sensor.yaml");
    const std::string text(std::istreambuf_iterator<char>(imu), {});
    for (const char* const line :
         {"gyroscope_noise_density: 0.00015 ", "gyroscope_random_walk: 2e-05 ",
          "accelerometer_noise_density: 0.002 ", "accelerometer_random_walk: 0.003 "}) {
        EXPECT_THAT(text, HasSubstr(line));
    }
}

TEST_F(RecorderTest, FrameSetsWithoutRoomAreLeftOutWholeAndCounted) {
    auto recorder = start({Compression::FAST, {}, 50 * 60 * 2 * 3, 0});
    add(*recorder, 1, 10);
    recorder->addFrameSet(kCameras, "3,3\n", 3, {});
    EXPECT_EQ(recorder->progress().frameSets, 3U);
    EXPECT_EQ(recorder->progress().frameSetsLeftOut, 8U);
}

TEST_F(RecorderTest, FrameSetsOfAServiceThatWaitsAreAllKept) {
    auto recorder = start({Compression::FAST, {}, 50 * 60 * 2, 1});
    add(*recorder, 1, 50, Recorder::WhenFull::WAIT);
    EXPECT_TRUE(recorder->finish({}, {}));
    EXPECT_EQ(readFrameSets(), upTo(50));
}

TEST_F(RecorderTest, ASnapshotWritesWhatItHasKept) {
    auto recorder = start({Compression::NONE, std::chrono::hours(1)});
    add(*recorder, 1, 20);
    EXPECT_FALSE(fs::exists(path_));
    EXPECT_TRUE(recorder->finish({}, {}));
    EXPECT_EQ(readFrameSets(), upTo(20));

    fs::remove_all(path_);
    recorder = start({Compression::NONE, std::chrono::nanoseconds(0), size_t{1} << 20, 1});
    recorder->add(kImu, imuRow(1), 1);
    EXPECT_FALSE(recorder->finish({}, {}));
    EXPECT_FALSE(fs::exists(path_));
}

TEST_F(RecorderTest, OnlyAnEarlierRecordingIsReplacedAndOnlyByANewOne) {
    EXPECT_FALSE(start()->finish({}, {}));
    EXPECT_FALSE(fs::exists(path_));
    auto recorder = start();
    add(*recorder, 1, 1);
    recorder->finish({}, {});
    EXPECT_THAT(errorOf([this] { start(); }),
                HasSubstr("walk: is not empty; a recording in it is replaced with --force"));

    start({}, true)->finish({}, {});
    EXPECT_EQ(readFrameSets(), upTo(1));
    recorder = start({}, true);
    add(*recorder, 1, 5);
    recorder->finish({}, {});
    EXPECT_EQ(readFrameSets(), upTo(5));
    recorder.reset();
    EXPECT_EQ(std::distance(fs::directory_iterator(directory_.path()), {}), 1);

    directory_.write("walk/thesis.txt", "years of work");
    EXPECT_THAT(errorOf([this] { start({}, true); }), HasSubstr("has other files"));
}

TEST_F(RecorderTest, AKilledRecordingIsReadableAndMarked) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        auto recorder = start();
        for (int64_t time = 1;; ++time) {
            add(*recorder, time, time);
            // All that was taken is on the disk: the tests' sign to kill.
            if (time == 50) {
                while (recorder->progress().waitingBytes > 0) {
                    usleep(1000);
                }
                static_cast<void>(!write(ends[1], "x", 1));
            }
        }
    }
    char sign = 0;
    ASSERT_EQ(read(ends[0], &sign, 1), 1);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_TRUE(Reader(path_).isCutOff());
    EXPECT_GE(countImuRows(), 50U);
    EXPECT_GE(readFrameSets().size(), 50U);
}

TEST_F(RecorderTest, AFullDiskEndsTheRecordingWithAnError) {
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{20'000, 20'000};
        setrlimit(RLIMIT_FSIZE, &limit);
        auto recorder = start();
        add(*recorder, 1, 1000);
        const std::string error = errorOf([&] { recorder->finish({}, {}); });
        _exit(error.find("cannot write") == 0 ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(Reader(path_).isCutOff());
    EXPECT_GT(countImuRows(), 0U);
}
