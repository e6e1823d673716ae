#include "tools/export/plan_format.h"

#include "tools/drawing/svg.h"
#include "tools/reading/latin1.h"

void beginPlan(PlanFormat* format, std::FILE* stream, const std::string& path, AxisOrder order)
{
    *format = {};
    format->plan.order = order;
    beginOutput(&format->output, stream, path);
}

void beginKindPlan(PlanFormat* format) { format->rows = 0; }

void addElementPlan(PlanFormat* format, uint32_t kind, const std::string* name, const void* element)
{
    size_t row = format->rows++;
    if (element == nullptr) return;
    addToPlan(&format->plan, kind, row, name != nullptr ? utf8FromLatin1(*name) : "", element);
}

void endPlan(PlanFormat* format, const std::string& title)
{
    put(&format->output, planSvg(format->plan, title));
    finishOutput(&format->output);
}
