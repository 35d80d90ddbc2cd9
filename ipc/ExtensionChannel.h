#pragma once

#include "ipc/ExtensionProtocol.h"
#include "platform/OwnedFd.h"
#include "platform/Result.h"

#include <chrono>
#include <optional>
#include <string>
#include <utility>

namespace ipc {

using platform::OwnedFd;

// Why a message did not come: its deadline passed, the other end closed the socket, what came
// was not a message of ours, or the socket failed.
struct ChannelError {
    enum class Kind { timedOut, closed, malformed, failed };
    Kind kind = Kind::failed;
    std::string description;

    bool operator==(const ChannelError&) const = default;
};

// A message received, with the descriptor that came with it (a drawing's memfd).
struct ReceivedMessage {
    ExtensionMessage message;
    platform::OwnedFd fd;
};

using Deadline = std::optional<std::chrono::steady_clock::time_point>;  // none: no limit

// One end of the socket between the host and its extension: whole frames out and in.
class ExtensionChannel {
public:
    explicit ExtensionChannel(platform::OwnedFd socket) : m_socket(std::move(socket)) {}

    // Sends the message's frame, and `fd` with it when there is one.
    platform::Result<void, ChannelError> send(const ExtensionMessage& message, int fd = -1);

    // The next whole message, waiting for it at most until `deadline`. What came of a message
    // whose deadline passed is kept for the next call.
    platform::Result<ReceivedMessage, ChannelError> receive(Deadline deadline);

    [[nodiscard]] int fd() const { return m_socket.get(); }

private:
    // Reads what the socket holds into m_buffer, keeping a descriptor that comes along.
    platform::Result<void, ChannelError> fill(Deadline deadline);

    platform::OwnedFd m_socket;
    std::string m_buffer;    // bytes received and not yet taken as a message
    platform::OwnedFd m_fd;  // a descriptor received with them
};

}  // namespace ipc
