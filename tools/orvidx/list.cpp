#include "tools/orvidx/commands.h"
#include "tools/reading/element_json.h"
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

int runList(const JobSource& source, const ListRequest& request, std::FILE* out)
{
    ordered_json list = ordered_json::array();
    for (const std::string& name : elementNames(source.job, kindNumber(request.kind))) {
        std::string utf8 = utf8FromLatin1(name);
        if (request.json) {
            list.push_back(utf8);
        } else {
            printName(out, utf8, request.zeroEnded);
        }
    }
    if (request.json) printLine(out, jsonLine(list));
    return STATUS_DONE;
}
