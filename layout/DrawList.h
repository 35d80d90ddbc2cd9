#pragma once

#include "layout/Geometry.h"
#include "layout/TextStyle.h"
#include "platform/Url.h"
#include "ui/Color.h"
#include "ui/View.h"

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace layout {

// Layout's output, the painters' only input: positioned drawing commands in paint order.

struct FillShape {  // a rectangle, rounded when cornerRadius > 0
    Rect rect;
    double cornerRadius = 0;
    ui::RoundedCornerStyle cornerStyle = ui::RoundedCornerStyle::continuous;
    ui::Color color;
    bool operator==(const FillShape&) const = default;
};
struct PushClip {  // intersects the clip with a (rounded) rectangle until the matching PopClip
    Rect rect;
    double cornerRadius = 0;
    ui::RoundedCornerStyle cornerStyle = ui::RoundedCornerStyle::continuous;
    bool operator==(const PushClip&) const = default;
};
struct PopClip {
    bool operator==(const PopClip&) const = default;
};
struct DrawText {  // `text` is final: looked up, arguments filled in, case applied
    Rect frame;
    std::string text;
    TextStyle style;
    bool operator==(const DrawText&) const = default;
};
struct DrawSymbol {
    Rect frame;
    std::string systemName;
    ui::Font font;
    ui::Color color;
    bool operator==(const DrawSymbol&) const = default;
};

using DrawCommand = std::variant<FillShape, PushClip, PopClip, DrawText, DrawSymbol>;

struct DrawList {
    Size canvas;
    std::vector<DrawCommand> commands;
    std::optional<platform::Url> url;  // the widget's tap link
    bool operator==(const DrawList&) const = default;
};

}  // namespace layout
