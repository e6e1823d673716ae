// Reading elements by name and in walks, and giving them back.
#include "api/api_state.h"
#include "api/call_bracket.h"
#include "api/element_builders.h"
#include "api/orvIdx.h"
#include "platform/platform.h"

static bool mayRead(const IdxConnection* handle, uint32_t kind)
{
    return handleIsInForce(handle) && kind <= ELEMENT_SURVEY_CHAIN;
}

static void* build(RecordFile* job, uint32_t kind, const Reached& reached)
{
    switch (kind) {
    case ELEMENT_POINT:
        return buildPoint(job, reached);
    case ELEMENT_LINE:
        return buildLine(job, reached);
    case ELEMENT_CURVE:
        return buildCurve(job);
    case ELEMENT_SPIRAL:
        return buildSpiral(job);
    case ELEMENT_CHAIN:
        return buildChain(job, reached);
    case ELEMENT_PROFILE:
        return buildProfile(job, reached);
    default: // ELEMENT_SURVEY_CHAIN
        return buildSurveyChain(job, reached);
    }
}

// Builds an element for which reading has to write inside an update, so that it is of one state
// of the file too. Nothing is locked on a file without write access: each write is then refused
// by itself.
static void* buildInUpdate(RecordFile* job, uint32_t kind, const Reached& reached)
{
    bool updating = !isReadOnly(job) && ixBeginUpdate(fileOf(job)) == IX_OK;
    void* element = build(job, kind, reached);
    if (!updating || ixEndUpdate(fileOf(job)) == IX_OK) return element;
    releaseElement(kind, element);
    return nullptr;
}

// Builds an element in the bracket of the call, or, when reading has to write, in an update that
// takes the bracket's place.
static void* buildInCall(RecordFile* job, CallBracket* call, uint32_t kind, const Reached& reached)
{
    void* element = build(job, kind, reached);
    if (!leaveToWrite(call)) return element;
    releaseElement(kind, element);
    return buildInUpdate(job, kind, reached);
}

static int32_t readElement(Wanted wanted, uint32_t kind, const char* name, void** elementOut)
{
    RecordFile* job = slotContext();
    Reached reached = {};
    CallBracket call = beginCall(job);
    int found = position(job, &call, wanted, kind, name, &reached);
    bool builds = found != NOT_REACHED && elementOut != nullptr;
    if (!builds || (wanted != BY_NAME && !isFoundByName(job, kind, reached))) {
        endCall(&call);
        return IDX_ERROR;
    }

    void* element = buildInCall(job, &call, kind, reached);
    if (endCall(&call) != IDX_OK) {
        releaseElement(kind, element);
        element = nullptr;
    }
    if (element == nullptr) return IDX_ERROR;
    *elementOut = element;
    return IDX_OK;
}

int32_t ORVIDX_CALL orvIdx_readElementbyName(IdxConnection* handle, uint32_t kind, const char* name,
                                             void** elementOut)
{
    if (!mayRead(handle, kind) || name == nullptr) return IDX_ERROR;
    return readElement(BY_NAME, kind, name, elementOut);
}

int32_t ORVIDX_CALL orvIdx_readFirstElement(IdxConnection* handle, uint32_t kind, void** elementOut)
{
    if (!mayRead(handle, kind)) return IDX_ERROR;
    return readElement(FIRST, kind, nullptr, elementOut);
}

int32_t ORVIDX_CALL orvIdx_readNextElement(IdxConnection* handle, uint32_t kind, void** elementOut)
{
    if (!mayRead(handle, kind)) return IDX_ERROR;
    return readElement(NEXT, kind, nullptr, elementOut);
}

int32_t ORVIDX_CALL orvIdx_freeElement(uint32_t kind, void** elementVar)
{
    if (kind > ELEMENT_SURVEY_CHAIN) return IDX_ERROR;
    if (elementVar == nullptr) return IDX_OK;
    releaseElement(kind, *elementVar);
    *elementVar = nullptr;
    return IDX_OK;
}

void releaseElement(uint32_t kind, void* element)
{
    if (element == nullptr) return;
    if (kind == ELEMENT_PROFILE) {
        release(static_cast<ProfileElement*>(element)->vertices);
    } else if (kind == ELEMENT_SURVEY_CHAIN) {
        release(static_cast<SurveyChainElement*>(element)->points);
    }
    release(element); // with the members of a chain, which stand in its block
}
