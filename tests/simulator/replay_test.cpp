// Recordings that cannot be played, and what is said of them; the loop's numbers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "controller/controller_device.h"
#include "recording/temporary_directory.h"
#include "replay/playback.h"
#include "replay/played_cameras.h"
#include "replay/recorded_images.h"
#include "replay/recorded_stream.h"

namespace {

using namespace Simulator;

constexpr char kImuTitles[] =
    "#timestamp [ns],w_RS_S_x [rad s^-1],w_RS_S_y [rad s^-1],w_RS_S_z [rad s^-1],"
    "a_RS_S_x [m s^-2],a_RS_S_y [m s^-2],a_RS_S_z [m s^-2]\n";

class ReplayTest : public ::testing::Test {
  protected:
    Playback open(std::vector<std::string> streams = {}) const {
        ReplayOptions options;
        options.directory = directory_.path();
        options.streams = std::move(streams);
        return openPlayback(options, std::make_shared<WorldClock>(0),
                            std::make_shared<Faults>(FaultSettings{}));
    }

    const TemporaryDirectory directory_;
};

TEST_F(ReplayTest, UnplayableRecordingsAreReportedWithFileAndLine) {
    struct Case {
        const char* file;
        std::string content;
        const char* stream;
        const char* error;
    };
    const Case cases[] = {
        {"mav0/imu0/data.csv", std::string(kImuTitles) + "5,1,1,1,1,1,1\n4,1,1,1,1,1,1\n", "imu",
         "data.csv:3: the time goes back"},
        {"mav0/imu0/data.csv", std::string(kImuTitles) + "5,1,1,1,1,1,1\n6,1,1\n", "imu",
         "data.csv:3: "},
        {"mav0/imu0/data.csv", std::string(kImuTitles) + "5,1,one,1,1,1,1\n", "imu",
         "data.csv:2: \"one\""},
        {"mav0/imu0/data.csv", kImuTitles, "imu", "there is nothing to play"},
        {"mav0/imu0/data.csv", kImuTitles, "mag", "there is no stream 'mag'"},
        {"mav0/cam0/data.csv", "#timestamp [ns],filename\n5,../../x.png\n", "camera-headset",
         "data.csv:2: "},
        {"recording.json", R"({"formatVersion":99})", "imu", "format version 99"},
    };
    for (const Case& c : cases) {
        std::filesystem::remove_all(directory_.path() / "mav0");
        directory_.write(c.file, c.content);
        EXPECT_THAT(errorOf([&] { open({c.stream}); }), ::testing::HasSubstr(c.error));
    }
}

TEST_F(ReplayTest, SecondPassContinuesTheNumbersAndIsMarkedDiscontinuous) {
    directory_.write("mav0/imu0/data.csv",
                     std::string(kImuTitles) + "5,1,1,1,1,1,1\n8,2,2,2,2,2,2\n");
    const Playback playback = open();
    std::vector<Hidl::ImuData> played;
    RecordedStream<Hidl::ImuData> records(
        *playback.recording, *playback.find("imu"),
        [&](const Hidl::ImuData& record, const Hidl::ImuData&) { played.push_back(record); });
    playback.timeline->start();
    for (uint32_t pass = 0; pass < 2; ++pass) {
        for (bool isFirst = true; records.time(); records.advance(), isFirst = false) {
            records.deliver(playback.timeline->shift(pass), pass > 0 && isFirst);
        }
        records.rewind();
    }
    ASSERT_EQ(played.size(), 4U);
    for (uint32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(played[i].sequence, i);
        EXPECT_EQ(played[i].status, i == 2 ? 2U : 0U);
        EXPECT_EQ(played[i].angularRate[0], static_cast<float>(1 + i % 2));
    }
    EXPECT_EQ(played[0].timestamp, playback.timeline->clock().start().time_since_epoch().count());
    EXPECT_EQ(played[1].timestamp - played[0].timestamp, 3);
    EXPECT_GT(played[2].timestamp, played[1].timestamp);
}

TEST_F(ReplayTest, CamerasWithoutAnyImageAreAbsent) {
    directory_.write("mav0/imu0/data.csv", std::string(kImuTitles) + "5,1,1,1,1,1,1\n");
    directory_.write("mav0/cam0/data.csv", "#timestamp [ns],filename\n");
    EXPECT_THAT(PlayedCameras(open()).summary(), ::testing::IsEmpty());
}

TEST_F(ReplayTest, FaultsOfAControllerActOnWhatWasRecorded) {
    Hidl::PairedControllerInfo recorded{};
    recorded.connection = Hidl::ControllerConnection::CONNECTED;
    recorded.batteryLevel = 70;
    ControllerDevice device(
        {}, ControllerModel({}, "", {}, std::make_shared<World>(WorldSettings{})), true);
    device.setRecorded(recorded);
    const auto suffer = [&](ControllerEffects effects) {
        device.suffer(effects, {});
        EXPECT_EQ(device.isCutOff(), effects.isCutOff());
        return device.info();
    };
    using Connection = Hidl::ControllerConnection;
    EXPECT_EQ(suffer({true, false, false, false}).connection, Connection::DISCONNECTED);
    EXPECT_TRUE(device.takeChange());
    // It lasts, whatever was recorded meanwhile.
    device.setRecorded(recorded);
    EXPECT_EQ(device.info().connection, Connection::DISCONNECTED);
    EXPECT_EQ(suffer({false, true, false, false}).connection, Connection::ASLEEP);
    EXPECT_EQ(suffer({false, false, true, false}).batteryLevel, 0);
    EXPECT_TRUE(device.takeChange());
    EXPECT_EQ(suffer({false, false, false, true}).connection, Connection::CONNECTED);
    EXPECT_EQ(toString(suffer({})), toString(recorded));
}

TEST_F(ReplayTest, ImageOfTheWrongSizeOrDamagedIsNotDrawn) {
    directory_.write("mav0/cam0/data.csv", "#timestamp [ns],filename\n5,a.png\n");
    const auto small = Recording::encodePng({1, 1, Recording::PixelFormat::GREY_8, {200}},
                                            Recording::Compression::FAST);
    const Playback playback = open();
    RecordedImages images(playback.recording);
    CameraStreamPlan stream{};
    stream.cameras.resize(1);
    std::vector<uint8_t> pixels(2);
    const auto draw = [&](const std::string& content, uint32_t width) {
        images.setNext(0, directory_.write("mav0/cam0/data/a.png", content));
        return images.draw({stream, stream.cameras[0], 0, 0, {}},
                           {pixels.data(), Hidl::PixelFormat::GREY_8, width, 1, 2});
    };
    EXPECT_TRUE(draw(small, 1));
    EXPECT_EQ(pixels[0], 200);
    EXPECT_FALSE(draw(small, 2));
    EXPECT_FALSE(draw(small.substr(0, small.size() / 2), 1));
    EXPECT_FALSE(draw("no image", 1));
}

}  // namespace
