#include "tools/recover/element_keys.h"

#include "api/orvIdx.h"
#include "cogo/keys.h"
#include "survey/point_name.h"

#include <array>

// Returns the name without the suffix of a continuation, and the number of that.
static std::string withoutSuffix(const std::string& name, std::string* continuation)
{
    if (!isContinuationName(name.c_str())) return name;
    size_t begin = name.size() - CONTINUATION_SUFFIX_LENGTH;
    *continuation = name.substr(begin + 1, 2);
    return name.substr(0, begin);
}

static ElementPart partOfRecordKey(const std::string& key)
{
    KeyComponents parts = splitKey(key.c_str() + 1);
    std::string name = parts.elementName;
    std::string continuation;
    switch (kindOfTag(parts.recordTag)) {
    case KIND_CHAIN:
        name = withoutSuffix(name, &continuation);
        return {ELEMENT_CHAIN, name, continuation.empty() ? "" : "continuation " + continuation};
    case KIND_CURVE:
        return {ELEMENT_CURVE, name, ""};
    case KIND_LINE:
        return {ELEMENT_LINE, name, ""};
    case KIND_SPIRAL:
        return {ELEMENT_SPIRAL, name, ""};
    case KIND_PROFILE:
        return {ELEMENT_PROFILE, name, ""};
    case KIND_PROFILE_DATA:
        return {ELEMENT_PROFILE, name, PART_DATA};
    case KIND_POINT_FEATURE:
        return {ELEMENT_POINT, name, "feature"};
    case KIND_SURVEY_CHAIN_FEATURE:
        return {ELEMENT_SURVEY_CHAIN, name, "feature"};
    case KIND_VERSION:
        return {KIND_OF_VERSION, name, ""};
    case KIND_EXTENSION:
        return {std::string(parts.qualifierC) == EXTENDS_LINE ? ELEMENT_LINE : ELEMENT_PROFILE,
                name, "extension"};
    default:
        return {KIND_OF_OTHERS, std::string(parts.recordTag) + " " + name, ""};
    }
}

ElementPart elementPartOf(const std::string& key)
{
    std::string text = key.substr(1);
    std::array<char, SURVEY_NAME_ROOM> name = {};
    switch (key[0]) {
    case RECORD_KEY_INDEX:
        return partOfRecordKey(key);
    case POINT_NAME_INDEX:
        nameOfKey(name.data(), name.size(), text.c_str());
        return {ELEMENT_POINT, name.data(), ""};
    case SURVEY_CHAIN_INDEX:
        return {ELEMENT_SURVEY_CHAIN, text, ""};
    case POINT_LIST_INDEX:
        return {ELEMENT_SURVEY_CHAIN, text, "point list"};
    default:
        return {KIND_OF_OTHERS, text, ""};
    }
}

// Points have letters and digits alone: one letter more. Any other name takes a suffix.
static std::string otherName(const std::string& name, int attempt, size_t limit, bool isPoint)
{
    if (isPoint) return std::string(static_cast<size_t>(attempt) + 1, 'X') + name;
    std::string suffix = std::to_string(attempt + 2).insert(0, 1, '~');
    return name.substr(0, limit - suffix.size()) + suffix;
}

static std::string otherRecordKey(const std::string& key, int attempt)
{
    KeyComponents parts = splitKey(key.c_str() + 1);
    ElementPart element = partOfRecordKey(key);
    std::string continuation;
    std::string base = withoutSuffix(parts.elementName, &continuation);
    constexpr size_t LIMIT = ELEMENT_NAME_LENGTH - CONTINUATION_SUFFIX_LENGTH - 1;
    std::string name = otherName(base, attempt, LIMIT, element.kind == ELEMENT_POINT);
    if (!continuation.empty()) name += "{" + continuation + "}";
    copyText(parts.elementName, sizeof parts.elementName, name.c_str());
    return std::string(1, key[0]) + buildKey(&parts).text;
}

std::string keyOfOtherVersion(const std::string& key, int attempt)
{
    if (key[0] == RECORD_KEY_INDEX) return otherRecordKey(key, attempt);
    ElementPart element = elementPartOf(key);
    bool isPoint = key[0] == POINT_NAME_INDEX;
    std::string name = otherName(element.name, attempt, SURVEY_NAME_LENGTH, isPoint);
    if (!isPoint) return std::string(1, key[0]) + name;
    char pointKey[SURVEY_NAME_ROOM];
    if (buildPointNameKey(pointKey, name.c_str()) != SURVEY_OK) return {};
    return std::string(1, key[0]) + pointKey;
}
