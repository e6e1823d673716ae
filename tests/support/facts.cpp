#include "tests/support/facts.h"

#include "tests/support/command.h"
#include "tests/support/exports.h"

#include <cstring>

constexpr int MOST_STEPS = 20000; // no job of the tests has so many elements
constexpr char FAULT[] = "fault"; // of the exports themselves

template <typename Type> static std::string raw(const Type& item)
{
    return std::string(reinterpret_cast<const char*>(&item), sizeof(Type));
}

// -- Elements ----------------------------------------------------------------

// What stands in a record that may be missing is a fact only when it is there.
static void tell(Facts* facts, const std::string& subject, const std::string& text)
{
    if (!text.empty()) facts->emplace(subject, text);
}

static void add(Facts* facts, PointElement point)
{
    tell(facts, std::string("feature of point ") + point.name, point.featureText);
    memset(point.featureText, 0, sizeof point.featureText);
    tell(facts, std::string("point ") + point.name, raw(point));
}

static void add(Facts* facts, const LineElement& line)
{
    add(facts, line.beginPoint);
    add(facts, line.endPoint);
    std::string subject = std::string("line ") + line.name;
    tell(facts, subject, std::string(line.beginPointName) + "," + line.endPointName);
    tell(facts, "texts of " + subject, std::string(line.secondaryCode) + line.noteText);
}

static void add(Facts* facts, const ChainElement& chain)
{
    std::string subject = std::string("chain ") + chain.name;
    std::string parts = raw(chain.unresolvedMembers);
    for (const ChainMember* member = chain.firstMember; member != nullptr; member = member->next) {
        const ChainMemberPayload& payload = member->payload;
        if (member->memberKind == CHAIN_MEMBER_POINT) add(facts, payload.point);
        if (member->memberKind == CHAIN_MEMBER_CURVE)
            facts->merge(factsOf(ELEMENT_CURVE, &payload));
        if (member->memberKind == CHAIN_MEMBER_SPIRAL)
            facts->merge(factsOf(ELEMENT_SPIRAL, &payload));
        parts += raw(member->memberKind) + raw(payload);
    }
    tell(facts, subject, std::string(chain.secondaryCode) + "," + chain.noteText);
    tell(facts, PARTS + subject, parts);
}

static void add(Facts* facts, const ProfileElement& profile)
{
    std::string subject = std::string("profile ") + profile.name;
    std::string vertices = raw(profile.vertexCount);
    for (int32_t i = 0; i < profile.vertexCount; ++i) {
        vertices += raw(profile.vertices[i]); // and what lies between the members
    }
    tell(facts, subject, vertices);
    tell(facts, "texts of " + subject, std::string(profile.secondaryCode) + profile.noteText);
}

static void add(Facts* facts, const SurveyChainElement& chain)
{
    std::string subject = std::string("survey chain ") + chain.name;
    std::string parts = raw(chain.unresolvedPoints);
    for (int32_t i = 0; i < chain.pointCount; ++i) {
        // A gap holds the point before it.
        if (strcmp(chain.points[i].name, "GAP") != 0) add(facts, chain.points[i]);
        parts += raw(chain.points[i]);
    }
    std::string texts = std::string(chain.setText) + "," + chain.note;
    tell(facts, subject, texts + raw(chain.number1) + raw(chain.integer4));
    tell(facts, "feature of " + subject, chain.featureText);
    tell(facts, PARTS + subject, parts);
}

template <typename Type> static const Type& as(const void* element)
{
    return *static_cast<const Type*>(element);
}

Facts factsOf(uint32_t kind, const void* element)
{
    Facts facts;
    const char* name = static_cast<const char*>(element);
    if (kind == ELEMENT_POINT) add(&facts, as<PointElement>(element));
    if (kind == ELEMENT_LINE) add(&facts, as<LineElement>(element));
    if (kind == ELEMENT_CURVE)
        tell(&facts, std::string("curve ") + name, raw(as<CurveElement>(element)));
    if (kind == ELEMENT_SPIRAL)
        tell(&facts, std::string("spiral ") + name, raw(as<SpiralElement>(element)));
    if (kind == ELEMENT_CHAIN) add(&facts, as<ChainElement>(element));
    if (kind == ELEMENT_PROFILE) add(&facts, as<ProfileElement>(element));
    if (kind == ELEMENT_SURVEY_CHAIN) add(&facts, as<SurveyChainElement>(element));
    return facts;
}

// -- Jobs --------------------------------------------------------------------

// Adds what an element tells and gives it back; false when there is none.
static bool take(Facts* facts, uint32_t kind, int32_t result, void* element)
{
    bool fits = (result == IDX_OK) == (element != nullptr);
    if (element != nullptr) facts->merge(factsOf(kind, element));
    if (!fits || orvIdx_freeElement(kind, &element) != IDX_OK) tell(facts, FAULT, "result");
    return result == IDX_OK;
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
    if (steps == MOST_STEPS) tell(facts, FAULT, "a walk without end");
    for (const std::string& name : namesOf(job, kind)) {
        element = nullptr;
        result = orvIdx_readElementbyName(job, kind, name.c_str(), &element);
        take(facts, kind, result, element);
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
    if (orvIdx_disconnectFromOrvaneOrvFile(&job) != IDX_OK) tell(&facts, FAULT, "not closed");
    return facts;
}

bool tells(const Facts& facts, const std::string& subject)
{
    auto fact = facts.lower_bound({subject, ""});
    return fact != facts.end() && fact->first == subject;
}

// -- Damage ------------------------------------------------------------------

SoundJob learnJob(const std::string& path)
{
    SoundJob job = {fileBytes(path), factsOfJob(path), {}};
    auto byteAt = [&](size_t at) { return static_cast<uint8_t>(job.bytes[at]); };
    for (size_t page = 1024; page < job.bytes.size(); page += 1024) {
        if (byteAt(page) != 0) continue; // a branch
        for (size_t at = page + 12; byteAt(at) > 0; at += byteAt(at) + size_t{1}) {
            if (byteAt(at + 1) != 19) continue;
            std::string damaged = job.bytes;
            damaged[at + 7] = 0x55; // the segment byte
            writeBytes(path, damaged);
            Facts told = factsOfJob(path);
            StoredData data = {at, byteAt(at) + size_t{1}, {}};
            for (const auto& fact : job.facts) {
                if (!told.contains(fact)) data.subjects.insert(fact.first);
            }
            job.data.push_back(data);
        }
    }
    writeBytes(path, job.bytes);
    return job;
}

std::string wrongFact(const SoundJob& sound, const std::string& damaged, const Facts& told)
{
    std::set<std::string> excused;
    for (const StoredData& data : sound.data) {
        bool same = damaged.compare(data.at, data.size, sound.bytes, data.at, data.size) == 0;
        if (!same) excused.insert(data.subjects.begin(), data.subjects.end());
    }
    for (const auto& fact : told) {
        bool part = fact.first.starts_with(PARTS);
        if (!part && !sound.facts.contains(fact) && !excused.contains(fact.first))
            return fact.first;
    }
    return "";
}
