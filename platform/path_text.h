// Paths as the tools have them, in UTF-8 on Windows too, and as the library takes them. For the
// tools alone.
#pragma once

#include <filesystem>
#include <string>

// The path for the standard library, which would widen its bytes one by one on Windows.
inline std::filesystem::path filePath(const std::string& path)
{
    return std::u8string(path.begin(), path.end());
}

// The path that leads the library to the same file: on Windows in the code page of the process,
// by the file's short name where that lacks a character. Empty when there is no such path.
std::string libraryPath(const std::string& path);

#if defined(_WIN32)
std::wstring wideText(const std::string& text);
std::string utf8Text(const std::wstring& text);
#endif
