// Looking elements up by name.
#include "cogo/cogo.h"
#include "cogo/keys.h"

#include <cstdio>

static int findTagged(RecordFile* job, const char* tag, const char* name,
                      const char* qualifierA = "", const char* qualifierC = "")
{
    KeyComponents parts = keyComponents(tag, name, qualifierA, qualifierC);
    return findByKey(job, &parts) == IX_OK ? COGO_OK : COGO_FAILED;
}

int findChain(RecordFile* job, const char* name) { return findTagged(job, TAG_CHAIN, name); }

int findCurve(RecordFile* job, const char* name) { return findTagged(job, TAG_CURVE, name); }

int findLine(RecordFile* job, const char* name) { return findTagged(job, TAG_LINE, name); }

int findSpiral(RecordFile* job, const char* name) { return findTagged(job, TAG_SPIRAL, name); }

int findChainContinuation(RecordFile* job, const char* name, int member)
{
    return findTagged(job, TAG_CHAIN, continuationName(name, member).text);
}

int findExtension(RecordFile* job, const char* name, const char* qualifierA, const char* qualifierC)
{
    return findTagged(job, TAG_EXTENSION, name, qualifierA, qualifierC);
}

int findNumberedRecord(RecordFile* job, const char* name, int number)
{
    char qualifierA[16];
    std::snprintf(qualifierA, sizeof qualifierA, "%d", number);
    return findTagged(job, TAG_NUMBERED, name, qualifierA);
}

// -- The job database --------------------------------------------------------

int closeJobDatabase(RecordFile* job) { return recordClose(job) == IX_OK ? COGO_OK : COGO_FAILED; }
