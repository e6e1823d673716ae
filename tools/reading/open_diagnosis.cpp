#include "tools/reading/open_diagnosis.h"

#include "orvIdx.h"
#include "platform/path_text.h"
#include "tools/snapshot/job_snapshot.h"

#include <filesystem>
#include <fstream>
#include <string_view>
#include <vector>

namespace fs = std::filesystem;

// The front of a job database file, numbers little-endian:
//   offset  width  field
//        2      2  root page
//       14      2  height           levels of the tree, leaves included
//       18      2  next free page   lowest page number never handed out
//       30      2  pages in file
//     1024         page n starts at 1024 + 1024 x n
// with eight magic characters in between.
constexpr size_t HEADER_LENGTH = 40;
constexpr size_t MAGIC_OFFSETS[] = {0, 4, 8, 12, 16, 20, 28, 32};
constexpr std::string_view CURRENT_MAGIC = "ORVANE98";
constexpr std::string_view OLDER_MAGIC = "VALIDATE";
constexpr size_t ROOT_PAGE = 2;
constexpr size_t HEIGHT = 14;
constexpr size_t NEXT_FREE_PAGE = 18;
constexpr size_t PAGES_IN_FILE = 30;
constexpr int MAX_LEVELS = 20;

// A page of the tree: six numbers of 2 bytes, then the entries, each
//   [L][index number][key..][0][number:4][segment:1][data..]
// with L bytes behind the first; an L of 0 ends them. Above the leaves the data of an entry are
// the number of a page below.
constexpr size_t PAGE_SIZE = 1024;
constexpr size_t PAGE_LEVEL = 0;
constexpr size_t PAGE_ENTRY_COUNT = 2;
constexpr size_t PAGE_FREE_BYTES = 4;
constexpr size_t PAGE_LEFTMOST_CHILD = 6;
constexpr size_t PAGE_RIGHT_NEIGHBOUR = 8;
constexpr size_t PAGE_ENTRIES = 12;
constexpr size_t BEHIND_KEY = 6; // zero byte, number and segment
constexpr size_t CHILD_LENGTH = 2;
constexpr int NO_PAGE = -1;
constexpr int MAX_INDEX = 20;

// Every open looks under this index number for the locks that an earlier user left behind, and
// fails when it cannot get there.
constexpr int LOCK_INDEX = 17;

// The longest path that a connection handle holds.
constexpr size_t MAX_PATH_LENGTH = sizeof(IdxConnection::path) - 1;

using Bytes = std::vector<unsigned char>;

static int int16At(const Bytes& bytes, size_t offset)
{
    return static_cast<int16_t>(bytes[offset] | bytes[offset + 1] << 8);
}

// Returns length bytes from offset on, or as many as the file has there.
static Bytes readBytes(std::ifstream& file, size_t offset, size_t length)
{
    Bytes bytes(length);
    file.clear();
    file.seekg(static_cast<std::streamoff>(offset));
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(length));
    bytes.resize(static_cast<size_t>(file.gcount()));
    return bytes;
}

static bool isJobDatabase(const Bytes& header)
{
    std::string magic;
    if (header.size() < HEADER_LENGTH) return false;
    for (size_t offset : MAGIC_OFFSETS) {
        magic += static_cast<char>(header[offset]);
    }
    return magic == CURRENT_MAGIC || magic == OLDER_MAGIC;
}

// Returns the offset behind the entry, or 0 when it is damaged.
static size_t entryEnd(const Bytes& page, size_t entry, bool leaf)
{
    size_t end = entry + 1 + page[entry];
    if (end > page.size() || page[entry] < 1 + BEHIND_KEY) return 0;
    if (page[entry + 1] < 1 || page[entry + 1] > MAX_INDEX) return 0;
    size_t keyEnd = entry + 2;
    while (keyEnd < end && page[keyEnd] != 0) {
        ++keyEnd;
    }
    size_t dataBegin = keyEnd + BEHIND_KEY;
    if (dataBegin > end || (!leaf && end - dataBegin != CHILD_LENGTH)) return 0;
    return end;
}

// True when the page is of the level and its entries agree with its free bytes and its count.
static bool isSoundPage(const Bytes& page, int level)
{
    if (page.size() < PAGE_SIZE || int16At(page, PAGE_LEVEL) != level) return false;
    int entries = 0;
    size_t end = PAGE_ENTRIES;
    while (end < PAGE_SIZE && page[end] != 0) {
        end = entryEnd(page, end, level == 0);
        if (end == 0) return false;
        ++entries;
    }
    return int16At(page, PAGE_ENTRY_COUNT) == entries &&
           int16At(page, PAGE_FREE_BYTES) == static_cast<int>(PAGE_SIZE - end);
}

struct WayOn {
    int page; // NO_PAGE: the way ends here
    bool isBelow;
};

// Returns where the way to the locks goes on from a sound page.
static WayOn wayOn(const Bytes& page, bool leaf)
{
    int child = int16At(page, PAGE_LEFTMOST_CHILD);
    size_t entry = PAGE_ENTRIES;
    while (entry < PAGE_SIZE && page[entry] != 0 && page[entry + 1] < LOCK_INDEX) {
        entry += size_t{1} + page[entry];
        if (!leaf) child = int16At(page, entry - CHILD_LENGTH);
    }
    bool allSmaller = entry == PAGE_SIZE || page[entry] == 0;
    int neighbour = int16At(page, PAGE_RIGHT_NEIGHBOUR);
    if (allSmaller && neighbour != NO_PAGE) return {neighbour, false};
    if (leaf) return {NO_PAGE, false};
    return {child, true};
}

// True when every page between the root and the locks is sound.
static bool isWayToLocksSound(std::ifstream& file, int root, int height, int pages)
{
    int level = height - 1;
    WayOn way = {root, false};
    for (int steps = 0; steps < pages; ++steps) {
        if (way.page < 0 || way.page >= pages) return false;
        Bytes page = readBytes(file, PAGE_SIZE * (static_cast<size_t>(way.page) + 1), PAGE_SIZE);
        if (!isSoundPage(page, level)) return false;
        way = wayOn(page, level == 0);
        if (way.page == NO_PAGE) return true;
        if (way.isBelow) --level;
    }
    return false; // a circle
}

// Returns what contradicts what in a job database, or an empty text.
static std::string damage(std::ifstream& file, const Bytes& header, uintmax_t fileLength)
{
    int root = int16At(header, ROOT_PAGE);
    int height = int16At(header, HEIGHT);
    int nextFree = int16At(header, NEXT_FREE_PAGE);
    int pages = int16At(header, PAGES_IN_FILE);

    if (height < 1 || height > MAX_LEVELS) return "its tree has an impossible height";
    if (nextFree < 1 || nextFree > pages) return "its page counts contradict each other";
    if (root < 0 || root >= nextFree) return "its root page is not one of its pages";
    if (fileLength < PAGE_SIZE * (static_cast<uintmax_t>(pages) + 1)) {
        return "the file is shorter than its page count says";
    }

    if (!isWayToLocksSound(file, root, height, nextFree)) return "a page of its tree is damaged";
    return {};
}

// Returns what is wrong with what the file holds, or an empty text.
static std::string contentFault(const std::string& path)
{
    // Nothing is read ahead: on systems where a lock keeps readers out, the user slots that
    // other users have locked cannot be read.
    std::ifstream file;
    file.rdbuf()->pubsetbuf(nullptr, 0);
    file.open(filePath(path), std::ios::binary);
    if (!file) return "no access: the file may not be read";
    std::error_code error;
    uintmax_t length = fs::file_size(filePath(path), error);
    Bytes header = readBytes(file, 0, HEADER_LENGTH);
    if (file.bad()) return "no access: the file cannot be read";
    if (!isJobDatabase(header)) return "not a job database";

    std::string found = damage(file, header, length);
    return found.empty() ? found : "damaged job database: " + found;
}

std::string openDiagnosis(const std::string& path, int32_t connectResult)
{
    if (connectResult == IDX_OLDER_FORMAT) {
        return "a job database of the older format, which is not read";
    }
    if (libraryPath(path).size() > MAX_PATH_LENGTH) {
        return "the path is longer than " + std::to_string(MAX_PATH_LENGTH) + " characters";
    }
    std::string fault = pathFault(path);
    if (fault.empty() && libraryPath(path).empty()) {
        return "the path has characters that the code page of this system lacks: a copy elsewhere "
               "can be read";
    }
    if (fault.empty()) fault = contentFault(path);
    if (!fault.empty()) return fault;
    return "too many users: all 128 user slots are taken, or another program has the file to "
           "itself";
}
