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
// The kinds follow in the order of their numbers, the elements in that of their names, one a line;
// null stands for an element that cannot be read. Count and names of a kind that cannot be counted
// are null.
//
// For tools/export/.
#pragma once

#include "tools/export/output.h"

#include "orvIdx.h"

#include <string>
#include <vector>

struct JsonFormat {
    ExportOutput output;
    bool hasKind;    // one is there before the next
    bool hasElement; // likewise, of the kind
};

void beginJson(JsonFormat* json, std::FILE* stream, const std::string& path);

// Expects the names of all elements of the kind, or null when they are not known.
void beginKindJson(JsonFormat* json, uint32_t kind, const std::vector<std::string>* names);

// Expects the element, or null when it cannot be read.
void addElementJson(JsonFormat* json, uint32_t kind, const void* element);
void endKindJson(JsonFormat* json);
void endJson(JsonFormat* json);
