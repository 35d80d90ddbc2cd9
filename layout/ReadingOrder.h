#pragma once

#include "ui/View.h"

#include <string>
#include <string_view>
#include <vector>

namespace layout {

// The texts a view shows, in reading order (the tree's order), as the layout resolves them:
// fixed texts looked up and filled in, then the letter case they are drawn in.
[[nodiscard]] std::vector<std::string> readingOrderTexts(const ui::View& view,
                                                         std::string_view locale);

}  // namespace layout
