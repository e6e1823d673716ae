// What the programs say about themselves. For orvidx and orvjob.
#pragma once

#include <string>

// Returns one line: the program, the library that it was built with, the file format, and the
// compiler.
std::string versionText(const std::string& program);
