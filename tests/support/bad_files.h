// Files that are no job databases, or no longer: the golden job "tiny" with one thing
// wrong, and others. For connect, and for the tool that tells why it fails.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct BadFile {
    std::string what;
    std::string bytes;
    int32_t connectResult;
    std::string diagnosis; // what orvidx says, or a part of it
};

std::vector<BadFile> badFiles();
