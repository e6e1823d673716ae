// What the tests need of the system beside files: other processes, and a user with fewer
// rights. One file per system, process_posix.cpp and process_windows.cpp.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

using Process = intptr_t;

constexpr int KILLED = 137; // status of a process ended by killProcess

struct Pipe {
    int readEnd;
    int writeEnd;
};

// No process inherits the ends, and writing where nobody reads is an error.
Pipe makePipe();

// True when there is something to read at the end of a pipe, or nobody left to write.
bool hasInput(int readEnd);

// Starts a program with these descriptors as its standard streams. It inherits no file
// that the product has open, or that file's locks would outlive the test's use of it.
Process startProcess(const std::vector<std::string>& words, int input, int output, int errors);

// Ends the process in the middle of whatever it is doing.
void killProcess(Process process);

// Waits for the end and answers the exit status. The process is gone then.
int waitForProcess(Process process);

// From now on read-only files cannot be written. False where root cannot give that up.
bool becomeReader();
// True when this process can write read-only files all the same, as root can.
bool isRoot();
// Ends what becomeReader has begun.
void becomeRootAgain();

// Whether a lock of no length covers all that follows. It covers nothing on Windows; Wine
// takes it as POSIX systems do.
bool emptyRangesLock();

// Throws, naming what went wrong, unless it went well.
void must(bool well, const std::string& what);
