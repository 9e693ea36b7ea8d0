// The client's end of an output stream: a queue that the HAL service makes and reads.
#pragma once

#include <fmq/EventFlag.h>
#include <fmq/MessageQueue.h>
#include <vek/gsl.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <iterator>
#include <optional>
#include <utility>

#include "controller/convert.h"
#include "foundation/log.h"
#include "foundation/sensor_client.h"
#include "os/event_flag.h"
#include "os/static_vector.h"
#include "stream/received_queue.h"

namespace Vek::Sensors::HidlWrapper {

/// Prepared once, then started and stopped any number of times. A call out of order ends the
/// process, as does a refusal by the service. Destruction sends no command.
///
/// @tparam Data the client API's record.
/// @tparam HidlData the HAL's record, the queue's element.
/// @tparam N the most records that one `send` writes.
///
/// Threading: commands may come from any thread; `send` from one thread at a time.
template <typename Data, typename HidlData, size_t N>
class OutputStreamHandle {
  public:
    using Queue =
        android::hardware::MessageQueue<HidlData, android::hardware::kSynchronizedReadWrite>;
    using Result = Hidl::Result;
    /// The interface's method that starts and stops the stream.
    using CommandCall = std::function<android::hardware::Return<Result>(
        const android::sp<Hidl::ISensorClient>&, Hidl::StreamCommand)>;
    using PrepareAnswer =
        std::function<void(Result, const typename Queue::Descriptor&, const Hidl::FmqConfig&)>;
    /// The interface's method that hands out the queue.
    using PrepareCall = std::function<android::hardware::Return<void>(
        const android::sp<Hidl::ISensorClient>&, PrepareAnswer)>;

    /// @param name appears in messages; not copied.
    OutputStreamHandle(const char* name, CommandCall command, PrepareCall prepare)
        : name_(name),
          command_(std::move(command)),
          prepare_(std::move(prepare)),
          client_(new SensorClient("clientId")) {}

    ~OutputStreamHandle() { OS::deleteEventFlag(&evFlag_); }

    OutputStreamHandle(const OutputStreamHandle&) = delete;
    OutputStreamHandle& operator=(const OutputStreamHandle&) = delete;

    void prepareStream() {
        MORIAK_FATAL_IF(stream_.has_value(), "%s output stream already prepared", name_);
        // The returned status is destroyed unchecked at the end of this statement, so a failed
        // transport ends the process there.
        prepare_(client_,
                 [this](Result res, const typename Queue::Descriptor& descriptor,
                        const Hidl::FmqConfig& config) { adopt(res, descriptor, config); });
        // Also fails if the service returned without calling the callback. Unlike in the other
        // messages, the word "pose" does not depend on `name_`: the system's tools look for it.
        if (!stream_ || !stream_->isValid()) {
            MORIAK_FATAL_FOR("!stream_->isValid()", "pose output stream is not valid");
        }
    }

    void start() {
        const bool prev = running_.exchange(true);
        MORIAK_FATAL_IF(prev, "%s output stream already started", name_);
        MORIAK_FATAL_IF(!stream_, "%s output stream not prepared", name_);
        // The conversion of the return object ends the process if the transport failed.
        const Result res = command_(client_, Hidl::StreamCommand::START);
        MORIAK_FATAL_IF(res != Result::SUCCESS, "Failed to start %s output stream", name_);
    }

    void stop() {
        const bool prev = running_.exchange(false);
        MORIAK_FATAL_IF(!prev, "%s output stream not started", name_);
        MORIAK_FATAL_IF(!stream_, "%s output stream not prepared", name_);
        const Result res = command_(client_, Hidl::StreamCommand::STOP);
        MORIAK_FATAL_IF(res != Result::SUCCESS, "Failed to stop %s output stream", name_);
    }

    /// Writes the first records: as many as fit in the queue, at most N.
    /// @return false if none fits.
    bool send(gsl::span<const Data> records) {
        MORIAK_FATAL_IF(!stream_, "Attempting to send when %s output stream is not prepared",
                        name_);
        MORIAK_FATAL_IF(!running_.load(std::memory_order_acquire),
                        "Attempting to send when %s output stream is not started", name_);
        const size_t room = stream_->availableToWrite();
        // If the counters are impossible, the runtime's count has wrapped around.
        const size_t count =
            room > stream_->getQuantumCount() ? 0 : std::min({records.size(), room, N});
        if (count == 0) {
            return false;
        }
        OS::StaticVector<HidlData, N> converted;
        std::transform(records.begin(), records.begin() + static_cast<std::ptrdiff_t>(count),
                       std::back_inserter(converted),
                       [](const Data& record) { return Convert::intoHidl(record); });
        const bool status = stream_->write(converted.data(), converted.size());
        MORIAK_FATAL_IF(!status, "failed writing to %s stream", name_);
        // A failure to wake the reader is ignored.
        evFlag_->wake(config_->dataReadyBit);
        return true;
    }

  private:
    /// Maps the queue that the service made, without resetting its counters.
    void adopt(Result res, const typename Queue::Descriptor& descriptor,
               const Hidl::FmqConfig& config) {
        MORIAK_FATAL_IF(res == Result::FAILURE, "HAL failed to prepare %s output stream", name_);
        MORIAK_FATAL_IF(res == Result::BAD_STATE, "HAL has already prepared %s output stream",
                        name_);
        stream_.reset();
        if (describesQueue(descriptor)) {
            constexpr bool kResetPointers = false;
            stream_.emplace(descriptor, kResetPointers);
        }
        config_ = config;
        OS::deleteEventFlag(&evFlag_);
        evFlag_ = OS::createEventFlagFromHandle(config.eventFlag);
        MORIAK_FATAL_IF(!evFlag_, "failed creating event flag for %s output stream", name_);
    }

    const char* const name_;
    CommandCall command_;
    PrepareCall prepare_;
    std::optional<Queue> stream_;
    android::sp<SensorClient> client_;
    std::atomic<bool> running_{false};
    std::optional<Hidl::FmqConfig> config_;
    android::hardware::EventFlag* evFlag_ = nullptr;
};

}  // namespace Vek::Sensors::HidlWrapper
