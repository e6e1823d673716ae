#include "tools/check/check.h"

#include "tools/check/record_check.h"
#include "tools/check/tree_check.h"

#include <fstream>

// -- File and header ---------------------------------------------------------

// Reads the file, but no more than the largest job database has. Of the header area it reads
// only the header record and the busy marker: the user slots lie in between, and on systems
// where a lock keeps readers out they cannot be read while somebody has the file open. False,
// with a complaint, when the file cannot be read.
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
    // A directory opens as well, and fails when it is read.
    file->report.readable = stream.is_open() && !stream.bad();
    if (!file->report.readable) complain(&file->report, "the file cannot be read");
    return file->report.readable;
}

// Checks the header's fields against each other and against the file's length. False when the
// pages cannot be looked at.
static bool checkFields(CheckedFile* file)
{
    const FileHeader& header = file->header;
    int wholePages = static_cast<int>((file->bytes.size() - FIRST_PAGE_OFFSET) / NODE_PAGE_SIZE);
    bool accepted = true;
    if (header.pagesInFile < 1 || header.pagesInFile > wholePages) {
        complain(&file->report, "header: %d pages in file, but the file has room for %d",
                 header.pagesInFile, wholePages);
        accepted = false;
    }
    if (header.nextFreePage < 1 || header.nextFreePage > header.pagesInFile) {
        complain(&file->report, "header: next free page %d of %d pages in file",
                 header.nextFreePage, header.pagesInFile);
        accepted = false;
    }
    if (!pageHandedOut(file, header.rootPage)) {
        complain(&file->report, "header: root page %d is not below next free page %d",
                 header.rootPage, header.nextFreePage);
        accepted = false;
    }
    if (header.height < 1 || header.height > MAX_HEIGHT) {
        complain(&file->report, "header: height %d", header.height);
        accepted = false;
    }
    return accepted;
}

// Decodes and checks the header. False when the pages cannot be looked at.
static bool checkHeader(CheckedFile* file)
{
    const uint8_t* header = file->bytes.data();
    if (file->bytes.size() < FIRST_PAGE_OFFSET) {
        complain(&file->report, "header: the file ends within it");
        return false;
    }
    if (!headerHasMagic(header, CURRENT_MAGIC)) {
        complain(&file->report, "header: the magic characters are not %s", CURRENT_MAGIC);
        return false;
    }
    file->header = decodeHeader(header);
    return checkFields(file);
}

// -- The whole file ----------------------------------------------------------

// Reads the file and checks its tree and segments. False when it has no tree that could be
// looked at.
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
