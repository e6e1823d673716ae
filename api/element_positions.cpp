#include "api/element_positions.h"

#include "api/orvIdx.h"

static_assert(COGO_OK == REACHED && COGO_FAILED == NOT_REACHED);

static int ofSurvey(int result) { return result == SURVEY_OK ? REACHED : NOT_REACHED; }

// The record number belongs to the element as long as nothing else is looked up.
static int withNumber(const RecordFile* job, int result, Reached* reached)
{
    reached->recordNumber = job->currentRecordNumber;
    return result;
}

static int findByName(RecordFile* job, uint32_t kind, const char* name)
{
    switch (kind) {
    case ELEMENT_LINE:
        return findLine(job, name);
    case ELEMENT_CURVE:
        return findCurve(job, name);
    case ELEMENT_SPIRAL:
        return findSpiral(job, name);
    case ELEMENT_CHAIN:
        return findChain(job, name);
    case ELEMENT_PROFILE:
        return findProfile(job, name);
    case ELEMENT_SURVEY_CHAIN:
        return ofSurvey(findSurveyChain(job, name));
    default:
        return NOT_REACHED;
    }
}

int positionByName(RecordFile* job, uint32_t kind, const char* name, Reached* reached)
{
    if (kind == ELEMENT_POINT) return ofSurvey(readPointByName(job, name, &reached->name));
    copyText(reached->name.text, sizeof reached->name.text, name);
    return withNumber(job, findByName(job, kind, name), reached);
}

int positionOnFirst(RecordFile* job, uint32_t kind, Reached* reached)
{
    switch (kind) {
    case ELEMENT_POINT:
        return ofSurvey(firstPoint(job, &reached->name));
    case ELEMENT_LINE:
        return firstLine(job, &reached->name);
    case ELEMENT_CURVE:
        return firstCurve(job, &reached->name);
    case ELEMENT_SPIRAL:
        return firstSpiral(job, &reached->name);
    case ELEMENT_CHAIN:
        return firstChain(job, &reached->name);
    case ELEMENT_PROFILE:
        return firstProfile(job, &reached->name);
    case ELEMENT_SURVEY_CHAIN:
        return withNumber(job, ofSurvey(firstInIndex(job, SURVEY_CHAIN_INDEX)), reached);
    default:
        return NOT_REACHED;
    }
}

int positionOnNext(RecordFile* job, uint32_t kind, Reached* reached)
{
    switch (kind) {
    case ELEMENT_POINT:
        return ofSurvey(nextPoint(job, &reached->name));
    case ELEMENT_LINE:
        return nextLine(job, &reached->name);
    case ELEMENT_CURVE:
        return nextCurve(job, &reached->name);
    case ELEMENT_SPIRAL:
        return nextSpiral(job, &reached->name);
    case ELEMENT_CHAIN:
        return nextChain(job, &reached->name);
    case ELEMENT_PROFILE:
        return nextProfile(job, &reached->name);
    case ELEMENT_SURVEY_CHAIN:
        return withNumber(job, ofSurvey(nextInIndex(job, SURVEY_CHAIN_INDEX)), reached);
    default:
        return NOT_REACHED;
    }
}
