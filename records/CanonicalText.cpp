#include "records/CanonicalText.h"

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

namespace AppGroupContainer {
namespace {

icu::UnicodeString utf16(std::string_view text) {
    return icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

}  // namespace

bool canonicallyEquivalent(std::string_view a, std::string_view b) {
    if (a == b) return true;
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
    if (U_FAILURE(status)) return false;
    const icu::UnicodeString left = utf16(a);
    const icu::UnicodeString right = utf16(b);
    // A text has one NFD: two texts already in it (as every ASCII text is) are equivalent only
    // when they are equal, and need no normalizing.
    if (nfd->isNormalized(left, status) && nfd->isNormalized(right, status))
        return U_SUCCESS(status) && left == right;
    return nfd->normalize(left, status) == nfd->normalize(right, status) && U_SUCCESS(status);
}

}  // namespace AppGroupContainer
