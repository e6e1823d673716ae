// A job as the tools use it: opened, counted, listed and read. Each function throws
// std::runtime_error with a text for the user when it fails.
//
// For orvidx and orvjob.
#pragma once

#include "orvIdx.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

struct ElementKind {
    const char* name;    // as the user writes it
    const char* plural;  // as it is printed
    const char* jsonKey; // its list in an export
};

// One row for each kind, in the order of their numbers.
constexpr ElementKind ELEMENT_KINDS[] = {
    {"point", "points", "points"},
    {"line", "lines", "lines"},
    {"curve", "curves", "curves"},
    {"spiral", "spirals", "spirals"},
    {"chain", "chains", "chains"},
    {"profile", "profiles", "profiles"},
    {"survey-chain", "survey chains", "surveyChains"},
};

IdxConnection* openJob(const std::string& path);
void closeJob(IdxConnection* job);

uint32_t countElements(IdxConnection* job, uint32_t kind);

// Returns the names of all elements of a kind in the order of the walk, as they are stored.
std::vector<std::string> elementNames(IdxConnection* job, uint32_t kind);

// Returns the element as JSON, or null when there is none of that name or its records
// cannot be read.
nlohmann::ordered_json readElement(IdxConnection* job, uint32_t kind, const std::string& name);
