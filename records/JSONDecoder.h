#pragma once

#include "platform/Result.h"
#include "records/DailyBrief.h"
#include "records/PortfolioSnapshot.h"
#include "records/WatchlistRow.h"

#include <cstddef>
#include <string_view>
#include <vector>

namespace AppGroupContainer {

// Decodes the shared records from their JSON text. Walks a record's fields in field order and
// stops at the first fault; a list of rows decodes whole or not at all. Dates are RFC 3339
// internet date-times, the only form the records use. Holds nothing, so one decoder serves
// every thread.
//
// Whatever the text, decoding is bounded: a document above `documentSizeLimit` bytes is
// refused unread, and parsing stops at the first array or object nested deeper than
// `depthLimit` levels, before anything below it is built. Records are a few kilobytes and a
// list of rows three levels deep.
class JSONDecoder {
public:
    static constexpr std::size_t documentSizeLimit = std::size_t{1} << 20;
    static constexpr int depthLimit = 64;

    // T is DailyBrief, PortfolioSnapshot, WatchlistRow (one JSON object each) or
    // std::vector<WatchlistRow> (one JSON array of row objects).
    template <typename T>
    [[nodiscard]] platform::Result<T> decode(std::string_view json) const;
};

template <>
platform::Result<DailyBrief> JSONDecoder::decode<DailyBrief>(std::string_view) const;
template <>
platform::Result<PortfolioSnapshot> JSONDecoder::decode<PortfolioSnapshot>(std::string_view) const;
template <>
platform::Result<WatchlistRow> JSONDecoder::decode<WatchlistRow>(std::string_view) const;
template <>
platform::Result<std::vector<WatchlistRow>> JSONDecoder::decode<std::vector<WatchlistRow>>(
    std::string_view) const;

}  // namespace AppGroupContainer
