#include "tools/check/check.h"

#include "platform/path_text.h"
#include "tools/check/record_check.h"
#include "tools/check/tree_check.h"

#include <fstream>

constexpr size_t LARGEST =
    FIRST_PAGE_OFFSET + static_cast<size_t>(MAX_PAGES_IN_FILE) * NODE_PAGE_SIZE;

// -- Header ------------------------------------------------------------------

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

bool acceptHeader(CheckedFile* file)
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

static bool isOlder(std::span<const uint8_t> bytes)
{
    return bytes.size() >= FIRST_PAGE_OFFSET && headerHasMagic(bytes.data(), OLDER_MAGIC);
}

static CheckReport check(std::span<const uint8_t> bytes, bool withRecords)
{
    CheckedFile file;
    file.bytes = bytes.first(std::min(bytes.size(), LARGEST));
    file.report.readable = !isOlder(bytes);
    if (!file.report.readable) {
        complain(&file.report, "a job database of the older format, which is not looked into");
    } else if (acceptHeader(&file)) {
        checkTree(&file);
        checkSegments(&file);
        if (withRecords) checkRecords(&file);
    }
    return file.report;
}

CheckReport checkJobBytes(std::span<const uint8_t> bytes) { return check(bytes, true); }

// -- Files -------------------------------------------------------------------

// Reads the file, but no more than the largest job database has. Of the header area it reads
// only the header record and the busy marker: the user slots lie in between, and on systems
// where a lock keeps readers out they cannot be read while somebody has the file open. False
// when the file cannot be read.
static bool readFile(std::vector<uint8_t>* bytes, const std::string& path)
{
    std::ifstream stream;
    stream.rdbuf()->pubsetbuf(nullptr, 0); // nothing is read ahead
    stream.open(filePath(path), std::ios::binary);
    char chunk[NODE_PAGE_SIZE] = {};
    stream.read(chunk, HEADER_SIZE);
    stream.seekg(BUSY_MARKER_OFFSET);
    stream.read(chunk + BUSY_MARKER_OFFSET, FIRST_PAGE_OFFSET - BUSY_MARKER_OFFSET);
    if (stream) bytes->assign(chunk, chunk + FIRST_PAGE_OFFSET);
    while (stream && bytes->size() < LARGEST) {
        stream.read(chunk, sizeof chunk);
        bytes->insert(bytes->end(), chunk, chunk + stream.gcount());
    }
    // A directory opens as well, and fails when it is read.
    return stream.is_open() && !stream.bad();
}

static CheckReport checkFile(const std::string& path, bool withRecords)
{
    std::vector<uint8_t> bytes;
    if (readFile(&bytes, path)) return check(bytes, withRecords);
    CheckReport report;
    complain(&report, "the file cannot be read");
    return report;
}

CheckReport checkJobFile(const std::string& path) { return checkFile(path, true); }

CheckReport checkTreeFile(const std::string& path) { return checkFile(path, false); }
