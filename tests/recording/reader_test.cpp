// Reading of data sets that this project did not write, whole and broken ones.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "recording/reader.h"
#include "temporary_directory.h"

using namespace Recording;
using testing::HasSubstr;

namespace {

constexpr char kCameraYaml[] = R"(#Default camera sensor yaml file
sensor_type: camera
comment: VI-Sensor cam0 (MT9M034)
T_BS:
  cols: 4
  rows: 4
  data: [0.0148655429818, -0.999880929698, 0.00414029679422, -0.0216401454975,
         0.999557249008, 0.0149672133247, 0.025715529948, -0.064676986768,
        -0.0257744366974, 0.00375618835797, 0.999660727178, 0.00981073058949,
         0.0, 0.0, 0.0, 1.0]
rate_hz: 20
resolution: [752, 480]
camera_model: pinhole
intrinsics: [458.654, 457.296, 367.215, 248.375] #fu, fv, cu, cv
distortion_model: radial-tangential
distortion_coefficients: [-0.28340811, 0.07395907, 0.00019359, 1.76187114e-05]
)";

/// The files of a EuRoC data set and nothing else.
class EurocDataSet : public testing::Test {
  protected:
    EurocDataSet() {
        const Image image{2, 1, PixelFormat::GREY_8, {7, 250}};
        for (const std::string camera : {"mav0/cam0/", "mav0/cam1/"}) {
            directory_.write(camera + "sensor.yaml", kCameraYaml);
            directory_.write(camera + "data.csv",
                             "#timestamp [ns],filename\r\n1403636579763555584,a.png\r\n"
                             "1403636579813555456,b.png\r\n");
            directory_.write(camera + "data/a.png", encodePng(image, Compression::SMALL));
        }
        directory_.write("mav0/imu0/data.csv",
                         "#timestamp [ns],w_RS_S_x [rad s^-1],w_RS_S_y [rad s^-1],"
                         "w_RS_S_z [rad s^-1],a_RS_S_x [m s^-2],a_RS_S_y [m s^-2],"
                         "a_RS_S_z [m s^-2]\n1403636579758555392,-0.099,0.147,0.029,8.1,-0.37,"
                         "-2.4\n");
    }

    /// The error of reading all of the data set.
    std::string errorOfAll() const {
        return errorOf([this] {
            const Reader reader(directory_.path());
            for (const StreamInfo& stream : reader.streams()) {
                for (CsvReader csv = reader.open(stream); csv.next();) {
                }
            }
            for (const CameraInfo& camera : reader.cameras()) {
                for (ImageCursor images = reader.images(camera); images.next();) {
                }
            }
        });
    }

    const TemporaryDirectory directory_;
};

}  // namespace

TEST_F(EurocDataSet, OpensWithoutARecordingJson) {
    const Reader reader(directory_.path() / "mav0");
    EXPECT_TRUE(reader.isPlainEuroc());
    EXPECT_FALSE(reader.isCutOff());
    ASSERT_NE(reader.findStream("imu"), nullptr);
    CsvReader imu = reader.open(*reader.findStream("imu"));
    ASSERT_TRUE(imu.next());
    EXPECT_EQ(imu.number<int64_t>(imu.requireColumn("timestamp_ns")), 1403636579758555392);
    EXPECT_EQ(imu.number<float>(imu.requireColumn("angular_rate_y_rad_s")), 0.147F);
    EXPECT_EQ(imu.number<float>(imu.requireColumn("acceleration_z_m_s2")), -2.4F);

    ASSERT_EQ(reader.cameras().size(), 2U);
    const CameraInfo& camera = reader.cameras()[1];
    EXPECT_EQ(camera.cameraId, 1U);
    EXPECT_EQ(camera.rate, 20);
    ASSERT_TRUE(camera.calibration);
    EXPECT_EQ(camera.calibration->width, 752U);
    EXPECT_EQ(camera.calibration->intrinsics[2], 367.215);
    EXPECT_EQ(camera.calibration->distortion[3], 1.76187114e-05);
    EXPECT_EQ(camera.calibration->cameraToImu[7], -0.064676986768);
    ImageCursor images = reader.images(camera);
    ASSERT_TRUE(images.next());
    EXPECT_EQ(images.timestamp(), 1403636579763555584);
    EXPECT_EQ(readPng(images.file()).pixels, (std::vector<uint8_t>{7, 250}));
    EXPECT_FALSE(reader.groundTruth());
}

TEST_F(EurocDataSet, ErrorsNameFileAndLine) {
    const struct {
        const char* file;
        const char* text;
        const char* message;
    } cases[] = {
        {"mav0/cam0/data.csv", "#timestamp [ns],filename\n1,../../imu0/data.csv\n",
         "cam0/data.csv:2: \"../../imu0/data.csv\" is no name of a file"},
        {"mav0/cam0/data.csv", "#timestamp [ns],filename\n1,a.png\nx,b.png\n",
         "cam0/data.csv:3: \"x\" is no value of timestamp [ns]"},
        {"mav0/imu0/data.csv", "#timestamp [ns],w_RS_S_x [rad s^-1]\n",
         "imu0/data.csv:1: no column"},
        {"mav0/imu0/data.csv", "", "imu0/data.csv: no line of titles"},
        {"mav0/cam0/sensor.yaml", "rate_hz: 20\nresolution: [752\n", "cam0/sensor.yaml:"},
        {"mav0/cam0/sensor.yaml", "rate_hz: often\n", "cam0/sensor.yaml:1: rate_hz"},
        {"recording.json", "{\"formatVersion\": 1, ", "recording.json: "},
        {"recording.json", "{\"formatVersion\": 2}", "format version 2 is unknown"},
        {"recording.json", "{\"formatVersion\": 1, \"streams\": [{\"name\": \"../imu\"}]}",
         "\"../imu\" is no name of a stream"},
        {"recording.json", "{\"formatVersion\": 1, \"cameras\": [{\"directory\": \"/tmp\"}]}",
         "\"/tmp\" is no directory of a camera"},
    };
    for (const auto& broken : cases) {
        std::filesystem::copy(directory_.path(), directory_.path().string() + ".whole",
                              std::filesystem::copy_options::recursive);
        directory_.write(broken.file, broken.text);
        EXPECT_THAT(errorOfAll(), HasSubstr(broken.message));
        std::filesystem::remove_all(directory_.path());
        std::filesystem::rename(directory_.path().string() + ".whole", directory_.path());
    }
    EXPECT_THAT(errorOf([] { const Reader reader("/nowhere"); }),
                HasSubstr("/nowhere: neither a recording nor a EuRoC data set"));
}

TEST(CalibrationTest, FactoryTextsBecomeKalibrsChain) {
    const std::string left =
        R"({"camera":0,"name":"headset left","width":640,"height":480,"model":"pinhole",)"
        R"("intrinsics":[380,381,320,240],"distortionModel":"equidistant",)"
        R"("distortion":[0.1,0.2,0.3,0.4],)"
        R"("T_BS":[0,-1,0,0.5, 1,0,0,0.25, 0,0,1,2, 0,0,0,1],"rate":60})";
    const auto calibration = cameraCalibrationOf(left);
    ASSERT_TRUE(calibration);
    EXPECT_EQ(cameraCalibrationOf(factoryTextOf(*calibration, 0, "headset left", 60))->cameraToImu,
              calibration->cameraToImu);
    const std::string chain = kalibrCameraChain({calibration, std::nullopt, calibration});
    // The inverse of T_BS.
    EXPECT_THAT(chain, HasSubstr("cam0:\n  T_cam_imu:\n  - [0, 1, 0, -0.25]\n  - [-1, 0, 0, 0.5]\n"
                                 "  - [0, 0, 1, -2]\n  - [0, 0, 0, 1]\n"));
    EXPECT_THAT(chain, HasSubstr("cam1:\n"));
    EXPECT_THAT(chain, HasSubstr("  T_cn_cnm1:\n  - [1, 0, 0, 0]\n  - [0, 1, 0, 0]\n"));
    for (const char* const other :
         {"", "no JSON", "[1]", R"({"model":"pinhole"})", R"({"model":"fisheye","width":640})"}) {
        EXPECT_FALSE(cameraCalibrationOf(other)) << other;
    }
}
