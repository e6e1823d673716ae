// Shapes in the plan, from the members of points, curves and spirals. The library hands these
// numbers on without asking what they stand for; docs/host-guide.md tells the convention that is
// taken for granted here. A shape is made only when its numbers agree with each other.
//
// For tools/drawing/.
#pragma once

#include "orvIdx.h"

#include <string>
#include <vector>

struct PlanPlace {
    double east;
    double north;
};

// Which of two coordinates in a row comes first.
enum AxisOrder { EAST_FIRST, NORTH_FIRST };

// Part of a circle. Angles are in radians, counterclockwise from east.
struct PlanArc {
    PlanPlace centre;
    double radius;
    double beginAngle;
    double sweep; // negative for a turn to the right
};

enum PathStepKind { PATH_MOVE, PATH_LINE, PATH_ARC };

struct PathStep {
    PathStepKind kind;
    PlanPlace to; // its end
    PlanArc arc;  // of an arc
};

using PlanPath = std::vector<PathStep>;

// Numbers of this size are no coordinates that could be drawn.
constexpr double FARTHEST_COORDINATE = 1e12;
constexpr const char* FAR_AWAY = "its coordinates are no numbers, or beyond all measure";

bool canBeDrawn(const PlanPlace& place);
double distanceBetween(const PlanPlace& one, const PlanPlace& other);

PlanPlace placeOf(const PointElement& point, AxisOrder order);

// Each stores the way from the begin of the element to its end, with a move to the begin first.
// Returns an empty text, or why its numbers do not follow the convention; then nothing is stored.
std::string pathOfCurve(const CurveElement& curve, AxisOrder order, PlanPath* path);
std::string pathOfSpiral(const SpiralElement& spiral, AxisOrder order, PlanPath* path);
