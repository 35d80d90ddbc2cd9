#pragma once

#include "platform/Date.h"
#include "platform/OwnedFd.h"
#include "platform/Result.h"

namespace platform {

// A timer on the wall clock that fires at a date, as a file descriptor to poll: the host sleeps
// until its next reload date with it. Set with an absolute date on CLOCK_REALTIME and asked to
// be cancelled when the clock is set, it wakes early whenever the system's time jumps (a user or
// NTP setting it; time passes as usual across a suspend), so that the sleeper can look at the
// time again without polling the clock now and then. Move-only: it owns its descriptor.
class WakeTimer {
public:
    [[nodiscard]] static Result<WakeTimer> create();

    // Fires at `date` (at once when it has passed), replacing any earlier setting.
    [[nodiscard]] Result<void> wakeAt(Date date);

    // Readable once the date has come or the clock was set.
    [[nodiscard]] int fd() const { return m_fd.get(); }

    // After fd() turned readable: clears it. Whether it fired or the clock was set, the caller
    // looks at the time and sets it again.
    void acknowledge() const;

private:
    explicit WakeTimer(int fd) : m_fd(fd) {}
    OwnedFd m_fd;
};

}  // namespace platform
