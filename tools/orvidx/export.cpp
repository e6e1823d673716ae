#include "tools/export/export.h"

#include "tools/orvidx/commands.h"
#include "tools/terminal/terminal.h"

#include <algorithm>

static ExportFormat formatOf(const ExportRequest& request)
{
    if (request.format == "jsonl") return EXPORT_JSONL;
    if (request.format == "csv") return EXPORT_CSV;
    return request.format == "sqlite" ? EXPORT_SQLITE : EXPORT_JSON;
}

std::string faultOfRequest(const ExportRequest& request)
{
    ExportFormat format = formatOf(request);
    bool toStream = request.target.empty() || request.target == "-";
    if (!hasFormat(format)) return "this build has no SQLite";
    if (format == EXPORT_CSV && toStream) return "csv goes into a folder: -o FOLDER";
    if (format == EXPORT_SQLITE && request.target.empty()) return "sqlite goes to a file: -o FILE";
    if (format != EXPORT_CSV && (request.force || request.byteOrderMark)) {
        return "--force and --bom are for csv";
    }
    return "";
}

static std::string counted(int count, const char* what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

int runExport(const JobSource& source, const ExportRequest& request, std::FILE* out)
{
    ExportPlan plan = {};
    plan.format = formatOf(request);
    plan.job = source.path;
    plan.unreadable = unreadableReason(source);
    plan.target = request.target == "-" ? "" : request.target;
    plan.stream = out;
    std::fill(std::begin(plan.kinds), std::end(plan.kinds), request.kinds.empty());
    for (const std::string& kind : request.kinds) {
        plan.kinds[kindNumber(kind)] = true;
    }
    plan.force = request.force;
    plan.byteOrderMark = request.byteOrderMark;
    plan.watched = !plan.target.empty() || !isTerminal(out);

    ExportGaps gaps = exportJob(source.job, plan);
    if (gaps.elements == 0 && gaps.kinds == 0) return STATUS_DONE;
    std::string uncounted = gaps.kinds > 0 ? " of those found" : "";
    complain(source.path, "complete but for " + counted(gaps.elements, "element") + uncounted);
    return STATUS_INCOMPLETE;
}
