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

// What one message may carry; a peer that sends more is broken.
constexpr size_t kMaxItemBytes = size_t{1} << 20;
constexpr size_t kMaxObjects = 256;
constexpr size_t kMaxDescriptors = 253;  // what the kernel passes with one message

constexpr uint32_t kFrameMagic = 0x4d48464c;

enum class FrameKind : uint32_t { kTransaction = 1, kReply = 2, kRelease = 3, kServed = 4 };

struct FrameHeader {
    uint32_t magic = kFrameMagic;
    FrameKind kind = FrameKind::kTransaction;
    /** Transaction: the caller's number for it, 0 for one-way. Reply: that number again. */
    uint64_t callId = 0;
    /** Transaction: the receiver's call that the sender is serving; its caller runs this one. */
    uint64_t parentCallId = 0;
    /** Transaction, release: the receiver's object. */
    uint64_t objectId = 0;
    /** Release: how many references; served: how much of the window for one-way calls. */
    uint64_t givenBack = 0;
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
    /** Not open where one could not be taken. */
    std::vector<unique_fd> descriptors;

    bool isComplete() const;
};

/** Room for the descriptors of one message, as the kernel passes them. */
struct DescriptorMessage {
    alignas(cmsghdr) char bytes[CMSG_SPACE(kMaxDescriptors * sizeof(int))];
};

/**
 * Writes a message, in as many steps as the socket needs. What it writes stays the caller's, and
 * must stay where it is.
 *
 * Threading: one thread at a time.
 */
class FrameWriter {
  public:
    /** @param more messages that are headers alone, and follow the first one */
    FrameWriter(const FrameHeader& header, const std::vector<uint8_t>& items,
                const std::vector<ObjectReference>& objects, const std::vector<int>& descriptors,
                const std::vector<FrameHeader>& more);
    // The message header points to the parts.
    FrameWriter(const FrameWriter&) = delete;
    FrameWriter& operator=(const FrameWriter&) = delete;

    /**
     * Writes what the socket takes without waiting.
     * @return 0 when all is written, EAGAIN when there is no room for more yet, or the error number
     * of the socket, which is of no more use then
     */
    int writeSome(int socket);

    /**
     * Writes the rest. The peer has read far less than it should when the time is over.
     * @return 0, ETIMEDOUT, or the error number of the socket
     */
    int writeRest(int socket, int timeoutMs);

  private:
    iovec parts_[4];
    msghdr message_{};
    DescriptorMessage control_;
};

/**
 * Puts messages together from what a socket brings, however that is cut up. Memory grows with the
 * bytes that have come, not with those that a header announces.
 *
 * Descriptors are not taken when the process is about to run out of them, nor if they are sockets
 * of a network: to close one can take as long as its sender likes. They are closed at once.
 *
 * Threading: one thread at a time.
 */
class FrameReader {
  public:
    enum class Outcome { kDone, kNotYet, kEnd };

    /**
     * Receives what there is, once.
     * @param flags of recvmsg
     * @return kNotYet if there is nothing for now
     * @throw BrokenPeer
     */
    Outcome receive(int socket, int flags);

    /**
     * Takes out the next message of what was received.
     * @return false if it is not whole
     * @throw BrokenPeer if it makes no sense
     */
    bool next(Frame* frame);

    /** Whether the socket was empty after what was received last, but for its end. */
    bool isDrained() const { return isDrained_; }

    /** How many have come with messages that are not whole. */
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
    /** The kernel had no room for all descriptors of the last message that has any. */
    bool isTruncated_ = false;
};

}  // namespace android::hardware::details
