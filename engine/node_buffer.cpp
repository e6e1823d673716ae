#include "engine/node_buffer.h"

static bool pageExists(const OpenFile* file, int pageNumber)
{
    return pageNumber >= 0 && pageNumber < file->header.pagesInFile;
}

int inTrouble(OpenFile* file, int result)
{
    file->trouble = true;
    return result;
}

int viewNode(OpenFile* file, int pageNumber, int level, NodeView* view)
{
    if (!pageExists(file, pageNumber)) return inTrouble(file, IX_DESCENT_FAILED);

    int result = cachedPageView(file, view, pageNumber);
    if (result != IX_OK) return inTrouble(file, result);
    return nodeLevel(view->node) == level ? IX_OK : inTrouble(file, IX_DESCENT_FAILED);
}

int readNode(OpenFile* file, int pageNumber, int level)
{
    NodeView view = {};
    int result = viewNode(file, pageNumber, level, &view);
    if (result != IX_OK) return result;

    // A full page has its end marker in the room behind it.
    uint8_t* node = engineState.nodeBuffer;
    memcpy(node, view.node, NODE_PAGE_SIZE);
    node[NODE_PAGE_SIZE] = 0;
    return IX_OK;
}

int peekNode(OpenFile* file, int pageNumber, int level)
{
    if (!pageExists(file, pageNumber)) return inTrouble(file, IX_DESCENT_FAILED);

    uint8_t* node = engineState.peekBuffer;
    int result = cachedPagePeek(file, node, pageNumber);
    if (result != IX_OK) return inTrouble(file, result);
    node[NODE_PAGE_SIZE] = 0;
    return nodeLevel(node) == level ? IX_OK : inTrouble(file, IX_DESCENT_FAILED);
}

int writeNode(OpenFile* file, int pageNumber)
{
    return cachedPageWrite(file, engineState.nodeBuffer, pageNumber);
}
