#include "tools/orvidx/commands.h"

int runReport(const JobSource& source, const ReportRequest& request, std::FILE* out)
{
    ExportPlan plan = exportOfAll(source, request.target, out);
    plan.format = EXPORT_REPORT;
    plan.axes = request.northFirst ? NORTH_FIRST : EAST_FIRST;
    return tellGaps(source, exportJob(source.job, plan));
}
