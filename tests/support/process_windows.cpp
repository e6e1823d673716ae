#include "platform/path_text.h"
#include "tests/support/process.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

constexpr unsigned PIPE_ROOM = 65536;

static HANDLE handleOf(int descriptor)
{
    return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
}

Pipe makePipe()
{
    int ends[2];
    must(_pipe(ends, PIPE_ROOM, _O_BINARY | _O_NOINHERIT) == 0, "no pipe");
    return {ends[0], ends[1]};
}

bool hasInput(int readEnd)
{
    DWORD length = 0;
    bool open = PeekNamedPipe(handleOf(readEnd), nullptr, 0, nullptr, &length, nullptr);
    return !open || length > 0;
}

Process startProcess(const std::vector<std::string>& words, int input, int output, int errors)
{
    std::string line;
    for (const std::string& word : words)
        line += "\"" + word + "\" "; // none has a quotation mark in it
    std::wstring wideLine = filePath(line).wstring();
    STARTUPINFOW start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = handleOf(input);
    start.hStdOutput = handleOf(output);
    start.hStdError = handleOf(errors);
    const HANDLE streams[] = {start.hStdInput, start.hStdOutput, start.hStdError};
    for (HANDLE stream : streams)
        SetHandleInformation(stream, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
    PROCESS_INFORMATION process = {};
    BOOL started = CreateProcessW(nullptr, wideLine.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                  nullptr, &start, &process);
    for (HANDLE stream : streams)
        SetHandleInformation(stream, HANDLE_FLAG_INHERIT, 0);
    must(started, "cannot start " + words[0]);
    CloseHandle(process.hThread);
    return reinterpret_cast<Process>(process.hProcess);
}

void killProcess(Process process) { TerminateProcess(reinterpret_cast<HANDLE>(process), KILLED); }

int waitForProcess(Process process)
{
    HANDLE handle = reinterpret_cast<HANDLE>(process);
    DWORD status = 0;
    WaitForSingleObject(handle, INFINITE);
    GetExitCodeProcess(handle, &status);
    CloseHandle(handle);
    return static_cast<int>(status);
}

// Nobody can write a read-only file.
bool isRoot() { return false; }
bool becomeReader() { return true; }
void becomeRootAgain() {}

bool emptyRangesLock()
{
    return GetProcAddress(GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
}
