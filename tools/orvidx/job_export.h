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
// names, one a line; null stands for an element that cannot be read. Only the element at hand
// and the names of its kind are held in memory.
//
// For orvidx.
#pragma once

#include "tools/orvidx/job_source.h"

#include <cstdio>
#include <string>

// Writes the job to a stream that belongs to the caller. When it is watched,
// a person at the terminal sees how far the export has come. Throws
// std::runtime_error when the job cannot be read or the stream cannot be written.
void exportToStream(IdxConnection* job, std::FILE* out, bool watched);

// Exports the job to a file, which the export replaces when it is complete: until then it grows
// under another name beside it. Throws std::runtime_error as exportToStream, with the file as
// it was before.
void exportToFile(const JobSource& source, const std::string& path);
