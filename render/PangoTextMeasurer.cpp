#include "render/PangoTextMeasurer.h"

#include "render/PangoShaping.h"

#include <pango/pangocairo.h>

#include <cmath>
#include <string>
#include <unordered_map>
#include <utility>

using namespace layout;

namespace render {
namespace {

PangoLayout* pangoLayout(const detail::ShapedText& shaped) {
    return reinterpret_cast<PangoLayout*>(shaped.layout.get());
}

double toPoints(int units) {
    return double(units) / PANGO_SCALE;
}

TextMetrics measureShaped(std::string_view text, const TextStyle& style,
                          std::optional<double> width) {
    const detail::ShapedText shaped = detail::shapeText(text, style, width);
    PangoLayout* layout = pangoLayout(shaped);
    PangoRectangle logical;
    pango_layout_get_extents(layout, nullptr, &logical);

    TextMetrics metrics;
    // Whole points, so that drawing at the measured width breaks the lines the same way.
    metrics.size.width = std::ceil(toPoints(logical.width));
    if (width && std::isfinite(*width))
        metrics.size.width = std::min(metrics.size.width, std::max(*width, 0.0));
    metrics.size.height = toPoints(logical.height);
    metrics.firstBaseline = toPoints(pango_layout_get_baseline(layout) - logical.y);
    PangoLayoutIter* iter = pango_layout_get_iter(layout);
    while (pango_layout_iter_next_line(iter)) {
    }
    metrics.lastBaseline = toPoints(pango_layout_iter_get_baseline(iter) - logical.y);
    pango_layout_iter_free(iter);
    return metrics;
}

}  // namespace

// Layout measures the same texts again and again (ideal size, then at the widths its stacks
// offer), so each thread remembers what it measured. Shaping is the expensive part: tens of
// microseconds for a wrapped sentence against well under one for a lookup.
TextMetrics PangoTextMeasurer::measure(std::string_view text, const TextStyle& style,
                                       std::optional<double> width) const {
    constexpr std::size_t remembered = 512;  // per thread; forgotten all at once when full
    thread_local std::unordered_map<detail::ShapingKey, TextMetrics, detail::ShapingKeyHash> cache;
    if (width && !std::isfinite(*width)) width.reset();
    detail::ShapingKey key{std::string(text), style.font, style.lineLimit, style.alignment, width};
    if (const auto found = cache.find(key); found != cache.end()) return found->second;
    const TextMetrics metrics = measureShaped(text, style, width);
    if (cache.size() >= remembered) cache.clear();
    cache.emplace(std::move(key), metrics);
    return metrics;
}

std::string_view PangoTextMeasurer::shownText(std::string_view text, const TextStyle& style,
                                              std::optional<double> width,
                                              std::optional<double> height) const {
    return detail::shownByPango(text, style, width, height);
}

const TextMeasurer& pangoTextMeasurer() {
    static const PangoTextMeasurer measurer;
    return measurer;
}

void prepareTextMeasurer() {
    detail::preparePango();
}

}  // namespace render
