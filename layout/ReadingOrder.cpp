#include "layout/ReadingOrder.h"

#include "ui/LocalizedString.h"

#include <variant>

namespace layout {

using namespace ui;

namespace {

void collectTexts(const View& view, std::optional<TextCase> textCase, std::string_view locale,
                  std::vector<std::string>& texts) {
    // Modifiers are listed innermost first, and the innermost letter case wins.
    for (auto m = view.modifiers.rbegin(); m != view.modifiers.rend(); ++m)
        if (const auto* letterCase = std::get_if<TextCaseModifier>(&*m))
            textCase = letterCase->textCase;
    if (const auto* text = std::get_if<TextNode>(&view.node)) {
        if (auto resolved = resolveText(*text, textCase, locale); !resolved.empty())
            texts.push_back(std::move(resolved));
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
