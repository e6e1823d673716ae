// The reader of chains. A chain's description goes on in up to CHAIN_CONTINUATIONS records;
// chains of the older layout have none, and are rewritten in the current layout when they are
// read.
#include "cogo/cogo.h"
#include "cogo/cogo_state.h"
#include "cogo/keys.h"
#include "cogo/writing.h"

#include <cstring>

// The description ends where these characters begin.
constexpr char END_OF_DESCRIPTION[] = "DW:";

// What loading a chain record found.
constexpr int CHAIN_UNREADABLE = 0;
constexpr int CHAIN_CURRENT = 1;
constexpr int CHAIN_OLDER = 2; // rewritten

// Puts the older record back after a rewrite that failed. When the record is found it was
// never deleted: deleting begins with its only key.
static void restoreOlderChain(RecordFile* job, const KeyComponents* key, uint8_t typeByte)
{
    if (findByKey(job, key) == IX_OK) return;
    job->recordTypeByte = typeByte;
    recordAdd(job, cogoState.olderChainLayout);
}

// Replaces the chain record just read through the older layout by one of the current layout
// under the same key, which the record key holds. Returns COGO_OK; or COGO_FAILED, and the
// older record is then back in its place unless that failed too.
static int rewriteOlderChain(RecordFile* job, const KeyComponents* key)
{
    uint8_t olderTypeByte = job->recordTypeByte;
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

// Reads the current record through the older layout and rewrites it. Returns CHAIN_OLDER or
// CHAIN_UNREADABLE.
static int loadOlderChain(RecordFile* job)
{
    if (readRecordAtKey(job, cogoState.olderChainLayout, KEY_FIELD) != IX_OK) {
        return CHAIN_UNREADABLE;
    }
    KeyComponents key = componentsAtPosition(job);
    setRecordKey(keyAtPosition(job, RECORD_KEY_INDEX));
    return rewriteOlderChain(job, &key) == COGO_OK ? CHAIN_OLDER : CHAIN_UNREADABLE;
}

// Looks the chain record up and reads it once more now that the file is locked, for another
// process may have rewritten it in the meantime. Returns as loadChainRecord.
static int reloadOlderChain(RecordFile* job)
{
    KeyComponents key = componentsAtPosition(job);
    if (findByKey(job, &key) != IX_OK) return CHAIN_UNREADABLE;
    int code = readRecordAtKey(job, cogoState.chainLayout, KEY_FIELD);
    if (code == IX_OK) return CHAIN_CURRENT;
    return code == IX_OTHER_LAYOUT ? loadOlderChain(job) : CHAIN_UNREADABLE;
}

// Reads the current record into the chain buffer, whichever layout it has; one of the older
// layout is rewritten. Returns CHAIN_...
static int loadChainRecord(RecordFile* job)
{
    int code = readRecordAtKey(job, cogoState.chainLayout, KEY_FIELD);
    if (code == IX_OK) return CHAIN_CURRENT;
    if (code != IX_OTHER_LAYOUT) return CHAIN_UNREADABLE;

    if (beginWriting(job) != IX_OK) return CHAIN_UNREADABLE;
    int found = isReadOnly(job) ? loadOlderChain(job) : reloadOlderChain(job);
    return endWriting(job) == IX_OK ? found : CHAIN_UNREADABLE;
}

// Appends the descriptions of the continuations that exist and can be read, as far as there is
// room.
static void appendContinuations(RecordFile* job, const char* chainName, ChainResult* result)
{
    size_t length = std::strlen(result->description);
    for (int member = 1; member <= CHAIN_CONTINUATIONS; ++member) {
        if (findChainContinuation(job, chainName, member) != COGO_OK) continue;
        if (readRecordAtKey(job, cogoState.chainLayout, KEY_FIELD) != IX_OK) continue;
        copyText(result->description + length, sizeof result->description - length,
                 cogoState.chain.description);
        length += std::strlen(result->description + length);
    }
}

int readChain(RecordFile* job, const char* name, ChainResult* result)
{
    if (name[0] == '\0') return COGO_FAILED;
    int found = loadChainRecord(job);
    if (found == CHAIN_UNREADABLE) return COGO_FAILED;
    *result = cogoState.chain;
    copyText(result->name, sizeof result->name, name);
    if (found == CHAIN_OLDER) return COGO_OK;

    appendContinuations(job, name, result);
    char* end = std::strstr(result->description, END_OF_DESCRIPTION);
    if (end != nullptr) *end = '\0';
    return COGO_OK;
}
