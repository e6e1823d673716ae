#include "api/text_block.h"

#include "api/orvIdx.h"
#include "platform/platform.h"

#include <cstdint>
#include <cstring>

int beginText(TextBlock* block, size_t room)
{
    block->text = static_cast<char*>(allocateZeroed(room, 1));
    block->length = 0;
    block->room = room;
    return block->text != nullptr ? IDX_OK : IDX_ERROR;
}

int reserveText(TextBlock* block, size_t length)
{
    size_t room = block->room;
    while (room - block->length <= length) {
        if (room > SIZE_MAX / 2) return IDX_ERROR;
        room *= 2;
    }
    if (room == block->room) return IDX_OK;
    void* grown = reallocate(block->text, block->room, room);
    if (grown == nullptr) return IDX_ERROR;
    block->text = static_cast<char*>(grown);
    block->room = room;
    return IDX_OK;
}

int appendText(TextBlock* block, const char* text, size_t length)
{
    if (reserveText(block, length) != IDX_OK) return IDX_ERROR;
    std::memcpy(block->text + block->length, text, length);
    block->length += length;
    block->text[block->length] = '\0';
    return IDX_OK;
}

void releaseText(TextBlock* block)
{
    release(block->text);
    block->text = nullptr;
}
