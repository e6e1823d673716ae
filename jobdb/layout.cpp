#include "jobdb/layout.h"

#include "engine/results.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

void buildLayout(LayoutEntry* entries, const LayoutRow* rows, int rowCount)
{
    LayoutEntry* entry = entries;
    for (int row = 0; row < rowCount; ++row) {
        uint8_t* value = static_cast<uint8_t*>(rows[row].value);
        for (int i = 0; i < rows[row].count; ++i) {
            entry->type = rows[row].type;
            entry->keyFlag = rows[row].keyFlag;
            entry->duplicates = rows[row].duplicates;
            entry->length = rows[row].length;
            entry->indexNumber = rows[row].indexNumber;
            // A row without a variable gets it from the layout's initialiser.
            entry->value =
                value == nullptr ? nullptr : value + static_cast<ptrdiff_t>(i) * rows[row].length;
            entry->room = rows[row].length;
            ++entry;
        }
    }
    *entry = {};
    entry->type = TYPE_END;
}

int layoutFieldCount(const LayoutEntry* layout)
{
    int count = 0;
    while (layout[count].type != TYPE_END) {
        ++count;
    }
    return count;
}

static bool isOneOf(char letter, const char* letters)
{
    return letter != 0 && strchr(letters, letter) != nullptr;
}

// The rules that reading and writing share, up to the length.
static int checkFlags(const LayoutEntry* entry)
{
    if (!isOneOf(entry->type, "ESBIHLFD")) return IX_LAYOUT_TYPE;
    if (!isOneOf(entry->keyFlag, "ESBIHLFDN")) return IX_LAYOUT_KEY_FLAG;
    if (!isOneOf(entry->duplicates, "DUN")) return IX_LAYOUT_DUPLICATES;
    return IX_OK;
}

static int checkIndex(const LayoutEntry* entry)
{
    return entry->indexNumber > MAX_LAYOUT_INDEX ? IX_LAYOUT_INDEX : IX_OK;
}

static int checkLength(const LayoutEntry* entry)
{
    if (entry->length < 0 || entry->length > MAX_FIELD_LENGTH) return IX_LAYOUT_LENGTH;
    if (entry->type != TYPE_TEXT) return IX_OK;
    size_t room = static_cast<size_t>(entry->length);
    bool fits = strnlen(static_cast<const char*>(entry->value), room) < room;
    return fits ? IX_OK : IX_TEXT_TOO_LONG;
}

int checkLayoutForWrite(const LayoutEntry* layout)
{
    for (const LayoutEntry* entry = layout; entry->type != TYPE_END; ++entry) {
        int result = checkFlags(entry);
        if (result == IX_OK) result = checkLength(entry);
        if (result == IX_OK) result = checkIndex(entry);
        if (result != IX_OK) return result;
    }
    return IX_OK;
}

int checkLayoutForRead(const LayoutEntry* layout)
{
    for (const LayoutEntry* entry = layout; entry->type != TYPE_END; ++entry) {
        int result = checkFlags(entry);
        if (result == IX_OK) result = checkIndex(entry);
        if (result != IX_OK) return result;
    }
    return IX_OK;
}

// One step of signature and checksum: adds a byte as signed, then doubles, modulo
// 65536.
static uint32_t addAndDouble(uint32_t sum, int8_t byte)
{
    return ((sum + static_cast<uint32_t>(byte)) * 2) & 0xffff;
}

int16_t layoutSignature(const LayoutEntry* layout)
{
    uint32_t sum = 0;
    for (const LayoutEntry* entry = layout; entry->type != TYPE_END; ++entry) {
        sum = addAndDouble(sum, static_cast<int8_t>(entry->type));
        sum = addAndDouble(sum, static_cast<int8_t>(entry->keyFlag));
        sum = addAndDouble(sum, static_cast<int8_t>(entry->duplicates));
        sum = addAndDouble(sum, static_cast<int8_t>(entry->indexNumber));
    }
    return static_cast<int16_t>(sum);
}
