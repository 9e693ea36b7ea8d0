// One message on the socket between two processes: a header, items, objects, descriptors.
#pragma once

#include <android-base/unique_fd.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace android::hardware::details {

using base::unique_fd;

// What one message may carry; a peer that sends more is broken.
constexpr size_t kMaxItemBytes = size_t{1} << 20;
constexpr size_t kMaxObjects = 256;
constexpr size_t kMaxDescriptors = 253;  // what the kernel passes with one message

constexpr uint32_t kFrameMagic = 0x4d48464c;

enum class FrameKind : uint32_t { kTransaction = 1, kReply = 2, kRelease = 3 };

struct FrameHeader {
    uint32_t magic = kFrameMagic;
    FrameKind kind = FrameKind::kTransaction;
    /** Transaction: the caller's number for it, 0 for one-way. Reply: that number again. */
    uint64_t callId = 0;
    /** Transaction: the receiver's call that the sender is serving; its caller runs this one. */
    uint64_t parentCallId = 0;
    /** Transaction, release: the receiver's object. */
    uint64_t objectId = 0;
    /** Release: how many references are given back. */
    uint64_t references = 0;
    uint32_t code = 0;
    uint32_t flags = 0;
    /** Reply: what the call returned; if not OK, nothing follows. */
    int32_t status = 0;
    uint32_t itemBytes = 0;
    uint32_t objectCount = 0;
    uint32_t descriptorCount = 0;
};
static_assert(sizeof(FrameHeader) == 64);

enum class ObjectOwner : uint64_t { kSender = 0, kReceiver = 1 };

/** An object in a message, by the number that its owner has given it. */
struct ObjectReference {
    uint64_t objectId = 0;
    ObjectOwner owner = ObjectOwner::kSender;
};

struct Frame {
    FrameHeader header;
    std::vector<uint8_t> items;
    std::vector<ObjectReference> objects;
    std::vector<unique_fd> descriptors;
};

/** @return 0 or the error number of the socket, after which it is of no more use. */
int sendFrame(int socket, const FrameHeader& header, const std::vector<uint8_t>& items,
              const std::vector<ObjectReference>& objects, const std::vector<int>& descriptors);

/**
 * Waits for one message.
 * @param problem what is wrong if none comes; null at the end of the connection
 */
bool receiveFrame(int socket, Frame* frame, const char** problem);

}  // namespace android::hardware::details
