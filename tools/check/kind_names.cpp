#include "tools/check/kind_names.h"

#include "cogo/keys.h"
#include "survey/point_name.h"
#include "tools/check/tree_check.h"
#include "tools/reading/job_reading.h"

#include <algorithm>
#include <cstring>

struct KindKey {
    int index;
    const char* tag; // empty: every key of the index is one of the kind
};

// In the order of the kinds.
constexpr KindKey KIND_KEYS[] = {
    {POINT_NAME_INDEX, ""},         {RECORD_KEY_INDEX, TAG_LINE},  {RECORD_KEY_INDEX, TAG_CURVE},
    {RECORD_KEY_INDEX, TAG_SPIRAL}, {RECORD_KEY_INDEX, TAG_CHAIN}, {RECORD_KEY_INDEX, TAG_PROFILE},
    {SURVEY_CHAIN_INDEX, ""},
};

// Returns the name of the element that has the key, or an empty text when it is none's.
static std::string nameOf(uint32_t kind, const char* key)
{
    char name[ELEMENT_NAME_ROOM];
    if (kind == ELEMENT_POINT) {
        nameOfKey(name, sizeof name, key);
        return name;
    }
    if (kind == ELEMENT_SURVEY_CHAIN) return key;
    KeyComponents parts = splitKey(key);
    if (std::strcmp(parts.recordTag, KIND_KEYS[kind].tag) != 0) return {};
    bool continues = kind == ELEMENT_CHAIN && isContinuationName(parts.elementName);
    return continues ? "" : parts.elementName;
}

static std::vector<std::string> namesInLeaves(uint32_t kind, std::span<const uint8_t> bytes)
{
    CheckedFile file;
    file.bytes = bytes;
    if (acceptHeader(&file)) checkTree(&file);
    std::vector<std::string> names;
    for (const uint8_t* entry : file.leafEntries) {
        if (entryIndex(entry) != KIND_KEYS[kind].index) continue;
        std::string name = nameOf(kind, entryKey(entry) + 1);
        if (!name.empty()) names.push_back(name);
    }
    return names;
}

static std::string joined(const std::vector<std::string>& names)
{
    std::string list;
    for (const std::string& name : names) {
        list += name + ",";
    }
    return list;
}

// Where names contain commas, a list of them can be cut in several ways.
static void cutAsInLeaves(std::vector<std::string>* names, uint32_t kind,
                          std::span<const uint8_t> bytes)
{
    bool hasCommas = std::any_of(names->begin(), names->end(), [](const std::string& name) {
        return name.find(',') != std::string::npos;
    });
    if (!hasCommas) return;
    std::vector<std::string> stored = namesInLeaves(kind, bytes);
    if (joined(stored) == joined(*names)) *names = stored;
}

KindNames namesOfKind(IdxConnection* job, uint32_t kind, std::span<const uint8_t> bytes)
{
    KindNames found;
    try {
        found.names = elementNames(job, kind);
        cutAsInLeaves(&found.names, kind, bytes);
    } catch (const ReadingFault& fault) {
        found.names = namesInLeaves(kind, bytes);
        found.fault = fault.what();
    }
    return found;
}
