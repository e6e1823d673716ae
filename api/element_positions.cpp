#include "api/element_positions.h"

#include "api/orvIdx.h"

#include <cstring>

static_assert(COGO_OK == REACHED && COGO_FAILED == NOT_REACHED);

// Longer names are no element's, but for their begin.
constexpr size_t NAME_ROOM = 256;

static int fromSurvey(int result) { return result == SURVEY_OK ? REACHED : NOT_REACHED; }

// Keeps the number of the record that was just positioned on, before anything else is looked
// up. Returns the result of the positioning.
static int keepNumber(const RecordFile* job, int result, Reached* reached)
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
    default: // ELEMENT_SURVEY_CHAIN
        return fromSurvey(findSurveyChain(job, name));
    }
}

static size_t lengthWithoutBlanks(const char* text)
{
    size_t length = std::strlen(text);
    while (length > 0 && text[length - 1] == ' ') {
        --length;
    }
    return length;
}

// A name that a host has padded with blanks means the one without them.
static int positionByName(RecordFile* job, uint32_t kind, const char* name, Reached* reached)
{
    char unpadded[NAME_ROOM];
    size_t length = lengthWithoutBlanks(name);
    if (length < sizeof unpadded) {
        copyText(unpadded, length + 1, name);
        name = unpadded;
    }
    if (kind == ELEMENT_POINT) return fromSurvey(readPointByName(job, name, &reached->name));
    char* cut = reached->name.text;
    copyText(cut, sizeof reached->name.text, name);
    cut[lengthWithoutBlanks(cut)] = '\0';
    return keepNumber(job, findByName(job, kind, name), reached);
}

static int positionOnFirst(RecordFile* job, uint32_t kind, Reached* reached)
{
    switch (kind) {
    case ELEMENT_POINT:
        return fromSurvey(firstPoint(job, &reached->name));
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
    default: // ELEMENT_SURVEY_CHAIN
        return keepNumber(job, fromSurvey(firstInIndex(job, SURVEY_CHAIN_INDEX)), reached);
    }
}

static int positionOnNext(RecordFile* job, uint32_t kind, Reached* reached)
{
    switch (kind) {
    case ELEMENT_POINT:
        return fromSurvey(nextPoint(job, &reached->name));
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
    default: // ELEMENT_SURVEY_CHAIN
        return keepNumber(job, fromSurvey(nextInIndex(job, SURVEY_CHAIN_INDEX)), reached);
    }
}

static int positionOn(RecordFile* job, Wanted wanted, uint32_t kind, const char* name,
                      Reached* reached)
{
    switch (wanted) {
    case BY_NAME:
        return positionByName(job, kind, name, reached);
    case FIRST:
        return positionOnFirst(job, kind, reached);
    default:
        return positionOnNext(job, kind, reached);
    }
}

int position(RecordFile* job, CallBracket* call, Wanted wanted, uint32_t kind, const char* name,
             Reached* reached)
{
    int result = positionOn(job, wanted, kind, name, reached);
    return leaveToWrite(call) ? positionOn(job, wanted, kind, name, reached) : result;
}

bool isFoundByName(const RecordFile* job, uint32_t kind, const Reached& reached)
{
    switch (kind) {
    case ELEMENT_POINT:
        return isPointAtPosition(job, reached.name.text);
    case ELEMENT_SURVEY_CHAIN:
        return true;
    default:
        return isElementAtPosition(job, reached.name.text);
    }
}
