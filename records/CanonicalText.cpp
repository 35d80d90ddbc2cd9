#include "records/CanonicalText.h"

#include <unicode/normalizer2.h>
#include <unicode/unistr.h>

#include <algorithm>

namespace AppGroupContainer {
namespace {

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

}  // namespace

bool canonicallyEquivalent(std::string_view a, std::string_view b) {
    if (a == b) return true;
    // Normalization leaves ASCII as it is, so differing ASCII texts stay different.
    if (isAscii(a) && isAscii(b)) return false;

    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* nfd = icu::Normalizer2::getNFDInstance(status);
    if (U_FAILURE(status)) return false;
    const icu::UnicodeString left = nfd->normalize(
        icu::UnicodeString::fromUTF8(icu::StringPiece(a.data(), static_cast<int32_t>(a.size()))),
        status);
    const icu::UnicodeString right = nfd->normalize(
        icu::UnicodeString::fromUTF8(icu::StringPiece(b.data(), static_cast<int32_t>(b.size()))),
        status);
    return U_SUCCESS(status) && left == right;
}

}  // namespace AppGroupContainer
