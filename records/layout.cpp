#include "records/layout.h"

#include "format/format.h"

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

static bool isType(char letter)
{
    switch (letter) {
    case TYPE_TEXT:
    case TYPE_BLOCK:
    case TYPE_DOUBLE:
    case TYPE_FLOAT:
    case TYPE_INT:
    case TYPE_LONG:
    case TYPE_SHORT:
    case TYPE_END:
        return true;
    default:
        return false;
    }
}

// The rules that reading and writing share, up to the length.
static int checkFlags(const LayoutEntry* entry)
{
    char duplicates = entry->duplicates;
    if (!isType(entry->type)) return IX_LAYOUT_TYPE;
    if (entry->keyFlag != NOT_A_KEY && !isType(entry->keyFlag)) return IX_LAYOUT_KEY_FLAG;
    bool known = duplicates == DUPLICATES || duplicates == UNIQUE_KEY || duplicates == NOT_A_KEY;
    return known ? IX_OK : IX_LAYOUT_DUPLICATES;
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

// One step of the signature: adds a byte as signed, then doubles, modulo 65536.
static uint32_t addAndDouble(uint32_t sum, uint8_t byte)
{
    return ((sum + static_cast<uint32_t>(static_cast<int8_t>(byte))) * 2) & 0xffff;
}

int16_t layoutSignature(const LayoutEntry* layout)
{
    // What is doubled sixteen times is gone: four entries of four bytes.
    constexpr int ENTRIES_THAT_COUNT = 4;
    int count = layoutFieldCount(layout);
    uint32_t sum = 0;
    for (int i = count < ENTRIES_THAT_COUNT ? 0 : count - ENTRIES_THAT_COUNT; i < count; ++i) {
        sum = addAndDouble(sum, static_cast<uint8_t>(layout[i].type));
        sum = addAndDouble(sum, static_cast<uint8_t>(layout[i].keyFlag));
        sum = addAndDouble(sum, static_cast<uint8_t>(layout[i].duplicates));
        sum = addAndDouble(sum, layout[i].indexNumber);
    }
    return static_cast<int16_t>(sum);
}

LayoutPlan planLayout(LayoutEntry* layout)
{
    int checked = checkLayoutForRead(layout);
    return {layout, layoutFieldCount(layout), layoutSignature(layout),
            static_cast<int16_t>(checked)};
}
