// Layouts: the field-by-field description through which a record is stored and
// read. A field's number in the record image is its place in the layout, and
// types, flags and index numbers enter the signature of stored images: the order
// and these members of every layout are part of the file format.
// Part of the boundary records.h.
#pragma once

#include <cstddef>
#include <cstdint>

constexpr char TYPE_TEXT = 'S';
constexpr char TYPE_BLOCK = 'B';
constexpr char TYPE_DOUBLE = 'D';
constexpr char TYPE_FLOAT = 'F';
constexpr char TYPE_INT = 'I';
constexpr char TYPE_LONG = 'L';
constexpr char TYPE_SHORT = 'H';
constexpr char TYPE_END = 'E';
constexpr char NOT_A_KEY = 'N';
constexpr char UNIQUE_KEY = 'U';
constexpr char DUPLICATES = 'D';

constexpr int MAX_FIELD_LENGTH = 10240;
constexpr int MAX_LAYOUT_INDEX = 15;

// One field of a record.
struct LayoutEntry {
    char type;           // TYPE_...
    char keyFlag;        // NOT_A_KEY, or a type letter: the field keys an index
    char duplicates;     // UNIQUE_KEY, DUPLICATES or NOT_A_KEY
    int16_t length;      // bytes of the variable, a text's terminator included; of a
                         // block its current length, rewritten by reading
    uint8_t indexNumber; // the index that a key field feeds, else 0
    void* value;         // the variable
    int16_t room;        // bytes of the variable, whatever reading made of length
};

// One row of a layout table: count entries alike whose variables follow each other.
struct LayoutRow {
    const char* field;
    char type;
    char keyFlag;
    char duplicates;
    uint8_t indexNumber;
    int16_t length;
    int16_t count;
    void* value;
};

// Number of fields that the rows of a table describe.
template <int ROWS> constexpr int layoutFields(const LayoutRow (&rows)[ROWS])
{
    int fields = 0;
    for (const LayoutRow& row : rows) {
        fields += row.count;
    }
    return fields;
}

// True when the variables of a row have the bytes that its length and count ask for.
constexpr bool rowFits(const LayoutRow& row, size_t room)
{
    return static_cast<size_t>(row.length) * static_cast<size_t>(row.count) <= room;
}

// Expands rows into entries and the end entry behind them.
void buildLayout(LayoutEntry* entries, const LayoutRow* rows, int rowCount);

// Number of entries before the end entry.
int layoutFieldCount(const LayoutEntry* layout);

// 0, or the result code (IX_LAYOUT_..., IX_TEXT_TOO_LONG) of the first rule broken.
int checkLayoutForWrite(const LayoutEntry* layout);
int checkLayoutForRead(const LayoutEntry* layout);

// What reading through a layout asks about it each time, found out once. Good as long as types,
// flags and index numbers stay as they are.
struct LayoutPlan {
    LayoutEntry* layout;
    int32_t fields;
    int16_t signature;
    int16_t checked; // checkLayoutForRead's answer
};

LayoutPlan planLayout(LayoutEntry* layout);

// Identifies the layout with which an image was written. Only the last four
// entries reach it, so different layouts may share one.
int16_t layoutSignature(const LayoutEntry* layout);
