// Texts of a job are single bytes, each the Unicode code point of the same number
// (Latin-1); the world outside speaks UTF-8.
//
// For orvidx and orvjob.
#pragma once

#include <string>
#include <string_view>

std::string utf8FromLatin1(std::string_view text);

// Returns the text as Latin-1 when it is UTF-8 of such characters. Any other text is returned
// unchanged: it consists of single bytes already.
std::string latin1FromUtf8(std::string_view text);

// Returns a UTF-8 text with a question mark in place of each control character, which must not
// steer a terminal.
std::string harmless(std::string_view text);
