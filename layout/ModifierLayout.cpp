// The layout modifiers: a flexible frame, padding, a background fill and a clip shape.

#include "layout/FrameDescription.h"
#include "layout/LayoutEngine.h"

#include "platform/Overloaded.h"

#include <cmath>
#include <variant>

namespace layout::detail {

using namespace ui;
namespace {

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

}  // namespace

// A frame takes its child's size within its bounds, or the whole proposal along a dimension
// whose maximum is infinite; its baseline is its child's, moved by the alignment. Padding adds
// its insets around the child and moves the child's baseline down by the top one.
Measured Engine::measureModifier(ViewRef ref, ProposedSize p, const Env& env) {
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

void Engine::placeModifier(ViewRef ref, Rect rect, ProposedSize p, const Env& env, int depth) {
    const Modifier& modifier = ref.modifier();
    auto& commands = result.drawList.commands;
    auto recordModifier = [&] {
        LaidOutFrame frame = describeModifier(modifier);
        frame.depth = depth;
        frame.rect = rect;
        result.frames.push_back(std::move(frame));
    };
    const Point origin{rect.x, rect.y};
    std::visit(
        platform::Overloaded{
            [&](const FrameModifier& f) {
                recordModifier();
                const ProposedSize childProposal = frameChildProposal(f, p);
                const Size child = measure(ref.inner(), childProposal, env).size;
                const Point at{
                    origin.x + offsetFor(f.alignment.horizontal, rect.width - child.width),
                    origin.y + offsetFor(f.alignment.vertical, rect.height - child.height)};
                place(ref.inner(), at, childProposal, env, depth + 1);
            },
            [&](const PaddingModifier& pad) {
                const EdgeInsets& e = pad.insets;
                recordModifier();
                place(ref.inner(), {origin.x + e.leading, origin.y + e.top}, paddedProposal(e, p),
                      env, depth + 1);
            },
            [&](const BackgroundModifier& b) {
                recordModifier();
                commands.push_back(FillShape{rect, 0, RoundedCornerStyle::continuous, b.fill});
                place(ref.inner(), origin, p, env, depth + 1);
            },
            [&](const ClipShapeModifier& c) {
                recordModifier();
                const double radius =
                    std::clamp(c.shape.cornerRadius, 0.0, std::min(rect.width, rect.height) / 2);
                commands.push_back(PushClip{rect, radius, c.shape.style});
                place(ref.inner(), origin, p, env, depth + 1);
                commands.emplace_back(std::in_place_type<PopClip>);
            },
            [&](const auto&) { place(ref.inner(), origin, p, env, depth); },
        },
        modifier);
}

}  // namespace layout::detail
