#pragma once

// The platform's layout, over our view values: a parent proposes a size (an absent dimension
// asks for the ideal one), the child chooses its size, the parent places it. Environment
// values (font, foreground colour, line limit, letter case, text alignment) flow down from
// the modifiers that wrap a view. The result is a draw list for the painters and the frames
// of every node for the frames dump. Layout is pure: same inputs, same result. A text is given
// to the measurer and the painter only as far as its frame and line limit can show it
// (TextMeasurer::shownText). The engine, one file per kind of view: layout/LayoutEngine.h.

#include "layout/Geometry.h"
#include "layout/LayoutResult.h"
#include "layout/PlatformDefaults.h"
#include "layout/ProposedSize.h"
#include "layout/TextMeasurer.h"
#include "ui/EnvironmentValues.h"
#include "ui/View.h"

namespace layout {

// A widget's content on its family's canvas: the container backgrounds of the content's own
// modifiers fill the whole canvas first; the content is proposed the canvas less the content
// margin on every side and centred there. The tap link is the outermost widget URL of the
// tree. `scale` (device pixels per point) sets the divider's hairline.
[[nodiscard]] LayoutResult layoutWidget(const ui::View& content, const ui::EnvironmentValues& env,
                                        const TextMeasurer& measurer,
                                        double scale = defaults::renderScale);

// A view alone on a canvas of `canvas`: proposed the whole canvas and centred in it (no
// margins). Container backgrounds of the view fill the canvas as for a widget.
[[nodiscard]] LayoutResult layoutView(const ui::View& view, Size canvas,
                                      const ui::EnvironmentValues& env,
                                      const TextMeasurer& measurer,
                                      double scale = defaults::renderScale);

// The size `view` chooses for `proposal`, with the environment's defaults flowing in.
[[nodiscard]] Size sizeThatFits(const ui::View& view, ProposedSize proposal,
                                const ui::EnvironmentValues& env, const TextMeasurer& measurer,
                                double scale = defaults::renderScale);

}  // namespace layout
