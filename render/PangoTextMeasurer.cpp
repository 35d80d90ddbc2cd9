#include "render/PangoTextMeasurer.h"

#include <fontconfig/fontconfig.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace render {

using namespace ui;
namespace {

constexpr const char* systemFamily = "Inter";
constexpr const char* monospacedFamily = "JetBrains Mono";

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
    return int(std::clamp(units, 0.0, double(std::numeric_limits<int>::max() / 2)));
}
double toPoints(int units) {
    return double(units) / PANGO_SCALE;
}

struct GObjectUnref {
    void operator()(void* object) const { g_object_unref(object); }
};
using LayoutPtr = std::unique_ptr<PangoLayout, GObjectUnref>;

// The fonts on the machine, without most of the system's configuration rules. The rules
// (aliases, hinting, language preferences: dozens of files) cost a render process several
// milliseconds to read, and change nothing here: the widgets name their two families and set
// their own font options. Falling back to any installed font for characters that the two
// families lack still works. The one rule kept scales bitmap fonts to the size asked for:
// colour emoji come as bitmaps of 136 pixels, which would otherwise be drawn at that size.
// A FONTCONFIG_FILE set by the user is left to take effect.
constexpr const char* fontDirectories = R"(<fontconfig>
  <dir>/usr/share/fonts</dir>
  <dir>/usr/local/share/fonts</dir>
  <dir prefix="xdg">fonts</dir>
  <dir>~/.fonts</dir>
  <cachedir>/var/cache/fontconfig</cachedir>
  <cachedir prefix="xdg">fontconfig</cachedir>
  <cachedir>~/.fontconfig</cachedir>
  <include ignore_missing="yes">/usr/share/fontconfig/conf.avail/10-scale-bitmap-fonts.conf</include>
</fontconfig>)";

// Made the process's fontconfig configuration once, before Pango's first font map: Pango
// would otherwise load the system's configuration, and wait for it, whatever it is told.
void useWidgetFontConfigOnce() {
    static const bool done = [] {
        if (std::getenv("FONTCONFIG_FILE") != nullptr) return false;
        FcConfig* config = FcConfigCreate();
        const bool built = config != nullptr &&
                           FcConfigParseAndLoadFromMemory(
                               config, reinterpret_cast<const FcChar8*>(fontDirectories), FcTrue) &&
                           FcConfigBuildFonts(config) && FcConfigSetCurrent(config);
        if (config != nullptr) FcConfigDestroy(config);  // the current configuration keeps it
        return built;
    }();
    (void)done;
}

// One thread's Pango state: Pango objects must not be shared between threads, so every thread
// that measures or draws text gets its own font map and context, configured once.
class ThreadPango {
public:
    ThreadPango() : m_fontMap((useWidgetFontConfigOnce(), pango_cairo_font_map_new())) {
        m_context = pango_font_map_create_context(m_fontMap);
        pango_cairo_context_set_resolution(m_context, 72);  // 1 pt = 1 unit, for any relative size
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
        g_object_unref(m_context);
        g_object_unref(m_fontMap);
    }
    ThreadPango(const ThreadPango&) = delete;
    ThreadPango& operator=(const ThreadPango&) = delete;

    [[nodiscard]] LayoutPtr newLayout() const { return LayoutPtr(pango_layout_new(m_context)); }

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
    std::string cut(all.substr(0, std::size_t(last->start_index + last->length)));
    while (!cut.empty() && std::string_view(" \t\r\n").find(cut.back()) != std::string_view::npos)
        cut.pop_back();
    cut += "…";
    const int bottom = lineBottom(layout, limit - 1);
    pango_layout_set_text(layout, cut.data(), int(cut.size()));
    if (wraps) pango_layout_set_height(layout, bottom);
    return true;
}

// Pango itemises and shapes the whole of a text even when only its first lines can show, so a
// text of megabytes (a damaged record) took seconds each time layout measured it. No frame
// shows more lines than the text's line limit (without one, more than `linesWithoutLimit`: no
// widget is that tall), nor more characters in a line than its width holds at a tenth of an em
// each (narrower than any visible glyph of either font), nor, unwrapped, more than
// `unwrappedLineCharacters` (wider than any canvas). A longer text is cut after that many
// characters and ends in "…": every line it showed is shown the same, and only a text that is
// mostly invisible characters shows the mark sooner. Cutting twice gives the same text.
std::string_view shownText(std::string_view text, const TextStyle& style,
                           std::optional<double> width, std::string& storage) {
    constexpr double linesWithoutLimit = 100;
    constexpr double unwrappedLineCharacters = 500;
    constexpr double minimumLineCharacters = 64;
    const double lines =
        style.lineLimit ? std::clamp(double(*style.lineLimit), 1.0, 1e4) : linesWithoutLimit;
    double perLine = unwrappedLineCharacters;
    if (width && std::isfinite(*width) && style.font.size > 0)
        perLine =
            std::clamp(std::ceil(*width / (0.1 * style.font.size)), minimumLineCharacters, 1e6);
    const auto budget = std::size_t(lines * perLine);
    if (text.size() <= budget) return text;  // never more characters than bytes

    std::size_t characters = 0, cut = 0;
    for (; cut < text.size(); ++cut) {
        if ((static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) continue;  // continuation
        if (characters++ == budget) break;
    }
    if (cut == text.size()) return text;
    storage.assign(text.substr(0, cut));
    storage += "…";
    return storage;
}

struct ShapedText {
    LayoutPtr layout;
    bool cutByHand = false;
};

// The one place where a text's layout is configured, for measuring and for drawing alike.
ShapedText shape(std::string_view text, const TextStyle& style, std::optional<double> width) {
    ThreadPango& pango = threadPango();
    ShapedText shaped{pango.newLayout()};
    PangoLayout* layout = shaped.layout.get();
    pango_layout_set_font_description(layout, pango.description(style.font));
    pango_layout_set_alignment(layout, pangoAlignment(style.alignment));
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
    const bool wraps = width && std::isfinite(*width);
    pango_layout_set_width(layout, wraps ? toPangoUnits(std::max(*width, 0.0)) : -1);
    std::string storage;
    setText(layout, shownText(text, style, width, storage));
    if (style.lineLimit)
        shaped.cutByHand = limitLines(layout, std::max(*style.lineLimit, 1), wraps);
    return shaped;
}

// Layout measures the same texts again and again (ideal size, then at the widths its stacks
// offer), so each thread remembers what it measured. Shaping is the expensive part: tens of
// microseconds for a wrapped sentence against well under one for a lookup.
struct MeasureKey {
    std::string text;
    Font font;
    std::optional<int> lineLimit;
    TextAlignment alignment;
    std::optional<double> width;
    bool operator==(const MeasureKey&) const = default;
};

struct MeasureKeyHash {
    std::size_t operator()(const MeasureKey& key) const {
        std::size_t h = std::hash<std::string>{}(key.text);
        auto mix = [&h](std::size_t v) { h ^= v + 0x9e3779b97f4a7c15 + (h << 6) + (h >> 2); };
        mix(std::hash<double>{}(key.font.size));
        mix(std::size_t(key.font.weight) * 4 + std::size_t(key.font.design));
        mix(key.lineLimit ? std::size_t(*key.lineLimit) : ~std::size_t(0));
        mix(std::size_t(key.alignment));
        mix(key.width ? std::hash<double>{}(*key.width) : ~std::size_t(0));
        return h;
    }
};

TextMetrics measureShaped(std::string_view text, const TextStyle& style,
                          std::optional<double> width) {
    const ShapedText shaped = shape(text, style, width);
    PangoLayout* layout = shaped.layout.get();
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

TextMetrics PangoTextMeasurer::measure(std::string_view text, const TextStyle& style,
                                       std::optional<double> width) const {
    constexpr std::size_t remembered = 512;  // per thread; forgotten all at once when full
    thread_local std::unordered_map<MeasureKey, TextMetrics, MeasureKeyHash> cache;
    if (width && !std::isfinite(*width)) width.reset();
    std::string storage;
    text = shownText(text, style, width, storage);  // keeps the key small too
    MeasureKey key{std::string(text), style.font, style.lineLimit, style.alignment, width};
    if (const auto found = cache.find(key); found != cache.end()) return found->second;
    const TextMetrics metrics = measureShaped(text, style, width);
    if (cache.size() >= remembered) cache.clear();
    cache.emplace(std::move(key), metrics);
    return metrics;
}

const TextMeasurer& pangoTextMeasurer() {
    static const PangoTextMeasurer measurer;
    return measurer;
}

TextLayoutFacts describeTextLayout(std::string_view text, const TextStyle& style,
                                   std::optional<double> width) {
    const ShapedText shaped = shape(text, style, width);
    PangoLayout* layout = shaped.layout.get();
    TextLayoutFacts facts{pango_layout_get_line_count(layout),
                          shaped.cutByHand || pango_layout_is_ellipsized(layout),
                          {}};
    const PangoLayoutLine* first = pango_layout_get_line_readonly(layout, 0);
    if (first && first->runs) {
        const auto* run = static_cast<const PangoGlyphItem*>(first->runs->data);
        PangoFontDescription* description = pango_font_describe(run->item->analysis.font);
        facts.family = pango_font_description_get_family(description);
        pango_font_description_free(description);
    }
    return facts;
}

namespace detail {

namespace {

// A text laid out for drawing in its frame: shaped at the frame's width and cut to the lines
// that fit its height.
LayoutPtr layoutForFrame(const DrawText& command) {
    const Rect& frame = command.frame;
    ShapedText shaped = shape(command.text, command.style, frame.width);
    PangoLayout* layout = shaped.layout.get();

    // A frame lower than the text (layout had to squeeze it) shows only the lines that fit.
    const double allowed = (frame.height + 0.5) * PANGO_SCALE;
    int lines = 0, fitting = 0;
    PangoLayoutIter* iter = pango_layout_get_iter(layout);
    do {
        int top = 0, bottom = 0;
        pango_layout_iter_get_line_yrange(iter, &top, &bottom);
        ++lines;
        if (bottom <= allowed) ++fitting;
    } while (pango_layout_iter_next_line(iter));
    pango_layout_iter_free(iter);
    if (fitting < lines) limitLines(layout, std::max(fitting, 1), true);
    return std::move(shaped.layout);
}

struct FrameKey {
    MeasureKey text;
    double height;
    bool operator==(const FrameKey&) const = default;
};

struct FrameKeyHash {
    std::size_t operator()(const FrameKey& key) const {
        return MeasureKeyHash{}(key.text) ^ std::hash<double>{}(key.height);
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
    thread_local std::unordered_map<FrameKey, LayoutPtr, FrameKeyHash> drawn;
    LayoutPtr unremembered;
    PangoLayout* layout = nullptr;
    if (command.text.size() <= longestRemembered) {
        std::optional<double> width = frame.width;
        if (!std::isfinite(frame.width)) width.reset();
        FrameKey key{{command.text, command.style.font, command.style.lineLimit,
                      command.style.alignment, width},
                     frame.height};
        auto found = drawn.find(key);
        if (found == drawn.end()) {
            if (drawn.size() >= remembered) drawn.clear();
            found = drawn.emplace(std::move(key), layoutForFrame(command)).first;
        }
        layout = found->second.get();
    } else {
        unremembered = layoutForFrame(command);
        layout = unremembered.get();
    }

    const Color& color = command.style.color;
    cairo_save(cairo);
    cairo_set_source_rgba(cairo, color.red, color.green, color.blue, color.alpha);
    cairo_move_to(cairo, frame.x, frame.y);
    pango_cairo_show_layout(cairo, layout);
    cairo_restore(cairo);
}

}  // namespace detail
}  // namespace render
