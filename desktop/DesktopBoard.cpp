#include "desktop/DesktopBoard.h"

#include <algorithm>

using namespace timeline;
using namespace hosting;

namespace desktop {

DesktopBoard::DesktopBoard(const std::vector<Placement>& placements) {
    for (const auto& placement : placements) (void)place(placement);
}

bool DesktopBoard::place(const Placement& placement) {
    if (std::find(m_placements.begin(), m_placements.end(), placement) != m_placements.end())
        return false;
    m_placements.push_back(placement);
    m_schedules.emplace_back(std::vector<Placement>{placement});
    return true;
}

void DesktopBoard::remove(std::size_t index) {
    m_placements.erase(m_placements.begin() + std::ptrdiff_t(index));
    m_schedules.erase(m_schedules.begin() + std::ptrdiff_t(index));
}

void DesktopBoard::reloadNow(std::string_view kind) {
    for (std::size_t i = 0; i < m_placements.size(); ++i)
        if (kind.empty() || m_placements[i].kind == kind)
            m_schedules[i].reloadNow(m_placements[i].kind);
}

std::vector<std::size_t> DesktopBoard::dueAt(platform::Date now) const {
    std::vector<std::size_t> due;
    for (std::size_t i = 0; i < m_schedules.size(); ++i)
        if (!m_schedules[i].dueAt(now).empty()) due.push_back(i);
    return due;
}

std::vector<std::size_t> DesktopBoard::runDue(const TimelineSource& source,
                                              const platform::Clock& clock,
                                              std::vector<RequestFailure>& failures) {
    std::vector<std::size_t> answered;
    for (std::size_t i = 0; i < m_schedules.size(); ++i) {
        const auto failed = failures.size();
        if (!m_schedules[i].runDue(source, clock, failures).empty()) answered.push_back(i);
        for (auto f = failures.begin() + std::ptrdiff_t(failed); f != failures.end(); ++f)
            f->index = i;  // the board's index, not the schedule's
    }
    return answered;
}

RequestFailure DesktopBoard::drawingFailed(std::size_t index, platform::Error error,
                                           platform::Date now) {
    auto failure = m_schedules[index].drawingFailed(0, std::move(error), now);
    failure.index = index;
    return failure;
}

std::optional<platform::Date> DesktopBoard::nextReload() const {
    std::optional<platform::Date> earliest;
    for (const auto& schedule : m_schedules)
        if (const auto next = schedule.nextReload(); !earliest || next < *earliest) earliest = next;
    return earliest;
}

}  // namespace desktop
