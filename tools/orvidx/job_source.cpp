#include "tools/orvidx/job_source.h"

#include "platform/path_text.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/open_diagnosis.h"

static bool isLive(const JobSource& source) { return source.copy.job == nullptr; }

static void openLive(JobSource* source, const JobRequest& request)
{
    std::string fault = waitForWriters(request.path, request.lockSeconds);
    if (!fault.empty()) throw ReadingFault(fault);
    int32_t result =
        orvIdx_connectToOrvaneOrvFile(&source->job, libraryPath(request.path).c_str(), 0);
    if (result != IDX_OK) throw ReadingFault(openDiagnosis(request.path, result));
}

static void openCopy(JobSource* source, const JobRequest& request)
{
    JobSnapshot snapshot = takeSnapshot(request.path, request.lockSeconds);
    if (!snapshot.fault.empty()) throw ReadingFault(snapshot.fault);
    source->copy = openJobCopy(snapshot.bytes);
    if (!source->copy.fault.empty()) throw ReadingFault(source->copy.fault);
    source->job = source->copy.job;
    source->faults->path = source->copy.file.temporary;
}

JobSource openSource(const JobRequest& request)
{
    JobSource source;
    source.path = request.path;
    (request.live ? openLive : openCopy)(&source, request);
    return source;
}

bool closeSource(JobSource* source)
{
    closeFaults(source->faults.get());
    if (isLive(*source)) return orvIdx_disconnectFromOrvaneOrvFile(&source->job) == IDX_OK;
    source->job = nullptr;
    closeJobCopy(&source->copy);
    return true;
}
