#include "tools/terminal/terminal.h"

#if defined(_WIN32)

#include <io.h>

bool isTerminal(std::FILE* stream) { return _isatty(_fileno(stream)) != 0; }

std::FILE* takeStandardOutput()
{
    int copy = _dup(_fileno(stdout));
    if (copy < 0) return nullptr;
    _dup2(_fileno(stderr), _fileno(stdout));
    return _fdopen(copy, "w");
}

#else

#include <fcntl.h>
#include <unistd.h>

bool isTerminal(std::FILE* stream) { return isatty(fileno(stream)) != 0; }

std::FILE* takeStandardOutput()
{
    int copy = fcntl(STDOUT_FILENO, F_DUPFD, STDERR_FILENO + 1);
    if (copy < 0) return nullptr;

    // A standard stream that was closed is made to lead nowhere: otherwise its descriptor would
    // be given to the job file, and what is printed for a person would be written there.
    int nowhere = open("/dev/null", O_RDWR);
    while (nowhere >= 0 && nowhere <= STDERR_FILENO) {
        nowhere = open("/dev/null", O_RDWR);
    }
    if (nowhere >= 0) close(nowhere);

    dup2(STDERR_FILENO, STDOUT_FILENO);
    return fdopen(copy, "w");
}

#endif
