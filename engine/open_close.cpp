// Opening and closing a database.
#include "engine/engine.h"
#include "engine/node_buffer.h"
#include "engine/operation.h"

// -- Open --------------------------------------------------------------------

// Everything that an earlier use of the context could have left behind.
static void initPositions(IndexFile* tree)
{
    for (int index = 0; index < INDEX_SLOTS; ++index) {
        Position* position = &tree->positions[index];
        *position = {};
        position->home = index;
        position->index = NO_POSITION;
        position->leafPage = NO_PAGE;
        position->recordLock = UNLOCKED;
    }
    tree->internalCall = 0;
}

// Deletes the lock entries that an earlier holder of this user slot left behind.
static int releaseStaleLocks(IndexFile* tree)
{
    bool older = setFormatVersion(false, 0) != CURRENT_FORMAT_VERSION;
    // An older file would be stamped as a current one by the header write.
    if (isExclusive(&tree->file) || tree->file.readOnly || older) return IX_OK;

    uint8_t slot[LOCK_DATA_SIZE] = {};
    int result = ixFindFirst(tree, LOCK_INDEX, slot, sizeof slot);
    while (result == IX_OK) {
        bool own = tree->found.recordLength == LOCK_DATA_SIZE &&
                   loadInt32(slot) == tree->file.sharing.userSlot;
        if (own) {
            result = ixDeleteCurrent(tree, LOCK_INDEX);
            if (result != IX_OK) return result;
        }
        result = ixNext(tree, LOCK_INDEX, slot, sizeof slot);
    }
    return result == IX_NOT_FOUND ? IX_OK : result;
}

static void closeFailedOpen(OpenFile* file)
{
    releaseUserSlot(file);
    closeDescriptor(file->descriptor);
}

// Ends an open whose update is still open; nothing has been changed.
static int failOpen(IndexFile* tree, int ioError, int result)
{
    tree->ioError = ioError;
    endOpen(&tree->file);
    closeFailedOpen(&tree->file);
    return withStatus(tree, result);
}

static void markOpen(IndexFile* tree, const char* path)
{
    memcpy(tree->file.marks.letters, OPEN_LETTERS, MAGIC_LENGTH);
    tree->file.marks.state = STATE_OPEN;
    memset(tree->path, 0, sizeof tree->path);
    memcpy(tree->path, path, strnlen(path, KEPT_PATH_LENGTH));
}

int ixOpen(IndexFile* tree, const char* path, char mode)
{
    OpenFile* file = &tree->file;
    if (contextIsOpen(tree)) return withStatus(tree, IX_OPEN_FAILED);
    tree->ioError = makeDurable();
    if (openFile(file, path, mode) != IX_OK) return withStatus(tree, IX_OPEN_FAILED);
    initPositions(tree);
    int result = enterOpen(file, path);
    if (result != IX_OK) return withStatus(tree, result);

    result = enterFile(file);
    if (result != IX_OK) return failOpen(tree, lastIoError(), result);
    result = readNode(file, file->header.rootPage, file->header.height - 1);
    if (result != IX_OK) return failOpen(tree, result, IX_PAGE_IO);

    // From here on operations run on the context, so it counts as open.
    OpenMarks before = file->marks;
    markOpen(tree, path);
    file->detoursLeft = MOST_DETOURS;
    result = releaseStaleLocks(tree);
    file->detoursLeft = 0;
    int ended = endOpen(file);
    if (result == IX_OK) result = ended;
    if (result != IX_OK) {
        closeFailedOpen(file);
        file->marks = before;
    }
    return withStatus(tree, result);
}

// -- Close -------------------------------------------------------------------

// Ends the update of a close that could not write; the database stays open.
static int failClose(IndexFile* tree, int ioError)
{
    ixEndUpdate(&tree->file);
    tree->ioError = ioError;
    return withStatus(tree, IX_PAGE_IO);
}

int ixClose(IndexFile* tree)
{
    OpenFile* file = &tree->file;
    if (!contextIsOpen(tree)) return IX_NOT_OPEN;
    if (isInherited(file)) {
        ixAbandon(tree);
        return withStatus(tree, IX_OK);
    }
    if (ixBeginUpdate(file) != IX_OK) return withStatus(tree, IX_FILE_LOCK);
    for (int index = MIN_INDEX; index <= MAX_INDEX; ++index) {
        ixUnlockRecord(tree, index);
    }

    tree->ioError = 0;
    int result = writeChanges(file);
    if (result == IX_OK) result = flushAndFreeFile(file);
    if (result != IX_OK) return failClose(tree, result);
    result = ixEndUpdate(file);
    if (result != IX_OK) return withStatus(tree, result);

    releaseUserSlot(file);
    if (closeDescriptor(file->descriptor) != IX_OK) {
        file->descriptor = -1; // the system may have given its number up all the same
        return withStatus(tree, IX_OPEN_FAILED);
    }
    file->marks.state = STATE_CLOSED;
    return withStatus(tree, IX_OK);
}

void ixAbandon(IndexFile* tree)
{
    if (!contextIsOpen(tree)) return;
    releaseUserSlot(&tree->file);
    closeDescriptor(tree->file.descriptor);
    tree->file.marks.state = STATE_CLOSED;
}
