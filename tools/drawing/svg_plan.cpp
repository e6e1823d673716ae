// The plan as an SVG file.
#include "tools/drawing/svg.h"
#include "tools/drawing/svg_text.h"

#include <algorithm>
#include <cmath>
#include <numbers>

constexpr double WIDTH = 1400.0;
constexpr double MARGIN = 40.0;
constexpr double TITLE_HEIGHT = 50.0;
constexpr double FOOT_HEIGHT = 50.0;
constexpr double LOWEST_DRAWING = 300.0; // its height
constexpr double HIGHEST_DRAWING = 1400.0;

// From the plan to the sheet.
struct PlanSheet {
    PlanPlace lowLeft; // of the part that is seen
    double scale;      // units of the sheet to one of the plan
    double bottom;
    double left;
    double height;
};

static double xOf(const PlanSheet& sheet, const PlanPlace& place)
{
    return sheet.left + (place.east - sheet.lowLeft.east) * sheet.scale;
}

static double yOf(const PlanSheet& sheet, const PlanPlace& place)
{
    return sheet.bottom - (place.north - sheet.lowLeft.north) * sheet.scale;
}

static PlanSheet sheetFor(const PlanBox& box)
{
    double east = box.high.east - box.low.east;
    double north = box.high.north - box.low.north;
    double width = WIDTH - 2 * MARGIN;
    double height = std::clamp(width * north / east, LOWEST_DRAWING, HIGHEST_DRAWING);
    PlanSheet sheet = {box.low, std::min(width / east, height / north), 0.0, 0.0, 0.0};
    sheet.left = MARGIN + (width - east * sheet.scale) / 2;
    sheet.bottom = TITLE_HEIGHT + height - (height - north * sheet.scale) / 2;
    sheet.height = TITLE_HEIGHT + height + FOOT_HEIGHT;
    return sheet;
}

// -- Ways --------------------------------------------------------------------

static std::string pair(const PlanSheet& sheet, const PlanPlace& place)
{
    return fixed(xOf(sheet, place), 2) + " " + fixed(yOf(sheet, place), 2);
}

// An arc is drawn in two halves: of a whole circle the ends tell nothing.
static std::string arcData(const PlanSheet& sheet, const PathStep& step)
{
    const PlanArc& arc = step.arc;
    double angle = arc.beginAngle + arc.sweep / 2;
    PlanPlace middle = {arc.centre.east + arc.radius * std::cos(angle),
                        arc.centre.north + arc.radius * std::sin(angle)};
    std::string radius = fixed(arc.radius * sheet.scale, 3);
    std::string begin = "A" + radius + " " + radius + (arc.sweep < 0.0 ? " 0 0 1 " : " 0 0 0 ");
    return begin + pair(sheet, middle) + begin + pair(sheet, step.to);
}

static std::string pathData(const PlanSheet& sheet, const PlanPath& path)
{
    std::string data;
    for (const PathStep& step : path) {
        if (step.kind == PATH_ARC) {
            data += arcData(sheet, step);
        } else {
            data += (step.kind == PATH_MOVE ? "M" : "L") + pair(sheet, step.to);
        }
    }
    return data;
}

// Chains are drawn first: they are the widest, and what they consist of lies on them.
static std::string waysOf(const PlanSheet& sheet, const Plan& plan)
{
    std::string text;
    for (uint32_t kind :
         {ELEMENT_CHAIN, ELEMENT_SURVEY_CHAIN, ELEMENT_LINE, ELEMENT_CURVE, ELEMENT_SPIRAL}) {
        std::string style = "way" + std::to_string(kind);
        for (const PlanWay& way : plan.ways) {
            if (way.kind != kind) continue;
            text += "<path" + attribute("class", style) +
                    attribute("d", pathData(sheet, way.path)) + "/>\n";
        }
    }
    return text;
}

// -- Points ------------------------------------------------------------------

static bool isSeen(const PlanSheet& sheet, const PlanPoint& point)
{
    double x = xOf(sheet, point.place);
    double y = yOf(sheet, point.place);
    return x >= 0.0 && x <= WIDTH && y >= 0.0 && y <= sheet.height;
}

static std::string dotsOf(const PlanSheet& sheet, const Plan& plan)
{
    std::string dots = "<path class=\"point\" d=\"";
    for (const PlanPoint& point : plan.points) {
        if (isSeen(sheet, point)) dots += "M" + pair(sheet, point.place) + "h0";
    }
    return dots + "\"/>\n";
}

static bool isNumber(const std::string& name)
{
    return name.find_first_not_of("0123456789") == std::string::npos;
}

// The names of points as far as there is room: those with letters first, for people look for them.
static std::string namesOf(const PlanSheet& sheet, const Plan& plan)
{
    constexpr double CELL_WIDTH = 44.0;
    constexpr double CELL_HEIGHT = 9.0;
    LabelGrid grid = {CELL_WIDTH, CELL_HEIGHT, {}};
    std::string labels;
    for (bool numbers : {false, true}) {
        for (const PlanPoint& point : plan.points) {
            if (isNumber(point.name) != numbers || !isSeen(sheet, point)) continue;
            double x = xOf(sheet, point.place);
            double y = yOf(sheet, point.place);
            if (takeLabelPlace(&grid, x, y)) labels += textAt(x + 4, y - 3, "label", point.name);
        }
    }
    return labels;
}

// -- The frame ---------------------------------------------------------------

static std::string scaleBar(const PlanSheet& sheet)
{
    constexpr double LONGEST = 220.0;
    double length = roundedDown(LONGEST / sheet.scale);
    double y = sheet.height - 18;
    double end = MARGIN + length * sheet.scale;
    return lineFromTo(MARGIN, y, end, y, "axis") +
           lineFromTo(MARGIN, y - 4, MARGIN, y + 4, "axis") +
           lineFromTo(end, y - 4, end, y + 4, "axis") +
           textAt(end + 8, y + 4, "soft", plain(length));
}

// What a drawing that shows the usual part of the plan leaves out.
static std::string outsideText(const PlanSheet& sheet, const Plan& plan)
{
    auto isOutside = [&sheet](const PlanPoint& point) { return !isSeen(sheet, point); };
    auto outside = std::count_if(plan.points.begin(), plan.points.end(), isOutside);
    if (outside == 0) return "";
    return textAt(MARGIN + 400, sheet.height - 14, "soft",
                  "points far outside: " + std::to_string(outside));
}

static std::string northArrow()
{
    double x = WIDTH - MARGIN;
    return lineFromTo(x, 46, x, 16, "axis") + lineFromTo(x, 16, x - 5, 26, "axis") +
           lineFromTo(x, 16, x + 5, 26, "axis") + textAt(x - 12, 46, "soft end", "N");
}

static std::string legend(const PlanSheet& sheet)
{
    struct LegendRow {
        const char* style;
        const char* text;
    };
    constexpr LegendRow ROWS[] = {{"way4", "chains"},
                                  {"way1", "lines"},
                                  {"way2", "curves"},
                                  {"way3", "spirals"},
                                  {"way6", "survey chains"}};
    double y = sheet.height - 18;
    double x = WIDTH - MARGIN - 560;
    std::string text;
    for (const LegendRow& row : ROWS) {
        text += lineFromTo(x, y, x + 22, y, row.style) + textAt(x + 28, y + 4, "soft", row.text);
        x += 110;
    }
    return text;
}

std::string planSvg(const Plan& plan, const std::string& title)
{
    PlanSheet sheet = sheetFor(firstView(plan));
    std::string text = beginSvg(WIDTH, sheet.height, title);
    text += textAt(MARGIN, 32, "title", title);
    text += northArrow() + waysOf(sheet, plan) + dotsOf(sheet, plan) + namesOf(sheet, plan);
    return text + scaleBar(sheet) + outsideText(sheet, plan) + legend(sheet) + endSvg();
}
