#include "format/format.h"
#include "platform/path_text.h"
#include "tools/orvjob/commands.h"
#include "tools/snapshot/job_snapshot.h"

#include <cstdio>
#include <filesystem>

static bool isJob(const std::vector<uint8_t>& bytes)
{
    if (bytes.size() < FIRST_PAGE_OFFSET) return false;
    return headerHasMagic(bytes.data(), CURRENT_MAGIC) || headerHasMagic(bytes.data(), OLDER_MAGIC);
}

int runBackup(const BackupRequest& request)
{
    std::error_code error;
    if (std::filesystem::equivalent(filePath(request.job), filePath(request.copy), error)) {
        return failWith(request.copy, "is the job itself");
    }
    JobSnapshot snapshot = takeSnapshot(request.job, request.lockSeconds);
    if (!snapshot.fault.empty()) return failWith(request.job, snapshot.fault);
    if (!isJob(snapshot.bytes)) {
        return failWith(request.job, "not a job database, or one whose header is destroyed: "
                                     "orvjob recover saves what can be saved");
    }
    clearHolders(&snapshot.bytes);
    std::string fault = writeNewJob(request.copy, snapshot.bytes, request.replaces);
    if (!fault.empty()) return failWith(request.copy, fault);
    std::printf("%s: a copy of %s, %zu bytes\n", request.copy.c_str(), request.job.c_str(),
                snapshot.bytes.size());
    return STATUS_DONE;
}
