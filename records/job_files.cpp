// The table of job files: ten slots, the commands that register files and make one
// of them the COGO file, and the contexts that travel with them.
#include "records/records.h"
#include "records/records_state.h"

#include <cstdint>
#include <cstring>

static bool slotExists(int slot) { return slot >= 0 && slot < JOB_FILE_SLOTS; }

// -- Contexts ----------------------------------------------------------------

RecordFile* contextOfSlot(int slot)
{
    return &recordsState.table.contexts[slotExists(slot) ? slot : COGO_SLOT];
}

RecordFile* slotContext()
{
    int32_t current = COGO_SLOT;
    currentFileNumber(&current, nullptr);
    return contextOfSlot(current);
}

// The open file goes with the copy. What is left behind keeps its contents but counts as
// closed: two contexts of one descriptor would close it twice.
static void copyContext(int to, int from)
{
    RecordFile* contexts = recordsState.table.contexts;
    if (to == from) return;
    contexts[to] = contexts[from];
    fileOf(&contexts[from])->marks.state = STATE_CLOSED;
}

int copyContextFromCogo(int n)
{
    if (!slotExists(n)) return JOB_FILE_REFUSED;
    copyContext(n, COGO_SLOT);
    return JOB_FILE_DONE;
}

int copyContextToCogo(int n)
{
    if (!slotExists(n)) return JOB_FILE_REFUSED;
    copyContext(COGO_SLOT, n);
    return JOB_FILE_DONE;
}

int swapContextWithCogo(int n)
{
    if (!slotExists(n)) return JOB_FILE_REFUSED;
    if (n == COGO_SLOT) return JOB_FILE_DONE;
    RecordFile* contexts = recordsState.table.contexts;
    const RecordFile cogo = contexts[COGO_SLOT];
    contexts[COGO_SLOT] = contexts[n];
    contexts[n] = cogo;
    return JOB_FILE_DONE;
}

// -- Slots -------------------------------------------------------------------

// Names of slots and remembered names: the rest of the room is zero.
static void storeName(char* to, const char* name)
{
    std::memset(to, 0, FILE_NAME_ROOM);
    copyText(to, FILE_NAME_LIMIT + 1, name);
}

// Into a caller's buffer, of which no byte behind the terminator is touched.
static void reportName(char* to, const char* name)
{
    if (to != nullptr) std::memcpy(to, name, std::strlen(name) + 1);
}

static void reportSlot(int32_t* index, int slot)
{
    if (index != nullptr) *index = slot;
}

// The first slot of that name, in use or not, or NO_CURRENT_SLOT.
static int searchSlot(const char* name)
{
    for (int slot = 0; slot < JOB_FILE_SLOTS; ++slot) {
        if (std::strcmp(recordsState.table.slots[slot].name, name) == 0) return slot;
    }
    return NO_CURRENT_SLOT;
}

// The lowest slot from first on that is free, or NO_CURRENT_SLOT.
static int freeSlot(int first)
{
    for (int slot = first; slot < JOB_FILE_SLOTS; ++slot) {
        if (recordsState.table.slots[slot].inUse == 0) return slot;
    }
    return NO_CURRENT_SLOT;
}

static void occupySlot(int slot, const char* name)
{
    storeName(recordsState.table.slots[slot].name, name);
    recordsState.table.slots[slot].inUse = 1;
}

static void vacateSlot(int slot) { recordsState.table.slots[slot] = {}; }

static void exchangeNamesWithCogo(int slot)
{
    JobFileSlot* slots = recordsState.table.slots;
    char cogoName[FILE_NAME_ROOM];
    storeName(cogoName, slots[COGO_SLOT].name);
    storeName(slots[COGO_SLOT].name, slots[slot].name);
    storeName(slots[slot].name, cogoName);
}

static void makeCurrent(int slot, int32_t* index)
{
    recordsState.table.currentSlot = slot;
    reportSlot(index, slot);
}

static const char* currentSlotName()
{
    const int current = recordsState.table.currentSlot;
    return slotExists(current) ? recordsState.table.slots[current].name : "";
}

// -- Commands ----------------------------------------------------------------

static int initializeTable()
{
    recordsState.table.currentSlot = NO_CURRENT_SLOT;
    for (int slot = 0; slot < JOB_FILE_SLOTS; ++slot) {
        vacateSlot(slot);
    }
    return JOB_FILE_DONE;
}

static int reportCurrent(int32_t* index, char* name)
{
    storeName(recordsState.table.oldFileName, currentSlotName());
    reportName(name, currentSlotName());
    reportSlot(index, recordsState.table.currentSlot);
    return JOB_FILE_DONE;
}

static int reportAlternate(char* name)
{
    storeName(recordsState.table.alternateFileName, currentSlotName());
    reportName(name, currentSlotName());
    return JOB_FILE_DONE;
}

static int selectFile(int32_t* index, const char* name)
{
    if (name == nullptr) {
        reportSlot(index, recordsState.table.currentSlot);
        return JOB_FILE_DONE;
    }
    const int slot = searchSlot(name);
    reportSlot(index, slot);
    if (slot != NO_CURRENT_SLOT) recordsState.table.currentSlot = slot;
    return JOB_FILE_DONE;
}

static int addFile(int32_t* index, const char* name)
{
    const int known = searchSlot(name);
    if (known != NO_CURRENT_SLOT) {
        makeCurrent(known, index);
        return JOB_FILE_DONE;
    }
    const int slot = freeSlot(0);
    if (slot == NO_CURRENT_SLOT) return JOB_FILE_REFUSED;
    makeCurrent(slot, index);
    occupySlot(slot, name);
    return JOB_FILE_DONE;
}

static int addCogoFile(int32_t* index, const char* name)
{
    JobFileSlot* slots = recordsState.table.slots;
    const int known = searchSlot(name);
    if (known == COGO_SLOT) {
        makeCurrent(COGO_SLOT, index);
        return JOB_FILE_ALREADY_COGO;
    }
    if (known != NO_CURRENT_SLOT) {
        exchangeNamesWithCogo(known);
        slots[COGO_SLOT].inUse = 1;
        slots[known].inUse = 1;
        swapContextWithCogo(known);
    } else if (slots[COGO_SLOT].inUse == 0) {
        occupySlot(COGO_SLOT, name);
    } else {
        const int slot = freeSlot(COGO_SLOT + 1);
        if (slot == NO_CURRENT_SLOT) return JOB_FILE_REFUSED;
        occupySlot(slot, slots[COGO_SLOT].name);
        occupySlot(COGO_SLOT, name);
        // The former COGO file stays open, in its new slot. Slot 0 keeps the
        // rest of it until the caller opens the new file into it.
        copyContextFromCogo(slot);
    }
    makeCurrent(COGO_SLOT, index);
    return JOB_FILE_DONE;
}

static int setFileToCogo(int32_t* index, const char* name)
{
    JobFileSlot* slots = recordsState.table.slots;
    const int slot = searchSlot(name);
    if (slot == NO_CURRENT_SLOT) {
        reportSlot(index, NO_CURRENT_SLOT);
        return JOB_FILE_DONE;
    }
    if (slot == COGO_SLOT) {
        makeCurrent(COGO_SLOT, index);
        return JOB_FILE_DONE;
    }
    if (slots[COGO_SLOT].inUse == 0) {
        storeName(slots[COGO_SLOT].name, slots[slot].name);
        vacateSlot(slot);
        copyContextToCogo(slot);
    } else {
        exchangeNamesWithCogo(slot);
        slots[slot].inUse = 1;
        swapContextWithCogo(slot);
    }
    slots[COGO_SLOT].inUse = 1;
    makeCurrent(COGO_SLOT, index);
    return JOB_FILE_DONE;
}

static int removeFile(int32_t* index, const char* name)
{
    const int slot = searchSlot(name);
    if (slot != NO_CURRENT_SLOT) vacateSlot(slot);
    reportSlot(index, slot);
    return JOB_FILE_DONE;
}

int jobFileCommand(int32_t* index, char* name, const char* command)
{
    const auto is = [command](const char* word) { return std::strcmp(command, word) == 0; };
    if (command == nullptr) return JOB_FILE_REFUSED;
    if (is("INITIALIZE")) return initializeTable();
    if (is("CURRENT")) return reportCurrent(index, name);
    if (is("CURRENT_ALT")) return reportAlternate(name);
    if (is("GET_ALT")) {
        reportName(name, recordsState.table.alternateFileName);
        return JOB_FILE_DONE;
    }
    if (is("GET_FILE_NUMBER")) return selectFile(index, name);
    if (is("GET_OLD_FILE")) {
        reportName(name, recordsState.table.oldFileName);
        return JOB_FILE_DONE;
    }
    if (is("SET_COGO_FILE")) {
        recordsState.table.currentSlot = COGO_SLOT;
        return JOB_FILE_DONE;
    }

    // The others take a file.
    const bool takesFile =
        is("ADD_FILE") || is("ADD_COGO_FILE") || is("SET_FILE_TO_COGO") || is("REMOVE_FILE");
    if (!takesFile) return JOB_FILE_DONE;
    if (name == nullptr) return JOB_FILE_REFUSED;
    if (is("ADD_FILE")) return addFile(index, name);
    if (is("ADD_COGO_FILE")) return addCogoFile(index, name);
    if (is("SET_FILE_TO_COGO")) return setFileToCogo(index, name);
    return removeFile(index, name);
}

void currentFileNumber(int32_t* index, const char* name) { selectFile(index, name); }
