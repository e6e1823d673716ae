#include "engine/found_entry.h"

void takeEntry(IndexFile* tree, const uint8_t* entry)
{
    int keyLength = entryKeyLength(entry);
    const uint8_t* tail = entryTail(entry, keyLength);
    FoundEntry* found = &tree->found;
    memcpy(found->key, entryKey(entry), static_cast<size_t>(keyLength) + 1);
    found->number = loadInt32(tail);
    found->segment = tail[4];
    found->dataLength = static_cast<uint32_t>(entrySize(entry) - ENTRY_OVERHEAD - keyLength);
}

void clearFoundEntry(IndexFile* tree)
{
    FoundEntry* found = &tree->found;
    memset(found->key, 0, sizeof found->key);
    found->number = 0;
    found->dataLength = 0;
    found->recordLength = 0;
}
