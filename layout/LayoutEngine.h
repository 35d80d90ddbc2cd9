#pragma once

// The engine behind layout/Layout.h (whose entry points are in Layout.cpp), for the files
// that lay out one kind of view each:
//   LayoutEngine.cpp    the walk: environment, measuring with its cache, placing, leaves
//   ModifierLayout.cpp  frame, padding, background and clip
//   StackLayout.cpp     stacks (and groups standing alone): spacing, sharing out, alignment
//   GridLayout.cpp      flexible grid columns and rows
//   TextLayout.cpp      a text's string, style and fit to a proposal, bounded to what shows
//   FrameDescription.cpp  what the frames dump says of each node
// Nothing here is for the views: they reach layout through layout/Layout.h only.

#include "layout/Geometry.h"
#include "layout/LayoutResult.h"
#include "layout/PlatformDefaults.h"
#include "layout/ProposedSize.h"
#include "layout/TextMeasurer.h"
#include "layout/TextStyle.h"
#include "platform/Hash.h"
#include "ui/EnvironmentValues.h"
#include "ui/View.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace layout::detail {

enum class Axis { horizontal, vertical };

// What flows down to a view from the modifiers and the stack around it.
struct Env {
    ui::Font font = defaults::font;
    ui::Color color;
    std::optional<int> lineLimit;
    std::optional<ui::TextCase> textCase;
    ui::TextAlignment textAlignment = ui::TextAlignment::leading;
    std::optional<Axis> stackAxis;  // of the stack this view is a direct child of
    bool operator==(const Env&) const = default;
};

// A view at one level of its modifier chain: the node wrapped by modifiers[0, level).
struct ViewRef {
    const ui::View* view = nullptr;
    std::size_t level = 0;

    [[nodiscard]] ViewRef inner() const { return {view, level - 1}; }
    [[nodiscard]] const ui::Modifier& modifier() const { return view->modifiers[level - 1]; }
};

struct Measured {
    Size size;
    double baseline = 0;  // the first text baseline from the top; the bottom when no text
};

// A container's child after Group and ForEach children were spliced in.
struct Child {
    ViewRef ref;
    Env env;
};

struct PlacedChild {
    Child child;
    ProposedSize proposal;
    Measured measured;
    Point offset;  // from the container's origin
};

struct Arrangement {
    Measured measured;
    std::vector<PlacedChild> children;
};

// Font, colour, line limit, letter case and multi-line alignment: they change the environment
// of what they wrap and take no part in layout themselves.
[[nodiscard]] bool isEnvironmentModifier(const ui::Modifier& m);
// The widget link and the container background: neither environment nor layout.
[[nodiscard]] bool isPassThroughModifier(const ui::Modifier& m);
void apply(const ui::Modifier& m, Env& env);

// ---- Small geometry helpers ----

[[nodiscard]] inline double clampTo(double value, std::optional<double> lower,
                                    std::optional<double> upper) {
    if (upper) value = std::min(value, *upper);
    if (lower) value = std::max(value, *lower);
    return value;
}
[[nodiscard]] inline double along(Axis axis, Size size) {
    return axis == Axis::horizontal ? size.width : size.height;
}
[[nodiscard]] inline double across(Axis axis, Size size) {
    return axis == Axis::horizontal ? size.height : size.width;
}
[[nodiscard]] inline std::optional<double> along(Axis axis, ProposedSize p) {
    return axis == Axis::horizontal ? p.width : p.height;
}
[[nodiscard]] inline std::optional<double> across(Axis axis, ProposedSize p) {
    return axis == Axis::horizontal ? p.height : p.width;
}
[[nodiscard]] inline ProposedSize proposalOn(Axis axis, std::optional<double> main,
                                             std::optional<double> cross) {
    return axis == Axis::horizontal ? ProposedSize{main, cross} : ProposedSize{cross, main};
}
[[nodiscard]] double offsetFor(ui::HorizontalAlignment alignment, double free);
[[nodiscard]] double offsetFor(ui::VerticalAlignment alignment, double free);

// ---- Texts ----

// What a text's layout depends on: its string as drawn and the style's font, line limit and
// alignment. Nothing else of the environment changes it (the colour only paints it).
struct TextKey {
    std::string_view text;  // into the engine's resolved strings
    ui::Font font;
    std::optional<int> lineLimit;
    ui::TextAlignment alignment = ui::TextAlignment::leading;
    bool operator==(const TextKey&) const = default;
};
struct TextKeyHash {
    [[nodiscard]] std::size_t operator()(const TextKey& key) const;
};

// A text's measurements, made once per layout: its ideal size and every fit asked for.
struct TextMeasurements {
    struct Fit {
        double width;  // -1: unwrapped
        std::optional<int> lineLimit;
        std::size_t shown;  // bytes of the text that can show, given to the measurer
        TextMetrics metrics;
    };
    TextMetrics ideal;
    std::vector<Fit> fits;
};

// A text in its environment: what it says and how it is styled, and its measurements.
struct TextInfo {
    std::string_view text;
    TextStyle style;
    TextMeasurements* measurements = nullptr;
};

// How a text fits a proposal: its metrics, the line limit it is drawn with (its own or fewer
// lines when the height offered is short), and the part of its string that can show.
struct TextFit {
    TextMetrics metrics;
    std::optional<int> lineLimit;
    std::string_view shown;
};

// ---- The engine: one per layout ----

class Engine {
public:
    // `reach`: how far anything laid out can show (the canvas); absent, texts are measured whole.
    Engine(const ui::EnvironmentValues& environment, const TextMeasurer& measurer, double scale,
           std::optional<Size> reach);

    [[nodiscard]] Env rootEnv() const;
    Measured measure(ViewRef ref, ProposedSize p, const Env& env);
    void place(ViewRef ref, Point origin, ProposedSize p, const Env& env, int depth);

    LayoutResult result;

private:
    Measured measureNode(ViewRef ref, ProposedSize p, const Env& env);
    void placeNode(ViewRef ref, Rect rect, ProposedSize p, const Env& env, int depth);
    std::vector<Child> flatten(const std::vector<ui::View>& children, const Env& env) const;
    void flattenInto(std::vector<Child>& out, const std::vector<ui::View>& children,
                     const Env& env) const;
    Arrangement arrange(ViewRef ref, ProposedSize p, const Env& env);

    // ModifierLayout.cpp
    Measured measureModifier(ViewRef ref, ProposedSize p, const Env& env);
    void placeModifier(ViewRef ref, Rect rect, ProposedSize p, const Env& env, int depth);

    // StackLayout.cpp
    // A stack along `axis`: a column (vertical) aligns its children across it by
    // `columnAlignment`, a row (horizontal) by `rowAlignment`; the other one is unused.
    Arrangement arrangeStack(Axis axis, double spacing, std::vector<Child> children, ProposedSize p,
                             ui::HorizontalAlignment columnAlignment,
                             ui::VerticalAlignment rowAlignment);
    bool orderIsMoot(const std::vector<PlacedChild>& children,
                     const std::vector<std::size_t>& others, Axis axis,
                     std::optional<double> crossProposal, double length);

    // GridLayout.cpp
    Arrangement arrangeGrid(const ui::LazyVGridNode& grid, std::vector<Child> children,
                            ProposedSize p);

    // TextLayout.cpp
    TextInfo textInfo(const ui::TextNode& node, const Env& env);
    TextMetrics textMetrics(TextInfo info, std::optional<double> width,
                            std::optional<int> lineLimit, std::optional<double> room,
                            std::string_view& shown);
    TextFit fitText(TextInfo info, ProposedSize p);

    // Sizes measured, by view, level and proposal, with the environment they were measured in:
    // a view meets one environment in a layout, so that is compared rather than hashed.
    struct CacheKey {
        const ui::View* view;
        std::size_t level;
        double width;  // -1 for an absent dimension; proposals are never negative
        double height;
        bool operator==(const CacheKey&) const = default;
    };
    struct CacheKeyHash {
        [[nodiscard]] std::size_t operator()(const CacheKey& key) const {
            std::size_t h = std::hash<const ui::View*>{}(key.view);
            platform::hashCombine(h, key.level);
            platform::hashCombine(h, platform::hashBits(key.width));
            platform::hashCombine(h, platform::hashBits(key.height));
            return h;
        }
    };
    struct Cached {
        Env env;
        Measured measured;
    };
    // A text node in an environment: its string as drawn depends on the node, the letter case
    // and the locale (the same for the whole layout); how much of it the canvas can show, on
    // the font and the line limit; its measurements, on those and the alignment as well.
    struct ResolvedKey {
        const ui::TextNode* node;
        std::optional<ui::TextCase> textCase;
        ui::Font font;
        std::optional<int> lineLimit;
        ui::TextAlignment alignment;
        bool operator==(const ResolvedKey&) const = default;
    };
    struct Resolved {
        std::string text;
        TextMeasurements* measurements = nullptr;  // in m_texts
    };
    struct ResolvedKeyHash {
        [[nodiscard]] std::size_t operator()(const ResolvedKey& key) const;
    };

    const ui::EnvironmentValues& m_environment;
    const TextMeasurer& m_measurer;
    double m_scale;
    std::optional<Size> m_reach;
    std::unordered_map<CacheKey, Cached, CacheKeyHash> m_cache;
    std::unordered_map<ResolvedKey, Resolved, ResolvedKeyHash> m_resolved;
    std::unordered_map<TextKey, TextMeasurements, TextKeyHash> m_texts;
    std::optional<int> m_urlDepth;
};

}  // namespace layout::detail
