// The records of one stream of a recording, read one after the other.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "discontinuity.h"
#include "recording/layout.h"
#include "recording/reader.h"
#include "replay/player.h"
#include "replay/record_fields.h"
#include "replay/recorded_times.h"

namespace Simulator {

/// Reads the file during playback, so a recording may have any length.
template <typename Record>
class RecordedStream final : public PlayedRecords {
  public:
    /// @param record the record with its times shifted to the playback
    /// @param recorded the record as it is in the recording
    using Deliver = std::function<void(const Record& record, const Record& recorded)>;

    /// Throws Recording::Error if the file cannot be read.
    /// @param controller if given, only the records of the controller with this address are read
    RecordedStream(const Recording::Reader& recording, const Recording::StreamInfo& stream,
                   Deliver deliver, std::optional<uint64_t> controller = std::nullopt)
        : csv_(recording.open(stream)),
          reader_(csv_),
          receivedColumn_(csv_.column(Recording::kReceivedTitle)),
          isNumbered_(csv_.column("sequence") >= 0),
          controller_(controller),
          deliver_(std::move(deliver)) {
        RecordedStream::advance();
    }

    std::optional<int64_t> time() const override { return time_; }
    const Record& record() const { return record_; }

    void advance() override {
        do {
            if (!csv_.next()) {
                time_.reset();
                return;
            }
            record_ = Record{};
            reader_.read(record_);
        } while (controller_ && controllerOf(record_) != controller_);
        const int64_t received = receivedColumn_ < 0 ? 0 : csv_.number<int64_t>(receivedColumn_);
        fillInTimes(received);
        const int64_t arrival = arrivalOf(record_);
        const int64_t time = arrival != 0 ? arrival : received;
        if (time_ && time < *time_) {
            throw csv_.error(fmt::format("the time goes back: {} ns behind {} ns", time, *time_));
        }
        time_ = time;
        if (auto* const sequence = sequenceOf(record_)) {
            Counter& counter = counters_[controllerOf(record_)];
            if (!isNumbered_) {
                *sequence = static_cast<std::decay_t<decltype(*sequence)>>(
                    counter.isKnown ? counter.last + 1 : 0);
            }
            counter.first = counter.isKnown ? counter.first : *sequence;
            counter.isKnown = true;
            counter.last = *sequence;
        }
    }

    void rewind() override {
        // Sequence numbers continue where the last pass ended.
        for (auto& [controller, counter] : counters_) {
            counter.offset += counter.last - counter.first + 1;
            counter.isKnown = false;
        }
        csv_.rewind();
        time_.reset();
        advance();
    }

    void deliver(int64_t shift, bool isFirst) override {
        Record record = record_;
        forEachTime(record, [shift](int64_t& time) { time += time == 0 ? 0 : shift; });
        if constexpr (std::is_same_v<Record, Hidl::CurlData>) {
            record.sampleTime += static_cast<double>(shift) * 1e-9;
        }
        if (auto* const sequence = sequenceOf(record)) {
            *sequence += static_cast<std::decay_t<decltype(*sequence)>>(
                counters_[controllerOf(record)].offset);
        }
        if (isFirst) {
            Discontinuity<Record>::mark(&record);
        }
        deliver_(record, record_);
    }

  private:
    /// The sequence numbers of one sensor or controller.
    struct Counter {
        bool isKnown = false;
        uint64_t first = 0;
        uint64_t last = 0;
        uint64_t offset = 0;
    };

    /// Fills in times that were not recorded: recordings of other programs have no arrival times,
    /// and most controller inputs have no times in the API.
    void fillInTimes(int64_t received) {
        const auto fill = [received](auto& times) {
            times.timestamp = times.timestamp != 0 ? times.timestamp : received;
            times.arrivalTimestamp =
                times.arrivalTimestamp != 0 ? times.arrivalTimestamp : times.timestamp;
        };
        if constexpr (RecordedTimes::HasHeader<Record>::value) {
            fill(record_.header);
        } else if constexpr (RecordedTimes::HasArrival<Record>::value) {
            fill(record_);
        }
    }

    Recording::CsvReader csv_;
    Recording::RecordReader<Record> reader_;
    const int receivedColumn_;
    const bool isNumbered_;
    const std::optional<uint64_t> controller_;
    const Deliver deliver_;
    Record record_{};
    std::optional<int64_t> time_;
    std::map<std::optional<uint64_t>, Counter> counters_;  // by controller
};

}  // namespace Simulator
