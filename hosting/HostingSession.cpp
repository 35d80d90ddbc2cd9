#include "hosting/HostingSession.h"

#include <algorithm>
#include <chrono>

using namespace timeline;
using namespace ipc;

namespace hosting {

ReloadOutcome runReload(Extension& extension, const DueReload& due, const DrawingOptions& drawing) {
    ReloadOutcome outcome{due};
    outcome.reload = extension.reload(due.placement, Request::timeline, due.at, drawing.scale,
                                      drawing.encoding, drawing.cornerRadius);
    if (!outcome.reload && due.placeholderOnFailure && drawing.encoding != ImageEncoding::none)
        if (auto placeholder =
                extension.reload(due.placement, Request::placeholder, due.at, drawing.scale,
                                 drawing.encoding, drawing.cornerRadius))
            outcome.placeholder = std::move(placeholder).value();
    return outcome;
}

HostingSession::HostingSession(const std::vector<Placement>& placements,
                               std::optional<ReloadBudget> budget)
    : m_budget(budget) {
    for (const auto& placement : placements) (void)place(placement);
}

std::optional<std::size_t> HostingSession::indexOf(const Placement& placement) const {
    const auto found = std::find(m_placements.begin(), m_placements.end(), placement);
    if (found == m_placements.end()) return std::nullopt;
    return std::size_t(found - m_placements.begin());
}

bool HostingSession::place(const Placement& placement) {
    if (indexOf(placement)) return false;
    m_placements.push_back(placement);
    m_state.push_back({});
    m_state.back().generation = ++m_generations;
    return true;
}

void HostingSession::remove(std::size_t index) {
    m_placements.erase(m_placements.begin() + std::ptrdiff_t(index));
    m_state.erase(m_state.begin() + std::ptrdiff_t(index));
}

void HostingSession::reloadNow(std::string_view kind) {
    for (std::size_t i = 0; i < m_placements.size(); ++i)
        if (kind.empty() || m_placements[i].kind == kind) {
            m_state[i].reloadAfter = platform::Date::min();
            m_state[i].askedFor.reset();
            m_state[i].generation = ++m_generations;
        }
}

std::vector<DueReload> HostingSession::due(platform::Date now) const {
    std::vector<DueReload> due;
    for (std::size_t i = 0; i < m_placements.size(); ++i)
        if (const auto& state = m_state[i]; state.reloadAfter <= now)
            due.push_back({i, m_placements[i], now, !state.shown, state.generation});
    return due;
}

SessionUpdate HostingSession::apply(std::vector<ReloadOutcome> outcomes, platform::Date now) {
    SessionUpdate update;
    for (auto& outcome : outcomes) {
        const auto index = indexOf(outcome.due.placement);
        if (!index || m_state[*index].generation != outcome.due.generation) continue;
        const std::size_t i = *index;
        auto& state = m_state[i];
        if (!outcome.reload) {
            // Asked again after the back-off: the reload date it had has passed.
            state.reloadAfter = std::max(state.backoff.failed(now, std::nullopt),
                                         now + std::chrono::microseconds(1));
            state.askedFor.reset();
            update.failures.push_back(
                {i, m_placements[i], outcome.reload.error(), state.reloadAfter});
            if (outcome.placeholder && !state.shown) {
                state.shown = true;
                update.placeholders.push_back(
                    {i, m_placements[i], std::move(*outcome.placeholder)});
            }
            continue;
        }
        ExtensionReload reload = std::move(outcome.reload).value();
        const std::size_t number = state.latest ? state.latest->number + 1 : 1;
        TimelineRequestRecord record{i,
                                     number,
                                     m_placements[i],
                                     outcome.due.at,
                                     std::move(reload.timeline),
                                     std::move(reload.drawing),
                                     state.askedFor};
        // A reload date at or before now would make the host ask again at once, in a tight
        // loop: wait at least until the next moment after this request.
        const platform::Date asked =
            std::max(record.timeline.policy.date, now + std::chrono::microseconds(1));
        state.askedFor = asked;
        state.reloadAfter = m_budget ? m_budget->granted(asked, now) : asked;
        if (!record.drawing) state.backoff.succeeded();  // timelines alone: nothing to show
        state.latest = record;
        update.requests.push_back(std::move(record));
    }
    return update;
}

void HostingSession::shown(std::size_t index) {
    m_state[index].shown = true;
    m_state[index].backoff.succeeded();
}

RequestFailure HostingSession::drawingFailed(std::size_t index, platform::Error error,
                                             platform::Date now) {
    auto& state = m_state[index];
    state.reloadAfter = state.backoff.failed(now, state.reloadAfter);
    state.askedFor.reset();
    return {index, m_placements[index], std::move(error), state.reloadAfter};
}

std::optional<platform::Date> HostingSession::nextReload() const {
    if (m_state.empty()) return std::nullopt;
    return std::min_element(
               m_state.begin(), m_state.end(),
               [](const auto& a, const auto& b) { return a.reloadAfter < b.reloadAfter; })
        ->reloadAfter;
}

}  // namespace hosting
