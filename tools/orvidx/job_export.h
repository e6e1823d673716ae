// A whole job as JSON:
//
//   {
//   "points": {"count": 2, "names": ["9", "10"], "elements": [
//   {"setText": ..., "name": "9", ...},
//   null
//   ]},
//   "lines": ...
//   }
//
// The kinds follow in the order of their numbers, the elements in that of their
// names, one a line; null stands for an element that cannot be read. Nothing but the
// element at hand and the names of its kind are held in memory.
//
// For orvidx.
#pragma once

#include "orvIdx.h"

#include <cstdio>
#include <string>

// Writes the job to a stream that belongs to the caller, and how far it is to the
// progress stream unless that is null; the progress line is erased at the end.
// Throws std::runtime_error when the job cannot be read or the stream not be written.
void exportToStream(IdxConnection* job, std::FILE* out, std::FILE* progress);

// The same into a file. Throws std::runtime_error, and then the file is what it was
// before: the export grows under another name beside it.
void exportToFile(IdxConnection* job, const std::string& path, std::FILE* progress);
