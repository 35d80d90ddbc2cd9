#include "render/PangoTextPainter.h"

#include "platform/Hash.h"
#include "render/PangoShaping.h"

#include <pango/pangocairo.h>

#include <cmath>
#include <unordered_map>
#include <utility>

using namespace layout;

namespace render::detail {
namespace {

struct FrameKey {
    ShapingKey text;
    double height;
    bool operator==(const FrameKey&) const = default;
};

struct FrameKeyHash {
    std::size_t operator()(const FrameKey& key) const {
        std::size_t h = ShapingKeyHash{}(key.text);
        platform::hashCombine(h, platform::hashBits(key.height));
        return h;
    }
};

}  // namespace

void drawText(CairoContext* context, const DrawText& command) {
    cairo_t* cairo = reinterpret_cast<cairo_t*>(context);
    const Rect& frame = command.frame;
    // A widget is drawn again and again with mostly the same texts in the same frames (every
    // reload, every family), and shaping is most of a text's cost: each thread keeps the
    // layouts of the short texts it drew last, forgetting them all at once when full. A layout
    // does not depend on the surface it is drawn on.
    constexpr std::size_t remembered = 128;
    constexpr std::size_t longestRemembered = 1024;  // bytes of text
    thread_local std::unordered_map<FrameKey, PangoTextPtr, FrameKeyHash> drawn;
    PangoTextPtr unremembered;
    PangoText* text = nullptr;
    if (command.text.size() <= longestRemembered) {
        std::optional<double> width = frame.width;
        if (!std::isfinite(frame.width)) width.reset();
        FrameKey key{{command.text, command.style.font, command.style.lineLimit,
                      command.style.alignment, width},
                     frame.height};
        auto found = drawn.find(key);
        if (found == drawn.end()) {
            if (drawn.size() >= remembered) drawn.clear();
            found = drawn.emplace(std::move(key), shapeForFrame(command.text, command.style, frame))
                        .first;
        }
        text = found->second.get();
    } else {
        unremembered = shapeForFrame(command.text, command.style, frame);
        text = unremembered.get();
    }

    const ui::Color& color = command.style.color;
    cairo_save(cairo);
    cairo_set_source_rgba(cairo, color.red, color.green, color.blue, color.alpha);
    cairo_move_to(cairo, frame.x, frame.y);
    pango_cairo_show_layout(cairo, reinterpret_cast<PangoLayout*>(text));
    cairo_restore(cairo);
}

}  // namespace render::detail
