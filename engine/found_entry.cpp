#include "engine/found_entry.h"

void takeEntry(IndexFile* tree, const uint8_t* entry)
{
    int keyLength = entryKeyLength(entry);
    const uint8_t* tail = entry + ENTRY_KEY + keyLength + 1;
    FoundEntry* found = &tree->found;
    memcpy(found->bytes, entry + ENTRY_KEY, entry[0]);
    found->number = loadInt32(tail);
    found->segment = tail[4];
    found->dataLength = static_cast<uint32_t>(entrySize(entry) - ENTRY_OVERHEAD - keyLength);
}

void clearFoundEntry(IndexFile* tree)
{
    FoundEntry* found = &tree->found;
    memset(found->bytes, 0, sizeof found->bytes);
    found->number = 0;
    found->dataLength = 0;
    found->recordLength = 0;
}

const uint8_t* foundData(const FoundEntry* found)
{
    size_t keyLength = strlen(reinterpret_cast<const char*>(found->bytes));
    return found->bytes + keyLength + ENTRY_OVERHEAD - 1; // without the length byte
}
