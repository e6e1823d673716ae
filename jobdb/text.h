// Bounded copying of terminated texts, for every layer above the engine.
#pragma once

#include <cstddef>
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
