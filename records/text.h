// Bounded copying of terminated texts, for every layer above the engine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

// Fills the room bytes at to with the text, cut to room - 1 characters, and zero
// bytes. from may lie in the bytes at to, and may be null: an empty text.
inline void copyText(char* to, size_t room, const char* from)
{
    size_t length = 0;
    if (from != nullptr) {
        for (; length + 1 < room && from[length] != '\0'; ++length) {
            to[length] = from[length];
        }
    }
    std::memset(to + length, 0, room - length);
}

// Copies the text, cut to room - 1 characters, to where room bytes are zero.
inline void fillText(char* to, size_t room, const char* from)
{
    std::memcpy(to, from, strnlen(from, room - 1));
}

// Takes trailing blanks, tabs and newlines off the text.
inline void trimEnd(char* text)
{
    size_t length = std::strlen(text);
    while (length > 0) {
        const char last = text[length - 1];
        if (last != ' ' && last != '\t' && last != '\n') break;
        text[--length] = '\0';
    }
}

// The integer at the beginning of a text: white space, a sign, digits. 0 without digits; the
// nearest 64-bit integer when there are too many.
int64_t parseInt64(const char* text);
