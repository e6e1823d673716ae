#include "tools/snapshot/job_snapshot.h"

#include "format/format.h"
#include "platform/path_text.h"
#include "platform/platform.h"
#include "tools/terminal/progress.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <thread>

namespace fs = std::filesystem;

constexpr OsLockRange FILE_LOCK = {FILE_LOCK_BYTE, 1};
constexpr uintmax_t LARGEST_FILE = 256 << 20; // eight times the largest job
constexpr int CHUNK = 1 << 20;

// -- Reading -----------------------------------------------------------------

std::string pathFault(const std::string& path)
{
    std::error_code error;
    fs::file_status status = fs::status(filePath(path), error);
    if (status.type() == fs::file_type::not_found) return "there is no such file";
    if (status.type() == fs::file_type::none) return "no access: " + error.message();
    if (status.type() == fs::file_type::directory) return "a directory, not a job database";
    if (status.type() != fs::file_type::regular) return "not a regular file, not a job database";
    return {};
}

// Takes the file lock. A writer holds it for moments, so one who asks often gets it between two of
// them. Returns that it could not be had, else an empty text.
static std::string lockWithin(int descriptor, int seconds)
{
    using Clock = std::chrono::steady_clock;
    Clock::time_point limit = Clock::now() + std::chrono::seconds(seconds);
    Progress progress = startProgress();
    bool locked = false;
    for (;;) {
        locked = osLock(descriptor, OS_LOCK_SHARED, OS_LOCK_AT_ONCE, &FILE_LOCK) == OS_DONE;
        if (locked || Clock::now() >= limit) break;
        showProgress(&progress, "waiting: another program is writing");
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    eraseProgress(&progress);
    if (locked) return {};
    return "another program is writing; waited " + std::to_string(seconds) + " s";
}

// Reads a part of the file into its place. False when the system cannot read it.
static bool readPart(int descriptor, std::vector<uint8_t>* bytes, size_t begin, size_t end)
{
    end = std::min(end, bytes->size());
    while (begin < end) {
        int length = static_cast<int>(std::min(end - begin, size_t{CHUNK}));
        int done = osReadAt(descriptor, static_cast<int64_t>(begin), &(*bytes)[begin], length);
        if (done < 0) return false;
        if (done == 0) bytes->resize(begin); // it has become shorter
        if (done == 0) return true;
        begin += static_cast<size_t>(done);
    }
    return true;
}

// The user slots cannot be read where a lock keeps readers out; they hold nothing.
static bool readAll(int descriptor, std::vector<uint8_t>* bytes)
{
    constexpr size_t SLOTS_END = USER_SLOT_BASE + USER_SLOTS;
    return readPart(descriptor, bytes, 0, USER_SLOT_BASE) &&
           (readPart(descriptor, bytes, USER_SLOT_BASE, SLOTS_END) || bytes->size() > SLOTS_END) &&
           readPart(descriptor, bytes, SLOTS_END, bytes->size());
}

JobSnapshot takeSnapshot(const std::string& path, int lockSeconds)
{
    JobSnapshot snapshot;
    snapshot.fault = pathFault(path);
    std::error_code error;
    bool tooLong = snapshot.fault.empty() && fs::file_size(filePath(path), error) > LARGEST_FILE;
    if (tooLong) snapshot.fault = "too long for a job database";
    if (!snapshot.fault.empty()) return snapshot;

    errno = 0;
    int descriptor = osOpen(libraryPath(path).c_str(), OS_READ_ONLY);
    if (descriptor < 0) {
        snapshot.fault = std::string("no access: ") + std::strerror(errno);
        return snapshot;
    }
    snapshot.fault = lockWithin(descriptor, lockSeconds);
    if (snapshot.fault.empty()) {
        snapshot.bytes.resize(static_cast<size_t>(fs::file_size(filePath(path), error)));
        errno = 0;
        if (!readAll(descriptor, &snapshot.bytes)) {
            snapshot.fault = std::string("the file cannot be read: ") + std::strerror(errno);
        }
        osUnlock(descriptor, &FILE_LOCK);
    }
    osClose(descriptor);
    if (!snapshot.fault.empty()) snapshot.bytes.clear();
    return snapshot;
}

std::string waitForWriters(const std::string& path, int lockSeconds)
{
    int descriptor = osOpen(libraryPath(path).c_str(), OS_READ_ONLY);
    if (descriptor < 0) return {};
    std::string fault = lockWithin(descriptor, lockSeconds);
    if (fault.empty()) osUnlock(descriptor, &FILE_LOCK);
    osClose(descriptor);
    return fault;
}

// -- Holders -----------------------------------------------------------------

// Takes the entries of record locks out of a sound leaf.
static void removeLocks(uint8_t* leaf)
{
    uint8_t kept[NODE_PAGE_SIZE] = {};
    memcpy(kept, leaf, NODE_ENTRIES);
    int used = 0;
    int count = 0;
    const uint8_t* entry = firstEntry(leaf);
    for (int i = 0; i < nodeCount(leaf); ++i, entry = nextEntry(entry)) {
        if (entryIndex(entry) == LOCK_INDEX) continue;
        memcpy(kept + NODE_ENTRIES + used, entry, static_cast<size_t>(entrySize(entry)));
        used += entrySize(entry);
        ++count;
    }
    if (count == nodeCount(leaf)) return;
    storeInt16(kept + NODE_COUNT, count);
    storeInt16(kept + NODE_FREE, NODE_ENTRY_AREA - used);
    memcpy(leaf, kept, NODE_PAGE_SIZE);
}

void clearHolders(std::vector<uint8_t>* bytes)
{
    if (bytes->size() < FIRST_PAGE_OFFSET) return;
    if (!headerHasMagic(bytes->data(), CURRENT_MAGIC)) return;
    if (loadInt32(&(*bytes)[BUSY_MARKER_OFFSET]) == BUSY_MARKER) {
        storeInt32(&(*bytes)[BUSY_MARKER_OFFSET], 0);
    }
    size_t at = FIRST_PAGE_OFFSET;
    for (; at + NODE_PAGE_SIZE <= bytes->size(); at += NODE_PAGE_SIZE) {
        uint8_t* page = &(*bytes)[at];
        if (nodeLevel(page) == 0 && nodeIsSound(page)) removeLocks(page);
    }
}

// -- Writing -----------------------------------------------------------------

static std::string writeBytes(NewFile* file, const std::vector<uint8_t>& bytes)
{
    std::string fault;
    Progress progress = startProgress();
    for (size_t at = 0; at < bytes.size() && fault.empty(); at += CHUNK) {
        size_t length = std::min(bytes.size() - at, size_t{CHUNK});
        if (writeNewFile(file, &bytes[at], length) != NEW_FILE_DONE) fault = std::strerror(errno);
        showProgress(&progress, "writing: " + std::to_string(at >> 20) + " MB of " +
                                    std::to_string(bytes.size() >> 20));
    }
    eraseProgress(&progress);
    if (!fault.empty()) abandonNewFile(file);
    return fault;
}

std::string writeTemporaryJob(NewFile* file, const std::vector<uint8_t>& bytes)
{
    if (beginTemporaryFile(file) != NEW_FILE_DONE) {
        return std::string("a temporary copy cannot be written: ") + std::strerror(errno);
    }
    dropName(file);
    std::string fault = writeBytes(file, bytes);
    return fault.empty() ? fault : "a temporary copy cannot be written: " + fault;
}

std::string writeNewJob(const std::string& path, const std::vector<uint8_t>& bytes, bool replaces)
{
    NewFile file;
    int result = beginNewFile(&file, path, replaces);
    if (result == NEW_FILE_DONE) {
        std::string fault = writeBytes(&file, bytes);
        if (!fault.empty()) return fault;
        result = finishNewFile(&file);
    }
    if (result == NEW_FILE_EXISTS) return "the file exists already";
    return result == NEW_FILE_DONE ? std::string() : std::strerror(errno);
}
