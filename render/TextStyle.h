#pragma once

#include "style/Color.h"
#include "style/Font.h"
#include "style/View.h"

#include <optional>

namespace render {

// Everything that shapes and draws one text, after the environment has flowed down.
struct TextStyle {
    Font font;
    Color color;
    std::optional<int> lineLimit;
    TextAlignment alignment = TextAlignment::leading;

    bool operator==(const TextStyle&) const = default;
};

}  // namespace render
