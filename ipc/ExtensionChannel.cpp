#include "ipc/ExtensionChannel.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

using namespace timeline;

namespace ipc {
namespace {

using Kind = ChannelError::Kind;

ChannelError socketError(const char* what, int error) {
    return {Kind::failed, std::string(what) + ": " + std::strerror(error)};
}

}  // namespace

platform::Result<void, ChannelError> ExtensionChannel::send(const ExtensionMessage& message,
                                                            int fd) {
    const std::string frame = encodeFrame(message);
    std::size_t sent = 0;
    while (sent < frame.size()) {
        iovec data{const_cast<char*>(frame.data() + sent), frame.size() - sent};
        msghdr header{};
        header.msg_iov = &data;
        header.msg_iovlen = 1;
        alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
        if (fd >= 0 && sent == 0) {  // the descriptor rides on the frame's first bytes
            header.msg_control = control;
            header.msg_controllen = sizeof control;
            cmsghdr* rights = CMSG_FIRSTHDR(&header);
            rights->cmsg_level = SOL_SOCKET;
            rights->cmsg_type = SCM_RIGHTS;
            rights->cmsg_len = CMSG_LEN(sizeof(int));
            std::memcpy(CMSG_DATA(rights), &fd, sizeof(int));
        }
        const ssize_t n = ::sendmsg(m_socket.get(), &header, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && (errno == EPIPE || errno == ECONNRESET))
            return ChannelError{Kind::closed, "the other end closed the socket"};
        if (n < 0) return socketError("cannot send", errno);
        sent += std::size_t(n);
    }
    return {};
}

platform::Result<void, ChannelError> ExtensionChannel::fill(Deadline deadline) {
    while (true) {
        int timeout = -1;
        if (deadline) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(
                *deadline - std::chrono::steady_clock::now());
            timeout = int(std::max<std::chrono::milliseconds::rep>(left.count(), 0));
        }
        pollfd ready{m_socket.get(), POLLIN, 0};
        const int polled = ::poll(&ready, 1, timeout);
        if (polled < 0 && errno == EINTR) continue;
        if (polled < 0) return socketError("cannot wait for the socket", errno);
        if (polled == 0) return ChannelError{Kind::timedOut, "no answer in time"};

        char bytes[65536];
        iovec data{bytes, sizeof bytes};
        alignas(cmsghdr) char control[CMSG_SPACE(4 * sizeof(int))];
        msghdr header{};
        header.msg_iov = &data;
        header.msg_iovlen = 1;
        header.msg_control = control;
        header.msg_controllen = sizeof control;
        const ssize_t n = ::recvmsg(m_socket.get(), &header, MSG_CMSG_CLOEXEC);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0 && errno == ECONNRESET)
            return ChannelError{Kind::closed, "the other end closed the socket"};
        if (n < 0) return socketError("cannot receive", errno);
        // Every descriptor that came is ours to close; the first one the frame's to keep.
        for (cmsghdr* c = CMSG_FIRSTHDR(&header); c != nullptr; c = CMSG_NXTHDR(&header, c)) {
            if (c->cmsg_level != SOL_SOCKET || c->cmsg_type != SCM_RIGHTS) continue;
            const std::size_t count = (c->cmsg_len - CMSG_LEN(0)) / sizeof(int);
            for (std::size_t i = 0; i < count; ++i) {
                int received = -1;
                std::memcpy(&received, CMSG_DATA(c) + i * sizeof(int), sizeof(int));
                OwnedFd owned(received);
                if (!m_fd.valid()) m_fd = std::move(owned);
            }
        }
        if (n == 0) return ChannelError{Kind::closed, "the other end closed the socket"};
        m_buffer.append(bytes, std::size_t(n));
        return {};
    }
}

platform::Result<ReceivedMessage, ChannelError> ExtensionChannel::receive(Deadline deadline) {
    while (m_buffer.size() < extensionFrameHeaderSize)
        if (auto filled = fill(deadline); !filled) return filled.error();
    const auto header = decodeFrameHeader(m_buffer);
    if (!header) return ChannelError{Kind::malformed, header.error().description};
    const std::size_t length = extensionFrameHeaderSize + header->payloadLength;
    while (m_buffer.size() < length)
        if (auto filled = fill(deadline); !filled) {
            auto error = filled.error();
            if (error.kind == Kind::closed) error.description += " in the middle of a message";
            return error;
        }
    auto message = decodeFramePayload(
        *header, std::string_view(m_buffer).substr(extensionFrameHeaderSize,
                                                   length - extensionFrameHeaderSize));
    m_buffer.erase(0, length);
    OwnedFd fd = std::move(m_fd);
    if (!message) return ChannelError{Kind::malformed, message.error().description};
    return ReceivedMessage{std::move(message).value(), std::move(fd)};
}

}  // namespace ipc
