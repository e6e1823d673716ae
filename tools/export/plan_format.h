// The plan as a drawing. The whole of it is held in memory.
//
// For tools/export/.
#pragma once

#include "tools/drawing/plan.h"
#include "tools/export/output.h"

struct PlanFormat {
    ExportOutput output;
    Plan plan;
    size_t rows; // of the kind at hand
};

void beginPlan(PlanFormat* format, std::FILE* stream, const std::string& path, AxisOrder order);

void beginKindPlan(PlanFormat* format);

// Expects null for a name that is not known, and for an element that cannot be read.
void addElementPlan(PlanFormat* format, uint32_t kind, const std::string* name,
                    const void* element);

void endPlan(PlanFormat* format, const std::string& title);
