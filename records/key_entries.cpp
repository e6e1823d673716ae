#include "records/key_entries.h"

#include "records/record_image.h"

#include <cstring>

// Takes the next key field of an image, its value as a terminated text in scratch.
// The layout entry, or null at the end of the image.
static const LayoutEntry* nextKey(ImageWalk* walk, char* scratch)
{
    ImageItem item = {};
    while (nextImageItem(walk, &item)) {
        const LayoutEntry* entry = &walk->layout[item.field];
        if (entry->keyFlag == NOT_A_KEY) continue;
        int part = item.length < KEY_SCRATCH_SIZE ? item.length : KEY_SCRATCH_SIZE - 1;
        memcpy(scratch, item.value, static_cast<size_t>(part));
        scratch[part] = 0;
        return entry;
    }
    return nullptr;
}

int addKeyEntries(IndexFile* tree, const uint8_t* image, int32_t number, const LayoutEntry* layout,
                  int length)
{
    char key[KEY_SCRATCH_SIZE];
    ImageWalk walk = startImageWalk(image, layout, length);
    while (const LayoutEntry* entry = nextKey(&walk, key)) {
        int result = IX_OK;
        if (entry->duplicates == DUPLICATES) {
            result = ixAdd(tree, entry->indexNumber, key, number, nullptr, 0);
            if (result == IX_EXISTS) result = IX_OK; // exactly this entry
        } else {
            result = ixAddUnique(tree, entry->indexNumber, key, number, nullptr, 0);
        }
        if (result != IX_OK) return result;
    }
    return walk.damaged ? IX_DAMAGED_IMAGE : IX_OK;
}

int removeKeyEntries(IndexFile* tree, const uint8_t* image, int32_t number,
                     const LayoutEntry* layout, int length)
{
    int result = checkImage(image, layout, length);
    if (result != IX_OK) return result;

    char key[KEY_SCRATCH_SIZE];
    ImageWalk walk = startImageWalk(image, layout, length);
    while (const LayoutEntry* entry = nextKey(&walk, key)) {
        result = ixDelete(tree, entry->indexNumber, key, number);
        if (result != IX_OK && result != IX_NOT_FOUND) return result;
    }
    return IX_OK;
}

static bool numberIsInUse(IndexFile* tree, int32_t number)
{
    return ixInnerFind(tree, DATA_INDEX, "", number, nullptr, 0) == IX_OK;
}

// Takes the lowest released number out of its index. False when there is none or it
// cannot be taken.
static bool takeReleasedNumber(IndexFile* tree, int32_t* number)
{
    // The lock is what permits the deletion, so it must be a real one even inside
    // the calls of somebody who has set this.
    int32_t internalCall = tree->internalCall;
    tree->internalCall = 0;
    bool taken = ixFindFirst(tree, FREE_NUMBER_INDEX, nullptr, 0) == IX_OK;
    if (taken) {
        *number = tree->found.number;
        taken = ixLockRecord(tree, FREE_NUMBER_INDEX) == IX_OK &&
                ixDeleteCurrent(tree, FREE_NUMBER_INDEX) == IX_OK;
    }
    tree->internalCall = internalCall;
    return taken;
}

int allocateRecordNumber(IndexFile* tree, int32_t* number)
{
    // A process that was killed may have left a number both released and in use:
    // such a number is only taken out.
    while (takeReleasedNumber(tree, number)) {
        if (!numberIsInUse(tree, *number)) return IX_OK;
    }
    return ixNextSequence(tree, number);
}

int releaseRecordNumber(IndexFile* tree, int32_t number)
{
    // A process that was killed may have released it already.
    int result = ixAdd(tree, FREE_NUMBER_INDEX, "", number, nullptr, 0);
    return result == IX_EXISTS ? IX_OK : result;
}
