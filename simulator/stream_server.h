// The stream of one sensor: takes its samples and writes them into the queues of its clients.
#pragma once

#include <hidl/HidlTransportSupport.h>
#include <log/log.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "client_identity.h"
#include "client_stream.h"
#include "faults.h"
#include "hal.h"
#include "sampler.h"

namespace Simulator {

struct StreamStatistics {
    uint64_t clients = 0;
    uint64_t recordsWritten = 0;
    uint64_t recordsDropped = 0;
    uint64_t samplesMissed = 0;
};

/// A line for the user.
std::string summaryOf(const std::string& name, const StreamStatistics& statistics);

/// A client is known by its ISensorClient object, from its prepare call until it disconnects or
/// dies; then its queue, its event flag and the link to its death are released.
///
/// Threading: prepare, control and deaths on HIDL threads, samples on the sampler's.
template <typename Record>
class StreamServer : public std::enable_shared_from_this<StreamServer<Record>> {
  public:
    using Queue = typename ClientStream<Record>::Queue;
    using TakeSample = std::function<Record(const SampleInstant&)>;

    static constexpr size_t kMaxClients = 64;

    /// @param name of the sensor, for log lines
    /// @param takeSample called on the sampler's thread
    StreamServer(std::string name, SamplingPlan plan, TakeSample takeSample,
                 std::shared_ptr<Faults> faults)
        : name_(std::move(name)),
          takeSample_(std::move(takeSample)),
          faults_(std::move(faults)),
          sampler_(plan, [this](const Batch& batch) { deliver(batch); }) {}
    StreamServer(const StreamServer&) = delete;
    StreamServer& operator=(const StreamServer&) = delete;

    const std::string& name() const { return name_; }

    /// Takes the client's queue; the stream is then stopped.
    Hal::Result prepare(const typename Queue::Descriptor& queue,
                        const android::sp<Hal::ISensorClient>& identity,
                        const Hal::FmqConfig& config);

    Hal::Result control(const android::sp<Hal::ISensorClient>& identity,
                        Hal::StreamCommand command);

    void configure(SamplingPlan plan) {
        ALOGI("%s: %u Hz, %u samples a batch", name_.c_str(), plan.rate, plan.batchSize);
        sampler_.setPlan(plan);
    }

    /// No more samples, for good.
    void stop() { sampler_.stop(); }

    StreamStatistics statistics() const {
        const std::lock_guard lock{mutex_};
        StreamStatistics statistics = statistics_;
        statistics.samplesMissed = sampler_.missedSamples();
        return statistics;
    }

  private:
    struct Client {
        Client(const android::sp<Hal::ISensorClient>& client,
               const typename Queue::Descriptor& queue, const Hal::FmqConfig& config)
            : identity(client), stream(queue, config) {}

        const android::sp<Hal::ISensorClient> identity;
        android::sp<ClientDeathRecipient> deathRecipient;
        std::string name;
        ClientStream<Record> stream;
        bool isStarted = false;
        uint64_t recordsWritten = 0;
        uint64_t recordsDropped = 0;
        /// At how many dropped records to warn; doubled each time, so that the log stays short.
        uint64_t nextWarning = 1;
        uint64_t reads = 0;
    };
    using ClientPointer = std::shared_ptr<Client>;

    void deliver(const Batch& batch);
    void writeLocked(Client* client);

    ClientPointer findLocked(const android::sp<Hal::ISensorClient>& identity) const {
        const auto found =
            std::find_if(clients_.begin(), clients_.end(), [&](const ClientPointer& client) {
                return android::hardware::interfacesEqual(client->identity, identity);
            });
        return found == clients_.end() ? nullptr : *found;
    }

    /// @return false if it was not there
    bool removeLocked(const ClientPointer& client) {
        const auto found = std::find(clients_.begin(), clients_.end(), client);
        if (found == clients_.end()) {
            return false;
        }
        clients_.erase(found);
        updateBatchLimitLocked();
        return true;
    }

    /// A batch that is larger than a queue could never be written into it.
    void updateBatchLimitLocked() {
        size_t limit = 0;
        for (const ClientPointer& client : clients_) {
            if (client->isStarted) {
                const size_t capacity = client->stream.capacity();
                limit = limit == 0 ? capacity : std::min(limit, capacity);
            }
        }
        sampler_.setBatchLimit(limit);
    }

    void forgetDead(const std::weak_ptr<Client>& dead);
    void release(const ClientPointer& client, const char* reason) const;

    const std::string name_;
    const TakeSample takeSample_;
    const std::shared_ptr<Faults> faults_;
    std::vector<Record> records_;  // of the batch in hand, on the sampler's thread
    mutable std::mutex mutex_;     // guards the clients and the statistics
    std::vector<ClientPointer> clients_;
    StreamStatistics statistics_;
    Sampler sampler_;  // the last: its thread uses all of the others
};

template <typename Record>
std::string summaryOf(const StreamServer<Record>& server) {
    return summaryOf(server.name(), server.statistics());
}

template <typename Record>
Hal::Result StreamServer<Record>::prepare(const typename Queue::Descriptor& queue,
                                          const android::sp<Hal::ISensorClient>& identity,
                                          const Hal::FmqConfig& config) {
    if (identity == nullptr) {
        ALOGW("%s: refused a stream without a client", name_.c_str());
        return Hal::Result::FAILURE;
    }
    const auto client = std::make_shared<Client>(identity, queue, config);
    client->name = describeCaller(identity);
    client->deathRecipient = new ClientDeathRecipient(
        [server = this->weak_from_this(), dead = std::weak_ptr<Client>(client)] {
            if (const auto self = server.lock()) {
                self->forgetDead(dead);
            }
        });
    const char* problem = client->stream.problem();
    ClientPointer replaced;
    if (problem == nullptr) {
        const std::lock_guard lock{mutex_};
        replaced = findLocked(identity);
        if (replaced != nullptr) {
            removeLocked(replaced);
        }
        if (clients_.size() < kMaxClients) {
            clients_.push_back(client);
        } else {
            problem = "there are too many clients";
        }
    }
    if (replaced != nullptr) {
        release(replaced, "replaces its queue");
    }
    // Only now that the client is in the list does its death find it there.
    if (problem == nullptr &&
        !identity->linkToDeath(client->deathRecipient, 0).withDefault(false)) {
        problem = "it is dead";
        const std::lock_guard lock{mutex_};
        removeLocked(client);
    }
    if (problem != nullptr) {
        ALOGW("%s: refused %s: %s", name_.c_str(), client->name.c_str(), problem);
        return Hal::Result::FAILURE;
    }
    ALOGI("%s: %s has a queue of %zu records", name_.c_str(), client->name.c_str(),
          client->stream.capacity());
    const std::lock_guard lock{mutex_};
    ++statistics_.clients;
    return Hal::Result::SUCCESS;
}

template <typename Record>
Hal::Result StreamServer<Record>::control(const android::sp<Hal::ISensorClient>& identity,
                                          Hal::StreamCommand command) {
    if (identity == nullptr) {
        return Hal::Result::FAILURE;
    }
    ClientPointer client;
    {
        const std::lock_guard lock{mutex_};
        client = findLocked(identity);
        if (client == nullptr) {
            return Hal::Result::BAD_STATE;
        }
        const bool start = command == Hal::StreamCommand::START;
        if (start || command == Hal::StreamCommand::STOP) {
            if (client->isStarted == start) {
                return Hal::Result::IGNORED;
            }
            client->isStarted = start;
            updateBatchLimitLocked();
            return Hal::Result::SUCCESS;
        }
        if (command != Hal::StreamCommand::DISCONNECT) {
            return Hal::Result::FAILURE;
        }
        removeLocked(client);
    }
    release(client, "disconnected");
    return Hal::Result::SUCCESS;
}

template <typename Record>
void StreamServer<Record>::deliver(const Batch& batch) {
    const auto nanoseconds = [](auto time) {
        return std::chrono::nanoseconds(time.time_since_epoch()).count();
    };
    const int64_t arrival = nanoseconds(std::chrono::steady_clock::now());
    records_.clear();
    for (uint32_t i = 0; i < batch.size; ++i) {
        records_.push_back(takeSample_(
            {nanoseconds(batch.firstSample + i * batch.period), arrival, batch.firstSequence + i}));
    }
    const std::lock_guard lock{mutex_};
    for (const ClientPointer& client : clients_) {
        // A client that has just started is spared a batch that was begun before and is larger than
        // its queue.
        if (client->isStarted && client->stream.capacity() >= records_.size()) {
            writeLocked(client.get());
        }
    }
}

template <typename Record>
void StreamServer<Record>::writeLocked(Client* client) {
    client->reads += client->stream.takeReadDone() ? 1U : 0U;
    const size_t count = records_.size();
    if (client->stream.write(records_)) {
        client->recordsWritten += count;
        statistics_.recordsWritten += count;
        faults_->countWritten(count);
        return;
    }
    client->recordsDropped += count;
    statistics_.recordsDropped += count;
    if (client->recordsDropped >= client->nextWarning) {
        client->nextWarning = 2 * client->recordsDropped;
        ALOGW("%s: the queue of %s is full; %llu records dropped so far", name_.c_str(),
              client->name.c_str(), static_cast<unsigned long long>(client->recordsDropped));
    }
}

template <typename Record>
void StreamServer<Record>::forgetDead(const std::weak_ptr<Client>& dead) {
    const ClientPointer client = dead.lock();
    bool wasKnown = false;
    {
        const std::lock_guard lock{mutex_};
        wasKnown = client != nullptr && removeLocked(client);
    }
    if (wasKnown) {
        release(client, "is gone");
    }
}

/// Of a client that was removed from the list. Not under the lock: its process is told when the
/// last reference to its object goes.
template <typename Record>
void StreamServer<Record>::release(const ClientPointer& client, const char* reason) const {
    ALOGI("%s: %s %s; %llu records written, %llu dropped, %llu reads", name_.c_str(),
          client->name.c_str(), reason, static_cast<unsigned long long>(client->recordsWritten),
          static_cast<unsigned long long>(client->recordsDropped),
          static_cast<unsigned long long>(client->reads));
    // False for a dead client: there is no link any more.
    static_cast<void>(client->identity->unlinkToDeath(client->deathRecipient).isOk());
}

}  // namespace Simulator
