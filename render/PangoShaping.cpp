#include "render/PangoShaping.h"

#include "layout/ShownText.h"
#include "platform/Hash.h"

#include <pango/pangocairo.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

using namespace layout;

namespace render::detail {

using namespace ui;
namespace {

constexpr const char* systemFamily = "Inter";
constexpr const char* monospacedFamily = "JetBrains Mono";

PangoLayout* pangoLayout(PangoText* text) {
    return reinterpret_cast<PangoLayout*>(text);
}

PangoWeight pangoWeight(FontWeight weight) {
    switch (weight) {
        case FontWeight::regular:
            return PANGO_WEIGHT_NORMAL;
        case FontWeight::medium:
            return PANGO_WEIGHT_MEDIUM;
        case FontWeight::semibold:
            return PANGO_WEIGHT_SEMIBOLD;
        case FontWeight::bold:
            return PANGO_WEIGHT_BOLD;
    }
    return PANGO_WEIGHT_NORMAL;
}

PangoAlignment pangoAlignment(TextAlignment alignment) {
    switch (alignment) {
        case TextAlignment::leading:
            return PANGO_ALIGN_LEFT;  // mirrored for right-to-left text
        case TextAlignment::center:
            return PANGO_ALIGN_CENTER;
        case TextAlignment::trailing:
            return PANGO_ALIGN_RIGHT;
    }
    return PANGO_ALIGN_LEFT;
}

// Points to Pango units, rounding down so that a width never grows on the way.
int toPangoUnits(double points) {
    const double units = std::floor(points * PANGO_SCALE);
    // NOLINTNEXTLINE(bugprone-integer-division): meant, the cap is a whole number of units
    return int(std::clamp(units, 0.0, double(std::numeric_limits<int>::max() / 2)));
}

// One thread's Pango state: Pango objects must not be shared between threads, so every thread
// that measures or draws text gets its own font map and context, configured once.
class ThreadPango {
public:
    // The font map reads the system's font configuration, so the user's rules and fallback
    // fonts apply: a character that the widgets' families lack is drawn from whichever font
    // the configuration offers for its script.
    ThreadPango() : m_fontMap(pango_cairo_font_map_new()) {
        // Pango asks the font configuration once per font it looks up, and looks fonts up on
        // its own too: at the font map's resolution for a font's metrics, and in the context's
        // named language for a font without fallback (the "…" of a cut line). So the context
        // keeps the font map's resolution (sizes are absolute, in units: the resolution changes
        // no size) and names the language it sets texts in, and those lookups find the fonts
        // already found.
        m_context = pango_font_map_create_context(m_fontMap);
        pango_context_set_language(m_context, pango_language_get_default());
        // Texts are shown verbatim: a word broken across lines gains no hyphen.
        m_attributes = pango_attr_list_new();
        pango_attr_list_insert(m_attributes, pango_attr_insert_hyphens_new(FALSE));
        // Unhinted metrics and unrounded positions: the same layout in points at every scale.
        cairo_font_options_t* options = cairo_font_options_create();
        cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
        cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
        cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
        pango_cairo_context_set_font_options(m_context, options);
        cairo_font_options_destroy(options);
        pango_context_set_round_glyph_positions(m_context, FALSE);
    }
    ~ThreadPango() {
        for (auto& [font, description] : m_fonts) pango_font_description_free(description);
        pango_attr_list_unref(m_attributes);
        g_object_unref(m_context);
        g_object_unref(m_fontMap);
    }
    ThreadPango(const ThreadPango&) = delete;
    ThreadPango& operator=(const ThreadPango&) = delete;

    [[nodiscard]] PangoTextPtr newLayout() const {
        PangoLayout* layout = pango_layout_new(m_context);
        pango_layout_set_attributes(layout, m_attributes);
        return PangoTextPtr(reinterpret_cast<PangoText*>(layout));
    }

    // The description of a font, made once per thread and font.
    [[nodiscard]] const PangoFontDescription* description(const Font& font) {
        for (const auto& [known, description] : m_fonts)
            if (known == font) return description;
        PangoFontDescription* description = pango_font_description_new();
        pango_font_description_set_family_static(
            description, font.design == FontDesign::monospaced ? monospacedFamily : systemFamily);
        pango_font_description_set_weight(description, pangoWeight(font.weight));
        pango_font_description_set_style(description, PANGO_STYLE_NORMAL);
        const double size = std::isfinite(font.size) ? std::clamp(font.size, 0.0, 10000.0) : 0.0;
        pango_font_description_set_absolute_size(description, size * PANGO_SCALE);
        m_fonts.emplace_back(font, description);
        return description;
    }

private:
    PangoFontMap* m_fontMap;
    PangoContext* m_context;
    PangoAttrList* m_attributes;
    std::vector<std::pair<Font, PangoFontDescription*>> m_fonts;
};

ThreadPango& threadPango() {
    thread_local ThreadPango pango;
    return pango;
}

void setText(PangoLayout* layout, std::string_view text) {
    if (g_utf8_validate(text.data(), gssize(text.size()), nullptr)) {
        pango_layout_set_text(layout, text.data(), int(text.size()));
        return;
    }
    gchar* valid = g_utf8_make_valid(text.data(), gssize(text.size()));
    pango_layout_set_text(layout, valid, -1);
    g_free(valid);
}

// Bottom of line `index` from the top of the layout, in Pango units.
int lineBottom(PangoLayout* layout, int index) {
    PangoLayoutIter* iter = pango_layout_get_iter(layout);
    for (int i = 0; i < index && pango_layout_iter_next_line(iter);) ++i;
    int top = 0, bottom = 0;
    pango_layout_iter_get_line_yrange(iter, &top, &bottom);
    pango_layout_iter_free(iter);
    return bottom;
}

// Keeps at most `limit` lines; the last one kept ends in "…" when text was cut. Returns whether
// the text was cut by hand (several paragraphs, which Pango limits one by one).
bool limitLines(PangoLayout* layout, int limit, bool wraps) {
    if (wraps) {
        pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
        pango_layout_set_height(layout, -limit);  // lines per paragraph
    }
    if (pango_layout_get_line_count(layout) <= limit) return false;

    // Several paragraphs: end the text after the last allowed line and mark the cut, and cap the
    // height there so that the mark, if it does not fit, is ellipsised into that line.
    const PangoLayoutLine* last = pango_layout_get_line_readonly(layout, limit - 1);
    const std::string_view all = pango_layout_get_text(layout);
    std::string cut(all.substr(0, std::size_t(last->start_index) + std::size_t(last->length)));
    while (!cut.empty() && std::string_view(" \t\r\n").find(cut.back()) != std::string_view::npos)
        cut.pop_back();
    cut += "…";
    const int bottom = lineBottom(layout, limit - 1);
    pango_layout_set_text(layout, cut.data(), int(cut.size()));
    if (wraps) pango_layout_set_height(layout, bottom);
    return true;
}

// How a text sets on one line per paragraph, so far as it was set: its clusters (a character
// or more, as shaped) in text order, each with what it advances (white space nothing: it may
// hang past a line's end) and whether it starts a line (an empty paragraph is a cluster of its
// own), and the lowest line of the fonts that set it. The last cluster set is left out: what
// follows it could change it.
struct SetText {
    struct Cluster {
        std::uint32_t start;
        int advance;  // Pango units
        bool startsParagraph;
    };
    std::vector<Cluster> clusters;
    std::size_t set = 0;       // bytes of the text set
    int lowestLine = INT_MAX;  // Pango units
};

bool isSpace(std::string_view text, std::size_t at) {
    const gunichar c = g_utf8_get_char(text.data() + at);
    return g_unichar_isspace(c);
}

void setFurther(SetText& out, std::string_view text, const Font& font, std::size_t bytes) {
    auto end = std::int32_t(std::min(bytes, text.size()));
    if (std::size_t(end) < text.size())
        U8_SET_CP_START(reinterpret_cast<const std::uint8_t*>(text.data()), 0, end);
    const std::string_view part = text.substr(0, std::size_t(end));
    const ShapedText shaped = shapeText(part, TextStyle{font}, std::nullopt);
    PangoLayout* layout = pangoLayout(shaped.layout.get());
    out = SetText{{}, part.size(), INT_MAX};
    std::vector<SetText::Cluster> line;
    for (GSList* l = pango_layout_get_lines_readonly(layout); l != nullptr; l = l->next) {
        const auto* paragraph = static_cast<const PangoLayoutLine*>(l->data);
        line.clear();
        for (GSList* r = paragraph->runs; r != nullptr; r = r->next) {
            const auto* run = static_cast<const PangoGlyphItem*>(r->data);
            PangoRectangle logical;
            pango_glyph_string_extents(run->glyphs, run->item->analysis.font, nullptr, &logical);
            out.lowestLine = std::min(out.lowestLine, logical.height);
            for (int g = 0; g < run->glyphs->num_glyphs; ++g)
                line.push_back({std::uint32_t(run->item->offset + run->glyphs->log_clusters[g]),
                                run->glyphs->glyphs[g].geometry.width, false});
        }
        if (line.empty()) line.push_back({std::uint32_t(paragraph->start_index), 0, false});
        // Runs come in visual order; lines break in text order.
        std::stable_sort(line.begin(), line.end(),
                         [](const auto& a, const auto& b) { return a.start < b.start; });
        const std::size_t first = out.clusters.size();
        for (const auto& glyph : line) {
            if (out.clusters.size() > first && out.clusters.back().start == glyph.start)
                out.clusters.back().advance += glyph.advance;  // one cluster, several glyphs
            else
                out.clusters.push_back(glyph);
        }
        out.clusters[first].startsParagraph = true;
    }
    for (auto& cluster : out.clusters)
        if (isSpace(part, cluster.start)) cluster.advance = 0;
    if (out.set < text.size() && !out.clusters.empty()) out.clusters.pop_back();
}

}  // namespace

void PangoTextRelease::operator()(PangoText* text) const {
    g_object_unref(pangoLayout(text));
}

void preparePango() {
    threadPango();
}

ShapedText shapeText(std::string_view text, const TextStyle& style, std::optional<double> width) {
    ThreadPango& pango = threadPango();
    ShapedText shaped{pango.newLayout()};
    PangoLayout* layout = pangoLayout(shaped.layout.get());
    pango_layout_set_font_description(layout, pango.description(style.font));
    pango_layout_set_alignment(layout, pangoAlignment(style.alignment));
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
    const bool wraps = width && std::isfinite(*width);
    pango_layout_set_width(layout, wraps ? toPangoUnits(std::max(*width, 0.0)) : -1);
    setText(layout, text);
    if (style.lineLimit)
        shaped.cutByHand = limitLines(layout, std::max(*style.lineLimit, 1), wraps);
    return shaped;
}

std::string_view shownByPango(std::string_view text, const TextStyle& style,
                              std::optional<double> width, std::optional<double> height) {
    // A text that short is shaped whole in little time, however it is set.
    constexpr std::size_t shortText = 256;  // bytes
    // The first part set, and how much more each time the lines reach past it.
    constexpr std::size_t firstSet = 1024, growth = 4;
    constexpr double slack = 1;  // em a line: kerning and shaping differ a little at a break

    const std::string_view estimate = estimatedShownText(text, style, width, height);
    const bool anyLines =
        !(linesToShow(style, height, 1) < std::numeric_limits<double>::infinity());
    if (!width || !std::isfinite(*width) || anyLines || estimate.size() <= shortText ||
        !g_utf8_validate(estimate.data(), gssize(estimate.size()), nullptr))
        return estimate;

    // Layout asks the same of a text at one width after another, and again at every drawing:
    // each thread remembers how its recent texts set, forgetting them all at once when full.
    struct Key {
        std::string text;
        Font font;
        bool operator==(const Key&) const = default;
    };
    struct KeyHash {
        std::size_t operator()(const Key& key) const {
            std::size_t h = std::hash<std::string>{}(key.text);
            platform::hashCombine(h, platform::hashBits(key.font.size));
            platform::hashCombine(h, int(key.font.weight) * 4 + int(key.font.design));
            return h;
        }
    };
    constexpr std::size_t rememberedBytes = 4 << 20;  // texts and their clusters
    thread_local std::unordered_map<Key, SetText, KeyHash> remembered;
    thread_local std::size_t rememberedSize = 0;
    Key key{std::string(estimate), style.font};
    auto found = remembered.find(key);
    if (found == remembered.end()) {
        const std::size_t size = estimate.size() * (1 + sizeof(SetText::Cluster));
        if (rememberedSize + size > rememberedBytes) {
            remembered.clear();
            rememberedSize = 0;
        }
        rememberedSize += size;
        found = remembered.emplace(std::move(key), SetText{}).first;
        setFurther(found->second, estimate, style.font, firstSet);
    }
    SetText& set = found->second;

    const auto capacity = double(toPangoUnits(*width + slack * style.font.size));
    for (;;) {
        const double lowest = set.lowestLine == INT_MAX ? 0.5 * style.font.size
                                                        : double(set.lowestLine) / PANGO_SCALE;
        const double lines = linesToShow(style, height, lowest);
        double line = 0, used = 0;
        for (const SetText::Cluster& cluster : set.clusters) {
            if (cluster.startsParagraph || (used > 0 && used + cluster.advance > capacity)) {
                ++line;
                used = 0;
            }
            if (line > lines) return estimate.substr(0, cluster.start);
            used += cluster.advance;
        }
        if (set.set == estimate.size()) return estimate;
        setFurther(set, estimate, style.font, std::max<std::size_t>(set.set, 1) * growth);
    }
}

PangoTextPtr shapeForFrame(std::string_view text, const TextStyle& style, const Rect& frame) {
    std::optional<double> width = frame.width;
    if (!std::isfinite(frame.width)) width.reset();
    // With a line limit, the lines that fit the frame are fewer than the limit or as many.
    TextStyle unlimited = style;
    unlimited.lineLimit.reset();
    ShapedText shaped =
        shapeText(shownByPango(text, unlimited, width, frame.height), style, frame.width);
    PangoLayout* layout = pangoLayout(shaped.layout.get());

    // A frame lower than the text (layout had to squeeze it) shows only the lines that fit.
    const double allowed = (frame.height + 0.5) * PANGO_SCALE;
    int count = 0, fitting = 0;
    PangoLayoutIter* iter = pango_layout_get_iter(layout);
    do {
        int top = 0, bottom = 0;
        pango_layout_iter_get_line_yrange(iter, &top, &bottom);
        ++count;
        if (bottom <= allowed) ++fitting;
    } while (pango_layout_iter_next_line(iter));
    pango_layout_iter_free(iter);
    if (fitting < count) limitLines(layout, std::max(fitting, 1), true);
    return std::move(shaped.layout);
}

std::size_t ShapingKeyHash::operator()(const ShapingKey& key) const {
    std::size_t h = std::hash<std::string>{}(key.text);
    platform::hashCombine(h, platform::hashBits(key.font.size));
    platform::hashCombine(h, int(key.font.weight) * 4 + int(key.font.design));
    platform::hashCombine(h, key.lineLimit);
    platform::hashCombine(h, key.alignment);
    platform::hashCombine(h, key.width ? platform::hashBits(*key.width) : ~std::uint64_t(0));
    return h;
}

}  // namespace render::detail
