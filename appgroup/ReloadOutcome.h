#pragma once

#include "platform/Result.h"

#include <chrono>
#include <string>
#include <string_view>

namespace appgroup {

// What became of a request for new timelines.
struct ReloadOutcome {
    enum class Reach {
        taken,          // a running widget host took it
        noSessionBus,   // there is no session bus to ask on, or it did not answer
        noHostRunning,  // the bus answered, but no widget host owns its name there
    };
    Reach reach = Reach::taken;
    // Why there is no session bus, for a log line; empty otherwise.
    std::string detail;

    bool operator==(const ReloadOutcome&) const = default;
};

// Asks the widget host running on the session bus (the desktop board, or whichever host owns its
// bus name) for new timelines now: of widgets of `kind`, or of every kind when it is empty. The
// board's own action, as GApplication exports it, through a connection of the call's own that
// ends with it. No host is started to take it. Each bus step (connecting, asking who runs, the
// request) waits at most `timeout`. An error when a host was running but did not take the
// request.
[[nodiscard]] platform::Result<ReloadOutcome> requestReload(std::string_view kind,
                                                            std::chrono::milliseconds timeout);

}  // namespace appgroup
