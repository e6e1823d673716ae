// A page that shows a job in a browser: plan, profiles and tables, in one file that needs nothing
// else. Text of the job stands in it as data only, and can become neither markup nor script.
//
// For tools/export/. No state of its own.
#pragma once

#include "tools/drawing/plan.h"
#include "tools/export/output.h"

#include <vector>

struct ReportFormat {
    ExportOutput output;
    Plan plan;
    std::string lines;      // of the profiles, as JSON
    std::string unreadable; // likewise
    size_t rows;            // of the kind at hand
};

// Begins a page about a job of that name.
void beginReport(ReportFormat* report, std::FILE* stream, const std::string& path,
                 const std::string& title, AxisOrder order);

// Expects the names of all elements of the kind, or null when they are not known.
void beginKindReport(ReportFormat* report, uint32_t kind, const std::vector<std::string>* names);

// Adds an element. Its name is null where it is not known, the element where it cannot be read.
void addElementReport(ReportFormat* report, uint32_t kind, const std::string* name,
                      const void* element);

void endKindReport(ReportFormat* report);

// Notes why the element added last cannot be read.
void addUnreadableReport(ReportFormat* report, uint32_t kind, const std::string& reason);

// Notes why elements of a kind may be missing.
void addUncountedReport(ReportFormat* report, uint32_t kind, const std::string& reason);

void endReport(ReportFormat* report);
