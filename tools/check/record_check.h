// The records in the leaves of a job database file. For tools/check/.
#pragma once

#include "tools/check/checked_file.h"

// Both expect the entries that checkTree has collected.

// Checks ordinals and sizes of the segments of every record in every index.
void checkSegments(CheckedFile* file);

// Checks records, their keys, free numbers, the sequence counter and lock entries.
void checkRecords(CheckedFile* file);
