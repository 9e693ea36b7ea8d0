// Keeps the received records of a stream.
#pragma once

#include <vek/sensors/controller_provider.h>
#include <vek/sensors/factories.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "support/sequence_check.h"

namespace TestSupport {

/// Receives until the condition holds. False if it does not within a generous bound.
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

/// Keeps all records.
template <typename Data>
class Inbox {
  public:
    Inbox(Vek::Sensors::IDataStream<Data>& stream, Vek::Sensors::ICompositeStream& composite)
        : composite_(composite) {
        // Large enough for a machine that is busy for many seconds.
        stream.setQueueSize(std::min(size_t{65'536}, (size_t{1} << 22) / sizeof(Data)));
        stream.setCallbackv([this](typename Vek::Sensors::IDataStream<Data>::Batch spans) {
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

    size_t lost() const {
        SequenceCheck<Data> check;
        for (const Data& record : records) {
            check.take(record);
        }
        return check.lost();
    }

    std::vector<Data> records;

  private:
    Vek::Sensors::ICompositeStream& composite_;
    std::unique_ptr<Vek::Sensors::IDataStream<Data>> owned_;
};

}  // namespace TestSupport
