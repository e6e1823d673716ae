// A copy of a job in a temporary file, opened through the exports: reading some elements writes,
// and neither the job nor those who use it are to notice.
//
// For orvidx, orvjob and tests.
#pragma once

#include "orvIdx.h"
#include "platform/new_file.h"

#include <cstdint>
#include <string>
#include <vector>

struct JobCopy {
    NewFile file;
    IdxConnection* job = nullptr;
    std::string fault; // why it cannot be opened, else empty
};

// Opens a copy with these bytes. A connection that the process has is closed.
JobCopy openJobCopy(const std::vector<uint8_t>& bytes);

// Connects once more to a copy whose connection another one has taken. False when that fails.
bool returnToJobCopy(JobCopy* copy);

// Closes the copy and removes it. Nothing happens to one that could not be opened.
void closeJobCopy(JobCopy* copy);
