#include "layout/LayoutEngine.h"

#include "layout/FrameDescription.h"
#include "layout/Symbols.h"
#include "platform/Overloaded.h"

#include <variant>

namespace layout::detail {

using namespace ui;

bool isEnvironmentModifier(const Modifier& m) {
    return std::holds_alternative<FontModifier>(m) ||
           std::holds_alternative<ForegroundColorModifier>(m) ||
           std::holds_alternative<LineLimitModifier>(m) ||
           std::holds_alternative<TextCaseModifier>(m) ||
           std::holds_alternative<MultilineTextAlignmentModifier>(m);
}

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

Engine::Engine(const EnvironmentValues& environment, const TextMeasurer& measurer, double scale,
               std::optional<Size> reach)
    : m_environment(environment), m_measurer(measurer), m_scale(scale), m_reach(reach) {
    // A large widget measures several hundred views at a few proposals each: room for them all
    // at once, so that the table is not rebuilt as it fills (14% of a large layout).
    m_cache.reserve(1024);
    m_resolved.reserve(64);
    m_texts.reserve(64);
}

Env Engine::rootEnv() const {
    Env env;
    env.color = defaults::foreground(m_environment.colorScheme);
    return env;
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
    // One lookup: the slot is made on a miss and filled after measuring. A reference to it
    // stays valid while the measuring below adds entries (only iterators are invalidated), and
    // a view cannot be measured again inside its own measuring.
    const auto [slot, made] = m_cache.try_emplace(
        CacheKey{ref.view, ref.level, p.width.value_or(-1), p.height.value_or(-1)});
    Cached& cached = slot->second;
    if (!made && cached.env == env) return cached.measured;
    const Measured measured =
        ref.level == 0 ? measureNode(ref, p, env) : measureModifier(ref, p, env);
    cached = Cached{env, measured};
    return measured;
}

Measured Engine::measureNode(ViewRef ref, ProposedSize p, const Env& env) {
    return std::visit(
        platform::Overloaded{
            [&](const EmptyView&) -> Measured { return {}; },
            [&](const TextNode& text) -> Measured {
                const TextMetrics metrics = fitText(textInfo(text, env), p).metrics;
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
        ref.view->node);
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
    if (ref.level > 0)
        placeModifier(ref, rect, p, env, depth);
    else
        placeNode(ref, rect, p, env, depth);
}

void Engine::placeNode(ViewRef ref, Rect rect, ProposedSize p, const Env& env, int depth) {
    const View::Node& node = ref.view->node;
    auto& commands = result.drawList.commands;
    auto recordNode = [&](std::string_view text, const TextStyle& style) {
        LaidOutFrame frame = describeNode(node, text, style);
        frame.depth = depth;
        frame.rect = rect;
        result.frames.push_back(std::move(frame));
    };
    std::visit(
        platform::Overloaded{
            [&](const TextNode& text) {
                const TextInfo info = textInfo(text, env);
                const TextFit fit = fitText(info, p);
                TextStyle style = info.style;
                style.lineLimit = fit.lineLimit;
                recordNode(fit.shown, style);
                commands.push_back(DrawText{rect, std::string(fit.shown), style});
            },
            [&](const ImageNode& image) {
                recordNode({}, {env.font, env.color});
                commands.push_back(DrawSymbol{rect, image.systemName, env.font, env.color});
            },
            [&](const DividerNode&) {
                recordNode({}, {});
                commands.push_back(FillShape{rect, 0, RoundedCornerStyle::continuous,
                                             defaults::separator(m_environment.colorScheme)});
            },
            [&](const EmptyView&) { recordNode({}, {}); },
            [&](const SpacerNode&) { recordNode({}, {}); },
            [&](const auto&) {
                recordNode({}, {});
                const Arrangement arrangement = arrange(ref, p, env);
                for (const PlacedChild& c : arrangement.children)
                    place(c.child.ref, {rect.x + c.offset.x, rect.y + c.offset.y}, c.proposal,
                          c.child.env, depth + 1);
            },
        },
        node);
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

Arrangement Engine::arrange(ViewRef ref, ProposedSize p, const Env& env) {
    auto inside = [&env](std::optional<Axis> axis) {
        Env inner = env;
        inner.stackAxis = axis;
        return inner;
    };
    return std::visit(
        platform::Overloaded{
            [&](const VStackNode& stack) {
                return arrangeStack(Axis::vertical, stack.spacing.value_or(defaults::stackSpacing),
                                    flatten(stack.children, inside(Axis::vertical)), p,
                                    stack.alignment, VerticalAlignment::center);
            },
            [&](const HStackNode& stack) {
                return arrangeStack(Axis::horizontal,
                                    stack.spacing.value_or(defaults::stackSpacing),
                                    flatten(stack.children, inside(Axis::horizontal)), p,
                                    HorizontalAlignment::center, stack.alignment);
            },
            [&](const LazyVGridNode& grid) {
                return arrangeGrid(grid, flatten(grid.children, inside(std::nullopt)), p);
            },
            // A group or repetition that could not be spliced into a container (it stands
            // alone, or carries a layout modifier) lays its children out as a column.
            [&](const GroupNode& group) {
                return arrangeStack(Axis::vertical, defaults::stackSpacing,
                                    flatten(group.children, inside(Axis::vertical)), p,
                                    HorizontalAlignment::center, VerticalAlignment::center);
            },
            [&](const ForEachNode& each) {
                return arrangeStack(Axis::vertical, defaults::stackSpacing,
                                    flatten(each.children, inside(Axis::vertical)), p,
                                    HorizontalAlignment::center, VerticalAlignment::center);
            },
            [&](const auto&) { return Arrangement{}; },
        },
        ref.view->node);
}

}  // namespace layout::detail
