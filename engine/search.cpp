// The operations that search: ixFind, ixFindKey, ixFindFirst.
#include "engine/engine.h"
#include "engine/operation.h"

static int find(IndexFile* tree, int index, SearchFor what, const char* key, int32_t number,
                void* data, uint32_t length)
{
    int result = checkRequest(tree, index, data, length);
    if (result != IX_OK) return result;
    if (strlen(key) > MAX_KEY) return withStatus(tree, IX_NOT_FOUND);

    bool updating = false;
    char text[KEY_BUFFER_SIZE]; // the key may be the one at a position
    strcpy(text, key);
    result = beginMove(tree, index, &updating);
    if (result != IX_OK) return withStatus(tree, result);
    result = ixInnerFind(tree, index, what, text, number, data, length);
    return withStatus(tree, resultOf(endMove(tree, updating), result));
}

int ixFind(IndexFile* tree, int index, const char* key, int32_t number, void* data, uint32_t length)
{
    return find(tree, index, FOR_INDEX, key, number, data, length);
}

int ixFindKey(IndexFile* tree, int index, const char* key)
{
    return find(tree, index, FOR_KEY, key, 0, nullptr, 0);
}

int ixFindFirst(IndexFile* tree, int index, void* data, uint32_t length)
{
    int result = ixFind(tree, index, "", 0, data, length);
    return result < 0 ? result : withStatus(tree, IX_OK);
}
