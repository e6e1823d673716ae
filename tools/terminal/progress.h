// What a person at a terminal sees of something that takes long: one line on standard error,
// which is erased when it is over.
//
// For the tools.
#pragma once

#include <chrono>
#include <string>

struct Progress {
    bool watched;                               // by a person
    std::chrono::steady_clock::time_point next; // no line before then
    size_t shown;                               // characters on the line
};

// Nothing is shown in the first half second.
Progress startProgress();
void showProgress(Progress* progress, const std::string& line);
void eraseProgress(Progress* progress);
