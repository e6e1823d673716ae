// Record images: the stored bytes of a record.
//
//   offset   size  field
//        0      2  signature of the layout it was written with
//        2      2  checksum of the bytes from offset 4 to the end
//        4      1  record type byte
//        5         items in field order: field number (2), for a block its
//                  length (2), then the value, a text with its zero byte
//    end-2      2  end mark 0xffff
// Fields that are no keys and hold nothing are left out.
//
// For records/, the tools that write and check records, and tests.
#pragma once

#include "records/layout.h"

#include <cstdint>

constexpr int IMAGE_SIGNATURE = 0;
constexpr int IMAGE_CHECKSUM = 2;
constexpr int IMAGE_TYPE_BYTE = 4;
constexpr int IMAGE_ITEMS = 5;
constexpr int IMAGE_MIN_SIZE = 7;
constexpr int IMAGE_END_MARK = 0xffff;
constexpr int IMAGE_DOES_NOT_FIT = -1;

// One item of an image, as nextImageItem finds it.
struct ImageItem {
    int field;            // number of the field
    const uint8_t* value; // first byte of the value
    int length;           // its bytes, a text without its zero byte
};

struct ImageWalk {
    const uint8_t* image;
    const LayoutEntry* layout;
    int length; // of the image
    int fields; // of the layout
    int offset; // of the next item
    bool damaged;
};

// Checksum of bytes 4 to length - 1.
int16_t imageChecksum(const uint8_t* image, int length);

// Writes the image of the layout's variables. Its length, or IMAGE_DOES_NOT_FIT. Expects a
// layout that checkLayoutForWrite has found right.
int packRecord(uint8_t* buffer, const LayoutEntry* layout, uint8_t typeByte, int maximumSize);

// Checks the whole image, then fills the layout's variables and *typeByte. 0,
// IX_OTHER_LAYOUT or IX_DAMAGED_IMAGE, nothing changed then.
int unpackRecord(const uint8_t* image, const LayoutPlan* plan, uint8_t* typeByte, int length);

// 0 when signature, checksum and every item of the image are sound for the layout.
int checkImage(const uint8_t* image, const LayoutEntry* layout, int length);

// A walk over the items of an image.
ImageWalk startImageWalk(const uint8_t* image, const LayoutEntry* layout, int length);
// Takes the next item. False at the end mark, and at an item that does not fit the
// layout or the image: the walk is then damaged.
bool nextImageItem(ImageWalk* walk, ImageItem* item);

// Sets every variable but blocks to its empty value; answers the number of fields.
int clearFields(LayoutEntry* layout);
