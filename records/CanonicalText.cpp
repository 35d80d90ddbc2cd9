#include "records/CanonicalText.h"

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

namespace AppGroupContainer {
namespace {

icu::UnicodeString utf16(std::string_view text) {
    return icu::UnicodeString::fromUTF8(
        icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
}

// ICU's decomposing normalizer, looked up once per process. ICU makes its instance once, behind
// its own once-flag; taking it through a function-local static publishes it to every thread in
// a way the C++ runtime (and ThreadSanitizer) sees, so the first comparisons on several threads
// at once need nothing more.
const icu::Normalizer2* decomposer() {
    static const icu::Normalizer2* const instance = [] {
        UErrorCode status = U_ZERO_ERROR;
        const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
        return U_SUCCESS(status) ? nfd : nullptr;
    }();
    return instance;
}

}  // namespace

bool canonicallyEquivalent(std::string_view a, std::string_view b) {
    if (a == b) return true;
    const icu::Normalizer2* nfd = decomposer();
    if (nfd == nullptr) return false;
    UErrorCode status = U_ZERO_ERROR;
    const icu::UnicodeString left = utf16(a);
    const icu::UnicodeString right = utf16(b);
    // A text has one NFD: two texts already in it (as every ASCII text is) are equivalent only
    // when they are equal, and need no normalizing.
    if (nfd->isNormalized(left, status) && nfd->isNormalized(right, status))
        return U_SUCCESS(status) && left == right;
    return nfd->normalize(left, status) == nfd->normalize(right, status) && U_SUCCESS(status);
}

}  // namespace AppGroupContainer
