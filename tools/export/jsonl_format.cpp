#include "tools/export/jsonl_format.h"

#include "tools/reading/element_json.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/latin1.h"

using nlohmann::ordered_json;

void beginJsonl(JsonlFormat* jsonl, std::FILE* stream, const std::string& path)
{
    *jsonl = {};
    beginOutput(&jsonl->output, stream, path);
}

void addElementJsonl(JsonlFormat* jsonl, uint32_t kind, const std::string* name,
                     const void* element)
{
    ordered_json line = {{"kind", ELEMENT_KINDS[kind].name}, {"name", nullptr}};
    if (name != nullptr) line["name"] = utf8FromLatin1(*name);
    line["element"] = element != nullptr ? elementJson(kind, element) : ordered_json(nullptr);
    put(&jsonl->output, jsonLine(line) + "\n");
}

void endJsonl(JsonlFormat* jsonl) { finishOutput(&jsonl->output); }
