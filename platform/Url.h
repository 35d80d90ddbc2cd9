#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

// A URL that parsed strictly as an RFC 3986 URI reference with a scheme. Only
// `Url::parse` makes one, so holding a Url means the text was valid.
class Url {
public:
    [[nodiscard]] static std::optional<Url> parse(std::string_view text);

    [[nodiscard]] const std::string& text() const { return m_text; }
    bool operator==(const Url&) const = default;

private:
    explicit Url(std::string text) : m_text(std::move(text)) {}
    std::string m_text;
};

}  // namespace platform
