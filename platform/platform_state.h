// The writable state of platform/, one for the whole process. Zero when the process starts.
// For platform/ alone.
#pragma once

#include <cstdint>

struct PlatformState {
    // For the life of the process. Where there are no forks, nobody uses it.
    bool countsForks; // every fork from here on is counted
    uint32_t forks;   // in the line of processes that leads to this one
};

extern PlatformState platformState;
