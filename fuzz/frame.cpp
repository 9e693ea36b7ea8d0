// Any bytes on the socket, in pieces of any size, with any number of descriptors.
//
// An input is the bytes; at its end, three more for each piece: the number of its descriptors, and
// its size (two bytes; 0 for all that is left). They are read backwards.
#include "transport/Frame.h"

#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <vector>

#include "target.h"
#include "transport/BrokenPeer.h"

namespace {

using namespace android::hardware::details;
using Bytes = std::vector<uint8_t>;
using Outcome = FrameReader::Outcome;

/// Returns a descriptor to send, chosen by how many were sent before.
int descriptorToSend(size_t position) {
    static const int descriptors[] = {memfd_create("even", MFD_CLOEXEC),
                                      memfd_create("odd", MFD_CLOEXEC)};
    return descriptors[position % std::size(descriptors)];
}

ino_t inodeOf(int fd) {
    struct stat status {};
    VEK_ALWAYS_ASSERT(fstat(fd, &status) == 0);
    return status.st_ino;
}

/// @param position of the first of its descriptors
/// @return how many bytes the socket has taken
size_t sendPiece(int socket, Bytes piece, size_t position, size_t descriptors) {
    iovec part{piece.data(), piece.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    DescriptorMessage control{};
    if (descriptors > 0) {
        message.msg_control = &control;
        message.msg_controllen = CMSG_SPACE(descriptors * sizeof(int));
        cmsghdr* const header = CMSG_FIRSTHDR(&message);
        header->cmsg_level = SOL_SOCKET;
        header->cmsg_type = SCM_RIGHTS;
        header->cmsg_len = CMSG_LEN(descriptors * sizeof(int));
        std::generate_n(reinterpret_cast<int*>(CMSG_DATA(header)), descriptors,
                        [&] { return descriptorToSend(position++); });
    }
    const ssize_t count = sendmsg(socket, &message, MSG_DONTWAIT);
    return count < 0 ? 0 : static_cast<size_t>(count);
}

int unreadIn(int socket) {
    int unread = -1;
    ioctl(socket, FIONREAD, &unread);
    return unread;
}

/// Compares frames with the bytes and descriptors that were sent: exactly those must arrive, and
/// each frame as soon as it is complete.
class Comparison {
  public:
    size_t descriptorsSent() const { return descriptorsSent_; }
    void add(const Bytes& piece, size_t size, size_t descriptors) {
        descriptorsSent_ += size > 0 ? descriptors : 0;
        sent_.insert(sent_.end(), piece.begin(), piece.begin() + static_cast<ptrdiff_t>(size));
    }
    void check(const Frame& frame) {
        const FrameHeader& header = frame.header;
        VEK_ALWAYS_ASSERT(frame.items.size() == header.itemBytes);
        VEK_ALWAYS_ASSERT(frame.objects.size() == header.objectCount);
        VEK_ALWAYS_ASSERT(frame.descriptors.size() == header.descriptorCount);
        for (const unique_fd& descriptor : frame.descriptors) {
            VEK_ALWAYS_ASSERT(descriptorsTaken_ < descriptorsSent_);
            VEK_ALWAYS_ASSERT(inodeOf(descriptor.get()) ==
                              inodeOf(descriptorToSend(descriptorsTaken_++)));
        }
        take(&header, sizeof(header));
        take(frame.items.data(), frame.items.size());
        take(frame.objects.data(), frame.objects.size() * sizeof(ObjectReference));
    }
    void checkThatNoneIsWhole() const {
        FrameHeader header;
        if (rest() >= sizeof(header)) {
            std::memcpy(&header, &sent_[position_], sizeof(header));
            VEK_ALWAYS_ASSERT(rest() < sizeof(header) + header.itemBytes +
                                           header.objectCount * sizeof(ObjectReference));
        }
    }
    size_t rest() const { return sent_.size() - position_; }

  private:
    void take(const void* bytes, size_t size) {
        VEK_ALWAYS_ASSERT(size <= rest());
        VEK_ALWAYS_ASSERT(size == 0 || std::memcmp(bytes, &sent_[position_], size) == 0);
        position_ += size;
    }

    Bytes sent_;
    size_t position_ = 0;
    size_t descriptorsSent_ = 0;
    size_t descriptorsTaken_ = 0;
};

/// @return whether more can be read from the socket
bool readAll(FrameReader& reader, int socket, Comparison& comparison) {
    try {
        Outcome received = Outcome::kDone;
        while ((received = reader.receive(socket, MSG_DONTWAIT)) == Outcome::kDone) {
            VEK_ALWAYS_ASSERT(!reader.isDrained() || unreadIn(socket) == 0);
            for (Frame frame; reader.next(&frame);) {
                comparison.check(frame);
            }
        }
        if (received == Outcome::kNotYet) {
            VEK_ALWAYS_ASSERT(reader.isDrained());
            comparison.checkThatNoneIsWhole();
            return true;
        }
        VEK_ALWAYS_ASSERT(comparison.rest() == 0);
    } catch (const BrokenPeer&) {
    }
    return false;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider input{data, size};
    static_cast<void>(descriptorToSend(0));  // opens them
    const Fuzz::LeakCheck leaks;
    int ends[2];
    VEK_ALWAYS_ASSERT(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0);
    unique_fd sender{ends[0]};
    const unique_fd receiver{ends[1]};
    FrameReader reader;
    Comparison comparison;
    bool isOpen = true;
    while (isOpen && input.remaining_bytes() > 0) {
        const size_t pieceSize = input.ConsumeIntegral<uint16_t>();
        const auto descriptors = input.ConsumeIntegralInRange<size_t>(0, kMaxDescriptors);
        const Bytes piece = pieceSize == 0 ? input.ConsumeRemainingBytes<uint8_t>()
                                           : input.ConsumeBytes<uint8_t>(pieceSize);
        const size_t position = comparison.descriptorsSent();
        comparison.add(piece, sendPiece(sender.get(), piece, position, descriptors), descriptors);
        isOpen = readAll(reader, receiver.get(), comparison);
    }
    sender.reset();
    VEK_ALWAYS_ASSERT(!isOpen || !readAll(reader, receiver.get(), comparison));
    return 0;
}
