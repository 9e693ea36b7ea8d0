// One message on the socket between two processes: a header, items, objects, descriptors.
#pragma once

#include <android-base/unique_fd.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

namespace android::hardware::details {

using base::unique_fd;

// Limits of one message; a peer that exceeds them has broken the protocol.
constexpr size_t kMaxItemBytes = size_t{1} << 20;
constexpr size_t kMaxObjects = 256;
constexpr size_t kMaxDescriptors = 253;  // the kernel's limit for one message

constexpr uint32_t kFrameMagic = 0x4d48464c;

enum class FrameKind : uint32_t { kTransaction = 1, kReply = 2, kRelease = 3, kServed = 4 };

struct FrameHeader {
    uint32_t magic = kFrameMagic;
    FrameKind kind = FrameKind::kTransaction;
    /**
     * Transaction: the call's number, given by the caller; 0 if one-way. Reply: the same number.
     */
    uint64_t callId = 0;
    /**
     * Transaction: number of the receiver's call that the sender is serving; 0 if none. The
     * receiver serves this one on the thread that waits for that call.
     */
    uint64_t parentCallId = 0;
    /** Transaction, release: number of the receiver's object. */
    uint64_t objectId = 0;
    /** Release: number of references. Served: cost that the window for one-way calls gets back. */
    uint64_t givenBack = 0;
    uint32_t code = 0;
    uint32_t flags = 0;
    /** Reply: the call's status; if it is not OK, nothing follows. */
    int32_t status = 0;
    uint32_t itemBytes = 0;
    uint32_t objectCount = 0;
    uint32_t descriptorCount = 0;
};
static_assert(sizeof(FrameHeader) == 64);

enum class ObjectOwner : uint64_t { kSender = 0, kReceiver = 1 };

/** An object in a message, identified by the number that its owner has given it. */
struct ObjectReference {
    uint64_t objectId = 0;
    ObjectOwner owner = ObjectOwner::kSender;
};

struct Frame {
    FrameHeader header;
    std::vector<uint8_t> items;
    std::vector<ObjectReference> objects;
    /** A descriptor that could not be received is not ok(). */
    std::vector<unique_fd> descriptors;

    bool isComplete() const;
};

/** Control buffer for the descriptors of one message. */
struct DescriptorMessage {
    alignas(cmsghdr) char bytes[CMSG_SPACE(kMaxDescriptors * sizeof(int))];
};

/**
 * Writes a message, in as many steps as the socket needs. The caller owns the parts and must not
 * move them.
 *
 * Threading: one thread at a time.
 */
class FrameWriter {
  public:
    /** @param more messages without a body, written after the first one */
    FrameWriter(const FrameHeader& header, const std::vector<uint8_t>& items,
                const std::vector<ObjectReference>& objects, const std::vector<int>& descriptors,
                const std::vector<FrameHeader>& more);
    // Not movable: msghdr points to the members.
    FrameWriter(const FrameWriter&) = delete;
    FrameWriter& operator=(const FrameWriter&) = delete;

    /**
     * Writes as much as the socket takes without waiting.
     * @return 0 if everything is written, EAGAIN if the socket has no room, or another errno; then
     * the socket is unusable
     */
    int writeSome(int socket);

    /**
     * Writes the rest, waiting for room.
     * @return 0, ETIMEDOUT if the peer has read hardly anything in that time, or another errno
     */
    int writeRest(int socket, int timeoutMs);

  private:
    iovec parts_[4];
    msghdr message_{};
    DescriptorMessage control_;
};

/**
 * Assembles messages from the bytes of a socket, in whatever pieces they arrive. Memory grows with
 * the received bytes, not with the size that a header announces.
 *
 * Closes a descriptor at once if the process is about to run out of them, or if it is a network
 * socket: closing that later could block for as long as the sender likes.
 *
 * Threading: one thread at a time.
 */
class FrameReader {
  public:
    enum class Outcome { kDone, kNotYet, kEnd };

    /**
     * Calls recvmsg once.
     * @param flags of recvmsg
     * @return kNotYet if there was nothing to receive
     * @throw BrokenPeer
     */
    Outcome receive(int socket, int flags);

    /**
     * Takes the next message out of the received bytes.
     * @return false if no message is complete
     * @throw BrokenPeer if the message is malformed
     */
    bool next(Frame* frame);

    /**
     * Whether the last receive() has emptied the socket. The end of the stream may still follow.
     */
    bool isDrained() const { return isDrained_; }

    /** Number of descriptors that belong to incomplete messages. */
    size_t descriptorCount() const { return descriptors_.size(); }

  private:
    size_t unread() const { return end_ - begin_; }
    void makeRoom();
    void takeDescriptors(msghdr* message);

    std::unique_ptr<uint8_t[]> bytes_;
    size_t capacity_ = 0;
    size_t begin_ = 0;
    size_t end_ = 0;
    std::deque<unique_fd> descriptors_;
    bool isDrained_ = false;
    /** The kernel could not pass all descriptors of the last message with descriptors. */
    bool isTruncated_ = false;
};

}  // namespace android::hardware::details
