#include "tools/terminal/terminal.h"

#if defined(_WIN32)

#include "platform/path_text.h"

#include <cstdlib>
#include <fcntl.h>
#include <io.h>
#include <string>
#include <vector>
#include <windows.h>

// -- Console -----------------------------------------------------------------

// Other programs use the same console afterwards.
static UINT codePageBefore;

static void restoreConsole()
{
    std::fflush(nullptr);
    SetConsoleOutputCP(codePageBefore);
}

static BOOL WINAPI restoreInterrupted(DWORD)
{
    SetConsoleOutputCP(codePageBefore);
    return FALSE; // the program ends as it would have
}

static void showUtf8()
{
    codePageBefore = GetConsoleOutputCP();
    if (codePageBefore == CP_UTF8 || !SetConsoleOutputCP(CP_UTF8)) return;
    std::atexit(restoreConsole);
    SetConsoleCtrlHandler(restoreInterrupted, TRUE);
    // Unbuffered, they would pass characters on byte by byte, and the console could not join them.
    for (std::FILE* stream : {stdout, stderr}) {
        if (isTerminal(stream)) std::setvbuf(stream, nullptr, _IOFBF, BUFSIZ);
    }
}

// -- Arguments ---------------------------------------------------------------

// The runtime's own, which no header declares.
struct StartupInfo {
    int newMode;
};
extern "C" __declspec(dllimport) int __wgetmainargs(int* count, wchar_t*** arguments,
                                                    wchar_t*** environment, int expandsWildcards,
                                                    StartupInfo* info);

// Those given to main have lost what the code page of the process lacks.
static char** utf8Arguments(int* count, char** arguments)
{
    static std::vector<std::string> texts;
    static std::vector<char*> pointers;
    wchar_t** wide = nullptr;
    wchar_t** environment = nullptr;
    StartupInfo info = {};
    int wideCount = 0;
    __wgetmainargs(&wideCount, &wide, &environment, 0, &info);
    if (wide == nullptr) return arguments;
    for (int i = 0; i < wideCount; ++i) {
        texts.push_back(utf8Text(wide[i]));
    }
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    *count = wideCount;
    return pointers.data();
}

// ----------------------------------------------------------------------------

char** startProgram(int* count, char** arguments)
{
    for (std::FILE* stream : {stdout, stderr}) {
        _setmode(_fileno(stream), _O_BINARY);
    }
    if (isTerminal(stdout) || isTerminal(stderr)) showUtf8();
    return utf8Arguments(count, arguments);
}

// The runtime takes any device for a terminal, NUL too.
bool isTerminal(std::FILE* stream)
{
    DWORD mode = 0;
    HANDLE handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(stream)));
    return GetConsoleMode(handle, &mode) != 0;
}

std::FILE* takeStandardOutput()
{
    int copy = _dup(_fileno(stdout));
    if (copy < 0) return nullptr;
    _dup2(_fileno(stderr), _fileno(stdout));
    _setmode(copy, _O_BINARY);
    return _fdopen(copy, "wb");
}

#else

#include <fcntl.h>
#include <unistd.h>

char** startProgram(int*, char** arguments) { return arguments; }

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
