#include "format/header.h"

#include "format/bytes.h"

#include <cstring>

FileHeader decodeHeader(const uint8_t* record)
{
    return {loadInt16(record + HEADER_ROOT_PAGE),      loadInt16(record + HEADER_HEIGHT),
            loadInt16(record + HEADER_NEXT_FREE_PAGE), loadInt32(record + HEADER_SEQUENCE_COUNTER),
            loadInt16(record + HEADER_PAGES_IN_FILE),  headerChangeCounter(record)};
}

void encodeHeader(uint8_t* record, const FileHeader* header)
{
    memset(record, 0, HEADER_SIZE);
    for (int i = 0; i < MAGIC_LENGTH; ++i) {
        record[HEADER_MAGIC_OFFSETS[i]] = static_cast<uint8_t>(CURRENT_MAGIC[i]);
    }
    storeInt16(record + HEADER_ROOT_PAGE, header->rootPage);
    storeInt16(record + HEADER_HEIGHT, header->height);
    storeInt16(record + HEADER_NEXT_FREE_PAGE, header->nextFreePage);
    storeInt32(record + HEADER_SEQUENCE_COUNTER, header->sequenceCounter);
    storeInt16(record + HEADER_PAGES_IN_FILE, header->pagesInFile);
    storeUint32(record + HEADER_CHANGE_COUNTER, header->changeCounter);
}

uint32_t headerChangeCounter(const uint8_t* record)
{
    return loadUint32(record + HEADER_CHANGE_COUNTER);
}

bool headerHasMagic(const uint8_t* record, const char* magic)
{
    for (int i = 0; i < MAGIC_LENGTH; ++i) {
        if (record[HEADER_MAGIC_OFFSETS[i]] != static_cast<uint8_t>(magic[i])) return false;
    }
    return true;
}

bool headerIsSound(const FileHeader* header)
{
    return header->height >= 1 && header->height <= MAX_HEIGHT && header->rootPage >= 0 &&
           header->rootPage < header->nextFreePage && header->nextFreePage <= header->pagesInFile;
}
