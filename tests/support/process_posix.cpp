#include "tests/support/process.h"

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

constexpr uid_t ROOT = 0;
constexpr uid_t NOBODY = 65534;

Pipe makePipe()
{
    int ends[2];
    signal(SIGPIPE, SIG_IGN);
    must(pipe2(ends, O_CLOEXEC) == 0, "no pipe");
    return {ends[0], ends[1]};
}

bool hasInput(int readEnd)
{
    pollfd waiting = {readEnd, POLLIN, 0};
    return poll(&waiting, 1, 0) == 1;
}

Process startProcess(const std::vector<std::string>& words, int input, int output, int errors)
{
    std::vector<char*> arguments;
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t streams;
    posix_spawn_file_actions_init(&streams);
    posix_spawn_file_actions_adddup2(&streams, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&streams, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&streams, errors, STDERR_FILENO);
    pid_t process = 0;
    int error = posix_spawnp(&process, arguments[0], &streams, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&streams);
    must(error == 0, "cannot start " + words[0]);
    return process;
}

void killProcess(Process process) { kill(static_cast<pid_t>(process), SIGKILL); }

int waitForProcess(Process process)
{
    int status = 0;
    must(waitpid(static_cast<pid_t>(process), &status, 0) == process, "no such process");
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool isRoot() { return geteuid() == ROOT; }

bool becomeReader() { return !isRoot() || seteuid(NOBODY) == 0; }

void becomeRootAgain()
{
    if (getuid() == ROOT) must(seteuid(ROOT) == 0, "not root again");
}

bool emptyRangesLock() { return true; }
