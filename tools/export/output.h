// Where an export goes: a stream of the caller, or a file that comes into being whole. What cannot
// be written is noted, and all that follows is passed over.
//
// For tools/export/.
#pragma once

#include "platform/new_file.h"

#include <cstdio>
#include <string>
#include <string_view>

struct ExportOutput {
    std::FILE* stream = nullptr; // null: the file
    NewFile file;
    std::string name;    // for messages
    std::string pending; // still to be written
    std::string fault;   // the first one, else empty
};

// Begins an output, to the stream unless that is null.
void beginOutput(ExportOutput* output, std::FILE* stream, const std::string& path);

void put(ExportOutput* output, std::string_view text);

// Writes what is pending and puts a file in its place.
void finishOutput(ExportOutput* output);

// Removes what was written to a file. Nothing happens to one that is finished.
void abandonOutput(ExportOutput* output);
