// What the built files show to the world: the library's symbols and dependencies,
// writable objects in the product, and the answers of orvidx to right and wrong use.

#include "tests/support/command.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <set>
#include <sstream>
#include <unistd.h>

namespace fs = std::filesystem;

static std::vector<std::vector<std::string>> linesOfWords(const std::string& text)
{
    std::vector<std::vector<std::string>> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        std::istringstream words(line);
        lines.emplace_back(std::istream_iterator<std::string>(words),
                           std::istream_iterator<std::string>());
    }
    return lines;
}

TEST(Library, ExportsExactlyTheElevenNames)
{
    CommandResult run = runCommand({ORVIDX_NM, "-D", "--defined-only", ORVIDX_LIBRARY});
    ASSERT_EQ(run.status, 0) << run.errors;
    std::set<std::string> names;
    for (const std::vector<std::string>& words : linesOfWords(run.output)) {
        // The name of the symbol version itself is an absolute symbol.
        if (words.size() == 3 && words[1] != "A")
            names.insert(words[2].substr(0, words[2].find('@')));
    }
    std::set<std::string> expected = {"orvIdx_isOrvaneOrvFile",
                                      "orvIdx_connectToOrvaneOrvFile",
                                      "orvIdx_disconnectFromOrvaneOrvFile",
                                      "orvIdx_numberOfElements",
                                      "orvIdx_freeElementNameList",
                                      "orvIdx_readElementbyName",
                                      "orvIdx_readFirstElement",
                                      "orvIdx_readNextElement",
                                      "orvIdx_freeElement",
                                      "initialize",
                                      "dlmPassword"};
    EXPECT_EQ(names, expected);
}

// Returns the words in brackets of the dynamic entries with a tag, as in
// 0x0001 (NEEDED) Shared library: [libc.so.6]
static std::set<std::string> dynamicEntries(const std::string& tag)
{
    CommandResult run = runCommand({ORVIDX_READELF, "-dW", ORVIDX_LIBRARY});
    EXPECT_EQ(run.status, 0) << run.errors;
    std::set<std::string> values;
    for (const std::vector<std::string>& words : linesOfWords(run.output)) {
        if (words.size() > 2 && words[1] == "(" + tag + ")")
            values.insert(words.back().substr(1, words.back().size() - 2));
    }
    return values;
}

TEST(Library, NeedsTheLanguageRuntimesOnlyAndCarriesItsVersion)
{
    std::set<std::string> runtimes = {"libc", "libm", "libgcc_s", "libstdc++"};
    if (ORVIDX_SANITIZED) runtimes.insert({"libasan", "libubsan"});
    std::set<std::string> needed = dynamicEntries("NEEDED");
    EXPECT_FALSE(needed.empty());
    for (const std::string& name : needed) {
        bool loader = name.starts_with("ld-linux");
        EXPECT_TRUE(loader || runtimes.contains(name.substr(0, name.find(".so")))) << name;
    }
    EXPECT_EQ(dynamicEntries("SONAME"), std::set<std::string>{"liborvIdx.so.2.0"});
}

TEST(Library, CallsItsOwnInitializeWhenTheHostHasOne)
{
    CommandResult run = runCommand({ORVIDX_SURFACE_HOST, freshJob("tiny")});
    EXPECT_EQ(run.status, 0) << run.errors;
}

static bool isWritableSection(const std::string& section)
{
    if (section.starts_with(".data.rel.ro")) return false;
    for (const char* writable : {".data", ".bss", ".tdata", ".tbss", "*COM*"}) {
        if (section.starts_with(writable)) return true;
    }
    return false;
}

// Returns the names of the objects in writable sections of an object file. A line of
// the symbol table: address, seven columns of flags, section, tab, size, name.
static std::vector<std::string> writableObjects(const std::string& objectFile)
{
    CommandResult run = runCommand({ORVIDX_OBJDUMP, "-t", objectFile});
    EXPECT_EQ(run.status, 0) << run.errors;
    std::vector<std::string> names;
    std::istringstream stream(run.output);
    for (std::string line; std::getline(stream, line);) {
        size_t tab = line.find('\t');
        if (tab == std::string::npos) continue;
        std::string section = line.substr(line.rfind(' ', tab) + 1, tab - line.rfind(' ', tab) - 1);
        bool isSectionSymbol = line.substr(0, tab).find(" d ") != std::string::npos;
        if (!isSectionSymbol && isWritableSection(section)) names.push_back(line.substr(tab + 1));
    }
    return names;
}

TEST(Product, KeepsWritableObjectsInStateFilesOnly)
{
    if (ORVIDX_SANITIZED) GTEST_SKIP() << "the sanitizers add writable objects of their own";
    bool stateSeen = false;
    std::istringstream files(fileBytes(ORVIDX_OBJECT_LIST));
    for (std::string file; std::getline(files, file);) {
        std::vector<std::string> objects = writableObjects(file);
        if (file.ends_with("_state.cpp.o")) {
            stateSeen = stateSeen || !objects.empty();
        } else {
            EXPECT_TRUE(objects.empty()) << file << ": " << objects.front();
        }
    }
    EXPECT_TRUE(stateSeen) << "not even the state was found";
}

static CommandResult orvidx(std::vector<std::string> words)
{
    words.insert(words.begin(), ORVIDX_TOOL);
    return runCommand(words);
}

TEST(Orvidx, PrintsCountsNamesAndMembers)
{
    std::string job = freshJob("tiny");
    CommandResult info = orvidx({"info", job});
    EXPECT_EQ(info.status, 0);
    EXPECT_EQ(info.output, "points         8\n"
                           "lines          3\n"
                           "curves         2\n"
                           "spirals        4\n"
                           "chains         4\n"
                           "profiles       2\n"
                           "survey chains  2\n");

    CommandResult list = orvidx({"list", "survey-chain", job});
    EXPECT_EQ(list.status, 0);
    EXPECT_EQ(list.output, "EDGE OF WATER\nRIDGE\n");

    CommandResult show = orvidx({"show", "profile", "P1", job});
    EXPECT_EQ(show.status, 0);
    EXPECT_TRUE(show.output.starts_with("name: \"P1\"\n")) << show.output;
    EXPECT_NE(show.output.find("  3: vertexCode: 0, station: 200.0, segmentNumber: 1"),
              std::string::npos)
        << show.output;
}

TEST(Orvidx, TellsNamesApartThatHoldCommas)
{
    // The name of the first chain, in its key and in its record.
    std::string job = freshJob("tiny");
    std::string bytes = fileBytes(job);
    int places = 0;
    for (size_t at = 0; (at = bytes.find("CHAEMPTY", at)) != std::string::npos; ++places)
        bytes.replace(at, 8, "CHAEM,,Y");
    ASSERT_EQ(places, 2);
    writeBytes(job, bytes);

    EXPECT_EQ(orvidx({"list", "chain", job}).output, "EM,,Y\nMAIN\nMAINX\nREF\n");
    EXPECT_EQ(orvidx({"show", "chain", "EM,,Y", job}).status, 0);
}

TEST(Orvidx, SpeaksUtf8ForNamesOutsideAscii)
{
    std::string job = freshJob("mixed");
    EXPECT_NE(orvidx({"list", "curve", job}).output.find("\n\u00C4CV\n"), std::string::npos);
    EXPECT_EQ(orvidx({"show", "curve", "\u00C4CV", job}).status, 0);
}

// The command line asks for something that is not there or not readable: status 1
// and one line that names the job and the reason.
static void expectRefusal(const std::vector<std::string>& words, const std::string& job,
                          const std::string& reason)
{
    CommandResult run = orvidx(words);
    EXPECT_EQ(run.status, 1) << job;
    EXPECT_EQ(run.output, "");
    EXPECT_TRUE(run.errors.starts_with("orvidx: " + job + ": ")) << run.errors;
    EXPECT_NE(run.errors.find(reason), std::string::npos) << run.errors;
    EXPECT_EQ(run.errors.find('\n') + 1, run.errors.size()) << run.errors;
}

TEST(Orvidx, SaysWhyAJobCannotBeOpened)
{
    fs::path directory = freshDirectory();
    const std::string sound = fileBytes(freshJob("tiny"));
    auto expectReason = [&](const std::string& bytes, const std::string& reason) {
        fs::path job = directory / "job.orv";
        writeBytes(job, bytes);
        expectRefusal({"info", job}, job, reason);
    };

    fs::path missing = directory / "missing.orv";
    expectRefusal({"info", missing}, missing, "no such file");
    EXPECT_FALSE(fs::exists(missing));
    expectRefusal({"list", "point", directory}, directory, "a directory");
    std::string longPath = directory / std::string(240, 'x');
    expectRefusal({"info", longPath}, longPath, "longer than 255 characters");
    expectReason("", "not a job database");
    expectReason("Just some text, longer than the header of a job database would be.\n",
                 "not a job database");

    std::string older = sound;
    constexpr int MAGIC_OFFSETS[] = {0, 4, 8, 12, 16, 20, 28, 32};
    for (size_t at = 0; at < 8; ++at)
        older[static_cast<size_t>(MAGIC_OFFSETS[at])] = "VALIDATE"[at];
    expectReason(older, "older format");

    expectReason(sound.substr(0, 1024), "damaged");
    std::string badHeight = sound;
    badHeight[14] = 0;
    expectReason(badHeight, "damaged");
    std::string badRoot = sound; // its level
    badRoot[1024 + 1024 * static_cast<size_t>(sound[2])] = 9;
    expectReason(badRoot, "damaged");
    std::string badLeaf = sound; // the entry count of the leaf where locks would stand
    badLeaf[1024 + 1024 * 2 + 2] += 1;
    expectReason(badLeaf, "damaged");
}

TEST(Orvidx, SaysThatAJobIsTakenOrClosedToTheUser)
{
    std::string job = freshJob("tiny");
    int descriptor = open(job.c_str(), O_RDWR);
    ASSERT_GE(descriptor, 0);
    struct flock slots = {};
    slots.l_type = F_WRLCK;
    slots.l_start = 512;
    slots.l_len = 128;
    ASSERT_EQ(fcntl(descriptor, F_OFD_SETLK, &slots), 0);
    expectRefusal({"info", job}, job, "too many users");
    close(descriptor);
    EXPECT_EQ(orvidx({"info", job}).status, 0);

    fs::permissions(job, fs::perms::none);
    if (access(job.c_str(), R_OK) != 0) expectRefusal({"info", job}, job, "no access");
}

TEST(Orvidx, TellsAMissingElementFromOneThatCannotBeRead)
{
    std::string job = freshJob("tiny");
    expectRefusal({"show", "curve", "NONE", job}, job, "no such element: curve NONE");
    expectRefusal({"show", "line", "L3", job}, job, "cannot be read: line L3");
}

TEST(Orvidx, RefusesWrongUsageWithStatus2)
{
    std::string job = freshJob("tiny");
    const std::vector<std::vector<std::string>> wrong = {
        {},       {"list", "tree", job},  {"show", "curve", job}, {"info"},
        {"dump"}, {"info", job, "extra"}, {"list", "0", job},     {"export", job, "-o"}};
    for (const std::vector<std::string>& words : wrong) {
        CommandResult run = orvidx(words);
        EXPECT_EQ(run.status, 2) << testing::PrintToString(words);
        EXPECT_NE(run.errors, "");
    }
    EXPECT_EQ(orvidx({"--help"}).status, 0);
}

TEST(Orvidx, ReplacesAFileByACompleteExportOrNotAtAll)
{
    std::string job = freshJob("mixed");
    fs::path directory = fs::path(job).parent_path();
    std::string out = directory / "out.json";
    auto filesInDirectory = [&] { return std::distance(fs::directory_iterator(directory), {}); };

    // The disk is full in the middle of the export: the file limit, in blocks of 512
    // bytes, lies above the size of the job and below that of the export.
    writeBytes(out, "before");
    const std::string limited = "trap '' XFSZ; ulimit -f 1500; exec \"$0\" export \"$1\" -o \"$2\"";
    CommandResult full = runCommand({"/bin/sh", "-c", limited, ORVIDX_TOOL, job, out});
    EXPECT_EQ(full.status, 1);
    EXPECT_NE(full.errors, "");
    EXPECT_EQ(fileBytes(out), "before");
    EXPECT_EQ(filesInDirectory(), 2);
    EXPECT_EQ(orvidx({"export", job, "-o", "/dev/full"}).status, 1);
    EXPECT_EQ(orvidx({"export", job, "-o", directory / "none" / "out.json"}).status, 1);

    EXPECT_EQ(orvidx({"export", job, "-o", out}).status, 0);
    EXPECT_EQ(fileBytes(out), orvidx({"export", job}).output);
    EXPECT_EQ(filesInDirectory(), 2);

    // The job itself is no place for its export.
    std::string bytes = fileBytes(job);
    EXPECT_EQ(orvidx({"export", job, "-o", job}).status, 1);
    EXPECT_EQ(fileBytes(job), bytes);
}
