#pragma once

#include "ui/View.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace layout {

// The most bytes of one text a screen reader is given: far more than any widget shows.
inline constexpr std::size_t readingTextLimit = 2048;

// The texts a view shows, in reading order (the tree's order), as the layout resolves them:
// fixed texts looked up and filled in, then the letter case they are drawn in; each cut to
// readingTextLimit bytes at a character boundary, "…" marking the cut.
[[nodiscard]] std::vector<std::string> readingOrderTexts(const ui::View& view,
                                                         std::string_view locale);

}  // namespace layout
