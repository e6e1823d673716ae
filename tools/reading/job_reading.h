// A job as the tools use it: counted, listed and read.
//
// For orvidx and orvjob.
#pragma once

#include "orvIdx.h"

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
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

// Thrown when a job cannot be read. Its text is for the user, to be printed behind the path of the
// job and a colon.
struct ReadingFault : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Throws ReadingFault when a kind cannot be counted.
uint32_t countElements(IdxConnection* job, uint32_t kind);

// Returns the names of all elements of a kind in the order of the walk, as they are stored. Throws
// as countElements.
std::vector<std::string> elementNames(IdxConnection* job, uint32_t kind);

// Returns the name in an element of the kind.
std::string_view nameInElement(uint32_t kind, const void* element);

// Returns the element as JSON, or null when there is none of that name or its records
// cannot be read.
nlohmann::ordered_json readElement(IdxConnection* job, uint32_t kind, const std::string& name);
