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

static ImageWalk startWalk(const RecordImage* image)
{
    return startImageWalk(image->bytes, image->layout, image->length);
}

// The lowest number above the given one under which the key string is entered. IX_SAME_KEY with
// the number, IX_NOT_FOUND or a failure.
static int nextHolder(IndexFile* tree, int index, const char* key, int32_t* number)
{
    if (*number == INT32_MAX) return IX_NOT_FOUND;
    int result = ixInnerFind(tree, index, FOR_KEY, key, *number + 1, nullptr, 0);
    if (result == IX_GREATER_KEY) return IX_NOT_FOUND;
    *number = tree->found.number;
    return result == IX_OK ? IX_SAME_KEY : result;
}

static void addHolder(KeyHolders* holders, int32_t number)
{
    for (int i = 0; i < holders->count; ++i) {
        if (holders->numbers[i] == number) return;
    }
    if (holders->count < MAX_HOLDERS) holders->numbers[holders->count++] = number;
}

// Adds the holders of one key but the owner. IX_OK, IX_EXISTS when the owner is none of them, or
// a failure.
static int addHoldersOf(IndexFile* tree, int index, const char* key, int32_t owner,
                        KeyHolders* holders)
{
    int32_t holder = 0;
    int found = 0;
    bool owned = false;
    int result = nextHolder(tree, index, key, &holder);
    for (; result == IX_SAME_KEY; result = nextHolder(tree, index, key, &holder)) {
        ++found;
        if (holder == owner) {
            owned = true;
        } else {
            addHolder(holders, holder);
        }
    }
    if (result != IX_NOT_FOUND) return result;
    return found == 0 || owned ? IX_OK : IX_EXISTS;
}

int findHolders(IndexFile* tree, const RecordImage* image, int32_t owner, KeyHolders* holders)
{
    *holders = {};
    char key[KEY_SCRATCH_SIZE];
    ImageWalk walk = startWalk(image);
    while (const LayoutEntry* entry = nextKey(&walk, key)) {
        if (entry->duplicates == DUPLICATES) continue;
        int result = addHoldersOf(tree, entry->indexNumber, key, owner, holders);
        if (result != IX_OK) return result;
    }
    return walk.damaged ? IX_DAMAGED_IMAGE : IX_OK;
}

static int addKeysOf(IndexFile* tree, const RecordImage* image, int32_t number, bool unique)
{
    char key[KEY_SCRATCH_SIZE];
    ImageWalk walk = startWalk(image);
    while (const LayoutEntry* entry = nextKey(&walk, key)) {
        if ((entry->duplicates != DUPLICATES) != unique) continue;
        int result = ixAdd(tree, entry->indexNumber, key, number, nullptr, 0);
        if (result != IX_OK && result != IX_EXISTS) return result; // exactly this entry exists
    }
    return walk.damaged ? IX_DAMAGED_IMAGE : IX_OK;
}

static int removeKeysOf(IndexFile* tree, const RecordImage* image, int32_t number, bool unique)
{
    char key[KEY_SCRATCH_SIZE];
    ImageWalk walk = startWalk(image);
    while (const LayoutEntry* entry = nextKey(&walk, key)) {
        if ((entry->duplicates != DUPLICATES) != unique) continue;
        int result = ixDelete(tree, entry->indexNumber, key, number);
        if (result != IX_OK && result != IX_NOT_FOUND) return result;
    }
    return IX_OK;
}

// The unique key, by which a record is read, comes last and goes first: a process that is killed
// on the way leaves a record either with all of its keys or out of reach.
int addKeyEntries(IndexFile* tree, const RecordImage* image, int32_t number)
{
    int result = addKeysOf(tree, image, number, false);
    return result == IX_OK ? addKeysOf(tree, image, number, true) : result;
}

int removeKeyEntries(IndexFile* tree, const RecordImage* image, int32_t number)
{
    int result = removeKeysOf(tree, image, number, true);
    return result == IX_OK ? removeKeysOf(tree, image, number, false) : result;
}

static bool numberIsInUse(IndexFile* tree, int32_t number)
{
    return ixInnerFind(tree, DATA_INDEX, FOR_RECORD, "", number, nullptr, 0) == IX_OK;
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

int allocateRecordNumber(RecordFile* job, int32_t* number)
{
    IndexFile* tree = &job->tree;
    bool mayReuse = job->releasedInUpdate != tree->file.sharing.updates;
    // A process that was killed may have left a number both released and in use:
    // such a number is only taken out.
    while (mayReuse && takeReleasedNumber(tree, number)) {
        if (!numberIsInUse(tree, *number)) return IX_OK;
    }
    return ixNextSequence(tree, number);
}

int releaseRecordNumber(RecordFile* job, int32_t number)
{
    job->releasedInUpdate = job->tree.file.sharing.updates;
    // A process that was killed may have released it already.
    int result = ixAdd(&job->tree, FREE_NUMBER_INDEX, "", number, nullptr, 0);
    return result == IX_EXISTS ? IX_OK : result;
}
