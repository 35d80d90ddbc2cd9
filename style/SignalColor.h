#pragma once

#include "ui/Color.h"

#include <optional>
#include <string_view>

namespace style {

// The colour of an analyst signal: Palette::bullish, Palette::bearish or Palette::neutral.
[[nodiscard]] ui::Color signalColor(std::optional<std::string_view> signal);

}  // namespace style
