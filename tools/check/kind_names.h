// The names of a kind in a job that may be damaged. For orvjob's commands.
#pragma once

#include "orvIdx.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

struct KindNames {
    std::vector<std::string> names; // as they are stored, in the order of their keys
    std::string fault;              // why a reader cannot list them, else empty
};

// Lists the elements of a kind as readers do, and where these fail by all keys that the leaves
// of the tree hold. Expects the connection to be to a copy of the bytes.
KindNames namesOfKind(IdxConnection* job, uint32_t kind, std::span<const uint8_t> bytes);
