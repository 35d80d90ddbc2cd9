#pragma once

#include "platform/Date.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace studio {

// A record the studio edits: the key the host app writes it under, and what the studio calls it.
struct StudioRecord {
    std::string_view key;
    std::string_view title;
};

// The three records, in the order the studio shows their editors.
[[nodiscard]] const std::array<StudioRecord, 3>& studioRecords();

// Where a record's text goes wrong for the widgets: the decoder's own message, and the part of
// the text it points at (the offset it names, or the member its key path names; the whole first
// line when it names neither).
struct RecordFault {
    std::string message;
    std::size_t offset = 0;
    std::size_t length = 0;

    bool operator==(const RecordFault&) const = default;
};

// What the widgets' decoder makes of `text` stored under `key`: nothing when it decodes (or the
// text is empty: the key is not set, and the widgets show what they show without the record).
[[nodiscard]] std::optional<RecordFault> checkRecord(std::string_view key, std::string_view text);

// The sample record for `key` that the studio opens with when the store holds none, dated `now`.
[[nodiscard]] std::string sampleRecord(std::string_view key, platform::Date now);

}  // namespace studio
