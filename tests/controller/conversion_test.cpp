// The bytes of controller records on their way from the service to the client.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "controller/conversion_tables.h"
#include "controller/convert.h"
#include "stream/stream_handle.h"
#include "support/allocation_count.h"
#include "support/service_end.h"

namespace {

using namespace TestSupport;
using namespace Vek::Sensors;

/// Bytes of a record: first all ones, then noise with enough zeros to end some texts early.
Bytes pattern(size_t size, int round) {
    static std::mt19937 noise{20261124};
    Bytes bytes(size, 0xFF);
    if (round > 0) {
        std::generate(bytes.begin(), bytes.end(),
                      [] { return noise() % 32 == 0 ? 0 : static_cast<uint8_t>(noise()); });
    }
    return bytes;
}

constexpr int kRounds = 500;

/// A record of inputs as the service's bytes make it.
Hidl::ControllerInputData inputOf(uint8_t discriminator, const Bytes& member) {
    Hidl::ControllerInputData record;
    auto* bytes = reinterpret_cast<uint8_t*>(&record);
    bytes[0] = discriminator;
    std::copy(member.begin(), member.end(), bytes + 8);
    return record;
}

/// Checks a record alone and, if it has a discriminator, as part of an input record.
template <typename HidlData>
void expectTable(const Table& table, size_t halSize, size_t apiSize,
                 std::optional<uint8_t> discriminator = {}) {
    ASSERT_EQ(sizeof(HidlData), halSize);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        const Bytes hal = pattern(halSize, round);
        const Bytes api = expected(table, hal, apiSize);
        HidlData record;
        std::memcpy(&record, hal.data(), hal.size());
        ASSERT_EQ(bytesOf(Convert::fromHidl(record)), api);
        if (discriminator) {
            const Bytes input = bytesOf(Convert::fromHidl(inputOf(*discriminator, hal)));
            ASSERT_EQ(input[0], discriminator);
            ASSERT_EQ(Bytes(&input[8], &input[8] + apiSize), api);
        }
    }
}

TEST(ControllerConversion, EveryByteFollowsTheTables) {
    expectTable<Hidl::ButtonData>(kButtons, 64, 72, 0);
    expectTable<Hidl::CurlData>(kCurl, 80, 80, 1);
    expectTable<Hidl::PrecisionPadData>(kPrecisionPad, 56, 56, 2);
    expectTable<Hidl::MultiTouchData>(kMultiTouch, 80, 72, 3);
    expectTable<Hidl::StylusData>(kStylus, 40, 40, 4);
    expectTable<Hidl::PairedControllerInfo>(kPaired, 448, 448);
    expectTable<Hidl::AdvertisingControllerInfo>(kAdvertising, 48, 48);
}

TEST(ControllerConversionDeathTest, UnknownInputIsFatal) {
    for (const int kind : {5, 255}) {
        EXPECT_DEATH((void)Convert::fromHidl(inputOf(static_cast<uint8_t>(kind), {})),
                     "^F/Moriak-HidlWrapper: Unknown controller input discriminator " +
                         std::to_string(kind) + "\n");
    }
}

TEST(ControllerConversion, PosesGoToTheServiceByteForByte) {
    PoseOutput pose;
    ASSERT_EQ(sizeof(pose), 104U);
    const Bytes api = pattern(sizeof(pose), 1);
    std::memcpy(&pose, api.data(), api.size());
    EXPECT_EQ(bytesOf(Convert::intoHidl(pose)), api);
}

TEST(ControllerConversion, PaddingIsZeroedBeforeItIsSent) {
    SecureDeviceInfo device{ControllerAddr{UINT64_MAX}, {}, {}};
    device.deviceId = ~device.deviceId;
    device.key.fill(0xFF);
    const Bytes bytes = bytesOf(Convert::intoHidl(device));
    const auto written = sizeof(ControllerAddr) + sizeof(device.deviceId) + device.key.size();
    EXPECT_LT(written, bytes.size());
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0xFF), static_cast<ptrdiff_t>(written));
    EXPECT_EQ(std::count(bytes.begin(), bytes.end(), 0),
              static_cast<ptrdiff_t>(bytes.size() - written));
}

/// Outcome of a batch: number of allocations, records in the first span and in the second.
using Batch = std::tuple<size_t, size_t, size_t>;

template <typename Data, typename HidlData>
void expectBatches(size_t fixed) {
    SCOPED_TRACE(sizeof(HidlData));
    HidlWrapper::CompositeStream composite{"batches"};
    TestSupport::ServiceEnd<HidlData> end;
    HidlWrapper::StreamHandle<Data, HidlData> stream{
        [&](const auto& queue, const auto& client, const auto& config) {
            end.accept(queue, client, config);
            return android::hardware::Return<Hidl::Result>(Hidl::Result::SUCCESS);
        }};
    Batch batch{};
    stream.setCallbackv([&](typename IDataStream<Data>::Batch spans) {
        batch = {TestSupport::allocationCount(), spans[0].size(), spans[1].size()};
    });
    stream.setQueueSize(fixed + 3);
    stream.addTo(composite);
    const auto read = [&](size_t count) {
        EXPECT_TRUE(end.write(std::vector<HidlData>(count)));
        const size_t before = TestSupport::allocationCount();
        EXPECT_TRUE(stream.read());
        std::get<0>(batch) -= before;
        return batch;
    };
    EXPECT_EQ(read(fixed), (Batch{0, fixed, 0}));
    // Of the next batch, 3 records stand before the ring's end and the others after it.
    const size_t spillingRegions = fixed < 3 ? 2 : 1;
    EXPECT_EQ(read(fixed + 3),
              (Batch{TestSupport::kCountsAllocations ? spillingRegions : 0, fixed, 3}));
}

TEST(ControllerConversion, BatchesAllocateOncePerRegionBeyondTheFixedPart) {
    expectBatches<ButtonData, Hidl::ButtonData>(8);
    expectBatches<CurlData, Hidl::CurlData>(8);
    expectBatches<PrecisionPadData, Hidl::PrecisionPadData>(8);
    expectBatches<MultiTouchData, Hidl::MultiTouchData>(8);
    expectBatches<StylusData, Hidl::StylusData>(8);
    expectBatches<PairedControllerInfo, Hidl::PairedControllerInfo>(2);
    expectBatches<ControllerInputData, Hidl::ControllerInputData>(8);
}

}  // namespace
