// Why elements of a job cannot be read, for a host: a copy of the job is opened a second time,
// below the exports, when the first question comes.
//
// Boundary of tools/faults/, for orvidx. The floors below the exports are in the program once more
// for it, with a state of their own.
#pragma once

#include "records/records.h"

#include <cstdint>
#include <string>

constexpr int FAULTS_BUFFER_SIZE = 16384; // as large an image as readers accept

// Not to be moved once it is open: the records refer to the buffer.
struct CopyFaults {
    std::string path; // of the copy that the host reads; empty: it reads the job itself
    bool isOpen = false;
    RecordFile records = {};
    uint8_t recordBuffer[FAULTS_BUFFER_SIZE] = {};
};

// Returns the reason in a few words, in UTF-8, and in general ones for a job that is no copy or an
// element of which the name is not known (null).
std::string reasonOf(CopyFaults* faults, uint32_t kind, const std::string* name);

// Nothing happens when there were no questions.
void closeFaults(CopyFaults* faults);
