// The plan of a job: points, and ways along the elements that have one. Filled element by element;
// what cannot be drawn is listed with the reason.
//
// Boundary of the plan in tools/drawing/.
#pragma once

#include "tools/drawing/plan_shapes.h"

#include <cstdint>

struct PlanPoint {
    std::string name; // UTF-8
    PlanPlace place;
    size_t row; // its number among the elements of its kind, from 0
};

struct PlanWay {
    uint32_t kind;
    size_t row;
    PlanPath path;
};

// An element, or a part of it, that the plan does not show.
struct NotDrawn {
    uint32_t kind;
    size_t row;
    std::string name; // UTF-8
    std::string reason;
};

struct Plan {
    AxisOrder order = EAST_FIRST;
    std::vector<PlanPoint> points;
    std::vector<PlanWay> ways;
    std::vector<NotDrawn> notDrawn;
};

// Adds an element of any kind but profiles, which have no place in a plan.
void addToPlan(Plan* plan, uint32_t kind, size_t row, const std::string& name, const void* element);

struct PlanBox {
    PlanPlace low;
    PlanPlace high;
};

// Returns the part of the plan to look at first: all of it, but for a few places that lie so far
// away that the others would have less than a fifth of its width. It has an extent in both
// directions.
PlanBox firstView(const Plan& plan);
