#include "tools/reading/job_reading.h"

#include "tools/reading/element_json.h"

#include <algorithm>

using nlohmann::ordered_json;

// Counts the elements of a kind and, unless names is null, stores their names there, joined by
// commas.
static uint32_t countAndList(IdxConnection* job, uint32_t kind, std::string* names)
{
    uint32_t count = 0;
    char* list = nullptr;
    char** listOut = names != nullptr ? &list : nullptr;
    if (orvIdx_numberOfElements(job, kind, &count, listOut) != IDX_OK) {
        throw ReadingFault(std::string("the ") + ELEMENT_KINDS[kind].plural +
                           " cannot be counted, number " + std::to_string(count + 1) +
                           " is damaged");
    }
    if (names != nullptr) *names = list;
    orvIdx_freeElementNameList(&list);
    return count;
}

uint32_t countElements(IdxConnection* job, uint32_t kind)
{
    return countAndList(job, kind, nullptr);
}

std::string_view nameInElement(uint32_t kind, const void* element)
{
    switch (kind) {
    case ELEMENT_POINT:
        return memberText(static_cast<const PointElement*>(element)->name);
    case ELEMENT_LINE:
        return memberText(static_cast<const LineElement*>(element)->name);
    case ELEMENT_CURVE:
        return memberText(static_cast<const CurveElement*>(element)->name);
    case ELEMENT_SPIRAL:
        return memberText(static_cast<const SpiralElement*>(element)->name);
    case ELEMENT_CHAIN:
        return memberText(static_cast<const ChainElement*>(element)->name);
    case ELEMENT_PROFILE:
        return memberText(static_cast<const ProfileElement*>(element)->name);
    default:
        return memberText(static_cast<const SurveyChainElement*>(element)->name);
    }
}

// Returns where the name ends that begins at begin, in a list whose names may contain commas:
// at the first comma behind as much of the name as the element itself carries, or at the first
// comma of all when the element could not be read (null).
static size_t nameEnd(const std::string& list, size_t begin, uint32_t kind, const void* element)
{
    size_t sure = begin;
    if (element != nullptr) {
        std::string_view name = nameInElement(kind, element);
        if (list.compare(begin, name.size(), name) == 0) sure += name.size();
    }
    return std::min(list.find(',', sure), list.size());
}

// Cuts a list whose names contain commas into count names, with the help of a walk over the
// elements.
static std::vector<std::string> namesByWalk(IdxConnection* job, uint32_t kind, uint32_t count,
                                            const std::string& list)
{
    std::vector<std::string> names;
    size_t begin = 0;
    while (names.size() < count && begin <= list.size()) {
        void* element = nullptr;
        if (names.empty()) {
            orvIdx_readFirstElement(job, kind, &element);
        } else {
            orvIdx_readNextElement(job, kind, &element);
        }
        bool last = names.size() + 1 == count;
        size_t end = last ? list.size() : nameEnd(list, begin, kind, element);
        orvIdx_freeElement(kind, &element);
        names.push_back(list.substr(begin, end - begin));
        begin = end + 1;
    }
    return names;
}

std::vector<std::string> elementNames(IdxConnection* job, uint32_t kind)
{
    std::string list;
    uint32_t count = countAndList(job, kind, &list);

    std::vector<std::string> names;
    size_t begin = 0;
    while (count > 0 && begin <= list.size()) {
        size_t end = std::min(list.find(',', begin), list.size());
        names.push_back(list.substr(begin, end - begin));
        begin = end + 1;
    }
    if (names.size() == count) return names;
    return namesByWalk(job, kind, count, list);
}

ordered_json readElement(IdxConnection* job, uint32_t kind, const std::string& name)
{
    void* element = nullptr;
    if (orvIdx_readElementbyName(job, kind, name.c_str(), &element) != IDX_OK) return nullptr;
    ordered_json json = elementJson(kind, element);
    orvIdx_freeElement(kind, &element);
    return json;
}
