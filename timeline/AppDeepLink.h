#pragma once

#include "platform/Url.h"

#include <optional>
#include <string_view>

namespace timeline {

// The host app's deep link to one stock, which a tap on a widget opens: "velmora://stock-detail?
// ticker=" with the ticker appended unchanged (no escaping, no change of case, no trimming).
// None when that text is not a valid URL (a ticker with a space, say).
[[nodiscard]] std::optional<platform::Url> stockDetailURL(std::string_view ticker);

}  // namespace timeline
