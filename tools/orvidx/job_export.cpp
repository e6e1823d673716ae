#include "tools/orvidx/job_export.h"

#include "tools/reading/element_json.h"
#include "tools/reading/job_reading.h"
#include "tools/reading/latin1.h"
#include "tools/terminal/progress.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <random>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;
using nlohmann::ordered_json;

[[noreturn]] static void failToWrite()
{
    throw std::system_error(errno, std::generic_category(), "the export cannot be written");
}

static void put(std::FILE* out, const std::string& text)
{
    if (std::fwrite(text.data(), 1, text.size(), out) != text.size()) failToWrite();
}

static void exportKind(IdxConnection* job, uint32_t kind, std::FILE* out, Progress* progress)
{
    std::vector<std::string> names = elementNames(job, kind);
    ordered_json utf8Names = ordered_json::array();
    for (const std::string& name : names) {
        utf8Names.push_back(utf8FromLatin1(name));
    }
    put(out, std::string("\"") + ELEMENT_KINDS[kind].jsonKey +
                 "\": {\"count\": " + std::to_string(names.size()) +
                 ", \"names\": " + jsonLine(utf8Names) + ", \"elements\": [\n");

    for (size_t at = 0; at < names.size(); ++at) {
        showProgress(progress, std::string(ELEMENT_KINDS[kind].plural) + ": " + std::to_string(at) +
                                   " of " + std::to_string(names.size()));
        const char* end = at + 1 < names.size() ? ",\n" : "\n";
        put(out, jsonLine(readElement(job, kind, names[at])) + end);
    }
    put(out, "]}");
}

static void exportKinds(IdxConnection* job, std::FILE* out, Progress* progress)
{
    put(out, "{\n");
    for (uint32_t kind = ELEMENT_POINT; kind <= ELEMENT_SURVEY_CHAIN; ++kind) {
        exportKind(job, kind, out, progress);
        put(out, kind < ELEMENT_SURVEY_CHAIN ? ",\n" : "\n");
    }
    put(out, "}\n");
    if (std::fflush(out) != 0) failToWrite();
}

void exportToStream(IdxConnection* job, std::FILE* out, bool watched)
{
    Progress progress = startProgress();
    progress.watched = progress.watched && watched;
    try {
        exportKinds(job, out, &progress);
    } catch (...) {
        eraseProgress(&progress);
        throw;
    }
    eraseProgress(&progress);
}

// A name beside the target that no other export takes.
static fs::path partName(fs::path target)
{
    target += std::string(".").append(std::to_string(std::random_device{}())).append(".part");
    return target;
}

static void moveIntoPlace(const fs::path& part, const fs::path& target)
{
    std::error_code error;
    fs::file_status before = fs::status(target, error);
    if (fs::exists(before)) fs::permissions(part, before.permissions(), error);
    fs::rename(part, target);
}

void exportToFile(const JobSource& source, const std::string& path)
{
    std::error_code error;
    fs::path target = path;
    if (fs::equivalent(target, source.path, error)) {
        throw std::runtime_error(path + ": is the job itself");
    }

    // A device or a pipe is written as it is; a link leads to the file to replace.
    fs::file_type type = fs::status(target, error).type();
    bool replaces = type == fs::file_type::regular || type == fs::file_type::not_found;
    if (type == fs::file_type::regular) target = fs::canonical(target);
    fs::path written = replaces ? partName(target) : target;

    std::FILE* out = std::fopen(written.string().c_str(), "wb");
    if (out == nullptr) throw std::runtime_error(path + ": " + std::strerror(errno));
    try {
        exportToStream(source.job, out, true);
        std::FILE* closing = std::exchange(out, nullptr);
        if (std::fclose(closing) != 0) failToWrite();
        if (replaces) moveIntoPlace(written, target);
    } catch (...) {
        if (out != nullptr) std::fclose(out);
        if (replaces) fs::remove(written, error);
        throw;
    }
}
