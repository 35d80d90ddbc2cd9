// Whatever decodes also encodes into the writing form, which decodes back to an equal record
// and encodes again to the same text. Each input is tried as every kind of record.
#include "fuzz/FuzzChecks.h"

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto json = fuzz::text(data, size);
    fuzz::requireRoundTrip<AppGroupContainer::DailyBrief>(json);
    fuzz::requireRoundTrip<AppGroupContainer::PortfolioSnapshot>(json);
    fuzz::requireRoundTrip<AppGroupContainer::WatchlistRow>(json);
    fuzz::requireRoundTrip<std::vector<AppGroupContainer::WatchlistRow>>(json);
    return 0;
}
