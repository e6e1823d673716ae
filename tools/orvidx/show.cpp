#include "tools/orvidx/commands.h"
#include "tools/orvidx/element_missing.h"
#include "tools/reading/element_json.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/latin1.h"

#include <algorithm>

using nlohmann::ordered_json;

// True for an object that fits on a line because it holds only numbers, as a vertex does.
static bool isRow(const ordered_json& value)
{
    return value.is_object() && std::all_of(value.begin(), value.end(),
                                            [](const auto& member) { return member.is_number(); });
}

static void printMembers(std::FILE* out, const ordered_json& object, const std::string& indent);

static void printItems(std::FILE* out, const ordered_json& items, const std::string& indent)
{
    size_t number = 0;
    for (const ordered_json& item : items) {
        std::string label = indent + std::to_string(++number) + ":";
        if (isRow(item)) {
            std::string row = jsonLine(item);
            std::erase(row, '"');
            printLine(out, label + " " + row.substr(1, row.size() - 2));
        } else {
            printLine(out, label);
            printMembers(out, item, indent + "  ");
        }
    }
}

static void printMembers(std::FILE* out, const ordered_json& object, const std::string& indent)
{
    for (const auto& [key, value] : object.items()) {
        std::string label = indent + key + ":";
        if (value.is_object()) {
            printLine(out, label);
            printMembers(out, value, indent + "  ");
        } else if (value.is_array()) {
            printLine(out, label + (value.empty() ? " none" : ""));
            printItems(out, value, indent + "  ");
        } else {
            printLine(out, label + " " + harmless(value.dump()));
        }
    }
}

int runShow(const JobSource& source, const ShowRequest& request, std::FILE* out)
{
    std::string name = latin1FromUtf8(request.name);
    ordered_json element = readElement(source.job, kindNumber(request.kind), name);
    if (element.is_null()) {
        throw ReadingFault(whyMissing(source, kindNumber(request.kind), request.name));
    }
    if (request.json) {
        printLine(out, jsonLine(element));
    } else {
        printMembers(out, element, "");
    }
    return STATUS_DONE;
}
