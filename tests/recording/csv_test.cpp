// Records through CSV and back.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bitset>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <string>

#include "recording/csv.h"
#include "temporary_directory.h"

using namespace Recording;

namespace {

enum class Mode : uint8_t { OFF = 0, ON = 1 };

struct Part {
    float level;
    int8_t offset;
};

/// A field of each kind that records have.
struct Sample {
    int64_t timestamp;
    float acceleration[3];
    double rate;
    bool isValid;
    Mode mode;
    std::bitset<7> buttons;
    std::array<char, 4> name;
    std::array<uint8_t, 2> blob;
    uint32_t count;
    std::array<uint16_t, 3> samples;
    uint32_t partCount;
    std::array<Part, 2> parts;
};

}  // namespace

template <>
struct Recording::Fields<Part> {
    static FieldList<Part> list() {
        return {number("", "Hz", &Part::level), number("offset", "", &Part::offset)};
    }
};

template <>
struct Recording::Fields<Sample> {
    static FieldList<Sample> list() {
        return FieldList<Sample>(joined<Sample>(
            {{number("timestamp", "ns", &Sample::timestamp),
              array("acceleration", kXyz, "m/s^2", &Sample::acceleration).shown(2),
              number("rate", "%", &Sample::rate).shown("rate", 1),
              number("is_valid", "", &Sample::isValid), number("mode", "", &Sample::mode),
              number("buttons", "", &Sample::buttons), text("name", &Sample::name).shown(),
              bytes("blob", &Sample::blob), number("count", "", &Sample::count),
              Recording::list("samples", "", &Sample::samples, &Sample::count),
              number("part_count", "", &Sample::partCount)},
             each("part_{i}_{name}", &Sample::parts,
                  [](const Sample& sample) { return sample.partCount; })}));
    }
};

namespace {

class CsvFile : public testing::Test {
  protected:
    const std::string& write(const std::string& text) {
        std::ofstream(path_) << text;
        return path_;
    }

    const TemporaryDirectory directory_;
    const std::string path_ = directory_.path() / "records.csv";
};

std::string rowOf(const Sample& sample) {
    fmt::memory_buffer row;
    fieldsOf<Sample>().appendRow(row, sample);
    return fmt::to_string(row);
}

Sample sampleOf(float number) {
    Sample sample{};
    sample.timestamp = std::numeric_limits<int64_t>::min();
    sample.acceleration[0] = number;
    sample.acceleration[1] = -0.0F;
    sample.acceleration[2] = std::numeric_limits<float>::infinity();
    sample.rate = 0.1 + 0.2;
    sample.isValid = true;
    sample.mode = static_cast<Mode>(250);
    sample.buttons = 0x55;
    std::memcpy(sample.name.data(), "a,\"\n", 4);
    sample.blob = {0x0a, 0xff};
    sample.count = 2;
    sample.samples = {65535, 1, 0};
    sample.partCount = 1;
    sample.parts[0] = {number, -128};
    return sample;
}

}  // namespace

TEST_F(CsvFile, ColumnsCarryNamesAxesNumbersAndUnits) {
    EXPECT_EQ(fieldsOf<Sample>().titles(),
              "timestamp_ns,acceleration_x_m_s2,acceleration_y_m_s2,acceleration_z_m_s2,"
              "rate_percent,is_valid,mode,buttons,name,blob,count,samples,part_count,part_0_hz,"
              "part_0_offset,part_1_hz,part_1_offset");
}

TEST_F(CsvFile, RecordsReadBackToTheBit) {
    const float numbers[] = {0.1F, 1.0F / 3, std::numeric_limits<float>::denorm_min(),
                             std::numeric_limits<float>::max(), -16777217.0F};
    std::string text = "unknown," + fieldsOf<Sample>().titles() + "\n";
    for (const float number : numbers) {
        text += "?," + rowOf(sampleOf(number)) + "\n";
    }
    CsvReader csv(write(text));
    const RecordReader<Sample> reader(csv);
    for (const float number : numbers) {
        ASSERT_TRUE(csv.next());
        Sample read{};
        reader.read(read);
        const Sample written = sampleOf(number);
        EXPECT_EQ(std::memcmp(read.acceleration, written.acceleration, sizeof(read.acceleration)),
                  0);
        EXPECT_EQ(read.rate, written.rate);
        EXPECT_EQ(read.name, written.name);
        EXPECT_EQ(rowOf(read), rowOf(written));
    }
    EXPECT_FALSE(csv.next());
    EXPECT_FALSE(csv.isCutOff());
}

TEST_F(CsvFile, JsonAndTableSayTheSame) {
    const Sample sample = sampleOf(0.5F);
    fmt::memory_buffer json;
    fieldsOf<Sample>().appendJson(json, sample);
    EXPECT_EQ(fmt::to_string(json),
              "{\"timestamp_ns\":-9223372036854775808,\"acceleration_x_m_s2\":0.5,"
              "\"acceleration_y_m_s2\":-0,\"acceleration_z_m_s2\":null,"
              "\"rate_percent\":0.30000000000000004,\"is_valid\":1,\"mode\":250,\"buttons\":85,"
              "\"name\":\"a,\\\"\\u000a\",\"blob\":\"0aff\",\"count\":2,\"samples\":[65535,1],"
              "\"part_count\":1,\"part_0_hz\":0.5,\"part_0_offset\":-128,\"part_1_hz\":null,"
              "\"part_1_offset\":null}");
    EXPECT_THAT(fieldsOf<Sample>().describe(sample),
                testing::StartsWith("0.50 -0.00 inf m/s^2  rate 0.3 %  a,"));
}

TEST_F(CsvFile, BrokenRowsAreNamedByFileAndLine) {
    const struct {
        const char* row;
        const char* message;
    } cases[] = {
        {"1", ":3: 1 cells under 2 titles"},
        {"1,2,3", ":3: 3 cells under 2 titles"},
        {"1.5,2", ":3: \"1.5\" is no value of timestamp_ns"},
        {"99999999999999999999,2", ":3: \"99999999999999999999\" is no value of timestamp_ns"},
        {"1,128", ":3: \"128\" is no value of buttons"},
    };
    for (const auto& broken : cases) {
        CsvReader csv(write(fmt::format("#timestamp_ns, buttons\r\n7,1\r\n{}\n", broken.row)));
        const RecordReader<Sample> reader(csv);
        Sample sample{};
        ASSERT_TRUE(csv.next());
        reader.read(sample);
        EXPECT_EQ(sample.timestamp, 7);
        try {
            csv.next();
            reader.read(sample);
            ADD_FAILURE() << broken.row;
        } catch (const Error& error) {
            EXPECT_EQ(error.what(), path_ + broken.message);
        }
    }
}

TEST_F(CsvFile, IncompleteLastLineMarksACutOffFile) {
    CsvReader csv(write("a,b\n1,2\n3,4"));
    EXPECT_TRUE(csv.next());
    EXPECT_FALSE(csv.next());
    EXPECT_TRUE(csv.isCutOff());
    csv.rewind();
    EXPECT_TRUE(csv.next());
    EXPECT_EQ(csv.number<int>(csv.column("b")), 2);
    EXPECT_EQ(csv.line(), 2U);
}
