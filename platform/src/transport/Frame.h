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
constexpr size_t kMaxDescriptors = 253;  // what the kernel passes with one message

constexpr uint32_t kFrameMagic = 0x4d48464c;

enum class FrameKind : uint32_t { kTransaction = 1, kReply = 2, kRelease = 3, kServed = 4 };

struct FrameHeader {
    uint32_t magic = kFrameMagic;
    FrameKind kind = FrameKind::kTransaction;
    /** Transaction: the caller's number of the call, 0 if one-way. Reply: the same number. */
    uint64_t callId = 0;
    /**
     * Transaction: the receiver's call that the sender is serving; this one runs on the thread that
     * waits for it.
     */
    uint64_t parentCallId = 0;
    /** Transaction, release: the receiver's object. */
    uint64_t objectId = 0;
    /** Release: how many references; served: how much of the window for one-way calls. */
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

/** An object in a message, by the number that its owner has given it. */
struct ObjectReference {
    uint64_t objectId = 0;
    ObjectOwner owner = ObjectOwner::kSender;
};

struct Frame {
    FrameHeader header;
    std::vector<uint8_t> items;
    std::vector<ObjectReference> objects;
    /** One that could not be received is not open. */
    std::vector<unique_fd> descriptors;

    bool isComplete() const;
};

/** Room for the descriptors of one message, as the kernel passes them. */
struct DescriptorMessage {
    alignas(cmsghdr) char bytes[CMSG_SPACE(kMaxDescriptors * sizeof(int))];
};

/**
 * Writes a message, in as many steps as the socket needs. The parts belong to the caller and must
 * not move.
 *
 * Threading: one thread at a time.
 */
class FrameWriter {
  public:
    /** @param more messages without a body, written after the first one */
    FrameWriter(const FrameHeader& header, const std::vector<uint8_t>& items,
                const std::vector<ObjectReference>& objects, const std::vector<int>& descriptors,
                const std::vector<FrameHeader>& more);
    // The message header points to the parts.
    FrameWriter(const FrameWriter&) = delete;
    FrameWriter& operator=(const FrameWriter&) = delete;

    /**
     * Writes as much as the socket takes without waiting.
     * @return 0 when all is written, EAGAIN when the socket has no room, or the error number of the
     * socket, which cannot be used any more
     */
    int writeSome(int socket);

    /**
     * Writes the rest, waiting for room.
     * @return 0, ETIMEDOUT if the peer has hardly read anything in the time, or the error number of
     * the socket
     */
    int writeRest(int socket, int timeoutMs);

  private:
    iovec parts_[4];
    msghdr message_{};
    DescriptorMessage control_;
};

/**
 * Assembles messages from the bytes of a socket, however they are cut up. Memory grows with the
 * bytes received, not with those that a header announces.
 *
 * Descriptors are closed at once, not kept, when the process is about to run out of them, and if
 * they are network sockets: closing those can take as long as the sender likes.
 *
 * Threading: one thread at a time.
 */
class FrameReader {
  public:
    enum class Outcome { kDone, kNotYet, kEnd };

    /**
     * Receives once what is there.
     * @param flags of recvmsg
     * @return kNotYet if nothing is there yet
     * @throw BrokenPeer
     */
    Outcome receive(int socket, int flags);

    /**
     * Takes the next message out of what was received.
     * @return false if no whole message is there
     * @throw BrokenPeer if the message is malformed
     */
    bool next(Frame* frame);

    /** Whether the last receive has left the socket empty; its end may follow. */
    bool isDrained() const { return isDrained_; }

    /** How many descriptors have come with incomplete messages. */
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
    /** The kernel could not pass all descriptors of the last message that has any. */
    bool isTruncated_ = false;
};

}  // namespace android::hardware::details
