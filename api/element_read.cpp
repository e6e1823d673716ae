// Reading elements by name and in walks, and giving them back.
#include "api/api_state.h"
#include "api/call_bracket.h"
#include "api/element_builders.h"
#include "api/element_positions.h"
#include "api/orvIdx.h"
#include "cogo/cogo.h"
#include "jobdb/jobdb.h"
#include "platform/heap.h"

static bool mayRead(const IdxConnection* handle, uint32_t kind)
{
    return handleIsInForce(handle) && kind <= ELEMENT_SURVEY_CHAIN;
}

static void* build(uint32_t kind, int slot)
{
    switch (kind) {
    case ELEMENT_POINT:
        return buildPoint(slot);
    case ELEMENT_LINE:
        return buildLine(slot);
    case ELEMENT_CURVE:
        return buildCurve(slot);
    case ELEMENT_SPIRAL:
        return buildSpiral(slot);
    case ELEMENT_CHAIN:
        return buildChain(slot);
    case ELEMENT_PROFILE:
        return buildProfile(slot);
    case ELEMENT_SURVEY_CHAIN:
        return buildSurveyChain(slot);
    default:
        return nullptr;
    }
}

// Which element of a kind is to be read.
enum Wanted { BY_NAME, FIRST, NEXT };

static int position(Wanted wanted, uint32_t kind, const char* name, int slot)
{
    switch (wanted) {
    case BY_NAME:
        return positionByName(kind, name, slot);
    case FIRST:
        return positionOnFirst(kind, slot);
    default:
        return positionOnNext(kind, slot);
    }
}

// What positioning left the lower layers on: enough to build the element twice.
struct Reached {
    char name[ELEMENT_NAME_ROOM];
    int32_t recordNumber;
};

// Builds an element that reading has to write for, from the file lock on, so that it is
// of one state of the file too. Nothing is locked on a file without write access: each
// write is then refused by itself.
static void* buildInUpdate(uint32_t kind, const Reached& reached, int slot)
{
    IndexFile* file = slotContext(slot);
    setName(reached.name);
    file->currentRecordNumber = reached.recordNumber;
    bool updating = file->readOnly == 0 && ixBeginUpdate(file) == IX_OK;
    void* element = build(kind, slot);
    if (!updating || ixEndUpdate(file) == IX_OK) return element;
    releaseElement(kind, element);
    return nullptr;
}

static int32_t readElement(Wanted wanted, uint32_t kind, const char* name, int slot,
                           void** elementOut)
{
    CallBracket call = beginCall(slot);
    int found = position(wanted, kind, name, slot);
    if (leftToWrite(&call)) found = position(wanted, kind, name, slot);
    if (found == 0 || elementOut == nullptr) {
        endCall(&call);
        return IDX_ERROR;
    }
    Reached reached = {};
    copyText(reached.name, sizeof reached.name, currentName());
    reached.recordNumber = slotContext(slot)->currentRecordNumber;

    void* element = build(kind, slot);
    if (leftToWrite(&call)) {
        releaseElement(kind, element);
        element = buildInUpdate(kind, reached, slot);
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
    return readElement(BY_NAME, kind, name, slotOfHandle(handle), elementOut);
}

int32_t ORVIDX_CALL orvIdx_readFirstElement(IdxConnection* handle, uint32_t kind, void** elementOut)
{
    if (!mayRead(handle, kind)) return IDX_ERROR;
    return readElement(FIRST, kind, nullptr, slotOfHandle(handle), elementOut);
}

int32_t ORVIDX_CALL orvIdx_readNextElement(IdxConnection* handle, uint32_t kind, void** elementOut)
{
    if (!mayRead(handle, kind)) return IDX_ERROR;
    return readElement(NEXT, kind, nullptr, slotOfHandle(handle), elementOut);
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
