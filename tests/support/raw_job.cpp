#include "tests/support/raw_job.h"

#include "tests/support/command.h"

#include <fstream>

std::string rawNumber(int64_t value, int width)
{
    std::string bytes;
    for (int i = 0; i < width; ++i) {
        bytes += static_cast<char>(value >> (8 * i));
    }
    return bytes;
}

void poke(const std::string& path, long offset, const std::string& bytes)
{
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(offset);
    file << bytes;
}

std::string rawEntry(int index, const std::string& key, int32_t number, const std::string& data,
                     int segment)
{
    std::string entry =
        rawNumber(index, 1) + key + '\0' + rawNumber(number, 4) + rawNumber(segment, 1) + data;
    return rawNumber(static_cast<int64_t>(entry.size()), 1) + entry;
}

std::string rawPage(int level, int count, const std::string& entries, int next, int previous,
                    int leftmostChild)
{
    std::string page;
    int free = 1012 - static_cast<int>(entries.size());
    for (int field : {level, count, free, leftmostChild, next, previous}) {
        page += rawNumber(field, 2);
    }
    page += entries;
    page.resize(1024);
    return page;
}

// Of a node that is followed by another page: its last key leads there.
static std::string separatorBehind(const std::string& entry, int nextPage)
{
    std::string separator = entry.substr(1, entry.find('\0', 1) + 5) + rawNumber(nextPage, 2);
    return rawNumber(static_cast<int64_t>(separator.size()), 1) + separator;
}

std::string rawJob(std::vector<std::string> entries, int sparePages)
{
    std::string job(1024, 0);
    int pages = 0;
    int height = 0;
    std::string leftmostChild(2, 0);
    for (bool more = true; more; ++height) {
        std::vector<std::string> above;
        std::string first = rawNumber(pages, 2);
        size_t at = 0;
        for (int previous = -1; at < entries.size() || previous == -1; previous = pages++) {
            std::string area;
            int count = 0;
            for (; at < entries.size() && area.size() + entries[at].size() <= 1012; ++count) {
                area += entries[at++];
            }
            bool last = at == entries.size();
            std::string page = rawPage(height, count, area, last ? -1 : pages + 1, previous, 0);
            job += page.replace(6, 2, leftmostChild);
            if (last) continue;
            above.push_back(separatorBehind(entries[at - 1], pages + 1));
            if (height > 0) leftmostChild = area.substr(area.size() - 2);
        }
        more = !above.empty();
        entries = above;
        leftmostChild = first;
    }
    const std::string magic = "ORVANE98";
    const size_t places[] = {0, 4, 8, 12, 16, 20, 28, 32};
    for (size_t i = 0; i < 8; ++i) {
        job[places[i]] = magic[i];
    }
    job.replace(2, 2, rawNumber(pages - 1, 2)); // root page
    job.replace(14, 2, rawNumber(height, 2));
    job.replace(18, 2, rawNumber(pages, 2)); // next free page
    job.replace(24, 4, rawNumber(1, 4));     // sequence counter
    job.replace(30, 2, rawNumber(pages + sparePages, 2));
    job.resize(job.size() + 1024 * static_cast<size_t>(sparePages));
    return job;
}

// Signature and checksum alike: adds each byte as a signed one, and doubles.
static std::string sumOf(const std::string& bytes)
{
    int64_t sum = 0;
    for (char byte : bytes) {
        sum = (sum + static_cast<signed char>(byte)) * 2 % 65536;
    }
    return rawNumber(sum, 2);
}

std::string rawImage(const std::string& fields, const std::string& body)
{
    return sumOf(fields) + sumOf(body) + body;
}

std::string writeJob(const std::string& bytes)
{
    std::string path = freshDirectory() + "/job.orv";
    writeBytes(path, bytes);
    return path;
}
