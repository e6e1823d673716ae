// The file checker: verifies a whole job database file without changing it and
// without the engine's search, through the format accessors alone.
//
// Boundary of tools/check/, for orvjob and for tests, which call it after whatever has written
// a file. It keeps no state.
#pragma once

#include "tools/check/report.h"

#include <span>
#include <string>

// Checks the tree, the segments of what is stored in it, and the records with
// their keys, numbers and locks. Returns the report; the file is clean when it is readable
// and has no complaint.
CheckReport checkJobBytes(std::span<const uint8_t> bytes);

// The same of a file that nobody may be writing, which is read without a lock.
CheckReport checkJobFile(const std::string& path);

// Checks the tree and the segments only: for files whose entries are no records.
CheckReport checkTreeFile(const std::string& path);
