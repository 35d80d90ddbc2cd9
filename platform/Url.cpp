#include "platform/Url.h"

#include <uriparser/Uri.h>

namespace platform {

std::optional<Url> Url::parse(std::string_view text) {
    if (text.empty()) return std::nullopt;

    // uriparser reports a syntax error when the text does not parse to its very end, so a
    // stray space or an illegal character anywhere makes the whole text invalid.
    UriUriA uri;
    const char* errorPosition = nullptr;
    const int result =
        uriParseSingleUriExA(&uri, text.data(), text.data() + text.size(), &errorPosition);
    if (result != URI_SUCCESS) return std::nullopt;
    const bool hasScheme = uri.scheme.first != nullptr && uri.scheme.afterLast != uri.scheme.first;
    uriFreeUriMembersA(&uri);
    if (!hasScheme) return std::nullopt;
    return Url(std::string(text));
}

}  // namespace platform
