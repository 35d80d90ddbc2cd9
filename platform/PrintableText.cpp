#include "platform/PrintableText.h"

namespace platform {
namespace {

// The length of the UTF-8 sequence at the start of `text`; 0 when none starts there (a stray
// continuation byte, an overlong form, a surrogate, past U+10FFFF, cut short).
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) return 1;
    std::size_t length = 0;
    unsigned char low = 0x80, high = 0xBF;  // the second byte's range
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    }
    if (length == 0 || text.size() < length || byte(1) < low || byte(1) > high) return 0;
    for (std::size_t i = 2; i < length; ++i)
        if (byte(i) < 0x80 || byte(i) > 0xBF) return 0;
    return length;
}

void appendEscaped(std::string& out, unsigned char byte) {
    constexpr char digits[] = "0123456789ABCDEF";
    switch (byte) {
        case '\n':
            out += "\\n";
            return;
        case '\r':
            out += "\\r";
            return;
        case '\t':
            out += "\\t";
            return;
        default:
            out += "\\x";
            out += digits[byte >> 4];
            out += digits[byte & 0xF];
    }
}

}  // namespace

std::string printableText(std::string_view text, std::size_t limit) {
    std::string out;
    std::size_t at = 0;
    while (at < text.size()) {
        const std::size_t length = sequenceLength(text.substr(at));
        const std::size_t taken = length == 0 ? 1 : length;
        if (at + taken > limit) {
            out += "…";
            break;
        }
        const auto lead = static_cast<unsigned char>(text[at]);
        const bool control =
            lead < 0x20 || lead == 0x7F ||
            (length == 2 && lead == 0xC2 && static_cast<unsigned char>(text[at + 1]) < 0xA0);
        if (length == 0 || control)
            for (std::size_t i = 0; i < taken; ++i)
                appendEscaped(out, static_cast<unsigned char>(text[at + i]));
        else
            out.append(text.substr(at, length));
        at += taken;
    }
    return out;
}

std::string quotedInput(std::string_view text) {
    return "\"" + printableText(text, quotedInputLimit) + "\"";
}

}  // namespace platform
