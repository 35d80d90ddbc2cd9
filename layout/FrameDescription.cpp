#include "layout/FrameDescription.h"

#include "layout/FrameDump.h"
#include "platform/Overloaded.h"
#include "ui/TreeDump.h"
#include "ui/ViewNames.h"

#include <string>
#include <variant>

namespace layout {

using namespace ui;
namespace {

std::string describeFont(const Font& font) {
    std::string out = dumpLength(font.size) + " " + std::string(name(font.weight));
    if (font.design == FontDesign::monospaced) out += " monospaced";
    return out;
}

std::string describeSpacing(const std::optional<double>& spacing) {
    return spacing ? ", spacing " + dumpLength(*spacing) : std::string();
}

std::string describe(const FrameModifier& f) {
    std::string out = "frame(";
    auto bound = [&](std::string_view label, const std::optional<double>& value) {
        if (!value) return;
        out += label;
        out += ' ';
        out += dumpLength(*value);
        out += ", ";
    };
    bound("minWidth", f.minWidth);
    bound("maxWidth", f.maxWidth);
    bound("minHeight", f.minHeight);
    bound("maxHeight", f.maxHeight);
    return out + name(f.alignment) + ")";
}

std::string describe(const EdgeInsets& e) {
    if (e.top == e.leading && e.top == e.bottom && e.top == e.trailing)
        return "padding(" + dumpLength(e.top) + ")";
    std::string out;
    auto edge = [&](std::string_view label, double value) {
        if (value == 0) return;
        if (!out.empty()) out += ", ";
        out += label;
        out += ' ';
        out += dumpLength(value);
    };
    edge("top", e.top);
    edge("leading", e.leading);
    edge("bottom", e.bottom);
    edge("trailing", e.trailing);
    return "padding(" + out + ")";
}

}  // namespace

LaidOutFrame describeNode(const View::Node& node, std::string_view text, const TextStyle& style) {
    using Frame = LaidOutFrame;
    return std::visit(
        platform::Overloaded{
            [](const EmptyView&) -> Frame { return {.description = "EmptyView"}; },
            [&](const TextNode&) -> Frame {
                std::string detail;
                if (style.lineLimit) detail += " lineLimit " + std::to_string(*style.lineLimit);
                if (style.alignment == TextAlignment::center) detail += " center";
                if (style.alignment == TextAlignment::trailing) detail += " trailing";
                return {.description = "Text " + dumpQuoted(text) + " " + describeFont(style.font),
                        .color = style.color,
                        .detail = std::move(detail)};
            },
            [&](const ImageNode& image) -> Frame {
                return {.description = "Image " + dumpQuoted(image.systemName) + " " +
                                       describeFont(style.font),
                        .color = style.color};
            },
            [](const SpacerNode& s) -> Frame {
                return {.description = s.minLength ? "Spacer(min " + dumpLength(*s.minLength) + ")"
                                                   : "Spacer"};
            },
            [](const DividerNode&) -> Frame { return {.description = "Divider"}; },
            [](const VStackNode& s) -> Frame {
                return {.description = "VStack(" + std::string(name(s.alignment)) +
                                       describeSpacing(s.spacing) + ")"};
            },
            [](const HStackNode& s) -> Frame {
                return {.description = "HStack(" + std::string(name(s.alignment)) +
                                       describeSpacing(s.spacing) + ")"};
            },
            [](const LazyVGridNode& g) -> Frame {
                return {.description = "LazyVGrid(" + std::to_string(g.columns.size()) +
                                       (g.columns.size() == 1 ? " column, " : " columns, ") +
                                       std::string(name(g.alignment)) + describeSpacing(g.spacing) +
                                       ")"};
            },
            [](const ForEachNode&) -> Frame { return {.description = "ForEach"}; },
            [](const GroupNode&) -> Frame { return {.description = "Group"}; },
        },
        node);
}

LaidOutFrame describeModifier(const Modifier& modifier) {
    using Frame = LaidOutFrame;
    return std::visit(
        platform::Overloaded{
            [](const FrameModifier& f) -> Frame { return {.description = describe(f)}; },
            [](const PaddingModifier& p) -> Frame { return {.description = describe(p.insets)}; },
            [](const BackgroundModifier& b) -> Frame {
                return {.description = "background", .color = b.fill};
            },
            [](const ClipShapeModifier& c) -> Frame {
                return {.description =
                            "clipShape(RoundedRectangle " + dumpLength(c.shape.cornerRadius) +
                            (c.shape.style == RoundedCornerStyle::continuous ? " continuous)"
                                                                             : " circular)")};
            },
            [](const ContainerBackgroundModifier& c) -> Frame {
                return {.description = "containerBackground", .color = c.color};
            },
            [](const auto&) -> Frame { return {}; },
        },
        modifier);
}

}  // namespace layout
