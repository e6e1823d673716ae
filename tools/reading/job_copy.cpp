#include "tools/reading/job_copy.h"

#include "platform/path_text.h"
#include "tools/reading/open_diagnosis.h"
#include "tools/snapshot/job_snapshot.h"

static std::string writeCopy(NewFile* file, std::vector<uint8_t> bytes)
{
    clearHolders(&bytes);
    return writeTemporaryJob(file, bytes);
}

JobCopy openJobCopy(const std::vector<uint8_t>& bytes)
{
    JobCopy copy;
    copy.fault = writeCopy(&copy.file, bytes);
    if (!copy.fault.empty()) return copy;
    const std::string& path = copy.file.temporary;
    int32_t result = orvIdx_connectToOrvaneOrvFile(&copy.job, libraryPath(path).c_str(), 0);
    if (result == IDX_OK) return copy;
    copy.fault = openDiagnosis(path, result);
    abandonNewFile(&copy.file);
    return copy;
}

bool returnToJobCopy(JobCopy* copy)
{
    orvIdx_disconnectFromOrvaneOrvFile(&copy->job);
    const std::string path = libraryPath(copy->file.temporary);
    return orvIdx_connectToOrvaneOrvFile(&copy->job, path.c_str(), 0) == IDX_OK;
}

void closeJobCopy(JobCopy* copy)
{
    // What cannot be written back is thrown away all the same.
    orvIdx_disconnectFromOrvaneOrvFile(&copy->job);
    abandonNewFile(&copy->file);
}
