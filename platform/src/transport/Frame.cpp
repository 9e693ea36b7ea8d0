// Writes messages to a socket and reads them from it, including descriptors.
#include "transport/Frame.h"

#include <poll.h>
#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <iterator>
#include <utility>

#include "transport/BrokenPeer.h"

namespace android::hardware::details {

namespace {

// Nearly all messages are smaller.
constexpr size_t kSmallestBuffer = size_t{16} << 10;

void check(const FrameHeader& header) {
    if (header.magic != kFrameMagic) throw BrokenPeer("a message does not start with a header");
    if (header.kind < FrameKind::kTransaction || header.kind > FrameKind::kServed) {
        throw BrokenPeer("a message is of an unknown kind");
    }
    if (header.itemBytes > kMaxItemBytes || header.objectCount > kMaxObjects ||
        header.descriptorCount > kMaxDescriptors) {
        throw BrokenPeer("a message is too large");
    }
}

/**
 * Whether the descriptor lies in the last eighth of the limit, which is reserved for the program
 * itself.
 */
bool isReserved(int fd) {
    rlimit limit{};
    return getrlimit(RLIMIT_NOFILE, &limit) == 0 &&
           static_cast<rlim_t>(fd) >= limit.rlim_cur - limit.rlim_cur / 8;
}

/** Whether close() could block, as on a network socket with SO_LINGER. Turns that off, too. */
bool mayLinger(int fd) {
    int domain = AF_UNIX;
    socklen_t size = sizeof(domain);
    getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &size);
    if (domain == AF_UNIX) return false;
    constexpr linger kNone{};
    setsockopt(fd, SOL_SOCKET, SO_LINGER, &kNone, sizeof(kNone));
    return true;
}

}  // namespace

bool Frame::isComplete() const {
    return std::all_of(descriptors.begin(), descriptors.end(),
                       [](const unique_fd& descriptor) { return descriptor.ok(); });
}

// FrameWriter

FrameWriter::FrameWriter(const FrameHeader& header, const std::vector<uint8_t>& items,
                         const std::vector<ObjectReference>& objects,
                         const std::vector<int>& descriptors, const std::vector<FrameHeader>& more)
    // iovec has no const, although sendmsg only reads these.
    : parts_{
          {const_cast<FrameHeader*>(&header), sizeof(header)},
          {const_cast<uint8_t*>(items.data()), items.size()},
          {const_cast<ObjectReference*>(objects.data()), objects.size() * sizeof(ObjectReference)},
          {const_cast<FrameHeader*>(more.data()), more.size() * sizeof(FrameHeader)}} {
    message_.msg_iov = parts_;
    message_.msg_iovlen = std::size(parts_);
    if (descriptors.empty()) return;
    const size_t size = descriptors.size() * sizeof(int);
    std::memset(&control_, 0, CMSG_SPACE(size));
    message_.msg_control = &control_;
    message_.msg_controllen = CMSG_SPACE(size);
    cmsghdr* const control = CMSG_FIRSTHDR(&message_);
    control->cmsg_level = SOL_SOCKET;
    control->cmsg_type = SCM_RIGHTS;
    control->cmsg_len = CMSG_LEN(size);
    std::memcpy(CMSG_DATA(control), descriptors.data(), size);
}

int FrameWriter::writeSome(int socket) {
    while (message_.msg_iovlen > 0) {
        const ssize_t count = sendmsg(socket, &message_, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        // The descriptors were sent with the first byte.
        message_.msg_control = nullptr;
        message_.msg_controllen = 0;
        auto written = static_cast<size_t>(count);
        while (message_.msg_iovlen > 0 && written >= message_.msg_iov->iov_len) {
            written -= message_.msg_iov->iov_len;
            ++message_.msg_iov;
            --message_.msg_iovlen;
        }
        if (message_.msg_iovlen == 0) break;
        message_.msg_iov->iov_base = static_cast<uint8_t*>(message_.msg_iov->iov_base) + written;
        message_.msg_iov->iov_len -= written;
    }
    return 0;
}

int FrameWriter::writeRest(int socket, int timeoutMs) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    int error = writeSome(socket);
    while (error == EAGAIN) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd waiting{socket, POLLOUT, 0};
        // POLLOUT needs a quarter of the send buffer free. A time-out means that the peer hardly
        // reads.
        if (left.count() <= 0 || poll(&waiting, 1, static_cast<int>(left.count())) == 0) {
            return ETIMEDOUT;
        }
        error = writeSome(socket);
    }
    return error;
}

// FrameReader

void FrameReader::makeRoom() {
    if (unread() == 0) {
        begin_ = end_ = 0;
        // A buffer that has grown for a large message is freed.
        if (capacity_ > kSmallestBuffer) capacity_ = 0;
    }
    if (capacity_ - end_ >= kSmallestBuffer / 2) return;
    const size_t capacity = std::max(kSmallestBuffer, 2 * unread());
    std::unique_ptr<uint8_t[]> bytes(new uint8_t[capacity]);
    std::copy_n(bytes_.get() + begin_, unread(), bytes.get());
    end_ = unread();
    begin_ = 0;
    capacity_ = capacity;
    bytes_ = std::move(bytes);
}

void FrameReader::takeDescriptors(msghdr* message) {
    for (cmsghdr* control = CMSG_FIRSTHDR(message); control != nullptr;
         control = CMSG_NXTHDR(message, control)) {
        if (control->cmsg_level != SOL_SOCKET || control->cmsg_type != SCM_RIGHTS) continue;
        const size_t count = (control->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (size_t i = 0; i < count; ++i) {
            int fd;
            std::memcpy(&fd, CMSG_DATA(control) + i * sizeof(int), sizeof(fd));
            unique_fd& taken = descriptors_.emplace_back(fd);
            if (isReserved(fd) || mayLinger(fd)) taken.reset();
        }
    }
    if ((message->msg_flags & MSG_CTRUNC) != 0) isTruncated_ = true;
    // At most those of an incomplete message and those of the next one.
    if (descriptors_.size() > 2 * kMaxDescriptors) {
        throw BrokenPeer("a message has too many descriptors");
    }
}

FrameReader::Outcome FrameReader::receive(int socket, int flags) {
    makeRoom();
    DescriptorMessage control;
    iovec room{bytes_.get() + end_, capacity_ - end_};
    msghdr message{};
    message.msg_iov = &room;
    message.msg_iovlen = 1;
    message.msg_control = &control;
    message.msg_controllen = sizeof(control);
    const ssize_t count = recvmsg(socket, &message, flags | MSG_CMSG_CLOEXEC);
    isDrained_ = count < 0 && errno == EAGAIN;
    if (count < 0 && (errno == EAGAIN || errno == EINTR)) return Outcome::kNotYet;
    if (count <= 0) {
        if (unread() > 0) throw BrokenPeer("a message ended too early");
        return Outcome::kEnd;
    }
    takeDescriptors(&message);
    end_ += static_cast<size_t>(count);
    // recvmsg also stops early after a message with descriptors; then there may be more.
    isDrained_ = static_cast<size_t>(count) < room.iov_len && message.msg_controllen == 0 &&
                 (message.msg_flags & MSG_CTRUNC) == 0;
    return Outcome::kDone;
}

bool FrameReader::next(Frame* frame) {
    FrameHeader& header = frame->header;
    if (unread() < sizeof(header)) return false;
    std::memcpy(&header, bytes_.get() + begin_, sizeof(header));
    check(header);
    const size_t objectBytes = header.objectCount * sizeof(ObjectReference);
    const size_t size = sizeof(header) + header.itemBytes + objectBytes;
    if (unread() < size) return false;

    const uint8_t* const items = bytes_.get() + begin_ + sizeof(header);
    frame->items.assign(items, items + header.itemBytes);
    frame->objects.resize(header.objectCount);
    if (objectBytes > 0) std::memcpy(frame->objects.data(), items + header.itemBytes, objectBytes);
    begin_ += size;
    // A message's descriptors arrive with its first byte, so any others belong to the next message.
    if (header.descriptorCount > descriptors_.size() && std::exchange(isTruncated_, false)) {
        descriptors_.resize(header.descriptorCount);
    }
    if (header.descriptorCount > descriptors_.size() ||
        (unread() == 0 && header.descriptorCount < descriptors_.size())) {
        throw BrokenPeer("a message lacks descriptors or has some too many");
    }
    const auto end = descriptors_.begin() + header.descriptorCount;
    frame->descriptors.assign(std::make_move_iterator(descriptors_.begin()),
                              std::make_move_iterator(end));
    descriptors_.erase(descriptors_.begin(), end);
    return true;
}

}  // namespace android::hardware::details
