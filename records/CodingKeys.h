#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace AppGroupContainer {

// A record's JSON keys: `Record::CodingKeys` has one case per field in field order, and
// `Record::codingKeyNames` the key text of each case. Keys have no integer form.

template <typename Record>
[[nodiscard]] constexpr std::string_view stringValue(typename Record::CodingKeys key) {
    return Record::codingKeyNames[static_cast<std::size_t>(key)];
}

// The case whose key is exactly `text` (keys are case-sensitive), or none.
template <typename Record>
[[nodiscard]] constexpr std::optional<typename Record::CodingKeys> codingKey(
    std::string_view text) {
    for (std::size_t i = 0; i < Record::codingKeyNames.size(); ++i)
        if (Record::codingKeyNames[i] == text) return static_cast<typename Record::CodingKeys>(i);
    return std::nullopt;
}

}  // namespace AppGroupContainer
