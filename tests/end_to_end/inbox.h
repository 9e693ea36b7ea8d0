// What a client keeps of a stream.
#pragma once

#include <vek/sensors/controller_provider.h>
#include <vek/sensors/factories.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace TestSupport {

/// False if the condition does not come about within a generous bound.
inline bool receiveUntil(Vek::Sensors::ICompositeStream& composite,
                         const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition() && std::chrono::steady_clock::now() < deadline) {
        composite.waitUntil(deadline);
    }
    return condition();
}

inline std::unique_ptr<Vek::Sensors::ICompositeStream> makeComposite() {
    return Vek::Sensors::createStreamCompositor()->createCompositeStream("test");
}

template <typename Data>
const Data& numberedPart(const Data& record) {
    return record;
}
inline const auto& numberedPart(const Vek::Sensors::ButtonData& record) {
    return record.header;
}

/// Of the records that say so, the controller; `preferred` is 0.
template <typename Data>
auto controllerOf(const Data& record, int /*preferred*/) -> decltype(record.controller) {
    return record.controller;
}
template <typename Data>
Vek::Sensors::ControllerAddr controllerOf(const Data& /*record*/, long /*otherwise*/) {
    return {};
}

/// Keeps all records.
template <typename Data>
class Inbox {
  public:
    Inbox(Vek::Sensors::IDataStream<Data>& stream, Vek::Sensors::ICompositeStream& composite)
        : composite_(composite) {
        // Large enough for a machine that is busy for seconds.
        stream.setQueueSize(std::min(size_t{4096}, (size_t{1} << 20) / sizeof(Data)));
        stream.setCallbackv([this](gsl::span<const gsl::span<const Data>> spans) {
            for (const auto& span : spans) {
                records.insert(records.end(), span.begin(), span.end());
            }
        });
        stream.addTo(composite);
    }
    Inbox(std::unique_ptr<Vek::Sensors::IDataStream<Data>> stream,
          Vek::Sensors::ICompositeStream& composite)
        : Inbox(*stream, composite) {
        owned_ = std::move(stream);
    }
    Inbox(const Inbox&) = delete;
    Inbox& operator=(const Inbox&) = delete;

    /// Waits for more records.
    bool receive(size_t count) {
        return receiveUntil(composite_,
                            [this, all = records.size() + count] { return records.size() >= all; });
    }

    /// How often a number is left out, for each controller on its own.
    size_t lost() const {
        std::map<Vek::Sensors::ControllerAddr, uint64_t> last;
        size_t lost = 0;
        for (const Data& record : records) {
            const auto& part = numberedPart(record);
            const auto [entry, isFirst] = last.emplace(controllerOf(part, 0), part.sequence);
            lost += !isFirst && part.sequence != entry->second + 1 ? 1U : 0U;
            entry->second = part.sequence;
        }
        return lost;
    }

    std::vector<Data> records;

  private:
    Vek::Sensors::ICompositeStream& composite_;
    std::unique_ptr<Vek::Sensors::IDataStream<Data>> owned_;
};

}  // namespace TestSupport
