// Checks docs/host-guide.md against the public header and the examples.
//
//   guide_check GUIDE EXAMPLES       exit status 1 and a line for each difference
//   guide_check --tables             prints the record tables as the guide has to show them
//
// The tables tell every member's offset with pointers of 4 and of 8 bytes. Both are
// computed from the members' widths and alignments; those for the pointers of this build
// are compared with what the compiler makes of the header.
#include "orvIdx.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

struct Member {
    std::string name;
    std::string type;
    size_t width;     // 0 for a pointer
    size_t alignment; // 0 for a pointer
    size_t compiledOffset;
    size_t compiledWidth;
};

struct RecordTable {
    std::string name;
    size_t compiledSize;
    std::vector<Member> members;
};

// -- The header --------------------------------------------------------------

template <typename Type> static std::string typeName()
{
    if constexpr (std::is_pointer_v<Type>) return typeName<std::remove_pointer_t<Type>>() + "*";
    if constexpr (std::is_array_v<Type>) {
        return "char[" + std::to_string(sizeof(Type)) + "]";
    }
    if constexpr (std::is_same_v<Type, uint8_t>) return "uint8_t";
    if constexpr (std::is_same_v<Type, int32_t>) return "int32_t";
    if constexpr (std::is_same_v<Type, uint32_t>) return "uint32_t";
    if constexpr (std::is_same_v<Type, double>) return "double";
    if constexpr (std::is_same_v<Type, PointElement>) return "PointElement";
    if constexpr (std::is_same_v<Type, ChainMember>) return "ChainMember";
    if constexpr (std::is_same_v<Type, ChainMemberPayload>) return "ChainMemberPayload";
    if constexpr (std::is_same_v<Type, ProfileVertex>) return "ProfileVertex";
    return "";
}

template <typename Type> constexpr size_t widthOf()
{
    if constexpr (std::is_pointer_v<Type>) {
        return sizeof(void*);
    } else {
        return sizeof(Type);
    }
}

// A double, and a record that contains one, lies on a multiple of 8 on every platform.
template <typename Type> constexpr size_t alignmentOf()
{
    if (std::is_same_v<Type, double> || std::is_class_v<Type> || std::is_union_v<Type>) return 8;
    return std::is_array_v<Type> ? 1 : widthOf<Type>();
}

template <typename RecordType, typename Type>
static Member member(const char* name, Type RecordType::*pointer)
{
    static const RecordType record = {};
    auto begin = reinterpret_cast<const char*>(&record);
    auto place = reinterpret_cast<const char*>(&(record.*pointer));
    bool isPointer = std::is_pointer_v<Type>;
    return {name,
            typeName<Type>(),
            isPointer ? 0 : widthOf<Type>(),
            isPointer ? 0 : alignmentOf<Type>(),
            static_cast<size_t>(place - begin),
            widthOf<Type>()};
}

// A row of the table of Type, which the function that uses it defines.
#define MEMBER(name) member(#name, &Type::name)

static RecordTable connectionTable()
{
    using Type = IdxConnection;
    return {"IdxConnection", sizeof(Type), {MEMBER(fileNumber), MEMBER(path), MEMBER(userValue)}};
}

static RecordTable pointElementTable()
{
    using Type = PointElement;
    return {"PointElement",
            sizeof(Type),
            {MEMBER(setText), MEMBER(name), MEMBER(featureText), MEMBER(firstNote),
             MEMBER(longText), MEMBER(real4), MEMBER(integer1), MEMBER(real1), MEMBER(real2),
             MEMBER(real3), MEMBER(number1), MEMBER(integer7), MEMBER(text1), MEMBER(text2),
             MEMBER(text3), MEMBER(text4)}};
}

static RecordTable lineElementTable()
{
    using Type = LineElement;
    return {"LineElement",
            sizeof(Type),
            {MEMBER(name), MEMBER(beginPointName), MEMBER(endPointName), MEMBER(beginPoint),
             MEMBER(endPoint), MEMBER(secondaryCode), MEMBER(noteText)}};
}

static RecordTable curveElementTable()
{
    using Type = CurveElement;
    return {"CurveElement",
            sizeof(Type),
            {MEMBER(name), MEMBER(curve1), MEMBER(curve2), MEMBER(curve3), MEMBER(curve4),
             MEMBER(curve5), MEMBER(curve6), MEMBER(curve7), MEMBER(curve8), MEMBER(curve9),
             MEMBER(curve10), MEMBER(curve11), MEMBER(curve12), MEMBER(curve13), MEMBER(curve14),
             MEMBER(textA), MEMBER(textB), MEMBER(secondaryCode), MEMBER(noteText)}};
}

static RecordTable spiralElementTable()
{
    using Type = SpiralElement;
    return {"SpiralElement",
            sizeof(Type),
            {MEMBER(name),     MEMBER(spiralType),    MEMBER(spiral1),  MEMBER(spiral2),
             MEMBER(spiral3),  MEMBER(spiral4),       MEMBER(spiral5),  MEMBER(spiral6),
             MEMBER(spiral7),  MEMBER(spiral8),       MEMBER(spiral9),  MEMBER(spiral10),
             MEMBER(spiral11), MEMBER(spiral12),      MEMBER(spiral13), MEMBER(spiral14),
             MEMBER(spiral15), MEMBER(spiral16),      MEMBER(spiral17), MEMBER(spiral18),
             MEMBER(textA),    MEMBER(secondaryCode), MEMBER(noteText)}};
}

static RecordTable chainElementTable()
{
    using Type = ChainElement;
    return {"ChainElement",
            sizeof(Type),
            {MEMBER(name), MEMBER(secondaryCode), MEMBER(noteText), MEMBER(unresolvedMembers),
             MEMBER(firstMember)}};
}

static RecordTable chainMemberTable()
{
    using Type = ChainMember;
    return {"ChainMember", sizeof(Type), {MEMBER(next), MEMBER(memberKind), MEMBER(payload)}};
}

static RecordTable profileElementTable()
{
    using Type = ProfileElement;
    return {"ProfileElement",
            sizeof(Type),
            {MEMBER(name), MEMBER(secondaryCode), MEMBER(noteText), MEMBER(vertexCount),
             MEMBER(vertices)}};
}

static RecordTable profileVertexTable()
{
    using Type = ProfileVertex;
    return {"ProfileVertex",
            sizeof(Type),
            {MEMBER(vertexCode), MEMBER(station), MEMBER(segmentNumber), MEMBER(elevation),
             MEMBER(backLength), MEMBER(aheadLength)}};
}

static RecordTable surveyChainElementTable()
{
    using Type = SurveyChainElement;
    return {"SurveyChainElement",
            sizeof(Type),
            {MEMBER(setText), MEMBER(name), MEMBER(featureText), MEMBER(note), MEMBER(number1),
             MEMBER(integer4), MEMBER(unresolvedPoints), MEMBER(pointCount), MEMBER(points)}};
}

#undef MEMBER

static std::vector<RecordTable> allTables()
{
    return {connectionTable(),        pointElementTable(),   lineElementTable(),
            curveElementTable(),      spiralElementTable(),  chainElementTable(),
            chainMemberTable(),       profileElementTable(), profileVertexTable(),
            surveyChainElementTable()};
}

// -- Layout ------------------------------------------------------------------

static size_t roundedUp(size_t offset, size_t alignment)
{
    return (offset + alignment - 1) / alignment * alignment;
}

// Returns the offset of each member with pointers of that size, and behind them the record's
// size.
static std::vector<size_t> layout(const RecordTable& record, size_t pointerSize)
{
    std::vector<size_t> offsets;
    size_t end = 0;
    size_t recordAlignment = 1;
    for (const Member& item : record.members) {
        size_t alignment = item.alignment == 0 ? pointerSize : item.alignment;
        size_t offset = roundedUp(end, alignment);
        offsets.push_back(offset);
        end = offset + (item.width == 0 ? pointerSize : item.width);
        recordAlignment = std::max(recordAlignment, alignment);
    }
    offsets.push_back(roundedUp(end, recordAlignment));
    return offsets;
}

// Returns 1 when the numbers differ, with a line on standard error, else 0.
static int difference(const std::string& what, size_t computed, size_t compiled)
{
    if (computed == compiled) return 0;
    std::fprintf(stderr, "%s: %u computed, %u compiled\n", what.c_str(),
                 static_cast<unsigned>(computed), static_cast<unsigned>(compiled));
    return 1;
}

// Compares the layout for this build's pointers with the compiler's. Returns the number of
// differences.
static int compareWithHeader(const RecordTable& record)
{
    std::vector<size_t> offsets = layout(record, sizeof(void*));
    int differences = difference(record.name + " size", offsets.back(), record.compiledSize);
    for (size_t i = 0; i < record.members.size(); ++i) {
        const Member& item = record.members[i];
        size_t width = item.width == 0 ? sizeof(void*) : item.width;
        std::string name = record.name + "." + item.name;
        differences += difference("offset of " + name, offsets[i], item.compiledOffset);
        differences += difference("width of " + name, width, item.compiledWidth);
    }
    return differences;
}

// -- Tables ------------------------------------------------------------------

static std::string inBothWidths(size_t with4, size_t with8)
{
    std::string text = std::to_string(with4);
    return with4 == with8 ? text : text + " / " + std::to_string(with8);
}

static std::string tableOf(const RecordTable& record)
{
    std::vector<size_t> with4 = layout(record, 4);
    std::vector<size_t> with8 = layout(record, 8);
    std::string table = "| `" + record.name + "` | type | bytes | offset |\n|---|---|---|---|\n";
    for (size_t i = 0; i < record.members.size(); ++i) {
        const Member& item = record.members[i];
        std::string width = item.width == 0 ? "4 / 8" : std::to_string(item.width);
        table += "| `" + item.name + "` | `" + item.type + "` | " + width + " | " +
                 inBothWidths(with4[i], with8[i]) + " |\n";
    }
    return table + "| size | | " + inBothWidths(with4.back(), with8.back()) + " | |\n";
}

// -- The guide ---------------------------------------------------------------

static std::string textOf(const std::string& path)
{
    std::ifstream file(path);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

// True when the guide shows the text; otherwise a line on standard error says what it lacks.
static bool expectShown(const std::string& guide, const std::string& text, const std::string& what)
{
    bool shown = guide.find(text) != std::string::npos;
    if (!shown) std::fprintf(stderr, "the guide does not show %s as it is\n", what.c_str());
    return shown;
}

static bool checkGuide(const std::string& guidePath, const std::string& examples)
{
    std::string guide = textOf(guidePath);
    bool right = true;
    for (const RecordTable& record : allTables()) {
        right = compareWithHeader(record) == 0 && right;
        right = expectShown(guide, "\n\n" + tableOf(record) + "\n", record.name) && right;
    }
    for (const char* name : {"minimal_host.c", "loading_host.c", "minimal_host.txt"}) {
        std::string text = textOf(examples + "/" + name);
        std::string fence = std::string(name).ends_with(".c") ? "```c\n" : "```\n";
        right = !text.empty() && expectShown(guide, fence + text + "```\n", name) && right;
    }
    return right;
}

int main(int argumentCount, char** arguments)
{
    if (argumentCount == 2 && std::string(arguments[1]) == "--tables") {
        for (const RecordTable& record : allTables()) {
            std::printf("%s\n", tableOf(record).c_str());
        }
        return 0;
    }
    if (argumentCount != 3) {
        std::fprintf(stderr, "usage: guide_check GUIDE EXAMPLES | guide_check --tables\n");
        return 2;
    }
    return checkGuide(arguments[1], arguments[2]) ? 0 : 1;
}
