#include "tests/support/command.h"

#include "platform/path_text.h"
#include "tests/support/process.h"

#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>
#include <unistd.h>

namespace fs = std::filesystem;

void must(bool well, const std::string& what)
{
    if (!well) throw std::runtime_error(what);
}

CommandResult runCommand(const std::vector<std::string>& words)
{
    std::string directory = freshDirectory();
    std::string paths[3];
    int streams[3];
    for (int i = 0; i < 3; ++i) {
        paths[i] = directory + "/" + std::to_string(i);
        writeBytes(paths[i], "");
        streams[i] = open(paths[i].c_str(), O_RDWR);
        must(streams[i] >= 0, "cannot open " + paths[i]);
    }
    int status = waitForProcess(startProcess(words, streams[0], streams[1], streams[2]));
    for (int stream : streams)
        close(stream);
    return {status, fileBytes(paths[1]), fileBytes(paths[2])};
}

// Removed with what is in them when the test program ends, not when a copy of it does.
static struct TestDirectories {
    const int owner = getpid();
    std::vector<fs::path> paths;
    ~TestDirectories()
    {
        if (getpid() != owner) return;
        std::error_code ignored;
        for (const fs::path& path : paths) {
            // Nobody removes a read-only file on Windows.
            for (const fs::path& file : fs::directory_iterator(path, ignored))
                fs::permissions(file, fs::perms::owner_all, ignored);
            fs::remove_all(path, ignored);
        }
    }
} testDirectories;

std::string freshDirectory()
{
    std::random_device random;
    fs::path path;
    do {
        path = fs::temp_directory_path() / ("orvidx-test-" + std::to_string(random()));
    } while (!fs::create_directory(path));
    testDirectories.paths.push_back(path);
    return path.string();
}

std::string freshJob(const std::string& golden)
{
    std::string job = freshDirectory() + "/job.orv";
    writeBytes(job, fileBytes(ORVIDX_TEST_DATA "/golden/" + golden + "/job.orv"));
    return job;
}

std::string fileBytes(const std::string& path)
{
    std::ifstream file(filePath(path), std::ios::binary);
    must(file.good(), "cannot read " + path);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

void writeBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream file(filePath(path), std::ios::binary);
    file << bytes;
    must(file.flush().good(), "cannot write " + path);
}

void permitAll(const std::string& path, Use use)
{
    fs::permissions(fs::path(path).parent_path(), fs::perms::all);
    fs::permissions(path, fs::perms(use == WRITING ? 0666 : 0444));
}
