// Drawings as SVG files: the plan, and one profile. Both are in the colours of a light or a dark
// surrounding, as the viewer prefers.
//
// Boundary of tools/drawing/, with plan.h. No state of its own.
#pragma once

#include "tools/drawing/plan.h"
#include "tools/drawing/profile_line.h"

std::string planSvg(const Plan& plan, const std::string& title);
std::string profileSvg(const ProfileLine& line, const std::string& title);
