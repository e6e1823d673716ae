#include "tools/terminal/progress.h"

#include "tools/terminal/terminal.h"

#include <cstdio>

using Clock = std::chrono::steady_clock;

constexpr auto QUIET = std::chrono::milliseconds(500);
constexpr auto INTERVAL = std::chrono::milliseconds(200);

Progress startProgress() { return {isTerminal(stderr), Clock::now() + QUIET, 0}; }

static void printOver(Progress* progress, const std::string& line)
{
    std::string padded = line;
    if (line.size() < progress->shown) padded.append(progress->shown - line.size(), ' ');
    std::fprintf(stderr, "\r%s", padded.c_str());
    progress->shown = line.size();
}

void showProgress(Progress* progress, const std::string& line)
{
    if (!progress->watched || Clock::now() < progress->next) return;
    printOver(progress, line);
    std::fflush(stderr);
    progress->next = Clock::now() + INTERVAL;
}

void eraseProgress(Progress* progress)
{
    if (progress->shown == 0) return;
    printOver(progress, "");
    std::fputs("\r", stderr);
    std::fflush(stderr);
}
