#include "tools/export/json_format.h"

#include "tools/reading/element_json.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/latin1.h"

using nlohmann::ordered_json;

void beginJson(JsonFormat* json, std::FILE* stream, const std::string& path)
{
    *json = {};
    beginOutput(&json->output, stream, path);
    put(&json->output, "{\n");
}

void beginKindJson(JsonFormat* json, uint32_t kind, const std::vector<std::string>* names)
{
    ordered_json count = nullptr;
    ordered_json utf8Names = nullptr;
    if (names != nullptr) {
        count = names->size();
        utf8Names = ordered_json::array();
        for (const std::string& name : *names) {
            utf8Names.push_back(utf8FromLatin1(name));
        }
    }
    put(&json->output, json->hasKind ? ",\n" : "");
    put(&json->output, std::string("\"") + ELEMENT_KINDS[kind].jsonKey +
                           "\": {\"count\": " + jsonLine(count) +
                           ", \"names\": " + jsonLine(utf8Names) + ", \"elements\": [\n");
    json->hasKind = true;
    json->hasElement = false;
}

void addElementJson(JsonFormat* json, uint32_t kind, const void* element)
{
    put(&json->output, json->hasElement ? ",\n" : "");
    put(&json->output, element != nullptr ? jsonLine(elementJson(kind, element)) : "null");
    json->hasElement = true;
}

void endKindJson(JsonFormat* json) { put(&json->output, json->hasElement ? "\n]}" : "]}"); }

void endJson(JsonFormat* json)
{
    put(&json->output, "\n}\n");
    finishOutput(&json->output);
}
