#include "tools/orvidx/commands.h"
#include "tools/reading/element_json.h"
#include "tools/reading/job_reading.h"

using nlohmann::ordered_json;

// Prints the counts, with a question mark for a kind that has none.
static void printCounts(const ordered_json& counts, std::FILE* out)
{
    for (const ElementKind& kind : ELEMENT_KINDS) {
        const ordered_json& count = counts[kind.jsonKey];
        std::string label = kind.plural;
        label.resize(15, ' ');
        printLine(out, label + (count.is_null() ? "?" : count.dump()));
    }
}

int runInfo(const JobSource& source, const InfoRequest& request, std::FILE* out)
{
    int status = STATUS_DONE;
    ordered_json counts;
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        ordered_json& count = counts[ELEMENT_KINDS[kind].jsonKey];
        try {
            count = countElements(source.job, kind);
        } catch (const ReadingFault& fault) {
            complain(source.path, fault.what());
            status = STATUS_INCOMPLETE;
        }
    }
    if (request.json) {
        printLine(out, jsonLine(counts));
    } else {
        printCounts(counts, out);
    }
    return status;
}
