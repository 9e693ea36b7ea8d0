// The clients of one stream, and the writing of records into their queues.
#pragma once

#include <log/log.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "client_stream.h"
#include "faults.h"
#include "hal.h"
#include "stream_faults.h"
#include "stream_register.h"

namespace Simulator {

struct StreamStatistics {
    uint64_t clients = 0;
    uint64_t recordsWritten = 0;
    uint64_t recordsDropped = 0;
    uint64_t samplesMissed = 0;
};

/// A line for the user.
std::string summaryOf(const std::string& name, const StreamStatistics& statistics);

template <typename Record>
struct StreamClient : StreamingParty {
    StreamClient(const ClientIdentity& client,
                 const typename ClientStream<Record>::Queue::Descriptor& queue,
                 const Hidl::FmqConfig& config)
        : StreamingParty(client, descriptorsOf(queue)), stream(queue, config) {}

    Refusal refusal() const { return stream.refusal(); }

    ClientStream<Record> stream;
    StreamFaults<Record> faults;
    uint64_t recordsWritten = 0;
    uint64_t recordsDropped = 0;
    /// Number of dropped records at which to warn next; doubled each time, so that the log stays
    /// short.
    uint64_t nextWarning = 1;
    uint64_t reads = 0;
};

/// Keeps a client's queue from its prepare call until it disconnects or dies.
///
/// Threading: prepare, control and deaths on HIDL threads, records from any thread.
template <typename Record>
class StreamClients : public StreamRegister<StreamClient<Record>> {
  public:
    using Queue = typename ClientStream<Record>::Queue;

    /// @param name of the stream, for log lines
    StreamClients(std::string name, std::shared_ptr<Faults> faults)
        : Base(std::move(name)), faults_(std::move(faults)) {
        faults_->addTarget(FaultTarget::SAMPLES, this->name());
    }

    /// Takes the client's queue; the stream is then stopped.
    Hidl::Result prepare(const typename Queue::Descriptor& queue, const ClientIdentity& identity,
                         const Hidl::FmqConfig& config);

    /// Writes records into the queues of all started clients.
    void write(const std::vector<Record>& records) {
        write(records, [](int /*process*/) { return true; });
    }

    /// @param accepts predicate: whether clients of a process get the records
    template <typename Accepts>
    void write(const std::vector<Record>& records, const Accepts& accepts) {
        const std::lock_guard lock{mutex_};
        for (const ClientPointer& client : clients_) {
            // Skips a client that has just started if the batch, begun before, is larger than its
            // queue.
            if (client->isStarted && client->stream.capacity() >= records.size() &&
                accepts(client->process)) {
                const StreamEffects effects = faults_->onBatch(this->name(), client->process);
                if (effects.isAny || client->faults.isBusy()) {
                    writeWithFaultsLocked(client.get(), records, effects);
                } else {
                    writeLocked(client.get(), records);
                }
            }
        }
    }

    /// If the clients pace the world: waits until all started clients have room for this many
    /// records. Call it without a lock that control calls take, because a client may stop its
    /// stream instead of reading. @return false after endWaits()
    bool awaitRoom(size_t records) {
        while (!isEnding_) {
            ClientPointer busy;
            {
                const std::lock_guard lock{mutex_};
                const auto found = std::find_if(
                    clients_.begin(), clients_.end(), [records](const ClientPointer& client) {
                        return client->isStarted && !client->stream.hasRoomFor(records);
                    });
                if (found == clients_.end()) {
                    return true;
                }
                busy = *found;
            }
            busy->stream.awaitRead();
        }
        return false;
    }
    void endWaits() { isEnding_ = true; }

    virtual StreamStatistics statistics() const {
        const std::lock_guard lock{mutex_};
        return statistics_;
    }

    /// Sets a function that is called, under the clients' lock, when the largest batch size that
    /// fits the queues of all started clients changes; 0: no client is started. Call this once,
    /// before there are clients.
    void onBatchLimit(std::function<void(size_t limit)> function) {
        onBatchLimit_ = std::move(function);
    }

  private:
    using Client = StreamClient<Record>;
    using Base = StreamRegister<Client>;
    using typename Base::ClientPointer;

    void writeLocked(Client* client, const std::vector<Record>& records);
    void writeWithFaultsLocked(Client* client, const std::vector<Record>& records,
                               const StreamEffects& effects);
    void countDroppedLocked(Client* client, size_t count);

    void onChangeLocked() override {
        size_t limit = 0;
        for (const ClientPointer& client : clients_) {
            if (client->isStarted) {
                const size_t capacity = client->stream.capacity();
                limit = limit == 0 ? capacity : std::min(limit, capacity);
            }
        }
        if (onBatchLimit_) {
            onBatchLimit_(limit);
        }
    }

  protected:
    using StreamRegister<StreamClient<Record>>::clients_;
    using StreamRegister<StreamClient<Record>>::mutex_;

    void onRelease(StreamClient<Record>& client, const char* reason) override {
        ALOGI("%s: %s %s; %llu records written, %llu dropped, %llu reads", this->name().c_str(),
              client.name.c_str(), reason, static_cast<unsigned long long>(client.recordsWritten),
              static_cast<unsigned long long>(client.recordsDropped),
              static_cast<unsigned long long>(client.reads));
    }

  private:
    const std::shared_ptr<Faults> faults_;
    StreamStatistics statistics_;
    std::atomic<bool> isEnding_{false};
    std::function<void(size_t limit)> onBatchLimit_;
};

template <typename Record>
std::string summaryOf(const StreamClients<Record>& clients) {
    return summaryOf(clients.name(), clients.statistics());
}

template <typename Record>
Hidl::Result StreamClients<Record>::prepare(const typename Queue::Descriptor& queue,
                                            const ClientIdentity& identity,
                                            const Hidl::FmqConfig& config) {
    const auto client = std::make_shared<Client>(identity, queue, config);
    if (!this->takeIn(client)) {
        return Hidl::Result::FAILURE;
    }
    ALOGI("%s: %s has a queue of %zu records", this->name().c_str(), client->name.c_str(),
          client->stream.capacity());
    const std::lock_guard lock{mutex_};
    ++statistics_.clients;
    return Hidl::Result::SUCCESS;
}

template <typename Record>
void StreamClients<Record>::writeLocked(Client* client, const std::vector<Record>& records) {
    client->reads += client->stream.hasReadSinceWrite() ? 1U : 0U;
    const size_t count = records.size();
    if (client->stream.write(records)) {
        client->recordsWritten += count;
        statistics_.recordsWritten += count;
        faults_->countWritten(count);
        return;
    }
    countDroppedLocked(client, count);
}

template <typename Record>
void StreamClients<Record>::writeWithFaultsLocked(Client* client,
                                                  const std::vector<Record>& records,
                                                  const StreamEffects& effects) {
    const auto isKept = [&](uint64_t record) {
        if (effects.dropShare == 0 || faults_->chance(this->name(), record) >= effects.dropShare) {
            return true;
        }
        client->stream.noteLoss();
        countDroppedLocked(client, 1);
        return false;
    };
    for (const auto& batch :
         client->faults.apply(effects, records, std::chrono::steady_clock::now(), isKept)) {
        writeLocked(client, batch);
    }
    if (effects.isCorrupt) {
        client->stream.corrupt();
    }
}

template <typename Record>
void StreamClients<Record>::countDroppedLocked(Client* client, size_t count) {
    client->recordsDropped += count;
    statistics_.recordsDropped += count;
    if (client->recordsDropped >= client->nextWarning) {
        client->nextWarning = 2 * client->recordsDropped;
        ALOGW("%s: %llu records for %s dropped so far: its queue is full, or a fault took them",
              this->name().c_str(), static_cast<unsigned long long>(client->recordsDropped),
              client->name.c_str());
    }
}

}  // namespace Simulator
