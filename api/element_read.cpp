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
        return buildCurve(job, reached);
    case ELEMENT_SPIRAL:
        return buildSpiral(job, reached);
    case ELEMENT_CHAIN:
        return buildChain(job, reached);
    case ELEMENT_PROFILE:
        return buildProfile(job, reached);
    case ELEMENT_SURVEY_CHAIN:
        return buildSurveyChain(job, reached);
    default:
        return nullptr;
    }
}

// Which element of a kind is to be read.
enum Wanted { BY_NAME, FIRST, NEXT };

static int position(RecordFile* job, Wanted wanted, uint32_t kind, const char* name,
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

// Builds an element that reading has to write for, from the file lock on, so that it is
// of one state of the file too. Nothing is locked on a file without write access: each
// write is then refused by itself.
static void* buildInUpdate(RecordFile* job, uint32_t kind, const Reached& reached)
{
    bool updating = !isReadOnly(job) && ixBeginUpdate(fileOf(job)) == IX_OK;
    void* element = build(job, kind, reached);
    if (!updating || ixEndUpdate(fileOf(job)) == IX_OK) return element;
    releaseElement(kind, element);
    return nullptr;
}

static int32_t readElement(Wanted wanted, uint32_t kind, const char* name, void** elementOut)
{
    RecordFile* job = slotContext();
    Reached reached = {};
    CallBracket call = beginCall(job);
    int found = position(job, wanted, kind, name, &reached);
    if (leaveToWrite(&call)) found = position(job, wanted, kind, name, &reached);
    if (found == NOT_REACHED || elementOut == nullptr) {
        endCall(&call);
        return IDX_ERROR;
    }

    void* element = build(job, kind, reached);
    if (leaveToWrite(&call)) {
        releaseElement(kind, element);
        element = buildInUpdate(job, kind, reached);
    }
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
    if (kind == ELEMENT_CHAIN) {
        ChainMember* member = static_cast<ChainElement*>(element)->firstMember;
        while (member != nullptr) {
            ChainMember* next = member->next;
            release(member);
            member = next;
        }
    } else if (kind == ELEMENT_PROFILE) {
        release(static_cast<ProfileElement*>(element)->vertices);
    } else if (kind == ELEMENT_SURVEY_CHAIN) {
        release(static_cast<SurveyChainElement*>(element)->points);
    }
    release(element);
}
