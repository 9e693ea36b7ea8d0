// What sensorctl writes of the records of all streams.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "camera/camera_records.h"
#include "controller/controller_records.h"
#include "controller/controller_text.h"
#include "environment/environment_records.h"
#include "environment/flicker_estimate.h"
#include "motion/motion_records.h"
#include "stream_statistics.h"

namespace {

using namespace Vek::Sensors;

/// The row, which has a column for each title.
template <typename Data>
std::string csv(const Data& record) {
    fmt::memory_buffer out;
    RecordFormat<Data>::appendCsv(out, record);
    const std::string row = fmt::to_string(out);
    const std::string titles = RecordFormat<Data>::kCsvTitles;
    EXPECT_EQ(std::count(row.begin(), row.end(), ','),
              std::count(titles.begin(), titles.end(), ','))
        << titles;
    return row;
}

template <typename... Data>
void expectAColumnForEachTitle() {
    (csv(Data{}), ...);
}

TEST(RecordTest, RowsHaveAColumnForEachTitle) {
    expectAColumnForEachTitle<PairedControllerInfo, ControllerImuData, ButtonData, CurlData,
                              PrecisionPadData, MultiTouchData, StylusData, ControllerInputADCData,
                              PoseInput, ControllerCollisionEvent, WirelessDeviceStats>();
    expectAColumnForEachTitle<FlickerData, AdcFlickerData, AmbientLightData,
                              ExternalTimestampData>();
}

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

TEST(RecordTest, RowsHoldEveryFieldExactly) {
    EXPECT_EQ(csv(kImu),
              "-1,1700000000000000002,0.1,-2.5,9.81,1e-07,0,-0.5,31.25,4294967295,3,3,156.9064,"
              "34.9");
    EXPECT_EQ(csv(MagData{5, {20.5F, -3, 41}, 30, 6, 7, 0, 4900}), "5,20.5,-3,41,30,6,7,0,4900");
    EXPECT_EQ(csv(IadData{63.5F}), "63.5");
    MultiTouchData touch{};
    touch.header.controller = ControllerAddr{0x5A};
    touch.points[1] = {1, 2, 1, 0, 0, 65535, 7, 200, 30, 20, 0};
    EXPECT_EQ(csv(touch),
              "0x5a,0,0,0,0,0,0,0,0,1,2,1,65535,7,200,30,20,0,0,0,0,0,0,0,0,0,0,0,0,0,0,"
              "0,0");
    ButtonData buttons{
        {ControllerAddr{0x5A}, 1, 2, 1ULL << 40}, 0b1000001, 127, 3, 0.1F, 1, {-1, 0.5F}};
    EXPECT_EQ(csv(buttons), "0x5a,1,2,1099511627776,65,127,3,0.1,1,-1,0.5");
}

TEST(RecordTest, ValuesAndStatusAreTakenFromTheirFields) {
    EXPECT_EQ(RecordFormat<ImuData>::describe(kImu),
              "0.10 -2.50 9.81 m/s^2  0.000 0.000 -0.500 rad/s  31.2 C  clipped");
    EXPECT_TRUE(RecordFormat<ImuData>::header(kImu)->isDiscontinuity);
    EXPECT_EQ(RecordFormat<ImuData>::header(kImu)->sequence, 4294967295U);
    EXPECT_FALSE(RecordFormat<MagData>::header({})->isDiscontinuity);
    EXPECT_FALSE(RecordFormat<IadData>::header({}).has_value());
    EXPECT_EQ(RecordFormat<ButtonData>::describe({{}, 0b1000001, 127, 3, 0.1F, 1, {-1, 0.5F}}),
              "0x0  trigger+secondary  trigger 0.10  grip 1.00  stick -1.00 0.50");
}

TEST(RecordTest, FrameSetsRowHasAColumnForEveryTitleWhateverTheServiceCounts) {
    FrameSet frameSet{};
    frameSet.timestamp = 1'700'000'000'000'000'001;
    frameSet.sequence = 4'294'967'295;
    frameSet.frameType = FrameType::COLOR;
    for (const uint32_t frames : {0U, 2U, 10U, UINT32_MAX}) {
        frameSet.numFrames = frames;
        EXPECT_THAT(csv(frameSet), ::testing::StartsWith(fmt::format(
                                       "1700000000000000001,4294967295,9,{},0", frames)));
        EXPECT_FALSE(RecordFormat<FrameSet>::describe(frameSet).empty());
    }
}

TEST(RecordTest, TextOfTheServiceStaysInItsColumn) {
    PairedControllerInfo info{};
    std::memcpy(info.name.data(), "sixteen \"chars\";", 16);  // fills its field
    const std::string row = csv(info);
    EXPECT_THAT(row, ::testing::HasSubstr(",\"sixteen \"\"chars\"\";\",\"\",\"\",\"\",\"\","));
    std::memcpy(info.name.data(), "left\x1b\0old name", 14);
    EXPECT_EQ(text(info.name), "left?");
    EXPECT_EQ(text(static_cast<ControllerConnection>(77)), "connection 77");
}

TEST(RecordTest, BlockThatClaimsTooMuchIsReadAsFarAsItGoes) {
    AdcFlickerData block{};
    block.sampleCount = UINT32_MAX;
    block.timestamp = 1000;
    block.sampleRate = 4096;
    block.status = LIGHT_SAMPLE_DISCONTINUITY;
    EXPECT_EQ(samplesOf(block).size(), 4096U);
    const auto header = RecordFormat<AdcFlickerData>::header(block);
    EXPECT_EQ(header->timestamp, 1'000'001'000) << "a second after its first sample";
    EXPECT_TRUE(header->isDiscontinuity);
    for (const float rate : {0.0F, -1.0F, std::numeric_limits<float>::quiet_NaN(), 1e-30F}) {
        block.sampleRate = rate;
        EXPECT_EQ(RecordFormat<AdcFlickerData>::header(block)->timestamp, 1000) << rate;
    }
    block.timestamp = INT64_MAX;
    block.sampleRate = 1;
    EXPECT_EQ(RecordFormat<AdcFlickerData>::header(block)->timestamp, INT64_MAX);
}

}  // namespace
