#pragma once

#include "render/Geometry.h"
#include "render/TextStyle.h"

#include <optional>
#include <string_view>

namespace render {

struct TextMetrics {
    Size size;               // of the wrapped (and possibly ellipsised) text
    double firstBaseline = 0;  // from the top of the text's frame
    double lastBaseline = 0;
    bool operator==(const TextMetrics&) const = default;
};

// Measures text as the painter will draw it. `width` absent: one line per paragraph, no
// wrapping (the ideal size). With a width the text wraps on word boundaries and, with a
// line limit, ends its last allowed line with "…".
class TextMeasurer {
public:
    virtual ~TextMeasurer() = default;
    [[nodiscard]] virtual TextMetrics measure(std::string_view text, const TextStyle& style,
                                              std::optional<double> width) const = 0;
};

}  // namespace render
