#pragma once

#include "hosting/Extension.h"
#include "hosting/RetryBackoff.h"
#include "platform/Clock.h"
#include "platform/Result.h"
#include "timeline/Placement.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace hosting {

// One timeline request the scheduler made.
struct TimelineRequestRecord {
    std::size_t index = 0;   // the placement's position in the scheduler's list
    std::size_t number = 0;  // how many timelines the placement has been given, this one included
    timeline::Placement placement;
    platform::Date requestedAt;
    ipc::TimelineDates timeline;
    std::optional<ExtensionDrawing> drawing;  // its first entry, when the source drew it
};

// A placement whose request or drawing failed, and when it is asked again.
struct RequestFailure {
    std::size_t index = 0;
    timeline::Placement placement;
    platform::Error error;
    platform::Date retryAt;
};

// Where timelines come from: the extension process, whose reloads may fail and bring the first
// entry drawn.
using TimelineSource = std::function<platform::Result<ExtensionReload>(const timeline::Placement&,
                                                                       const platform::Clock&)>;

// The host's core, whatever shows the widgets (the `host` command's folder, a desktop board):
// the placed widgets and when each wants its next timeline. A placement is due when it has never
// been asked, when a reload of its kind was requested, or when the date its last timeline named
// has come; never before. The driver asks what is due, runs the due requests, and sleeps until
// the next reload date.
class Scheduler {
public:
    // At least one placement, none twice.
    explicit Scheduler(std::vector<timeline::Placement> placements);

    [[nodiscard]] const std::vector<timeline::Placement>& placements() const {
        return m_placements;
    }

    // The placements due at `now`, by index, in placement order.
    [[nodiscard]] std::vector<std::size_t> dueAt(platform::Date now) const;

    // Asks every placement due at the clock's now for a timeline, in placement order, and
    // remembers the reload date each answer names. The requests made; a request that failed is
    // in `failures`, and its placement is asked again after a back-off.
    std::vector<TimelineRequestRecord> runDue(const TimelineSource& source,
                                              const platform::Clock& clock,
                                              std::vector<RequestFailure>& failures);

    // A placement's drawing failed at `now`: it is asked again after the back-off, by its next
    // reload date at the latest.
    RequestFailure drawingFailed(std::size_t index, platform::Error error, platform::Date now);
    // A placement's entry was drawn: its next failure waits the shortest back-off again.
    void drawn(std::size_t index) { m_backoff.succeeded(index); }

    // The earliest moment at which a placement falls due; platform::Date::min() while one is due
    // whatever the time (never asked, or a reload requested).
    [[nodiscard]] platform::Date nextReload() const;

    // Makes every placement of `kind` due at once, whatever its last reload date said (the host
    // app asking to reload the timelines of one kind).
    void reloadNow(std::string_view kind);

    // A placement's last request; none before its first.
    [[nodiscard]] const std::optional<TimelineRequestRecord>& latest(std::size_t index) const {
        return m_latest[index];
    }

private:
    std::vector<timeline::Placement> m_placements;
    std::vector<platform::Date> m_reloadAfter;  // per placement
    std::vector<std::optional<TimelineRequestRecord>> m_latest;
    RetryBackoff m_backoff;
};

}  // namespace hosting
