#include "tests/support/bad_files.h"

#include "api/orvIdx.h"
#include "tests/support/command.h"
#include "tests/support/raw_job.h"

constexpr int ROOT = 9;  // pages of the golden job
constexpr int LOCKS = 2; // the leaf where lock entries would stand
constexpr char NO_JOB[] = "not a job database";
constexpr char COUNTS[] = "page counts contradict each other";
constexpr char NOT_ITS_ROOT[] = "root page is not one of its pages";
constexpr char HEIGHT[] = "impossible height";
constexpr char DAMAGED_PAGE[] = "a page of its tree is damaged";

// Values that a number of two bytes in the file must not have.
struct Row {
    const char* field;
    long offset;
    std::vector<int> values;
    const char* diagnosis;
};

static const Row ROWS[] = {
    {"root page", 2, {-32768, -1, 10, 32767}, NOT_ITS_ROOT},
    {"root page", 2, {0, 8}, DAMAGED_PAGE},
    {"height", 14, {-1, 0, 21, 32767}, HEIGHT},
    {"height", 14, {1, 3, 20}, DAMAGED_PAGE},
    {"next free page", 18, {-1, 0, 14, 32767}, COUNTS},
    {"next free page", 18, {9}, NOT_ITS_ROOT},
    {"pages in file", 30, {-32768, -1, 0, 9}, COUNTS},
    {"level of the root", pageAt(ROOT), {0, 2, 9}, DAMAGED_PAGE},
    {"entries of the root", pageAt(ROOT) + 2, {-1, 0, 7, 9}, DAMAGED_PAGE},
    {"free bytes of the root", pageAt(ROOT) + 4, {-1, 0, 892, 894, 1012}, DAMAGED_PAGE},
    {"level of the leaf of locks", pageAt(LOCKS), {1, -1}, DAMAGED_PAGE},
    {"entries of the leaf of locks", pageAt(LOCKS) + 2, {0, 151}, DAMAGED_PAGE},
};

std::vector<BadFile> badFiles()
{
    // Of the older format, with a lock entry of the user slot that the opener gets.
    std::string older = rawJob({rawEntry(5, "K", 1), rawEntry(17, "\5K", 1, rawNumber(0, 4))});
    for (size_t i = 0; i < 8; ++i) {
        older["\0\4\10\14\20\24\34\40"[i]] = "VALIDATE"[i];
    }
    std::vector<BadFile> files = {{"older", older, IDX_OLDER_FORMAT, "older format"},
                                  {"text", std::string(3000, 'x'), IDX_ERROR, NO_JOB}};
    const std::string sound = fileBytes(ORVIDX_TEST_DATA "/golden/tiny/job.orv");
    for (const Row& row : ROWS) {
        for (int value : row.values) {
            std::string bytes = sound;
            bytes.replace(static_cast<size_t>(row.offset), 2, rawNumber(value, 2));
            files.push_back(
                {row.field + (" " + std::to_string(value)), bytes, IDX_ERROR, row.diagnosis});
        }
    }
    // The root is the last page that is used.
    for (size_t length : {0, 1, 39, 40, 1023, 1024, 1025, 6000, 11263}) {
        files.push_back({"length " + std::to_string(length), sound.substr(0, length), IDX_ERROR,
                         length < 40 ? NO_JOB : "shorter than its page count says"});
    }
    return files;
}
