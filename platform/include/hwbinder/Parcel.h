// The arguments or the results of one call, in the form in which they travel.
#pragma once

#include <android-base/unique_fd.h>
#include <hidl/HidlSupport.h>
#include <hwbinder/IBinder.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <vector>

namespace android::hardware {

/**
 * A sequence of items that is read in the order in which it was written.
 *
 * Buffers are copied when they are written. A native handle is not: it must stay
 * open until the parcel has been sent. Everything read from a received parcel
 * (buffers, handles) lives in the parcel and dies with it.
 *
 * A received parcel is not trusted: each item is checked for its kind, its size and
 * its parent when it is read. The first item that does not fit marks the parcel as
 * malformed, reports that to its origin and fails all later reads.
 *
 * Threading: one thread at a time.
 */
class Parcel {
  public:
    Parcel() = default;
    Parcel(Parcel&&) = default;
    Parcel& operator=(Parcel&&) = default;
    Parcel(const Parcel&) = delete;
    Parcel& operator=(const Parcel&) = delete;

    status_t writeInterfaceToken(const char* interface) { return writeCString(interface); }
    /** Whether the call is meant for `interface`. */
    bool enforceInterface(const char* interface) const;

    status_t writeInt8(int8_t value) { return writeScalar(value); }
    status_t writeUint8(uint8_t value) { return writeScalar(value); }
    status_t writeInt16(int16_t value) { return writeScalar(value); }
    status_t writeUint16(uint16_t value) { return writeScalar(value); }
    status_t writeInt32(int32_t value) { return writeScalar(value); }
    status_t writeUint32(uint32_t value) { return writeScalar(value); }
    status_t writeInt64(int64_t value) { return writeScalar(value); }
    status_t writeUint64(uint64_t value) { return writeScalar(value); }
    status_t writeFloat(float value) { return writeScalar(value); }
    status_t writeDouble(double value) { return writeScalar(value); }
    status_t writeBool(bool value) { return writeScalar(static_cast<uint8_t>(value)); }
    status_t writeCString(const char* text);

    status_t readInt8(int8_t* value) const { return readScalar(value); }
    status_t readUint8(uint8_t* value) const { return readScalar(value); }
    status_t readInt16(int16_t* value) const { return readScalar(value); }
    status_t readUint16(uint16_t* value) const { return readScalar(value); }
    status_t readInt32(int32_t* value) const { return readScalar(value); }
    status_t readUint32(uint32_t* value) const { return readScalar(value); }
    status_t readInt64(int64_t* value) const { return readScalar(value); }
    status_t readUint64(uint64_t* value) const { return readScalar(value); }
    status_t readFloat(float* value) const { return readScalar(value); }
    status_t readDouble(double* value) const { return readScalar(value); }
    status_t readBool(bool* value) const;
    /** The parcel owns the text. Null if it is missing or not terminated. */
    const char* readCString() const;

    /** @param handle receives the name of the buffer, by which embedded buffers refer to it */
    status_t writeBuffer(const void* buffer, size_t size, size_t* handle) {
        return writeEmbeddedBuffer(buffer, size, handle, kNoParent, 0);
    }
    /**
     * Writes a buffer whose pointer is stored at `parentOffset` of `parent`. `buffer` may be null.
     */
    status_t writeEmbeddedBuffer(const void* buffer, size_t size, size_t* handle, size_t parent,
                                 size_t parentOffset);

    status_t readBuffer(size_t size, size_t* handle, const void** buffer) const {
        return readNullableEmbeddedBuffer(size, handle, kNoParent, 0, buffer);
    }
    /**
     * Reads the buffer and stores its address in the parent, in place of the sender's pointer. A
     * buffer of size 0 is null.
     */
    status_t readNullableEmbeddedBuffer(size_t size, size_t* handle, size_t parent,
                                        size_t parentOffset, const void** buffer) const;

    status_t writeStrongBinder(const sp<IBinder>& binder);
    status_t readNullableStrongBinder(sp<IBinder>* binder) const;

    status_t writeNativeHandleNoDup(const native_handle_t* handle);
    /** Ignores the place: the reader knows from the type where the handle's pointer belongs. */
    status_t writeEmbeddedNativeHandle(const native_handle_t* handle, size_t /*parent*/,
                                       size_t /*parentOffset*/) {
        return writeNativeHandleNoDup(handle);
    }
    status_t readNullableNativeHandleNoDup(const native_handle_t** handle) const;
    status_t readNullableEmbeddedNativeHandle(size_t parent, size_t parentOffset,
                                              const native_handle_t** handle) const;

    /** Marks the received parcel as malformed. @return BAD_VALUE */
    status_t reject() const;

    // For the transport.

    /** A received parcel. @param onMalformed called at most once */
    Parcel(std::vector<uint8_t> items, std::vector<sp<IBinder>> objects,
           std::vector<base::unique_fd> descriptors, std::function<void()> onMalformed);
    /** The first error of a write; a parcel with an error must not be sent. */
    status_t writeError() const { return writeError_; }
    const std::vector<uint8_t>& items() const { return items_; }
    const std::vector<sp<IBinder>>& objects() const { return objects_; }
    const std::vector<int>& descriptors() const { return descriptors_; }

  private:
    enum class Item : uint32_t;
    static constexpr size_t kItemAlignment = 4;
    static constexpr size_t kNoParent = UINT32_MAX;
    struct Buffer {
        size_t position;
        size_t size;
    };

    template <typename T>
    status_t writeScalar(T value) {
        append(&value, sizeof(value));
        alignWriting(kItemAlignment);
        return OK;
    }
    template <typename T>
    status_t readScalar(T* value) const {
        const uint8_t* bytes = take(sizeof(T));
        if (bytes == nullptr || !alignReading(kItemAlignment)) return reject();
        std::memcpy(value, bytes, sizeof(T));
        return OK;
    }
    void append(const void* bytes, size_t size);
    void alignWriting(size_t alignment);
    const uint8_t* take(size_t size) const;
    bool alignReading(size_t alignment) const;
    bool takeItem(Item expected) const;
    status_t failWrite();
    bool storePointer(size_t parent, size_t parentOffset, const void* pointer) const;

    // Reading patches pointers and takes objects out, but does not change the parcel's value.
    mutable std::vector<uint8_t> items_;
    mutable std::vector<Buffer> buffers_;
    mutable std::vector<sp<IBinder>> objects_;
    std::vector<int> descriptors_;  // to be sent; owned by the writer
    mutable std::vector<base::unique_fd> receivedDescriptors_;
    mutable std::vector<hidl_handle> handles_;
    mutable size_t position_ = 0;
    mutable size_t objectPosition_ = 0;
    mutable size_t descriptorPosition_ = 0;
    mutable bool malformed_ = false;
    status_t writeError_ = OK;
    std::function<void()> onMalformed_;
};

}  // namespace android::hardware
