#pragma once

// The declarative view vocabulary: a view is a value tree of primitives, each carrying the
// modifiers written after it. Modifier i wraps the primitive and modifiers 0..i-1, so
// `.padding(6).background(c).clipShape(r)` fills under the padding and clips fill and
// content together. Build trees with the functions at the end of this file.

#include "platform/Url.h"
#include "ui/Color.h"
#include "ui/Font.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace ui {

inline constexpr double infinity = std::numeric_limits<double>::infinity();

enum class HorizontalAlignment { leading, center, trailing };
enum class VerticalAlignment { top, center, bottom, firstTextBaseline };

// A two-dimensional alignment, as frames use it.
struct Alignment {
    HorizontalAlignment horizontal = HorizontalAlignment::center;
    VerticalAlignment vertical = VerticalAlignment::center;

    static const Alignment center;
    static const Alignment leading;
    static const Alignment trailing;
    static const Alignment top;
    static const Alignment bottom;
    static const Alignment topLeading;

    bool operator==(const Alignment&) const = default;
};
inline constexpr Alignment Alignment::center{HorizontalAlignment::center,
                                             VerticalAlignment::center};
inline constexpr Alignment Alignment::leading{HorizontalAlignment::leading,
                                              VerticalAlignment::center};
inline constexpr Alignment Alignment::trailing{HorizontalAlignment::trailing,
                                               VerticalAlignment::center};
inline constexpr Alignment Alignment::top{HorizontalAlignment::center, VerticalAlignment::top};
inline constexpr Alignment Alignment::bottom{HorizontalAlignment::center,
                                             VerticalAlignment::bottom};
inline constexpr Alignment Alignment::topLeading{HorizontalAlignment::leading,
                                                 VerticalAlignment::top};

enum class TextAlignment { leading, center, trailing };
enum class TextCase { uppercase, lowercase };
enum class RoundedCornerStyle { circular, continuous };

struct RoundedRectangle {
    double cornerRadius = 0;
    RoundedCornerStyle style = RoundedCornerStyle::continuous;

    bool operator==(const RoundedRectangle&) const = default;
};

// A set of edges, for padding.
enum class Edges : unsigned {
    top = 1,
    leading = 2,
    bottom = 4,
    trailing = 8,
    horizontal = leading | trailing,
    vertical = top | bottom,
    all = top | leading | bottom | trailing,
};

struct EdgeInsets {
    double top = 0;
    double leading = 0;
    double bottom = 0;
    double trailing = 0;

    [[nodiscard]] static constexpr EdgeInsets on(Edges edges, double length) {
        auto has = [edges](Edges e) { return (unsigned(edges) & unsigned(e)) != 0; };
        return {has(Edges::top) ? length : 0, has(Edges::leading) ? length : 0,
                has(Edges::bottom) ? length : 0, has(Edges::trailing) ? length : 0};
    }
    bool operator==(const EdgeInsets&) const = default;
};

// A fixed text of the views: looked up in the string table by its key (the English text),
// shown as the key when no translation exists. The key holds "%@" for a text argument or
// "%lld" for an integer argument.
struct LocalizedStringKey {
    using Argument = std::variant<std::string, std::int64_t>;

    std::string key;
    std::optional<Argument> argument;

    LocalizedStringKey(const char* key) : key(key) {}  // NOLINT: reads like the platform
    explicit LocalizedStringKey(std::string key, std::optional<Argument> argument = std::nullopt)
        : key(std::move(key)), argument(std::move(argument)) {}

    bool operator==(const LocalizedStringKey&) const = default;
};

// A text from data: shown as it is, never looked up.
struct Verbatim {
    std::string text;
    bool operator==(const Verbatim&) const = default;
};

struct SystemName {
    std::string name;
    bool operator==(const SystemName&) const = default;
};

// A flexible grid column.
struct GridItem {
    double minimum = 10;
    double maximum = infinity;
    std::optional<double> spacing;  // after this column; the default when none

    [[nodiscard]] static GridItem flexible(double minimum = 10, double maximum = infinity) {
        return {minimum, maximum, std::nullopt};
    }
    bool operator==(const GridItem&) const = default;
};

struct View;

// ---- Primitives ----

struct EmptyView {  // the untaken side of a condition: takes no space and no spacing
    bool operator==(const EmptyView&) const = default;
};
struct TextNode {
    std::variant<LocalizedStringKey, Verbatim> content;
    bool operator==(const TextNode&) const = default;
};
struct ImageNode {
    std::string systemName;
    bool operator==(const ImageNode&) const = default;
};
struct SpacerNode {
    std::optional<double> minLength;  // the platform default when none
    bool operator==(const SpacerNode&) const = default;
};
struct DividerNode {
    bool operator==(const DividerNode&) const = default;
};
struct VStackNode {
    HorizontalAlignment alignment = HorizontalAlignment::center;
    std::optional<double> spacing;
    std::vector<View> children;
    bool operator==(const VStackNode&) const = default;
};
struct HStackNode {
    VerticalAlignment alignment = VerticalAlignment::center;
    std::optional<double> spacing;
    std::vector<View> children;
    bool operator==(const HStackNode&) const = default;
};
struct LazyVGridNode {
    std::vector<GridItem> columns;
    HorizontalAlignment alignment = HorizontalAlignment::center;
    std::optional<double> spacing;  // between grid rows
    std::vector<View> children;
    bool operator==(const LazyVGridNode&) const = default;
};
// One child per element, each with its element's identity. Containers lay the children
// out as if written in place.
struct ForEachNode {
    std::vector<std::string> ids;
    std::vector<View> children;
    bool operator==(const ForEachNode&) const = default;
};
// Several views that a container places as if written in place (a view builder's tuple).
struct GroupNode {
    std::vector<View> children;
    bool operator==(const GroupNode&) const = default;
};

// ---- Modifiers ----

struct FontModifier {
    Font font;
    bool operator==(const FontModifier&) const = default;
};
struct ForegroundColorModifier {
    Color color;
    bool operator==(const ForegroundColorModifier&) const = default;
};
struct LineLimitModifier {
    std::optional<int> limit;
    bool operator==(const LineLimitModifier&) const = default;
};
struct TextCaseModifier {
    std::optional<TextCase> textCase;
    bool operator==(const TextCaseModifier&) const = default;
};
struct MultilineTextAlignmentModifier {
    TextAlignment alignment = TextAlignment::leading;
    bool operator==(const MultilineTextAlignmentModifier&) const = default;
};
// A flexible frame: each bound absent means "the child's own".
struct FrameModifier {
    std::optional<double> minWidth;
    std::optional<double> maxWidth;
    std::optional<double> minHeight;
    std::optional<double> maxHeight;
    Alignment alignment = Alignment::center;
    bool operator==(const FrameModifier&) const = default;
};
struct PaddingModifier {
    EdgeInsets insets;
    bool operator==(const PaddingModifier&) const = default;
};
struct BackgroundModifier {
    Color fill;
    bool operator==(const BackgroundModifier&) const = default;
};
struct ClipShapeModifier {
    RoundedRectangle shape;
    bool operator==(const ClipShapeModifier&) const = default;
};
struct WidgetURLModifier {
    std::optional<platform::Url> url;
    bool operator==(const WidgetURLModifier&) const = default;
};
enum class ContainerBackgroundPlacement { widget };
struct ContainerBackgroundModifier {
    Color color;
    ContainerBackgroundPlacement placement = ContainerBackgroundPlacement::widget;
    bool operator==(const ContainerBackgroundModifier&) const = default;
};

using Modifier =
    std::variant<FontModifier, ForegroundColorModifier, LineLimitModifier, TextCaseModifier,
                 MultilineTextAlignmentModifier, FrameModifier, PaddingModifier, BackgroundModifier,
                 ClipShapeModifier, WidgetURLModifier, ContainerBackgroundModifier>;

// ---- The view value ----

struct View {
    using Node = std::variant<EmptyView, TextNode, ImageNode, SpacerNode, DividerNode, VStackNode,
                              HStackNode, LazyVGridNode, ForEachNode, GroupNode>;

    Node node;
    std::vector<Modifier> modifiers;  // innermost first

    bool operator==(const View&) const = default;

    // Fluent modifiers: each returns a new view wrapping this one.
    [[nodiscard]] View font(Font f) const& { return with(FontModifier{f}); }
    [[nodiscard]] View font(Font f) && { return std::move(*this).with(FontModifier{f}); }
    [[nodiscard]] View foregroundColor(Color c) const& { return with(ForegroundColorModifier{c}); }
    [[nodiscard]] View foregroundColor(Color c) && {
        return std::move(*this).with(ForegroundColorModifier{c});
    }
    [[nodiscard]] View lineLimit(std::optional<int> n) const& { return with(LineLimitModifier{n}); }
    [[nodiscard]] View lineLimit(std::optional<int> n) && {
        return std::move(*this).with(LineLimitModifier{n});
    }
    [[nodiscard]] View textCase(std::optional<TextCase> c) const& {
        return with(TextCaseModifier{c});
    }
    [[nodiscard]] View textCase(std::optional<TextCase> c) && {
        return std::move(*this).with(TextCaseModifier{c});
    }
    [[nodiscard]] View multilineTextAlignment(TextAlignment a) const& {
        return with(MultilineTextAlignmentModifier{a});
    }
    [[nodiscard]] View multilineTextAlignment(TextAlignment a) && {
        return std::move(*this).with(MultilineTextAlignmentModifier{a});
    }
    [[nodiscard]] View frame(FrameModifier f) const& { return with(f); }
    [[nodiscard]] View frame(FrameModifier f) && { return std::move(*this).with(f); }
    [[nodiscard]] View padding(Edges edges, double length) const& {
        return with(PaddingModifier{EdgeInsets::on(edges, length)});
    }
    [[nodiscard]] View padding(Edges edges, double length) && {
        return std::move(*this).with(PaddingModifier{EdgeInsets::on(edges, length)});
    }
    [[nodiscard]] View padding(double length) const& { return padding(Edges::all, length); }
    [[nodiscard]] View padding(double length) && {
        return std::move(*this).padding(Edges::all, length);
    }
    [[nodiscard]] View background(Color fill) const& { return with(BackgroundModifier{fill}); }
    [[nodiscard]] View background(Color fill) && {
        return std::move(*this).with(BackgroundModifier{fill});
    }
    [[nodiscard]] View clipShape(RoundedRectangle shape) const& {
        return with(ClipShapeModifier{shape});
    }
    [[nodiscard]] View clipShape(RoundedRectangle shape) && {
        return std::move(*this).with(ClipShapeModifier{shape});
    }
    [[nodiscard]] View widgetURL(std::optional<platform::Url> url) const& {
        return with(WidgetURLModifier{std::move(url)});
    }
    [[nodiscard]] View widgetURL(std::optional<platform::Url> url) && {
        return std::move(*this).with(WidgetURLModifier{std::move(url)});
    }
    [[nodiscard]] View containerBackground(Color color,
                                           ContainerBackgroundPlacement placement) const& {
        return with(ContainerBackgroundModifier{color, placement});
    }
    [[nodiscard]] View containerBackground(Color color, ContainerBackgroundPlacement placement) && {
        return std::move(*this).with(ContainerBackgroundModifier{color, placement});
    }

private:
    [[nodiscard]] View with(Modifier m) const& {
        View copy = *this;
        copy.modifiers.push_back(std::move(m));
        return copy;
    }
    [[nodiscard]] View with(Modifier m) && {
        modifiers.push_back(std::move(m));
        return std::move(*this);
    }
};

// ---- Builders, spelled as the platform spells them ----

struct VStackOptions {
    HorizontalAlignment alignment = HorizontalAlignment::center;
    std::optional<double> spacing;
};
struct HStackOptions {
    VerticalAlignment alignment = VerticalAlignment::center;
    std::optional<double> spacing;
};
struct LazyVGridOptions {
    std::vector<GridItem> columns;
    HorizontalAlignment alignment = HorizontalAlignment::center;
    std::optional<double> spacing;
};

[[nodiscard]] inline View VStack(VStackOptions options, std::vector<View> children) {
    return {VStackNode{options.alignment, options.spacing, std::move(children)}, {}};
}
[[nodiscard]] inline View HStack(HStackOptions options, std::vector<View> children) {
    return {HStackNode{options.alignment, options.spacing, std::move(children)}, {}};
}
[[nodiscard]] inline View LazyVGrid(LazyVGridOptions options, std::vector<View> children) {
    return {LazyVGridNode{std::move(options.columns), options.alignment, options.spacing,
                          std::move(children)},
            {}};
}
[[nodiscard]] inline View Text(LocalizedStringKey key) {
    return {TextNode{std::move(key)}, {}};
}
[[nodiscard]] inline View Text(const char* key) {
    return Text(LocalizedStringKey(key));
}
[[nodiscard]] inline View Text(Verbatim text) {
    return {TextNode{std::move(text)}, {}};
}
[[nodiscard]] inline View Image(SystemName symbol) {
    return {ImageNode{std::move(symbol.name)}, {}};
}
[[nodiscard]] inline View Spacer(std::optional<double> minLength = std::nullopt) {
    return {SpacerNode{minLength}, {}};
}
[[nodiscard]] inline View Divider() {
    return {DividerNode{}, {}};
}
[[nodiscard]] inline View Group(std::vector<View> children) {
    return {GroupNode{std::move(children)}, {}};
}
[[nodiscard]] inline View Empty() {
    return {EmptyView{}, {}};
}

// One child per element of `elements`, identified by the element's `id()`.
template <typename Range, typename Make>
[[nodiscard]] View ForEach(const Range& elements, Make make) {
    ForEachNode node;
    for (const auto& element : elements) {
        node.ids.emplace_back(element.id());
        node.children.push_back(make(element));
    }
    return {std::move(node), {}};
}

}  // namespace ui
