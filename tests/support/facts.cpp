#include "tests/support/facts.h"

#include "tests/support/command.h"
#include "tests/support/raw_job.h"

#include <algorithm>
#include <cstring>

static const std::string KINDS[] = {"point ", "line ",    "curve ",       "spiral ",
                                    "chain ", "profile ", "survey chain "};
constexpr int MOST_STEPS = 20000;  // no job of the tests has so many elements
const std::string FAULT = "fault"; // of the exports themselves

// -- Elements ----------------------------------------------------------------

template <typename Type> static std::string bytesOf(const Type* item)
{
    return std::string(reinterpret_cast<const char*>(item), sizeof(Type));
}

// What stands in a record that may be missing is a fact only when it is there.
static void tell(Facts* facts, const std::string& subject, const std::string& text)
{
    if (!text.empty()) facts->emplace(subject, text);
}

// Each of these adds the facts in an element and answers what it is called.
static std::string addPoint(Facts* facts, PointElement point)
{
    std::string subject = KINDS[ELEMENT_POINT] + point.name;
    tell(facts, "feature of " + subject, point.featureText);
    memset(point.featureText, 0, sizeof point.featureText);
    tell(facts, subject, bytesOf(&point));
    return subject + ",";
}

template <typename Curve>
static std::string addCurve(Facts* facts, uint32_t kind, const Curve& curve)
{
    tell(facts, KINDS[kind] + curve.name, bytesOf(&curve));
    return KINDS[kind] + curve.name + ",";
}

static std::string addMember(Facts* facts, const ChainMember* member)
{
    switch (member->memberKind) {
    case CHAIN_MEMBER_POINT:
        return addPoint(facts, member->payload.point);
    case CHAIN_MEMBER_CURVE:
        return addCurve(facts, ELEMENT_CURVE, member->payload.curve);
    case CHAIN_MEMBER_SPIRAL:
        return addCurve(facts, ELEMENT_SPIRAL, member->payload.spiral);
    default:
        return bytesOf(member).substr(sizeof member->next);
    }
}

static void addLine(Facts* facts, const LineElement& line)
{
    std::string subject = KINDS[ELEMENT_LINE] + line.name;
    std::string points = addPoint(facts, line.beginPoint) + addPoint(facts, line.endPoint);
    tell(facts, subject, points + line.beginPointName + "," + line.endPointName);
    tell(facts, "texts of " + subject, std::string(line.secondaryCode) + line.noteText);
}

static void addChain(Facts* facts, const ChainElement& chain)
{
    std::string subject = KINDS[ELEMENT_CHAIN] + chain.name;
    std::string parts = std::to_string(chain.unresolvedMembers);
    for (const ChainMember* member = chain.firstMember; member != nullptr; member = member->next)
        parts += addMember(facts, member);
    tell(facts, subject, std::string(chain.secondaryCode) + "," + chain.noteText);
    tell(facts, PARTS + subject, parts);
}

static void addProfile(Facts* facts, const ProfileElement& profile)
{
    std::string subject = KINDS[ELEMENT_PROFILE] + profile.name;
    std::string vertices = "vertices:";
    for (const ProfileVertex* it = profile.vertices; it < profile.vertices + profile.vertexCount;
         ++it) {
        vertices += bytesOf(&it->vertexCode) + bytesOf(&it->station) + bytesOf(&it->segmentNumber) +
                    bytesOf(&it->elevation) + bytesOf(&it->backLength) + bytesOf(&it->aheadLength);
    }
    tell(facts, subject, vertices);
    tell(facts, "texts of " + subject, std::string(profile.secondaryCode) + profile.noteText);
}

static void addSurveyChain(Facts* facts, const SurveyChainElement& chain)
{
    std::string subject = KINDS[ELEMENT_SURVEY_CHAIN] + chain.name;
    std::string parts = std::to_string(chain.unresolvedPoints);
    for (const PointElement* point = chain.points; point < chain.points + chain.pointCount;
         ++point) {
        bool gap = strcmp(point->name, "GAP") == 0; // holds what came before it
        parts += gap ? bytesOf(point) : addPoint(facts, *point);
    }
    tell(facts, subject,
         std::string(chain.setText) + "," + chain.note + "," + std::to_string(chain.number1) + "," +
             std::to_string(chain.integer4));
    tell(facts, "feature of " + subject, chain.featureText);
    tell(facts, PARTS + subject, parts);
}

Facts factsOf(uint32_t kind, const void* element)
{
    Facts facts;
    if (kind == ELEMENT_POINT) addPoint(&facts, *static_cast<const PointElement*>(element));
    if (kind == ELEMENT_LINE) addLine(&facts, *static_cast<const LineElement*>(element));
    if (kind == ELEMENT_CURVE) addCurve(&facts, kind, *static_cast<const CurveElement*>(element));
    if (kind == ELEMENT_SPIRAL) addCurve(&facts, kind, *static_cast<const SpiralElement*>(element));
    if (kind == ELEMENT_CHAIN) addChain(&facts, *static_cast<const ChainElement*>(element));
    if (kind == ELEMENT_PROFILE) addProfile(&facts, *static_cast<const ProfileElement*>(element));
    if (kind == ELEMENT_SURVEY_CHAIN)
        addSurveyChain(&facts, *static_cast<const SurveyChainElement*>(element));
    return facts;
}

// -- Jobs --------------------------------------------------------------------

// Adds what an element tells and gives it back; false when there is none.
static bool take(Facts* facts, uint32_t kind, int32_t result, void* element)
{
    if ((result == IDX_OK) != (element != nullptr))
        facts->emplace(FAULT, "a result without its element");
    if (element == nullptr) return false;
    facts->merge(factsOf(kind, element));
    if (orvIdx_freeElement(kind, &element) != IDX_OK) facts->emplace(FAULT, "an element not freed");
    return true;
}

static void addKind(Facts* facts, IdxConnection* job, uint32_t kind)
{
    void* element = nullptr;
    int32_t result = orvIdx_readFirstElement(job, kind, &element);
    int steps = 0;
    // Behind an element that cannot be read there may be others.
    for (int failures = 0; failures < 3 && steps < MOST_STEPS; ++steps) {
        failures = take(facts, kind, result, element) ? 0 : failures + 1;
        element = nullptr;
        result = orvIdx_readNextElement(job, kind, &element);
    }
    take(facts, kind, result, element);
    if (steps == MOST_STEPS) facts->emplace(FAULT, "a walk without end");

    uint32_t count = 0;
    char* names = nullptr;
    if (orvIdx_numberOfElements(job, kind, &count, &names) != IDX_OK) return;
    std::string list = names;
    orvIdx_freeElementNameList(&names);
    for (size_t at = 0; at < list.size() && count-- > 0;) {
        size_t comma = std::min(list.find(',', at), list.size());
        element = nullptr;
        std::string name = list.substr(at, comma - at);
        result = orvIdx_readElementbyName(job, kind, name.c_str(), &element);
        take(facts, kind, result, element);
        at = comma + 1;
    }
}

Facts factsOfJob(const std::string& path)
{
    Facts facts;
    IdxConnection* job = nullptr;
    if (orvIdx_connectToOrvaneOrvFile(&job, path.c_str(), 0) != IDX_OK) return facts;
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        addKind(&facts, job, kind);
    }
    if (orvIdx_disconnectFromOrvaneOrvFile(&job) != IDX_OK)
        facts.emplace(FAULT, "a file not closed");
    return facts;
}

// -- Damage ------------------------------------------------------------------

static size_t numberAt(const std::string& bytes, size_t at, size_t width)
{
    size_t number = 0;
    for (size_t i = width; i-- > 0;) {
        number = number << 8 | static_cast<uint8_t>(bytes[at + i]);
    }
    return number;
}

SoundJob learnJob(const std::string& path)
{
    SoundJob job = {fileBytes(path), factsOfJob(path), {}, {}};
    const std::string& bytes = job.bytes;
    for (size_t page = 1024; page < bytes.size(); page += 1024) {
        if (numberAt(bytes, page, 2) != 0) continue;
        size_t entry = page + 12;
        for (size_t size = 0; (size = numberAt(bytes, entry, 1)) > 0; entry += size + 1) {
            if (bytes[entry + 1] != 19) continue; // the key is empty
            auto number = static_cast<int32_t>(numberAt(bytes, entry + 3, 4));
            job.places[number].emplace(entry, entry + size + 1);
        }
    }
    for (const auto& [number, places] : job.places) {
        constexpr size_t CHECKSUM = 8 + 2;
        std::string damaged = bytes;
        damaged[places.begin()->first + CHECKSUM] ^= 0x55;
        writeBytes(path, damaged);
        Facts told = factsOfJob(path);
        for (const auto& fact : job.facts) {
            if (!told.contains(fact)) job.subjects[number].insert(fact.first);
        }
    }
    writeBytes(path, bytes);
    return job;
}

// The subjects of the records whose bytes have changed.
static std::set<std::string> changedSubjects(const SoundJob& sound, const std::string& damaged)
{
    std::set<std::string> subjects;
    for (const auto& [number, places] : sound.places) {
        for (const auto& [begin, end] : places) {
            bool same = damaged.compare(begin, end - begin, sound.bytes, begin, end - begin) == 0;
            auto known = sound.subjects.find(number);
            if (!same && known != sound.subjects.end())
                subjects.insert(known->second.begin(), known->second.end());
        }
    }
    return subjects;
}

std::string wrongFact(const SoundJob& sound, const std::string& damaged, const Facts& told)
{
    std::set<std::string> excused = changedSubjects(sound, damaged);
    for (const auto& fact : told) {
        bool part = fact.first.starts_with(PARTS);
        if (part || sound.facts.contains(fact) || excused.contains(fact.first)) continue;
        return fact.first;
    }
    return "";
}
