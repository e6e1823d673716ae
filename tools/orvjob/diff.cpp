#include "tools/diff/job_diff.h"

#include "tools/orvjob/commands.h"
#include "tools/reading/element_json.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/latin1.h"

#include <cmath>
#include <cstdio>

using nlohmann::ordered_json;

// -- For people --------------------------------------------------------------

static void printNames(const char* label, uint32_t kind, const std::vector<std::string>& names)
{
    for (const std::string& name : names) {
        printLine(std::string(label) + ": " + ELEMENT_KINDS[kind].name + " " +
                  utf8FromLatin1(name));
    }
}

static std::string valueText(const ordered_json& value)
{
    if (value.is_null()) return "none";
    bool isNumber = !value.is_number_float() || std::isfinite(value.get<double>());
    return isNumber ? jsonLine(value) : std::to_string(value.get<double>());
}

static void printChanged(uint32_t kind, const ElementChange& change)
{
    printNames("changed", kind, {change.name});
    for (const MemberChange& member : change.members) {
        printLine("    " + member.member + ": " + valueText(member.inA) + " -> " +
                  valueText(member.inB));
    }
}

static void printFault(const char* job, const std::string& fault)
{
    if (!fault.empty()) printLine(std::string("in ") + job + ": " + fault);
}

static void printKind(uint32_t kind, const KindDiff& diff)
{
    printFault("A", diff.listFaultInA);
    printFault("B", diff.listFaultInB);
    printNames("removed", kind, diff.removed);
    printNames("added", kind, diff.added);
    for (const ElementChange& change : diff.changed) {
        printChanged(kind, change);
    }
    printNames("cannot be read in A", kind, diff.unreadableInA);
    printNames("cannot be read in B", kind, diff.unreadableInB);
    printNames("cannot be read in A and in B", kind, diff.unreadableInBoth);
}

static void printDiff(const JobDiff& diff)
{
    size_t added = 0;
    size_t removed = 0;
    size_t changed = 0;
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        printKind(kind, diff.kinds[kind]);
        added += diff.kinds[kind].added.size();
        removed += diff.kinds[kind].removed.size();
        changed += diff.kinds[kind].changed.size();
    }
    std::printf(areSame(diff) ? "no difference\n" : "%zu removed, %zu added, %zu changed\n",
                removed, added, changed);
}

// -- For programs ------------------------------------------------------------

static ordered_json namesJson(const std::vector<std::string>& names)
{
    ordered_json json = ordered_json::array();
    for (const std::string& name : names) {
        json.push_back(utf8FromLatin1(name));
    }
    return json;
}

static ordered_json changedJson(const std::vector<ElementChange>& changed)
{
    ordered_json json = ordered_json::array();
    for (const ElementChange& change : changed) {
        ordered_json members = ordered_json::array();
        for (const MemberChange& member : change.members) {
            members.push_back({{"member", member.member}, {"a", member.inA}, {"b", member.inB}});
        }
        json.push_back({{"name", utf8FromLatin1(change.name)}, {"members", std::move(members)}});
    }
    return json;
}

static ordered_json kindJson(const KindDiff& diff)
{
    return {{"added", namesJson(diff.added)},
            {"removed", namesJson(diff.removed)},
            {"changed", changedJson(diff.changed)},
            {"unreadableInA", namesJson(diff.unreadableInA)},
            {"unreadableInB", namesJson(diff.unreadableInB)},
            {"unreadableInBoth", namesJson(diff.unreadableInBoth)},
            {"faultInA", diff.listFaultInA},
            {"faultInB", diff.listFaultInB}};
}

static void printDiffJson(const JobDiff& diff)
{
    ordered_json json = {{"same", areSame(diff)}};
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        json[ELEMENT_KINDS[kind].jsonKey] = kindJson(diff.kinds[kind]);
    }
    std::puts(jsonLine(json).c_str());
}

// ----------------------------------------------------------------------------

static int refuse(const std::string& path, const std::string& fault)
{
    failWith(path, fault);
    return STATUS_TROUBLE;
}

int runDiff(const DiffRequest& request)
{
    JobDiff diff = diffJobs(request.jobA, request.jobB, request.lockSeconds);
    if (!diff.faultOfA.empty()) return refuse(request.jobA, diff.faultOfA);
    if (!diff.faultOfB.empty()) return refuse(request.jobB, diff.faultOfB);
    (request.json ? printDiffJson : printDiff)(diff);
    return areSame(diff) ? STATUS_DONE : STATUS_DIFFERENT;
}
