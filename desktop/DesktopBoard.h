#pragma once

#include "hosting/Scheduler.h"
#include "platform/Clock.h"
#include "timeline/Placement.h"

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace desktop {

// The widgets on the desktop board and their timelines: the placements the user made, in their
// order, each with its own schedule (the host's scheduler over that one placement), so that
// placing or removing a widget leaves the others' timelines and reload dates as they are.
class DesktopBoard {
public:
    explicit DesktopBoard(const std::vector<timeline::Placement>& placements);

    [[nodiscard]] const std::vector<timeline::Placement>& placements() const {
        return m_placements;
    }

    // Adds `placement` at the end, due at once; false when it is on the board already.
    [[nodiscard]] bool place(const timeline::Placement& placement);
    void remove(std::size_t index);

    // Makes the placements of `kind`, or every placement when `kind` is empty, due at once.
    void reloadNow(std::string_view kind);

    // The placements due at `now`, by index, in placement order.
    [[nodiscard]] std::vector<std::size_t> dueAt(platform::Date now) const;
    // Asks every due placement for a timeline; the indexes of those answered, in placement
    // order. One whose request failed is in `failures` and asked again after a back-off.
    std::vector<std::size_t> runDue(const hosting::TimelineSource& source,
                                    const platform::Clock& clock,
                                    std::vector<hosting::RequestFailure>& failures);
    // A placement's drawing failed at `now`, or was drawn (Scheduler::drawingFailed, drawn).
    hosting::RequestFailure drawingFailed(std::size_t index, platform::Error error,
                                          platform::Date now);
    void drawn(std::size_t index) { m_schedules[index].drawn(0); }

    // The earliest date at which a placement falls due (platform::Date::min() while one is due
    // already); none on an empty board.
    [[nodiscard]] std::optional<platform::Date> nextReload() const;

    // A placement's last request; none before its first.
    [[nodiscard]] const std::optional<hosting::TimelineRequestRecord>& latest(
        std::size_t index) const {
        return m_schedules[index].latest(0);
    }

private:
    std::vector<timeline::Placement> m_placements;
    std::vector<hosting::Scheduler> m_schedules;  // one per placement
};

}  // namespace desktop
