#pragma once

// The platform's names of the view vocabulary's enumerations ("leading", "topLeading",
// "semibold", "continuous"), shared by the tree and frame dumps.

#include "ui/Font.h"
#include "ui/View.h"

#include <string>
#include <string_view>

namespace ui {

[[nodiscard]] std::string_view name(HorizontalAlignment alignment);
[[nodiscard]] std::string_view name(VerticalAlignment alignment);
[[nodiscard]] std::string name(Alignment alignment);
[[nodiscard]] std::string_view name(TextAlignment alignment);
[[nodiscard]] std::string_view name(TextCase textCase);
[[nodiscard]] std::string_view name(FontWeight weight);
[[nodiscard]] std::string_view name(FontDesign design);
[[nodiscard]] std::string_view name(RoundedCornerStyle style);
[[nodiscard]] std::string_view name(ContainerBackgroundPlacement placement);

}  // namespace ui
