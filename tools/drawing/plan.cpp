#include "tools/drawing/plan.h"

#include <algorithm>
#include <cmath>
#include <cstring>

// A way that is being drawn: the pen is down behind the first place, and up behind a gap.
struct Pen {
    PlanPath path;
    bool isDown = false;
};

static void drawTo(Pen* pen, const PlanPlace& place)
{
    pen->path.push_back({pen->isDown ? PATH_LINE : PATH_MOVE, place, {}});
    pen->isDown = true;
}

// Draws a shape, and to its begin where the pen is down.
static void drawShape(Pen* pen, const PlanPath& shape)
{
    drawTo(pen, shape.front().to);
    pen->path.insert(pen->path.end(), shape.begin() + 1, shape.end());
}

static void addWay(Plan* plan, uint32_t kind, size_t row, PlanPath path)
{
    // Places alone are no way.
    auto goesOn = [](const PathStep& step) { return step.kind != PATH_MOVE; };
    if (!std::any_of(path.begin(), path.end(), goesOn)) return;
    plan->ways.push_back({kind, row, std::move(path)});
}

static std::string unlikeConvention(const std::string& fault)
{
    return "its numbers do not follow the convention: " + fault;
}

// -- One element each --------------------------------------------------------

static std::string addPoint(Plan* plan, size_t row, const std::string& name,
                            const PointElement& point)
{
    PlanPlace place = placeOf(point, plan->order);
    if (!canBeDrawn(place)) return FAR_AWAY;
    plan->points.push_back({name, place, row});
    return "";
}

static std::string addLine(Plan* plan, size_t row, const LineElement& line)
{
    PlanPlace begin = placeOf(line.beginPoint, plan->order);
    PlanPlace end = placeOf(line.endPoint, plan->order);
    if (!canBeDrawn(begin) || !canBeDrawn(end)) return FAR_AWAY;
    addWay(plan, ELEMENT_LINE, row, {{PATH_MOVE, begin, {}}, {PATH_LINE, end, {}}});
    return "";
}

static std::string addCurve(Plan* plan, size_t row, const CurveElement& curve)
{
    PlanPath path;
    std::string fault = pathOfCurve(curve, plan->order, &path);
    if (!fault.empty()) return unlikeConvention(fault);
    addWay(plan, ELEMENT_CURVE, row, std::move(path));
    return "";
}

static std::string addSpiral(Plan* plan, size_t row, const SpiralElement& spiral)
{
    PlanPath path;
    std::string fault = pathOfSpiral(spiral, plan->order, &path);
    if (!fault.empty()) return unlikeConvention(fault);
    addWay(plan, ELEMENT_SPIRAL, row, std::move(path));
    return "";
}

// -- Chains ------------------------------------------------------------------

// Draws a member. Returns false when it cannot be drawn; the pen is up then, as behind a gap.
static bool drawMember(Pen* pen, const ChainMember& member, AxisOrder order)
{
    PlanPath shape;
    switch (member.memberKind) {
    case CHAIN_MEMBER_POINT: {
        PlanPlace place = placeOf(member.payload.point, order);
        pen->isDown = pen->isDown && canBeDrawn(place);
        if (canBeDrawn(place)) drawTo(pen, place);
        return canBeDrawn(place);
    }
    case CHAIN_MEMBER_CURVE:
        pathOfCurve(member.payload.curve, order, &shape);
        break;
    case CHAIN_MEMBER_SPIRAL:
        pathOfSpiral(member.payload.spiral, order, &shape);
        break;
    case CHAIN_MEMBER_GAP:
        pen->isDown = false;
        return true;
    default:
        return true; // a shift moves what follows by an amount that is not told
    }
    if (shape.empty()) {
        pen->isDown = false;
        return false;
    }
    drawShape(pen, shape);
    return true;
}

static std::string addChain(Plan* plan, size_t row, const ChainElement& chain)
{
    Pen pen;
    size_t members = 0;
    size_t missing = 0;
    for (const ChainMember* member = chain.firstMember; member != nullptr; member = member->next) {
        ++members;
        if (!drawMember(&pen, *member, plan->order)) ++missing;
    }
    addWay(plan, ELEMENT_CHAIN, row, std::move(pen.path));
    std::string reason;
    if (missing > 0) {
        reason = std::to_string(missing) + " of its " + std::to_string(members) +
                 " members do not follow the convention";
    }
    if (chain.unresolvedMembers != 0) {
        reason += reason.empty() ? "" : "; ";
        reason += "members of its description could not be handed out";
    }
    return reason;
}

static bool isGap(const PointElement& point)
{
    constexpr int32_t GAP = 2;
    return point.integer1 == GAP && std::strcmp(point.name, "GAP") == 0;
}

static std::string addSurveyChain(Plan* plan, size_t row, const SurveyChainElement& chain)
{
    Pen pen;
    bool complete = true;
    for (int32_t at = 0; at < chain.pointCount; ++at) {
        PlanPlace place = placeOf(chain.points[at], plan->order);
        bool gap = isGap(chain.points[at]);
        if (gap || !canBeDrawn(place)) {
            complete = complete && gap;
            pen.isDown = false;
        } else {
            drawTo(&pen, place);
        }
    }
    addWay(plan, ELEMENT_SURVEY_CHAIN, row, std::move(pen.path));
    if (!complete) return FAR_AWAY;
    return chain.unresolvedPoints != 0 ? "points of its list could not be handed out" : "";
}

void addToPlan(Plan* plan, uint32_t kind, size_t row, const std::string& name, const void* element)
{
    std::string fault;
    switch (kind) {
    case ELEMENT_POINT:
        fault = addPoint(plan, row, name, *static_cast<const PointElement*>(element));
        break;
    case ELEMENT_LINE:
        fault = addLine(plan, row, *static_cast<const LineElement*>(element));
        break;
    case ELEMENT_CURVE:
        fault = addCurve(plan, row, *static_cast<const CurveElement*>(element));
        break;
    case ELEMENT_SPIRAL:
        fault = addSpiral(plan, row, *static_cast<const SpiralElement*>(element));
        break;
    case ELEMENT_CHAIN:
        fault = addChain(plan, row, *static_cast<const ChainElement*>(element));
        break;
    case ELEMENT_SURVEY_CHAIN:
        fault = addSurveyChain(plan, row, *static_cast<const SurveyChainElement*>(element));
        break;
    default:
        return;
    }
    if (!fault.empty()) plan->notDrawn.push_back({kind, row, name, fault});
}

// -- The first view ----------------------------------------------------------

struct Extent {
    double low;
    double high;
};

// The extent of the values without the outermost twentieth on each side, and then twice as much on
// each side as far as there are values. Reorders them.
static Extent usualExtent(std::vector<double>* values)
{
    constexpr size_t OUTERMOST = 20;
    constexpr double TIMES = 2.0;
    constexpr size_t FEW = 8; // any fewer are all of them usual
    if (values->empty()) return {-0.5, 0.5};
    std::sort(values->begin(), values->end());
    size_t cut = values->size() < FEW ? 0 : std::max(values->size() / OUTERMOST, size_t{1});
    double low = (*values)[cut];
    double high = (*values)[values->size() - 1 - cut];
    double range = high > low ? (high - low) * TIMES : HUGE_VAL;
    return {std::max(values->front(), low - range), std::min(values->back(), high + range)};
}

// Extents that are nothing are made a tenth of the other one, or 1.
static void widen(Extent* extent, double other)
{
    double least = other > 0.0 ? other / 10 : 1.0;
    double missing = least - (extent->high - extent->low);
    if (missing <= 0.0) return;
    extent->low -= missing / 2;
    extent->high += missing / 2;
}

static PlanPlace middleOf(const PlanArc& arc)
{
    double angle = arc.beginAngle + arc.sweep / 2;
    return {arc.centre.east + arc.radius * std::cos(angle),
            arc.centre.north + arc.radius * std::sin(angle)};
}

PlanBox firstView(const Plan& plan)
{
    std::vector<double> easts;
    std::vector<double> norths;
    for (const PlanPoint& point : plan.points) {
        easts.push_back(point.place.east);
        norths.push_back(point.place.north);
    }
    for (const PlanWay& way : plan.ways) {
        for (const PathStep& step : way.path) {
            PlanPlace middle = step.kind == PATH_ARC ? middleOf(step.arc) : step.to;
            easts.insert(easts.end(), {step.to.east, middle.east});
            norths.insert(norths.end(), {step.to.north, middle.north});
        }
    }
    Extent east = usualExtent(&easts);
    Extent north = usualExtent(&norths);
    double eastRange = east.high - east.low;
    double northRange = north.high - north.low;
    widen(&east, northRange);
    widen(&north, eastRange);
    return {{east.low, north.low}, {east.high, north.high}};
}
