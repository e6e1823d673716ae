#include "tools/export/record_tables.h"

#include "tools/reading/latin1.h"

#include <cmath>
#include <cstring>
#include <type_traits>

// -- Members -----------------------------------------------------------------

template <typename MEMBER> constexpr MemberType typeOf()
{
    if constexpr (std::is_array_v<MEMBER>) return MEMBER_TEXT;
    if constexpr (std::is_same_v<MEMBER, double>) return MEMBER_REAL;
    if constexpr (std::is_same_v<MEMBER, uint8_t>) return MEMBER_FLAG;
    return MEMBER_INTEGER;
}

#define ROW(record, member)                                                                        \
    {                                                                                              \
#member, typeOf < decltype(record::member)>(), offsetof(record, member),                   \
            sizeof(record::member)                                                                 \
    }

// clang-format off
#define P(member) ROW(PointElement, member)
static constexpr RecordMember POINT_MEMBERS[] = {
    P(setText), P(name), P(featureText), P(firstNote), P(longText), P(real4), P(integer1),
    P(real1), P(real2), P(real3), P(number1), P(integer7), P(text1), P(text2), P(text3), P(text4)};

#define L(member) ROW(LineElement, member)
static constexpr RecordMember LINE_NAMES[] = {L(name), L(beginPointName), L(endPointName)};
static constexpr RecordMember LINE_TEXTS[] = {L(secondaryCode), L(noteText)};

#define C(member) ROW(CurveElement, member)
static constexpr RecordMember CURVE_MEMBERS[] = {
    C(name), C(curve1), C(curve2), C(curve3), C(curve4), C(curve5), C(curve6), C(curve7),
    C(curve8), C(curve9), C(curve10), C(curve11), C(curve12), C(curve13), C(curve14),
    C(textA), C(textB), C(secondaryCode), C(noteText)};

#define S(member) ROW(SpiralElement, member)
static constexpr RecordMember SPIRAL_MEMBERS[] = {
    S(name), S(spiralType), S(spiral1), S(spiral2), S(spiral3), S(spiral4), S(spiral5), S(spiral6),
    S(spiral7), S(spiral8), S(spiral9), S(spiral10), S(spiral11), S(spiral12), S(spiral13),
    S(spiral14), S(spiral15), S(spiral16), S(spiral17), S(spiral18),
    S(textA), S(secondaryCode), S(noteText)};

#define A(member) ROW(ChainElement, member)
static constexpr RecordMember CHAIN_MEMBERS[] = {
    A(name), A(secondaryCode), A(noteText), A(unresolvedMembers)};
static constexpr RecordMember CHAIN_MEMBER_KIND[] = {ROW(ChainMember, memberKind)};

#define V(member) ROW(ProfileVertex, member)
static constexpr RecordMember VERTEX_MEMBERS[] = {
    V(vertexCode), V(station), V(segmentNumber), V(elevation), V(backLength), V(aheadLength)};

#define F(member) ROW(ProfileElement, member)
static constexpr RecordMember PROFILE_MEMBERS[] = {
    F(name), F(secondaryCode), F(noteText), F(vertexCount)};

#define U(member) ROW(SurveyChainElement, member)
static constexpr RecordMember SURVEY_CHAIN_MEMBERS[] = {
    U(setText), U(name), U(featureText), U(note), U(number1), U(integer4), U(unresolvedPoints),
    U(pointCount)};
// clang-format on

// No member is left out: each begins where the one before it ends, as its type is aligned, the
// first at begin; and what has the alignment given follows at end.
static constexpr bool fill(std::span<const RecordMember> members, size_t begin, size_t end,
                           size_t alignmentAtEnd)
{
    constexpr size_t ALIGNMENTS[] = {1, sizeof(int32_t), 1, sizeof(double)}; // by MemberType
    size_t at = begin;
    for (const RecordMember& member : members) {
        size_t alignment = ALIGNMENTS[member.type];
        at = (at + alignment - 1) / alignment * alignment;
        if (member.offset != at) return false;
        at += member.width;
    }
    return (at + alignmentAtEnd - 1) / alignmentAtEnd * alignmentAtEnd == end;
}

constexpr size_t POINTER = alignof(void*);
static_assert(fill(POINT_MEMBERS, 0, sizeof(PointElement), 8));
static_assert(fill(LINE_NAMES, 0, offsetof(LineElement, beginPoint), 8));
static_assert(fill(LINE_TEXTS, offsetof(LineElement, secondaryCode), sizeof(LineElement), 8));
static_assert(fill(CURVE_MEMBERS, 0, sizeof(CurveElement), 8));
static_assert(fill(SPIRAL_MEMBERS, 0, sizeof(SpiralElement), 8));
static_assert(fill(CHAIN_MEMBERS, 0, offsetof(ChainElement, firstMember), POINTER));
static_assert(fill(CHAIN_MEMBER_KIND, sizeof(void*), offsetof(ChainMember, payload), 8));
static_assert(fill(VERTEX_MEMBERS, 0, sizeof(ProfileVertex), 8));
static_assert(fill(PROFILE_MEMBERS, 0, offsetof(ProfileElement, vertices), POINTER));
static_assert(fill(SURVEY_CHAIN_MEMBERS, 0, offsetof(SurveyChainElement, points), POINTER));

// -- Tables ------------------------------------------------------------------

static constexpr MemberGroup whole(std::span<const RecordMember> members)
{
    return {"", members, 0, EVERY_MEMBER_KIND};
}

static constexpr MemberGroup POINT_GROUPS[] = {whole(POINT_MEMBERS)};
static constexpr MemberGroup CURVE_GROUPS[] = {whole(CURVE_MEMBERS)};
static constexpr MemberGroup SPIRAL_GROUPS[] = {whole(SPIRAL_MEMBERS)};
static constexpr MemberGroup CHAIN_GROUPS[] = {whole(CHAIN_MEMBERS)};
static constexpr MemberGroup PROFILE_GROUPS[] = {whole(PROFILE_MEMBERS)};
static constexpr MemberGroup SURVEY_CHAIN_GROUPS[] = {whole(SURVEY_CHAIN_MEMBERS)};
static constexpr MemberGroup VERTEX_GROUPS[] = {whole(VERTEX_MEMBERS)};

static constexpr MemberGroup LINE_GROUPS[] = {
    whole(LINE_NAMES),
    {"beginPoint_", POINT_MEMBERS, offsetof(LineElement, beginPoint), EVERY_MEMBER_KIND},
    {"endPoint_", POINT_MEMBERS, offsetof(LineElement, endPoint), EVERY_MEMBER_KIND},
    whole(LINE_TEXTS)};

static constexpr MemberGroup CHAIN_MEMBER_GROUPS[] = {
    whole(CHAIN_MEMBER_KIND),
    {"point_", POINT_MEMBERS, offsetof(ChainMember, payload), CHAIN_MEMBER_POINT},
    {"curve_", CURVE_MEMBERS, offsetof(ChainMember, payload), CHAIN_MEMBER_CURVE},
    {"spiral_", SPIRAL_MEMBERS, offsetof(ChainMember, payload), CHAIN_MEMBER_SPIRAL}};

static constexpr RecordTable TABLES[] = {
    {"points", POINT_GROUPS},
    {"lines", LINE_GROUPS},
    {"curves", CURVE_GROUPS},
    {"spirals", SPIRAL_GROUPS},
    {"chains", CHAIN_GROUPS},
    {"profiles", PROFILE_GROUPS},
    {"survey_chains", SURVEY_CHAIN_GROUPS},
    {"chain_members", CHAIN_MEMBER_GROUPS},
    {"profile_vertices", VERTEX_GROUPS},
    {"survey_chain_points", POINT_GROUPS},
};
static_assert(std::size(TABLES) == RECORD_TABLES);

const RecordTable& recordTable(int table) { return TABLES[table]; }

std::span<const RecordMember> membersOf(uint32_t kind) { return TABLES[kind].groups[0].members; }

int listTable(uint32_t kind)
{
    switch (kind) {
    case ELEMENT_CHAIN:
        return TABLE_CHAIN_MEMBERS;
    case ELEMENT_PROFILE:
        return TABLE_PROFILE_VERTICES;
    case ELEMENT_SURVEY_CHAIN:
        return TABLE_SURVEY_CHAIN_POINTS;
    default:
        return NO_TABLE;
    }
}

// -- Rows --------------------------------------------------------------------

static std::span<const ProfileVertex> verticesOf(const void* element)
{
    const auto* profile = static_cast<const ProfileElement*>(element);
    return {profile->vertices, static_cast<size_t>(profile->vertexCount)};
}

static std::span<const PointElement> pointsOf(const void* element)
{
    const auto* chain = static_cast<const SurveyChainElement*>(element);
    return {chain->points, static_cast<size_t>(chain->pointCount)};
}

const void* firstListed(uint32_t kind, const void* element)
{
    if (kind == ELEMENT_CHAIN) return static_cast<const ChainElement*>(element)->firstMember;
    if (kind == ELEMENT_PROFILE) {
        return verticesOf(element).empty() ? nullptr : verticesOf(element).data();
    }
    if (kind == ELEMENT_SURVEY_CHAIN) {
        return pointsOf(element).empty() ? nullptr : pointsOf(element).data();
    }
    return nullptr;
}

const void* nextListed(uint32_t kind, const void* element, const void* listed)
{
    if (kind == ELEMENT_CHAIN) return static_cast<const ChainMember*>(listed)->next;
    if (kind == ELEMENT_PROFILE) {
        const ProfileVertex* next = static_cast<const ProfileVertex*>(listed) + 1;
        return next == verticesOf(element).data() + verticesOf(element).size() ? nullptr : next;
    }
    const PointElement* next = static_cast<const PointElement*>(listed) + 1;
    return next == pointsOf(element).data() + pointsOf(element).size() ? nullptr : next;
}

const void* groupIn(const MemberGroup& group, const void* row)
{
    if (row == nullptr) return nullptr;
    bool always = group.memberKind == EVERY_MEMBER_KIND;
    if (!always && static_cast<const ChainMember*>(row)->memberKind != group.memberKind) {
        return nullptr;
    }
    return static_cast<const char*>(row) + group.offset;
}

MemberValue memberValue(const RecordMember& member, const void* record)
{
    MemberValue value = {member.type, record == nullptr, 0, 0.0, ""};
    if (record == nullptr) return value;
    const char* bytes = static_cast<const char*>(record) + member.offset;
    switch (member.type) {
    case MEMBER_TEXT: {
        std::string_view text(bytes, member.width);
        value.text = utf8FromLatin1(text.substr(0, text.find('\0')));
        break;
    }
    case MEMBER_INTEGER:
        std::memcpy(&value.integer, bytes, sizeof value.integer);
        break;
    case MEMBER_FLAG:
        value.integer = static_cast<uint8_t>(*bytes);
        break;
    case MEMBER_REAL:
        std::memcpy(&value.real, bytes, sizeof value.real);
        value.isNull = !std::isfinite(value.real);
        break;
    }
    return value;
}
