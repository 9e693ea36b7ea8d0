// A stream of test records with the service's end in the test's hands.
#pragma once

#include <vek/sensors/stream.h>

#include <cstdint>
#include <vector>

#include "stream/composite_stream.h"
#include "stream/stream_handle.h"
#include "support/service_end.h"

namespace TestSupport {

struct HidlSample {
    uint64_t value;
    uint64_t padding;
};

/// Same layout as HidlSample: delivered in place.
struct DirectSample {
    uint64_t value;
    uint64_t padding;
};

/// Half the size of HidlSample: converted.
struct ConvertedSample {
    uint64_t value;
};

inline std::vector<HidlSample> samples(uint64_t first, size_t count) {
    std::vector<HidlSample> records(count);
    for (size_t i = 0; i < count; ++i) {
        records[i] = {first + i, 0};
    }
    return records;
}

/// The values of one callback, span by span.
using Delivered = std::vector<std::vector<uint64_t>>;

template <typename Data>
class FakeStream {
  public:
    using Handle = Vek::Sensors::HidlWrapper::StreamHandle<Data, HidlSample>;

    FakeStream()
        : handle([this](const auto& queue, const auto& client, const auto& config) {
              end.accept(queue, client, config);
              return android::hardware::Return<Hidl::Result>(prepareResult);
          }) {
        handle.setCallbackv([this](typename Vek::Sensors::IDataStream<Data>::Batch spans) {
            Delivered& call = calls.emplace_back();
            for (const auto& span : spans) {
                auto& values = call.emplace_back();
                for (const Data& record : span) {
                    values.push_back(record.value);
                }
            }
        });
    }

    ServiceEnd<HidlSample> end;
    Hidl::Result prepareResult = Hidl::Result::SUCCESS;
    std::vector<Delivered> calls;
    Handle handle;
};

}  // namespace TestSupport

namespace Vek::Sensors::HidlWrapper {

template <>
struct RecordConversion<TestSupport::ConvertedSample> {
    static constexpr size_t kFixedRecords = 8;
    static TestSupport::ConvertedSample convert(const TestSupport::HidlSample& record) {
        return {record.value};
    }
};

}  // namespace Vek::Sensors::HidlWrapper
