// A whole job in a format that other programs read (JSON, JSON Lines, CSV or SQLite), as a page for
// a browser, or as a drawing of its plan.
//
// Boundary of tools/export/, for orvidx. No state of its own. Of the job only the element at hand
// and the names of its kind are held in memory, and what is drawn.
#pragma once

#include "tools/drawing/plan_shapes.h"
#include "tools/faults/copy_faults.h"

#include <cstdio>

enum ExportFormat {
    EXPORT_JSON,
    EXPORT_JSONL,
    EXPORT_CSV,
    EXPORT_SQLITE,
    EXPORT_REPORT,
    EXPORT_PLAN
};

struct ExportPlan {
    ExportFormat format;
    std::string job;    // as the user calls it
    CopyFaults* faults; // why elements of it cannot be read
    std::string target; // file, or folder for CSV; empty: the stream
    std::FILE* stream;
    bool kinds[ELEMENT_SURVEY_CHAIN + 1]; // wanted
    bool force;                           // CSV goes into a folder that is not empty
    bool byteOrderMark;                   // CSV begins with one
    bool watched;                         // a person sees how far it has come
    std::string title;                    // of a page or drawing
    AxisOrder axes;                       // likewise
};

// What is missing in an export.
struct ExportGaps {
    int elements; // that cannot be read
    int kinds;    // that cannot be counted
    int undrawn;  // elements that a page or drawing does not show, or not whole
};

// False where this build has not got the format.
bool hasFormat(ExportFormat format);

// Throws std::runtime_error when what is to be written would take the place of the job.
void refuseJobAsTarget(const std::string& target, const std::string& job);

// Exports the job; a file is put in its place when it is complete, and never in that of the job.
// Names on standard error what cannot be read, one line each. Throws std::runtime_error when the
// export cannot be written, with the file as it was before.
ExportGaps exportJob(IdxConnection* job, const ExportPlan& plan);
