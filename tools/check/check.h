// The file checker: verifies a whole job database file without changing it and
// without the engine's search, through the format accessors alone.
//
// Boundary of tools/check/, for orvjob and for tests, which call it after whatever has written
// a file. Nobody may be writing while it reads. It keeps no state.
#pragma once

#include "tools/check/report.h"

#include <string>

// Checks the tree, the segments of what is stored in it, and the records with
// their keys, numbers and locks. Returns the report; the file is clean when it is readable
// and has no complaint.
CheckReport checkJobFile(const std::string& path);

// Checks the tree and the segments only: for files whose entries are no records.
CheckReport checkTreeFile(const std::string& path);
