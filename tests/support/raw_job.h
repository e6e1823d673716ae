// Job files written byte by byte, without product code: a wrong offset in the
// product cannot agree with itself here.
#pragma once

#include <cstdint>
#include <string>

// Changes numbers of a file in place.
void poke16(const std::string& path, long offset, int value);
void poke32(const std::string& path, long offset, int32_t value);

// A job with one empty root leaf and a number of spare zero pages.
std::string emptyJob(int sparePages);
// The same in a new directory of the running test; answers its path.
std::string writeEmptyJob(int sparePages);

// Where a page begins in the file.
inline long pageAt(int page) { return 1024L + 1024L * page; }
