#include "tests/support/command.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>
#include <sys/wait.h>

namespace fs = std::filesystem;

static std::string quoted(const std::string& word)
{
    std::string result = "'";
    for (char character : word)
        result += character == '\'' ? std::string("'\\''") : std::string(1, character);
    return result + "'";
}

CommandResult runCommand(const std::vector<std::string>& words)
{
    fs::path directory = freshDirectory();
    std::string line;
    for (const std::string& word : words)
        line += quoted(word) + " ";
    line += "< /dev/null > " + quoted(directory / "output") + " 2> " + quoted(directory / "errors");

    int status = std::system(line.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, fileBytes(directory / "output"),
            fileBytes(directory / "errors")};
}

// Removed with what is in them when the test program ends.
static struct TestDirectories {
    std::vector<fs::path> paths;
    ~TestDirectories()
    {
        std::error_code ignored;
        for (const fs::path& path : paths)
            fs::remove_all(path, ignored);
    }
} testDirectories;

fs::path freshDirectory()
{
    std::string path = testing::TempDir() + "orvidx-test-XXXXXX";
    if (mkdtemp(path.data()) == nullptr) throw std::runtime_error("no directory for the test");
    testDirectories.paths.push_back(path);
    return path;
}

fs::path freshJob(const std::string& golden)
{
    fs::path job = freshDirectory() / "job.orv";
    writeBytes(job, fileBytes(fs::path(ORVIDX_TEST_DATA) / "golden" / golden / "job.orv"));
    return job;
}

std::string fileBytes(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path.string());
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void writeBytes(const fs::path& path, const std::string& bytes)
{
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}
