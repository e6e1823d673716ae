#include "tests/support/raw_job.h"

#include "tests/support/command.h"

#include <fstream>

static void poke(const std::string& path, long offset, uint32_t value, int width)
{
    std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(offset);
    for (int i = 0; i < width; ++i) {
        file.put(static_cast<char>(value >> (8 * i)));
    }
}

void poke16(const std::string& path, long offset, int value)
{
    poke(path, offset, static_cast<uint32_t>(value), 2);
}

void poke32(const std::string& path, long offset, int32_t value)
{
    poke(path, offset, static_cast<uint32_t>(value), 4);
}

std::string emptyJob(int sparePages)
{
    std::string bytes(static_cast<size_t>(pageAt(1 + sparePages)), 0);
    const char magic[] = "ORVANE98";
    const size_t places[] = {0, 4, 8, 12, 16, 20, 28, 32};
    for (size_t i = 0; i < 8; ++i) {
        bytes[places[i]] = magic[i];
    }
    bytes[14] = 1;                                    // height
    bytes[18] = 1;                                    // next free page
    bytes[24] = 1;                                    // sequence counter
    bytes[30] = static_cast<char>(1 + sparePages); // pages in file
    bytes[1024 + 4] = static_cast<char>(1012 & 255);   // free bytes of the root leaf
    bytes[1024 + 5] = 1012 >> 8;
    for (size_t i = 8; i < 12; ++i) {
        bytes[1024 + i] = -1; // no neighbours
    }
    return bytes;
}

std::string writeEmptyJob(int sparePages)
{
    std::string path = (freshDirectory() / "job.orv").string();
    writeBytes(path, emptyJob(sparePages));
    return path;
}
