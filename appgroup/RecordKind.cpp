#include "appgroup/RecordKind.h"

#include "store/AppGroupStore.h"

#include <vector>

namespace appgroup {
namespace {

template <typename Record>
platform::Result<void> decodes(std::string_view json) {
    const auto decoded = AppGroupContainer::sharedDecoder().decode<Record>(json);
    if (!decoded) return decoded.error();
    return {};
}

}  // namespace

std::optional<RecordKind> recordKindOf(std::string_view key) {
    if (key == AppGroupContainer::dailyBriefKey) return RecordKind::dailyBrief;
    if (key == AppGroupContainer::watchlistTickersKey) return RecordKind::watchlistRows;
    if (key == AppGroupContainer::portfolioSnapshotKey) return RecordKind::portfolioSnapshot;
    return std::nullopt;
}

platform::Result<void> checkRecord(RecordKind kind, std::string_view json) {
    switch (kind) {
        case RecordKind::dailyBrief:
            return decodes<AppGroupContainer::DailyBrief>(json);
        case RecordKind::watchlistRows:
            return decodes<std::vector<AppGroupContainer::WatchlistRow>>(json);
        case RecordKind::portfolioSnapshot:
            return decodes<AppGroupContainer::PortfolioSnapshot>(json);
    }
    platform::fatal("unknown record kind");
}

}  // namespace appgroup
