#include "tools/check/check.h"

#include "tools/check/record_check.h"
#include "tools/check/tree_check.h"

#include <fstream>

// -- File and header ---------------------------------------------------------

// Reads the file, but no more than the largest job database has, and of the header area
// only its record and the busy marker: the user slots lie in between, and where locks
// bind readers they cannot be read as long as somebody has the file open. False, with
// the complaint made, when it cannot be read.
static bool readFile(CheckedFile* file, const std::string& path)
{
    constexpr size_t LARGEST =
        FIRST_PAGE_OFFSET + static_cast<size_t>(MAX_PAGES_IN_FILE) * NODE_PAGE_SIZE;
    std::ifstream stream;
    stream.rdbuf()->pubsetbuf(nullptr, 0); // nothing is read ahead
    stream.open(path, std::ios::binary);
    char chunk[NODE_PAGE_SIZE] = {};
    stream.read(chunk, HEADER_SIZE);
    stream.seekg(BUSY_MARKER_OFFSET);
    stream.read(chunk + BUSY_MARKER_OFFSET, FIRST_PAGE_OFFSET - BUSY_MARKER_OFFSET);
    if (stream) file->bytes.assign(chunk, chunk + FIRST_PAGE_OFFSET);
    while (stream && file->bytes.size() < LARGEST) {
        stream.read(chunk, sizeof chunk);
        file->bytes.insert(file->bytes.end(), chunk, chunk + stream.gcount());
    }
    // A directory, for one, opens and then goes bad.
    file->report.readable = stream.is_open() && !stream.bad();
    if (!file->report.readable) complain(file, "the file cannot be read");
    return file->report.readable;
}

// Checks the header against itself and the file's length. False when the pages
// cannot be looked at.
static bool checkHeader(CheckedFile* file)
{
    const uint8_t* header = file->bytes.data();
    if (file->bytes.size() < FIRST_PAGE_OFFSET) {
        complain(file, "header: the file ends within it");
        return false;
    }
    if (!headerHasMagic(header, CURRENT_MAGIC)) {
        complain(file, "header: the magic characters are not %s", CURRENT_MAGIC);
        return false;
    }
    file->header = decodeHeader(header);

    int wholePages = static_cast<int>((file->bytes.size() - FIRST_PAGE_OFFSET) / NODE_PAGE_SIZE);
    bool possible = true;
    if (file->header.pagesInFile < 1 || file->header.pagesInFile > wholePages) {
        complain(file, "header: %d pages in file, but the file has room for %d",
                 file->header.pagesInFile, wholePages);
        possible = false;
    }
    if (file->header.nextFreePage < 1 || file->header.nextFreePage > file->header.pagesInFile) {
        complain(file, "header: next free page %d of %d pages in file", file->header.nextFreePage,
                 file->header.pagesInFile);
        possible = false;
    }
    if (!pageHandedOut(file, file->header.rootPage)) {
        complain(file, "header: root page %d is not below next free page %d", file->header.rootPage,
                 file->header.nextFreePage);
        possible = false;
    }
    if (file->header.height < 1 || file->header.height > MAX_HEIGHT) {
        complain(file, "header: height %d", file->header.height);
        possible = false;
    }
    return possible;
}

// Reads the file and checks its tree and segments. False when there is no tree to
// look at.
static bool checkPages(CheckedFile* file, const std::string& path)
{
    if (!readFile(file, path) || !checkHeader(file)) return false;
    checkTree(file);
    checkSegments(file);
    return true;
}

CheckReport checkJobFile(const std::string& path)
{
    CheckedFile file;
    if (checkPages(&file, path)) checkRecords(&file);
    return file.report;
}

CheckReport checkTreeFile(const std::string& path)
{
    CheckedFile file;
    checkPages(&file, path);
    return file.report;
}
