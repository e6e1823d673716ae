#include "tools/check/check.h"

#include "tools/check/element_check.h"
#include "tools/orvjob/commands.h"
#include "tools/reading/element_json.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/latin1.h"
#include "tools/recover/recover.h"
#include "tools/snapshot/job_snapshot.h"

#include <cstdio>

using nlohmann::ordered_json;

static bool isClean(const CheckReport& report, const ElementReport& elements)
{
    return report.complaints.empty() && allReadable(elements);
}

// -- What to do --------------------------------------------------------------

static std::string counted(int count, const char* what)
{
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

static std::string whatIsLost(const CheckReport& report)
{
    std::string pages = counted(report.lostPages, "page");
    std::string records = counted(report.lostRecords, "record");
    if (report.lostRecords == 0) return pages;
    return report.lostPages == 0 ? records : pages + " and " + records;
}

// Returns what to do about the job, which is not clean.
static std::string adviceFor(const CheckReport& report, const ElementReport& elements,
                             const std::vector<uint8_t>& bytes)
{
    if (isHarmless(report) && allReadable(elements)) {
        return "harmless: " + whatIsLost(report) + " lost to killed writers";
    }
    Recovery recovery = recoverJob(bytes, false);
    if (recovery.result != RECOVERY_DONE) return "there is nothing that orvjob recover could save";
    int lost = countInState(recovery, STATE_LOST);
    int saved = static_cast<int>(recovery.elements.size()) - lost;
    std::string advice = "orvjob recover would save " + counted(saved, "element");
    int rescued = countInState(recovery, STATE_RESCUED) + countInState(recovery, STATE_DOUBTFUL);
    if (rescued > 0) advice += ", of which " + std::to_string(rescued) + " cannot be read now";
    return lost > 0 ? advice + "; " + counted(lost, "element") + " lost" : advice;
}

// -- For people --------------------------------------------------------------

static void printNotes(uint32_t kind, const char* label, const std::vector<ElementNote>& notes)
{
    for (const ElementNote& note : notes) {
        printLine(std::string(label) + ELEMENT_KINDS[kind].name + " " +
                  utf8FromLatin1(note.name + ": " + note.text));
    }
}

static void printElements(const ElementReport& elements)
{
    if (!elements.fault.empty()) printLine("no element can be read: " + elements.fault);
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        const KindReport& report = elements.kinds[kind];
        if (!report.fault.empty()) printLine(report.fault);
        printNotes(kind, "cannot be read: ", report.unreadable);
        printNotes(kind, "remark: ", report.remarks);
    }
}

static std::string cleanLine(const CheckReport& report)
{
    char line[200];
    std::snprintf(line, sizeof line,
                  "clean: %d pages in %d levels, %d entries, %d records (%d of unknown layout), "
                  "%d free numbers, %d locks",
                  report.pages, report.levels, report.entries, report.records,
                  report.unknownRecords, report.freeNumbers, report.locks);
    return line;
}

static void printReport(const CheckReport& report, const ElementReport& elements,
                        const std::vector<uint8_t>& bytes)
{
    for (const std::string& complaint : report.complaints) {
        printLine(complaint);
    }
    for (const std::string& remark : report.remarks) {
        printLine("remark: " + remark);
    }
    printElements(elements);
    printLine(isClean(report, elements) ? cleanLine(report) : adviceFor(report, elements, bytes));
}

// -- For programs ------------------------------------------------------------

// The notes on the elements of each kind that has some.
static ordered_json notesJson(const ElementReport& elements,
                              std::vector<ElementNote> KindReport::*member, const char* textKey)
{
    ordered_json json = ordered_json::object();
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        for (const ElementNote& note : elements.kinds[kind].*member) {
            json[ELEMENT_KINDS[kind].jsonKey].push_back(
                {{"name", utf8FromLatin1(note.name)}, {textKey, utf8FromLatin1(note.text)}});
        }
    }
    return json;
}

static ordered_json countsJson(const CheckReport& report, const ElementReport& elements)
{
    ordered_json json = {{"pages", report.pages},
                         {"levels", report.levels},
                         {"entries", report.entries},
                         {"records", report.records},
                         {"unknownRecords", report.unknownRecords},
                         {"freeNumbers", report.freeNumbers},
                         {"locks", report.locks},
                         {"lostPages", report.lostPages},
                         {"lostRecords", report.lostRecords}};
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        json[ELEMENT_KINDS[kind].jsonKey] = elements.kinds[kind].elements;
    }
    return json;
}

static void printReportJson(const CheckReport& report, const ElementReport& elements,
                            const std::vector<uint8_t>& bytes)
{
    bool clean = isClean(report, elements);
    ordered_json complaints = report.complaints;
    if (!elements.fault.empty()) complaints.push_back("no element can be read: " + elements.fault);
    for (const KindReport& kind : elements.kinds) {
        if (!kind.fault.empty()) complaints.push_back(kind.fault);
    }
    ordered_json json = {{"readable", report.readable},
                         {"clean", clean},
                         {"harmless", isHarmless(report) && allReadable(elements)},
                         {"complaints", complaints},
                         {"unreadable", notesJson(elements, &KindReport::unreadable, "reason")},
                         {"remarks", notesJson(elements, &KindReport::remarks, "remark")},
                         {"recordRemarks", report.remarks},
                         {"counts", countsJson(report, elements)},
                         {"advice", clean ? "" : adviceFor(report, elements, bytes)}};
    std::puts(jsonLine(json).c_str());
}

// ----------------------------------------------------------------------------

// A file that is no job, or cannot be read at all.
static int refuse(const CheckRequest& request, const std::string& reason)
{
    if (request.json) {
        ordered_json json = {{"readable", false}, {"clean", false}, {"complaints", {reason}}};
        std::puts(jsonLine(json).c_str());
    }
    return failWith(request.job, reason);
}

int runCheck(const CheckRequest& request)
{
    JobSnapshot snapshot = takeSnapshot(request.job, request.lockSeconds);
    if (!snapshot.fault.empty()) return refuse(request, snapshot.fault);
    CheckReport report = checkJobBytes(snapshot.bytes);
    if (!report.readable) return refuse(request, report.complaints.front());

    ElementReport elements = checkElements(snapshot.bytes);
    (request.json ? printReportJson : printReport)(report, elements, snapshot.bytes);
    return isClean(report, elements) ? STATUS_DONE : STATUS_FAILED;
}
