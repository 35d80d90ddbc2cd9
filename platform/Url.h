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
    // The scheme, lower-cased ("velmora", "https"): schemes compare without regard to case.
    [[nodiscard]] const std::string& scheme() const { return m_scheme; }
    bool operator==(const Url&) const = default;

private:
    Url(std::string text, std::string scheme)
        : m_text(std::move(text)), m_scheme(std::move(scheme)) {}
    std::string m_text;
    std::string m_scheme;
};

}  // namespace platform
