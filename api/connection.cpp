// Connect and disconnect, and the exports that need no job database.
#include "api/api_state.h"
#include "api/orvIdx.h"
#include "api/start_up.h"
#include "platform/platform.h"
#include "records/records.h"

#include <cstring>

constexpr char PASS_CODE[] = "H2W84RCTM7L3";
static_assert(sizeof PASS_CODE == 13);

static int openJobDatabase(RecordFile* job, const char* path)
{
    return recordOpen(job, path, apiState.recordBuffer, RECORD_BUFFER_SIZE, OPEN_SHARED);
}

// Closes an open job database. When that fails it is given up, so that neither a lock nor a
// descriptor of it stays behind.
static void closeForGood(RecordFile* job)
{
    if (recordClose(job) != IX_OK) ixAbandon(&job->tree);
}

// False when there are changes that could not be written, or when the system has just failed to
// close the file: the rest is for a further call. In every other case nothing is held any more.
static bool closeConnection(RecordFile* job)
{
    const OpenFile* file = fileOf(job);
    const bool unwritten = hasChanges(file);
    const int32_t descriptor = file->descriptor;
    if (recordClose(job) == IX_OK) return true;
    const bool closeFailed = file->descriptor != descriptor;
    if (unwritten || closeFailed) return false;
    ixAbandon(&job->tree);
    return true;
}

// True when the file, which did not open as a current job database, is one of the older format.
// Leaves it closed and the current format in force.
static bool isOlderFormat(RecordFile* job, const char* path)
{
    setFormatVersion(true, OLDER_FORMAT_VERSION);
    bool opened = openJobDatabase(job, path) == IX_OK;
    if (recordClose(job) != IX_OK && opened) ixAbandon(&job->tree);
    setFormatVersion(true, CURRENT_FORMAT_VERSION);
    return opened;
}

// Returns a handle for the job database just opened, or null when there is no memory for it.
static IdxConnection* makeHandle(const char* path, uint32_t userValue)
{
    LiveHandle* live = static_cast<LiveHandle*>(allocateZeroed(1, sizeof(LiveHandle)));
    if (live == nullptr) return nullptr;
    live->former = apiState.handles;
    apiState.handles = live;
    IdxConnection* handle = &live->connection;
    handle->fileNumber = COGO_SLOT;
    copyText(handle->path, sizeof handle->path, path);
    handle->userValue = userValue;
    return handle;
}

// Returns the link that leads to the handle, or to null when it was released already, or never
// handed out. The handle itself is not looked at.
static LiveHandle** linkTo(const IdxConnection* handle)
{
    LiveHandle** link = &apiState.handles;
    while (*link != nullptr && &(*link)->connection != handle) {
        link = &(*link)->former;
    }
    return link;
}

// Makes the file the COGO file and opens it. Returns IDX_OK, IDX_ERROR or IDX_OLDER_FORMAT.
static int32_t openCogoFile(const char* path)
{
    char name[sizeof(IdxConnection::path)];
    copyText(name, sizeof name, path);
    int32_t slot = COGO_SLOT;
    if (jobFileCommand(&slot, name, "ADD_COGO_FILE") == JOB_FILE_REFUSED) return IDX_ERROR;
    if (openJobDatabase(slotContext(), path) == IX_OK) return IDX_OK;
    return isOlderFormat(slotContext(), path) ? IDX_OLDER_FORMAT : IDX_ERROR;
}

int32_t ORVIDX_CALL orvIdx_isOrvaneOrvFile(const char*) { return 1; }

int32_t ORVIDX_CALL orvIdx_connectToOrvaneOrvFile(IdxConnection** handleOut, const char* path,
                                                  uint32_t userValue)
{
    if (handleOut == nullptr || path == nullptr || path[0] == '\0') return IDX_ERROR;
    // A shortened path could name another file.
    if (std::strlen(path) >= sizeof(IdxConnection::path)) return IDX_ERROR;

    if (apiState.connection != nullptr) {
        closeForGood(slotContext());
        apiState.connection = nullptr;
    }

    startUpFloors();
    int32_t opened = openCogoFile(path);
    if (opened != IDX_OK) return opened;
    IdxConnection* handle = makeHandle(path, userValue);
    if (handle == nullptr) {
        closeForGood(slotContext());
        return IDX_ERROR;
    }
    apiState.connection = handle;
    *handleOut = handle;
    return IDX_OK;
}

int32_t ORVIDX_CALL orvIdx_disconnectFromOrvaneOrvFile(IdxConnection** handleVar)
{
    if (handleVar == nullptr || *handleVar == nullptr) return IDX_OK;
    LiveHandle** link = linkTo(*handleVar);
    LiveHandle* live = *link;
    if (live == nullptr) return IDX_ERROR;
    // The file of an earlier handle was closed by the connect that followed it.
    if (handleIsInForce(*handleVar)) {
        if (!closeConnection(slotContext())) return IDX_ERROR;
        apiState.connection = nullptr;
    }
    *link = live->former;
    release(live);
    *handleVar = nullptr;
    return IDX_OK;
}

char* ORVIDX_CALL dlmPassword(char* buffer)
{
    if (buffer == nullptr) return nullptr;
    std::memcpy(buffer, PASS_CODE, sizeof PASS_CODE);
    return buffer;
}
