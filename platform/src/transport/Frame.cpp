// See Frame.h.
#include "transport/Frame.h"

#include <sys/socket.h>
#include <sys/uio.h>

#include <cerrno>
#include <cstring>

namespace android::hardware::details {

namespace {

union DescriptorMessage {
    cmsghdr header;
    char bytes[CMSG_SPACE(kMaxDescriptors * sizeof(int))];
};

/** Drops the first `count` bytes of the message. */
void advance(msghdr* message, size_t count) {
    while (count > 0) {
        iovec& part = *message->msg_iov;
        if (count < part.iov_len) {
            part.iov_base = static_cast<char*>(part.iov_base) + count;
            part.iov_len -= count;
            return;
        }
        count -= part.iov_len;
        ++message->msg_iov;
        --message->msg_iovlen;
    }
}

iovec part(const void* bytes, size_t size) {
    return {const_cast<void*>(bytes), size};
}

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

/** Reads exactly `size` bytes. kEnd only before the first one. */
Received receiveBytes(int socket, void* bytes, size_t size, std::vector<unique_fd>* descriptors,
                      const char** problem) {
    size_t received = 0;
    while (received < size) {
        DescriptorMessage control;
        iovec rest = part(static_cast<char*>(bytes) + received, size - received);
        msghdr message{};
        message.msg_iov = &rest;
        message.msg_iovlen = 1;
        message.msg_control = &control;
        message.msg_controllen = sizeof(control);
        const ssize_t count = recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            *problem = "a message ended too early";
            return received == 0 ? Received::kEnd : Received::kMalformed;
        }
        if (!takeDescriptors(&message, descriptors)) {
            *problem = "a message has too many descriptors";
            return Received::kMalformed;
        }
        received += static_cast<size_t>(count);
    }
    return Received::kFrame;
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
    iovec parts[] = {part(&header, sizeof(header)), part(items.data(), items.size()),
                     part(objects.data(), objects.size() * sizeof(ObjectReference))};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = 3;

    DescriptorMessage control{};
    if (!descriptors.empty()) {
        const size_t bytes = descriptors.size() * sizeof(int);
        control.header.cmsg_level = SOL_SOCKET;
        control.header.cmsg_type = SCM_RIGHTS;
        control.header.cmsg_len = CMSG_LEN(bytes);
        std::memcpy(CMSG_DATA(&control.header), descriptors.data(), bytes);
        message.msg_control = &control;
        message.msg_controllen = CMSG_SPACE(bytes);
    }

    size_t left = sizeof(header) + parts[1].iov_len + parts[2].iov_len;
    while (left > 0) {
        const ssize_t count = sendmsg(socket, &message, MSG_NOSIGNAL);
        if (count < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        left -= static_cast<size_t>(count);
        advance(&message, static_cast<size_t>(count));
        message.msg_control = nullptr;
        message.msg_controllen = 0;
    }
    return 0;
}

Received receiveFrame(int socket, Frame* frame, const char** problem) {
    Received received =
        receiveBytes(socket, &frame->header, sizeof(frame->header), &frame->descriptors, problem);
    if (received != Received::kFrame) return received;
    *problem = problemWith(frame->header);
    if (*problem != nullptr) return Received::kMalformed;

    frame->items.resize(frame->header.itemBytes);
    frame->objects.resize(frame->header.objectCount);
    const auto receiveBody = [&](void* bytes, size_t size) {
        received = receiveBytes(socket, bytes, size, &frame->descriptors, problem);
        return received == Received::kFrame;
    };
    if (!receiveBody(frame->items.data(), frame->items.size()) ||
        !receiveBody(frame->objects.data(), frame->objects.size() * sizeof(ObjectReference))) {
        return Received::kMalformed;
    }
    if (frame->descriptors.size() != frame->header.descriptorCount) {
        *problem = "a message lacks descriptors or has some too many";
        return Received::kMalformed;
    }
    return Received::kFrame;
}

}  // namespace android::hardware::details
