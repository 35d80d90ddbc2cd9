#include "layout/ReadingOrder.h"

#include "ui/LocalizedString.h"

#include <unicode/utf8.h>

#include <cstdint>
#include <variant>

namespace layout {

using namespace ui;

namespace {

// `text` cut to at most readingTextLimit bytes at a character boundary, "…" marking the cut.
std::string cut(std::string_view text) {
    if (text.size() <= readingTextLimit) return std::string(text);
    auto end = std::int32_t(readingTextLimit);
    U8_SET_CP_START(reinterpret_cast<const std::uint8_t*>(text.data()), 0, end);
    return std::string(text.substr(0, std::size_t(end))) + "…";
}

void collectTexts(const View& view, std::optional<TextCase> textCase, std::string_view locale,
                  std::vector<std::string>& texts) {
    // Modifiers are listed innermost first, and the innermost letter case wins.
    for (auto m = view.modifiers.rbegin(); m != view.modifiers.rend(); ++m)
        if (const auto* letterCase = std::get_if<TextCaseModifier>(&*m))
            textCase = letterCase->textCase;
    if (const auto* text = std::get_if<TextNode>(&view.node)) {
        // A record's text is cut before its letter case is changed: it may be a megabyte long.
        TextNode shown = *text;
        if (auto* verbatim = std::get_if<Verbatim>(&shown.content))
            verbatim->text = cut(verbatim->text);
        if (auto resolved = resolveText(shown, textCase, locale); !resolved.empty())
            texts.push_back(cut(resolved));
        return;
    }
    std::visit(
        [&](const auto& node) {
            if constexpr (requires { node.children; })
                for (const View& child : node.children)
                    collectTexts(child, textCase, locale, texts);
        },
        view.node);
}

}  // namespace

std::vector<std::string> readingOrderTexts(const View& view, std::string_view locale) {
    std::vector<std::string> texts;
    collectTexts(view, std::nullopt, locale, texts);
    return texts;
}

}  // namespace layout
