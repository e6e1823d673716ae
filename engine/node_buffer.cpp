#include "engine/node_buffer.h"

#include "platform/platform.h"

static bool pageExists(const IndexFile* file, int pageNumber)
{
    return pageNumber >= 0 && pageNumber < file->pagesInFile;
}

int readNode(IndexFile* file, int pageNumber, int level)
{
    if (!pageExists(file, pageNumber)) return IX_DESCENT_FAILED;

    uint8_t* node = engineState.nodeBuffer;
    bool sound = false;
    int result = cachedPageRead(file, node, pageNumber, &sound);
    if (result != IX_OK) return result;
    if (!sound) {
        if (!nodeIsSound(node)) return IX_DESCENT_FAILED;
        markPageSound();
    }

    // A full page has its end marker in the room behind it.
    node[NODE_PAGE_SIZE] = 0;
    return nodeLevel(node) == level ? IX_OK : IX_DESCENT_FAILED;
}

int peekNode(IndexFile* file, int pageNumber, int level)
{
    if (!pageExists(file, pageNumber)) return IX_DESCENT_FAILED;

    uint8_t* node = engineState.peekBuffer;
    int result = cachedPagePeek(file, node, pageNumber);
    if (result != IX_OK) return result;
    node[NODE_PAGE_SIZE] = 0;
    return nodeIsSound(node) && nodeLevel(node) == level ? IX_OK : IX_DESCENT_FAILED;
}

int writeNode(IndexFile* file, int pageNumber)
{
    return cachedPageWrite(file, engineState.nodeBuffer, pageNumber);
}
