// Reading elements by name and in walks, and giving them back.
#include "api/api_state.h"
#include "api/element_builders.h"
#include "api/element_positions.h"
#include "api/orvIdx.h"
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

// Builds the element on which positioning left the lower layers.
static int32_t handOut(int reached, uint32_t kind, int slot, void** elementOut)
{
    if (reached == 0 || elementOut == nullptr) return IDX_ERROR;
    void* element = build(kind, slot);
    if (element == nullptr) return IDX_ERROR;
    *elementOut = element;
    return IDX_OK;
}

int32_t ORVIDX_CALL orvIdx_readElementbyName(IdxConnection* handle, uint32_t kind, const char* name,
                                             void** elementOut)
{
    if (!mayRead(handle, kind) || name == nullptr) return IDX_ERROR;
    int slot = slotOfHandle(handle);
    return handOut(positionByName(kind, name, slot), kind, slot, elementOut);
}

int32_t ORVIDX_CALL orvIdx_readFirstElement(IdxConnection* handle, uint32_t kind, void** elementOut)
{
    if (!mayRead(handle, kind)) return IDX_ERROR;
    int slot = slotOfHandle(handle);
    return handOut(positionOnFirst(kind, slot), kind, slot, elementOut);
}

int32_t ORVIDX_CALL orvIdx_readNextElement(IdxConnection* handle, uint32_t kind, void** elementOut)
{
    if (!mayRead(handle, kind)) return IDX_ERROR;
    int slot = slotOfHandle(handle);
    return handOut(positionOnNext(kind, slot), kind, slot, elementOut);
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
