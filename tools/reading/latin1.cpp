#include "tools/reading/latin1.h"

std::string utf8FromLatin1(std::string_view text)
{
    std::string utf8;
    utf8.reserve(text.size());
    for (char character : text) {
        unsigned code = static_cast<unsigned char>(character);
        if (code < 0x80) {
            utf8 += character;
        } else {
            utf8 += static_cast<char>(0xC0 | (code >> 6));
            utf8 += static_cast<char>(0x80 | (code & 0x3F));
        }
    }
    return utf8;
}

std::string latin1FromUtf8(std::string_view text)
{
    std::string latin1;
    for (size_t at = 0; at < text.size(); ++at) {
        unsigned lead = static_cast<unsigned char>(text[at]);
        if (lead < 0x80) {
            latin1 += text[at];
            continue;
        }
        // The code points 128 to 255 are two bytes, the first of them C2 or C3.
        if ((lead != 0xC2 && lead != 0xC3) || at + 1 == text.size()) return std::string(text);
        unsigned follow = static_cast<unsigned char>(text[++at]);
        if ((follow & 0xC0) != 0x80) return std::string(text);
        latin1 += static_cast<char>(((lead & 0x03) << 6) | (follow & 0x3F));
    }
    return latin1;
}

std::string harmless(std::string_view text)
{
    std::string shown;
    for (size_t at = 0; at < text.size(); ++at) {
        unsigned code = static_cast<unsigned char>(text[at]);
        bool paired = code == 0xC2 && at + 1 < text.size(); // U+0080 to U+00BF
        unsigned follow = paired ? static_cast<unsigned char>(text[at + 1]) : 0;
        if (code < 0x20 || code == 0x7F) {
            shown += '?';
        } else if (paired && follow < 0xA0) {
            shown += '?';
            ++at;
        } else {
            shown += text[at];
        }
    }
    return shown;
}
