// The page that shows a job: its markup, style and script, put together from the files in page/
// when the program is built.
//
// For tools/export/.
#pragma once

#include <string_view>

// The page with its style and script in place, and two marks where the job comes in.
std::string_view reportPage();

constexpr std::string_view TITLE_MARK = "{{title}}"; // several times
constexpr std::string_view DATA_MARK = "{{data}}";   // once, in a script element of JSON
