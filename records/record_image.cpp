#include "records/record_image.h"

#include "format/format.h"

#include <cstring>

constexpr int FIELD_NUMBER_SIZE = 2;
constexpr int BLOCK_LENGTH_SIZE = 2;
constexpr int END_MARK_SIZE = 2;

// Bytes of a number's value in an image and in memory; 0 for texts and blocks.
static inline int numberSize(char type)
{
    if (type == TYPE_DOUBLE) return 8;
    if (type == TYPE_LONG || type == TYPE_INT || type == TYPE_FLOAT) return 4;
    return type == TYPE_SHORT ? 2 : 0;
}

int16_t imageChecksum(const uint8_t* image, int length)
{
    // What is doubled sixteen times is gone: no byte but the last sixteen counts.
    constexpr int BYTES_THAT_COUNT = 16;
    bool all = length - IMAGE_TYPE_BYTE < BYTES_THAT_COUNT;
    uint32_t sum = 0;
    for (int i = all ? IMAGE_TYPE_BYTE : length - BYTES_THAT_COUNT; i < length; ++i) {
        sum = ((sum + static_cast<uint32_t>(static_cast<int8_t>(image[i]))) * 2) & 0xffff;
    }
    return static_cast<int16_t>(sum);
}

// -- Packing -----------------------------------------------------------------

static int textLength(const LayoutEntry* entry)
{
    size_t room = static_cast<size_t>(entry->length) - 1;
    return static_cast<int>(strnlen(static_cast<const char*>(entry->value), room));
}

static bool isEmpty(const LayoutEntry* entry)
{
    switch (entry->type) {
    case TYPE_TEXT:
        return textLength(entry) == 0;
    case TYPE_BLOCK:
        return entry->length == 0;
    case TYPE_DOUBLE: {
        double value = 0.0;
        memcpy(&value, entry->value, sizeof value);
        return value == 0.0;
    }
    case TYPE_FLOAT: {
        float value = 0.0F;
        memcpy(&value, entry->value, sizeof value);
        return value == 0.0F;
    }
    default: {
        uint8_t zero[4] = {};
        return memcmp(entry->value, zero, static_cast<size_t>(numberSize(entry->type))) == 0;
    }
    }
}

// Writes a number of the machine little-endian, bit for bit; readNumber is its inverse.
static void writeNumber(uint8_t* bytes, const void* value, int size)
{
    if (size == 8) {
        uint64_t number = 0;
        memcpy(&number, value, sizeof number);
        storeUint64(bytes, number);
    } else if (size == 4) {
        uint32_t number = 0;
        memcpy(&number, value, sizeof number);
        storeUint32(bytes, number);
    } else {
        int16_t number = 0;
        memcpy(&number, value, sizeof number);
        storeInt16(bytes, number);
    }
}

static inline void readNumber(void* value, const uint8_t* bytes, int size)
{
    if (size == 8) {
        uint64_t number = loadUint64(bytes);
        memcpy(value, &number, sizeof number);
    } else if (size == 4) {
        uint32_t number = loadUint32(bytes);
        memcpy(value, &number, sizeof number);
    } else {
        int16_t number = static_cast<int16_t>(loadInt16(bytes));
        memcpy(value, &number, sizeof number);
    }
}

// Bytes that the entry's item takes; its field number included.
static int itemSize(const LayoutEntry* entry)
{
    if (entry->type == TYPE_TEXT) return FIELD_NUMBER_SIZE + textLength(entry) + 1;
    if (entry->type == TYPE_BLOCK) {
        return FIELD_NUMBER_SIZE + BLOCK_LENGTH_SIZE + entry->length;
    }
    return FIELD_NUMBER_SIZE + numberSize(entry->type);
}

static void writeItem(uint8_t* item, int field, const LayoutEntry* entry)
{
    storeInt16(item, field);
    uint8_t* value = item + FIELD_NUMBER_SIZE;
    if (entry->type == TYPE_TEXT) {
        int length = textLength(entry);
        memcpy(value, entry->value, static_cast<size_t>(length));
        value[length] = 0;
    } else if (entry->type == TYPE_BLOCK) {
        int length = entry->length;
        storeInt16(value, length);
        memcpy(value + BLOCK_LENGTH_SIZE, entry->value, static_cast<size_t>(length));
    } else {
        writeNumber(value, entry->value, numberSize(entry->type));
    }
}

int packRecord(uint8_t* buffer, const LayoutEntry* layout, uint8_t typeByte, int maximumSize)
{
    if (maximumSize < IMAGE_MIN_SIZE) return IMAGE_DOES_NOT_FIT;
    storeInt16(buffer + IMAGE_SIGNATURE, layoutSignature(layout));
    buffer[IMAGE_TYPE_BYTE] = typeByte;

    int end = IMAGE_ITEMS;
    for (int field = 0; layout[field].type != TYPE_END; ++field) {
        const LayoutEntry* entry = &layout[field];
        if (entry->keyFlag == NOT_A_KEY && isEmpty(entry)) continue;
        bool overruns = entry->type == TYPE_BLOCK && entry->length > entry->room;
        if (overruns || end + itemSize(entry) + END_MARK_SIZE > maximumSize) {
            return IMAGE_DOES_NOT_FIT;
        }
        writeItem(buffer + end, field, entry);
        end += itemSize(entry);
    }
    storeInt16(buffer + end, IMAGE_END_MARK);
    end += END_MARK_SIZE;
    storeInt16(buffer + IMAGE_CHECKSUM, imageChecksum(buffer, end));
    return end;
}

// -- Unpacking ---------------------------------------------------------------

// Where the value of an item begins and how long it is; false when the item runs
// past the end.
static inline bool measureItem(const uint8_t* start, const uint8_t* end, const LayoutEntry* entry,
                               ImageItem* item)
{
    item->value = start;
    item->length = numberSize(entry->type);
    if (item->length != 0) return item->length <= end - start;
    if (entry->type == TYPE_TEXT) {
        const void* zero = memchr(start, 0, static_cast<size_t>(end - start));
        if (zero == nullptr) return false;
        item->length = static_cast<int>(static_cast<const uint8_t*>(zero) - start);
        return true;
    }
    if (end - start < BLOCK_LENGTH_SIZE) return false;
    item->value = start + BLOCK_LENGTH_SIZE;
    item->length = loadInt16(start);
    return item->length >= 0 && item->length <= entry->room && item->length <= end - item->value;
}

ImageWalk startImageWalk(const uint8_t* image, const LayoutEntry* layout, int length)
{
    return {image, layout, length, layoutFieldCount(layout), IMAGE_ITEMS, false};
}

static inline bool takeItem(ImageWalk* walk, ImageItem* item)
{
    const uint8_t* at = walk->image + walk->offset;
    const uint8_t* end = walk->image + walk->length;
    walk->damaged = walk->damaged || end - at < FIELD_NUMBER_SIZE;
    if (walk->damaged || (loadInt16(at) & 0xffff) == IMAGE_END_MARK) return false;

    item->field = loadInt16(at);
    bool known = item->field >= 0 && item->field < walk->fields;
    const LayoutEntry* entry = &walk->layout[known ? item->field : 0];
    if (!known || !measureItem(at + FIELD_NUMBER_SIZE, end, entry, item)) {
        walk->damaged = true;
        return false;
    }
    int zero = entry->type == TYPE_TEXT ? 1 : 0;
    walk->offset = static_cast<int>(item->value - walk->image) + item->length + zero;
    return true;
}

bool nextImageItem(ImageWalk* walk, ImageItem* item) { return takeItem(walk, item); }

// The first items of an image, and the walk that leads to the others.
constexpr int KEPT_ITEMS = 64; // more than any record has

struct ImageItems {
    ImageItem items[KEPT_ITEMS];
    int kept;
    ImageWalk rest;
};

// checkImage by a walk that has not begun, which keeps what it comes by.
static int checkItems(ImageWalk walk, int16_t signature, ImageItems* found)
{
    const uint8_t* image = walk.image;
    int length = walk.length;
    if (length < IMAGE_MIN_SIZE) return IX_DAMAGED_IMAGE;
    if (loadInt16(image + IMAGE_SIGNATURE) != signature) return IX_OTHER_LAYOUT;
    if (loadInt16(image + IMAGE_CHECKSUM) != imageChecksum(image, length)) return IX_DAMAGED_IMAGE;

    found->kept = 0;
    while (found->kept < KEPT_ITEMS && takeItem(&walk, &found->items[found->kept])) {
        ++found->kept;
    }
    found->rest = walk;
    ImageItem item = {};
    while (nextImageItem(&walk, &item)) {
    }
    return walk.damaged ? IX_DAMAGED_IMAGE : IX_OK;
}

int checkImage(const uint8_t* image, const LayoutEntry* layout, int length)
{
    ImageItems found;
    return checkItems(startImageWalk(image, layout, length), layoutSignature(layout), &found);
}

int clearFields(LayoutEntry* layout)
{
    constexpr uint8_t ZERO[8] = {};
    int field = 0;
    for (; layout[field].type != TYPE_END; ++field) {
        LayoutEntry* entry = &layout[field];
        if (entry->type == TYPE_TEXT) {
            *static_cast<char*>(entry->value) = 0;
        } else if (entry->type != TYPE_BLOCK) {
            readNumber(entry->value, ZERO, numberSize(entry->type));
        }
    }
    return field;
}

static void storeItem(LayoutEntry* entry, const ImageItem* item)
{
    if (entry->type == TYPE_TEXT) {
        if (entry->length <= 0) return;
        int room = entry->length - 1;
        int part = item->length < room ? item->length : room;
        char* text = static_cast<char*>(entry->value);
        memcpy(text, item->value, static_cast<size_t>(part));
        text[part] = 0;
    } else if (entry->type == TYPE_BLOCK) {
        entry->length = static_cast<int16_t>(item->length);
        memcpy(entry->value, item->value, static_cast<size_t>(item->length));
    } else {
        readNumber(entry->value, item->value, item->length);
    }
}

int unpackRecord(const uint8_t* image, const LayoutPlan* plan, uint8_t* typeByte, int length)
{
    LayoutEntry* layout = plan->layout;
    ImageItems found;
    int result = checkItems({image, layout, length, plan->fields, IMAGE_ITEMS, false},
                            plan->signature, &found);
    if (result != IX_OK) return result;

    clearFields(layout);
    *typeByte = image[IMAGE_TYPE_BYTE];
    for (int i = 0; i < found.kept; ++i) {
        storeItem(&layout[found.items[i].field], &found.items[i]);
    }
    ImageItem item = {};
    while (nextImageItem(&found.rest, &item)) {
        storeItem(&layout[item.field], &item);
    }
    return IX_OK;
}
