// Counting the elements of a kind and listing their names.
#include "api/api_state.h"
#include "api/call_bracket.h"
#include "api/element_positions.h"
#include "api/orvIdx.h"
#include "api/text_block.h"
#include "platform/platform.h"

#include <cstring>

constexpr size_t FIRST_LIST_ROOM = 2500;
constexpr size_t NAME_LIMIT = 32; // no name is longer
constexpr char SEPARATOR = ',';
static_assert(ELEMENT_NAME_ROOM <= NAME_LIMIT && SURVEY_NAME_ROOM <= NAME_LIMIT);

// Returns the name of the element reached, or null when it cannot be read. That of a survey
// chain is read into the record.
static const char* nameOf(RecordFile* job, uint32_t kind, const Reached& reached,
                          SurveyChainRecord* record)
{
    if (kind != ELEMENT_SURVEY_CHAIN) return reached.name.text;
    return readSurveyChainRecord(job, record) == SURVEY_OK ? record->name : nullptr;
}

// Makes room for a name and puts the separator before it. Returns where it is to be written, or
// null when there is no memory.
static char* beginName(uint32_t count, TextBlock* list)
{
    if (reserveText(list, NAME_LIMIT + 1) != IDX_OK) return nullptr;
    if (count != 0) list->text[list->length++] = SEPARATOR;
    return list->text + list->length;
}

// Appends the name of an element and counts it. Returns IDX_OK, or IDX_ERROR when there is no name
// or no memory for it.
static int takeName(const char* name, uint32_t* count, TextBlock* list)
{
    char* place = name != nullptr ? beginName(*count, list) : nullptr;
    if (place == nullptr) return IDX_ERROR;
    size_t length = std::strlen(name);
    std::memcpy(place, name, length + 1);
    list->length += length;
    ++*count;
    return IDX_OK;
}

// Takes the names of the points over which the walk goes on without a search. Returns as
// takeName.
static int takeNextPoints(RecordFile* job, uint32_t* count, TextBlock* list)
{
    KeyBlock keys;
    nextPoints(job, &keys);
    for (int32_t i = 0; i < keys.count; ++i) {
        char* name = beginName(*count, list);
        if (name == nullptr) return IDX_ERROR;
        list->length += nameOfKey(name, ELEMENT_NAME_ROOM, keys.texts + keys.starts[i]);
        ++*count;
    }
    return IDX_OK;
}

// Walks over all elements of the kind, appends their names and counts them. Returns IDX_OK, or
// IDX_ERROR with the names so far.
static int gatherNames(RecordFile* job, uint32_t kind, uint32_t* count, TextBlock* list)
{
    SurveyChainRecord record;
    Reached reached = {};
    int result = IDX_OK;
    CallBracket call = beginCall(job);
    while (result == IDX_OK) {
        int found = position(job, &call, *count == 0 ? FIRST : NEXT, kind, nullptr, &reached);
        if (found == NOT_REACHED) break;
        const char* name = nameOf(job, kind, reached, &record);
        if (leaveToWrite(&call)) name = nameOf(job, kind, reached, &record);
        // A failure of the engine is no element.
        result = found == REACHED ? takeName(name, count, list) : IDX_ERROR;
        if (kind == ELEMENT_POINT && result == IDX_OK) result = takeNextPoints(job, count, list);
        goOn(&call);
    }
    int ended = endCall(&call);
    return result != IDX_OK ? result : ended;
}

int32_t ORVIDX_CALL orvIdx_numberOfElements(IdxConnection* handle, uint32_t kind, uint32_t* count,
                                            char** names)
{
    if (!handleIsInForce(handle)) return IDX_ERROR;
    if (kind > ELEMENT_SURVEY_CHAIN) return IDX_ERROR;
    if (count == nullptr) return IDX_OK;

    *count = 0;
    TextBlock list;
    if (beginText(&list, FIRST_LIST_ROOM) != IDX_OK) return IDX_ERROR;
    int result = gatherNames(slotContext(), kind, count, &list);
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
