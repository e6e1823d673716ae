#include "tools/recover/recover.h"
#include "platform/path_text.h"
#include "tools/check/check.h"
#include "tools/orvjob/commands.h"
#include "tools/reading/element_json.h"
#include "tools/reading/latin1.h"
#include "tools/snapshot/job_snapshot.h"

#include <cstdio>
#include <filesystem>

using nlohmann::ordered_json;

constexpr int STATUS_LOST = 1;
constexpr int STATUS_NOTHING = 3;

constexpr const char* STATE_NAMES[] = {"whole", "rescued", "lost", "doubtful"};

// -- The report --------------------------------------------------------------

static ordered_json elementReport(const RecoveredElement& element)
{
    ordered_json json = {{"name", utf8FromLatin1(element.name)},
                         {"state", STATE_NAMES[element.state]}};
    for (const std::string& remark : element.remarks) {
        json["remarks"].push_back(utf8FromLatin1(remark));
    }
    return json;
}

static void printJson(const Recovery& recovery)
{
    ordered_json json;
    for (RecoveredState state : {STATE_WHOLE, STATE_RESCUED, STATE_LOST, STATE_DOUBTFUL}) {
        json[STATE_NAMES[state]] = countInState(recovery, state);
    }
    json["leftOver"] = recovery.leftOver;
    json["kinds"] = ordered_json::object();
    for (const RecoveredElement& element : recovery.elements) {
        json["kinds"][RECOVERED_KINDS[element.kind].name].push_back(elementReport(element));
    }
    std::puts(json.dump(1, ' ', true).c_str());
}

// A text as a person may see it: control characters must not steer a terminal.
static std::string shown(const std::string& text)
{
    std::string harmless;
    for (char character : text) {
        unsigned code = static_cast<unsigned char>(character);
        bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
        harmless += control ? '?' : character;
    }
    return utf8FromLatin1(harmless);
}

static void printKind(const Recovery& recovery, int kind)
{
    int counts[std::size(STATE_NAMES)] = {};
    for (const RecoveredElement& element : recovery.elements) {
        if (element.kind == kind) ++counts[element.state];
    }
    int all =
        counts[STATE_WHOLE] + counts[STATE_RESCUED] + counts[STATE_LOST] + counts[STATE_DOUBTFUL];
    if (all == 0) return;
    std::printf("%-24s %6d whole, %d rescued, %d lost, %d doubtful\n", RECOVERED_KINDS[kind].plural,
                counts[STATE_WHOLE], counts[STATE_RESCUED], counts[STATE_LOST],
                counts[STATE_DOUBTFUL]);
}

// A name with what there is to say about the element.
static std::string nameAndRemarks(const RecoveredElement& element)
{
    std::string text = shown(element.name);
    for (size_t at = 0; at < element.remarks.size(); ++at) {
        text += (at == 0 ? " (" : "; ") + shown(element.remarks[at]);
    }
    return element.remarks.empty() ? text : text + ")";
}

// One line for each kind: a file that is damaged at its root has nothing else.
static void printRescued(const Recovery& recovery)
{
    std::string line;
    for (size_t at = 0; at < recovery.elements.size(); ++at) {
        const RecoveredElement& element = recovery.elements[at];
        if (element.state == STATE_RESCUED) {
            line += (line.empty() ? " " : ", ") + nameAndRemarks(element);
        }
        bool isLast =
            at + 1 == recovery.elements.size() || recovery.elements[at + 1].kind != element.kind;
        if (!isLast || line.empty()) continue;
        std::printf("rescued %s:%s\n", RECOVERED_KINDS[element.kind].plural, line.c_str());
        line.clear();
    }
}

static void printText(const Recovery& recovery)
{
    for (int kind = 0; kind < static_cast<int>(std::size(RECOVERED_KINDS)); ++kind) {
        printKind(recovery, kind);
    }
    for (RecoveredState state : {STATE_LOST, STATE_DOUBTFUL}) {
        for (const RecoveredElement& element : recovery.elements) {
            if (element.state != state) continue;
            std::printf("%s: %s %s\n", STATE_NAMES[state], RECOVERED_KINDS[element.kind].name,
                        nameAndRemarks(element).c_str());
        }
    }
    printRescued(recovery);
    if (recovery.leftOver > 0) {
        std::printf("not taken: %d records to which nothing leads, as killed writers leave them\n",
                    recovery.leftOver);
    }
}

// -- The command -------------------------------------------------------------

static int failNothing(const std::string& path, const char* reason)
{
    failWith(path, reason);
    return STATUS_NOTHING;
}

// What was carried over as it was may be what the check complains about, as a record of another
// layout under a key of ours.
static bool isClean(const RecoverRequest& request, const Recovery& recovery)
{
    CheckReport report = checkJobBytes(recovery.bytes);
    if (report.complaints.empty()) return true;
    failWith(request.rescued, "orvjob check complains: " + report.complaints.front());
    return false;
}

int runRecover(const RecoverRequest& request)
{
    std::error_code error;
    if (std::filesystem::equivalent(filePath(request.job), filePath(request.rescued), error)) {
        return failWith(request.rescued, "is the job itself");
    }
    JobSnapshot snapshot = takeSnapshot(request.job, request.lockSeconds);
    if (!snapshot.fault.empty()) return failNothing(request.job, snapshot.fault.c_str());
    Recovery recovery = recoverJob(std::move(snapshot.bytes), request.keepBoth);
    switch (recovery.result) {
    case RECOVERY_NOTHING:
        return failNothing(request.job, "nothing in it is part of a job database");
    case RECOVERY_OLDER:
        return failNothing(request.job, "a job database of the older format, which is not read");
    case RECOVERY_TOO_LARGE:
        return failWith(request.job, "what is in it does not fit into one job database");
    case RECOVERY_DONE:
        break;
    }
    if (!request.dryRun) {
        std::string fault = writeNewJob(request.rescued, recovery.bytes, request.replaces);
        if (!fault.empty()) return failWith(request.rescued, fault);
    }
    if (request.json) {
        printJson(recovery);
    } else {
        printText(recovery);
    }
    bool clean = isClean(request, recovery);
    return clean && countInState(recovery, STATE_LOST) == 0 ? STATUS_DONE : STATUS_LOST;
}
