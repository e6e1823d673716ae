#include "platform/new_file.h"

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// -- Signals -----------------------------------------------------------------

// The unfinished files, for a signal's handler, which may use nothing that allocates.
constexpr int UNFINISHED_FILES = 16;                // an export of every kind has 12 at once
static char unfinished[UNFINISHED_FILES][PATH_MAX]; // empty: free

static constexpr std::array ENDING_SIGNALS = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE};

extern "C" {
static void removeUnfinished(int signalNumber)
{
    for (const char* path : unfinished) {
        if (path[0] != 0) unlink(path);
    }
    // Behind the handler this ends the program as the signal would have. Not before (SA_RESETHAND):
    // the same signal, sent twice, could end it before the handler has begun.
    signal(signalNumber, SIG_DFL);
    raise(signalNumber);
}
}

static void watchSignals()
{
    for (int number : ENDING_SIGNALS) {
        struct sigaction before = {};
        sigaction(number, nullptr, &before);
        if (before.sa_handler != SIG_DFL) continue; // ignored (nohup), or watched already
        struct sigaction action = {};
        action.sa_handler = removeUnfinished;
        sigemptyset(&action.sa_mask);
        sigaction(number, &action, nullptr);
    }
}

// Signals wait while a file is there and not entered, or the reverse. Returns what to put back.
static sigset_t holdSignals()
{
    sigset_t ending;
    sigset_t before;
    sigemptyset(&ending);
    for (int number : ENDING_SIGNALS) {
        sigaddset(&ending, number);
    }
    sigprocmask(SIG_BLOCK, &ending, &before);
    return before;
}

static void releaseSignals(const sigset_t& before) { sigprocmask(SIG_SETMASK, &before, nullptr); }

static void changeUnfinished(const char* from, const char* to)
{
    sigset_t before = holdSignals();
    for (char* path : unfinished) {
        if (std::strcmp(path, from) != 0) continue;
        std::snprintf(path, PATH_MAX, "%s", to);
        break;
    }
    releaseSignals(before);
}

// -- Names -------------------------------------------------------------------

// Where a path leads. A link that leads to nothing yet is followed to the file it would have.
static std::string resolve(std::string path)
{
    if (char* whole = realpath(path.c_str(), nullptr)) {
        path = whole;
        std::free(whole);
        return path;
    }
    constexpr int LINKS = 40; // more than any system follows
    for (int links = 0; links < LINKS; ++links) {
        char leads[PATH_MAX];
        ssize_t length = readlink(path.c_str(), leads, sizeof leads);
        if (length <= 0 || length == sizeof leads) break;
        std::string next(leads, static_cast<size_t>(length));
        size_t folder = path.rfind('/');
        bool relative = next[0] != '/' && folder != std::string::npos;
        path.resize(relative ? folder + 1 : 0);
        path += next;
    }
    return path;
}

// As open. Never answers the descriptor of a standard stream that was closed: what is printed
// would go into the file.
static int openBehindStreams(const char* path, int flags, mode_t mode)
{
    int descriptor = open(path, flags | O_CLOEXEC | O_NOCTTY, mode);
    if (descriptor < 0 || descriptor > STDERR_FILENO) return descriptor;
    int moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    close(descriptor);
    return moved;
}

// Opens a file of a name that nobody else has, which begins so.
static int openNew(NewFile* file, const std::string& begin, mode_t mode)
{
    constexpr int TRIES = 100;
    for (int i = 0; i < TRIES; ++i) {
        file->temporary = begin + std::to_string(getpid()) + "." + std::to_string(i) + ".part";
        if (file->temporary.size() >= PATH_MAX) {
            errno = ENAMETOOLONG;
            return NEW_FILE_FAILED;
        }
        watchSignals();
        sigset_t before = holdSignals();
        file->descriptor =
            openBehindStreams(file->temporary.c_str(), O_RDWR | O_CREAT | O_EXCL, mode);
        int error = errno;
        if (file->descriptor >= 0) changeUnfinished("", file->temporary.c_str());
        releaseSignals(before);
        if (file->descriptor >= 0) return NEW_FILE_DONE;
        errno = error;
        if (error != EEXIST) break;
    }
    return NEW_FILE_FAILED;
}

// -- A new file --------------------------------------------------------------

int beginNewFile(NewFile* file, const std::string& path, bool replaces)
{
    *file = {};
    file->replaces = replaces;
    struct stat info = {};
    bool exists = stat(path.c_str(), &info) == 0;
    if (!exists && errno != ENOENT) return NEW_FILE_FAILED;
    if (exists && S_ISDIR(info.st_mode)) {
        errno = EISDIR;
        return NEW_FILE_FAILED;
    }
    if (exists && !S_ISREG(info.st_mode)) {
        file->isDevice = true;
        file->target = file->temporary = path;
        file->descriptor = openBehindStreams(path.c_str(), O_WRONLY, 0);
        return file->descriptor >= 0 ? NEW_FILE_DONE : NEW_FILE_FAILED;
    }
    if (exists && !replaces) return NEW_FILE_EXISTS;

    file->target = resolve(path);
    int result = openNew(file, file->target + ".", exists ? info.st_mode & 0777 : 0666);
    // The mask of the process may have taken permissions away.
    if (result == NEW_FILE_DONE && exists) fchmod(file->descriptor, info.st_mode & 0777);
    return result;
}

int beginTemporaryFile(NewFile* file)
{
    *file = {};
    const char* folder = std::getenv("TMPDIR");
    if (folder == nullptr || folder[0] == 0) folder = "/tmp";
    return openNew(file, std::string(folder) + "/orvidx.", 0600);
}

void dropName(NewFile* file)
{
    const std::string path = "/proc/self/fd/" + std::to_string(file->descriptor);
    int opened = open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (opened < 0) return;
    close(opened);
    unlink(file->temporary.c_str());
    changeUnfinished(file->temporary.c_str(), "");
    file->temporary = path;
    file->isNameless = true;
}

int writeNewFile(NewFile* file, const void* bytes, size_t length)
{
    const char* from = static_cast<const char*>(bytes);
    while (length > 0) {
        ssize_t part = write(file->descriptor, from, length);
        if (part < 0 && errno == EINTR) continue;
        if (part < 0) return NEW_FILE_FAILED;
        from += part;
        length -= static_cast<size_t>(part);
    }
    return NEW_FILE_DONE;
}

// Closes and forgets the file. False when the system reports that something is not written.
static bool letGo(NewFile* file)
{
    bool closed = close(file->descriptor) == 0;
    file->descriptor = -1;
    return closed;
}

// A link is only made where nothing is; a file system without links gets the check alone.
static bool moveIntoPlace(const NewFile* file)
{
    const char* from = file->temporary.c_str();
    const char* to = file->target.c_str();
    if (file->replaces) return rename(from, to) == 0;
    if (link(from, to) == 0) return unlink(from) == 0;
    if (errno == EEXIST || access(to, F_OK) == 0) {
        errno = EEXIST;
        return false;
    }
    return rename(from, to) == 0;
}

static void syncFolder(const std::string& path)
{
    size_t end = path.rfind('/');
    std::string folder = end == std::string::npos ? "." : path.substr(0, end + 1);
    int descriptor = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    fsync(descriptor);
    close(descriptor);
}

int finishNewFile(NewFile* file)
{
    if (file->isDevice) return letGo(file) ? NEW_FILE_DONE : NEW_FILE_FAILED;

    bool synced = fsync(file->descriptor) == 0;
    if (!synced || !letGo(file) || !moveIntoPlace(file)) {
        int error = errno;
        abandonNewFile(file);
        errno = error;
        return error == EEXIST ? NEW_FILE_EXISTS : NEW_FILE_FAILED;
    }
    changeUnfinished(file->temporary.c_str(), "");
    syncFolder(file->target);
    file->temporary.clear();
    return NEW_FILE_DONE;
}

void abandonNewFile(NewFile* file)
{
    if (file->descriptor >= 0) letGo(file);
    if (file->isDevice || file->isNameless || file->temporary.empty()) return;
    unlink(file->temporary.c_str());
    changeUnfinished(file->temporary.c_str(), "");
    file->temporary.clear();
}
