// The job that a command reads. By default that is a copy of one state of it in a temporary
// file: then nothing that is read writes to the job, which need not be writable, and whoever
// works in it is held up for no longer than the copy takes.
//
// For orvidx.
#pragma once

#include "tools/faults/copy_faults.h"
#include "tools/reading/job_copy.h"
#include "tools/snapshot/job_snapshot.h"

#include <memory>
#include <string>

struct JobRequest {
    std::string path;
    bool live = false; // read the file itself, as hosts do
    int lockSeconds = DEFAULT_LOCK_SECONDS;
};

struct JobSource {
    std::string path; // as the user gave it
    IdxConnection* job = nullptr;
    JobCopy copy; // of a live job there is none
    std::unique_ptr<CopyFaults> faults = std::make_unique<CopyFaults>();
};

// Throws ReadingFault when the job cannot be opened.
JobSource openSource(const JobRequest& request);

// Closes the job and removes the copy. False when a live job could not be written and closed.
bool closeSource(JobSource* source);
