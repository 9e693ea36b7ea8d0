// Clients' queues, from prepare to the client's end.
#include "stream_server.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "support/client_end.h"

namespace {

using namespace Simulator;
using Hidl::Result;
using Hidl::StreamCommand;

using Client = TestSupport::ClientEnd<Hidl::MagData>;

constexpr auto kDiscontinuity = static_cast<uint32_t>(Hidl::MotionSampleStatus::DISCONTINUITY);

std::vector<Hidl::MagData> batchFrom(uint32_t sequence, size_t size) {
    std::vector<Hidl::MagData> batch(size);
    for (Hidl::MagData& record : batch) {
        record.sequence = sequence++;
    }
    return batch;
}

TEST(ClientStreamTest, BatchThatDoesNotFitIsDroppedWholeAndTheNextRecordSaysSo) {
    Client client{6};
    ClientStream<Hidl::MagData> stream{*client.queue.getDesc(), client.config};
    ASSERT_EQ(stream.refusal(), Refusal::NONE);
    EXPECT_TRUE(stream.write(batchFrom(0, 4)));
    EXPECT_FALSE(stream.write(batchFrom(4, 4)));
    EXPECT_TRUE(client.awaitData());

    Hidl::MagData records[6];
    ASSERT_EQ(client.queue.availableToRead(), 4U);
    ASSERT_TRUE(client.queue.read(records, 4));
    EXPECT_EQ(records[3].sequence, 3U);
    // Wraps around the ring's end.
    EXPECT_TRUE(stream.write(batchFrom(8, 4)) && stream.write(batchFrom(12, 2)));
    ASSERT_TRUE(client.queue.read(records, 6));
    for (size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(records[i].sequence, 8 + i);
        EXPECT_EQ(records[i].status, i == 0 ? kDiscontinuity : 0U);
    }
}

class StreamServerTest : public ::testing::Test {
  protected:
    ~StreamServerTest() override { server_->stop(); }

    Result prepare(const Client& client) {
        return server_->prepare(*client.queue.getDesc(), client.identity, client.config);
    }
    Result control(const Client& client, StreamCommand command) {
        return server_->control(client.identity, command);
    }
    void start(const Client& client) {
        EXPECT_EQ(prepare(client), Result::SUCCESS);
        EXPECT_EQ(control(client, StreamCommand::START), Result::SUCCESS);
    }

    std::shared_ptr<Faults> faults_ = std::make_shared<Faults>(FaultSettings{});
    android::sp<StreamServer<Hidl::MagData>> server_ = new StreamServer<Hidl::MagData>(
        "mag", SamplingPlan{1000, 4},
        [](const SampleInstant& instant) { return batchFrom(instant.sequence, 1).front(); },
        faults_, std::make_shared<WorldClock>());
};

TEST_F(StreamServerTest, ControlAnswersByTheStateOfTheClientsStream) {
    Client client{32};
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
    Client first{32};
    Client second{32};
    second.identity = first.identity;
    EXPECT_EQ(prepare(first), Result::SUCCESS);
    start(second);
    EXPECT_TRUE(second.awaitData());
    EXPECT_EQ(first.queue.availableToRead(), 0U);
    EXPECT_NE(first.identity->recipient, nullptr);
}

TEST_F(StreamServerTest, DeadClientIsForgotten) {
    Client client{32};
    start(client);
    EXPECT_EQ(client.identity->getStrongCount(), 2);
    client.identity->die();
    EXPECT_EQ(control(client, StreamCommand::STOP), Result::BAD_STATE);
    EXPECT_EQ(client.identity->getStrongCount(), 1);

    client.identity->isDead = true;
    EXPECT_EQ(prepare(client), Result::FAILURE);
    EXPECT_EQ(control(client, StreamCommand::START), Result::BAD_STATE);
    EXPECT_EQ(client.identity->getStrongCount(), 1);
}

TEST_F(StreamServerTest, ClientThatDoesNotReadCostsItselfRecordsAndNobodyElse) {
    Client idle{1};  // smaller than the configured batch
    Client reader{1000};
    start(idle);
    start(reader);
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(reader.awaitData());
    }
    EXPECT_EQ(control(reader, StreamCommand::STOP), Result::SUCCESS);
    EXPECT_EQ(idle.queue.availableToRead(), 1U);
    const StreamStatistics statistics = server_->statistics();
    EXPECT_GT(statistics.recordsDropped, 0U);
    EXPECT_EQ(statistics.recordsWritten, 1 + reader.queue.availableToRead());
}

TEST_F(StreamServerTest, ConfigurationLastsUntilItsClientsHaveNoStream) {
    Client first{32};
    start(first);
    server_->configure({1000, 16});
    EXPECT_EQ(control(first, StreamCommand::DISCONNECT), Result::SUCCESS);
    // Has room for one batch of four, or for one of sixteen that is cut to seven.
    Client second{7};
    start(second);
    EXPECT_TRUE(second.awaitData());
    EXPECT_EQ(second.queue.availableToRead(), 4U);
}

TEST(PacedStreamServerTest, WaitsForTheSlowestClientAndDropsNothing) {
    android::sp<StreamServer<Hidl::MagData>> server = new StreamServer<Hidl::MagData>(
        "mag", SamplingPlan{1000, 2},
        [](const SampleInstant& instant) { return batchFrom(instant.sequence, 1).front(); },
        std::make_shared<Faults>(FaultSettings{}), std::make_shared<WorldClock>(0));
    Client slow{5};
    Client fast{64};
    for (const Client* client : {&slow, &fast}) {
        server->prepare(*client->queue.getDesc(), client->identity, client->config);
        server->control(client->identity, StreamCommand::START);
    }
    uint32_t next = 0;
    for (int round = 0; round < 50; ++round) {
        EXPECT_TRUE(slow.awaitData());
        Hidl::MagData record{};
        while (slow.queue.read(&record)) {
            EXPECT_EQ(record.sequence, next++);
        }
        slow.eventFlag->wake(TestSupport::kReadDone);
        while (fast.queue.read(&record)) {
        }
        fast.eventFlag->wake(TestSupport::kReadDone);
    }
    // It stops although nobody reads any more.
    server->stop();
    EXPECT_EQ(server->statistics().recordsDropped, 0U);
}

TEST(FaultsDeathTest, EndTheProcessAtTheGivenRecord) {
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
