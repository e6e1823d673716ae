// The members of an element that have another value in another job. Part of the boundary
// job_diff.h.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

// Members of lists are told by their place, counted from 1: members[3].point.real1. What only one
// of the jobs has, as where a list is longer there, is null in the other.
struct MemberChange {
    std::string member;
    nlohmann::ordered_json inA;
    nlohmann::ordered_json inB;
};

// Compares an element, as elementJson gives it, from both jobs.
std::vector<MemberChange> memberChanges(const nlohmann::ordered_json& inA,
                                        const nlohmann::ordered_json& inB);
