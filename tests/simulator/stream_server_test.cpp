// Clients' queues, from prepare to the client's end.
#include "stream_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>

#include "client_end.h"

namespace {

using namespace Simulator;
using Hal::Result;
using Hal::StreamCommand;
using TestSupport::ClientEnd;
using TestSupport::handleOf;
using TestSupport::kDataReady;
using TestSupport::kReadDone;

constexpr auto kDiscontinuity = static_cast<uint32_t>(Hal::MotionSampleStatus::DISCONTINUITY);

std::vector<Hal::MagData> batchFrom(uint32_t sequence, size_t size) {
    std::vector<Hal::MagData> batch(size);
    for (Hal::MagData& record : batch) {
        record = {};
        record.sequence = sequence++;
    }
    return batch;
}

TEST(ClientStreamTest, BatchThatDoesNotFitIsDroppedWholeAndTheNextRecordSaysSo) {
    ClientEnd<Hal::MagData> client{6};
    ClientStream<Hal::MagData> stream{*client.queue.getDesc(), client.config};
    ASSERT_EQ(stream.problem(), nullptr);
    EXPECT_TRUE(stream.write(batchFrom(0, 4)));
    EXPECT_FALSE(stream.write(batchFrom(4, 4)));
    EXPECT_TRUE(client.awaitData());

    Hal::MagData records[6];
    ASSERT_EQ(client.queue.availableToRead(), 4U);
    ASSERT_TRUE(client.queue.read(records, 4));
    EXPECT_EQ(records[3].sequence, 3U);
    // Wraps around the ring's end.
    EXPECT_TRUE(stream.write(batchFrom(8, 4)));
    EXPECT_TRUE(stream.write(batchFrom(12, 2)));
    ASSERT_TRUE(client.queue.read(records, 6));
    EXPECT_EQ(records[0].sequence, 8U);
    EXPECT_EQ(records[0].status, kDiscontinuity);
    for (size_t i = 1; i < 6; ++i) {
        EXPECT_EQ(records[i].sequence, 8 + i);
        EXPECT_EQ(records[i].status, 0U);
    }
}

class StreamServerTest : public ::testing::Test {
  protected:
    ~StreamServerTest() override { server_->stop(); }

    Result prepare(const ClientEnd<Hal::MagData>& client) {
        return server_->prepare(*client.queue.getDesc(), client.identity, client.config);
    }
    Result control(const ClientEnd<Hal::MagData>& client, StreamCommand command) {
        return server_->control(client.identity, command);
    }

    std::shared_ptr<Faults> faults_ = std::make_shared<Faults>(FaultSettings{});
    std::shared_ptr<StreamServer<Hal::MagData>> server_ =
        std::make_shared<StreamServer<Hal::MagData>>(
            "mag", SamplingPlan{1000, 4},
            [](const SampleInstant& instant) { return batchFrom(instant.sequence, 1).front(); },
            faults_);
};

TEST_F(StreamServerTest, ClientsOfDifferentQueuesStreamTogether) {
    ClientEnd<Hal::MagData> large{1000};
    ClientEnd<Hal::MagData> tiny{1};  // smaller than the configured batch
    for (auto* client : {&large, &tiny}) {
        EXPECT_EQ(prepare(*client), Result::SUCCESS);
        EXPECT_EQ(control(*client, StreamCommand::START), Result::SUCCESS);
    }
    EXPECT_TRUE(tiny.awaitData());
    EXPECT_EQ(tiny.queue.availableToRead(), 1U);
    Hal::MagData record;
    ASSERT_TRUE(tiny.queue.read(&record));
    EXPECT_TRUE(tiny.awaitData());
    EXPECT_TRUE(large.awaitData());
    EXPECT_EQ(server_->statistics().clients, 2U);
    EXPECT_GE(server_->statistics().recordsWritten, 3U);
}

TEST_F(StreamServerTest, ControlAnswersByTheStateOfTheClientsStream) {
    ClientEnd<Hal::MagData> client{32};
    EXPECT_EQ(control(client, StreamCommand::START), Result::BAD_STATE);
    EXPECT_EQ(prepare(client), Result::SUCCESS);
    EXPECT_EQ(control(client, StreamCommand::STOP), Result::IGNORED);
    EXPECT_EQ(control(client, StreamCommand::START), Result::SUCCESS);
    EXPECT_EQ(control(client, StreamCommand::START), Result::IGNORED);
    EXPECT_EQ(control(client, static_cast<StreamCommand>(3)), Result::FAILURE);
    EXPECT_EQ(control(client, StreamCommand::STOP), Result::SUCCESS);
    EXPECT_EQ(control(client, StreamCommand::DISCONNECT), Result::SUCCESS);
    EXPECT_EQ(control(client, StreamCommand::STOP), Result::BAD_STATE);
    EXPECT_EQ(client.identity->recipient, nullptr);
    EXPECT_EQ(server_->control(nullptr, StreamCommand::START), Result::FAILURE);
}

TEST_F(StreamServerTest, SecondPrepareReplacesTheQueue) {
    ClientEnd<Hal::MagData> first{32};
    ClientEnd<Hal::MagData> second{32};
    second.identity = first.identity;
    EXPECT_EQ(prepare(first), Result::SUCCESS);
    EXPECT_EQ(prepare(second), Result::SUCCESS);
    EXPECT_EQ(control(first, StreamCommand::START), Result::SUCCESS);
    EXPECT_TRUE(second.awaitData());
    EXPECT_EQ(first.queue.availableToRead(), 0U);
    EXPECT_NE(first.identity->recipient, nullptr);
}

TEST_F(StreamServerTest, DeadClientIsForgotten) {
    ClientEnd<Hal::MagData> client{32};
    EXPECT_EQ(prepare(client), Result::SUCCESS);
    EXPECT_EQ(control(client, StreamCommand::START), Result::SUCCESS);
    EXPECT_EQ(client.identity->getStrongCount(), 2);
    client.identity->die();
    EXPECT_EQ(control(client, StreamCommand::STOP), Result::BAD_STATE);
    EXPECT_EQ(client.identity->getStrongCount(), 1);

    client.identity->isDead = true;
    EXPECT_EQ(prepare(client), Result::FAILURE);
    EXPECT_EQ(control(client, StreamCommand::START), Result::BAD_STATE);
    EXPECT_EQ(client.identity->getStrongCount(), 1);
}

TEST_F(StreamServerTest, WhatCannotBeUsedIsRefused) {
    ClientEnd<Hal::MagData> client{32};
    struct Case {
        const char* what;
        uint32_t readNotifyBit;
        uint32_t dataReadyBit;
    };
    const Case cases[] = {{"no read-done bit", 0, 1},
                          {"no data-ready bit", 2, 0},
                          {"one bit for both", 2, 2},
                          {"two data-ready bits", 4, 3},
                          {"two read-done bits", 5, 2}};
    for (const Case& c : cases) {
        Hal::FmqConfig config = client.config;
        config.readNotifyBit = c.readNotifyBit;
        config.dataReadyBit = c.dataReadyBit;
        EXPECT_EQ(server_->prepare(*client.queue.getDesc(), client.identity, config),
                  Result::FAILURE)
            << c.what;
    }

    Hal::FmqConfig config = client.config;
    config.eventFlag = android::hardware::hidl_handle();
    EXPECT_EQ(server_->prepare(*client.queue.getDesc(), client.identity, config), Result::FAILURE);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    config.eventFlag = handleOf(ends[0]);
    EXPECT_EQ(server_->prepare(*client.queue.getDesc(), client.identity, config), Result::FAILURE);
    close(ends[1]);

    using Descriptor = StreamServer<Hal::MagData>::Queue::Descriptor;
    EXPECT_EQ(server_->prepare(Descriptor(), client.identity, client.config), Result::FAILURE);
    EXPECT_EQ(server_->prepare(*client.queue.getDesc(), nullptr, client.config), Result::FAILURE);
    EXPECT_EQ(control(client, StreamCommand::START), Result::BAD_STATE);
}

TEST_F(StreamServerTest, ClientThatDoesNotReadCostsItselfRecordsAndNobodyElse) {
    ClientEnd<Hal::MagData> idle{4};
    ClientEnd<Hal::MagData> reader{1000};
    for (auto* client : {&idle, &reader}) {
        EXPECT_EQ(prepare(*client), Result::SUCCESS);
        EXPECT_EQ(control(*client, StreamCommand::START), Result::SUCCESS);
    }
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(reader.awaitData());
    }
    EXPECT_EQ(control(reader, StreamCommand::STOP), Result::SUCCESS);
    EXPECT_EQ(idle.queue.availableToRead(), 4U);
    const StreamStatistics statistics = server_->statistics();
    EXPECT_GT(statistics.recordsDropped, 0U);
    EXPECT_EQ(statistics.recordsWritten, 4 + reader.queue.availableToRead());
}

TEST(FaultsTest, DieWithTheRecordThatTheyWereToldOf) {
    EXPECT_EXIT(
        {
            FaultSettings settings;
            settings.dieAfterRecords = 10;
            Faults faults(settings);
            faults.countWritten(9);
            std::fputs("alive\n", stderr);
            faults.countWritten(4);
        },
        ::testing::KilledBySignal(SIGKILL), "^alive\n$");
}

}  // namespace
