// A queue whose descriptor, memory and counters are chosen by another process: it must be refused,
// or used only inside the described memory.
#include <unistd.h>
#include <vendor/zelvan/hardware/sensors/1.0/types.h>

#include <array>
#include <cstdint>

#include "descriptor.h"
#include "queue.h"
#include "stream/received_queue.h"
#include "support/child_process.h"

namespace {

using namespace android::hardware;
namespace Hidl = ::vendor::zelvan::hardware::sensors::V1_0;

/// A descriptor as the other process writes it into a parcel: that of a valid queue, with some
/// changes.
struct WireDescriptor {
    WireDescriptor(FuzzedDataProvider& input, uint32_t recordSize) : quantum(recordSize) {
        const size_t ringSize = recordSize * input.ConsumeIntegralInRange<size_t>(1, 8);
        constexpr uint32_t kRing = 192;
        grantors = {{0, 0, 0, 8}, {0, 0, 64, 8}, {0, 0, kRing, ringSize}, {0, 0, 128, 4}};
        const int descriptors = input.ConsumeIntegralInRange(-1, 3);
        handle = native_handle_create(descriptors, 0);  // null for the negative number
        for (int i = 0; i < descriptors; ++i) {
            handle->data[i] = Fuzz::descriptorOfSomeKind(input, kRing + ringSize);
        }
        while (input.ConsumeBool()) {
            GrantorDescriptor spare;
            const auto index = input.ConsumeIntegralInRange<size_t>(0, 4);
            GrantorDescriptor& grantor = index < grantors.size() ? grantors[index] : spare;
            const std::array words{&quantum, &flags, &grantor.flags, &grantor.fdIndex,
                                   &grantor.offset};
            const auto field = input.ConsumeIntegralInRange<size_t>(0, words.size() + 1);
            if (field < words.size()) {
                *words[field] = input.ConsumeIntegral<uint32_t>();
            } else if (field == words.size()) {
                grantor.extent = input.ConsumeIntegral<uint64_t>();
            } else {
                grantors.resize(index);
            }
        }
    }
    WireDescriptor(const WireDescriptor&) = delete;
    WireDescriptor& operator=(const WireDescriptor&) = delete;
    ~WireDescriptor() { details::closeAndDelete(handle); }

    hidl_vec<GrantorDescriptor> grantors;
    native_handle_t* handle;
    uint32_t quantum;
    uint32_t flags = kSynchronizedReadWrite;
};

template <typename Record>
void attack(FuzzedDataProvider& input) {
    using Queue = MessageQueue<Record, kSynchronizedReadWrite>;
    const WireDescriptor wire{input, sizeof(Record)};
    static_assert(sizeof(wire) == sizeof(typename Queue::Descriptor));
    const auto& descriptor = reinterpret_cast<const typename Queue::Descriptor&>(wire);
    // What the library asks before it uses a queue that a service has made.
    const bool isDescribed = Vek::Sensors::HidlWrapper::describesQueue(descriptor);
    Queue queue{descriptor};
    // Memory that is sealed against writing cannot be mapped, whatever is said of it.
    VEK_ALWAYS_ASSERT(!isDescribed || !queue.isValid() || queue.getQuantumCount() > 0);
    if (!queue.isValid() || queue.getQuantumCount() == 0) {
        return;
    }
    const auto ring = Fuzz::ringOf(queue);
    // Checks that the described memory is used: a write to its last byte must be visible there.
    const GrantorDescriptor& place = wire.grantors[Queue::Descriptor::DATAPTRPOS];
    VEK_ALWAYS_ASSERT(place.extent == ring.getLength() * sizeof(Record));
    auto* const last = reinterpret_cast<volatile uint8_t*>(ring.getAddress()) + place.extent - 1;
    uint8_t seen = 0;
    *last = 0xA5;
    const auto offset = static_cast<off_t>(place.offset + place.extent - 1);
    VEK_ALWAYS_ASSERT(pread(wire.handle->data[place.fdIndex], &seen, 1, offset) == 1);
    VEK_ALWAYS_ASSERT(seen == 0xA5);
    while (input.remaining_bytes() > 0) {
        const GrantorDescriptor& counter = wire.grantors[input.ConsumeBool() ? 1 : 0];
        const auto position = input.ConsumeIntegral<uint64_t>();
        pwrite(wire.handle->data[counter.fdIndex], &position, sizeof(position), counter.offset);
        Fuzz::use(queue, ring);
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input{data, size};
    const Fuzz::LeakCheck leaks;
    constexpr void (*kAttacks[])(FuzzedDataProvider&) = {
        attack<Hidl::WirelessStateTransition>, attack<Hidl::ControllerInputADCData>,
        attack<Hidl::ImuData>, attack<Hidl::AdcFlickerData>};
    input.PickValueInArray(kAttacks)(input);
    VEK_ALWAYS_ASSERT(TestSupport::resourcesOf(getpid()).mappings == 0 && "memory stays mapped");
    return 0;
}
