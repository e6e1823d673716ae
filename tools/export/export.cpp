#include "tools/export/export.h"

#include "platform/path_text.h"
#include "tools/export/csv_format.h"
#include "tools/export/json_format.h"
#include "tools/export/jsonl_format.h"
#include "tools/export/plan_format.h"
#include "tools/export/report_format.h"
#include "tools/export/sqlite_format.h"
#include "tools/reading/element_walk.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/latin1.h"
#include "tools/terminal/progress.h"

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <vector>

// An export under way. Of the formats the one asked for is in use.
struct Export {
    const ExportPlan* plan;
    IdxConnection* job;
    JsonFormat json;
    JsonlFormat jsonl;
    CsvFormat csv;
    SqliteFormat sqlite;
    ReportFormat report;
    PlanFormat drawing;
    Progress progress;
    ExportGaps gaps;
};

bool hasFormat(ExportFormat format) { return format != EXPORT_SQLITE || hasSqlite(); }

// -- One step of each format -------------------------------------------------

static void begin(Export* out)
{
    const ExportPlan* plan = out->plan;
    std::FILE* stream = plan->target.empty() ? plan->stream : nullptr;
    switch (plan->format) {
    case EXPORT_JSON:
        return beginJson(&out->json, stream, plan->target);
    case EXPORT_JSONL:
        return beginJsonl(&out->jsonl, stream, plan->target);
    case EXPORT_CSV:
        return beginCsv(&out->csv, plan->target, plan->force, plan->byteOrderMark);
    case EXPORT_SQLITE:
        return beginSqlite(&out->sqlite, stream, plan->target);
    case EXPORT_REPORT:
        return beginReport(&out->report, stream, plan->target, plan->title, plan->axes);
    case EXPORT_PLAN:
        return beginPlan(&out->drawing, stream, plan->target, plan->axes);
    }
}

// Expects the names of all elements of the kind, or null when they are not known.
static void beginKind(Export* out, uint32_t kind, const std::vector<std::string>* names)
{
    switch (out->plan->format) {
    case EXPORT_JSON:
        return beginKindJson(&out->json, kind, names);
    case EXPORT_JSONL:
        return; // the lines of all kinds follow each other
    case EXPORT_CSV:
        return beginKindCsv(&out->csv, kind);
    case EXPORT_SQLITE:
        return beginKindSqlite(&out->sqlite, kind);
    case EXPORT_REPORT:
        return beginKindReport(&out->report, kind, names);
    case EXPORT_PLAN:
        return beginKindPlan(&out->drawing);
    }
}

static void addElement(Export* out, uint32_t kind, const std::string* name, const void* element)
{
    switch (out->plan->format) {
    case EXPORT_JSON:
        return addElementJson(&out->json, kind, element);
    case EXPORT_JSONL:
        return addElementJsonl(&out->jsonl, kind, name, element);
    case EXPORT_CSV:
        return addElementCsv(&out->csv, kind, name, element);
    case EXPORT_SQLITE:
        return addElementSqlite(&out->sqlite, kind, name, element);
    case EXPORT_REPORT:
        return addElementReport(&out->report, kind, name, element);
    case EXPORT_PLAN:
        return addElementPlan(&out->drawing, kind, name, element);
    }
}

static void endKind(Export* out)
{
    if (out->plan->format == EXPORT_JSON) endKindJson(&out->json);
    if (out->plan->format == EXPORT_REPORT) endKindReport(&out->report);
}

static void end(Export* out)
{
    switch (out->plan->format) {
    case EXPORT_JSON:
        return endJson(&out->json);
    case EXPORT_JSONL:
        return endJsonl(&out->jsonl);
    case EXPORT_CSV:
        return endCsv(&out->csv);
    case EXPORT_SQLITE:
        return endSqlite(&out->sqlite);
    case EXPORT_REPORT:
        return endReport(&out->report);
    case EXPORT_PLAN:
        return endPlan(&out->drawing, out->plan->title);
    }
}

static std::string faultOf(const Export* out)
{
    switch (out->plan->format) {
    case EXPORT_JSON:
        return out->json.output.fault;
    case EXPORT_JSONL:
        return out->jsonl.output.fault;
    case EXPORT_CSV:
        return csvFault(&out->csv);
    case EXPORT_SQLITE:
        return sqliteFault(&out->sqlite);
    case EXPORT_REPORT:
        return out->report.output.fault;
    case EXPORT_PLAN:
        return out->drawing.output.fault;
    }
    return "";
}

// Nothing happens to formats that are not in use.
static void abandon(Export* out)
{
    abandonOutput(&out->json.output);
    abandonOutput(&out->jsonl.output);
    abandonCsv(&out->csv);
    abandonSqlite(&out->sqlite);
    abandonOutput(&out->report.output);
    abandonOutput(&out->drawing.output);
}

// -- What is missing ---------------------------------------------------------

// Names the gap to the user, and in a database. What it is ends in a colon, or is empty.
static void noteGap(Export* out, uint32_t kind, const std::string* name, const std::string& what,
                    const std::string& reason)
{
    eraseProgress(&out->progress);
    std::string line = harmless(what + reason);
    std::fprintf(stderr, "orvidx: %s: %s\n", out->plan->job.c_str(), line.c_str());
    if (out->plan->format == EXPORT_SQLITE) addUnreadableSqlite(&out->sqlite, kind, name, reason);
}

// Counts the elements that are not drawn, and names those of a drawing: a page lists them itself.
static void noteUndrawn(Export* out)
{
    const ExportPlan* plan = out->plan;
    out->gaps.undrawn = static_cast<int>(out->report.plan.notDrawn.size());
    for (const NotDrawn& element : out->drawing.plan.notDrawn) {
        ++out->gaps.undrawn;
        std::string line = std::string("not drawn, or not whole: ") +
                           ELEMENT_KINDS[element.kind].name + " " + element.name + ": " +
                           element.reason;
        std::fprintf(stderr, "orvidx: %s: %s\n", plan->job.c_str(), harmless(line).c_str());
    }
}

static void noteUnreadable(Export* out, uint32_t kind, const std::string* name, int64_t number)
{
    std::string what = std::string("cannot be read: ") + ELEMENT_KINDS[kind].name + " ";
    what += name != nullptr ? utf8FromLatin1(*name) : "number " + std::to_string(number);
    std::string reason = reasonOf(out->plan->faults, kind, name);
    noteGap(out, kind, name, what + ": ", reason);
    if (out->plan->format == EXPORT_REPORT) addUnreadableReport(&out->report, kind, reason);
    ++out->gaps.elements;
}

// -- Kinds -------------------------------------------------------------------

static void showStep(Export* out, uint32_t kind, int64_t done, const std::string& ofAll)
{
    showProgress(&out->progress,
                 std::string(ELEMENT_KINDS[kind].plural) + ": " + std::to_string(done) + ofAll);
}

static void exportNamed(Export* out, uint32_t kind, const std::vector<std::string>& names)
{
    beginKind(out, kind, &names);
    std::string ofAll = " of " + std::to_string(names.size());
    for (size_t at = 0; at < names.size() && faultOf(out).empty(); ++at) {
        showStep(out, kind, static_cast<int64_t>(at), ofAll);
        void* element = nullptr;
        orvIdx_readElementbyName(out->job, kind, names[at].c_str(), &element);
        addElement(out, kind, &names[at], element);
        if (element == nullptr) noteUnreadable(out, kind, &names[at], 0);
        orvIdx_freeElement(kind, &element);
    }
    endKind(out);
}

// Expects null for an element that cannot be read.
static void addWalked(Export* out, uint32_t kind, int64_t number, const void* element)
{
    std::string name(element != nullptr ? nameInElement(kind, element) : "");
    addElement(out, kind, element != nullptr ? &name : nullptr, element);
    if (element == nullptr) noteUnreadable(out, kind, nullptr, number);
}

// Exports a kind that cannot be counted.
static void exportWalked(Export* out, uint32_t kind)
{
    beginKind(out, kind, nullptr);
    ElementWalk walk = beginWalk(out->job, kind);
    void* element = nullptr;
    while (faultOf(out).empty() && stepWalk(&walk, &element)) {
        showStep(out, kind, walk.handed, "");
        addWalked(out, kind, walk.handed, element);
        orvIdx_freeElement(kind, &element);
    }
    endWalk(&walk);
    endKind(out);
}

static void exportKind(Export* out, uint32_t kind)
{
    std::vector<std::string> names;
    try {
        names = elementNames(out->job, kind);
    } catch (const ReadingFault& fault) {
        exportWalked(out, kind);
        noteGap(out, kind, nullptr, "", fault.what());
        if (out->plan->format == EXPORT_REPORT) {
            addUncountedReport(&out->report, kind, fault.what());
        }
        ++out->gaps.kinds;
        return;
    }
    exportNamed(out, kind, names);
}

// ----------------------------------------------------------------------------

void refuseJobAsTarget(const std::string& target, const std::string& job)
{
    std::error_code ignored;
    if (!target.empty() && std::filesystem::equivalent(filePath(target), filePath(job), ignored)) {
        throw std::runtime_error(target + ": is the job itself");
    }
}

ExportGaps exportJob(IdxConnection* job, const ExportPlan& plan)
{
    refuseJobAsTarget(plan.target, plan.job);
    auto out = std::make_unique<Export>();
    out->plan = &plan;
    out->job = job;
    out->progress = startProgress();
    out->progress.watched = out->progress.watched && plan.watched;

    begin(out.get());
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        if (plan.kinds[kind] && faultOf(out.get()).empty()) exportKind(out.get(), kind);
    }
    if (faultOf(out.get()).empty()) end(out.get());
    eraseProgress(&out->progress);
    std::string fault = faultOf(out.get());
    noteUndrawn(out.get());
    abandon(out.get());
    if (!fault.empty()) throw std::runtime_error(fault);
    return out->gaps;
}
