// Checks docs/host-guide.md against the public header and the examples.
//
//   guide_check GUIDE EXAMPLES       exit status 1 and a line for each difference
//   guide_check --tables             prints the record tables as the guide has to show them
//
// The tables tell every member's offset with pointers of 4 and of 8 bytes. Both are
// computed from the members' widths and alignments; those for the pointers of this build
// are compared with what the compiler makes of the header.
#include "orvIdx.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

struct Member {
    std::string name;
    std::string type;
    size_t width; // of a pointer: 0
    size_t alignment;
    size_t compiledOffset;
    size_t compiledWidth;
};

struct Record {
    std::string name;
    size_t compiledSize;
    std::vector<Member> members;
};

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

// A double and what contains one lies on a multiple of 8 on every platform.
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

// clang-format off
static std::vector<Record> allRecords()
{
    return {
        {"IdxConnection", sizeof(IdxConnection), {
            member("fileNumber", &IdxConnection::fileNumber),
            member("path", &IdxConnection::path),
            member("userValue", &IdxConnection::userValue)}},
        {"PointElement", sizeof(PointElement), {
            member("setText", &PointElement::setText),
            member("name", &PointElement::name),
            member("featureText", &PointElement::featureText),
            member("firstNote", &PointElement::firstNote),
            member("longText", &PointElement::longText),
            member("real4", &PointElement::real4),
            member("integer1", &PointElement::integer1),
            member("real1", &PointElement::real1),
            member("real2", &PointElement::real2),
            member("real3", &PointElement::real3),
            member("number1", &PointElement::number1),
            member("integer7", &PointElement::integer7),
            member("text1", &PointElement::text1),
            member("text2", &PointElement::text2),
            member("text3", &PointElement::text3),
            member("text4", &PointElement::text4)}},
        {"LineElement", sizeof(LineElement), {
            member("name", &LineElement::name),
            member("beginPointName", &LineElement::beginPointName),
            member("endPointName", &LineElement::endPointName),
            member("beginPoint", &LineElement::beginPoint),
            member("endPoint", &LineElement::endPoint),
            member("secondaryCode", &LineElement::secondaryCode),
            member("noteText", &LineElement::noteText)}},
        {"CurveElement", sizeof(CurveElement), {
            member("name", &CurveElement::name),
            member("curve1", &CurveElement::curve1),
            member("curve2", &CurveElement::curve2),
            member("curve3", &CurveElement::curve3),
            member("curve4", &CurveElement::curve4),
            member("curve5", &CurveElement::curve5),
            member("curve6", &CurveElement::curve6),
            member("curve7", &CurveElement::curve7),
            member("curve8", &CurveElement::curve8),
            member("curve9", &CurveElement::curve9),
            member("curve10", &CurveElement::curve10),
            member("curve11", &CurveElement::curve11),
            member("curve12", &CurveElement::curve12),
            member("curve13", &CurveElement::curve13),
            member("curve14", &CurveElement::curve14),
            member("textA", &CurveElement::textA),
            member("textB", &CurveElement::textB),
            member("secondaryCode", &CurveElement::secondaryCode),
            member("noteText", &CurveElement::noteText)}},
        {"SpiralElement", sizeof(SpiralElement), {
            member("name", &SpiralElement::name),
            member("spiralType", &SpiralElement::spiralType),
            member("spiral1", &SpiralElement::spiral1),
            member("spiral2", &SpiralElement::spiral2),
            member("spiral3", &SpiralElement::spiral3),
            member("spiral4", &SpiralElement::spiral4),
            member("spiral5", &SpiralElement::spiral5),
            member("spiral6", &SpiralElement::spiral6),
            member("spiral7", &SpiralElement::spiral7),
            member("spiral8", &SpiralElement::spiral8),
            member("spiral9", &SpiralElement::spiral9),
            member("spiral10", &SpiralElement::spiral10),
            member("spiral11", &SpiralElement::spiral11),
            member("spiral12", &SpiralElement::spiral12),
            member("spiral13", &SpiralElement::spiral13),
            member("spiral14", &SpiralElement::spiral14),
            member("spiral15", &SpiralElement::spiral15),
            member("spiral16", &SpiralElement::spiral16),
            member("spiral17", &SpiralElement::spiral17),
            member("spiral18", &SpiralElement::spiral18),
            member("textA", &SpiralElement::textA),
            member("secondaryCode", &SpiralElement::secondaryCode),
            member("noteText", &SpiralElement::noteText)}},
        {"ChainElement", sizeof(ChainElement), {
            member("name", &ChainElement::name),
            member("secondaryCode", &ChainElement::secondaryCode),
            member("noteText", &ChainElement::noteText),
            member("unresolvedMembers", &ChainElement::unresolvedMembers),
            member("firstMember", &ChainElement::firstMember)}},
        {"ChainMember", sizeof(ChainMember), {
            member("next", &ChainMember::next),
            member("memberKind", &ChainMember::memberKind),
            member("payload", &ChainMember::payload)}},
        {"ProfileElement", sizeof(ProfileElement), {
            member("name", &ProfileElement::name),
            member("secondaryCode", &ProfileElement::secondaryCode),
            member("noteText", &ProfileElement::noteText),
            member("vertexCount", &ProfileElement::vertexCount),
            member("vertices", &ProfileElement::vertices)}},
        {"ProfileVertex", sizeof(ProfileVertex), {
            member("vertexCode", &ProfileVertex::vertexCode),
            member("station", &ProfileVertex::station),
            member("segmentNumber", &ProfileVertex::segmentNumber),
            member("elevation", &ProfileVertex::elevation),
            member("backLength", &ProfileVertex::backLength),
            member("aheadLength", &ProfileVertex::aheadLength)}},
        {"SurveyChainElement", sizeof(SurveyChainElement), {
            member("setText", &SurveyChainElement::setText),
            member("name", &SurveyChainElement::name),
            member("featureText", &SurveyChainElement::featureText),
            member("note", &SurveyChainElement::note),
            member("number1", &SurveyChainElement::number1),
            member("integer4", &SurveyChainElement::integer4),
            member("unresolvedPoints", &SurveyChainElement::unresolvedPoints),
            member("pointCount", &SurveyChainElement::pointCount),
            member("points", &SurveyChainElement::points)}},
    };
}
// clang-format on

// -- Layout ------------------------------------------------------------------

static size_t roundedUp(size_t offset, size_t alignment)
{
    return (offset + alignment - 1) / alignment * alignment;
}

// The offset of each member with pointers of that size, and last the record's size.
static std::vector<size_t> layout(const Record& record, size_t pointerSize)
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

// Compares the layout for this build's pointers with the compiler's. Returns the
// number of differences, each told on standard error.
static int compareWithHeader(const Record& record)
{
    int differences = 0;
    auto expectEqual = [&](const std::string& what, size_t computed, size_t compiled) {
        if (computed == compiled) return;
        std::fprintf(stderr, "%s %s: %u computed, %u compiled\n", record.name.c_str(), what.c_str(),
                     static_cast<unsigned>(computed), static_cast<unsigned>(compiled));
        ++differences;
    };
    std::vector<size_t> offsets = layout(record, sizeof(void*));
    for (size_t i = 0; i < record.members.size(); ++i) {
        const Member& item = record.members[i];
        size_t width = item.width == 0 ? sizeof(void*) : item.width;
        expectEqual("offset of " + item.name, offsets[i], item.compiledOffset);
        expectEqual("width of " + item.name, width, item.compiledWidth);
    }
    expectEqual("size", offsets.back(), record.compiledSize);
    return differences;
}

// -- Tables ------------------------------------------------------------------

static std::string inBothWidths(size_t with4, size_t with8)
{
    std::string text = std::to_string(with4);
    return with4 == with8 ? text : text + " / " + std::to_string(with8);
}

static std::string tableOf(const Record& record)
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

// True when the guide shows the text; tells the difference on standard error.
static bool expectShown(const std::string& guide, const std::string& text, const std::string& what)
{
    bool shown = guide.find(text) != std::string::npos;
    if (!shown) std::fprintf(stderr, "the guide does not show %s as it is\n", what.c_str());
    return shown;
}

static bool checkGuide(const std::string& guidePath, const std::string& examples)
{
    const std::string guide = textOf(guidePath);
    bool right = true;
    for (const Record& record : allRecords()) {
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
        for (const Record& record : allRecords())
            std::printf("%s\n", tableOf(record).c_str());
        return 0;
    }
    if (argumentCount != 3) {
        std::fprintf(stderr, "usage: guide_check GUIDE EXAMPLES | guide_check --tables\n");
        return 2;
    }
    return checkGuide(arguments[1], arguments[2]) ? 0 : 1;
}
