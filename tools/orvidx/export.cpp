#include "platform/path_text.h"
#include "tools/orvidx/commands.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/latin1.h"
#include "tools/terminal/terminal.h"

#include <algorithm>

static ExportFormat formatOf(const ExportRequest& request)
{
    if (request.format == "jsonl") return EXPORT_JSONL;
    if (request.format == "csv") return EXPORT_CSV;
    return request.format == "sqlite" ? EXPORT_SQLITE : EXPORT_JSON;
}

// The program keeps the stream of standard output for itself, so that its path leads elsewhere.
std::string fileOf(const std::string& target)
{
    return target == "-" || target == "/dev/stdout" ? "" : target;
}

std::string faultOfRequest(const ExportRequest& request)
{
    ExportFormat format = formatOf(request);
    bool toStream = fileOf(request.target).empty();
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

int tellGaps(const JobSource& source, const ExportGaps& gaps)
{
    if (gaps.elements > 0 || gaps.kinds > 0) {
        std::string uncounted = gaps.kinds > 0 ? " of those found" : "";
        complain(source.path, "complete but for " + counted(gaps.elements, "element") + uncounted);
    }
    if (gaps.undrawn > 0) {
        complain(source.path, "not drawn, or not whole: " + counted(gaps.undrawn, "element"));
    }
    bool isComplete = gaps.elements == 0 && gaps.kinds == 0 && gaps.undrawn == 0;
    return isComplete ? STATUS_DONE : STATUS_INCOMPLETE;
}

static bool isUtf8(const std::string& text)
{
    try {
        return !nlohmann::json(text).dump().empty();
    } catch (const nlohmann::json::type_error&) {
        return false;
    }
}

// The name of the job's file, in any case as UTF-8.
static std::string titleOf(const JobSource& source)
{
    std::u8string name = filePath(source.path).filename().u8string();
    std::string title(name.begin(), name.end());
    return isUtf8(title) ? title : utf8FromLatin1(title);
}

ExportPlan exportOfAll(const JobSource& source, const std::string& target, std::FILE* out)
{
    ExportPlan plan = {};
    plan.job = source.path;
    plan.faults = source.faults.get();
    plan.target = fileOf(target);
    plan.stream = out;
    plan.watched = !plan.target.empty() || !isTerminal(out);
    std::fill(std::begin(plan.kinds), std::end(plan.kinds), true);
    plan.title = titleOf(source);
    return plan;
}

int runExport(const JobSource& source, const ExportRequest& request, std::FILE* out)
{
    ExportPlan plan = exportOfAll(source, request.target, out);
    plan.format = formatOf(request);
    if (!request.kinds.empty()) std::fill(std::begin(plan.kinds), std::end(plan.kinds), false);
    for (const std::string& kind : request.kinds) {
        plan.kinds[kindNumber(kind)] = true;
    }
    plan.force = request.force;
    plan.byteOrderMark = request.byteOrderMark;
    return tellGaps(source, exportJob(source.job, plan));
}
