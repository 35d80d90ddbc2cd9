#include "layout/Layout.h"

#include "layout/FrameDescription.h"
#include "layout/LayoutEngine.h"
#include "platform/Fatal.h"

#include <algorithm>
#include <variant>

namespace layout {

using namespace ui;
namespace {

// Lays `view` out on `canvas`: its container backgrounds fill the canvas, the view is proposed
// `content`'s size and centred in it. Nothing beyond the canvas shows.
LayoutResult layoutOnCanvas(const View& view, Size canvas, Rect content,
                            const EnvironmentValues& environment, const TextMeasurer& measurer,
                            double scale) {
    VELMORA_ASSERT(scale > 0);
    detail::Engine engine(environment, measurer, scale, canvas);
    engine.result.drawList.canvas = canvas;
    const Rect whole{0, 0, canvas.width, canvas.height};
    int depth = 0;
    for (const Modifier& m : view.modifiers) {
        if (const auto* background = std::get_if<ContainerBackgroundModifier>(&m)) {
            engine.result.drawList.commands.push_back(
                FillShape{whole, 0, RoundedCornerStyle::continuous, background->color});
            LaidOutFrame frame = describeModifier(m);
            frame.rect = whole;
            engine.result.frames.push_back(std::move(frame));
            depth = 1;
        }
    }
    const detail::Env env = engine.rootEnv();
    const ProposedSize proposal{content.width, content.height};
    const detail::ViewRef root{&view, view.modifiers.size()};
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
    detail::Engine engine(env, measurer, scale, std::nullopt);
    return engine.measure({&view, view.modifiers.size()}, proposal, engine.rootEnv()).size;
}

}  // namespace layout
