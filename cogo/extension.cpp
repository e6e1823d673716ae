// Extension records, and the counter that supplies element numbers.
#include "cogo/extension.h"

#include "cogo/cogo_state.h"
#include "cogo/writing.h"
#include "engine/engine.h"
#include "jobdb/jobdb.h"

#include <cstdint>

// The version counter's record: its name is right-aligned.
constexpr char VERSION_NAME[] = "             VERSION";
static_assert(sizeof(VERSION_NAME) == ELEMENT_NAME_ROOM);

// -- Extension records -------------------------------------------------------

int readExtension(ExtensionResult* result, int slot)
{
    const int code = readCurrentRecord(slotContext(slot), cogoState.extensionLayout);
    if (code != IX_OK) return COGO_FAILED;
    loadCurrentKey(slot);
    *result = cogoState.extension;
    copyText(result->name, sizeof(result->name), currentName());
    return COGO_OK;
}

// Adds an empty extension record for a line. A number that cannot be had is 0; the
// extension is added all the same.
static int addLineExtension(ExtensionResult* result, const char* lineName, int slot)
{
    IndexFile* file = slotContext(slot);
    const int32_t number = nextVersionNumber(slot);
    cogoState.extension = {};
    cogoState.extension.elementNumber = number;
    setKeyComponents(TAG_EXTENSION, lineName, EXTENSION_MEMBER, "", EXTENDS_LINE);
    buildKey();
    file->recordTypeByte = KIND_EXTENSION;
    if (recordAdd(file, cogoState.extensionLayout) != IX_OK) return COGO_FAILED;
    *result = cogoState.extension;
    return COGO_OK;
}

int readOrCreateLineExtension(ExtensionResult* extension, const char* lineName, int slot)
{
    if (findExtension(lineName, EXTENSION_MEMBER, EXTENDS_LINE, slot) == COGO_OK) {
        return readExtension(extension, slot);
    }
    // Nothing is written for an extension that may be there.
    if (lookupFailed(slot)) return COGO_FAILED;
    IndexFile* file = slotContext(slot);
    if (beginWriting(file) != IX_OK) return COGO_FAILED;
    // Another process may have added it before the file was locked.
    int result = COGO_FAILED;
    if (file->readOnly == 0 &&
        findExtension(lineName, EXTENSION_MEMBER, EXTENDS_LINE, slot) == COGO_OK) {
        result = readExtension(extension, slot);
    } else if (!lookupFailed(slot)) {
        result = addLineExtension(extension, lineName, slot);
    }
    const int ended = endWriting(file);
    return ended == IX_OK ? result : COGO_FAILED;
}

// -- Version counter ---------------------------------------------------------

// The counter is stored with its own record type byte, which every read of a record
// replaces: it is set last.
static int32_t addVersionCounter(IndexFile* file)
{
    cogoState.versionCounter = 1;
    file->recordTypeByte = KIND_VERSION;
    const int code = recordAdd(file, cogoState.versionLayout);
    return code == IX_OK ? cogoState.versionCounter : 0;
}

static int32_t advanceVersionCounter(IndexFile* file)
{
    if (readCurrentRecord(file, cogoState.versionLayout) != IX_OK) return 0;
    if (cogoState.versionCounter == INT32_MAX) return 0;
    cogoState.versionCounter += 1;
    file->recordTypeByte = KIND_VERSION;
    const int code = recordUpdateCurrent(file, cogoState.versionLayout);
    return code == IX_OK ? cogoState.versionCounter : 0;
}

static int32_t countUp(IndexFile* file, int slot)
{
    setKeyComponents(TAG_VERSION, VERSION_NAME, "", "", "");
    buildKey();
    return findByName(slot) == COGO_OK ? advanceVersionCounter(file) : addVersionCounter(file);
}

int32_t nextVersionNumber(int slot)
{
    IndexFile* file = slotContext(slot);
    // One update over lookup and write: no number is handed out twice.
    if (beginWriting(file) != IX_OK) return 0;
    const int32_t number = countUp(file, slot);
    const int ended = endWriting(file);
    return ended == IX_OK ? number : 0;
}

int closeJobDatabase(int slot)
{
    return recordClose(slotContext(slot)) == IX_OK ? COGO_OK : COGO_FAILED;
}
