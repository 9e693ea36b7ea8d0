// What sensorctl writes of the hand controllers.
#include "controller/controller_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "controller/controller_text.h"
#include "stream_statistics.h"

namespace {

using namespace Vek::Sensors;

template <typename Data>
std::string csv(const Data& record) {
    fmt::memory_buffer out;
    RecordFormat<Data>::appendCsv(out, record);
    return fmt::to_string(out);
}

template <typename Data>
void expectAColumnForEachTitle() {
    const std::string row = csv(Data{});
    const std::string titles = RecordFormat<Data>::kCsvTitles;
    EXPECT_EQ(std::count(row.begin(), row.end(), ','),
              std::count(titles.begin(), titles.end(), ','))
        << titles;
}

TEST(ControllerRecordTest, RowsHaveAColumnForEachTitle) {
    expectAColumnForEachTitle<PairedControllerInfo>();
    expectAColumnForEachTitle<ControllerImuData>();
    expectAColumnForEachTitle<ButtonData>();
    expectAColumnForEachTitle<CurlData>();
    expectAColumnForEachTitle<PrecisionPadData>();
    expectAColumnForEachTitle<MultiTouchData>();
    expectAColumnForEachTitle<StylusData>();
    expectAColumnForEachTitle<ControllerInputADCData>();
    expectAColumnForEachTitle<PoseInput>();
    expectAColumnForEachTitle<ControllerCollisionEvent>();
    expectAColumnForEachTitle<WirelessDeviceStats>();
}

TEST(ControllerRecordTest, RowsHoldEveryFieldExactly) {
    MultiTouchData touch{};
    touch.header.controller = ControllerAddr{0x5A};
    touch.points[1] = {1, 2, 1, 0, 0, 65535, 7, 200, 30, 20, 0};
    EXPECT_EQ(csv(touch),
              "0x5a,0,0,0,0,0,0,0,0,1,2,1,65535,7,200,30,20,0,0,0,0,0,0,0,0,0,0,0,0,0,0,"
              "0,0");
    ButtonData buttons{
        {ControllerAddr{0x5A}, 1, 2, 1ULL << 40}, 0b1000001, 127, 3, 0.1F, 1, {-1, 0.5F}};
    EXPECT_EQ(csv(buttons), "0x5a,1,2,1099511627776,65,127,3,0.1,1,-1,0.5");
    EXPECT_EQ(RecordFormat<ButtonData>::describe(buttons),
              "0x5a  trigger+secondary  trigger 0.10  grip 1.00  stick -1.00 0.50");
}

TEST(ControllerRecordTest, TextOfTheServiceStaysInItsColumn) {
    PairedControllerInfo info{};
    std::memcpy(info.name.data(), "sixteen \"chars\",", 16);  // fills its field
    const std::string row = csv(info);
    EXPECT_THAT(row, ::testing::HasSubstr(",\"sixteen \"\"chars\"\",\",\"\",\"\",\"\",\"\","));
    std::memcpy(info.name.data(), "left\x1b\0old name", 14);
    EXPECT_EQ(text(info.name), "left?");
    EXPECT_EQ(text(static_cast<ControllerConnection>(77)), "connection 77");
}

TEST(ControllerRecordTest, DropsAreCountedForEachControllerOnItsOwn) {
    StreamStatistics statistics;
    const auto now = RateMeter::Time(std::chrono::seconds(1));
    for (const auto& [controller, sequence] : {std::pair{1, 100U}, {2, 7U}, {1, 101U}, {2, 10U}}) {
        PoseInput pose{};
        pose.controller = static_cast<ControllerAddr>(controller);
        pose.sequence = sequence;
        statistics.countSample(now, *RecordFormat<PoseInput>::header(pose));
    }
    EXPECT_EQ(statistics.total().drops, 2U);
}

}  // namespace
