#pragma once

#include "hosting/Extension.h"
#include "hosting/ReloadBudget.h"
#include "hosting/RetryBackoff.h"
#include "ipc/ExtensionProtocol.h"
#include "platform/Date.h"
#include "platform/Result.h"
#include "timeline/Placement.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace hosting {

// How a host wants its drawings: the scale, the encoding (none: timelines alone, as a
// simulation runs) and the corners to cut (ARGB32 only).
struct DrawingOptions {
    double scale = 2;
    ipc::ImageEncoding encoding = ipc::ImageEncoding::png;
    double cornerRadius = 0;
};

// A reload a session wants made: the placement, by its index when it was asked, at `at`; its
// placeholder is wanted as well should the reload fail, when the placement shows nothing yet.
struct DueReload {
    std::size_t index = 0;
    timeline::Placement placement;
    platform::Date at;
    bool placeholderOnFailure = false;
    std::uint64_t generation =
        0;  // the placement's when asked: a reload asked since makes it stale
};

// What the extension made of a due reload.
struct ReloadOutcome {
    DueReload due;
    platform::Result<ExtensionReload> reload = platform::Error{"not asked"};
    std::optional<ExtensionReload> placeholder;  // drawn when the reload failed, if wanted
};

// Makes a due reload in the extension: one exchange, and a second for the placeholder when the
// reload failed and one is wanted. Touches nothing but `extension`, so a host may run it on a
// thread of its own while the session stays on another.
[[nodiscard]] ReloadOutcome runReload(Extension& extension, const DueReload& due,
                                      const DrawingOptions& drawing);

// One timeline request answered.
struct TimelineRequestRecord {
    std::size_t index = 0;   // the placement's position in the session
    std::size_t number = 0;  // how many timelines the placement has been given, this one included
    timeline::Placement placement;
    platform::Date requestedAt;
    ipc::TimelineDates timeline;
    std::optional<ExtensionDrawing> drawing;  // its first entry, unless none was asked
    // The reload date the placement's previous timeline named, when this request answered it
    // (not a first request, a retry or a reload the host app asked for); later than requestedAt
    // only when a budget held the reload back.
    std::optional<platform::Date> askedFor;

    // How long after the date its previous timeline named this request came, when a budget
    // held it back; zero otherwise.
    [[nodiscard]] std::chrono::microseconds lateBy() const {
        return askedFor && requestedAt > *askedFor ? requestedAt - *askedFor
                                                   : std::chrono::microseconds(0);
    }
};

// A placement whose reload or drawing failed, and when it is asked again.
struct RequestFailure {
    std::size_t index = 0;
    timeline::Placement placement;
    platform::Error error;
    platform::Date retryAt;
};

// A placeholder to show for a placement whose first reload failed.
struct PlaceholderDrawing {
    std::size_t index = 0;
    timeline::Placement placement;
    ExtensionReload reload;
};

// What a session made of the outcomes it was given.
struct SessionUpdate {
    std::vector<TimelineRequestRecord> requests;  // answered
    std::vector<RequestFailure> failures;         // failed, asked again at their retryAt
    std::vector<PlaceholderDrawing> placeholders;
};

// What every host runs, whatever shows the widgets (the `host` command's folder, the board): the
// placed widgets, when each wants its next timeline, the back-off of those that fail and the
// placeholder of one that has never shown anything. A placement is due when it has never been
// asked, when a reload of its kind was requested, or when the date its last timeline named has
// come; never before. Every host drives it the same way: it takes what is due, has the reloads
// made (runReload, on any thread), applies their outcomes, and sleeps until the next reload.
class HostingSession {
public:
    // With a budget, the session plays the platform: each placement's reloads keep the budget's
    // spacing, later than its timelines ask when they ask for more (a host of its own reloads
    // when its widgets ask).
    explicit HostingSession(const std::vector<timeline::Placement>& placements = {},
                            std::optional<ReloadBudget> budget = std::nullopt);

    [[nodiscard]] const std::vector<timeline::Placement>& placements() const {
        return m_placements;
    }

    // Adds `placement` at the end, due at once; false when it is placed already.
    [[nodiscard]] bool place(const timeline::Placement& placement);
    // Removes a placement; the others keep their timelines and reload dates.
    void remove(std::size_t index);

    // Makes every placement of `kind`, or every placement when it is empty, due at once,
    // whatever its last reload date said (the host app asking to reload one kind's timelines).
    // An outcome asked for before is stale: the placement stays due.
    void reloadNow(std::string_view kind);

    // The reloads due at `now`, in placement order.
    [[nodiscard]] std::vector<DueReload> due(platform::Date now) const;

    // Takes the outcomes of due reloads made at `now`: each answered placement waits for the
    // reload date its timeline named, each failed one for its back-off; the host then says
    // whether it could show each drawing (shown, drawingFailed). Outcomes of placements removed
    // or reloaded since they were asked are left out.
    SessionUpdate apply(std::vector<ReloadOutcome> outcomes, platform::Date now);

    // The host shows a placement's drawing: its next failure waits the shortest back-off again.
    void shown(std::size_t index);
    // A drawing the host could not show: asked again after the back-off, by the placement's next
    // reload date at the latest.
    RequestFailure drawingFailed(std::size_t index, platform::Error error, platform::Date now);

    // The earliest moment at which a placement falls due: platform::Date::min() while one is due
    // whatever the time; none without placements.
    [[nodiscard]] std::optional<platform::Date> nextReload() const;

    // A placement's last answered request; none before its first.
    [[nodiscard]] const std::optional<TimelineRequestRecord>& latest(std::size_t index) const {
        return m_state[index].latest;
    }

private:
    struct PlacementState {
        platform::Date reloadAfter = platform::Date::min();
        std::optional<platform::Date> askedFor;  // the reload date its timeline named
        RetryBackoff backoff;
        std::optional<TimelineRequestRecord> latest;
        bool shown = false;  // a drawing or its placeholder has been shown
        std::uint64_t generation = 0;
    };
    [[nodiscard]] std::optional<std::size_t> indexOf(const timeline::Placement& placement) const;

    std::vector<timeline::Placement> m_placements;
    std::vector<PlacementState> m_state;  // per placement
    std::optional<ReloadBudget> m_budget;
    std::uint64_t m_generations = 0;
};

}  // namespace hosting
