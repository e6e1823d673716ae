// The records in the leaves of a job database file. For tools/check/.
#pragma once

#include "tools/check/report.h"

// Ordinals and sizes of the segments of every record in every index.
void checkSegments(CheckedFile* file);

// Records, their keys, free numbers, the sequence counter, lock entries.
void checkRecords(CheckedFile* file);
