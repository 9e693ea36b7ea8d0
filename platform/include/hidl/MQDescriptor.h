// Where the parts of a fast message queue lie in shared memory.
#pragma once

#include <cutils/native_handle.h>
#include <hidl/HidlSupport.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace android::hardware {

/** One part of a queue: `extent` bytes at `offset` of the handle's descriptor `fdIndex`. */
struct GrantorDescriptor {
    uint32_t flags;
    uint32_t fdIndex;
    uint32_t offset;
    uint64_t extent;
};
static_assert(sizeof(GrantorDescriptor) == 24, "wire format");

enum MQFlavor : uint32_t {
    /** One writer, one reader; a write to a full queue fails. */
    kSynchronizedReadWrite = 0x01,
};

/** Describes the memory of a queue of T; owns the handle. */
template <typename T, MQFlavor flavor>
struct MQDescriptor {
    enum GrantorType : int { READPTRPOS = 0, WRITEPTRPOS, DATAPTRPOS, EVFLAGWORDPOS };
    static constexpr int32_t kMinGrantorCount = DATAPTRPOS + 1;

    MQDescriptor() = default;
    /** Takes ownership of the handle. */
    MQDescriptor(const std::vector<GrantorDescriptor>& grantors, native_handle_t* handle,
                 size_t quantum)
        : mGrantors(grantors),
          mHandle(handle),
          mQuantum(static_cast<uint32_t>(quantum)),
          mFlags(flavor) {}
    /** Clones the handle; explicit, because that duplicates descriptors. */
    explicit MQDescriptor(const MQDescriptor& other)
        : mGrantors(other.mGrantors),
          mHandle(native_handle_clone(other.mHandle)),
          mQuantum(other.mQuantum),
          mFlags(other.mFlags) {}
    MQDescriptor& operator=(const MQDescriptor& other) {
        MQDescriptor copy(other);
        std::swap(mGrantors, copy.mGrantors);
        std::swap(mHandle, copy.mHandle);
        std::swap(mQuantum, copy.mQuantum);
        std::swap(mFlags, copy.mFlags);
        return *this;
    }
    ~MQDescriptor() { details::closeAndDelete(mHandle); }

    /** Size of the ring in bytes, without the counters. */
    size_t getSize() const {
        return mGrantors.size() > DATAPTRPOS ? mGrantors[DATAPTRPOS].extent : 0;
    }
    /** Size of one record in bytes. */
    size_t getQuantum() const { return mQuantum; }
    int32_t getFlags() const { return static_cast<int32_t>(mFlags); }
    const native_handle_t* handle() const { return mHandle; }
    const hidl_vec<GrantorDescriptor>& grantors() const { return mGrantors; }

    static constexpr size_t kOffsetOfGrantors = 0;
    static constexpr size_t kOffsetOfHandle = sizeof(hidl_vec<GrantorDescriptor>);

  private:
    hidl_vec<GrantorDescriptor> mGrantors;
    native_handle_t* mHandle = nullptr;
    uint32_t mQuantum = 0;
    uint32_t mFlags = flavor;
};

template <typename T>
using MQDescriptorSync = MQDescriptor<T, kSynchronizedReadWrite>;

template <typename T, MQFlavor flavor>
std::string toString(const MQDescriptor<T, flavor>& descriptor) {
    return "queue of " + std::to_string(descriptor.getSize()) + " bytes, " +
           std::to_string(descriptor.getQuantum()) + " a record";
}

}  // namespace android::hardware
