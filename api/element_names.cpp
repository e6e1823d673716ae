// Counting the elements of a kind and listing their names.
#include "api/api_state.h"
#include "api/element_positions.h"
#include "api/orvIdx.h"
#include "api/text_block.h"
#include "cogo/cogo.h"
#include "jobdb/jobdb.h"
#include "platform/heap.h"

#include <cstring>

constexpr size_t NAME_LIST_ROOM = 2500; // to begin with
constexpr char SEPARATOR[] = ",";

// The name of the element on which the lower layers stand, into the record's name or
// as the current name. Null when the record of a survey chain cannot be read.
static const char* nameAtPosition(uint32_t kind, SurveyChainRecord* record, int slot)
{
    if (kind != ELEMENT_SURVEY_CHAIN) return currentName();
    return readSurveyChainRecord(record, slot) == SURVEY_OK ? record->name : nullptr;
}

// Walks all elements of the kind; appends their names and counts them.
static int gatherNames(uint32_t kind, int slot, uint32_t* count, TextBlock* list)
{
    SurveyChainRecord record;
    for (int reached = positionOnFirst(kind, slot); reached != 0;
         reached = positionOnNext(kind, slot)) {
        const char* name = nameAtPosition(kind, &record, slot);
        if (name == nullptr) return IDX_ERROR;
        if (*count != 0 && appendText(list, SEPARATOR, std::strlen(SEPARATOR)) != IDX_OK) {
            return IDX_ERROR;
        }
        if (appendText(list, name, std::strlen(name)) != IDX_OK) return IDX_ERROR;
        ++*count;
        // A failure of the engine counts as an element, but nothing follows it.
        if (reached < 0) break;
    }
    return IDX_OK;
}

int32_t ORVIDX_CALL orvIdx_numberOfElements(IdxConnection* handle, uint32_t kind, uint32_t* count,
                                            char** names)
{
    if (!handleIsInForce(handle)) return IDX_ERROR;
    if (count == nullptr) return IDX_OK;
    if (kind > ELEMENT_SURVEY_CHAIN) return IDX_ERROR;

    *count = 0;
    TextBlock list;
    if (beginText(&list, NAME_LIST_ROOM) != IDX_OK) return IDX_ERROR;
    int result = gatherNames(kind, slotOfHandle(handle), count, &list);
    if (result == IDX_OK && names != nullptr) {
        *names = list.text;
    } else {
        releaseText(&list);
    }
    return result;
}

int32_t ORVIDX_CALL orvIdx_freeElementNameList(char** namesVar)
{
    if (namesVar == nullptr) return IDX_OK;
    release(*namesVar);
    *namesVar = nullptr;
    return IDX_OK;
}
