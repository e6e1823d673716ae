// A text that grows in a heap block. For api/ alone.
#pragma once

#include <cstddef>

struct TextBlock {
    char* text;    // always terminated; null when no block could be had
    size_t length; // without the terminator
    size_t room;   // bytes of the block
};

// An empty text in a block of room bytes. IDX_OK or IDX_ERROR.
int beginText(TextBlock* block, size_t room);

// Makes room for length more characters, doubling the room until they fit. IDX_ERROR
// when no such block can be had; the text then stays as it was.
int reserveText(TextBlock* block, size_t length);

// Appends length characters. IDX_ERROR like reserveText.
int appendText(TextBlock* block, const char* text, size_t length);

// Frees the block, if there is one.
void releaseText(TextBlock* block);
