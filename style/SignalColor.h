#pragma once

#include "style/Color.h"

#include <optional>
#include <string_view>

// The colour of an analyst signal: Palette::bullish, Palette::bearish or Palette::neutral.
[[nodiscard]] Color signalColor(std::optional<std::string_view> signal);
