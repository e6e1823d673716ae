// Job files written byte by byte, without product code: a wrong offset in the
// product cannot agree with itself here.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// The low bytes of a number, little-endian.
std::string rawNumber(int64_t value, int width);

// Changes bytes of a file in place, which may be open.
void poke(const std::string& path, long offset, const std::string& bytes);
inline void poke16(const std::string& path, long offset, int value)
{
    poke(path, offset, rawNumber(value, 2));
}
inline void poke32(const std::string& path, long offset, int32_t value)
{
    poke(path, offset, rawNumber(value, 4));
}

// An entry of a node.
std::string rawEntry(int index, const std::string& key, int32_t number,
                     const std::string& data = "", int segment = 128);
// A node page with entries, as many as are counted.
std::string rawPage(int level, int count, const std::string& entries, int next, int previous,
                    int leftmostChild);
// A job with the entries in its leaves, in their order, under as many levels as that
// takes, and a number of spare zero pages.
std::string rawJob(std::vector<std::string> entries, int sparePages = 0);
// A record image: what follows signature and checksum, written with a layout that ends
// in these fields (type, key flag, duplicates flag and index number of each).
std::string rawImage(const std::string& fields, const std::string& body);

// A job with one empty root leaf and a number of spare zero pages.
inline std::string emptyJob(int sparePages) { return rawJob({}, sparePages); }

// A job in a new directory of the running test; answers its path.
std::string writeJob(const std::string& bytes);
inline std::string writeEmptyJob(int sparePages) { return writeJob(emptyJob(sparePages)); }

// Where a page begins in the file.
inline long pageAt(int page) { return 1024L + 1024L * page; }
