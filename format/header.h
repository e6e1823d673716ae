// The header record: its fields as numbers, and the only place that knows where they
// stand in the record and which of them go together.
#pragma once

#include "format/file_format.h"

#include <cstdint>

// The fields of the header record; the magic is not one of them.
struct FileHeader {
    int32_t rootPage;
    int32_t height;          // levels of the tree, leaves included
    int32_t nextFreePage;    // lowest page number never handed out
    int32_t sequenceCounter; // next record number to hand out
    int32_t pagesInFile;
    uint32_t changeCounter; // one more with each header write
};

// From and to a record of HEADER_SIZE bytes. Encoding writes the current magic.
FileHeader decodeHeader(const uint8_t* record);
void encodeHeader(uint8_t* record, const FileHeader* header);

// The change counter alone, which every bracket looks at.
uint32_t headerChangeCounter(const uint8_t* record);

// True when the record carries the magic: CURRENT_MAGIC or OLDER_MAGIC.
bool headerHasMagic(const uint8_t* record, const char* magic);

// True when height and page numbers are in range and do not contradict each other.
bool headerIsSound(const FileHeader* header);
