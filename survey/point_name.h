// Names of points, and the keys under which points are filed. For survey/, the tools that
// write jobs, and tests.
//
// A name consists of digits, or of letters followed by digits. Its key has 15 characters: the
// digits right-justified, and the letters over the blanks at the beginning.
#pragma once

#include "survey/survey.h"

constexpr int SPLIT_NAME_ROOM = 16;
constexpr int SPLIT_OK = 0;
constexpr int SPLIT_NO_NUMBER = 1;    // empty, zeros only, or no digit at the end
constexpr int SPLIT_NO_PREFIX = 2;    // something else than letters before the digits
constexpr int SPLIT_OUT_OF_RANGE = 3; // 16 characters or more, or the number is 0

// True for a text of digits only, at least one.
bool isAllDigits(const char* text);
// Returns where the digits at the end of the text begin: its length when it ends with none.
int trailingDigitsStart(const char* text);
// Splits a name into its letters and its digits, each with SPLIT_NAME_ROOM bytes. Returns
// SPLIT_...; prefix and number are filled with SPLIT_OK only.
int splitPointName(const char* text, char* prefix, char* number);

// Builds the key of a name in SURVEY_NAME_ROOM bytes. Returns SURVEY_OK, or the SPLIT_... that
// tells why no point can have the name.
int buildPointNameKey(char* key, const char* name);

// Removes all blanks of a record's name, which has fewer characters than nameOfKey looks at for
// them.
void removeBlanks(char* name);
