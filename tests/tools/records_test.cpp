// What sensorctl writes of the records of all streams.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "controller/controller_text.h"
#include "environment/flicker_estimate.h"
#include "failure.h"
#include "record_printer.h"
#include "support/shown_records.h"

namespace {

using namespace TestSupport;
using namespace Vek::Sensors;

template <typename Data>
std::string describe(const Data& record) {
    return Recording::fieldsOf<Data>().describe(record);
}

/// Reads another value into each column and looks whether each is there afterwards.
template <typename Data>
void expectAMemberForEachColumn() {
    Data record{};
    std::vector<std::string> cells;
    for (const auto& column : Recording::fieldsOf<Data>().columns()) {
        const bool isList = column.kind == Recording::CellKind::LIST;
        const std::string candidates[] = {
            isList ? "1 2 3 4 5 6 7" : fmt::format("{}", cells.size() + 2), "1", "0x5a",
            std::string(280, 'a')};
        const auto* const read =
            std::find_if(std::begin(candidates), std::end(candidates),
                         [&](const std::string& cell) { return column.read(cell, record); });
        // A frame that the set does not have holds nothing.
        cells.push_back(read == std::end(candidates) ? "" : *read);
    }
    EXPECT_EQ(rowOf(record), fmt::format("{}", fmt::join(cells, ",")))
        << Recording::fieldsOf<Data>().titles();
}

TEST(RecordTest, EveryColumnHasAMemberOfItsOwn) {
    forEachShownRecord(
        [](const auto& record) { expectAMemberForEachColumn<std::decay_t<decltype(record)>>(); });
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
    EXPECT_EQ(rowOf(kImu),
              "-1,1700000000000000002,0.1,-2.5,9.81,1e-07,0,-0.5,31.25,4294967295,3,3,156.9064,"
              "34.9");
    EXPECT_EQ(rowOf(MagData{5, {20.5F, -3, 41}, 30, 6, 7, 0, 4900}), "5,20.5,-3,41,30,6,7,0,4900");
    EXPECT_EQ(rowOf(IadData{63.5F}), "63.5");
    MultiTouchData touch{};
    touch.header.controller = ControllerAddr{0x5A};
    touch.points[1] = {1, 2, 1, 0, 0, 65535, 7, 200, 30, 20, 0};
    EXPECT_EQ(rowOf(touch),
              "0x5a,0,0,0,0,0,0,0,0,1,2,1,65535,7,200,30,20,0,0,0,0,0,0,0,0,0,0,0,0,0,0,"
              "0,0");
    ButtonData buttons{
        {ControllerAddr{0x5A}, 1, 2, 1ULL << 40}, 0b1000001, 127, 3, 0.1F, 1, {-1, 0.5F}};
    EXPECT_EQ(rowOf(buttons), "0x5a,1,2,1099511627776,65,127,3,0.1,1,-1,0.5");
}

TEST(RecordTest, ValuesAndStatusAreTakenFromTheirFields) {
    EXPECT_EQ(describe(kImu), "0.10 -2.50 9.81 m/s^2  0.000 0.000 -0.500 rad/s  31.2 C  clipped");
    EXPECT_TRUE(originOf(kImu).isDiscontinuity);
    EXPECT_EQ(originOf(kImu).sequence, 4294967295U);
    EXPECT_FALSE(originOf(MagData{}).isDiscontinuity);
    EXPECT_FALSE(originOf(IadData{}).sequence.has_value());
    EXPECT_EQ(describe(ButtonData{{}, 0b1000001, 127, 3, 0.1F, 1, {-1, 0.5F}}),
              "trigger+secondary  trigger 0.10  grip 1.00  stick -1.00 0.50");
}

TEST(RecordTest, FrameSetsRowHasAColumnForEveryTitleWhateverTheServiceCounts) {
    FrameSet frameSet{};
    frameSet.timestamp = 1'700'000'000'000'000'001;
    frameSet.sequence = 4'294'967'295;
    frameSet.frameType = FrameType::COLOR;
    for (const uint32_t frames : {0U, 2U, 10U, UINT32_MAX}) {
        frameSet.numFrames = frames;
        EXPECT_THAT(rowOf(frameSet), ::testing::StartsWith(fmt::format(
                                         "1700000000000000001,4294967295,9,{},0", frames)));
        const std::string row = rowOf(frameSet);
        const std::string titles = Recording::fieldsOf<FrameSet>().titles();
        EXPECT_EQ(std::count(row.begin(), row.end(), ','),
                  std::count(titles.begin(), titles.end(), ','));
        EXPECT_FALSE(describe(frameSet).empty());
    }
}

TEST(RecordTest, FrameOfOneCameraCountsOnlyWithAnImage) {
    FrameSet frameSet{};
    frameSet.numFrames = 2;
    frameSet.frames[1].cameraId = 7;
    frameSet.frames[1].sequence = 5;
    EXPECT_FALSE(originOfFrame(frameSet, 7)) << "it was not received";
    frameSet.frames[1].frameType = FrameType::EYE;
    EXPECT_EQ(originOfFrame(frameSet, 7).value().sequence, 5U);
    frameSet.numFrames = 1;
    EXPECT_FALSE(originOfFrame(frameSet, 7));
}

std::string printed(RecordPrinter::Format format, const std::vector<std::string>& fields) {
    ::testing::internal::CaptureStdout();
    RecordPrinter printer(format, fields, 1);
    printer.begin({"timestamp_ns", "field_x_ut", "field_y_ut", "field_z_ut", "temperature_c",
                   "sequence", "sensor", "status", "range_ut"});
    printer.print(77, MagData{5, {20.5F, -3, std::nanf("")}, 30, 6, 7, 0, 4900});
    printer.print(78, MagData{});
    printer.flush();
    return ::testing::internal::GetCapturedStdout();
}

TEST(RecordPrinterTest, PrintsTheChosenColumnsOfSoManyRecords) {
    using Format = RecordPrinter::Format;
    const std::vector<std::string> fields{"range_ut", "field", "received_ns"};
    EXPECT_EQ(printed(Format::CSV, fields),
              "received_ns,field_x_ut,field_y_ut,field_z_ut,range_ut\n77,20.5,-3,nan,4900\n");
    EXPECT_EQ(printed(Format::JSON, {}),
              R"({"received_ns":77,"timestamp_ns":5,"field_x_ut":20.5,"field_y_ut":-3,)"
              R"("field_z_ut":null,"temperature_c":30,"sequence":6,"sensor":7,"status":0,)"
              R"("range_ut":4900})"
              "\n");
    EXPECT_EQ(printed(Format::TEXT, {"sensor"}), "sensor: 7\n---\n");
    EXPECT_THROW(printed(Format::CSV, {"fiel"}), Failure);
    ::testing::internal::GetCapturedStdout();
}

TEST(RecordTest, TextOfTheServiceStaysInItsColumn) {
    PairedControllerInfo info{};
    std::memcpy(info.name.data(), "sixteen \"chars\";", 16);  // fills its field
    const std::string row = rowOf(info);
    EXPECT_THAT(row, ::testing::HasSubstr(",\"sixteen \"\"chars\"\";\",,,,,"));
    std::memcpy(info.name.data(), "left\x1b\0old name", 14);
    EXPECT_EQ(text(info.name), "left?");
    EXPECT_EQ(text(static_cast<ControllerConnection>(77)), "connection 77");
}

TEST(RecordTest, SampleCountBeyondTheBlockIsLimited) {
    AdcFlickerData block{};
    block.sampleCount = UINT32_MAX;
    block.timestamp = 1000;
    block.sampleRate = 4096;
    block.status = LIGHT_SAMPLE_DISCONTINUITY;
    EXPECT_EQ(samplesOf(block).size(), 4096U);
    const RecordOrigin header = originOf(block);
    EXPECT_EQ(header.timestamp, 1'000'001'000) << "a second after its first sample";
    EXPECT_TRUE(header.isDiscontinuity);
    for (const float rate : {0.0F, -1.0F, std::numeric_limits<float>::quiet_NaN(), 1e-30F}) {
        block.sampleRate = rate;
        EXPECT_EQ(originOf(block).timestamp, 1000) << rate;
    }
    block.timestamp = INT64_MAX;
    block.sampleRate = 1;
    EXPECT_EQ(originOf(block).timestamp, INT64_MAX);
}

}  // namespace
