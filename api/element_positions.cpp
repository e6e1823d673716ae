#include "api/element_positions.h"

#include "api/orvIdx.h"
#include "cogo/cogo.h"
#include "jobdb/jobdb.h"

int positionByName(uint32_t kind, const char* name, int slot)
{
    switch (kind) {
    case ELEMENT_POINT:
        return readPointByName(name, slot);
    case ELEMENT_LINE:
        return findLine(name, slot);
    case ELEMENT_CURVE:
        return findCurve(name, slot);
    case ELEMENT_SPIRAL:
        return findSpiral(name, slot);
    case ELEMENT_CHAIN:
        return findChain(name, slot);
    case ELEMENT_PROFILE:
        return findProfile(name, slot);
    case ELEMENT_SURVEY_CHAIN:
        return findSurveyChain(name, slot) == SURVEY_OK;
    default:
        return 0;
    }
}

int positionOnFirst(uint32_t kind, int slot)
{
    switch (kind) {
    case ELEMENT_POINT:
        return firstPoint(slot);
    case ELEMENT_LINE:
        return firstLine(slot);
    case ELEMENT_CURVE:
        return firstCurve(slot);
    case ELEMENT_SPIRAL:
        return firstSpiral(slot);
    case ELEMENT_CHAIN:
        return firstChain(slot);
    case ELEMENT_PROFILE:
        return firstProfile(slot);
    case ELEMENT_SURVEY_CHAIN:
        return firstInIndex(SURVEY_CHAIN_INDEX, slot) == SURVEY_OK;
    default:
        return 0;
    }
}

int positionOnNext(uint32_t kind, int slot)
{
    switch (kind) {
    case ELEMENT_POINT:
        return nextPoint(slot);
    case ELEMENT_LINE:
        return nextLine(slot);
    case ELEMENT_CURVE:
        return nextCurve(slot);
    case ELEMENT_SPIRAL:
        return nextSpiral(slot);
    case ELEMENT_CHAIN:
        return nextChain(slot);
    case ELEMENT_PROFILE:
        return nextProfile(slot);
    case ELEMENT_SURVEY_CHAIN:
        return nextInIndex(SURVEY_CHAIN_INDEX, slot) == SURVEY_OK;
    default:
        return 0;
    }
}
