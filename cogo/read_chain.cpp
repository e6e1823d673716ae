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

// Replaces the chain record just read through the older layout by one of the current
// layout under the same key, which is in the record key. COGO_OK, or COGO_FAILED with
// the older record in its place.
static int rewriteOlderChain(RecordFile* job)
{
    // What cannot be deleted is refused as a deletion.
    if (isReadOnly(job)) {
        recordDeleteCurrent(job, cogoState.olderChainLayout);
        return COGO_FAILED;
    }
    cogoState.chain = cogoState.olderChain;
    job->recordTypeByte = KIND_CHAIN;
    int code = recordReplaceCurrent(job, cogoState.olderChainLayout, cogoState.chainLayout);
    return code == IX_OK ? COGO_OK : COGO_FAILED;
}

// Reads the current record through the older layout and rewrites it. Returns CHAIN_OLDER or
// CHAIN_UNREADABLE.
static int loadOlderChain(RecordFile* job)
{
    if (readRecordAtKey(job, &cogoState.olderChainPlan, KEY_FIELD) != IX_OK) {
        return CHAIN_UNREADABLE;
    }
    setRecordKey(keyAtPosition(job, RECORD_KEY_INDEX));
    return rewriteOlderChain(job) == COGO_OK ? CHAIN_OLDER : CHAIN_UNREADABLE;
}

// Looks the chain record up and reads it once more now that the file is locked, for another
// process may have rewritten it in the meantime. Returns as loadChainRecord.
static int reloadOlderChain(RecordFile* job)
{
    RecordKey key;
    copyText(key.text, sizeof key.text, keyAtPosition(job, RECORD_KEY_INDEX));
    if (recordFind(job, RECORD_KEY_INDEX, key.text, MATCH_EXACT) != IX_OK) return CHAIN_UNREADABLE;
    int code = readRecordAtKey(job, &cogoState.chainPlan, KEY_FIELD);
    if (code == IX_OK) return CHAIN_CURRENT;
    return code == IX_OTHER_LAYOUT ? loadOlderChain(job) : CHAIN_UNREADABLE;
}

// Reads the current record into the chain buffer, whichever layout it has; one of the older
// layout is rewritten. Returns CHAIN_...
static int loadChainRecord(RecordFile* job)
{
    int code = readRecordAtKey(job, &cogoState.chainPlan, KEY_FIELD);
    if (code == IX_OK) return CHAIN_CURRENT;
    if (code != IX_OTHER_LAYOUT) return CHAIN_UNREADABLE;

    if (beginWriting(job) != IX_OK) return CHAIN_UNREADABLE;
    int found = isReadOnly(job) ? loadOlderChain(job) : reloadOlderChain(job);
    return endWriting(job) == IX_OK ? found : CHAIN_UNREADABLE;
}

// Appends the descriptions of the continuations that exist and can be read, as far as there is
// room. Returns COGO_OK, or COGO_FAILED when it cannot be told whether there is one.
static int appendContinuations(RecordFile* job, const char* chainName, ChainResult* result)
{
    size_t length = std::strlen(result->description);
    for (int member = 1; member <= CHAIN_CONTINUATIONS; ++member) {
        if (!canContinue(chainName, member)) continue;
        if (findChainContinuation(job, chainName, member) != COGO_OK) {
            if (lookupFailed(job)) return COGO_FAILED;
            continue;
        }
        if (readRecordAtKey(job, &cogoState.chainPlan, KEY_FIELD) != IX_OK) continue;
        copyText(result->description + length, sizeof result->description - length,
                 cogoState.chain.description);
        length += std::strlen(result->description + length);
    }
    return COGO_OK;
}

int readChain(RecordFile* job, const char* name, ChainResult* result)
{
    if (name[0] == '\0') return COGO_FAILED;
    int found = loadChainRecord(job);
    if (found == CHAIN_UNREADABLE) return COGO_FAILED;
    ChainResult chain = cogoState.chain;
    copyText(chain.name, sizeof chain.name, name);
    if (found == CHAIN_CURRENT) {
        if (appendContinuations(job, name, &chain) != COGO_OK) return COGO_FAILED;
        char* end = std::strstr(chain.description, END_OF_DESCRIPTION);
        if (end != nullptr) *end = '\0';
    }
    *result = chain;
    return COGO_OK;
}
