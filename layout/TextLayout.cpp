// Texts: the string as drawn, its style from the environment, and how it fits a proposal,
// measured once per layout and never beyond what its frame and line limit can show.

#include "layout/LayoutEngine.h"

#include "platform/Hash.h"
#include "ui/LocalizedString.h"

#include <cmath>

namespace layout::detail {

using namespace ui;
namespace {

constexpr double tolerance = 1e-9;

}  // namespace

std::size_t TextKeyHash::operator()(const TextKey& key) const {
    std::size_t h = std::hash<std::string_view>{}(key.text);
    platform::hashCombine(h, platform::hashBits(key.font.size));
    platform::hashCombine(h, int(key.font.weight) * 4 + int(key.font.design));
    platform::hashCombine(h, key.lineLimit);
    platform::hashCombine(h, key.alignment);
    return h;
}

std::size_t Engine::ResolvedKeyHash::operator()(const ResolvedKey& key) const {
    std::size_t h = std::hash<const TextNode*>{}(key.node);
    platform::hashCombine(h, key.textCase);
    platform::hashCombine(h, platform::hashBits(key.font.size));
    platform::hashCombine(h, key.lineLimit);
    return h;
}

// The string is resolved (looked up, filled in, letter case applied) once per node and
// environment, and cut to what the canvas can show; the measurements are shared by every text
// that lays out the same.
TextInfo Engine::textInfo(const TextNode& node, const Env& env) {
    const TextStyle style{env.font, env.color, env.lineLimit, env.textAlignment};
    auto [resolved, fresh] =
        m_resolved.try_emplace({&node, env.textCase, env.font, env.lineLimit, env.textAlignment});
    Resolved& text = resolved->second;
    if (fresh) {
        text.text = resolveText(node, env.textCase, m_environment.locale);
        if (m_reach)
            text.text.resize(
                m_measurer.shownText(text.text, style, m_reach->width, m_reach->height).size());
        auto [measured, unmeasured] =
            m_texts.try_emplace({text.text, env.font, env.lineLimit, env.textAlignment});
        if (unmeasured) measured->second.ideal = m_measurer.measure(text.text, style, std::nullopt);
        text.measurements = &measured->second;
    }
    return {text.text, style, text.measurements};
}

// The text at `width` (absent: unwrapped) with `lineLimit`, cut to what that width can show in
// `room` (absent: any height), measured once per layout. `shown` is set to the part measured.
TextMetrics Engine::textMetrics(TextInfo info, std::optional<double> width,
                                std::optional<int> lineLimit, std::optional<double> room,
                                std::string_view& shown) {
    TextMeasurements& m = *info.measurements;
    if (width && *width >= m.ideal.size.width - tolerance) width.reset();
    shown = info.text;
    if (!width && lineLimit == info.style.lineLimit) return m.ideal;
    TextStyle style = info.style;
    style.lineLimit = lineLimit;
    if (width) shown = m_measurer.shownText(info.text, style, width, room);
    const double key = width.value_or(-1);
    for (const auto& fit : m.fits)
        if (fit.width == key && fit.lineLimit == lineLimit && fit.shown == shown.size())
            return fit.metrics;
    const TextMetrics metrics = m_measurer.measure(shown, style, width);
    m.fits.push_back({key, lineLimit, shown.size(), metrics});
    return metrics;
}

// A text proposed at least its ideal width keeps its ideal size; narrower, it wraps to the
// proposed width and, with a line limit, ends its last line with an ellipsis. The width goes
// to the measurer as it is, so a word that cannot break is cut there too. Offered less
// height than its lines need, it keeps as many lines as fit, at least one, the last ending in
// an ellipsis. Only the lines that the height offered (or the canvas) can hold are measured.
TextFit Engine::fitText(TextInfo info, ProposedSize p) {
    std::optional<double> room = p.height;
    if (room && std::isinf(*room)) room.reset();
    if (m_reach && !room) room = m_reach->height;
    TextFit fit{{}, info.style.lineLimit, {}};
    fit.metrics = textMetrics(info, p.width, fit.lineLimit, room, fit.shown);
    const bool oneLine = fit.metrics.firstBaseline == fit.metrics.lastBaseline;
    if (!p.height || oneLine || fit.metrics.size.height <= *p.height + tolerance) return fit;
    std::string_view firstShown;
    const TextMetrics first = textMetrics(info, p.width, 1, room, firstShown);
    int count = std::max(1, int(std::floor((*p.height + tolerance) / first.size.height)));
    if (info.style.lineLimit) count = std::min(count, *info.style.lineLimit);
    for (;; --count) {
        if (count == 1) return {first, 1, firstShown};
        std::string_view shown;
        const TextMetrics metrics = textMetrics(info, p.width, count, room, shown);
        if (metrics.size.height <= *p.height + tolerance) return {metrics, count, shown};
    }
}

}  // namespace layout::detail
