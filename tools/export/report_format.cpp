#include "tools/export/report_format.h"

#include "tools/drawing/profile_line.h"
#include "tools/drawing/svg_text.h"
#include "tools/export/record_tables.h"
#include "tools/export/report_page.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/latin1.h"

#include <algorithm>
#include <charconv>
#include <cmath>

// -- JSON that stands in a script element ------------------------------------

// Markup cannot begin or end in it: the characters that it needs are written as their numbers.
static std::string textJson(const std::string& utf8)
{
    if (utf8.empty()) return "\"\"";
    std::string quoted = nlohmann::json(utf8).dump(-1, ' ', true);
    std::string safe;
    for (char character : quoted) {
        if (character == '<') {
            safe += "\\u003c";
        } else if (character == '>') {
            safe += "\\u003e";
        } else if (character == '&') {
            safe += "\\u0026";
        } else {
            safe += character;
        }
    }
    return safe;
}

static std::string nameJson(const std::string* name)
{
    return name != nullptr ? textJson(utf8FromLatin1(*name)) : "null";
}

static std::string numberJson(double value)
{
    if (!std::isfinite(value)) return "null";
    char text[32];
    return std::string(text, std::to_chars(text, text + sizeof text, value).ptr);
}

// Where something is drawn, to a fraction of the unit that nobody sees.
static std::string placeJson(double value, double fractions)
{
    constexpr double MOST = 1e15; // beyond, the fractions are finer than the number
    double steps = value * fractions;
    return numberJson(std::fabs(steps) < MOST ? std::round(steps) / fractions : value);
}

// Returns how many parts of a unit are told apart: more in a plan that is a few units wide.
static double fractionsFor(const PlanBox& view)
{
    constexpr double LEAST = 1e4;
    constexpr double OF_THE_VIEW = 1e7;
    double width = std::max(view.high.east - view.low.east, view.high.north - view.low.north);
    return std::max(LEAST, std::pow(10.0, std::round(std::log10(OF_THE_VIEW / width))));
}

static std::string valueJson(const MemberValue& value)
{
    if (value.isNull) return "null";
    if (value.type == MEMBER_TEXT) return textJson(value.text);
    return value.type == MEMBER_REAL ? numberJson(value.real) : std::to_string(value.integer);
}

static void appendItem(std::string* list, const std::string& item)
{
    if (!list->empty()) *list += ",";
    *list += item;
}

// -- Rows --------------------------------------------------------------------

// The columns of a kind: the members of its own record. The points in a line, and what chains and
// survey chains list, have rows of their own.
static std::string columnsJson(uint32_t kind)
{
    constexpr const char* TYPES[] = {"text", "integer", "flag", "real"}; // by MemberType
    std::string columns;
    for (const MemberGroup& group : recordTable(static_cast<int>(kind)).groups) {
        if (*group.prefix != '\0') continue;
        for (const RecordMember& member : group.members) {
            appendItem(&columns,
                       std::string("[\"") + member.name + "\",\"" + TYPES[member.type] + "\"]");
        }
    }
    return "[" + columns + "]";
}

// The name of what a chain lists; what has none is null.
static std::string memberNameJson(const ChainMember& member)
{
    const char* name = nullptr;
    if (member.memberKind == CHAIN_MEMBER_POINT) name = member.payload.point.name;
    if (member.memberKind == CHAIN_MEMBER_CURVE) name = member.payload.curve.name;
    if (member.memberKind == CHAIN_MEMBER_SPIRAL) name = member.payload.spiral.name;
    return name != nullptr ? textJson(utf8FromLatin1(name)) : "null";
}

static std::string listedJson(uint32_t kind, const void* listed)
{
    if (kind == ELEMENT_CHAIN) {
        const auto* member = static_cast<const ChainMember*>(listed);
        return std::to_string(member->memberKind) + "," + memberNameJson(*member);
    }
    if (kind == ELEMENT_SURVEY_CHAIN) {
        return textJson(utf8FromLatin1(static_cast<const PointElement*>(listed)->name));
    }
    std::string items;
    for (const RecordMember& member : recordTable(TABLE_PROFILE_VERTICES).groups[0].members) {
        appendItem(&items, valueJson(memberValue(member, listed)));
    }
    return items;
}

static std::string listJson(uint32_t kind, const void* element)
{
    std::string list;
    const void* listed = firstListed(kind, element);
    while (listed != nullptr) {
        appendItem(&list, "[" + listedJson(kind, listed) + "]");
        listed = nextListed(kind, element, listed);
    }
    return "[" + list + "]";
}

static std::string rowJson(uint32_t kind, const std::string* name, const void* element)
{
    std::string row = nameJson(name);
    if (element == nullptr) return "[" + row + "]";
    for (const MemberGroup& group : recordTable(static_cast<int>(kind)).groups) {
        if (*group.prefix != '\0') continue;
        for (const RecordMember& member : group.members) {
            row += "," + valueJson(memberValue(member, element));
        }
    }
    if (listTable(kind) != NO_TABLE) row += "," + listJson(kind, element);
    return "[" + row + "]";
}

// -- Drawings ----------------------------------------------------------------

static std::string pathJson(const PlanPath& path, double fractions)
{
    std::string steps;
    for (const PathStep& step : path) {
        appendItem(&steps, std::to_string(step.kind));
        if (step.kind == PATH_ARC) {
            steps += "," + numberJson(step.arc.centre.east) + "," +
                     numberJson(step.arc.centre.north) + "," + numberJson(step.arc.radius) + "," +
                     numberJson(step.arc.beginAngle) + "," + numberJson(step.arc.sweep);
        }
        steps +=
            "," + placeJson(step.to.east, fractions) + "," + placeJson(step.to.north, fractions);
    }
    return "[" + steps + "]";
}

static std::string numbersJson(std::initializer_list<double> numbers)
{
    std::string list;
    for (double number : numbers) {
        appendItem(&list, numberJson(number));
    }
    return "[" + list + "]";
}

static std::string lineJson(size_t row, const ProfileLine& line)
{
    std::string pieces;
    std::string intersections;
    std::string turns;
    std::string remarks;
    std::string derived;
    for (const ProfilePiece& piece : line.pieces) {
        appendItem(&pieces, numbersJson({static_cast<double>(piece.kind), piece.beginStation,
                                         piece.beginElevation, piece.endStation, piece.endElevation,
                                         piece.beginGrade, piece.endGrade}));
    }
    for (const ProfileIntersection& at : line.intersections) {
        appendItem(&intersections, numbersJson({at.beginStation, at.beginElevation, at.station,
                                                at.elevation, at.endStation, at.endElevation}));
    }
    for (const ProfileTurn& turn : line.turns) {
        appendItem(&turns, numbersJson({turn.isHigh ? 1.0 : 0.0, turn.station, turn.elevation}));
    }
    for (const std::string& remark : line.remarks) {
        appendItem(&remarks, textJson(remark));
    }
    for (const std::string& text : line.derived) {
        appendItem(&derived, textJson(text));
    }
    return "[" + std::to_string(row) + ",[" + pieces + "],[" + intersections + "],[" + turns +
           "],[" + remarks + "],[" + derived + "]]";
}

static std::string waysJson(const Plan& plan, double fractions)
{
    std::string ways;
    for (const PlanWay& way : plan.ways) {
        appendItem(&ways, "\n[" + std::to_string(way.kind) + "," + std::to_string(way.row) + "," +
                              pathJson(way.path, fractions) + "]");
    }
    return "[" + ways + "]";
}

static std::string notDrawnJson(const Plan& plan)
{
    std::string list;
    for (const NotDrawn& element : plan.notDrawn) {
        appendItem(&list, "\n[" + std::to_string(element.kind) + "," + std::to_string(element.row) +
                              "," + textJson(element.reason) + "]");
    }
    return "[" + list + "]";
}

// -- The page ----------------------------------------------------------------

// Puts a part of the page with the title in its places.
static void putPage(ReportFormat* report, std::string_view part, const std::string& title)
{
    std::string safe = escaped(title);
    size_t mark = part.find(TITLE_MARK);
    while (mark != std::string_view::npos) {
        put(&report->output, part.substr(0, mark));
        put(&report->output, safe);
        part.remove_prefix(mark + TITLE_MARK.size());
        mark = part.find(TITLE_MARK);
    }
    put(&report->output, part);
}

void beginReport(ReportFormat* report, std::FILE* stream, const std::string& path,
                 const std::string& title, AxisOrder order)
{
    *report = {};
    report->plan.order = order;
    beginOutput(&report->output, stream, path);
    std::string_view page = reportPage();
    putPage(report, page.substr(0, page.find(DATA_MARK)), title);
    put(&report->output,
        std::string("{\"axes\":\"") + (order == EAST_FIRST ? "en" : "ne") + "\",\"kinds\":[");
}

void beginKindReport(ReportFormat* report, uint32_t kind, const std::vector<std::string>* names)
{
    report->rows = 0;
    put(&report->output, kind == ELEMENT_POINT ? "\n" : ",\n");
    put(&report->output, std::string("{\"name\":\"") + ELEMENT_KINDS[kind].name +
                             "\",\"plural\":\"" + ELEMENT_KINDS[kind].plural + "\",\"count\":" +
                             (names != nullptr ? std::to_string(names->size()) : "null") +
                             ",\"columns\":" + columnsJson(kind) + ",\"rows\":[");
}

// A profile that is not drawn as its vertices say is listed with the elements of the plan.
static void addProfile(ReportFormat* report, size_t row, const ProfileElement& profile)
{
    ProfileLine line = lineOf(profile);
    appendItem(&report->lines, "\n" + lineJson(row, line));
    if (line.remarks.empty()) return;
    std::string reason = line.remarks.front();
    if (line.remarks.size() > 1) reason += ", and more of this kind";
    report->plan.notDrawn.push_back({ELEMENT_PROFILE, row, "", reason});
}

void addElementReport(ReportFormat* report, uint32_t kind, const std::string* name,
                      const void* element)
{
    put(&report->output, report->rows > 0 ? ",\n" : "\n");
    put(&report->output, rowJson(kind, name, element));
    size_t row = report->rows++;
    if (element == nullptr) return;
    if (kind == ELEMENT_PROFILE) {
        addProfile(report, row, *static_cast<const ProfileElement*>(element));
    } else {
        addToPlan(&report->plan, kind, row, "", element);
    }
}

void endKindReport(ReportFormat* report) { put(&report->output, "]}"); }

static void noteUnreadable(ReportFormat* report, uint32_t kind, const std::string& row,
                           const std::string& reason)
{
    appendItem(&report->unreadable,
               "\n[" + std::to_string(kind) + "," + row + "," + textJson(reason) + "]");
}

void addUnreadableReport(ReportFormat* report, uint32_t kind, const std::string& reason)
{
    noteUnreadable(report, kind, std::to_string(report->rows - 1), reason);
}

void addUncountedReport(ReportFormat* report, uint32_t kind, const std::string& reason)
{
    noteUnreadable(report, kind, "null", reason);
}

void endReport(ReportFormat* report)
{
    const Plan& plan = report->plan;
    PlanBox view = firstView(plan);
    put(&report->output, "],\n\"view\":" + numbersJson({view.low.east, view.low.north,
                                                        view.high.east, view.high.north}));
    put(&report->output, ",\n\"ways\":" + waysJson(plan, fractionsFor(view)));
    put(&report->output, ",\n\"notDrawn\":" + notDrawnJson(plan));
    put(&report->output, ",\n\"lines\":[" + report->lines + "]");
    put(&report->output, ",\n\"unreadable\":[" + report->unreadable + "]}");
    std::string_view page = reportPage();
    put(&report->output, page.substr(page.find(DATA_MARK) + DATA_MARK.size()));
    finishOutput(&report->output);
}
