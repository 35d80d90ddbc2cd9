// Stacks: children one after the other along an axis, the length shared out among them, each
// aligned across the axis.

#include "layout/LayoutEngine.h"

#include "platform/Overloaded.h"

#include <cmath>
#include <limits>
#include <variant>

namespace layout::detail {

using namespace ui;
namespace {

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

}  // namespace

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
                                 ProposedSize p, HorizontalAlignment columnAlignment,
                                 VerticalAlignment rowAlignment) {
    Arrangement out;
    const std::size_t n = children.size();
    if (n == 0) return out;
    out.children.resize(n);
    for (std::size_t i = 0; i < n; ++i) out.children[i].child = children[i];

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
        axis == Axis::horizontal && rowAlignment == VerticalAlignment::firstTextBaseline;
    if (baselines) crossLength = ascent + descent;
    for (auto& c : out.children) {
        const Size s = c.measured.size;
        if (axis == Axis::vertical)
            c.offset.x = offsetFor(columnAlignment, crossLength - s.width);
        else if (baselines)
            c.offset.y = ascent - c.measured.baseline;
        else
            c.offset.y = offsetFor(rowAlignment, crossLength - s.height);
    }
    out.measured.size =
        axis == Axis::vertical ? Size{crossLength, mainLength} : Size{mainLength, crossLength};
    const PlacedChild& first = out.children.front();
    out.measured.baseline = first.offset.y + first.measured.baseline;
    return out;
}

}  // namespace layout::detail
