#pragma once

#include "platform/OwnedFd.h"
#include "platform/Result.h"

#include <optional>
#include <string_view>

namespace platform {

// SIGINT and SIGTERM as the long-running host takes them: not through a handler that may run
// on any thread at any moment, but as a file descriptor that becomes readable, polled beside
// the host's timers and its worker. For that the two signals must be blocked in every thread,
// and threads inherit their mask from the thread that starts them, so the program blocks them
// first thing in `main` (libraries such as Pango start threads of their own later).

// Blocks SIGINT and SIGTERM in the calling thread, and so in every thread it starts after, and
// ignores SIGPIPE and SIGXFSZ: a write to a closed pipe (output piped to `head`) or past the
// file size limit (`ulimit -f`) then fails with an error the writer handles instead of ending
// the process half-way through a file.
void blockStopSignals();

// Gives SIGINT and SIGTERM back to their default action, ending the process: for commands that
// do not take them. Call before any thread starts.
void unblockStopSignals();

// A signalfd for SIGINT and SIGTERM. Move-only: it owns its file descriptor.
class StopSignals {
public:
    [[nodiscard]] static Result<StopSignals> open();

    // Readable while a stop signal is pending.
    [[nodiscard]] int fd() const { return m_fd.get(); }
    // The pending stop signal's name ("SIGINT", "SIGTERM"), taking it; none when none is pending.
    [[nodiscard]] std::optional<std::string_view> take() const;

private:
    explicit StopSignals(int fd) : m_fd(fd) {}
    OwnedFd m_fd;
};

}  // namespace platform
