#pragma once

#include "ui/Color.h"
#include "ui/Font.h"
#include "ui/View.h"

#include <optional>

namespace layout {

// Everything that shapes and draws one text, after the environment has flowed down.
struct TextStyle {
    ui::Font font;
    ui::Color color;
    std::optional<int> lineLimit;
    ui::TextAlignment alignment = ui::TextAlignment::leading;

    bool operator==(const TextStyle&) const = default;
};

}  // namespace layout
