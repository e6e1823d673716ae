#include "tools/orvidx/commands.h"
#include "tools/reading/element_json.h"
#include "tools/reading/element_walk.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/latin1.h"
#include "tools/terminal/terminal.h"

using nlohmann::ordered_json;

static void printName(std::FILE* out, const std::string& name, bool zeroEnded)
{
    if (!zeroEnded) {
        printLine(out, isTerminal(out) ? harmless(name) : name);
    } else if (std::fwrite(name.c_str(), name.size() + 1, 1, out) != 1) {
        failOutput();
    }
}

// The names of the elements that a walk finds and reads.
static std::vector<std::string> namesFound(IdxConnection* job, uint32_t kind)
{
    std::vector<std::string> names;
    ElementWalk walk = beginWalk(job, kind);
    void* element = nullptr;
    while (stepWalk(&walk, &element)) {
        if (element != nullptr) names.emplace_back(nameInElement(kind, element));
        orvIdx_freeElement(kind, &element);
    }
    return names;
}

static void printNames(const ListRequest& request, const std::vector<std::string>& names,
                       std::FILE* out)
{
    ordered_json list = ordered_json::array();
    for (const std::string& name : names) {
        std::string utf8 = utf8FromLatin1(name);
        if (request.json) {
            list.push_back(utf8);
        } else {
            printName(out, utf8, request.zeroEnded);
        }
    }
    if (request.json) printLine(out, jsonLine(list));
}

int runList(const JobSource& source, const ListRequest& request, std::FILE* out)
{
    uint32_t kind = kindNumber(request.kind);
    std::vector<std::string> names;
    int status = STATUS_DONE;
    try {
        names = elementNames(source.job, kind);
    } catch (const ReadingFault& fault) {
        names = namesFound(source.job, kind);
        complain(source.path, fault.what() + std::string("; listed are those that can be read"));
        status = STATUS_INCOMPLETE;
    }
    printNames(request, names, out);
    return status;
}
