// See Frame.h.
#include "transport/Frame.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <cerrno>
#include <cstring>

namespace android::hardware::details {

namespace {

constexpr char kEndedTooEarly[] = "a message ended too early";

union DescriptorMessage {
    cmsghdr header;
    char bytes[CMSG_SPACE(kMaxDescriptors * sizeof(int))];
};

/** Takes the descriptors of a message; false if there are too many. */
bool takeDescriptors(msghdr* message, std::vector<unique_fd>* descriptors) {
    for (cmsghdr* control = CMSG_FIRSTHDR(message); control != nullptr;
         control = CMSG_NXTHDR(message, control)) {
        if (control->cmsg_level != SOL_SOCKET || control->cmsg_type != SCM_RIGHTS) continue;
        const size_t count = (control->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        for (size_t i = 0; i < count; ++i) {
            int fd;
            std::memcpy(&fd, CMSG_DATA(control) + i * sizeof(int), sizeof(fd));
            descriptors->emplace_back(fd);
        }
    }
    return (message->msg_flags & MSG_CTRUNC) == 0 && descriptors->size() <= kMaxDescriptors;
}

/** Reads exactly `size` bytes; an end before the first one is no problem of the message's. */
bool receiveBytes(int socket, void* bytes, size_t size, std::vector<unique_fd>* descriptors,
                  const char** problem) {
    size_t received = 0;
    while (received < size) {
        DescriptorMessage control;
        iovec rest{static_cast<char*>(bytes) + received, size - received};
        msghdr message{};
        message.msg_iov = &rest;
        message.msg_iovlen = 1;
        message.msg_control = &control;
        message.msg_controllen = sizeof(control);
        const ssize_t count = recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            if (received > 0) *problem = kEndedTooEarly;
            return false;
        }
        if (!takeDescriptors(&message, descriptors)) {
            *problem = "a message has too many descriptors";
            return false;
        }
        received += static_cast<size_t>(count);
    }
    return true;
}

const char* problemWith(const FrameHeader& header) {
    if (header.magic != kFrameMagic) return "a message does not start with a header";
    if (header.kind < FrameKind::kTransaction || header.kind > FrameKind::kRelease) {
        return "a message is of an unknown kind";
    }
    if (header.itemBytes > kMaxItemBytes || header.objectCount > kMaxObjects ||
        header.descriptorCount > kMaxDescriptors) {
        return "a message is too large";
    }
    return nullptr;
}

}  // namespace

int sendFrame(int socket, const FrameHeader& header, const std::vector<uint8_t>& items,
              const std::vector<ObjectReference>& objects, const std::vector<int>& descriptors) {
    std::vector<uint8_t> bytes;
    const auto append = [&bytes](const void* part, size_t size) {
        const auto* first = static_cast<const uint8_t*>(part);
        bytes.insert(bytes.end(), first, first + size);
    };
    append(&header, sizeof(header));
    append(items.data(), items.size());
    append(objects.data(), objects.size() * sizeof(ObjectReference));

    iovec rest{bytes.data(), bytes.size()};
    msghdr message{};
    message.msg_iov = &rest;
    message.msg_iovlen = 1;
    DescriptorMessage control{};
    if (!descriptors.empty()) {
        const size_t size = descriptors.size() * sizeof(int);
        control.header.cmsg_level = SOL_SOCKET;
        control.header.cmsg_type = SCM_RIGHTS;
        control.header.cmsg_len = CMSG_LEN(size);
        std::memcpy(CMSG_DATA(&control.header), descriptors.data(), size);
        message.msg_control = &control;
        message.msg_controllen = CMSG_SPACE(size);
    }

    while (rest.iov_len > 0) {
        const ssize_t count = sendmsg(socket, &message, MSG_NOSIGNAL);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        rest.iov_base = static_cast<uint8_t*>(rest.iov_base) + count;
        rest.iov_len -= static_cast<size_t>(count);
        message.msg_control = nullptr;
        message.msg_controllen = 0;
    }
    return 0;
}

bool receiveFrame(int socket, Frame* frame, const char** problem) {
    const auto receive = [&](void* bytes, size_t size) {
        return receiveBytes(socket, bytes, size, &frame->descriptors, problem);
    };
    *problem = nullptr;
    if (!receive(&frame->header, sizeof(frame->header))) return false;
    *problem = problemWith(frame->header);
    if (*problem != nullptr) return false;

    frame->items.resize(frame->header.itemBytes);
    frame->objects.resize(frame->header.objectCount);
    *problem = kEndedTooEarly;
    if (!receive(frame->items.data(), frame->items.size()) ||
        !receive(frame->objects.data(), frame->objects.size() * sizeof(ObjectReference))) {
        return false;
    }
    const bool isWhole = frame->descriptors.size() == frame->header.descriptorCount;
    *problem = isWhole ? nullptr : "a message lacks descriptors or has some too many";
    return isWhole;
}

}  // namespace android::hardware::details
