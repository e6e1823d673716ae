// The standard streams and the arguments, as far as they need the operating system.
//
// For the tools.
#pragma once

#include <cstdio>

// To be called first. On every system lines then end with \n alone, arguments are in UTF-8, and
// a console shows what is printed as UTF-8. Returns the arguments, of which there are *count.
char** startProgram(int* count, char** arguments);

// True when a person watches the stream.
bool isTerminal(std::FILE* stream);

// Returns a stream to where standard output led when the program started, or null
// when it led nowhere. From then on standard output itself leads to standard error:
// the library prints a line on standard output when it may not write to a read-only job, and
// that line has no place between the names or the JSON of this program.
//
// To be called once, before anything is printed.
std::FILE* takeStandardOutput();
