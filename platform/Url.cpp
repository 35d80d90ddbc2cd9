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
    std::string scheme;
    if (uri.scheme.first != nullptr) scheme.assign(uri.scheme.first, uri.scheme.afterLast);
    uriFreeUriMembersA(&uri);
    if (scheme.empty()) return std::nullopt;
    // A scheme is ASCII letters, digits, "+", "-" and ".": lower-casing them needs no locale.
    for (char& c : scheme)
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    return Url(std::string(text), std::move(scheme));
}

}  // namespace platform
