#include "render/Layout.h"

#include "platform/Overloaded.h"
#include "ui/TreeDump.h"
#include "ui/ViewNames.h"

#include "platform/Fatal.h"
#include "render/FrameDump.h"
#include "render/Symbols.h"
#include "ui/LocalizedString.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <unordered_map>
#include <variant>

namespace render {

using namespace ui;
namespace {

enum class Axis { horizontal, vertical };

// What flows down to a view from the modifiers and the stack around it.
struct Env {
    Font font = defaults::font;
    Color color;
    std::optional<int> lineLimit;
    std::optional<TextCase> textCase;
    TextAlignment textAlignment = TextAlignment::leading;
    std::optional<Axis> stackAxis;  // of the stack this view is a direct child of
};

// A view at one level of its modifier chain: the node wrapped by modifiers[0, level).
struct ViewRef {
    const View* view = nullptr;
    std::size_t level = 0;

    [[nodiscard]] ViewRef inner() const { return {view, level - 1}; }
    [[nodiscard]] const Modifier& modifier() const { return view->modifiers[level - 1]; }
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

bool isEnvironmentModifier(const Modifier& m) {
    return std::holds_alternative<FontModifier>(m) ||
           std::holds_alternative<ForegroundColorModifier>(m) ||
           std::holds_alternative<LineLimitModifier>(m) ||
           std::holds_alternative<TextCaseModifier>(m) ||
           std::holds_alternative<MultilineTextAlignmentModifier>(m);
}

// Modifiers that neither change the environment nor take part in layout.
bool isPassThroughModifier(const Modifier& m) {
    return std::holds_alternative<WidgetURLModifier>(m) ||
           std::holds_alternative<ContainerBackgroundModifier>(m);
}

void apply(const Modifier& m, Env& env) {
    std::visit(
        platform::Overloaded{
            [&](const FontModifier& f) { env.font = f.font; },
            [&](const ForegroundColorModifier& c) { env.color = c.color; },
            [&](const LineLimitModifier& l) { env.lineLimit = l.limit; },
            [&](const TextCaseModifier& t) { env.textCase = t.textCase; },
            [&](const MultilineTextAlignmentModifier& a) { env.textAlignment = a.alignment; },
            [](const auto&) {},
        },
        m);
}

// ---- Small geometry helpers ----

double clampTo(double value, std::optional<double> lower, std::optional<double> upper) {
    if (upper) value = std::min(value, *upper);
    if (lower) value = std::max(value, *lower);
    return value;
}

double along(Axis axis, Size size) {
    return axis == Axis::horizontal ? size.width : size.height;
}
double across(Axis axis, Size size) {
    return axis == Axis::horizontal ? size.height : size.width;
}
std::optional<double> along(Axis axis, ProposedSize p) {
    return axis == Axis::horizontal ? p.width : p.height;
}
std::optional<double> across(Axis axis, ProposedSize p) {
    return axis == Axis::horizontal ? p.height : p.width;
}
ProposedSize proposalOn(Axis axis, std::optional<double> main, std::optional<double> cross) {
    return axis == Axis::horizontal ? ProposedSize{main, cross} : ProposedSize{cross, main};
}

double offsetFor(HorizontalAlignment alignment, double free) {
    switch (alignment) {
        case HorizontalAlignment::leading:
            return 0;
        case HorizontalAlignment::center:
            return free / 2;
        case HorizontalAlignment::trailing:
            return free;
    }
    return 0;
}
double offsetFor(VerticalAlignment alignment, double free) {
    switch (alignment) {
        case VerticalAlignment::top:
        case VerticalAlignment::firstTextBaseline:
            return 0;
        case VerticalAlignment::center:
            return free / 2;
        case VerticalAlignment::bottom:
            return free;
    }
    return 0;
}

// A flexible frame proposes its child the proposal clamped to its bounds.
ProposedSize frameChildProposal(const FrameModifier& f, ProposedSize p) {
    return {p.width ? std::optional(clampTo(*p.width, f.minWidth, f.maxWidth)) : std::nullopt,
            p.height ? std::optional(clampTo(*p.height, f.minHeight, f.maxHeight)) : std::nullopt};
}

// Padding proposes its child the proposal less the insets.
ProposedSize paddedProposal(const EdgeInsets& e, ProposedSize p) {
    auto less = [](std::optional<double> v, double by) {
        return v ? std::optional(std::max(0.0, *v - by)) : std::nullopt;
    };
    return {less(p.width, e.leading + e.trailing), less(p.height, e.top + e.bottom)};
}

// ---- Descriptions for the frames dump ----

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

// ---- The per-layout engine ----

struct CacheKey {
    const View* view;
    std::size_t level;
    double width;  // -1 for an absent dimension; proposals are never negative
    double height;
    bool operator==(const CacheKey&) const = default;
};

struct CacheKeyHash {
    std::size_t operator()(const CacheKey& k) const {
        auto bits = [](double d) {
            std::uint64_t u;
            std::memcpy(&u, &d, sizeof u);
            return u;
        };
        std::uint64_t h = reinterpret_cast<std::uintptr_t>(k.view) * 0x9E3779B97F4A7C15ull;
        h ^= k.level + 0x7F4A7C15ull + (h << 6) + (h >> 2);
        h ^= bits(k.width) + 0x9E3779B9ull + (h << 6) + (h >> 2);
        h ^= bits(k.height) + 0x85EBCA6Bull + (h << 6) + (h >> 2);
        return std::size_t(h);
    }
};

// A text's string and style, resolved once per layout, with its measurements.
struct TextInfo {
    struct Measurement {
        double width;  // -1: unwrapped
        std::optional<int> lineLimit;
        TextMetrics metrics;
    };
    std::string text;
    TextStyle style;
    TextMetrics ideal;
    std::vector<Measurement> measurements;
};

// How a text fits a proposal: its metrics and the line limit it is drawn with, its own or
// fewer lines when the height offered is short.
struct TextFit {
    TextMetrics metrics;
    std::optional<int> lineLimit;
};

class Engine {
public:
    Engine(const EnvironmentValues& environment, const TextMeasurer& measurer, double scale)
        : m_environment(environment), m_measurer(measurer), m_scale(scale) {
        m_cache.reserve(256);
        m_texts.reserve(64);
    }

    [[nodiscard]] Env rootEnv() const {
        Env env;
        env.color = defaults::foreground(m_environment.colorScheme);
        return env;
    }

    Measured measure(ViewRef ref, ProposedSize p, const Env& env);
    void place(ViewRef ref, Point origin, ProposedSize p, const Env& env, int depth);

    LayoutResult result;

private:
    Measured compute(ViewRef ref, ProposedSize p, const Env& env);
    Measured measureNode(ViewRef ref, ProposedSize p, const Env& env);

    TextInfo& textInfo(const View& view, const TextNode& node, const Env& env);
    TextMetrics textMetrics(TextInfo& info, std::optional<double> width,
                            std::optional<int> lineLimit);
    TextFit fitText(TextInfo& info, ProposedSize p);
    // The style the painter draws the text with: the line limit it was fitted with.
    TextStyle drawnStyle(TextInfo& info, ProposedSize p) {
        TextStyle style = info.style;
        style.lineLimit = fitText(info, p).lineLimit;
        return style;
    }

    std::vector<Child> flatten(const std::vector<View>& children, const Env& env) const;
    void flattenInto(std::vector<Child>& out, const std::vector<View>& children,
                     const Env& env) const;
    Arrangement arrange(ViewRef ref, ProposedSize p, const Env& env);
    Arrangement arrangeStack(Axis axis, double spacing, std::vector<Child> children, ProposedSize p,
                             HorizontalAlignment vAlign, VerticalAlignment hAlign);
    Arrangement arrangeGrid(const LazyVGridNode& grid, std::vector<Child> children, ProposedSize p);
    bool orderIsMoot(const std::vector<PlacedChild>& children,
                     const std::vector<std::size_t>& others, Axis axis,
                     std::optional<double> crossProposal, double length);

    void record(int depth, std::string description, Rect rect,
                std::optional<Color> color = std::nullopt, std::string detail = {}) {
        result.frames.push_back({depth, std::move(description), color, std::move(detail), rect});
    }
    LaidOutFrame describeNode(ViewRef ref, ProposedSize p, const Env& env);

    const EnvironmentValues& m_environment;
    const TextMeasurer& m_measurer;
    double m_scale;
    std::unordered_map<CacheKey, Measured, CacheKeyHash> m_cache;
    std::unordered_map<const View*, TextInfo> m_texts;
    std::optional<int> m_urlDepth;
};

TextInfo& Engine::textInfo(const View& view, const TextNode& node, const Env& env) {
    auto found = m_texts.find(&view);
    if (found != m_texts.end()) return found->second;
    TextInfo info;
    info.text = resolveText(node, env.textCase, m_environment.locale);
    info.style = TextStyle{env.font, env.color, env.lineLimit, env.textAlignment};
    info.ideal = m_measurer.measure(info.text, info.style, std::nullopt);
    return m_texts.emplace(&view, std::move(info)).first->second;
}

// The text at `width` (absent: unwrapped) with `lineLimit`, measured once per layout.
TextMetrics Engine::textMetrics(TextInfo& info, std::optional<double> width,
                                std::optional<int> lineLimit) {
    constexpr double tolerance = 1e-9;
    if (width && *width >= info.ideal.size.width - tolerance) width.reset();
    if (!width && lineLimit == info.style.lineLimit) return info.ideal;
    const double key = width.value_or(-1);
    for (const auto& m : info.measurements)
        if (m.width == key && m.lineLimit == lineLimit) return m.metrics;
    TextStyle style = info.style;
    style.lineLimit = lineLimit;
    const TextMetrics metrics = m_measurer.measure(info.text, style, width);
    info.measurements.push_back({key, lineLimit, metrics});
    return metrics;
}

// A text proposed at least its ideal width keeps its ideal size; narrower, it wraps to the
// proposed width and, with a line limit, ends its last line with an ellipsis. The width goes
// to the measurer as it is, so a word that cannot break is cut there too. Offered less
// height than its lines need, it keeps as many lines as fit, at least one, the last ending in
// an ellipsis.
TextFit Engine::fitText(TextInfo& info, ProposedSize p) {
    constexpr double tolerance = 1e-9;
    TextFit fit{textMetrics(info, p.width, info.style.lineLimit), info.style.lineLimit};
    const bool oneLine = fit.metrics.firstBaseline == fit.metrics.lastBaseline;
    if (!p.height || oneLine || fit.metrics.size.height <= *p.height + tolerance) return fit;
    const TextMetrics first = textMetrics(info, p.width, 1);
    int lines = std::max(1, int(std::floor((*p.height + tolerance) / first.size.height)));
    if (info.style.lineLimit) lines = std::min(lines, *info.style.lineLimit);
    for (;; --lines) {
        const TextMetrics metrics = lines == 1 ? first : textMetrics(info, p.width, lines);
        if (lines == 1 || metrics.size.height <= *p.height + tolerance) return {metrics, lines};
    }
}

void Engine::flattenInto(std::vector<Child>& out, const std::vector<View>& children,
                         const Env& env) const {
    for (const View& child : children) {
        if (std::holds_alternative<EmptyView>(child.node)) continue;
        const bool splices = std::holds_alternative<GroupNode>(child.node) ||
                             std::holds_alternative<ForEachNode>(child.node);
        if (splices &&
            std::all_of(child.modifiers.begin(), child.modifiers.end(), isEnvironmentModifier)) {
            Env inner = env;
            for (auto m = child.modifiers.rbegin(); m != child.modifiers.rend(); ++m)
                apply(*m, inner);
            if (const auto* group = std::get_if<GroupNode>(&child.node))
                flattenInto(out, group->children, inner);
            else
                flattenInto(out, std::get<ForEachNode>(child.node).children, inner);
            continue;
        }
        out.push_back({{&child, child.modifiers.size()}, env});
    }
}

std::vector<Child> Engine::flatten(const std::vector<View>& children, const Env& env) const {
    std::vector<Child> out;
    out.reserve(children.size());
    flattenInto(out, children, env);
    return out;
}

Measured Engine::measure(ViewRef ref, ProposedSize p, const Env& env) {
    if (ref.level > 0) {
        const Modifier& m = ref.modifier();
        if (isEnvironmentModifier(m)) {
            Env inner = env;
            apply(m, inner);
            return measure(ref.inner(), p, inner);
        }
        if (isPassThroughModifier(m)) return measure(ref.inner(), p, env);
    }
    const CacheKey key{ref.view, ref.level, p.width.value_or(-1), p.height.value_or(-1)};
    if (auto found = m_cache.find(key); found != m_cache.end()) return found->second;
    const Measured measured = compute(ref, p, env);
    m_cache.emplace(key, measured);
    return measured;
}

Measured Engine::compute(ViewRef ref, ProposedSize p, const Env& env) {
    if (ref.level == 0) return measureNode(ref, p, env);
    return std::visit(
        platform::Overloaded{
            [&](const FrameModifier& f) -> Measured {
                const Measured child = measure(ref.inner(), frameChildProposal(f, p), env);
                auto choose = [](std::optional<double> proposed, double own,
                                 std::optional<double> lower, std::optional<double> upper) {
                    if (proposed && upper && std::isinf(*upper))
                        return clampTo(*proposed, lower, upper);
                    return clampTo(own, lower, upper);
                };
                const Size size{choose(p.width, child.size.width, f.minWidth, f.maxWidth),
                                choose(p.height, child.size.height, f.minHeight, f.maxHeight)};
                const double y = offsetFor(f.alignment.vertical, size.height - child.size.height);
                return {size, y + child.baseline};
            },
            [&](const PaddingModifier& pad) -> Measured {
                const EdgeInsets& e = pad.insets;
                const Measured child = measure(ref.inner(), paddedProposal(e, p), env);
                return {{child.size.width + e.leading + e.trailing,
                         child.size.height + e.top + e.bottom},
                        child.baseline + e.top};
            },
            [&](const auto&) -> Measured { return measure(ref.inner(), p, env); },
        },
        ref.modifier());
}

Measured Engine::measureNode(ViewRef ref, ProposedSize p, const Env& env) {
    const View& view = *ref.view;
    return std::visit(
        platform::Overloaded{
            [&](const EmptyView&) -> Measured { return {}; },
            [&](const TextNode& text) -> Measured {
                TextInfo& info = textInfo(view, text, env);
                const TextMetrics metrics = fitText(info, p).metrics;
                return {metrics.size, metrics.firstBaseline};
            },
            [&](const ImageNode&) -> Measured {
                return {symbolSize(env.font), symbolBaseline(env.font)};
            },
            [&](const SpacerNode& spacer) -> Measured {
                const double minLength = spacer.minLength.value_or(defaults::spacerMinLength);
                if (!env.stackAxis) return {{minLength, minLength}, minLength};
                const double length = std::max(minLength, along(*env.stackAxis, p).value_or(0));
                const Size size =
                    env.stackAxis == Axis::horizontal ? Size{length, 0} : Size{0, length};
                return {size, size.height};
            },
            [&](const DividerNode&) -> Measured {
                const double hairline = 1 / m_scale;
                const Size size = env.stackAxis == Axis::horizontal
                                      ? Size{hairline, p.height.value_or(0)}
                                      : Size{p.width.value_or(0), hairline};
                return {size, size.height};
            },
            [&](const auto&) -> Measured { return arrange(ref, p, env).measured; },
        },
        view.node);
}

Arrangement Engine::arrange(ViewRef ref, ProposedSize p, const Env& env) {
    return std::visit(
        platform::Overloaded{
            [&](const VStackNode& stack) {
                Env inner = env;
                inner.stackAxis = Axis::vertical;
                return arrangeStack(Axis::vertical, stack.spacing.value_or(defaults::stackSpacing),
                                    flatten(stack.children, inner), p, stack.alignment,
                                    VerticalAlignment::center);
            },
            [&](const HStackNode& stack) {
                Env inner = env;
                inner.stackAxis = Axis::horizontal;
                return arrangeStack(Axis::horizontal,
                                    stack.spacing.value_or(defaults::stackSpacing),
                                    flatten(stack.children, inner), p, HorizontalAlignment::center,
                                    stack.alignment);
            },
            [&](const LazyVGridNode& grid) {
                Env inner = env;
                inner.stackAxis.reset();
                return arrangeGrid(grid, flatten(grid.children, inner), p);
            },
            // A group or repetition that could not be spliced into a container (it stands
            // alone, or carries a layout modifier) lays its children out as a column.
            [&](const GroupNode& group) {
                Env inner = env;
                inner.stackAxis = Axis::vertical;
                return arrangeStack(Axis::vertical, defaults::stackSpacing,
                                    flatten(group.children, inner), p, HorizontalAlignment::center,
                                    VerticalAlignment::center);
            },
            [&](const ForEachNode& each) {
                Env inner = env;
                inner.stackAxis = Axis::vertical;
                return arrangeStack(Axis::vertical, defaults::stackSpacing,
                                    flatten(each.children, inner), p, HorizontalAlignment::center,
                                    VerticalAlignment::center);
            },
            [&](const auto&) { return Arrangement{}; },
        },
        ref.view->node);
}

// Whether a view, offered along `axis` at least the length it takes when offered without
// bound, always takes exactly that length: texts and symbols, and what is built from them
// across that axis. Stacks along the axis share out their length (a text in them may wrap
// at any offer), frames with a maximum follow the offer, dividers and grids fill it.
bool keepsItsLength(ViewRef ref, Axis axis) {
    for (; ref.level > 0; ref = ref.inner()) {
        if (const auto* f = std::get_if<FrameModifier>(&ref.modifier()))
            if (axis == Axis::horizontal ? f->maxWidth : f->maxHeight) return false;
    }
    auto all = [axis](const std::vector<View>& children) {
        return std::all_of(children.begin(), children.end(), [axis](const View& child) {
            return keepsItsLength({&child, child.modifiers.size()}, axis);
        });
    };
    return std::visit(
        platform::Overloaded{
            [](const TextNode&) { return true; },
            [](const ImageNode&) { return true; },
            [](const EmptyView&) { return true; },
            // Nested in a stack across the axis, a spacer is as thin as nothing; alone, it
            // keeps its minimum.
            [](const SpacerNode&) { return true; },
            [](const DividerNode&) { return false; },
            [&](const VStackNode& s) { return axis == Axis::horizontal && all(s.children); },
            [&](const HStackNode& s) { return axis == Axis::vertical && all(s.children); },
            [&](const GroupNode& g) { return axis == Axis::horizontal && all(g.children); },
            [&](const ForEachNode& e) { return axis == Axis::horizontal && all(e.children); },
            [](const LazyVGridNode&) { return false; },
        },
        ref.view->node);
}

// The order in which the stack sizes its children only matters when some child may be
// offered less than it would take: when every child keeps its length and none takes more
// than an equal share of `length`, each gets exactly what it takes in any order, and the
// probes that rank them by flexibility (a text measured at zero width) can be skipped.
bool Engine::orderIsMoot(const std::vector<PlacedChild>& children,
                         const std::vector<std::size_t>& others, Axis axis,
                         std::optional<double> crossProposal, double length) {
    const double share = length / double(others.size());
    const ProposedSize unbounded =
        proposalOn(axis, std::numeric_limits<double>::infinity(), crossProposal);
    for (std::size_t i : others) {
        const Child& c = children[i].child;
        if (!keepsItsLength(c.ref, axis)) return false;
        if (along(axis, measure(c.ref, unbounded, c.env).size) > share) return false;
    }
    return true;
}

// The platform's stack: spacing between neighbours; the length along the axis is shared out
// least flexible child first (flexibility: the child's length for an infinite proposal less
// its length for a zero one), each child offered an equal share of what is left. Spacers come
// last, after every other child, and take the rest; their minimum lengths are held back while
// the others are sized, so a text next to a spacer gets all the room the spacer can give up.
Arrangement Engine::arrangeStack(Axis axis, double spacing, std::vector<Child> children,
                                 ProposedSize p, HorizontalAlignment vAlign,
                                 VerticalAlignment hAlign) {
    Arrangement out;
    const std::size_t n = children.size();
    if (n == 0) return out;
    out.children.resize(n);
    for (std::size_t i = 0; i < n; ++i) out.children[i].child = std::move(children[i]);

    const std::optional<double> mainProposal = along(axis, p);
    const std::optional<double> crossProposal = across(axis, p);
    auto size = [&](std::size_t i, std::optional<double> main) {
        PlacedChild& c = out.children[i];
        c.proposal = proposalOn(axis, main, crossProposal);
        c.measured = measure(c.child.ref, c.proposal, c.child.env);
        return along(axis, c.measured.size);
    };

    if (!mainProposal || std::isinf(*mainProposal)) {
        // Ideal or unbounded: every child gets the same offer, nothing is shared out.
        for (std::size_t i = 0; i < n; ++i) size(i, mainProposal);
    } else {
        std::vector<std::size_t> others, spacers;
        for (std::size_t i = 0; i < n; ++i) {
            const View& v = *out.children[i].child.ref.view;
            (std::holds_alternative<SpacerNode>(v.node) ? spacers : others).push_back(i);
        }
        double heldForSpacers = 0;
        for (std::size_t i : spacers) heldForSpacers += size(i, 0.0);
        double left = *mainProposal - spacing * double(n - 1) - heldForSpacers;

        if (others.size() > 1 && !orderIsMoot(out.children, others, axis, crossProposal, left)) {
            std::vector<double> flexibility(n, 0);
            const ProposedSize zero = proposalOn(axis, 0.0, crossProposal);
            const ProposedSize unbounded =
                proposalOn(axis, std::numeric_limits<double>::infinity(), crossProposal);
            for (std::size_t i : others) {
                const Child& c = out.children[i].child;
                flexibility[i] = along(axis, measure(c.ref, unbounded, c.env).size) -
                                 along(axis, measure(c.ref, zero, c.env).size);
            }
            std::stable_sort(others.begin(), others.end(), [&](std::size_t a, std::size_t b) {
                return flexibility[a] < flexibility[b];
            });
        }
        for (std::size_t k = 0; k < others.size(); ++k)
            left -= size(others[k], std::max(0.0, left / double(others.size() - k)));
        left += heldForSpacers;
        for (std::size_t k = 0; k < spacers.size(); ++k)
            left -= size(spacers[k], std::max(0.0, left / double(spacers.size() - k)));
    }

    // Along the axis: one after the other. Across: aligned.
    double cursor = 0;
    double crossLength = 0, ascent = 0, descent = 0;
    for (auto& c : out.children) {
        const Size s = c.measured.size;
        if (axis == Axis::vertical)
            c.offset.y = cursor;
        else
            c.offset.x = cursor;
        cursor += along(axis, s) + spacing;
        crossLength = std::max(crossLength, across(axis, s));
        ascent = std::max(ascent, c.measured.baseline);
        descent = std::max(descent, s.height - c.measured.baseline);
    }
    const double mainLength = cursor - spacing;
    const bool baselines =
        axis == Axis::horizontal && hAlign == VerticalAlignment::firstTextBaseline;
    if (baselines) crossLength = ascent + descent;
    for (auto& c : out.children) {
        const Size s = c.measured.size;
        if (axis == Axis::vertical)
            c.offset.x = offsetFor(vAlign, crossLength - s.width);
        else if (baselines)
            c.offset.y = ascent - c.measured.baseline;
        else
            c.offset.y = offsetFor(hAlign, crossLength - s.height);
    }
    out.measured.size =
        axis == Axis::vertical ? Size{crossLength, mainLength} : Size{mainLength, crossLength};
    const PlacedChild& first = out.children.front();
    out.measured.baseline = first.offset.y + first.measured.baseline;
    return out;
}

// Flexible columns share the proposed width after the spacing between them, each kept within
// its minimum and maximum; cells go row by row, leading to trailing, each proposed its column's
// width and placed in it by the grid's alignment, centred in a row as tall as its tallest cell.
Arrangement Engine::arrangeGrid(const LazyVGridNode& grid, std::vector<Child> children,
                                ProposedSize p) {
    Arrangement out;
    const std::vector<GridItem>& columns = grid.columns;
    const std::size_t columnCount = columns.size();
    if (columnCount == 0 || children.empty()) return out;

    std::vector<double> gaps(columnCount, 0);  // after each column
    double gapTotal = 0;
    for (std::size_t c = 0; c + 1 < columnCount; ++c) {
        gaps[c] = columns[c].spacing.value_or(defaults::gridColumnSpacing);
        gapTotal += gaps[c];
    }

    std::vector<double> widths(columnCount, 0);
    if (p.width) {
        // Share out equally; a column held at a bound leaves the rest to the others.
        const double available = std::max(0.0, *p.width - gapTotal);
        std::vector<bool> settled(columnCount, false);
        for (bool changed = true; changed;) {
            changed = false;
            double left = available;
            std::size_t open = 0;
            for (std::size_t c = 0; c < columnCount; ++c) {
                if (settled[c])
                    left -= widths[c];
                else
                    ++open;
            }
            if (open == 0) break;
            const double share = std::max(0.0, left / double(open));
            for (std::size_t c = 0; c < columnCount; ++c) {
                if (settled[c]) continue;
                widths[c] = share;
                if (share < columns[c].minimum || share > columns[c].maximum) {
                    widths[c] = std::clamp(share, columns[c].minimum,
                                           std::max(columns[c].minimum, columns[c].maximum));
                    settled[c] = true;
                    changed = true;
                }
            }
        }
    } else {
        // Ideal: each column as wide as its widest cell, within its bounds.
        for (std::size_t i = 0; i < children.size(); ++i) {
            const Measured m = measure(children[i].ref, {}, children[i].env);
            widths[i % columnCount] = std::max(widths[i % columnCount], m.size.width);
        }
        for (std::size_t c = 0; c < columnCount; ++c)
            widths[c] = clampTo(widths[c], columns[c].minimum, columns[c].maximum);
    }

    std::vector<double> columnX(columnCount, 0);
    for (std::size_t c = 1; c < columnCount; ++c)
        columnX[c] = columnX[c - 1] + widths[c - 1] + gaps[c - 1];
    const double rowSpacing = grid.spacing.value_or(defaults::stackSpacing);

    out.children.resize(children.size());
    double y = 0;
    for (std::size_t rowStart = 0; rowStart < children.size(); rowStart += columnCount) {
        const std::size_t rowEnd = std::min(children.size(), rowStart + columnCount);
        double rowHeight = 0;
        for (std::size_t i = rowStart; i < rowEnd; ++i) {
            PlacedChild& cell = out.children[i];
            cell.child = std::move(children[i]);
            cell.proposal = {widths[i - rowStart], std::nullopt};
            cell.measured = measure(cell.child.ref, cell.proposal, cell.child.env);
            rowHeight = std::max(rowHeight, cell.measured.size.height);
        }
        for (std::size_t i = rowStart; i < rowEnd; ++i) {
            PlacedChild& cell = out.children[i];
            const std::size_t c = i - rowStart;
            cell.offset = {
                columnX[c] + offsetFor(grid.alignment, widths[c] - cell.measured.size.width),
                y + (rowHeight - cell.measured.size.height) / 2};
        }
        y += rowHeight + rowSpacing;
    }
    out.measured.size = {columnX.back() + widths.back(), y - rowSpacing};
    const PlacedChild& first = out.children.front();
    out.measured.baseline = first.offset.y + first.measured.baseline;
    return out;
}

LaidOutFrame Engine::describeNode(ViewRef ref, ProposedSize p, const Env& env) {
    const View& view = *ref.view;
    using Frame = LaidOutFrame;
    return std::visit(
        platform::Overloaded{
            [](const EmptyView&) -> Frame { return {.description = "EmptyView"}; },
            [&](const TextNode& text) -> Frame {
                TextInfo& info = textInfo(view, text, env);
                const TextStyle style = drawnStyle(info, p);
                std::string detail;
                if (style.lineLimit) detail += " lineLimit " + std::to_string(*style.lineLimit);
                if (style.alignment == TextAlignment::center) detail += " center";
                if (style.alignment == TextAlignment::trailing) detail += " trailing";
                return {
                    .description = "Text " + dumpQuoted(info.text) + " " + describeFont(style.font),
                    .color = style.color,
                    .detail = std::move(detail)};
            },
            [&](const ImageNode& image) -> Frame {
                return {.description =
                            "Image " + dumpQuoted(image.systemName) + " " + describeFont(env.font),
                        .color = env.color};
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
        view.node);
}

void Engine::place(ViewRef ref, Point origin, ProposedSize p, const Env& env, int depth) {
    if (ref.level > 0) {
        const Modifier& m = ref.modifier();
        if (isEnvironmentModifier(m)) {
            Env inner = env;
            apply(m, inner);
            return place(ref.inner(), origin, p, inner, depth);
        }
        if (const auto* link = std::get_if<WidgetURLModifier>(&m)) {
            // The outermost link is the widget's: the first met at the shallowest depth.
            if (!m_urlDepth || depth < *m_urlDepth) {
                m_urlDepth = depth;
                result.drawList.url = link->url;
            }
            return place(ref.inner(), origin, p, env, depth);
        }
        if (isPassThroughModifier(m)) return place(ref.inner(), origin, p, env, depth);
    }

    const Measured self = measure(ref, p, env);
    const Rect rect{origin.x, origin.y, self.size.width, self.size.height};
    auto& commands = result.drawList.commands;

    if (ref.level > 0) {
        std::visit(
            platform::Overloaded{
                [&](const FrameModifier& f) {
                    record(depth, describe(f), rect);
                    const ProposedSize childProposal = frameChildProposal(f, p);
                    const Size child = measure(ref.inner(), childProposal, env).size;
                    const Point at{
                        origin.x + offsetFor(f.alignment.horizontal, rect.width - child.width),
                        origin.y + offsetFor(f.alignment.vertical, rect.height - child.height)};
                    place(ref.inner(), at, childProposal, env, depth + 1);
                },
                [&](const PaddingModifier& pad) {
                    const EdgeInsets& e = pad.insets;
                    record(depth, describe(e), rect);
                    place(ref.inner(), {origin.x + e.leading, origin.y + e.top},
                          paddedProposal(e, p), env, depth + 1);
                },
                [&](const BackgroundModifier& b) {
                    record(depth, "background", rect, b.fill);
                    commands.push_back(FillShape{rect, 0, RoundedCornerStyle::continuous, b.fill});
                    place(ref.inner(), origin, p, env, depth + 1);
                },
                [&](const ClipShapeModifier& c) {
                    record(depth,
                           "clipShape(RoundedRectangle " + dumpLength(c.shape.cornerRadius) +
                               (c.shape.style == RoundedCornerStyle::continuous ? " continuous)"
                                                                                : " circular)"),
                           rect);
                    const double radius = std::clamp(c.shape.cornerRadius, 0.0,
                                                     std::min(rect.width, rect.height) / 2);
                    commands.push_back(PushClip{rect, radius, c.shape.style});
                    place(ref.inner(), origin, p, env, depth + 1);
                    commands.emplace_back(std::in_place_type<PopClip>);
                },
                [&](const auto&) { place(ref.inner(), origin, p, env, depth); },
            },
            ref.modifier());
        return;
    }

    LaidOutFrame frame = describeNode(ref, p, env);
    frame.depth = depth;
    frame.rect = rect;
    result.frames.push_back(std::move(frame));
    std::visit(
        platform::Overloaded{
            [&](const TextNode& text) {
                TextInfo& info = textInfo(*ref.view, text, env);
                commands.push_back(DrawText{rect, info.text, drawnStyle(info, p)});
            },
            [&](const ImageNode& image) {
                commands.push_back(DrawSymbol{rect, image.systemName, env.font, env.color});
            },
            [&](const DividerNode&) {
                commands.push_back(FillShape{rect, 0, RoundedCornerStyle::continuous,
                                             defaults::separator(m_environment.colorScheme)});
            },
            [&](const EmptyView&) {},
            [&](const SpacerNode&) {},
            [&](const auto&) {
                const Arrangement arrangement = arrange(ref, p, env);
                for (const PlacedChild& c : arrangement.children)
                    place(c.child.ref, {origin.x + c.offset.x, origin.y + c.offset.y}, c.proposal,
                          c.child.env, depth + 1);
            },
        },
        ref.view->node);
}

// Lays `view` out on `canvas`: its container backgrounds fill the canvas, the view is proposed
// `content`'s size and centred in it.
LayoutResult layoutOnCanvas(const View& view, Size canvas, Rect content,
                            const EnvironmentValues& environment, const TextMeasurer& measurer,
                            double scale) {
    VELMORA_ASSERT(scale > 0);
    Engine engine(environment, measurer, scale);
    engine.result.drawList.canvas = canvas;
    const Rect whole{0, 0, canvas.width, canvas.height};
    int depth = 0;
    for (const Modifier& m : view.modifiers) {
        if (const auto* background = std::get_if<ContainerBackgroundModifier>(&m)) {
            engine.result.drawList.commands.push_back(
                FillShape{whole, 0, RoundedCornerStyle::continuous, background->color});
            engine.result.frames.push_back(
                {0, "containerBackground", background->color, {}, whole});
            depth = 1;
        }
    }
    const Env env = engine.rootEnv();
    const ProposedSize proposal{content.width, content.height};
    const ViewRef root{&view, view.modifiers.size()};
    const Size size = engine.measure(root, proposal, env).size;
    const Point origin{content.x + (content.width - size.width) / 2,
                       content.y + (content.height - size.height) / 2};
    engine.place(root, origin, proposal, env, depth);
    return std::move(engine.result);
}

}  // namespace

LayoutResult layoutWidget(const View& content, const EnvironmentValues& env,
                          const TextMeasurer& measurer, double scale) {
    const Size canvas = defaults::canvasSize(env.widgetFamily);
    const double margin = defaults::contentMargin;
    return layoutOnCanvas(content, canvas,
                          {margin, margin, std::max(0.0, canvas.width - 2 * margin),
                           std::max(0.0, canvas.height - 2 * margin)},
                          env, measurer, scale);
}

LayoutResult layoutView(const View& view, Size canvas, const EnvironmentValues& env,
                        const TextMeasurer& measurer, double scale) {
    return layoutOnCanvas(view, canvas, {0, 0, canvas.width, canvas.height}, env, measurer, scale);
}

Size sizeThatFits(const View& view, ProposedSize proposal, const EnvironmentValues& env,
                  const TextMeasurer& measurer, double scale) {
    VELMORA_ASSERT(scale > 0);
    Engine engine(env, measurer, scale);
    return engine.measure({&view, view.modifiers.size()}, proposal, engine.rootEnv()).size;
}

}  // namespace render
