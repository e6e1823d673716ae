// Programs run by a test, and the files that they work on.
//
// For tests of built programs.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

struct CommandResult {
    int status; // exit status, or -1 when the program did not end by itself
    std::string output;
    std::string errors;
};

// Runs a program with its arguments, input from nowhere, and returns what it printed.
CommandResult runCommand(const std::vector<std::string>& words);

// A new empty directory, removed when the test program ends.
std::filesystem::path freshDirectory();

// A copy of a job of tests/data/golden in a new directory.
std::filesystem::path freshJob(const std::string& golden);

std::string fileBytes(const std::filesystem::path& path);

void writeBytes(const std::filesystem::path& path, const std::string& bytes);
