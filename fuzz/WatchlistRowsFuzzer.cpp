// Decoding the list of watchlist rows from any bytes: never crashes, describes every fault,
// ignores the order and spelling of the JSON, and decodes whole or not at all: the list
// decodes exactly when each element decodes alone as a row, to those rows in order, and a
// failing list names its first failing element with that element's own fault.
#include "fuzz/FuzzChecks.h"

#include <vector>

using AppGroupContainer::WatchlistRow;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto json = fuzz::text(data, size);
    const auto result = fuzz::decodeChecked<std::vector<WatchlistRow>>(json);
    fuzz::requireSameOutcomeWhenRewritten(json, result);

    const auto value = nlohmann::json::parse(json, nullptr, false);
    if (value.is_discarded() || !value.is_array()) {
        fuzz::require(!result.ok(), "only an array decodes as a list of rows", json);
        return 0;
    }
    std::vector<WatchlistRow> rows;
    for (std::size_t index = 0; index < value.size(); ++index) {
        auto row = fuzz::decodeChecked<WatchlistRow>(value[index].dump());
        if (!row) {
            fuzz::require(!result.ok(), "one bad row fails the whole list", json);
            const auto& listFault = result.error().description;
            const auto& rowFault = row.error().description;
            fuzz::require(listFault.starts_with("[" + std::to_string(index) + "]") &&
                              listFault.ends_with(rowFault),
                          "the list's fault names its first bad row and that row's fault",
                          listFault + "\n" + rowFault);
            return 0;
        }
        rows.push_back(std::move(row).value());
    }
    fuzz::require(result.ok() && result.value() == rows,
                  "a list of good rows decodes to exactly those rows, in order", json);
    return 0;
}
