// Writes the items of a parcel in sequence, and checks each one when it is read.
#include <hwbinder/Parcel.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <utility>
#include <vector>

#include "transport/Frame.h"
#include "transport/PeerLog.h"

namespace android::hardware {

enum class Parcel::Item : uint32_t {
    kBuffer = 0x42554646,
    kNullBuffer = 0x4e425546,
    kObject = 0x4f424a45,
    kNullObject = 0x4e4f424a,
    kHandle = 0x48414e44,
    kNullHandle = 0x4e48414e,
};
static_assert(details::kMaxItemBytes / sizeof(uint32_t) <= details::kMaxInterfaces);

namespace {

constexpr size_t kBufferAlignment = 8;
// As many as a queue has parts. Limited, because a receiver keeps all descriptors of a handle even
// if it needs few.
constexpr uint32_t kMaxDescriptorsOfHandle = 4;
// Enough for the items of most calls, which then need a single allocation.
constexpr size_t kUsualSize = 256;

struct BufferHeader {
    uint32_t size;
    uint32_t parent;
    uint32_t parentOffset;
};

struct HandleHeader {
    uint32_t descriptors;
    uint32_t integers;
};

}  // namespace

Parcel::Parcel(std::vector<uint8_t> items, std::vector<sp<IBinder>> objects,
               std::vector<base::unique_fd> descriptors, std::function<void()> onMalformed)
    : items_(std::move(items)),
      objects_(std::move(objects)),
      receivedDescriptors_(std::move(descriptors)),
      onMalformed_(std::move(onMalformed)) {}

// Writing

void Parcel::append(const void* bytes, size_t size) {
    if (size == 0) return;
    if (items_.empty()) items_.reserve(kUsualSize);
    const auto* first = static_cast<const uint8_t*>(bytes);
    items_.insert(items_.end(), first, first + size);
}

void Parcel::alignWriting(size_t alignment) {
    items_.resize((items_.size() + alignment - 1) / alignment * alignment);
}

status_t Parcel::failWrite() {
    writeError_ = BAD_VALUE;
    return BAD_VALUE;
}

status_t Parcel::writeCString(const char* text) {
    append(text, std::strlen(text) + 1);
    alignWriting(kItemAlignment);
    return OK;
}

status_t Parcel::writeEmbeddedBuffer(const void* buffer, size_t size, size_t* handle, size_t parent,
                                     size_t parentOffset) {
    if (size > UINT32_MAX || parentOffset > UINT32_MAX) return failWrite();
    const bool isNull = buffer == nullptr || size == 0;
    writeScalar(isNull ? Item::kNullBuffer : Item::kBuffer);
    writeScalar(BufferHeader{isNull ? 0 : static_cast<uint32_t>(size),
                             static_cast<uint32_t>(parent), static_cast<uint32_t>(parentOffset)});
    *handle = buffers_.size();
    if (isNull) return OK;
    alignWriting(kBufferAlignment);
    buffers_.push_back({items_.size(), size});
    append(buffer, size);
    alignWriting(kItemAlignment);
    return OK;
}

status_t Parcel::writeStrongBinder(const sp<IBinder>& binder) {
    if (binder == nullptr) return writeScalar(Item::kNullObject);
    objects_.push_back(binder);
    return writeScalar(Item::kObject);
}

status_t Parcel::writeNativeHandleNoDup(const native_handle_t* handle) {
    if (handle == nullptr) return writeScalar(Item::kNullHandle);
    if (handle->numFds < 0 || static_cast<uint32_t>(handle->numFds) > kMaxDescriptorsOfHandle ||
        handle->numInts < 0 || handle->numInts > NATIVE_HANDLE_MAX_INTS) {
        return failWrite();
    }
    const HandleHeader header{static_cast<uint32_t>(handle->numFds),
                              static_cast<uint32_t>(handle->numInts)};
    writeScalar(Item::kHandle);
    writeScalar(header);
    append(handle->data + header.descriptors, header.integers * sizeof(int));
    descriptors_.insert(descriptors_.end(), handle->data, handle->data + header.descriptors);
    return OK;
}

// Reading

status_t Parcel::reject() const {
    if (!malformed_) {
        malformed_ = true;
        if (onMalformed_) onMalformed_();
    }
    return BAD_VALUE;
}

const uint8_t* Parcel::take(size_t size) const {
    if (malformed_ || size > items_.size() - position_) return nullptr;
    const uint8_t* bytes = items_.data() + position_;
    position_ += size;
    return bytes;
}

bool Parcel::alignReading(size_t alignment) const {
    return take((alignment - position_ % alignment) % alignment) != nullptr;
}

status_t Parcel::readBool(bool* value) const {
    uint8_t byte = 0;
    const status_t status = readScalar(&byte);
    if (status == OK) *value = byte != 0;
    return status;
}

const char* Parcel::readCString() const {
    const size_t available = malformed_ ? 0 : items_.size() - position_;
    const char* text = reinterpret_cast<const char*>(items_.data() + position_);
    const size_t length = available == 0 ? 0 : strnlen(text, available);
    if (length == available || take(length + 1) == nullptr || !alignReading(kItemAlignment)) {
        reject();
        return nullptr;
    }
    return text;
}

bool Parcel::enforceInterface(const char* interface) const {
    const char* token = readCString();
    if (token == nullptr) return false;
    if (std::strcmp(token, interface) == 0) return true;
    details::logOfPeer("a call for interface %s reached an object of %s",
                       details::printable(token).c_str(), interface);
    return false;
}

bool Parcel::takeItem(Item expected) const {
    if (malformed_ || items_.size() - position_ < sizeof(expected)) return false;
    if (std::memcmp(items_.data() + position_, &expected, sizeof(expected)) != 0) return false;
    return take(sizeof(expected)) != nullptr;
}

bool Parcel::storePointer(size_t parent, size_t parentOffset, const void* pointer) const {
    if (parent >= buffers_.size()) return false;
    const Buffer& buffer = buffers_[parent];
    if (buffer.size < sizeof(pointer) || parentOffset > buffer.size - sizeof(pointer)) return false;
    std::memcpy(items_.data() + buffer.position + parentOffset, &pointer, sizeof(pointer));
    return true;
}

status_t Parcel::readNullableEmbeddedBuffer(size_t size, size_t* handle, size_t parent,
                                            size_t parentOffset, const void** buffer) const {
    BufferHeader header{};
    if (!takeItem(size == 0 ? Item::kNullBuffer : Item::kBuffer) || readScalar(&header) != OK ||
        header.size != size || header.parent != parent || header.parentOffset != parentOffset) {
        return reject();
    }
    *handle = buffers_.size();
    *buffer = nullptr;
    if (size > 0) {
        const bool isAligned = alignReading(kBufferAlignment);
        const size_t start = position_;
        *buffer = isAligned ? take(size) : nullptr;
        if (*buffer == nullptr || !alignReading(kItemAlignment)) return reject();
        buffers_.push_back({start, size});
    }
    if (parent != kNoParent && !storePointer(parent, parentOffset, *buffer)) return reject();
    return OK;
}

status_t Parcel::readNullableStrongBinder(sp<IBinder>* binder) const {
    *binder = nullptr;
    if (takeItem(Item::kNullObject)) return OK;
    if (!takeItem(Item::kObject) || objectPosition_ == objects_.size()) return reject();
    *binder = objects_[objectPosition_++];
    return OK;
}

status_t Parcel::readNullableNativeHandleNoDup(const native_handle_t** handle) const {
    *handle = nullptr;
    if (takeItem(Item::kNullHandle)) return OK;
    HandleHeader header{};
    if (!takeItem(Item::kHandle) || readScalar(&header) != OK ||
        header.integers > NATIVE_HANDLE_MAX_INTS || header.descriptors > kMaxDescriptorsOfHandle ||
        header.descriptors > receivedDescriptors_.size() - descriptorPosition_) {
        return reject();
    }
    const uint8_t* integers = take(header.integers * sizeof(int));
    if (integers == nullptr) return reject();

    native_handle_t* created = native_handle_create(static_cast<int>(header.descriptors),
                                                    static_cast<int>(header.integers));
    if (created == nullptr) return NO_MEMORY;
    for (uint32_t i = 0; i < header.descriptors; ++i) {
        created->data[i] = receivedDescriptors_[descriptorPosition_++].release();
    }
    if (header.integers > 0) {
        std::memcpy(created->data + header.descriptors, integers, header.integers * sizeof(int));
    }
    handles_.emplace_back().setTo(created, true);
    *handle = created;
    return OK;
}

status_t Parcel::readNullableEmbeddedNativeHandle(size_t parent, size_t parentOffset,
                                                  const native_handle_t** handle) const {
    const status_t status = readNullableNativeHandleNoDup(handle);
    if (status != OK) return status;
    return storePointer(parent, parentOffset, *handle) ? OK : reject();
}

}  // namespace android::hardware
