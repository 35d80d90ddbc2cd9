#pragma once

// A text measurer with round numbers, so layout tests can state exact frames: every character
// (code point) advances 0.5 × the font size, a line is 1.2 × the font size high with its first
// baseline at 0.9 × the font size. With a width, text wraps greedily at spaces (a word wider
// than the width stands alone on its line, overflowing); with a line limit, the last allowed
// line is cut to fit the width and ends in "…" when text was left over or it does not fit.

#include "layout/TextMeasurer.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace layout::testing {

class FakeTextMeasurer final : public TextMeasurer {
public:
    static constexpr double advance = 0.5;     // × font size
    static constexpr double lineHeight = 1.2;  // × font size
    static constexpr double baseline = 0.9;    // × font size

    [[nodiscard]] TextMetrics measure(std::string_view text, const TextStyle& style,
                                      std::optional<double> width) const override {
        const std::vector<std::string> lines = layOut(text, style, width);
        const double size = style.font.size;
        double widest = 0;
        for (const auto& line : lines) widest = std::max(widest, length(line) * advance * size);
        const double count = double(lines.size());
        return {{widest, count * lineHeight * size},
                baseline * size,
                (count - 1) * lineHeight * size + baseline * size};
    }

    // The lines as they would be drawn, ellipsis included.
    [[nodiscard]] static std::vector<std::string> layOut(std::string_view text,
                                                         const TextStyle& style,
                                                         std::optional<double> width) {
        const double charWidth = advance * style.font.size;
        auto fits = [&](std::string_view line) {
            return !width || length(line) * charWidth <= *width + 1e-9;
        };
        std::vector<std::string> lines;
        for (std::string_view paragraph : split(text, '\n')) {
            if (!width) {
                lines.emplace_back(paragraph);
                continue;
            }
            std::string line;
            for (std::string_view word : split(paragraph, ' ')) {
                if (word.empty()) continue;
                std::string candidate =
                    line.empty() ? std::string(word) : line + " " + std::string(word);
                if (line.empty() || fits(candidate)) {
                    line = std::move(candidate);
                } else {
                    lines.push_back(std::move(line));
                    line = std::string(word);
                }
            }
            lines.push_back(std::move(line));
        }
        if (style.lineLimit && *style.lineLimit > 0) {
            const std::size_t limit = std::size_t(*style.lineLimit);
            const bool leftOver = lines.size() > limit;
            if (leftOver) lines.resize(limit);
            std::string& last = lines.back();
            if (leftOver || !fits(last)) {
                while (!last.empty() && !fits(last + "…")) popCodePoint(last);
                last += "…";
            }
        }
        return lines;
    }

    [[nodiscard]] static double length(std::string_view utf8) {
        return double(std::count_if(utf8.begin(), utf8.end(), [](char c) {
            return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
        }));
    }

private:
    static std::vector<std::string_view> split(std::string_view text, char separator) {
        std::vector<std::string_view> parts;
        std::size_t start = 0;
        for (std::size_t i = 0; i <= text.size(); ++i) {
            if (i == text.size() || text[i] == separator) {
                parts.push_back(text.substr(start, i - start));
                start = i + 1;
            }
        }
        return parts;
    }

    static void popCodePoint(std::string& text) {
        while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0) == 0x80)
            text.pop_back();
        if (!text.empty()) text.pop_back();
    }
};

}  // namespace layout::testing
