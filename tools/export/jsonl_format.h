// A job as JSON Lines, one element a line, whatever its kind:
//
//   {"kind": "point", "name": "9", "element": {"setText": ..., "name": "9", ...}}
//   {"kind": "point", "name": "10", "element": null}
//
// The name is the one that reads the element, or null when none is known; the element is null when
// it cannot be read.
//
// For tools/export/.
#pragma once

#include "tools/export/output.h"

#include "orvIdx.h"

#include <string>

struct JsonlFormat {
    ExportOutput output;
};

void beginJsonl(JsonlFormat* jsonl, std::FILE* stream, const std::string& path);

// Expects null for a name that is not known or an element that cannot be read.
void addElementJsonl(JsonlFormat* jsonl, uint32_t kind, const std::string* name,
                     const void* element);
void endJsonl(JsonlFormat* jsonl);
