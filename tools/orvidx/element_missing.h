// Why an element that was asked for cannot be shown.
//
// For orvidx.
#pragma once

#include "tools/orvidx/job_source.h"

// Returns the reason, to be printed behind the path and a colon: there is none of that name (near
// ones are suggested), or it cannot be read. Expects the name as the user gave it.
std::string whyMissing(const JobSource& source, uint32_t kind, const std::string& name);
