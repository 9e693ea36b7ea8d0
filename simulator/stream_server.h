// The stream of one sensor: samples it and writes the samples into the queues of its clients.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "sampler.h"
#include "stream_clients.h"

namespace Simulator {

/// The sampling function of a StreamServer, made from a model, which it owns.
template <typename Model>
auto samplesOf(Model model) {
    return [model = std::move(model)](const SampleInstant& instant) mutable {
        return model.sample(instant);
    };
}

template <typename Record>
class StreamServer final : public StreamClients<Record> {
  public:
    using TakeSample = std::function<Record(const SampleInstant&)>;

    /// @param name of the sensor, for log lines
    /// @param takeSample called on the sampler's thread
    StreamServer(const std::string& name, SamplingPlan plan, TakeSample takeSample,
                 std::shared_ptr<Faults> faults, const std::shared_ptr<WorldClock>& clock)
        : StreamClients<Record>(name, std::move(faults)),
          takeSample_(std::move(takeSample)),
          defaultPlan_(plan),
          isPacedByClients_(clock->isPacedByClients()),
          sampler_(plan, clock, [this](const Batch& batch) { deliver(batch); }) {
        this->onBatchLimit([this](size_t limit) { sampler_.setBatchLimit(limit); });
    }

    /// Applies to all clients, until none of the processes that configured the sensor has a stream
    /// any more.
    void configure(SamplingPlan plan) {
        {
            const std::lock_guard lock{this->mutex_};
            askers_.insert(callingProcess());
        }
        ALOGI("%s: %u Hz, %u samples a batch", this->name().c_str(), plan.rate, plan.batchSize);
        sampler_.setPlan(plan);
    }

    /// Stops sampling, permanently.
    void stop() {
        this->endWaits();
        sampler_.stop();
    }

    StreamStatistics statistics() const override {
        StreamStatistics statistics = StreamClients<Record>::statistics();
        statistics.samplesMissed = sampler_.missedSamples();
        return statistics;
    }

  protected:
    void onRelease(StreamClient<Record>& client, const char* reason) override {
        StreamClients<Record>::onRelease(client, reason);
        const std::lock_guard lock{this->mutex_};
        const bool isLast =
            std::none_of(this->clients_.begin(), this->clients_.end(),
                         [&client](const auto& other) { return other->process == client.process; });
        if (isLast && askers_.erase(client.process) > 0 && askers_.empty()) {
            ALOGI("%s: nobody is left who configured it", this->name().c_str());
            sampler_.setPlan(defaultPlan_);
        }
    }

  private:
    void deliver(const Batch& batch) {
        records_.clear();
        for (uint32_t i = 0; i < batch.size; ++i) {
            records_.push_back(takeSample_(instantOf(batch, i)));
        }
        if (batch.isAfterGap) {
            Discontinuity<Record>::mark(&records_.front());
        }
        if (!isPacedByClients_ || this->awaitRoom(records_.size())) {
            this->write(records_);
        }
    }

    const TakeSample takeSample_;
    const SamplingPlan defaultPlan_;
    /// The processes that configured it; guarded by the register's lock.
    std::set<int> askers_;
    const bool isPacedByClients_;
    std::vector<Record> records_;  // of the current batch, on the sampler's thread
    Sampler sampler_;              // the last: its thread uses all of the others
};

}  // namespace Simulator
