// Calls of the exports that several tests make.
#pragma once

#include "api/orvIdx.h"

#include <sstream>
#include <string>
#include <vector>

// The names of a kind; none when counting fails.
inline std::vector<std::string> namesOf(IdxConnection* job, uint32_t kind)
{
    uint32_t count = 0;
    char* names = nullptr;
    std::vector<std::string> list;
    if (orvIdx_numberOfElements(job, kind, &count, &names) != IDX_OK) return list;
    std::istringstream stream(names);
    for (std::string name; std::getline(stream, name, ',');) {
        list.push_back(name);
    }
    orvIdx_freeElementNameList(&names);
    return list;
}
