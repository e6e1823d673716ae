// The reader of chains. A chain's description goes on in up to six continuation
// records; chains of the older layout have none, and are rewritten in the current
// layout when they are read.
#include "cogo/cogo.h"
#include "cogo/cogo_state.h"
#include "cogo/writing.h"
#include "engine/engine.h"
#include "jobdb/jobdb.h"

#include <cstring>

// What follows this in a description is no part of it.
constexpr char END_OF_DESCRIPTION[] = "DW:";

// What loading a chain record found.
constexpr int CHAIN_UNREADABLE = 0;
constexpr int CHAIN_CURRENT = 1;
constexpr int CHAIN_OLDER = 2; // rewritten

// Puts the older record back after a rewrite that failed, unless it is still there:
// its only key goes first when it is deleted.
static void restoreOlderChain(IndexFile* file, uint8_t typeByte, int slot)
{
    if (findByName(slot) == COGO_OK) return;
    file->recordTypeByte = typeByte;
    recordAdd(file, cogoState.olderChainLayout);
}

// Replaces the chain record just read through the older layout by one of the current
// layout under the same key, which is in the record key. COGO_OK, or COGO_FAILED with
// the older record in its place, if only it could be stored.
static int rewriteOlderChain(IndexFile* file, int slot)
{
    const uint8_t olderTypeByte = file->recordTypeByte;
    int code = recordDeleteCurrent(file, cogoState.olderChainLayout);
    if (code == IX_READ_ONLY) return COGO_FAILED;
    if (code == IX_OK) {
        cogoState.chain = cogoState.olderChain;
        file->recordTypeByte = KIND_CHAIN;
        code = recordAdd(file, cogoState.chainLayout);
    }
    if (code == IX_OK) return COGO_OK;
    restoreOlderChain(file, olderTypeByte, slot);
    return COGO_FAILED;
}

static int loadOlderChain(IndexFile* file, int slot)
{
    if (readCurrentRecord(file, cogoState.olderChainLayout) != IX_OK) return CHAIN_UNREADABLE;
    loadCurrentKey(slot);
    return rewriteOlderChain(file, slot) == COGO_OK ? CHAIN_OLDER : CHAIN_UNREADABLE;
}

// Like loadOlderChain, but from the file lock on: the record is looked up and read
// again, for another process may have rewritten it in the meantime.
static int reloadOlderChain(IndexFile* file, int slot)
{
    loadCurrentKey(slot);
    if (findByName(slot) != COGO_OK) return CHAIN_UNREADABLE;
    const int code = readCurrentRecord(file, cogoState.chainLayout);
    if (code == IX_OK) return CHAIN_CURRENT;
    return code == IX_OTHER_LAYOUT ? loadOlderChain(file, slot) : CHAIN_UNREADABLE;
}

// Reads the current record into the chain buffer, whichever layout it has; one of
// the older layout is rewritten.
static int loadChainRecord(int slot)
{
    IndexFile* file = slotContext(slot);
    const int code = readCurrentRecord(file, cogoState.chainLayout);
    if (code == IX_OK) return CHAIN_CURRENT;
    if (code != IX_OTHER_LAYOUT) return CHAIN_UNREADABLE;

    if (beginWriting(file) != IX_OK) return CHAIN_UNREADABLE;
    const int found =
        file->readOnly != 0 ? loadOlderChain(file, slot) : reloadOlderChain(file, slot);
    const int ended = endWriting(file);
    return ended == IX_OK ? found : CHAIN_UNREADABLE;
}

// Appends the descriptions of the continuations that exist and can be read. Where
// the room ends the description is cut.
static void appendContinuations(ChainResult* result, const char* chainName, int slot)
{
    IndexFile* file = slotContext(slot);
    size_t length = std::strlen(result->description);
    for (int member = 1; member <= CHAIN_CONTINUATIONS; ++member) {
        if (findChainContinuation(chainName, member, slot) != COGO_OK) continue;
        if (readCurrentRecord(file, cogoState.chainLayout) != IX_OK) continue;
        copyText(result->description + length, sizeof(result->description) - length,
                 cogoState.chain.description);
        length += std::strlen(result->description + length);
    }
}

int readChain(ChainResult* result, int slot)
{
    if (currentName()[0] == '\0') return COGO_FAILED;
    char name[ELEMENT_NAME_ROOM];
    copyText(name, sizeof(name), currentName());

    const int found = loadChainRecord(slot);
    if (found == CHAIN_UNREADABLE) return COGO_FAILED;
    *result = cogoState.chain;
    copyText(result->name, sizeof(result->name), name);
    if (found == CHAIN_OLDER) return COGO_OK;

    loadCurrentKey(slot);
    appendContinuations(result, name, slot);
    char* end = std::strstr(result->description, END_OF_DESCRIPTION);
    if (end != nullptr) *end = '\0';
    return COGO_OK;
}
