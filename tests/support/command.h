// Programs run by a test, and the files that they work on.
#pragma once

#include <string>
#include <vector>

struct CommandResult {
    int status;
    std::string output; // lines end with \n on every system
    std::string errors;
};

// Runs a program with its arguments, input from nowhere, and returns what it printed.
CommandResult runCommand(const std::vector<std::string>& words);

// A new empty directory, removed when the test program ends.
std::string freshDirectory();

// A copy of a job of tests/data/golden in a new directory.
std::string freshJob(const std::string& golden);

std::string fileBytes(const std::string& path);

void writeBytes(const std::string& path, const std::string& bytes);

enum Use { READING, WRITING };

// Gives every user the right to read the file, or to write it as well, and no other.
void permitAll(const std::string& path, Use use);
