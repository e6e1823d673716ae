// The reader of chains. A chain's description goes on in up to six continuation
// records; chains of the older layout have none, and are rewritten in the current
// layout when they are read.
#include "cogo/cogo.h"
#include "cogo/cogo_state.h"
#include "cogo/keys.h"
#include "cogo/writing.h"

#include <cstring>

// What follows this in a description is no part of it.
constexpr char END_OF_DESCRIPTION[] = "DW:";

// What loading a chain record found.
constexpr int CHAIN_UNREADABLE = 0;
constexpr int CHAIN_CURRENT = 1;
constexpr int CHAIN_OLDER = 2; // rewritten

// Puts the older record back after a rewrite that failed, unless it is still there:
// its only key goes first when it is deleted.
static void restoreOlderChain(RecordFile* job, const KeyComponents* key, uint8_t typeByte)
{
    if (findByKey(job, key) == IX_OK) return;
    job->recordTypeByte = typeByte;
    recordAdd(job, cogoState.olderChainLayout);
}

// Replaces the chain record just read through the older layout by one of the current
// layout under the same key, which is in the record key. COGO_OK, or COGO_FAILED with
// the older record in its place, if only it could be stored.
static int rewriteOlderChain(RecordFile* job, const KeyComponents* key)
{
    const uint8_t olderTypeByte = job->recordTypeByte;
    int code = recordDeleteCurrent(job, cogoState.olderChainLayout);
    if (code == IX_READ_ONLY) return COGO_FAILED;
    if (code == IX_OK) {
        cogoState.chain = cogoState.olderChain;
        job->recordTypeByte = KIND_CHAIN;
        code = recordAdd(job, cogoState.chainLayout);
    }
    if (code == IX_OK) return COGO_OK;
    restoreOlderChain(job, key, olderTypeByte);
    return COGO_FAILED;
}

static int loadOlderChain(RecordFile* job)
{
    if (readRecordAtKey(job, cogoState.olderChainLayout, KEY_FIELD) != IX_OK) {
        return CHAIN_UNREADABLE;
    }
    const KeyComponents key = componentsAtPosition(job);
    setRecordKey(keyAtPosition(job, RECORD_KEY_INDEX));
    return rewriteOlderChain(job, &key) == COGO_OK ? CHAIN_OLDER : CHAIN_UNREADABLE;
}

// Like loadOlderChain, but from the file lock on: the record is looked up and read
// again, for another process may have rewritten it in the meantime.
static int reloadOlderChain(RecordFile* job)
{
    const KeyComponents key = componentsAtPosition(job);
    if (findByKey(job, &key) != IX_OK) return CHAIN_UNREADABLE;
    const int code = readRecordAtKey(job, cogoState.chainLayout, KEY_FIELD);
    if (code == IX_OK) return CHAIN_CURRENT;
    return code == IX_OTHER_LAYOUT ? loadOlderChain(job) : CHAIN_UNREADABLE;
}

// Reads the current record into the chain buffer, whichever layout it has; one of
// the older layout is rewritten.
static int loadChainRecord(RecordFile* job)
{
    const int code = readRecordAtKey(job, cogoState.chainLayout, KEY_FIELD);
    if (code == IX_OK) return CHAIN_CURRENT;
    if (code != IX_OTHER_LAYOUT) return CHAIN_UNREADABLE;

    if (beginWriting(job) != IX_OK) return CHAIN_UNREADABLE;
    const int found = isReadOnly(job) ? loadOlderChain(job) : reloadOlderChain(job);
    return endWriting(job) == IX_OK ? found : CHAIN_UNREADABLE;
}

// Appends the descriptions of the continuations that exist and can be read. Where
// the room ends the description is cut.
static void appendContinuations(RecordFile* job, const char* chainName, ChainResult* result)
{
    size_t length = std::strlen(result->description);
    for (int member = 1; member <= CHAIN_CONTINUATIONS; ++member) {
        if (findChainContinuation(job, chainName, member) != COGO_OK) continue;
        if (readRecordAtKey(job, cogoState.chainLayout, KEY_FIELD) != IX_OK) continue;
        copyText(result->description + length, sizeof(result->description) - length,
                 cogoState.chain.description);
        length += std::strlen(result->description + length);
    }
}

int readChain(RecordFile* job, const char* name, ChainResult* result)
{
    if (name[0] == '\0') return COGO_FAILED;
    const int found = loadChainRecord(job);
    if (found == CHAIN_UNREADABLE) return COGO_FAILED;
    *result = cogoState.chain;
    copyText(result->name, sizeof(result->name), name);
    if (found == CHAIN_OLDER) return COGO_OK;

    appendContinuations(job, name, result);
    char* end = std::strstr(result->description, END_OF_DESCRIPTION);
    if (end != nullptr) *end = '\0';
    return COGO_OK;
}
