// A text that grows in a heap block. For api/ alone.
#pragma once

#include <cstddef>

struct TextBlock {
    char* text;    // always terminated; null without a block
    size_t length; // without the terminator
    size_t room;   // bytes of the block
};

// Makes an empty text in a new block of room bytes. Returns IDX_OK, or IDX_ERROR when there is
// no memory for it.
int beginText(TextBlock* block, size_t room);

// Makes room for length more characters, doubling the room until they fit. Returns IDX_OK, or
// IDX_ERROR with the text as it was when there is no memory.
int reserveText(TextBlock* block, size_t length);

// Appends length characters. Returns as reserveText.
int appendText(TextBlock* block, const char* text, size_t length);

// Frees the block, if there is one.
void releaseText(TextBlock* block);
